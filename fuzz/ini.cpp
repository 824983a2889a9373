// INI files: any file, a few changes to it, and everything asked of it in between. What was written is read
// back, and the other lines stay as they were, byte for byte.
#include "CFitxerINI.h"

#include "ini_changes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// ---- The file

// A folder of this process, in memory where the system has such a place.
class Folder {
public:
    Folder() {
        for (const char* parent : {"/dev/shm", "/tmp"}) {
            m_path = std::string(parent) + "/mvlib62-fuzz-ini-" + std::to_string(::getpid());
            if (::mkdir(m_path.c_str(), 0700) == 0)
                return;
        }
        std::perror("mkdir");
        std::exit(2);
    }
    ~Folder() {
        ::unlink(File().c_str());
        ::rmdir(m_path.c_str());
    }
    std::string File() const { return m_path + "/a.ini"; }

private:
    std::string m_path;
};

const Folder theFolder;
const std::string theFile = theFolder.File();
const std::wstring theName(theFile.begin(), theFile.end());

void WriteFile(std::string_view bytes) {
    const int file = ::open(theFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    Require(file >= 0 && ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
            "the file can be made");
    ::close(file);
}

std::string ReadFile() {
    std::string bytes;
    const int file = ::open(theFile.c_str(), O_RDONLY);
    Require(file >= 0, "the file is there");
    char block[4096];
    for (ssize_t got; (got = ::read(file, block, sizeof block)) > 0;)
        bytes.append(block, static_cast<std::size_t>(got));
    ::close(file);
    return bytes;
}

// ---- Reading

std::wstring Value(const std::wstring& section, const std::wstring& key) {
    wchar_t text[1000];
    const DWORD count =
        GetPrivateProfileStringW(section.c_str(), key.c_str(), L"(none)", text, 1000, theName.c_str());
    Require(count < 1000 && text[count] == 0, "a value ends with a NUL");
    return {text, count};
}

// A buffer of exactly that size gets the beginning of what a large one gets.
void CheckSize(const std::wstring& section, const std::wstring& key, DWORD size, int what) {
    std::vector<wchar_t> small(size, L'#');
    if (what == 0) {
        const std::wstring whole = Value(section, key);
        const DWORD count = GetPrivateProfileStringW(section.c_str(), key.c_str(), L"(none)", small.data(),
                                                     size, theName.c_str());
        Require(size == 0 ? count == 0
                          : count == std::min<std::size_t>(size - 1, whole.size()) &&
                                whole.compare(0, count, small.data()) == 0,
                "a small buffer gets the beginning");
        return;
    }
    const DWORD count =
        what == 1 ? GetPrivateProfileSectionW(section.c_str(), small.data(), size, theName.c_str())
        : what == 2
            ? GetPrivateProfileSectionNamesW(small.data(), size, theName.c_str())
            : GetPrivateProfileStringW(section.c_str(), nullptr, L"", small.data(), size, theName.c_str());
    Require(count <= size, "no list is longer than its buffer");
}

int __stdcall Count(const wchar_t*, const wchar_t*, long user) {
    return ++*reinterpret_cast<int*>(user);
}

// One of the class's answers, which must agree with the functions below it and with the others.
void CheckReading(const CFitxerINI& file, const std::wstring& section, const std::wstring& key, int what) {
    CMultiString lines, keys, values, names;
    int walked = 0;
    switch (what) {
    case 0: {
        const std::wstring value = Value(section, key);
        const CString text = file.GetString(section.c_str(), key.c_str(), L"(none)");
        Require(value.empty() ? text == L"(none)" : text == value.c_str(), "GetString gives the value");
        break;
    }
    case 1:
        file.GetInt(section.c_str(), key.c_str(), 1);
        file.GetDouble(section.c_str(), key.c_str(), 1);
        break;
    case 2: {
        const int any = file.GetSeccio(section.c_str(), lines);
        Require(any == (lines.GetNumStr() > 0), "a section with lines is there");
        Require(file.GetSeccio(section.c_str(), keys, values) == any, "it is there as pairs, too");
        Require(keys.GetNumStr() == values.GetNumStr() && keys.GetNumStr() <= lines.GetNumStr(),
                "a line gives one pair at most");
        break;
    }
    case 3: {
        const int any = file.GetSeccio(section.c_str(), keys, values);
        const int result = file.EnumSeccio(section.c_str(), Count, reinterpret_cast<long>(&walked));
        Require(result == (any ? keys.GetNumStr() : -3) && walked == keys.GetNumStr(),
                "a walk meets each pair");
        break;
    }
    case 4:
        Require(file.GetClausSeccio(section.c_str(), names) == (names.GetNumStr() > 0), "names of keys");
        break;
    default:
        Require(file.GetSeccions(names) == (names.GetNumStr() > 0), "names of sections");
        for (int i = 0; i < names.GetNumStr(); ++i)
            Require(names[i][0] != 0, "no section has an empty name");
        break;
    }
}

// ---- Changing

// The file as the last change left it.
std::string theBytes;

void SetValue(const std::wstring& section, const std::wstring& key, const std::wstring& value) {
    const std::string before = theBytes;
    Require(WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), theName.c_str()),
            "a value is written");
    theBytes = ReadFile();
    if (!IsSection(section) || !IsKey(key) || !IsLine(value))
        return;
    Require(Value(section, key) == Expected(value, before), "what was written is read");
    const Difference difference = Compare(before, theBytes);
    // At most the end of a last line that has none, a section and a key.
    Require(Feeds(difference.removed) == 0 && Feeds(difference.added) <= 3, "a new value touches one line");
}

void DeleteValue(const std::wstring& section, const std::wstring& key) {
    const std::string before = theBytes;
    Require(WritePrivateProfileStringW(section.c_str(), key.c_str(), nullptr, theName.c_str()),
            "a value is deleted");
    theBytes = ReadFile();
    const Difference difference = Compare(before, theBytes);
    Require(Feeds(difference.removed) <= 1 && difference.added.empty(), "one line goes");
}

void DeleteSection(const std::wstring& section) {
    const std::string before = theBytes;
    Require(WritePrivateProfileSectionW(section.c_str(), nullptr, theName.c_str()), "a section is deleted");
    theBytes = ReadFile();
    const Difference difference = Compare(before, theBytes);
    Require(difference.added.empty(), "only lines of the section go");
}

void SetSection(const std::wstring& section, const std::wstring& line, const std::wstring& other) {
    const std::wstring list = line + L'\0' + other + L'\0';
    Require(WritePrivateProfileSectionW(section.c_str(), list.c_str(), theName.c_str()),
            "a section is written");
    theBytes = ReadFile();
    if (!IsSection(section) || !IsKey(line) || !IsKey(other))
        return;
    CMultiString lines;
    Require(CFitxerINI(theName.c_str()).GetSeccio(section.c_str(), lines) == 1 && lines.GetNumStr() == 2 &&
                Trimmed(line) == lines[0] && Trimmed(other) == lines[1],
            "the lines are read");
}

// The class: what it writes into a file without UTF-16 mark is all that the file then has.
void SetByClass(CFitxerINI& file, const std::wstring& section, const std::wstring& key,
                const std::wstring& value) {
    const std::string before = theBytes;
    Require(file.SetString(section.c_str(), key.c_str(), value.c_str()) == 1, "SetString writes");
    theBytes = ReadFile();
    Require(theBytes.starts_with("\xFF\xFE"), "what it writes has a mark");
    if (!IsSection(section) || !IsKey(key) || !IsLine(value))
        return;
    Require(Value(section, key) == Expected(value, theBytes), "what SetString wrote is read");
    if (!before.starts_with("\xFF\xFE"))
        Require(Feeds(UnitsOf(theBytes, true, 0)) == 2, "nothing else is there");
}

void Change(CFitxerINI& file, std::uint8_t kind, const std::wstring& section, const std::wstring& key,
            const std::wstring& value) {
    switch (kind % 8) {
    case 0:
        SetValue(section, key, value);
        break;
    case 1:
        DeleteValue(section, key);
        break;
    case 2:
        DeleteSection(section);
        break;
    case 3:
        SetSection(section, key, value);
        break;
    case 4:
        SetByClass(file, section, key, value);
        break;
    case 5:
        file.BorrarClau(section.c_str(), key.c_str());
        theBytes = ReadFile();
        break;
    case 6: {
        CMultiString keys, values;
        file.GetSeccio(section.c_str(), keys, values);
        file.SetSeccio(section.c_str(), keys, values);
        theBytes = ReadFile();
        break;
    }
    default:
        file.BorrarValor(section.c_str(), key.c_str());
        theBytes = ReadFile();
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Changes changes(data, size);
    WriteFile(changes.file);
    theBytes = changes.file;
    CFitxerINI file(theName.c_str());
    for (const Changes::Step& step : changes.steps)
        Change(file, step.kind, step.section, step.key, step.value);
    // Opening and reading the file takes most of the time, so each run asks for one thing.
    const std::wstring section = changes.steps.empty() ? L"s" : changes.steps.back().section;
    const std::wstring key = changes.steps.empty() ? L"k" : changes.steps.back().key;
    const int what = changes.switches >> 3;
    if (what < 8)
        CheckReading(file, section, key, what);
    else
        CheckSize(section, key, static_cast<DWORD>(what >> 2), what & 3);
    return 0;
}
