#include "info.h"

#include "../console.h"
#include "../system.h"
#include "../text.h"
#include "afxwin.h"
#include "COSVersionInfo.h"
#include "CPathString.h"
#include "Idioma.h"

namespace mvtool::info {
namespace {

#if defined(__clang__)
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "g++ " __VERSION__;
#endif

constexpr unsigned kUsersLanguage = 0x0400;

std::string hexadecimal(unsigned value) {
    std::string text;
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[value >> shift & 0xF];
    }
    return "0x" + text;
}

std::string localeFact(LCTYPE type) {
    wchar_t text[100] = L"";
    const int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, 100);
    return length > 0 ? fromWide(text) : "-";
}

std::string moduleFile(HINSTANCE module) {
    return shown(CPathString(module));
}

/// The module that an address lies in.
HINSTANCE moduleOf(const void* address) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(address), &module);
    return module;
}

void addLanguages(std::vector<Row>& rows) {
    const unsigned current = AfxGetLanguage();
    rows.push_back(
        {"language", hexadecimal(current) + (current == kUsersLanguage ? " (that of the texts)" : "")});
    AfxLockGlobals(CRIT_DYNLINKLIST);
    std::vector<HINSTANCE> modules;
    for (CDynLinkLibrary* link = AfxGetModuleState()->m_libraryList; link != nullptr;
         link = link->m_pNextDLL) {
        if (link->m_hResource != nullptr) {
            modules.push_back(link->m_hResource);
        }
    }
    AfxUnlockGlobals(CRIT_DYNLINKLIST);
    for (HINSTANCE module : modules) {
        const std::string name = fromWide(AfxGetNomIdioma(module).GetString());
        const std::string key = fromWide(AfxGetClauIdioma(module).GetString());
        std::string language = "no language";
        if (!name.empty()) {
            language = name;
            language.append(" (").append(key).append(")");
        }
        rows.push_back({"texts", language.append(", ").append(moduleFile(module))});
    }
}

Exit run(const Arguments&) {
    const COSVersionInfo& system = *AfxGetOSVersionInfo();
    const std::string name = fromWide(system.GetNom().GetString());
    std::vector<Row> rows = {
        {"mvlib62", MVTOOL_VERSION},
        {"target", std::string(MVTOOL_TARGET ", ") + std::to_string(sizeof(void*) * 8) + " bits, compiler " +
                       kCompiler},
        {"library", moduleFile(moduleOf(AfxGetOSVersionInfo()))},
        {"framework", moduleFile(moduleOf(RUNTIME_CLASS(CObject)))},
        {"system", name.empty() ? "unknown" : name},
        {"system version",
         std::to_string(system.dwMajorVersion) + '.' + std::to_string(system.dwMinorVersion) + '.' +
             std::to_string(system.dwBuildNumber) + ", platform " + std::to_string(system.dwPlatformId)},
        {"locale", localeFact(LOCALE_SISO639LANGNAME) + '-' + localeFact(LOCALE_SISO3166CTRYNAME)},
        {"measures", localeFact(LOCALE_IMEASURE) == "1" ? "United States" : "metric"},
        {"code page", std::to_string(GetACP())},
    };
    addLanguages(rows);
    for (Row& row : dataFolders(CString())) {
        rows.push_back(std::move(row));
    }
    rows.push_back({"temporary files", shown(CPathString::GetTempPathW(0))});
    rows.push_back({"registry", registryStore()});
    console().print(table(rows));
    return Exit::done;
}

constexpr Command kCommands[] = {
    {"",
     "",
     "print a page to go with the report of a fault",
     "Versions of the library and of the system, its locale and language, and where data are kept.\n"
     "The page names folders, and with them the user; nothing is read from them or sent anywhere.\n",
     0,
     0,
     {},
     run},
};

} // namespace

const Family& diagnosisFamily() {
    static const Family one = {"diag", "print a page to go with the report of a fault", "", kCommands};
    return one;
}

} // namespace mvtool::info
