// The folder dialog: a thread of the test plays the user.
#include <CPathString.h>

#include "temp_folder.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "shell.h"

namespace {

class BrowseWindowsTest : public testing::Test {
protected:
    // What one of the windows inside a window shows.
    struct Search {
        std::wstring text;
        bool found = false;
    };
    static BOOL CALLBACK Compare(HWND window, LPARAM parameter) {
        auto& search = *reinterpret_cast<Search*>(parameter);
        wchar_t text[MAX_PATH] = L"";
        SendMessageTimeoutW(window, WM_GETTEXT, MAX_PATH, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG,
                            1000, nullptr);
        search.found = search.found || search.text == text;
        return !search.found;
    }
    static BOOL CALLBACK TakeDialog(HWND window, LPARAM parameter) {
        wchar_t name[40] = L"";
        GetClassNameW(window, name, 40);
        if (std::wstring(name) != L"#32770" || !IsWindowVisible(window))
            return TRUE;
        *reinterpret_cast<HWND*>(parameter) = window;
        return FALSE;
    }
    // The user: waits for the dialog of the thread and for a text in it (null: none), then presses a button.
    static void Press(DWORD thread, const wchar_t* text, int button, bool& seen) {
        for (int i = 0; i < 2400; ++i, Sleep(50)) {
            HWND dialog = nullptr;
            EnumThreadWindows(thread, &TakeDialog, reinterpret_cast<LPARAM>(&dialog));
            if (!dialog)
                continue;
            Search search{text ? text : L""};
            if (text)
                EnumChildWindows(dialog, &Compare, reinterpret_cast<LPARAM>(&search));
            if (text && !search.found && i < 2300)
                continue;
            seen = !text || search.found;
            PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
            return;
        }
    }

    TempFolder m_folder;
};

TEST_F(BrowseWindowsTest, CancelledDialogLeavesThePath) {
    CPathString path(L"C:\\");
    bool seen = false;
    std::thread user(&Press, GetCurrentThreadId(), L"Tria una carpeta", IDCANCEL, std::ref(seen));
    EXPECT_EQ(path.Browse(L"Tria una carpeta", 0, nullptr), 0);
    user.join();
    EXPECT_TRUE(seen) << "the title is shown";
    EXPECT_STREQ(path, L"C:\\");
}

TEST_F(BrowseWindowsTest, FolderOfThePathIsSelectedAtFirstAndShown) {
    wchar_t windows[MAX_PATH] = L"";
    GetWindowsDirectoryW(windows, MAX_PATH);
    CPathString path{CString(windows)};
    bool seen = false;
    std::thread user(&Press, GetCurrentThreadId(), windows, IDOK, std::ref(seen));
    EXPECT_NE(path.Browse(L"Tria una carpeta", BIF_STATUSTEXT, nullptr), 0);
    user.join();
    EXPECT_TRUE(seen) << "the selected folder is shown as the status";
    EXPECT_EQ(path.CompareNoCase(windows), 0) << path.GetString();
}

TEST_F(BrowseWindowsTest, TitleMayBeAResource) {
    CPathString path;
    bool seen = false;
    std::thread user(&Press, GetCurrentThreadId(), L"short", IDCANCEL, std::ref(seen));
    EXPECT_EQ(path.Browse(700u, 0, nullptr), 0);
    user.join();
    EXPECT_TRUE(seen);
    EXPECT_TRUE(path.IsEmpty());
}

} // namespace
