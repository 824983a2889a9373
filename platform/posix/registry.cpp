// The registry functions, over the store.
#include "internal/handles.h"
#include "internal/registry_store.h"
#include "internal/times.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace mvplat {
namespace {

constexpr std::size_t longestKeyName = 255;
constexpr std::size_t valueNameLimit = 16383;

using Session = RegistryStore::Session;
using Transaction = RegistryStore::Session::Transaction;

// Where an enumeration stands, so that its next step need not count from the beginning. It holds while the
// store is unchanged.
template <class Position>
struct Cursor {
    std::uint64_t version = 0;
    DWORD index = 0;
    bool known = false;       // `at` holds
    bool knowsBefore = false; // and `before`, the position of the row before
    Position before = {};
    Position at = {};
};

class KeyObject : public Object {
public:
    KeyObject(std::int64_t id, unsigned generation, REGSAM access)
        : Object(Kind::Key)
        , m_id(id)
        , m_generation(generation)
        , m_access(access) {}

    const std::int64_t m_id;
    const unsigned m_generation;
    const REGSAM m_access;
    // Under the store's lock.
    Cursor<std::int64_t> m_values;
    Cursor<std::string> m_subKeys;
};

std::int64_t rootOf(HKEY key) {
    switch (reinterpret_cast<ULONG_PTR>(key)) {
    case 0x80000000u:
    case 0x80000001u:
    case 0x80000002u:
    case 0x80000003u:
    case 0x80000005u:
        return static_cast<std::int64_t>(reinterpret_cast<ULONG_PTR>(key) - 0x80000000u) + 1;
    default:
        return 0;
    }
}

// A key that a caller names: predefined, or open and pinned while this lives.
class KeyUse {
public:
    explicit KeyUse(HKEY key)
        : m_root(rootOf(key))
        , m_pinned(m_root ? nullptr : key) {
        if (m_pinned.get() && m_pinned.get()->kind() == Kind::Key)
            m_object = static_cast<KeyObject*>(m_pinned.get());
    }
    LSTATUS error() const { return m_root || m_object ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; }
    bool isRoot() const { return m_root != 0; }
    KeyObject* object() const { return m_object; }
    std::int64_t id() const { return m_object ? m_object->m_id : m_root; }
    bool may(REGSAM access) const { return !m_object || (m_object->m_access & access) == access; }

    // Whether the key can still be there; the rows decide in the end.
    LSTATUS check(const Session& session) const {
        if (session.error() != 0)
            return static_cast<LSTATUS>(session.error());
        if (m_object && (session.absent() || m_object->m_generation != session.generation()))
            return ERROR_KEY_DELETED;
        return ERROR_SUCCESS;
    }
    // The answer when nothing was found in the key: `otherwise` unless the key itself is gone.
    LSTATUS missing(Session& session, LSTATUS otherwise) const {
        if (isRoot())
            return otherwise;
        Statement exists = session.use(Query::KeyExists);
        if (exists.bind(1, id()).row())
            return otherwise;
        return exists.error() ? static_cast<LSTATUS>(exists.error()) : LSTATUS{ERROR_KEY_DELETED};
    }

private:
    const std::int64_t m_root;
    Pinned m_pinned;
    KeyObject* m_object = nullptr;
};

// Runs a call, which may run out of memory.
template <class Body>
LSTATUS answer(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

std::int64_t now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return static_cast<std::int64_t>(ticksOf(time));
}

// ---- Paths

LSTATUS splitPath(LPCWSTR path, std::vector<std::wstring_view>& parts) {
    const std::wstring_view whole = path ? path : L"";
    if (!whole.empty() && whole.front() == L'\\')
        return ERROR_BAD_PATHNAME;
    for (std::size_t at = 0; at < whole.size();) {
        std::size_t end = std::min(whole.find(L'\\', at), whole.size());
        if (end - at > longestKeyName)
            return ERROR_INVALID_PARAMETER;
        if (end > at)
            parts.push_back(whole.substr(at, end - at));
        at = end + 1;
    }
    return ERROR_SUCCESS;
}

LSTATUS findKey(Session& session, const KeyUse& start, const std::vector<std::wstring_view>& parts,
                std::int64_t& id) {
    id = start.id();
    for (const std::wstring_view part : parts) {
        const std::string folded = foldedName(part);
        Statement find = session.use(Query::FindKey);
        if (!find.bind(1, id).bind(2, folded).row())
            return find.error() ? static_cast<LSTATUS>(find.error())
                                : start.missing(session, ERROR_FILE_NOT_FOUND);
        id = find.number(0);
    }
    return parts.empty() ? start.missing(session, ERROR_SUCCESS) : ERROR_SUCCESS;
}

// Inside a transaction: as findKey, and adds what is missing.
LSTATUS makeKey(Session& session, const KeyUse& start, const std::vector<std::wstring_view>& parts,
                std::int64_t& id, bool& created) {
    if (const LSTATUS error = start.missing(session, ERROR_SUCCESS))
        return error;
    id = start.id();
    created = false;
    for (const std::wstring_view part : parts) {
        const std::string folded = foldedName(part);
        if (!created) {
            Statement find = session.use(Query::FindKey);
            if (find.bind(1, id).bind(2, folded).row()) {
                id = find.number(0);
                continue;
            }
            if (find.error())
                return static_cast<LSTATUS>(find.error());
        }
        Statement add = session.use(Query::AddKey);
        if (!add.bind(1, id).bind(2, folded).bindName(3, part).bind(4, now()).run())
            return static_cast<LSTATUS>(add.error());
        id = session.lastId();
        created = true;
    }
    return ERROR_SUCCESS;
}

LSTATUS openKey(const Session& session, std::int64_t id, REGSAM access, PHKEY result) {
    constexpr REGSAM maximumAllowed = 0x02000000;
    if (access & (maximumAllowed | GENERIC_ALL))
        access |= KEY_ALL_ACCESS;
    if (access & GENERIC_READ)
        access |= KEY_READ;
    if (access & GENERIC_WRITE)
        access |= KEY_WRITE;
    *result = static_cast<HKEY>(openHandle(new KeyObject(id, session.generation(), access)));
    return *result ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

LSTATUS removeKey(Session& session, std::int64_t id) {
    Statement values = session.use(Query::DeleteValues);
    if (!values.bind(1, id).run())
        return static_cast<LSTATUS>(values.error());
    Statement key = session.use(Query::DeleteKey);
    return key.bind(1, id).run() ? ERROR_SUCCESS : static_cast<LSTATUS>(key.error());
}

// Removes everything below a key.
LSTATUS removeBelow(Session& session, std::int64_t id) {
    std::vector<std::int64_t> path = {id};
    while (!path.empty()) {
        Statement find = session.use(Query::HasSubKeys);
        if (find.bind(1, path.back()).row()) {
            path.push_back(find.number(0));
            continue;
        }
        if (find.error())
            return static_cast<LSTATUS>(find.error());
        if (path.size() > 1) {
            if (const LSTATUS error = removeKey(session, path.back()))
                return error;
        }
        path.pop_back();
    }
    return ERROR_SUCCESS;
}

// ---- Values

bool isText(std::int64_t type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// The bytes to store: a text that lacks only its NUL, which stands behind it, takes that along.
std::string_view storedBytes(DWORD type, const BYTE* data, DWORD size) {
    const auto* const bytes = reinterpret_cast<const char*>(data);
    std::size_t length = size;
    if (isText(type) && length >= 2) {
        const std::size_t whole = length & ~std::size_t{1};
        const auto isNul = [bytes](std::size_t at) { return bytes[at] == 0 && bytes[at + 1] == 0; };
        if (!isNul(whole - 2) && isNul(whole))
            length += 2;
    }
    return std::string_view(bytes, length);
}

LSTATUS deliverData(std::int64_t type, std::string_view bytes, LPBYTE data, LPDWORD size) {
    if (!size)
        return ERROR_SUCCESS;
    const auto needed = static_cast<DWORD>(bytes.size());
    const DWORD room = *size;
    *size = needed;
    if (!data)
        return ERROR_SUCCESS;
    if (room < needed)
        return ERROR_MORE_DATA;
    if (needed != 0)
        std::memcpy(data, bytes.data(), needed);
    const bool open =
        needed >= 2 ? data[needed - 2] != 0 || data[needed - 1] != 0 : needed == 1 && data[0] != 0;
    if (isText(type) && open && room - needed >= 2)
        std::memset(data + needed, 0, 2);
    return ERROR_SUCCESS;
}

// Copies a name when it fits; its size without the NUL.
bool deliverName(const std::wstring& text, LPWSTR name, LPDWORD size) {
    if (text.size() >= *size)
        return false;
    std::wmemcpy(name, text.c_str(), text.size() + 1);
    *size = static_cast<DWORD>(text.size());
    return true;
}

// ---- Enumeration

// What an enumeration goes through: the rows that follow a position, or the one of a number.
template <class Position>
struct Rows {
    REGSAM access;
    Cursor<Position> KeyObject::*cursor;
    Query after, at;
    Position (*positionOf)(const Statement&);
};

constexpr Rows<std::int64_t> kValues{KEY_QUERY_VALUE, &KeyObject::m_values, Query::ValueAfter, Query::ValueAt,
                                     [](const Statement& row) { return row.number(1); }};
constexpr Rows<std::string> kSubKeys{KEY_ENUMERATE_SUB_KEYS, &KeyObject::m_subKeys, Query::SubKeyAfter,
                                     Query::SubKeyAt,
                                     [](const Statement& row) { return std::string(row.bytes(1)); }};

// Gives row number `index` of a key's values or sub-keys to `use`.
template <class Position, class Use>
LSTATUS withRow(HKEY handle, DWORD index, const Rows<Position>& rows, const Use& use) {
    const KeyUse key(handle);
    if (key.error())
        return key.error();
    if (!key.may(rows.access))
        return ERROR_ACCESS_DENIED;
    Session session(false);
    if (const LSTATUS error = key.check(session))
        return error;
    if (session.absent())
        return ERROR_NO_MORE_ITEMS;
    Cursor<Position>* const cursor = key.object() ? &(key.object()->*rows.cursor) : nullptr;
    const std::uint64_t version = cursor ? session.version() : 0;
    const bool holds = cursor && cursor->known && cursor->version == version;
    const bool again = holds && cursor->knowsBefore && index == cursor->index;
    const bool next = holds && index == cursor->index + 1;
    const Position before = again ? cursor->before : next ? cursor->at : Position();
    Statement row = session.use(again || next ? rows.after : rows.at);
    row.bind(1, key.id());
    if (again || next)
        row.bind(2, before);
    else
        row.bind(2, std::int64_t{index});
    if (!row.row())
        return row.error() ? static_cast<LSTATUS>(row.error()) : key.missing(session, ERROR_NO_MORE_ITEMS);
    if (cursor)
        *cursor = {version, index, true, again || next || index == 0, before, rows.positionOf(row)};
    return use(row);
}

void deliverNoClass(LPWSTR name, LPDWORD size) {
    if (name && size && *size > 0)
        name[0] = 0;
    if (size)
        *size = 0;
}

} // namespace
} // namespace mvplat

using namespace mvplat;

// ---- Keys

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD /*options*/, REGSAM access, PHKEY result) {
    return answer([&]() -> LSTATUS {
        if (!result)
            return ERROR_INVALID_PARAMETER;
        *result = nullptr;
        const KeyUse start(key);
        if (start.error())
            return start.error();
        std::vector<std::wstring_view> parts;
        if (const LSTATUS error = splitPath(subKey, parts))
            return error;
        Session session(false);
        if (const LSTATUS error = start.check(session))
            return error;
        if (session.absent() && !parts.empty())
            return ERROR_FILE_NOT_FOUND;
        if (parts.empty() && start.isRoot()) {
            // The root itself, by its own value: there may be no file yet that an open key could belong to.
            *result = key;
            return ERROR_SUCCESS;
        }
        std::int64_t id = 0;
        if (const LSTATUS error = findKey(session, start, parts, id))
            return error;
        return openKey(session, id, access, result);
    });
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD /*reserved*/, LPWSTR /*className*/, DWORD options,
                        REGSAM access, LPSECURITY_ATTRIBUTES /*attributes*/, PHKEY result,
                        LPDWORD disposition) {
    return answer([&]() -> LSTATUS {
        if (!result)
            return ERROR_INVALID_PARAMETER;
        *result = nullptr;
        const KeyUse start(key);
        if (start.error())
            return start.error();
        std::vector<std::wstring_view> parts;
        if (const LSTATUS error = splitPath(subKey, parts))
            return error;
        if (options & REG_OPTION_VOLATILE)
            return ERROR_NOT_SUPPORTED;
        Session session(true);
        if (const LSTATUS error = start.check(session))
            return error;
        if (parts.empty() && start.isRoot()) {
            if (disposition)
                *disposition = REG_OPENED_EXISTING_KEY;
            *result = key;
            return ERROR_SUCCESS;
        }
        std::int64_t id = 0;
        bool created = false;
        LSTATUS error = findKey(session, start, parts, id);
        if (error == ERROR_FILE_NOT_FOUND) {
            Transaction transaction(session);
            if (transaction.error())
                return static_cast<LSTATUS>(transaction.error());
            error = makeKey(session, start, parts, id, created);
            if (error == ERROR_SUCCESS)
                error = static_cast<LSTATUS>(transaction.commit());
        }
        if (error != ERROR_SUCCESS)
            return error;
        if (disposition)
            *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        return openKey(session, id, access, result);
    });
}

LSTATUS RegCloseKey(HKEY key) {
    if (rootOf(key))
        return ERROR_SUCCESS;
    const DWORD before = GetLastError();
    {
        const KeyUse use(key);
        if (use.error())
            return use.error();
    }
    const BOOL closed = CloseHandle(key);
    SetLastError(before);
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegFlushKey(HKEY key) {
    return answer([&]() -> LSTATUS {
        const KeyUse use(key);
        if (use.error())
            return use.error();
        Session session(false);
        if (const LSTATUS error = use.check(session))
            return error;
        if (session.absent())
            return ERROR_SUCCESS;
        if (const LSTATUS error = use.missing(session, ERROR_SUCCESS))
            return error;
        return static_cast<LSTATUS>(session.flush());
    });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
    return answer([&]() -> LSTATUS {
        const KeyUse start(key);
        if (start.error())
            return start.error();
        if (!subKey)
            return ERROR_INVALID_PARAMETER;
        std::vector<std::wstring_view> parts;
        if (const LSTATUS error = splitPath(subKey, parts))
            return error;
        if (parts.empty() && start.isRoot())
            return ERROR_ACCESS_DENIED;
        Session session(false, true);
        if (const LSTATUS error = start.check(session))
            return error;
        if (session.absent())
            return ERROR_FILE_NOT_FOUND;
        Transaction transaction(session);
        if (transaction.error())
            return static_cast<LSTATUS>(transaction.error());
        std::int64_t id = 0;
        if (const LSTATUS error = findKey(session, start, parts, id))
            return error;
        {
            Statement below = session.use(Query::HasSubKeys);
            if (below.bind(1, id).row())
                return ERROR_ACCESS_DENIED;
            if (below.error())
                return static_cast<LSTATUS>(below.error());
        }
        if (const LSTATUS error = removeKey(session, id))
            return error;
        return static_cast<LSTATUS>(transaction.commit());
    });
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey) {
    return answer([&]() -> LSTATUS {
        const KeyUse start(key);
        if (start.error())
            return start.error();
        std::vector<std::wstring_view> parts;
        if (const LSTATUS error = splitPath(subKey, parts))
            return error;
        Session session(false, true);
        if (const LSTATUS error = start.check(session))
            return error;
        if (session.absent())
            return parts.empty() ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        Transaction transaction(session);
        if (transaction.error())
            return static_cast<LSTATUS>(transaction.error());
        std::int64_t id = 0;
        if (const LSTATUS error = findKey(session, start, parts, id))
            return error;
        if (const LSTATUS error = removeBelow(session, id))
            return error;
        if (parts.empty()) {
            Statement values = session.use(Query::DeleteValues);
            if (!values.bind(1, id).run())
                return static_cast<LSTATUS>(values.error());
        } else if (const LSTATUS error = removeKey(session, id)) {
            return error;
        }
        return static_cast<LSTATUS>(transaction.commit());
    });
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD /*reserved*/,
                      LPWSTR className, LPDWORD classSize, PFILETIME lastWrite) {
    return answer([&]() -> LSTATUS {
        if (!name || !nameSize)
            return ERROR_INVALID_PARAMETER;
        return withRow(key, index, kSubKeys, [&](const Statement& row) -> LSTATUS {
            if (!deliverName(row.name(0), name, nameSize))
                return ERROR_MORE_DATA;
            deliverNoClass(className, classSize);
            if (lastWrite)
                *lastWrite = fileTimeOf(static_cast<ULONGLONG>(row.number(2)));
            return ERROR_SUCCESS;
        });
    });
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameSize) {
    return RegEnumKeyExW(key, index, name, &nameSize, nullptr, nullptr, nullptr, nullptr);
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classSize, LPDWORD /*reserved*/, LPDWORD subKeys,
                         LPDWORD longestSubKey, LPDWORD longestClass, LPDWORD values, LPDWORD longestName,
                         LPDWORD longestValue, LPDWORD securityDescriptor, PFILETIME lastWrite) {
    return answer([&]() -> LSTATUS {
        const KeyUse use(key);
        if (use.error())
            return use.error();
        if (!use.may(KEY_QUERY_VALUE))
            return ERROR_ACCESS_DENIED;
        Session session(false);
        if (const LSTATUS error = use.check(session))
            return error;
        std::int64_t numbers[6] = {}; // sub-keys and their longest name, values with name and data, time
        if (!session.absent()) {
            const struct {
                Query query;
                int first;
                int count;
            } summaries[] = {
                {Query::SubKeySummary, 0, 2}, {Query::ValueSummary, 2, 3}, {Query::KeyTime, 5, 1}};
            for (const auto& summary : summaries) {
                Statement row = session.use(summary.query);
                if (!row.bind(1, use.id()).row())
                    return row.error() ? static_cast<LSTATUS>(row.error()) : LSTATUS{ERROR_KEY_DELETED};
                for (int i = 0; i < summary.count; ++i)
                    numbers[summary.first + i] = row.number(i);
            }
        }
        const auto deliver = [](LPDWORD target, std::int64_t number) {
            if (target)
                *target = static_cast<DWORD>(number);
        };
        deliverNoClass(className, classSize);
        deliver(subKeys, numbers[0]);
        deliver(longestSubKey, numbers[1]);
        deliver(longestClass, 0);
        deliver(values, numbers[2]);
        deliver(longestName, numbers[3]);
        deliver(longestValue, numbers[4]);
        deliver(securityDescriptor, 0);
        if (lastWrite)
            *lastWrite = fileTimeOf(static_cast<ULONGLONG>(numbers[5]));
        return ERROR_SUCCESS;
    });
}

// ---- Values

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD /*reserved*/, DWORD type, const BYTE* data, DWORD size) {
    return answer([&]() -> LSTATUS {
        const KeyUse use(key);
        if (use.error())
            return use.error();
        const std::wstring_view text = name ? name : L"";
        if (text.size() > valueNameLimit)
            return ERROR_INVALID_PARAMETER;
        if (!data && size != 0)
            return ERROR_NOACCESS;
        if (!use.may(KEY_SET_VALUE))
            return ERROR_ACCESS_DENIED;
        const std::string folded = foldedName(text);
        const std::string_view bytes = storedBytes(type, data, size);
        Session session(true);
        if (const LSTATUS error = use.check(session))
            return error;
        Transaction transaction(session);
        if (transaction.error())
            return static_cast<LSTATUS>(transaction.error());
        {
            Statement touch = session.use(Query::TouchKey);
            if (!touch.bind(1, use.id()).bind(2, now()).run())
                return static_cast<LSTATUS>(touch.error());
            if (session.changes() == 0)
                return ERROR_KEY_DELETED;
        }
        {
            Statement set = session.use(Query::SetValue);
            set.bind(1, use.id())
                .bind(2, folded)
                .bindName(3, text)
                .bind(4, std::int64_t{type})
                .bind(5, bytes);
            if (!set.run())
                return static_cast<LSTATUS>(set.error());
        }
        return static_cast<LSTATUS>(transaction.commit());
    });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD /*reserved*/, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
    return answer([&]() -> LSTATUS {
        const KeyUse use(key);
        if (use.error())
            return use.error();
        if (data && !size)
            return ERROR_INVALID_PARAMETER;
        if (!use.may(KEY_QUERY_VALUE))
            return ERROR_ACCESS_DENIED;
        const std::string folded = foldedName(name ? name : L"");
        Session session(false);
        LSTATUS error = use.check(session);
        if (error == ERROR_SUCCESS && session.absent())
            error = ERROR_FILE_NOT_FOUND;
        if (error == ERROR_SUCCESS) {
            Statement find = session.use(Query::FindValue);
            if (find.bind(1, use.id()).bind(2, folded).row()) {
                if (type)
                    *type = static_cast<DWORD>(find.number(0));
                return deliverData(find.number(0), find.bytes(1), data, size);
            }
            error = find.error() ? static_cast<LSTATUS>(find.error())
                                 : use.missing(session, ERROR_FILE_NOT_FOUND);
        }
        if (error == ERROR_FILE_NOT_FOUND && size && !data)
            *size = 0;
        return error;
    });
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD /*reserved*/,
                      LPDWORD type, LPBYTE data, LPDWORD dataSize) {
    return answer([&]() -> LSTATUS {
        if (!name || !nameSize || (data && !dataSize))
            return ERROR_INVALID_PARAMETER;
        return withRow(key, index, kValues, [&](const Statement& row) -> LSTATUS {
            if (type)
                *type = static_cast<DWORD>(row.number(2));
            if (!deliverName(row.name(0), name, nameSize)) {
                if (dataSize)
                    *dataSize = static_cast<DWORD>(row.bytes(3).size());
                return ERROR_MORE_DATA;
            }
            return deliverData(row.number(2), row.bytes(3), data, dataSize);
        });
    });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    return answer([&]() -> LSTATUS {
        const KeyUse use(key);
        if (use.error())
            return use.error();
        if (!use.may(KEY_SET_VALUE))
            return ERROR_ACCESS_DENIED;
        const std::string folded = foldedName(name ? name : L"");
        Session session(false, true);
        if (const LSTATUS error = use.check(session))
            return error;
        if (session.absent())
            return ERROR_FILE_NOT_FOUND;
        Transaction transaction(session);
        if (transaction.error())
            return static_cast<LSTATUS>(transaction.error());
        {
            Statement remove = session.use(Query::DeleteValue);
            if (!remove.bind(1, use.id()).bind(2, folded).run())
                return static_cast<LSTATUS>(remove.error());
            if (session.changes() == 0)
                return use.missing(session, ERROR_FILE_NOT_FOUND);
        }
        {
            Statement touch = session.use(Query::TouchKey);
            if (!touch.bind(1, use.id()).bind(2, now()).run())
                return static_cast<LSTATUS>(touch.error());
        }
        return static_cast<LSTATUS>(transaction.commit());
    });
}
