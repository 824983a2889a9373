// Servers are found by the message that asks every window for any service and any topic.
#include "dde.h"

#include <win32.h>

namespace mvtool::dde {
namespace {

constexpr UINT kInitiate = 0x03E0; // WM_DDE_INITIATE, WM_DDE_TERMINATE and WM_DDE_ACK
constexpr UINT kTerminate = 0x03E1;
constexpr UINT kAck = 0x03E4;
constexpr UINT kPatience = 2000;

std::vector<Pair>* g_pairs;

std::wstring takeAtom(ATOM atom) {
    wchar_t name[256] = {};
    GlobalGetAtomNameW(atom, name, 256);
    GlobalDeleteAtom(atom);
    return name;
}

LRESULT CALLBACK collect(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kAck || g_pairs == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const std::wstring service = takeAtom(LOWORD(lParam));
    g_pairs->push_back({service, takeAtom(HIWORD(lParam))});
    PostMessageW(reinterpret_cast<HWND>(wParam), kTerminate, reinterpret_cast<WPARAM>(window), 0);
    return 0;
}

BOOL CALLBACK askWindow(HWND window, LPARAM own) {
    DWORD_PTR unused = 0;
    if (window != reinterpret_cast<HWND>(own)) {
        SendMessageTimeoutW(window, kInitiate, static_cast<WPARAM>(own), 0, SMTO_ABORTIFHUNG, kPatience,
                            &unused);
    }
    return TRUE;
}

} // namespace

std::vector<Pair> services() {
    std::vector<Pair> pairs;
    WNDCLASSW type = {};
    type.lpfnWndProc = &collect;
    type.hInstance = GetModuleHandleW(nullptr);
    type.lpszClassName = L"mvtool.dde";
    RegisterClassW(&type);
    const HWND window = CreateWindowExW(0, type.lpszClassName, L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                                        type.hInstance, nullptr);
    g_pairs = &pairs;
    EnumWindows(&askWindow, reinterpret_cast<LPARAM>(window));
    // What the servers' ends answer to the end of the conversations.
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
    }
    g_pairs = nullptr;
    DestroyWindow(window);
    return pairs;
}

} // namespace mvtool::dde
