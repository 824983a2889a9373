// The registry as `mvtool reg` works on it: keys by their names, values with their bytes.
#pragma once

#include "reg_file.h"
#include <string>
#include <vector>
#include <win32.h>

namespace mvtool::reg {

/// A key as the user or a file names it: a root (long or short name) and a path below it. Without a root:
/// HKEY_CURRENT_USER.
struct Place {
    HKEY root = nullptr;
    std::wstring rootName; ///< the long one
    std::wstring path;     ///< without separators at its ends
    std::wstring name() const { return path.empty() ? rootName : rootName + L'\\' + path; }
};

/// Failure(usage) when the name begins like a root but is none, or is not UTF-8.
Place placeOf(const std::string& name);
/// The same for names in files, which must have a root: nothing otherwise.
bool placeOf(const std::wstring& name, Place& place);

/// An open key.
class OpenKey {
public:
    /// Failure(notFound) when the key is missing or cannot be read.
    static OpenKey forReading(const Place& place);
    /// Makes it when it is missing. Failure(writeFailure).
    static OpenKey forWriting(const Place& place);
    OpenKey(OpenKey&& other) noexcept
        : m_key(other.m_key)
        , m_shown(std::move(other.m_shown)) {
        other.m_key = nullptr;
    }
    ~OpenKey();
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    std::vector<Value> values() const;
    std::vector<std::wstring> folders() const;
    /// Failure(notFound) when there is no such value.
    Value value(const std::wstring& name) const;
    void set(const Value& value) const;
    /// Says whether there was one.
    bool remove(const std::wstring& name) const;

private:
    OpenKey(HKEY key, std::string shown)
        : m_key(key)
        , m_shown(std::move(shown)) {}
    Value read(const std::wstring& name, LONG& error) const;
    HKEY m_key;
    std::string m_shown;
};

/// Deletes the key with everything below it. False when it is not there; Failure(writeFailure).
bool removeKey(const Place& place);

/// The key with all its values and, behind it, every key below it.
std::vector<Key> readTree(const Place& place);

/// Where the keys of a file lie. Failure(damaged) for an unknown root, or one that is to be deleted.
std::vector<Place> checkPlaces(const std::vector<Key>& keys);

/// Does what the keys say, in their order.
void apply(const std::vector<Key>& keys);

} // namespace mvtool::reg
