// Real boxes: a hook reads the window when it becomes active, and presses its button.
#include "BoxCapture.h"

#include <win32.h>

namespace {

constexpr int textId = 0xFFFF;
constexpr int iconId = 0x14;

std::vector<Box> boxes;
HHOOK hook;

std::wstring TextOf(HWND window) {
    wchar_t text[512] = {};
    GetWindowTextW(window, text, 512);
    return text;
}

// The static that shows the icon has the number 20 on some systems and none on others.
HICON IconOf(HWND box) {
    for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        wchar_t name[16] = {};
        GetClassNameW(child, name, 16);
        const LONG style = GetWindowLongW(child, GWL_STYLE);
        if (_wcsicmp(name, L"Static") == 0 && (style & SS_TYPEMASK) == SS_ICON)
            return reinterpret_cast<HICON>(SendMessageW(child, STM_GETICON, 0, 0));
    }
    return nullptr;
}

LRESULT CALLBACK Watch(int code, WPARAM wParam, LPARAM lParam) {
    const HWND window = reinterpret_cast<HWND>(wParam);
    wchar_t name[16] = {};
    if (code == HCBT_ACTIVATE && GetClassNameW(window, name, 16) && wcscmp(name, L"#32770") == 0 &&
        GetDlgItem(window, textId)) {
        UINT style = GetDlgItem(window, IDOK) && !GetDlgItem(window, IDCANCEL) ? MB_OK : MB_OKCANCEL;
        if (IconOf(window) == LoadIconW(nullptr, IDI_EXCLAMATION))
            style |= MB_ICONEXCLAMATION;
        if (GetWindow(window, GW_OWNER) == nullptr)
            boxes.push_back({TextOf(window), TextOf(GetDlgItem(window, textId)), style});
        PostMessageW(window, WM_COMMAND, IDOK, 0);
    }
    return CallNextHookEx(hook, code, wParam, lParam);
}

} // namespace

BoxCapture::BoxCapture() {
    boxes.clear();
    hook = SetWindowsHookExW(WH_CBT, &Watch, nullptr, GetCurrentThreadId());
}

BoxCapture::~BoxCapture() {
    UnhookWindowsHookEx(hook);
}

const std::vector<Box>& BoxCapture::Boxes() const {
    return boxes;
}
