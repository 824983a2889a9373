#include "qzmultilang.h"

#include <new>
#include <string>
#include <vector>

namespace {

// A configuration file is a few lines; a larger one is something else.
constexpr DWORD MaximumFileSize = 65536;
constexpr size_t MaximumKeyLength = 9;
const char EnglishKey[] = "eng";

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string Trimmed(const std::string& text) {
    size_t first = 0;
    size_t end = text.size();
    while (first < end && IsBlank(text[first]))
        ++first;
    while (end > first && IsBlank(text[end - 1]))
        --end;
    return text.substr(first, end - first);
}

std::string Lowered(std::string text) {
    for (char& c : text)
        c = Lower(c);
    return text;
}

// ---- The configuration file

// The file's bytes; nothing when it cannot be read or is too large.
std::string ReadBytes(const std::wstring& path) {
    // What has no size may be a pipe, and opening that waits for somebody to write.
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ||
        (data.nFileSizeHigh == 0 && data.nFileSizeLow == 0))
        return std::string();
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return std::string();
    std::string bytes(MaximumFileSize + 1, '\0');
    DWORD length = 0;
    const BOOL read = ::ReadFile(file, &bytes[0], MaximumFileSize + 1, &length, nullptr);
    ::CloseHandle(file);
    if (!read || length > MaximumFileSize)
        return std::string();
    bytes.resize(length);
    return bytes;
}

// The text as far as it is ASCII. Names and keys are; whatever else there is only has to stay something else.
std::string ToAscii(const std::string& bytes) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    std::string text;
    if (bytes.size() >= 2 && byte(0) == 0xFF && byte(1) == 0xFE) {
        for (size_t i = 2; i + 1 < bytes.size(); i += 2)
            text += byte(i + 1) == 0 && byte(i) < 0x80 ? bytes[i] : '?';
        return text;
    }
    const size_t mark = bytes.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF ? 3 : 0;
    for (size_t i = mark; i < bytes.size(); ++i)
        text += byte(i) < 0x80 ? bytes[i] : '?';
    return text;
}

// A key becomes part of a file's name: letters and digits only.
bool IsLanguageKey(const std::string& key) {
    if (key.empty() || key.size() > MaximumKeyLength)
        return false;
    for (char c : key)
        if (!(Lower(c) >= 'a' && Lower(c) <= 'z') && !(c >= '0' && c <= '9'))
            return false;
    return true;
}

// The value of "Key" in the first section "Language", in lower case; empty when there is none that can be
// used.
std::string ConfiguredKey(const std::wstring& path) {
    const std::string text = ToAscii(ReadBytes(path));
    bool inSection = false;
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find_first_of("\r\n", start);
        if (end == std::string::npos)
            end = text.size();
        const std::string line = Trimmed(text.substr(start, end - start));
        start = end + 1;
        if (line.empty() || line[0] == ';')
            continue;
        if (line[0] == '[') {
            if (inSection)
                break;
            inSection = Lowered(line) == "[language]";
            continue;
        }
        const size_t equals = line.find('=');
        if (!inSection || equals == std::string::npos || Lowered(Trimmed(line.substr(0, equals))) != "key")
            continue;
        std::string value = Lowered(Trimmed(line.substr(equals + 1)));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = Trimmed(value.substr(1, value.size() - 2));
        return IsLanguageKey(value) ? value : std::string();
    }
    return std::string();
}

// ---- Modules

std::wstring ModulePath(HINSTANCE instance) {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(instance, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length < buffer.size())
            return std::wstring(buffer.data(), length);
        buffer.resize(buffer.size() * 2);
    }
}

bool IsFullPath(const std::wstring& path) {
    return path[0] == L'\\' || path[0] == L'/' || (path.size() > 1 && path[1] == L':');
}

bool SameText(const std::wstring& first, const wchar_t* second) {
    return _wcsicmp(first.c_str(), second) == 0;
}

// Where the resource modules of one program or library lie: "<stem>_<key><extension>".
struct ModuleFamily {
    std::wstring folder; // with its separator
    std::wstring stem;
    std::wstring extension;

    explicit ModuleFamily(const std::wstring& path) {
        const size_t separator = path.find_last_of(L"\\/");
        folder = separator == std::wstring::npos ? std::wstring() : path.substr(0, separator + 1);
        stem = path.substr(folder.size());
        // "name.dll" or "name.exe"; "libname.so", perhaps with a version behind; or a bare name.
        size_t end = stem.rfind(L'.');
        if (end != std::wstring::npos &&
            (SameText(stem.substr(end), L".dll") || SameText(stem.substr(end), L".exe"))) {
            extension = L".dll";
            stem.resize(end);
            return;
        }
        extension = L".so";
        end = stem.find(L".so");
        if (end == std::wstring::npos || (end + 3 != stem.size() && stem[end + 3] != L'.'))
            return;
        stem.resize(end);
        if (stem.compare(0, 3, L"lib") == 0)
            stem.erase(0, 3);
    }

    HINSTANCE Load(const std::string& key) const {
        const std::wstring path = folder + stem + L"_" + std::wstring(key.begin(), key.end()) + extension;
        return ::LoadLibraryW(path.c_str());
    }
};

} // namespace

HINSTANCE qzmultilangLoadLibrary(HINSTANCE instance, const wchar_t* iniName) {
    try {
        const std::wstring path = ModulePath(instance);
        if (path.empty())
            return nullptr;
        const ModuleFamily family(path);
        if (iniName && *iniName) {
            const std::wstring name = iniName;
            const std::string key = ConfiguredKey(IsFullPath(name) ? name : family.folder + name);
            const HINSTANCE module = key.empty() ? nullptr : family.Load(key);
            if (module)
                return module;
        }
        return family.Load(EnglishKey);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
