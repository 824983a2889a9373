#include "debug_capture.h"

#include "win32.h"

namespace {

// OutputDebugString raises one of these; a debugger would answer it.
constexpr DWORD kWideText = 0x4001000A;
constexpr DWORD kAnsiText = 0x40010006;

std::wstring captured;
DWORD thread;
void* handler;

LONG CALLBACK Keep(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (GetCurrentThreadId() != thread || record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (record.ExceptionCode == kWideText) {
        captured += reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == kAnsiText) {
        const auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
        std::wstring wide(static_cast<std::size_t>(length), L'\0');
        MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length);
        captured += wide.c_str();
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

DebugCapture::DebugCapture() {
    captured.clear();
    thread = GetCurrentThreadId();
    handler = AddVectoredExceptionHandler(1, &Keep);
}

DebugCapture::~DebugCapture() {
    RemoveVectoredExceptionHandler(handler);
}

std::wstring DebugCapture::Text() const {
    return captured;
}
