#include "ini.h"

#include "../console.h"
#include "../text.h"
#include "../whole_file.h"
#include "CFitxerINI.h"
#include "ini_text.h"
#include <win32.h>

namespace mvtool::ini {
namespace {

std::wstring wideOperand(const std::string& text) {
    std::optional<std::wstring> wide = toWide(text);
    if (!wide || wide->find(L'\0') != std::wstring::npos) {
        throw Failure(Exit::usage, "not UTF-8: " + displayText(text));
    }
    return *std::move(wide);
}

/// A text that would become several lines, or no line of that kind, is not written.
std::wstring lineOperand(const std::string& text, const wchar_t* refused) {
    std::wstring wide = wideOperand(text);
    if (wide.find_first_of(refused) != std::wstring::npos) {
        throw Failure(Exit::usage, "a character that would break the line: " + displayText(text));
    }
    return wide;
}

std::string shown(const wchar_t* text) {
    return displayText(fromWide(text));
}

void printAll(const CMultiString& names) {
    for (int i = 0; i < names.GetNumStr(); ++i) {
        console().print(shown(names[i]) + '\n');
    }
}

std::wstring textOf(const std::string& path, const std::string& bytes, bool asUtf8) {
    std::wstring text;
    if (!decode(bytes, asUtf8, text)) {
        throw Failure(Exit::damaged, displayText(path) + ": not UTF-8");
    }
    return text;
}

Exit check(const Arguments& arguments) {
    const std::string& path = arguments.operands()[0];
    const std::string bytes = readWhole(path);
    const Encoding encoding = encodingOf(bytes);
    const std::vector<Line> lines = linesOf(textOf(path, bytes, arguments.has("utf8")));
    const std::vector<Problem> problems = problemsOf(lines);
    const bool loses = encoding != Encoding::utf16 && !lines.empty();
    const bool good = !loses && problems.empty();
    console().print(displayText(path) + (good ? ": good: " : ": bad: ") + nameOf(encoding) + ", " +
                    counted(lines.size(), "line") + '\n');
    for (const Problem& problem : problems) {
        console().print("line " + std::to_string(problem.line) + ": " + problem.text + '\n');
    }
    if (loses) {
        console().print("The first value that the library writes would lose all of this text:\n");
        for (const Line& line : lines) {
            console().print("  " + std::to_string(line.number) + ": " + displayText(fromWide(line.text)) +
                            '\n');
        }
        console().print("mvtool ini convert --to utf16 keeps it.\n");
    }
    return good ? Exit::done : Exit::no;
}

Exit get(const Arguments& arguments) {
    const std::vector<std::string>& operands = arguments.operands();
    readWhole(operands[0]); // a missing file is no empty one
    const CFitxerINI file(fullPath(operands[0]).c_str());
    CMultiString names;
    if (operands.size() == 1) {
        file.GetSeccions(names);
        printAll(names);
        return Exit::done;
    }
    const std::wstring section = wideOperand(operands[1]);
    if (operands.size() == 2) {
        if (!file.GetSeccio(section.c_str(), names)) {
            throw Failure(Exit::notFound, "no such section, or an empty one: " + displayText(operands[1]));
        }
        printAll(names);
        return Exit::done;
    }
    const std::wstring key = wideOperand(operands[2]);
    const CString value = file.GetString(section.c_str(), key.c_str(), nullptr);
    bool found = !value.IsEmpty();
    if (!found) {
        file.GetClausSeccio(section.c_str(), names);
        for (int i = 0; i < names.GetNumStr() && !found; ++i) {
            found = _wcsicmp(names[i], key.c_str()) == 0;
        }
    }
    if (!found) {
        throw Failure(Exit::notFound,
                      "no such key: " + displayText(operands[2]) + " in " + displayText(operands[1]));
    }
    console().print(shown(value) + '\n');
    return Exit::done;
}

Exit set(const Arguments& arguments) {
    const std::vector<std::string>& operands = arguments.operands();
    const bool remove = arguments.has("delete");
    if (operands.size() != (remove ? 3 : 4)) {
        throw Failure(Exit::usage, remove ? "--delete takes no value" : "missing operand: VALUE");
    }
    const std::wstring path = fullPath(operands[0]);
    const std::wstring section = lineOperand(operands[1], L"\r\n]");
    const std::wstring key = lineOperand(operands[2], L"\r\n=");
    const std::wstring value = remove ? std::wstring() : lineOperand(operands[3], L"\r\n");
    if (section.empty() || key.empty()) {
        throw Failure(Exit::usage, "a section and a key have a name");
    }
    if (remove || GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        const std::string bytes =
            readWhole(operands[0]); // what cannot be read the library tries to read for ever
        std::wstring text;
        decode(bytes, false, text);
        if (!remove && encodingOf(bytes) != Encoding::utf16 && !linesOf(text).empty() &&
            !arguments.has("lose-text")) {
            throw Failure(Exit::no, displayText(operands[0]) +
                                        " has no UTF-16 mark, so writing would lose all of its text; "
                                        "first: mvtool ini convert --to utf16");
        }
    }
    CFitxerINI file(path.c_str());
    const int written = remove ? file.BorrarValor(section.c_str(), key.c_str())
                               : file.SetString(section.c_str(), key.c_str(), value.c_str());
    if (!written) {
        throw Failure(Exit::writeFailure, "cannot write " + displayText(operands[0]));
    }
    return Exit::done;
}

Exit convert(const Arguments& arguments) {
    const std::string& path = arguments.operands()[0];
    const std::string to = arguments.value("to").value_or("");
    if (to != "utf16") {
        throw Failure(Exit::usage, to.empty() ? "the form is missing: --to utf16"
                                              : "--to is utf16, not " + displayText(to));
    }
    const std::string bytes = readWhole(path);
    const std::string target = arguments.value("output").value_or(path);
    const Encoding encoding = encodingOf(bytes);
    if (encoding == Encoding::utf16 && target == path) {
        console().print(displayText(path) + ": " + nameOf(encoding) + " already\n");
        return Exit::done;
    }
    const std::wstring text = textOf(path, bytes, arguments.has("utf8"));
    writeWhole(target, encode(text));
    console().print(displayText(target) + ": converted " + counted(linesOf(text).size(), "line") + " of " +
                    nameOf(encoding) + '\n');
    return Exit::done;
}

constexpr OptionSpec kUtf8Option = {"utf8", 0, nullptr,
                                    "a file without a mark is UTF-8, not the system's code page"};
constexpr OptionSpec kCheckOptions[] = {kUtf8Option};
constexpr OptionSpec kSetOptions[] = {
    {"delete", 0, nullptr, "delete the key"},
    {"lose-text", 0, nullptr, "write even where the library loses the file's text"},
};
constexpr OptionSpec kConvertOptions[] = {
    {"to", 0, "FORM", "utf16 (required)"},
    {"output", 'o', "FILE", "write there, and leave the file as it is"},
    kUtf8Option,
};

constexpr Command kCommands[] = {
    {"check", "FILE", "say what the library would not read, or lose",
     "Names every line that is never read or is cut, and all text that the first value written by\n"
     "the library would lose because the file has no UTF-16 mark. Exit code 1 when there is any.\n",
     1, 1, kCheckOptions, check},
    {"get",
     "FILE [SECTION [KEY]]",
     "print a value, the lines of a section, or the names of the sections",
     "",
     1,
     3,
     {},
     get},
    {"set", "FILE SECTION KEY VALUE", "write a value",
     "Makes the file when it is missing. A file without UTF-16 mark is refused, because writing\n"
     "would lose its text.\n",
     3, 4, kSetOptions, set},
    {"convert", "FILE --to utf16", "give a file the form that the library writes, with all its text",
     "The file is written beside its place and renamed at the end.\n", 1, 1, kConvertOptions, convert},
};

} // namespace

const Family& family() {
    static const Family one = {"ini", "show, change, check and convert INI files",
                               "The library writes INI files as UTF-16 with a mark (docs/ini-files.md).\n",
                               kCommands};
    return one;
}

} // namespace mvtool::ini
