// Several processes that write the same registry folder or INI file, and writers that are killed: what a
// program was told is written, stays.
#include "CFitxerINI.h"
#include "TCarpetaRegistry.h"

#include "forked.h"
#include "temp_folder.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int Processes = 3;
constexpr int Kills = 200;

// Says when it is enough: after `most` rounds, or after five seconds where processes start slowly, but not
// before the tenth round.
class Rounds {
public:
    explicit Rounds(int most)
        : m_most(most) {}
    bool Next() {
        const bool late = std::chrono::steady_clock::now() - m_start > std::chrono::seconds(5);
        return !testing::Test::HasFailure() && m_done < (late ? std::min(10, m_most) : m_most) && ++m_done;
    }
    int Done() const { return m_done; }

private:
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    int m_most;
    int m_done = 0;
};

std::wstring Name(int process, int i) {
    return std::to_wstring(process) + L"-" + std::to_wstring(i);
}

class PosixWriters : public testing::Test {
protected:
    void SetUp() override {
        if (const char* store = std::getenv("MVLIB_REGISTRY"))
            m_before = store;
        ::setenv("MVLIB_REGISTRY", (m_folder.Root() / "registry.db").c_str(), 1);
    }
    void TearDown() override {
        if (m_before.empty())
            ::unsetenv("MVLIB_REGISTRY");
        else
            ::setenv("MVLIB_REGISTRY", m_before.c_str(), 1);
    }

    std::wstring Ini() const { return m_folder.Path(L"a.ini"); }

    // Runs `work` with a number of its own in each of the processes at once.
    static void AtOnce(const std::function<int(int process)>& work) {
        std::vector<pid_t> children;
        for (int process = 0; process < Processes; ++process)
            children.push_back(StartForked([&] { return work(process); }));
        for (const pid_t child : children)
            EXPECT_EQ(EndOf(child), 0);
    }

    // Lets a process write numbers until it is killed, again and again. `write` writes one number and answers
    // whether it was told that all of it is written; `check` gets the last of those that were, and answers
    // the last that is there.
    static void KillWriters(const std::function<bool(unsigned)>& write,
                            const std::function<unsigned(unsigned)>& check) {
        std::mt19937 random(62);
        unsigned last = 0;
        Rounds rounds(Kills);
        while (rounds.Next()) {
            TellingProcess writer([&](const auto& tell) {
                for (unsigned number = last + 1; write(number) && tell(number); ++number) {
                }
                return 1;
            });
            unsigned told = 0;
            ASSERT_TRUE(writer.Next(told));
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 1500));
            EXPECT_TRUE(writer.Kill());
            while (writer.Next(told)) {
            }
            last = check(told);
            EXPECT_GE(last, told) << "round " << rounds.Done();
            EXPECT_LE(last, told + 1) << "round " << rounds.Done();
        }
        RecordProperty("kills", rounds.Done());
    }

    TempFolder m_folder;
    std::string m_before;
};

} // namespace

// ---- Registry folders

TEST_F(PosixWriters, FoldersLoseNoValueOfSeveralWriters) {
    constexpr int values = 80;
    AtOnce([](int process) {
        TCarpetaRegistry folder(L"Software\\Writers");
        for (int i = 0; i < values; ++i) {
            if (folder.EntraValor(Name(process, i).c_str(), i) != 0 ||
                folder.EntraValor(L"contested", process) != 0)
                return 1;
        }
        TCarpetaRegistry below(&folder, Name(process, 0).c_str());
        return below.EntraValor(L"own", L"text") == 0 ? 0 : 2;
    });
    TCarpetaRegistry folder(L"Software\\Writers");
    for (int process = 0; process < Processes; ++process) {
        for (int i = 0; i < values; ++i)
            EXPECT_EQ(folder.TornaValorInt(Name(process, i).c_str(), -1), i);
        TCarpetaRegistry below(&folder, Name(process, 0).c_str());
        EXPECT_EQ(below.TornaValorString(L"own", L""), L"text");
    }
    EXPECT_GE(folder.TornaValorInt(L"contested", -1), 0);
    CString name;
    EXPECT_TRUE(folder.GetNomValorIndex(Processes * values, name));
    EXPECT_FALSE(folder.GetNomValorIndex(Processes * values + 1, name)) << "nothing is there twice";
}

TEST_F(PosixWriters, FoldersKeepWhatAKilledWriterWasTold) {
    const auto text = [](unsigned number) { return std::wstring(number % 300, L'x'); };
    KillWriters(
        [&](unsigned number) {
            TCarpetaRegistry folder(L"Software\\Killed");
            TCarpetaRegistry below(&folder, std::to_wstring(number % 7).c_str());
            return below.EntraValor(L"number", static_cast<unsigned long>(number)) == 0 &&
                   folder.EntraValor(L"text", text(number).c_str()) == 0 &&
                   folder.EntraValor(L"last", static_cast<unsigned long>(number)) == 0;
        },
        [&](unsigned told) {
            TCarpetaRegistry folder(L"Software\\Killed");
            TCarpetaRegistry below(&folder, std::to_wstring(told % 7).c_str());
            EXPECT_EQ(below.TornaValorInt(L"number", -1), static_cast<int>(told));
            const CString stored = folder.TornaValorString(L"text", L"missing");
            const std::wstring whole = stored.GetString();
            EXPECT_TRUE(whole == text(told) || whole == text(told + 1)) << whole.size();
            return static_cast<unsigned>(folder.TornaValorInt(L"last", -1));
        });
}

// ---- INI files

TEST_F(PosixWriters, FilesLoseNoValueOfSeveralWriters) {
    constexpr int values = 40;
    AtOnce([this](int process) {
        CFitxerINI file(Ini().c_str());
        for (int i = 0; i < values; ++i) {
            if (!file.SetInt(L"all", Name(process, i).c_str(), i, 10, nullptr, 0) ||
                !file.SetInt(std::to_wstring(process).c_str(), L"k", i, 10, nullptr, 0))
                return 1;
        }
        return 0;
    });
    const CFitxerINI file(Ini().c_str());
    for (int process = 0; process < Processes; ++process) {
        for (int i = 0; i < values; ++i)
            EXPECT_EQ(file.GetInt(L"all", Name(process, i).c_str(), -1), i);
        EXPECT_EQ(file.GetInt(std::to_wstring(process).c_str(), L"k", -1), values - 1);
    }
    CMultiString lines;
    EXPECT_EQ(file.GetSeccio(L"all", lines), 1);
    EXPECT_EQ(lines.GetNumStr(), Processes * values);
}

// The file is made by whoever comes first; nobody may meet it before it has its mark and convert it.
TEST_F(PosixWriters, FirstWritersOfAFileLoseNothing) {
    Rounds rounds(60);
    while (rounds.Next()) {
        const std::wstring path = m_folder.Path((std::to_wstring(rounds.Done()) + L".ini").c_str());
        AtOnce([&](int process) {
            return CFitxerINI(path.c_str()).SetString(L"s", Name(process, 0).c_str(), L"v") == 1 ? 0 : 1;
        });
        for (int process = 0; process < Processes; ++process)
            EXPECT_EQ(CFitxerINI(path.c_str()).GetString(L"s", Name(process, 0).c_str(), L""), L"v")
                << rounds.Done();
    }
}

TEST_F(PosixWriters, FilesKeepWhatAKilledWriterWasTold) {
    CFitxerINI(Ini().c_str()).SetString(L"first", L"untouched", L"\u20AC");
    KillWriters(
        [this](unsigned number) {
            CFitxerINI file(Ini().c_str());
            const std::wstring key = std::to_wstring(number % 20);
            return file.SetInt(L"numbers", key.c_str(), static_cast<int>(number), 10, nullptr, 0) == 1 &&
                   file.SetInt(L"numbers", L"last", static_cast<int>(number), 10, nullptr, 0) == 1;
        },
        [this](unsigned told) {
            const CFitxerINI file(Ini().c_str());
            EXPECT_EQ(file.GetString(L"first", L"untouched", L""), L"\u20AC");
            EXPECT_EQ(file.GetInt(L"numbers", std::to_wstring(told % 20).c_str(), -1),
                      static_cast<int>(told));
            CMultiString names;
            EXPECT_EQ(file.GetSeccions(names), 1);
            EXPECT_EQ(names.GetNumStr(), 2);
            return static_cast<unsigned>(file.GetInt(L"numbers", L"last", -1));
        });
}
