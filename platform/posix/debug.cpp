#include "hooks.h"
#include "internal/standard_error.h"
#include "internal/text.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace mvplat {

namespace {
std::atomic<MvDebugSink> g_debugSink{nullptr};
}

void writeStandardError(std::string_view text) {
    const int saved = errno;
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            break;
    }
    errno = saved;
}

} // namespace mvplat

using namespace mvplat;

MvDebugSink MvSetDebugSink(MvDebugSink sink) {
    return g_debugSink.exchange(sink);
}

void OutputDebugStringW(LPCWSTR text) {
    if (!text)
        text = L"";
    const DWORD error = GetLastError();
    if (const MvDebugSink sink = g_debugSink.load()) {
        sink(text);
    } else if (const char* wanted = std::getenv("MVLIB_DEBUG"); wanted && *wanted) {
        try {
            writeStandardError(utf8FromWide(text));
        } catch (const std::bad_alloc&) {
            // A diagnostic that finds no memory is dropped.
        }
    }
    SetLastError(error);
}

void OutputDebugStringA(LPCSTR text) {
    if (!text)
        text = "";
    const DWORD error = GetLastError();
    try {
        const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
        std::wstring wide(static_cast<std::size_t>(size), L'\0');
        MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size);
        OutputDebugStringW(wide.c_str());
    } catch (const std::bad_alloc&) {
    }
    SetLastError(error);
}

BOOL IsDebuggerPresent() {
    return FALSE;
}
