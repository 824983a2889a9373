#include "internal/registry_store.h"

#include "internal/text.h"
#include "internal/upper_case.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <pthread.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace mvplat {

namespace {

constexpr int storeVersion = 1;
constexpr int busyMilliseconds = 20000;
constexpr std::int64_t millisecondsBetweenLooks = 20;

// The ids of keys are never used again, so that an open key that was deleted is recognised.
constexpr char schema[] =
    "CREATE TABLE keys("
    "id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, folded BLOB NOT NULL, "
    "name TEXT NOT NULL, written INTEGER NOT NULL, UNIQUE(parent, folded));"
    "CREATE TABLE entries("
    "id INTEGER PRIMARY KEY, key INTEGER NOT NULL, folded BLOB NOT NULL, "
    "name TEXT NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(key, folded));"
    "CREATE INDEX entries_in_order ON entries(key, id);"
    "INSERT INTO keys(id, parent, folded, name, written) VALUES"
    "(1, 0, x'01', 'HKEY_CLASSES_ROOT', 0), (2, 0, x'02', 'HKEY_CURRENT_USER', 0),"
    "(3, 0, x'03', 'HKEY_LOCAL_MACHINE', 0), (4, 0, x'04', 'HKEY_USERS', 0),"
    "(6, 0, x'06', 'HKEY_CURRENT_CONFIG', 0);"
    "PRAGMA application_id = 0x4D565247;"
    "PRAGMA user_version = 1;";

constexpr const char* setEntry =
    "INSERT INTO entries(key, folded, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5) "
    "ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data";
constexpr const char* measureEntries =
    "SELECT count(*), coalesce(max(length(folded)), 0) / 2, coalesce(max(length(data)), 0) "
    "FROM entries WHERE key = ?1";

constexpr const char* queries[] = {
    "SELECT id FROM keys WHERE parent = ?1 AND folded = ?2",
    "SELECT 1 FROM keys WHERE id = ?1",
    "SELECT written FROM keys WHERE id = ?1",
    "INSERT INTO keys(parent, folded, name, written) VALUES(?1, ?2, ?3, ?4)",
    "UPDATE keys SET written = ?2 WHERE id = ?1",
    "DELETE FROM keys WHERE id = ?1",
    "SELECT id FROM keys WHERE parent = ?1 LIMIT 1",
    "SELECT name, folded, written FROM keys WHERE parent = ?1 AND folded > ?2 ORDER BY folded LIMIT 1",
    "SELECT name, folded, written FROM keys WHERE parent = ?1 ORDER BY folded LIMIT 1 OFFSET ?2",
    "SELECT count(*), coalesce(max(length(folded)), 0) / 2 FROM keys WHERE parent = ?1",
    "SELECT type, data FROM entries WHERE key = ?1 AND folded = ?2",
    setEntry,
    "DELETE FROM entries WHERE key = ?1 AND folded = ?2",
    "DELETE FROM entries WHERE key = ?1",
    "SELECT name, id, type, data FROM entries WHERE key = ?1 AND id > ?2 ORDER BY id LIMIT 1",
    "SELECT name, id, type, data FROM entries WHERE key = ?1 ORDER BY id LIMIT 1 OFFSET ?2",
    measureEntries,
    "PRAGMA data_version",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};
static_assert(std::size(queries) == static_cast<std::size_t>(Query::Count));

DWORD errorOf(int result) {
    switch (result & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return 0;
    case SQLITE_NOMEM:
    case SQLITE_TOOBIG:
        return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ERROR_ACCESS_DENIED;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return ERROR_BUSY;
    case SQLITE_FULL:
        return ERROR_DISK_FULL;
    case SQLITE_CANTOPEN:
        return ERROR_CANTOPEN;
    case SQLITE_IOERR:
        return ERROR_REGISTRY_IO_FAILED;
    default: // no database, damaged, without our tables, or with rows that break the rules of ours
        return ERROR_BADDB;
    }
}

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    if (home && home[0] == '/')
        return home;
    const passwd* user = ::getpwuid(::getuid());
    return user && user->pw_dir ? user->pw_dir : "/";
}

std::string storeFile() {
    const char* given = std::getenv("MVLIB_REGISTRY");
    if (given && *given)
        return given;
    const char* data = std::getenv("XDG_DATA_HOME");
    return (data && data[0] == '/' ? std::string(data) : homeFolder() + "/.local/share") +
           "/mvlib62/registry.db";
}

void makeFoldersOf(const std::string& file) {
    for (std::size_t at = file.find('/', 1); at != std::string::npos; at = file.find('/', at + 1))
        ::mkdir(file.substr(0, at).c_str(), 0700);
}

bool isProperText(std::wstring_view text) {
    for (const wchar_t unit : text) {
        if (unit < 0 || unit > 0x10FFFF || (unit >= 0xD800 && unit <= 0xDFFF))
            return false;
    }
    return true;
}

} // namespace

std::string foldedName(std::wstring_view name) {
    std::string bytes(name.size() * 2, '\0');
    for (std::size_t i = 0; i < name.size(); ++i) {
        const wchar_t unit = upperCase(name[i]);
        if (unit > 0xFFFF)
            return utf16Bytes(upperCase(name), true); // pairs take more
        bytes[2 * i] = static_cast<char>(unit >> 8);
        bytes[2 * i + 1] = static_cast<char>(unit);
    }
    return bytes;
}

// ---- Statement

Statement::~Statement() {
    if (m_statement)
        sqlite3_reset(m_statement);
}

Statement& Statement::bind(int parameter, std::int64_t value) {
    sqlite3_bind_int64(m_statement, parameter, value);
    return *this;
}

Statement& Statement::bind(int parameter, std::string_view bytes) {
    // A null address would bind NULL.
    if (const int result = sqlite3_bind_blob64(m_statement, parameter, bytes.empty() ? "" : bytes.data(),
                                               bytes.size(), SQLITE_STATIC))
        m_error = errorOf(result);
    return *this;
}

Statement& Statement::bindName(int parameter, std::wstring_view name) {
    int result;
    if (isProperText(name)) {
        const std::string text = utf8FromWide(name);
        result = sqlite3_bind_text64(m_statement, parameter, text.c_str(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8);
    } else {
        const std::string units = utf16Bytes(name, false);
        result = sqlite3_bind_blob64(m_statement, parameter, units.data(), units.size(), SQLITE_TRANSIENT);
    }
    if (result != SQLITE_OK)
        m_error = errorOf(result);
    return *this;
}

bool Statement::row() {
    if (!m_statement || m_error != 0)
        return false;
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return true;
    m_error = errorOf(result);
    return false;
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

std::string_view Statement::bytes(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    return std::string_view(data, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)));
}

std::wstring Statement::name(int column) const {
    const std::string_view text = bytes(column);
    if (sqlite3_column_type(m_statement, column) != SQLITE_BLOB)
        return wideFromUtf8(text);
    std::vector<std::uint16_t> units(text.size() / 2);
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<std::uint16_t>(static_cast<unsigned char>(text[2 * i]) |
                                              static_cast<unsigned char>(text[2 * i + 1]) << 8);
    return wideFromUtf16(units.data(), units.size());
}

// ---- RegistryStore

RegistryStore* RegistryStore::s_instance = nullptr;

RegistryStore& RegistryStore::instance() {
    static std::once_flag once;
    std::call_once(once, [] {
        s_instance = new RegistryStore;
        // A child must not touch its parent's connection, whose locks are not its own: it begins afresh, and
        // the memory of the old one is left.
        ::pthread_atfork(nullptr, nullptr, [] {
            const unsigned generation = s_instance->m_generation;
            s_instance = new RegistryStore;
            s_instance->m_generation = generation;
        });
    });
    return *s_instance;
}

RegistryStore::~RegistryStore() {
    close();
}

void RegistryStore::close() {
    for (sqlite3_stmt*& statement : m_statements) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    if (m_database)
        ++m_generation;
    sqlite3_close(m_database);
    m_database = nullptr;
    m_file.clear();
}

DWORD RegistryStore::makeReady(bool create, bool change) {
    // Whether the file was replaced is looked at before each change; for readers now and then will do.
    const char* const given = std::getenv("MVLIB_REGISTRY");
    if (m_database && !change && given && m_file == given) {
        timespec now;
        ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
        const std::int64_t milliseconds = std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
        if (milliseconds - m_lastLook < millisecondsBetweenLooks)
            return 0;
        m_lastLook = milliseconds;
    }
    std::string file = storeFile();
    struct stat status;
    const bool exists = ::stat(file.c_str(), &status) == 0;
    const int statError = exists ? 0 : errno;
    if (m_database) {
        if (exists && file == m_file && status.st_dev == m_device && status.st_ino == m_inode)
            return 0;
        close(); // another file is meant, or it was replaced or removed
    }
    if (!exists && !create)
        return statError == ENOENT || statError == ENOTDIR ? 0 : DWORD{ERROR_CANTOPEN};
    const DWORD error = open(file, create);
    if (error != 0)
        close();
    return error;
}

DWORD RegistryStore::open(const std::string& file, bool create) {
    if (create)
        makeFoldersOf(file);
    int result = sqlite3_open_v2(
        file.c_str(), &m_database,
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0), nullptr);
    if (result != SQLITE_OK)
        return errorOf(result);
    sqlite3_busy_timeout(m_database, busyMilliseconds);
    if (const DWORD error = prepare())
        return error;
    struct stat status;
    if (::stat(file.c_str(), &status) != 0)
        return ERROR_CANTOPEN;
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_file = file;
    return 0;
}

DWORD RegistryStore::prepare() {
    const auto execute = [this](const char* text) {
        return sqlite3_exec(m_database, text, nullptr, nullptr, nullptr);
    };
    const auto version = [this](int& number) {
        sqlite3_stmt* statement = nullptr;
        int result = sqlite3_prepare_v2(m_database, "PRAGMA user_version", -1, &statement, nullptr);
        if (result == SQLITE_OK && (result = sqlite3_step(statement)) == SQLITE_ROW) {
            number = sqlite3_column_int(statement, 0);
            result = SQLITE_OK;
        }
        sqlite3_finalize(statement);
        return result;
    };
    int found = 0;
    int result = version(found);
    if (result == SQLITE_OK && found == 0) {
        // Journal and contents are decided once, by whoever comes first. With a log written ahead readers
        // do not wait for a writer; without the wait for the disk at each commit a change outlives the
        // process but not, in the last moments, the power.
        execute("PRAGMA journal_mode = WAL");
        result = execute("BEGIN IMMEDIATE");
        if (result == SQLITE_OK)
            result = version(found);
        if (result == SQLITE_OK && found == 0)
            result = execute(schema);
        if (result == SQLITE_OK)
            result = execute("COMMIT");
        else
            execute("ROLLBACK");
        if (result == SQLITE_OK)
            result = version(found);
    }
    if (result != SQLITE_OK)
        return errorOf(result);
    if (found != storeVersion)
        return ERROR_BADDB;
    execute("PRAGMA synchronous = NORMAL");
    for (std::size_t i = 0; i < std::size(queries); ++i) {
        result = sqlite3_prepare_v3(m_database, queries[i], -1, SQLITE_PREPARE_PERSISTENT, &m_statements[i],
                                    nullptr);
        if (result != SQLITE_OK)
            return errorOf(result);
    }
    return 0;
}

// ---- Session

RegistryStore::Session::Session(bool create, bool change)
    : m_store(instance())
    , m_guard(m_store.m_lock)
    , m_error(m_store.makeReady(create, change)) {}

RegistryStore::Session::~Session() = default;

int RegistryStore::Session::changes() const {
    return sqlite3_changes(m_store.m_database);
}

std::int64_t RegistryStore::Session::lastId() const {
    return sqlite3_last_insert_rowid(m_store.m_database);
}

std::uint64_t RegistryStore::Session::version() {
    Statement statement = use(Query::DataVersion);
    const std::int64_t others = statement.row() ? statement.number(0) : 0;
    return static_cast<std::uint64_t>(others) << 32 ^
           static_cast<std::uint64_t>(sqlite3_total_changes(m_store.m_database));
}

DWORD RegistryStore::Session::flush() {
    sqlite3_exec(m_store.m_database, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
    const int result =
        sqlite3_wal_checkpoint_v2(m_store.m_database, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    sqlite3_exec(m_store.m_database, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
    return errorOf(result);
}

RegistryStore::Session::Transaction::Transaction(Session& session)
    : m_session(session) {
    Statement begin = session.use(Query::Begin);
    m_open = begin.run();
    m_error = begin.error();
}

RegistryStore::Session::Transaction::~Transaction() {
    if (m_open)
        m_session.run(Query::Rollback);
}

DWORD RegistryStore::Session::Transaction::commit() {
    Statement statement = m_session.use(Query::Commit);
    if (statement.run())
        m_open = false;
    return statement.error();
}

} // namespace mvplat
