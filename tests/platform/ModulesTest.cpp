// LoadLibraryW, FreeLibrary, GetModuleHandleW, GetModuleHandleExW, GetModuleFileNameW, GetProcAddress.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <string>
#include <thread>
#include <vector>

namespace {

std::wstring FileName(HMODULE module) {
    wchar_t text[1024];
    const DWORD length = GetModuleFileNameW(module, text, 1024);
    EXPECT_EQ(length, wcslen(text));
    return text;
}

std::wstring LastPart(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

int localObject;

} // namespace

TEST(Modules, ExampleUsage) {
    const HMODULE module = LoadLibraryW(L"platform_strings");
    ASSERT_NE(module, nullptr);
    const auto answer = reinterpret_cast<int (*)()>(
        reinterpret_cast<void*>(GetProcAddress(module, "platform_strings_answer")));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_TRUE(FreeLibrary(module));
}

TEST(Modules, LoadsAreCounted) {
    const HMODULE module = LoadLibraryW(L"platform_strings");
    EXPECT_EQ(LoadLibraryW(L"platform_strings"), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(L"platform_strings"), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(L"platform_strings"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(Modules, FileNameLoadsAgain) {
    const HMODULE module = LoadLibraryW(L"platform_strings");
    const std::wstring path = FileName(module);
    EXPECT_EQ(LastPart(path).substr(0, 17), L"platform_strings.");
    EXPECT_EQ(LoadLibraryW(path.c_str()), module);
    EXPECT_EQ(GetModuleHandleW(path.c_str()), module);
    FreeLibrary(module);
    FreeLibrary(module);
}

TEST(Modules, NullIsTheProgram) {
    const HMODULE program = GetModuleHandleW(nullptr);
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(FileName(nullptr), FileName(program));
    EXPECT_EQ(LastPart(FileName(nullptr)).substr(0, 13), L"test_platform");
}

TEST(Modules, AddressTellsItsModule) {
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    EXPECT_TRUE(GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&localObject), &module));
    EXPECT_EQ(module, GetModuleHandleW(nullptr));
    EXPECT_FALSE(GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(16), &module));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(module, nullptr);
}

TEST(Modules, CountedHandleKeepsTheModule) {
    const HMODULE module = LoadLibraryW(L"platform_strings");
    HMODULE counted = nullptr;
    EXPECT_TRUE(GetModuleHandleExW(0, L"platform_strings", &counted));
    EXPECT_EQ(counted, module);
    FreeLibrary(module);
    EXPECT_EQ(GetModuleHandleW(L"platform_strings"), module);
    EXPECT_TRUE(FreeLibrary(counted));
    EXPECT_EQ(GetModuleHandleW(L"platform_strings"), nullptr);
}

TEST(Modules, SymbolOfAnotherModuleIsNotFound) {
    const HMODULE module = LoadLibraryW(L"platform_strings");
    EXPECT_EQ(GetProcAddress(module, "malloc"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(GetProcAddress(GetModuleHandleW(nullptr), "no_such_function"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    FreeLibrary(module);
}

TEST(Modules, FileNameIsCutToTheBuffer) {
    wchar_t text[5];
    EXPECT_EQ(GetModuleFileNameW(nullptr, text, 5), 5u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    // Systems before Windows Vista, and Wine with them, put a fifth character in place of the NUL.
    EXPECT_EQ(std::wstring(text, 4), FileName(nullptr).substr(0, 4));
    EXPECT_EQ(GetModuleFileNameW(nullptr, text, 0), 0u);
}

TEST(Modules, LoadedAndFreedByManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                const HMODULE module = LoadLibraryW(L"platform_strings");
                ASSERT_NE(module, nullptr);
                wchar_t text[40];
                ASSERT_EQ(LoadStringW(module, 100, text, 40), 12);
                ASSERT_TRUE(FreeLibrary(module));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Error results

TEST(Modules, MissingLibraryGives126) {
    for (const wchar_t* name : {L"no_such_library", L"no_such_folder\\library.dll", L""}) {
        SetLastError(0);
        EXPECT_EQ(LoadLibraryW(name), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    }
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(Modules, OtherFileGives193) {
    const TempFolder folder;
    const std::wstring text = folder.Write(L"text.dll", std::string(4000, 'x'));
    EXPECT_EQ(LoadLibraryW(text.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_EXE_FORMAT});
    const std::wstring empty = folder.Write(L"empty.dll", "");
    EXPECT_EQ(LoadLibraryW(empty.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_EXE_FORMAT});
}

TEST(Modules, WhatIsNoModuleIsRefused) {
    const HMODULE bad = reinterpret_cast<HMODULE>(ULONG_PTR{0x12340000});
    EXPECT_FALSE(FreeLibrary(bad));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    wchar_t text[100];
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(bad, text, 100), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(bad, "x"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_FALSE(FreeLibrary(nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}
