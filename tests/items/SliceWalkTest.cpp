// What a walk with an indicator does to it, seen from the visits and afterwards. An indicator of the base
// class that nobody watches is served on a shorter way; it must end up as one of a derived class does.
#include <TCrossList.h>
#include <TIndicadorEstat.h>
#include <TLlista.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Numbers = std::vector<double>;

class Derived : public TIndicadorEstat {};

void CountCall(TIndicadorEstat*, unsigned long user) {
    ++*reinterpret_cast<int*>(user);
}

using Visit = std::function<int(TIndicadorEstat& indicator, int index, Numbers& log)>;

struct Visiting {
    TIndicadorEstat& indicator;
    const Visit& visit;
    Numbers log;
};

void NotePlace(TIndicadorEstat& indicator, Numbers& log) {
    double start, end;
    indicator.GetRang(start, end);
    log.insert(log.end(), {indicator.GetEstat(), start, end});
}

int __stdcall Call(TItem*, int index, long user) {
    auto* visiting = reinterpret_cast<Visiting*>(user);
    NotePlace(visiting->indicator, visiting->log);
    return visiting->visit(visiting->indicator, index, visiting->log);
}

// The log of the visits, the result, and what is on the stack afterwards.
Numbers Log(TIndicadorEstat& indicator, int flags, const Visit& visit) {
    TLlista list;
    for (int i = 0; i < 5; ++i)
        list.Afegir(new TInt(i));
    Visiting visiting{indicator, visit, {}};
    try {
        visiting.log.push_back(list.Recorrer(&Call, flags, reinterpret_cast<long>(&visiting), &indicator));
    } catch (const std::runtime_error&) {
        visiting.log.push_back(-100);
    }
    for (int i = 0; i < 4; ++i) {
        NotePlace(indicator, visiting.log);
        visiting.log.push_back(indicator.PopRangRel());
    }
    return visiting.log;
}

void ExpectSameWay(
    const Visit& visit, const std::function<void(TIndicadorEstat&)>& prepare = [](auto&) {}) {
    for (int flags : {0, 1}) {
        TIndicadorEstat plain;
        prepare(plain);
        Derived derived;
        prepare(derived);
        EXPECT_EQ(Log(plain, flags, visit), Log(derived, flags, visit)) << "flags " << flags;
    }
}

int GoOn(TIndicadorEstat&, int, Numbers&) {
    return 0;
}

} // namespace

TEST(SliceWalk, ExampleUsage) {
    TLlista list;
    for (int i = 0; i < 4; ++i)
        list.Afegir(new TInt(i));
    TIndicadorEstat indicator;
    const Visit visit = [](TIndicadorEstat& inside, int, Numbers& log) {
        inside.MostrarEstatRel(0.5);
        log.push_back(inside.GetEstat());
        return 0;
    };
    Visiting visiting{indicator, visit, {}};
    EXPECT_EQ(list.Recorrer(&Call, 0, reinterpret_cast<long>(&visiting), &indicator), 0);
    // Position, start and end at each visit, and the middle of its slice.
    EXPECT_EQ(visiting.log, (Numbers{0, 0, 0.25, 0.125, 0.25, 0.25, 0.5, 0.375, 0.5, 0.5, 0.75, 0.625, 0.75,
                                     0.75, 1, 0.875}));
    EXPECT_EQ(indicator.GetEstat(), 1.0);
    double start, end;
    indicator.GetRang(start, end);
    EXPECT_EQ(start, 0.0);
    EXPECT_EQ(end, 1.0);
}

TEST(SliceWalk, QuietVisits) {
    ExpectSameWay(&GoOn);
    ExpectSameWay(&GoOn, [](TIndicadorEstat& indicator) { indicator.SetSubRangRel(0.3, 0.7); });
    ExpectSameWay(&GoOn, [](TIndicadorEstat& indicator) { indicator.SetRang(0.9, 0.1); });
}

TEST(SliceWalk, EmptyStack) {
    const auto empty = [](TIndicadorEstat& indicator) { indicator.PopRangRel(); };
    ExpectSameWay(&GoOn, empty);
    // A visit that pushes has its own range popped.
    ExpectSameWay(
        [](TIndicadorEstat& indicator, int index, Numbers&) {
            indicator.SetRang(index, index + 1);
            return 0;
        },
        empty);
}

TEST(SliceWalk, VisitsThatReportAndNest) {
    ExpectSameWay([](TIndicadorEstat& indicator, int index, Numbers& log) {
        CSetSubRangIE half(&indicator, 0.25, 0.75);
        indicator.MostrarEstatRel(index / 8.0);
        log.push_back(indicator.GetEstat());
        return 0;
    });
}

TEST(SliceWalk, VisitsThatLeaveTheStackChanged) {
    for (int odd = 0; odd < 5; ++odd) {
        ExpectSameWay([odd](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == odd)
                indicator.SetSubRangRel(0.5, 1.0);
            return 0;
        });
        ExpectSameWay([odd](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == odd)
                indicator.PopRangRel();
            return 0;
        });
        // The same depth and perhaps the same entry, but another range below it.
        ExpectSameWay([odd](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == odd) {
                indicator.PopRangRel();
                indicator.SetRang(0.0, 0.5);
                indicator.SetSubRangRel(0.1, 0.2);
            }
            return 0;
        });
        ExpectSameWay([odd](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == odd)
                indicator.SetRang(0.25, 0.125);
            return 0;
        });
        ExpectSameWay([odd](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == odd)
                indicator.Init();
            return 0;
        });
    }
}

TEST(SliceWalk, VisitsThatEndTheWalk) {
    for (int last = 0; last < 5; ++last) {
        ExpectSameWay([last](TIndicadorEstat&, int index, Numbers&) { return index == last ? -7 : 3; });
        ExpectSameWay([last](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == last)
                indicator.Cancelar();
            return 0;
        });
        ExpectSameWay([last](TIndicadorEstat&, int index, Numbers&) -> int {
            if (index == last)
                throw std::runtime_error("visit");
            return 0;
        });
    }
}

TEST(SliceWalk, CancelledBeforeTheFirstVisitLeavesItsRange) {
    ExpectSameWay(&GoOn, [](TIndicadorEstat& indicator) { indicator.Cancelar(); });
}

TEST(SliceWalk, PauseHoldsTheWalkUpWithTheSliceFinished) {
    for (int paused = 0; paused < 5; ++paused) {
        std::unique_ptr<std::thread> other;
        ExpectSameWay([&](TIndicadorEstat& indicator, int index, Numbers&) {
            if (index == paused) {
                indicator.Pausa();
                if (other)
                    other->join();
                other = std::make_unique<std::thread>([&indicator] { indicator.Reanudar(); });
            }
            return 0;
        });
        other->join();
    }
}

TEST(SliceWalk, CallbackGetsEveryStep) {
    int calls = 0;
    TIndicadorEstat indicator(&CountCall, reinterpret_cast<unsigned long>(&calls));
    Log(indicator, 0, &GoOn);
    EXPECT_EQ(calls, 5 * 2 + 1); // and the pop of the base range
}

TEST(SliceWalk, CrossListsDoTheSame) {
    TIndicadorEstat plain;
    Derived derived;
    std::vector<Numbers> logs;
    for (TIndicadorEstat* indicator : {&plain, static_cast<TIndicadorEstat*>(&derived)}) {
        TCrossList list;
        for (int i = 0; i < 3; ++i)
            list.InsertLast(new TInt(i));
        const Visit visit = [](TIndicadorEstat& inside, int index, Numbers&) {
            inside.MostrarEstatRel(0.5);
            return index == 2 ? -9 : 0;
        };
        Visiting visiting{*indicator, visit, {}};
        visiting.log.push_back(list.Process(&Call, 0, reinterpret_cast<long>(&visiting), indicator));
        NotePlace(*indicator, visiting.log);
        logs.push_back(visiting.log);
    }
    EXPECT_EQ(logs[0], logs[1]);
    EXPECT_EQ(logs[0].size(), 3 * 3 + 1 + 3U);
}
