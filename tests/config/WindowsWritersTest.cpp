// Several processes that write the same registry folder, and writers that are killed. Nothing like it for INI
// files: Windows promises nothing to their writers at once, nor that a killed one leaves a whole file.
#include "TCarpetaRegistry.h"

#include "win32.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const wchar_t* const Key = L"Software\\Mirvanet\\MvlibTests\\Writers";
const wchar_t* const Variable = L"MVLIB_TEST_WRITER"; // of a child: its name, and the pipe that it tells into

std::wstring Name(const std::wstring& process, int i) {
    return process + L"-" + std::to_wstring(i);
}

// The test program as another process: writes numbers, and tells each one that is written.
class Writer {
public:
    explicit Writer(const std::wstring& name) {
        SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
        HANDLE tell = nullptr;
        EXPECT_TRUE(CreatePipe(&m_told, &tell, &inherit, 0));
        SetHandleInformation(m_told, HANDLE_FLAG_INHERIT, 0);
        wchar_t program[MAX_PATH];
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring line = L"\"" + std::wstring(program) + L"\"";
        SetEnvironmentVariableW(
            Variable, (name + L" " + std::to_wstring(reinterpret_cast<unsigned long>(tell))).c_str());
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                   nullptr, &startup, &process));
        SetEnvironmentVariableW(Variable, nullptr);
        CloseHandle(tell);
        CloseHandle(process.hThread);
        m_process = process.hProcess;
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        Kill();
        CloseHandle(m_process);
        CloseHandle(m_told);
    }
    // Waits for the next number; false when the process has ended and everything was read.
    bool Next(int& number) {
        DWORD count = 0;
        return ReadFile(m_told, &number, sizeof number, &count, nullptr) && count == sizeof number;
    }
    void Kill() {
        TerminateProcess(m_process, 9);
        EXPECT_EQ(WaitForSingleObject(m_process, 10000), WAIT_OBJECT_0);
    }

private:
    HANDLE m_process = nullptr;
    HANDLE m_told = nullptr;
};

// A run of this program that finds the variable is such a process, and no run of the tests.
[[maybe_unused]] const bool theRole = [] {
    wchar_t text[100];
    if (GetEnvironmentVariableW(Variable, text, 100) == 0)
        return false;
    const std::wstring words = text;
    const std::wstring name = words.substr(0, words.find(L' '));
    const auto pipe = reinterpret_cast<HANDLE>(std::wcstoul(words.c_str() + name.size(), nullptr, 10));
    TCarpetaRegistry folder(Key);
    DWORD count = 0;
    for (int number = 0;
         folder.EntraValor(Name(name, number % 100).c_str(), number) == 0 &&
         folder.EntraValor(L"last", number) == 0 && WriteFile(pipe, &number, sizeof number, &count, nullptr);
         ++number) {
    }
    ExitProcess(0);
    return true;
}();

class WindowsWritersTest : public testing::Test {
protected:
    void TearDown() override { TCarpetaRegistry(Key).BorrarCarpeta(nullptr); }
};

} // namespace

TEST_F(WindowsWritersTest, FoldersLoseNoValueOfSeveralWriters) {
    constexpr int values = 60;
    {
        Writer one(L"a"), other(L"b");
        int number = -1;
        for (Writer* writer : {&one, &other}) {
            while (number < values - 1)
                ASSERT_TRUE(writer->Next(number));
            number = -1;
        }
    }
    TCarpetaRegistry folder(Key);
    for (const wchar_t* process : {L"a", L"b"}) {
        for (int i = 0; i < values; ++i)
            EXPECT_EQ(folder.TornaValorInt(Name(process, i).c_str(), -1) % 100, i);
    }
}

TEST_F(WindowsWritersTest, FoldersKeepWhatAKilledWriterWasTold) {
    for (int round = 0; round < 5; ++round) {
        Writer writer(L"k");
        int told = -1;
        for (int i = 0; i <= 20 * round; ++i)
            ASSERT_TRUE(writer.Next(told));
        writer.Kill();
        while (writer.Next(told)) {
        }
        TCarpetaRegistry folder(Key);
        EXPECT_EQ(folder.TornaValorInt(Name(L"k", told % 100).c_str(), -1), told);
        EXPECT_GE(folder.TornaValorInt(L"last", -1), told);
        EXPECT_LE(folder.TornaValorInt(L"last", -1), told + 1);
    }
}
