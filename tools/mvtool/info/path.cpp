#include "info.h"

#include "../console.h"
#include "../system.h"
#include "../text.h"
#include "afxwin.h"
#include "CPathString.h"

namespace mvtool::info {
namespace {

struct ShellFolder {
    int number; ///< as CPathString::GetRutaShell takes it
    const char* name;
};

constexpr ShellFolder kFolders[] = {
    {26, "application data"}, {28, "local application data"}, {35, "shared application data"},
    {5, "documents"},         {46, "shared documents"},       {40, "profile"},
};

Row folderRow(const char* name, const CString& path) {
    if (path.IsEmpty()) {
        return {name, "-"};
    }
    return {name, shown(path) + (CPathString::TestCarpeta(path) ? "" : "  (not there)")};
}

CString option(const Arguments& arguments, const char* name) {
    return CString(widePath(arguments.value(name).value_or("")).c_str());
}

Exit where(const Arguments& arguments) {
    if (arguments.has("sub") || arguments.has("base")) {
        const CString sub = option(arguments, "sub");
        CString base = option(arguments, "base");
        if (base.IsEmpty() && arguments.has("app")) {
            base = L"Mirvanet\\" + option(arguments, "app") + L"\\";
        }
        console().print(table({folderRow("user data", CPathString::GetRutaDades(1, sub, base, 0)),
                               folderRow("shared data", CPathString::GetRutaDades(0, sub, base, 0))}));
        return Exit::done;
    }
    std::vector<Row> rows = dataFolders(option(arguments, "app"));
    for (const ShellFolder& folder : kFolders) {
        rows.push_back(folderRow(folder.name, CPathString::GetRutaShell(folder.number, 0)));
    }
    rows.push_back(folderRow("temporary files", CPathString::GetTempPathW(0)));
    rows.push_back(folderRow("system", CPathString::GetSystemDir(0)));
    console().print(table(rows));
    return Exit::done;
}

constexpr OptionSpec kWhereOptions[] = {
    {"app", 'a', "NAME", "the application whose data folders are shown (default: mvtool)"},
    {"base", 'b', "FOLDER", "show the data folders alone, with another base than Mirvanet\\NAME"},
    {"sub", 's', "FOLDER", "show the data folders alone, with a sub-folder"},
};

constexpr Command kCommands[] = {
    {"where", "", "show the folders that applications keep data in",
     "The data folder of a user and the shared one lie in the system's folders for such data; both\n"
     "are only computed, never made. Folders that are not there are marked.\n",
     0, 0, kWhereOptions, where},
};

} // namespace

std::string shown(const CString& path) {
    return systemPath(fromWide(path.GetString()));
}

std::string table(const std::vector<Row>& rows, const std::string& margin) {
    std::size_t width = 0;
    for (const Row& row : rows) {
        width = row.name.size() > width ? row.name.size() : width;
    }
    std::string text;
    for (const Row& row : rows) {
        text +=
            margin + row.name + std::string(width - row.name.size() + 2, ' ') + displayText(row.value) + '\n';
    }
    return text;
}

std::vector<Row> dataFolders(const CString& application) {
    CString base;
    if (!application.IsEmpty()) {
        base = L"Mirvanet\\" + application + L"\\";
    }
    return {folderRow("user data", CPathString::GetRutaDades(1, nullptr, base, 0)),
            folderRow("shared data", CPathString::GetRutaDades(0, nullptr, base, 0))};
}

const Family& pathFamily() {
    static const Family one = {"path", "show folders", "", kCommands};
    return one;
}

} // namespace mvtool::info
