#include "hooks.h"
#include "internal/standard_error.h"
#include "internal/text.h"

#include <atomic>

namespace {

constexpr DWORD errorInvalidBoxStyle = 1438;

std::atomic<MvMessageBoxSink> g_messageBoxSink{nullptr};

// The buttons of each box type, in their order.
constexpr int buttonsOf[][3] = {
    {IDOK, 0, 0},     {IDOK, IDCANCEL, 0},    {IDABORT, IDRETRY, IDIGNORE},       {IDYES, IDNO, IDCANCEL},
    {IDYES, IDNO, 0}, {IDRETRY, IDCANCEL, 0}, {IDCANCEL, IDTRYAGAIN, IDCONTINUE},
};

int defaultButton(UINT type) {
    const auto& buttons = buttonsOf[type & MB_TYPEMASK];
    const unsigned wanted = (type & MB_DEFMASK) >> 8;
    return wanted < 3 && buttons[wanted] ? buttons[wanted] : buttons[0];
}

} // namespace

MvMessageBoxSink MvSetMessageBoxSink(MvMessageBoxSink sink) {
    return g_messageBoxSink.exchange(sink);
}

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    if ((type & MB_TYPEMASK) >= std::size(buttonsOf)) {
        SetLastError(errorInvalidBoxStyle);
        return 0;
    }
    if (!text)
        text = L"";
    if (!caption)
        caption = L"Error"; // the system's own default
    if (const MvMessageBoxSink sink = g_messageBoxSink.load())
        return sink(owner, text, caption, type);
    try {
        std::string line = mvplat::utf8FromWide(caption);
        line += line.empty() ? "" : ": ";
        line += mvplat::utf8FromWide(text);
        line += '\n';
        mvplat::writeStandardError(line);
    } catch (const std::bad_alloc&) {
        mvplat::writeStandardError("A message could not be shown: no memory.\n");
    }
    return defaultButton(type);
}
