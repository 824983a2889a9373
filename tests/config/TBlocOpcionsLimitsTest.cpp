// Option blocks at the edges: layout, memory that runs out, nesting without end.
#include "BlockSupport.h"

#include "alloc_failure.h"
#include "layout.h"
#include "small_stack.h"
#include "temp_folder.h"
#include "throws.h"
#include "XMLNode.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>

namespace {

// A block that holds a block that holds a block ..., `levels` below the outermost, all named "n". The
// innermost holds the integer "n" = 7.
std::string Nested(int levels) {
    const std::string innermost = BlockBytes().Int("n", 7).Bytes();
    std::size_t size = innermost.size();
    std::vector<std::size_t> sizes;
    for (int i = 0; i < levels; ++i) {
        sizes.push_back(size);
        size += 11 + 2 + 1 + 1 + 4;
    }
    std::string bytes;
    for (int i = levels - 1; i >= 0; --i)
        bytes += BlockBytes().head("n", KIND_BLOCK).number(sizes[static_cast<std::size_t>(i)], 4).Bytes();
    return bytes + innermost;
}

struct Fields : TBlocOpcions {
    std::ptrdiff_t Map() const {
        return reinterpret_cast<const char*>(&m_mapValors) -
               reinterpret_cast<const char*>(static_cast<const TBlocOpcions*>(this));
    }
    UINT Buckets() const { return m_mapValors.GetHashTableSize(); }
};

void Fill(TBlocOpcions& block) {
    TBlocOpcions inner;
    inner.EntraValorString(L"s", L"nested");
    block.EntraValorInt32(L"i", 1);
    block.EntraValorString(L"s", L"text");
    block.EntraValorBinari(L"b", "abc", 3);
    block.EntraSubBloc(L"o", &inner);
}

} // namespace

// ---- Layout

TEST(TBlocOpcionsLayout, ItemHoldsItsKindAndAValue) {
    EXPECT_EQ(offsetof(ITEMBLOCOPCIONS, nTipus), 0u);
    EXPECT_EQ(offsetof(ITEMBLOCOPCIONS, lValor), 8u);
    EXPECT_EQ(offsetof(ITEMBLOCOPCIONS, dValor), 8u);
    EXPECT_EQ(offsetof(ITEMBLOCOPCIONS, pDades), 8u);
    EXPECT_EQ(offsetof(ITEMBLOCOPCIONS, dwMida), 8u + sizeof(void*));
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(sizeof(ITEMBLOCOPCIONS), 16u);
    }
}

TEST(TBlocOpcionsLayout, BlockHoldsItsMapAndNothingElse) {
    const Fields block;
    EXPECT_EQ(block.Map(), static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_EQ(block.Buckets(), 17u);
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(sizeof(TBlocOpcions), 32u);
    }
}

TEST(TBlocOpcionsLayout, OperationsStandInTheSlotsOfItems) {
    // A covariant result keeps its slot; its pointer to member may name a slot of its own.
    EXPECT_EQ(Slot(&TBlocOpcions::GetRTTI), 2);
    EXPECT_EQ(Slot(&TBlocOpcions::EsBuit), 3);
    EXPECT_EQ(Slot(&TBlocOpcions::Iguals), 4);
    EXPECT_EQ(Slot(&TBlocOpcions::Comparar), 5);
    EXPECT_EQ(Slot(&TBlocOpcions::Guardar), 6);
    EXPECT_EQ(Slot(&TBlocOpcions::Llegir), 7);
    EXPECT_EQ(Slot(static_cast<TBlocOpcions* (TBlocOpcions::*)() const>(&TBlocOpcions::Duplicar)), 1);
}

// ---- Memory

TEST(TBlocOpcionsMemory, StoringWithoutMemoryIsMinusOneAndChangesNothing) {
    TBlocOpcions inner;
    inner.EntraValorInt32(L"k", 1);
    const ITEMBLOCOPCIONS text(L"text");
    const std::pair<const char*, std::function<int(TBlocOpcions&)>> cases[] = {
        {"integer", [](TBlocOpcions& b) { return b.EntraValorInt32(L"new", 1); }},
        {"real", [](TBlocOpcions& b) { return b.EntraValorReal64(L"new", 1); }},
        {"string", [](TBlocOpcions& b) { return b.EntraValorString(L"new", L"value"); }},
        {"binary", [](TBlocOpcions& b) { return b.EntraValorBinari(L"new", "abc", 3); }},
        {"block", [&](TBlocOpcions& b) { return b.EntraSubBloc(L"new", &inner); }},
        {"item", [&](TBlocOpcions& b) { return b.Afegir(L"new", text); }},
        {"path", [](TBlocOpcions& b) { return b.EntraValorInt32(L"new/x", 1); }},
    };
    for (const auto& [name, store] : cases) {
        std::unique_ptr<TBlocOpcions> block;
        int failures = 0;
        for (bool done = false; !done;) {
            block = std::make_unique<TBlocOpcions>();
            // Full blocks of nodes, so that the entry needs a new one.
            for (int i = 0; i < 10; ++i)
                block->EntraValorInt32(std::to_wstring(i).c_str(), i);
            int code = 0;
            {
                FailAllocation failure(failures + 1);
                code = store(*block);
                done = failure.Failed() == 0;
            }
            // Giving back what a data block does not need may fail and matters to nobody.
            EXPECT_TRUE(code == -1 || code == 0) << name;
            EXPECT_EQ(NamesOf(*block).size(), code == 0 ? 11u : 10u) << name;
            if (done) {
                EXPECT_EQ(code, 0) << name;
            }
            failures += !done;
            ASSERT_LT(failures, 100);
        }
        EXPECT_GE(failures, 2) << name << ": the node and the name at least";
    }
}

TEST(TBlocOpcionsMemory, LoadingWithoutMemoryIsMinusOne) {
    TBlocOpcions full;
    Fill(full);
    const std::string data = DataOf(full);
    int failed = 0, code = 0;
    const int failures = FailEachAllocation([&] {
        TBlocOpcions block;
        code = block.FromBlocDades(reinterpret_cast<const unsigned char*>(data.data()),
                                   static_cast<unsigned>(data.size()), 0);
        EXPECT_TRUE(code == 0 || code == -1);
        failed += code == -1;
    });
    EXPECT_GE(failures, 8);
    EXPECT_EQ(failed, failures);
    EXPECT_EQ(code, 0);
}

TEST(TBlocOpcionsMemory, WritingWithoutMemoryGivesNull) {
    TBlocOpcions block;
    Fill(block);
    int nulls = 0;
    const int failures = FailEachAllocation([&] {
        unsigned int size = 77;
        unsigned char* bytes = block.ToBlocDades(size);
        if (!bytes) {
            EXPECT_EQ(size, 0u);
        }
        nulls += !bytes;
        std::free(bytes);
    });
    EXPECT_GE(failures, 1);
    EXPECT_GE(nulls, 1);
}

TEST(TBlocOpcionsMemory, ReadingWithoutMemory) {
    TBlocOpcions block;
    Fill(block);
    FailEachAllocation([&] {
        ITEMBLOCOPCIONS item;
        const bool thrown = ThrowsMemoryException([&] { EXPECT_EQ(block.Buscar(L"s", item), 1); });
        EXPECT_EQ(item.nTipus, thrown ? -1 : 5);
    });
    EXPECT_GE(FailEachAllocation([&] {
                  unsigned long size = 99;
                  void* bytes = block.TornaValorBinari(L"b", size);
                  EXPECT_EQ(size, bytes ? 3ul : 0ul);
                  std::free(bytes);
              }),
              1);
    int nulls = 0;
    std::unique_ptr<TBlocOpcions> inner;
    const int failures = FailEachAllocation([&] {
        inner.reset(block.TornaSubBloc(L"o"));
        nulls += !inner;
    });
    EXPECT_GE(failures, 4);
    EXPECT_EQ(nulls, failures) << "whole or not at all";
    EXPECT_EQ(NamesOf(*inner), Names{L"s"});
}

TEST(TBlocOpcionsMemory, CopyingWithoutMemoryGivesNullOrThrows) {
    TBlocOpcions block;
    Fill(block);
    int nulls = 0;
    std::unique_ptr<TBlocOpcions> clone;
    const int failures = FailEachAllocation([&] {
        clone.reset(block.Duplicar());
        nulls += !clone;
    });
    EXPECT_GE(failures, 8);
    EXPECT_EQ(nulls, failures);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(NamesOf(*clone).size(), 4u);
    EXPECT_TRUE(ThrowsMemoryException([&] {
        FailAllocation failure(1);
        const TBlocOpcions copy(&block);
    }));
    EXPECT_TRUE(ThrowsMemoryException([&] {
        FailAllocation failure(1);
        ITEMBLOCOPCIONS item(L"text");
    }));
    ITEMBLOCOPCIONS item(L"text");
    EXPECT_TRUE(ThrowsMemoryException([&] {
        FailAllocation failure(1);
        item.SetDadesBin(const_cast<char*>("abc"), 3, 1, 4);
    }));
    EXPECT_EQ(item.nTipus, -1);
}

TEST(TBlocOpcionsMemory, XmlThatCannotBePutTogetherThrows) {
    TBlocOpcions block;
    Fill(block);
    const TempFolder folder;
    const std::wstring path = folder.Path(L"options.xml");
    block.ToFitxerXML(path.c_str());
    const std::string whole = folder.Read(L"options.xml");
    int thrown = 0;
    const int failures = FailEachAllocation(
        [&] { thrown += ThrowsMemoryException([&] { EXPECT_EQ(block.ToFitxerXML(path.c_str()), 0); }); });
    // The last allocations are the writer's own; what it cannot write is told to nobody.
    EXPECT_GE(thrown, 10);
    EXPECT_GE(failures, thrown);
    EXPECT_TRUE(folder.Read(L"options.xml") == whole);
}

// ---- Depth, on the stack of a thread of a Windows program

namespace {

constexpr int Deep = 10000;

class TBlocOpcionsDepth : public testing::Test {
protected:
    static void OnSmallStack(const std::function<void()>& work) {
        EXPECT_TRUE(RunOnStack(SMALL_STACK, work));
    }
};

} // namespace

TEST_F(TBlocOpcionsDepth, TenThousandLevelsAreLoadedCopiedWalkedAndFreed) {
    OnSmallStack([] {
        const std::string data = Nested(Deep);
        TBlocOpcions block;
        EXPECT_EQ(Load(block, data), 0);
        EXPECT_EQ(DataOf(block), data);
        const std::unique_ptr<TBlocOpcions> clone(block.Duplicar());
        EXPECT_EQ(DataOf(*clone), data);
        const TBlocOpcions copy(&block);
        EXPECT_EQ(DataOf(copy), data);
        struct Visit {
            static int __stdcall Each(const wchar_t*, ITEMBLOCOPCIONS& item, long user) {
                *reinterpret_cast<unsigned*>(user) = item.dwMida;
                return 5;
            }
        };
        unsigned size = 0;
        EXPECT_EQ(block.Enumerar(Visit::Each, reinterpret_cast<long>(&size)), 5);
        EXPECT_EQ(size, data.size() - 19);
        std::unique_ptr<TBlocOpcions> at(clone->TornaSubBloc(L"n"));
        int levels = 0;
        for (; at; at.reset(at->TornaSubBloc(L"n"))) {
            ++levels;
            if (levels % 1000 == 0) {
                EXPECT_EQ(NamesOf(*at), Names{L"n"});
            }
        }
        EXPECT_EQ(levels, Deep);
        block.Reset();
        EXPECT_EQ(DataOf(block), "DRIVER-BLOC");
    });
}

TEST_F(TBlocOpcionsDepth, TenThousandLevelsAreBuiltFromTheInside) {
    OnSmallStack([] {
        auto block = std::make_unique<TBlocOpcions>();
        block->EntraValorInt32(L"n", 7);
        for (int i = 0; i < Deep; ++i) {
            auto outer = std::make_unique<TBlocOpcions>();
            EXPECT_EQ(outer->EntraSubBloc(L"n", block.get()), 0);
            block = std::move(outer);
        }
        EXPECT_EQ(DataOf(*block), Nested(Deep));
    });
}

TEST_F(TBlocOpcionsDepth, TenThousandLevelsAreReadByPath) {
    OnSmallStack([] {
        TBlocOpcions block;
        Load(block, Nested(Deep));
        std::wstring path = L"n";
        for (int i = 0; i < Deep; ++i)
            path += L"/n";
        EXPECT_EQ(block.TornaValorInt32(path.c_str(), 0), 7);
        EXPECT_EQ(block.TornaValorInt32((path + L"/n").c_str(), 5), 5);
        EXPECT_EQ(block.EntraValorInt32(path.c_str(), 8), 0);
        EXPECT_EQ(block.TornaValorInt32(path.c_str(), 0), 7) << "a path stores nothing";
    });
}

TEST_F(TBlocOpcionsDepth, TenThousandLevelsBecomeXml) {
    OnSmallStack([] {
        TBlocOpcions block;
        Load(block, Nested(Deep));
        ITEMBLOCOPCIONS item;
        ASSERT_EQ(block.Buscar(L"n", item), 1);
        XMLNode root = XMLNode::createXMLTopNode(L"top");
        EXPECT_EQ(TBlocOpcions::_fnAfegirNodesXML(L"n", item, reinterpret_cast<long>(&root)), 0);
        int levels = 0;
        XMLNode node = root.getChildNode(0);
        for (; node.nChildNode() == 1; node = node.getChildNode(0))
            ++levels;
        EXPECT_EQ(levels, Deep);
        EXPECT_STREQ(node.getText(), L"7");
    });
}

TEST_F(TBlocOpcionsDepth, TenThousandLevelsAreWrittenAsXml) {
    // A tab a level makes the file grow with the square of the depth.
    OnSmallStack([] {
        TBlocOpcions block;
        Load(block, Nested(Deep));
        const TempFolder folder;
        EXPECT_EQ(block.ToFitxerXML(folder.Path(L"options.xml").c_str()), 0);
        EXPECT_GT(std::filesystem::file_size(folder.Root() / "options.xml"), 2u * Deep * Deep);
    });
}
