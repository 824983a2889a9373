// Configuration files that only the native target can have.
#include <qzmultilang.h>

#include "temp_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What is loaded for the library itself by a configuration file of that path, after at most ten seconds.
HINSTANCE LoadedInTime(const std::wstring& ini) {
    const HINSTANCE library = ::GetModuleHandleW(L"libmvlib62.so.6");
    EXPECT_NE(library, nullptr);
    std::future<HINSTANCE> loaded = std::async(
        std::launch::async, [library, &ini] { return qzmultilangLoadLibrary(library, ini.c_str()); });
    if (loaded.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        ADD_FAILURE() << "it waits";
        _exit(1); // the thread cannot be ended
    }
    return loaded.get();
}

} // namespace

TEST(QzmultilangPosix, PipeOrDeviceForAConfigurationFileGivesEnglishAtOnce) {
    const TempFolder folder;
    const std::wstring pipe = folder.Path(L"Lang.ini");
    ASSERT_EQ(::mkfifo((folder.Root() / "Lang.ini").c_str(), 0600), 0);
    const HINSTANCE english = ::LoadLibraryW(L"mvlib62_eng");
    for (const std::wstring& ini : {pipe, std::wstring(L"/dev/zero"), std::wstring(L"/dev/null")}) {
        const HINSTANCE module = LoadedInTime(ini);
        EXPECT_EQ(module, english);
        ::FreeLibrary(module);
    }
    ::FreeLibrary(english);
}
