#include "info.h"

#include "../console.h"
#include "../text.h"
#include "COSVersionInfo.h"
#include "CPathString.h"

namespace mvtool::info {
namespace {

/// The strings that version resources usually have, in the order in which they are shown.
constexpr const wchar_t* kKeys[] = {L"FileDescription", L"FileVersion",      L"ProductName",
                                    L"ProductVersion",  L"CompanyName",      L"LegalCopyright",
                                    L"InternalName",    L"OriginalFilename", L"Comments"};

std::string numbers(const CInfoVersio& info) {
    return std::to_string(info.m_dwMajor) + '.' + std::to_string(info.m_dwMinor) + '.' +
           std::to_string(info.m_dwBuild) + '.' + std::to_string(info.m_dwRevisio);
}

/// Shows one file; the exit code that it would have alone.
Exit show(const std::string& file, bool brief) {
    const CPathString path(CString(widePath(file).c_str()));
    CInfoVersio info;
    CString text;
    if (!path.GetFileVersion(info) || !path.GetFileVersion(text)) {
        const bool there = path.TestFitxer() != 0;
        console().note(displayText(file) + (there                ? ": no version"
                                            : path.TestCarpeta() ? ": a folder"
                                                                 : ": no such file"));
        return there ? Exit::no : Exit::notFound;
    }
    if (brief) {
        console().print(numbers(info) + "  " + displayText(file) + '\n');
        return Exit::done;
    }
    std::vector<Row> rows = {{"version", numbers(info)}, {"shown as", fromWide(text.GetString())}};
    for (const wchar_t* key : kKeys) {
        if (path.GetStringInformacio(key, text)) {
            rows.push_back({fromWide(key), fromWide(text.GetString())});
        }
    }
    console().print(displayText(file) + '\n' + table(rows, "  "));
    return Exit::done;
}

Exit run(const Arguments& arguments) {
    Exit result = Exit::done;
    for (const std::string& file : arguments.operands()) {
        const Exit one = show(file, arguments.has("short"));
        result = one > result ? one : result;
    }
    return result;
}

constexpr OptionSpec kOptions[] = {
    {"short", 's', nullptr, "one line a file: its version and its name"},
};

constexpr Command kCommands[] = {
    {"", "FILE...", "show the versions of Windows executables",
     "Reads the version resources of programs and DLLs, on every system: the four numbers, the text\n"
     "that applications show (with \"\u00DF\" for a version before its release and \"(DBG)\" for one made\n"
     "for debugging), and the strings in the resource's first language. The exit code is 1 when a\n"
     "file has no version and 3 when one is missing or a folder; the others are shown all the same.\n",
     1, static_cast<std::size_t>(-1), kOptions, run},
};

} // namespace

const Family& versionFamily() {
    static const Family one = {"ver", "show the versions of Windows executables", "", kCommands};
    return one;
}

} // namespace mvtool::info
