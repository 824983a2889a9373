#include "CFitxerINI.h"

#include "CPathString.h"

#include <climits>
#include <cwchar>

namespace {

constexpr int ValueLength = 1024;
constexpr int NumberLength = 40;
constexpr int ListSize = 32767;

constexpr unsigned char Mark[] = {0xFF, 0xFE};

// An open file that closes itself.
class File {
public:
    File(const wchar_t* path, DWORD access, DWORD share, DWORD disposition)
        : m_handle(::CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    }
    ~File() {
        if (IsOpen())
            ::CloseHandle(m_handle);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    // The bytes that were read; fewer than asked for at the end. False when the system refuses.
    bool Read(void* buffer, DWORD size) const {
        DWORD count = 0;
        return ::ReadFile(m_handle, buffer, size, &count, nullptr) != FALSE;
    }
    bool WriteMark() const {
        DWORD count = 0;
        return ::WriteFile(m_handle, Mark, sizeof Mark, &count, nullptr) && count == sizeof Mark;
    }

private:
    HANDLE m_handle;
};

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;

// A value of up to `Length` characters.
template <int Length>
class Value {
public:
    Value(const CString& file, const wchar_t* section, const wchar_t* key) {
        m_text[0] = 0;
        m_found = ::GetPrivateProfileStringW(section, key, L"", m_text, Length + 1, file) != 0;
    }
    bool Found() const { return m_found; }
    const wchar_t* Text() const { return m_text; }

private:
    wchar_t m_text[Length + 1];
    bool m_found;
};

// Replaces the list by what `read` puts into a buffer of ListSize characters.
template <class Read>
int readList(CMultiString& list, Read read) {
    CMultiString whole;
    wchar_t* text = whole.GetBuffer(ListSize);
    text[0] = text[1] = 0;
    read(text);
    list.Set(text);
    return list.GetNumStr() > 0 ? 1 : 0;
}

// The next piece between delimiters, which are skipped in front of it; empty when only delimiters are left.
CString nextToken(const wchar_t*& rest, wchar_t delimiter) {
    while (*rest == delimiter)
        ++rest;
    const wchar_t* token = rest;
    while (*rest != 0 && *rest != delimiter)
        ++rest;
    CString text(token, static_cast<int>(rest - token));
    if (*rest != 0)
        ++rest;
    return text;
}

// Calls `use` with key and value of each line that has both, until it answers false.
template <class Use>
void eachPair(const CMultiString& lines, Use use) {
    for (int i = 0; i < lines.GetNumStr(); ++i) {
        const wchar_t* rest = lines[i];
        const CString key = nextToken(rest, L'=');
        const CString value = nextToken(rest, L';');
        if (!value.IsEmpty() && !use(key, value))
            return;
    }
}

// Makes the file with its mark, unless it is there by then. It gets its name when it is whole: another
// program that met it without the mark would convert it, and lose what was written meanwhile.
void makeMarked(const wchar_t* path) {
    CString name;
    name.Format(L"%s.%x-%x", path, static_cast<unsigned>(::GetCurrentProcessId()),
                static_cast<unsigned>(::GetCurrentThreadId()));
    bool written;
    {
        const File file(name, GENERIC_WRITE, 0, CREATE_ALWAYS);
        written = file.IsOpen() && file.WriteMark();
    }
    if (!written || !::MoveFileExW(name, path, 0))
        ::DeleteFileW(name);
}

CString withExtension(const CString& path, const wchar_t* extension) {
    return CPathString(path).Substituir(nullptr, nullptr, nullptr, extension);
}

} // namespace

CFitxerINI::CFitxerINI(const wchar_t* szFitxer)
    : m_strFitxer(szFitxer) {
    if (m_strFitxer.IsEmpty())
        m_strFitxer = withExtension(CPathString(static_cast<HINSTANCE>(nullptr)), L"ini");
}

// ---- Values

CString CFitxerINI::GetString(const wchar_t* szSeccio, const wchar_t* szClau,
                              const wchar_t* szDefecte) const {
    // The default is not handed to the system: it would lose its trailing blanks.
    const Value<ValueLength> value(m_strFitxer, szSeccio, szClau);
    return value.Found() ? value.Text() : szDefecte;
}

int CFitxerINI::GetInt(const wchar_t* szSeccio, const wchar_t* szClau, int nDefecte) const {
    const Value<NumberLength> value(m_strFitxer, szSeccio, szClau);
    if (!value.Found())
        return nDefecte;
    const wchar_t* text = value.Text();
    const bool hexadecimal = text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
    const long number = std::wcstol(hexadecimal ? text + 2 : text, nullptr, hexadecimal ? 16 : 10);
    if (number > INT_MAX)
        return INT_MAX;
    return number < INT_MIN ? INT_MIN : static_cast<int>(number);
}

double CFitxerINI::GetDouble(const wchar_t* szSeccio, const wchar_t* szClau, double dDefecte) const {
    const Value<NumberLength> value(m_strFitxer, szSeccio, szClau);
    return value.Found() ? ::_wtof(value.Text()) : dDefecte;
}

int CFitxerINI::SetString(const wchar_t* szSeccio, const wchar_t* szClau, const wchar_t* szValor) {
    if (!checkCarpeta(1))
        return 0;
    VerifyAndCreateUnicodeFile(m_strFitxer);
    return ::WritePrivateProfileStringW(szSeccio, szClau, szValor, m_strFitxer) ? 1 : 0;
}

int CFitxerINI::SetDouble(const wchar_t* szSeccio, const wchar_t* szClau, double d) {
    CString text;
    text.Format(L"%f", d);
    return SetString(szSeccio, szClau, text);
}

int CFitxerINI::SetInt(const wchar_t* szSeccio, const wchar_t* szClau, int n, int nBase,
                       const wchar_t* szAfix, int bSufix) {
    if (nBase < 2 || nBase > 36)
        return 0;
    wchar_t digits[33];
    const unsigned int magnitude = n < 0 ? 0U - static_cast<unsigned int>(n) : static_cast<unsigned int>(n);
    ::_ui64tow(magnitude, digits, nBase);
    CString text(digits);
    if (szAfix)
        text = bSufix ? text + szAfix : szAfix + text;
    if (n < 0)
        text = L"-" + text;
    return SetString(szSeccio, szClau, text);
}

// ---- Sections

int CFitxerINI::GetSeccio(const wchar_t* szSeccio, CMultiString& linies) const {
    return readList(
        linies, [&](wchar_t* text) { ::GetPrivateProfileSectionW(szSeccio, text, ListSize, m_strFitxer); });
}

int CFitxerINI::GetSeccio(const wchar_t* szSeccio, CMultiString& claus, CMultiString& valors) const {
    CMultiString lines;
    if (!GetSeccio(szSeccio, lines))
        return 0;
    eachPair(lines, [&](const CString& key, const CString& value) {
        claus += key;
        valors += value;
        return true;
    });
    return 1;
}

int CFitxerINI::GetClausSeccio(const wchar_t* szSeccio, CMultiString& claus) const {
    return readList(claus, [&](wchar_t* text) {
        ::GetPrivateProfileStringW(szSeccio, nullptr, L"", text, ListSize, m_strFitxer);
    });
}

int CFitxerINI::GetSeccions(CMultiString& seccions) const {
    return readList(seccions,
                    [&](wchar_t* text) { ::GetPrivateProfileSectionNamesW(text, ListSize, m_strFitxer); });
}

int CFitxerINI::EnumSeccio(const wchar_t* szSeccio, PFNENUM pfn, long lUser) const {
    CMultiString lines;
    if (!GetSeccio(szSeccio, lines))
        return -3;
    int result = 0;
    eachPair(lines, [&](const CString& key, const CString& value) {
        result = pfn(key, value, lUser);
        return result >= 0;
    });
    return result;
}

int CFitxerINI::SetSeccio(const wchar_t* szSeccio, const CMultiString& linies) {
    if (!checkCarpeta(1))
        return 0;
    return ::WritePrivateProfileSectionW(szSeccio, linies, m_strFitxer) ? 1 : 0;
}

int CFitxerINI::SetSeccio(const wchar_t* szSeccio, CMultiString& claus, CMultiString& valors) {
    CMultiString lines;
    for (int i = 0; i < claus.GetNumStr(); ++i)
        lines += CString(claus[i]) + L" = " + valors[i];
    return SetSeccio(szSeccio, lines);
}

// ---- Deleting

int CFitxerINI::BorrarClau(const wchar_t* szSeccio, const wchar_t* szClau) {
    CMultiString keys;
    CMultiString values;
    if (!szClau || !checkCarpeta(1) || !GetSeccio(szSeccio, keys, values))
        return 0;
    for (int i = keys.GetNumStr() - 1; i >= 0; --i) {
        if (::_wcsicmp(keys[i], szClau) == 0) {
            keys.Treure(i);
            values.Treure(i);
            return SetSeccio(szSeccio, keys, values);
        }
    }
    return 0;
}

int CFitxerINI::BorrarValor(const wchar_t* szSeccio, const wchar_t* szClau) {
    // Without a key the system would delete the whole section.
    if (!szClau || !checkCarpeta(1))
        return 0;
    return ::WritePrivateProfileStringW(szSeccio, szClau, nullptr, m_strFitxer) ? 1 : 0;
}

int CFitxerINI::BorrarSeccio(const wchar_t* szSeccio) {
    if (!checkCarpeta(1))
        return 0;
    return ::WritePrivateProfileSectionW(szSeccio, nullptr, m_strFitxer) ? 1 : 0;
}

// ---- The file

int CFitxerINI::TestFitxer() const {
    return CPathString::TestFitxer(m_strFitxer);
}

int CFitxerINI::checkCarpeta(int) {
    const CString folder = CPathString(m_strFitxer).GetRuta(0);
    // Without a folder the file lies in one that is always there.
    if (folder.IsEmpty())
        return 1;
    return CPathString::TestCarpeta(folder) || CPathString::CrearCarpeta(folder) ? 1 : 0;
}

int CFitxerINI::VerifyAndCreateUnicodeFile(const wchar_t* szFitxer) {
    if (::GetFileAttributesW(szFitxer) == INVALID_FILE_ATTRIBUTES) {
        makeMarked(szFitxer);
        return 1;
    }
    unsigned char start[sizeof Mark] = {};
    {
        const File file(szFitxer, GENERIC_READ, ShareAll, OPEN_EXISTING);
        if (file.IsOpen())
            file.Read(start, sizeof start);
    }
    return start[0] == Mark[0] && start[1] == Mark[1] ? 1 : ConvertIniFileIntoUnicode(szFitxer);
}

int CFitxerINI::ConvertIniFileIntoUnicode(const wchar_t* szFitxer) {
    const CString temporary = withExtension(szFitxer, L"tmp");
    bool written = false;
    {
        const File target(temporary, GENERIC_WRITE, 0, CREATE_NEW);
        if (!target.IsOpen())
            return 1;
        written = target.WriteMark();
        // Kept: the text stays behind. The loop was meant to carry it over but runs only while reading fails,
        // and for ever when the file cannot be opened.
        const File source(szFitxer, GENERIC_READ, ShareAll, OPEN_EXISTING);
        unsigned char one = 0;
        while (!source.Read(&one, 1))
            ::Sleep(1);
    }
    if (written)
        ::CopyFileW(temporary, szFitxer, FALSE);
    ::DeleteFileW(temporary);
    return 1;
}
