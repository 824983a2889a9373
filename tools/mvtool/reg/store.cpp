#include "store.h"

#include "../text.h"
#include "CLastError.h"
#include "TCarpetaRegistry.h"
#include <algorithm>
#include <iterator>
#include <utility>

namespace mvtool::reg {
namespace {

struct Root {
    const wchar_t* longName;
    const wchar_t* shortName;
    HKEY key;
};

const Root* roots(std::size_t& count) {
    static const Root all[] = {
        {L"HKEY_CURRENT_USER", L"HKCU", HKEY_CURRENT_USER},
        {L"HKEY_LOCAL_MACHINE", L"HKLM", HKEY_LOCAL_MACHINE},
        {L"HKEY_CLASSES_ROOT", L"HKCR", HKEY_CLASSES_ROOT},
        {L"HKEY_USERS", L"HKU", HKEY_USERS},
    };
    count = std::size(all);
    return all;
}

/// Names of values are shorter; those of keys much shorter.
constexpr DWORD kNameSize = 16384;

[[noreturn]] void fail(Exit code, const char* what, const std::string& shown, LONG error) {
    std::string reason = fromWide(static_cast<LPCWSTR>(AfxGetMsgErrorSistema(static_cast<DWORD>(error))));
    while (!reason.empty() &&
           (reason.back() == '\n' || reason.back() == '\r' || reason.back() == ' ' || reason.back() == '.')) {
        reason.pop_back();
    }
    throw Failure(code, std::string("cannot ") + what + ' ' + shown + ": " +
                            (reason.empty() ? "system error " + std::to_string(error) : reason));
}

std::string shownName(const std::wstring& name) {
    return name.empty() ? "(unnamed)" : displayText(fromWide(name));
}

std::wstring trimmed(std::wstring path) {
    while (!path.empty() && path.back() == L'\\') {
        path.pop_back();
    }
    path.erase(0, std::min(path.find_first_not_of(L'\\'), path.size()));
    return path;
}

} // namespace

bool placeOf(const std::wstring& name, Place& place) {
    const std::size_t end = std::min(name.find(L'\\'), name.size());
    const std::wstring first = name.substr(0, end);
    std::size_t count = 0;
    const Root* all = roots(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (_wcsicmp(first.c_str(), all[i].longName) == 0 || _wcsicmp(first.c_str(), all[i].shortName) == 0) {
            place.root = all[i].key;
            place.rootName = all[i].longName;
            place.path = trimmed(name.substr(end));
            return true;
        }
    }
    return false;
}

Place placeOf(const std::string& name) {
    const std::optional<std::wstring> wide = toWide(name);
    if (!wide || wide->find(L'\0') != std::wstring::npos) {
        throw Failure(Exit::usage, "not a key: " + displayText(name));
    }
    Place place;
    if (!placeOf(*wide, place)) {
        if (_wcsnicmp(wide->c_str(), L"HKEY_", 5) == 0) {
            throw Failure(Exit::usage, "an unknown root: " + displayText(name));
        }
        place = {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER", trimmed(*wide)};
    }
    return place;
}

OpenKey OpenKey::forReading(const Place& place) {
    HKEY key = nullptr;
    const std::string shown = displayText(fromWide(place.name()));
    const LONG error = RegOpenKeyExW(place.root, place.path.c_str(), 0, KEY_READ, &key);
    if (error != ERROR_SUCCESS) {
        fail(Exit::notFound, "read", shown, error);
    }
    return {key, shown};
}

OpenKey OpenKey::forWriting(const Place& place) {
    HKEY key = nullptr;
    const std::string shown = displayText(fromWide(place.name()));
    const LONG error = RegCreateKeyExW(place.root, place.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                       KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    if (error != ERROR_SUCCESS) {
        fail(Exit::writeFailure, "write", shown, error);
    }
    return {key, shown};
}

OpenKey::~OpenKey() {
    if (m_key != nullptr) {
        RegCloseKey(m_key);
    }
}

Value OpenKey::read(const std::wstring& name, LONG& error) const {
    Value found;
    found.name = name;
    do { // until nobody has made it longer meanwhile
        DWORD type = 0;
        DWORD size = 0;
        error = RegQueryValueExW(m_key, name.c_str(), nullptr, &type, nullptr, &size);
        if (error != ERROR_SUCCESS) {
            return found;
        }
        found.data.resize(size);
        error = RegQueryValueExW(m_key, name.c_str(), nullptr, &type,
                                 reinterpret_cast<BYTE*>(found.data.data()), &size);
        found.type = type;
        if (error == ERROR_SUCCESS) {
            found.data.resize(size);
        }
    } while (error == ERROR_MORE_DATA);
    return found;
}

Value OpenKey::value(const std::wstring& name) const {
    LONG error = ERROR_SUCCESS;
    Value found = read(name, error);
    if (error != ERROR_SUCCESS) {
        fail(Exit::notFound, "read", shownName(name) + " in " + m_shown, error);
    }
    return found;
}

std::vector<Value> OpenKey::values() const {
    std::vector<Value> all;
    std::wstring name(kNameSize, L'\0');
    for (DWORD i = 0;; ++i) {
        DWORD size = kNameSize;
        const LONG error = RegEnumValueW(m_key, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS) {
            return all;
        }
        if (error != ERROR_SUCCESS) {
            fail(Exit::notFound, "read", m_shown, error);
        }
        LONG missing = ERROR_SUCCESS;
        Value found = read(name.substr(0, size), missing);
        if (missing == ERROR_SUCCESS) { // else somebody has just deleted it
            all.push_back(std::move(found));
        }
    }
}

std::vector<std::wstring> OpenKey::folders() const {
    std::vector<std::wstring> all;
    std::wstring name(kNameSize, L'\0');
    for (DWORD i = 0;; ++i) {
        DWORD size = kNameSize;
        const LONG error = RegEnumKeyExW(m_key, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS) {
            return all;
        }
        if (error != ERROR_SUCCESS) {
            fail(Exit::notFound, "read", m_shown, error);
        }
        all.push_back(name.substr(0, size));
    }
}

void OpenKey::set(const Value& value) const {
    // The system looks behind the data of a text without a NUL, and would store one that it finds there.
    const std::string data = value.data + "\xFF\xFF";
    const LONG error =
        RegSetValueExW(m_key, value.name.c_str(), 0, value.type, reinterpret_cast<const BYTE*>(data.data()),
                       static_cast<DWORD>(value.data.size()));
    if (error != ERROR_SUCCESS) {
        fail(Exit::writeFailure, "write", shownName(value.name) + " in " + m_shown, error);
    }
}

bool OpenKey::remove(const std::wstring& name) const {
    const LONG error = RegDeleteValueW(m_key, name.c_str());
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) {
        fail(Exit::writeFailure, "delete", shownName(name) + " in " + m_shown, error);
    }
    return error == ERROR_SUCCESS;
}

bool removeKey(const Place& place) {
    const std::string shown = displayText(fromWide(place.name()));
    if (place.path.empty()) {
        throw Failure(Exit::usage, "a root cannot be deleted: " + shown);
    }
    TCarpetaRegistry folder(place.path.c_str(), place.root);
    if (!folder.Obrir(2)) {
        return false;
    }
    folder.Tancar();
    if (folder.BorrarCarpeta(nullptr) < 0) {
        fail(Exit::writeFailure, "delete", shown, static_cast<LONG>(GetLastError()));
    }
    return true;
}

std::vector<Key> readTree(const Place& place) {
    std::vector<Key> keys;
    std::vector<Place> waiting{place};
    while (!waiting.empty()) {
        const Place next = std::move(waiting.back());
        waiting.pop_back();
        const OpenKey key = OpenKey::forReading(next);
        keys.push_back({next.name(), false, key.values()});
        const std::vector<std::wstring> folders = key.folders();
        for (auto name = folders.rbegin(); name != folders.rend(); ++name) {
            waiting.push_back(
                {next.root, next.rootName, next.path.empty() ? *name : next.path + L'\\' + *name});
        }
    }
    return keys;
}

std::vector<Place> checkPlaces(const std::vector<Key>& keys) {
    std::vector<Place> places(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!placeOf(keys[i].path, places[i])) {
            throw Failure(Exit::damaged, "an unknown root: " + displayText(fromWide(keys[i].path)));
        }
        if (keys[i].remove && places[i].path.empty()) {
            throw Failure(Exit::damaged, "a root cannot be deleted: " + displayText(fromWide(keys[i].path)));
        }
    }
    return places;
}

void apply(const std::vector<Key>& keys) {
    const std::vector<Place> places = checkPlaces(keys);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (keys[i].remove) {
            removeKey(places[i]);
            continue;
        }
        const OpenKey key = OpenKey::forWriting(places[i]);
        for (const Value& value : keys[i].values) {
            if (value.remove) {
                key.remove(value.name);
            } else {
                key.set(value);
            }
        }
    }
}

} // namespace mvtool::reg
