// The file in which the registry lives: its connection, its statements, its transactions.
#pragma once

#include "../../win32.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace mvplat {

// The statements that are kept prepared; their texts stand in registry_store.cpp.
enum class Query {
    FindKey,
    KeyExists,
    KeyTime,
    AddKey,
    TouchKey,
    DeleteKey,
    HasSubKeys,
    SubKeyAfter,
    SubKeyAt,
    SubKeySummary,
    FindValue,
    SetValue,
    DeleteValue,
    DeleteValues,
    ValueAfter,
    ValueAt,
    ValueSummary,
    DataVersion,
    Begin,
    Commit,
    Rollback,
    Count
};

// One use of a prepared statement, which is reset when it ends. Columns and parameters count from 0 and 1, as
// in SQLite.
class Statement {
public:
    explicit Statement(sqlite3_stmt* statement)
        : m_statement(statement) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    Statement& bind(int parameter, std::int64_t value);
    // The bytes must live as long as the use.
    Statement& bind(int parameter, std::string_view bytes);
    // A name in the form that keeps all of it; readable where it is proper text.
    Statement& bindName(int parameter, std::wstring_view name);

    // TRUE for a row; FALSE when there is none (or no further), and on failure.
    bool row();
    // Runs a statement without rows.
    bool run() { return !row() && m_error == 0; }
    DWORD error() const { return m_error; }

    std::int64_t number(int column) const;
    std::string_view bytes(int column) const; // until the next step
    std::wstring name(int column) const;

private:
    sqlite3_stmt* m_statement;
    DWORD m_error = 0;
};

class RegistryStore {
public:
    // The process' store, locked while the object lives.
    class Session;

    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;
    ~RegistryStore();

private:
    RegistryStore() = default;
    DWORD makeReady(bool create, bool change);
    DWORD open(const std::string& file, bool create);
    DWORD prepare();
    void close();

    static RegistryStore& instance();
    static RegistryStore* s_instance;

    std::mutex m_lock;
    std::string m_file;
    sqlite3* m_database = nullptr;
    std::uint64_t m_device = 0;
    std::uint64_t m_inode = 0;
    unsigned m_generation = 0;
    std::int64_t m_lastLook = 0; // at the file, in milliseconds
    sqlite3_stmt* m_statements[static_cast<int>(Query::Count)] = {};
};

class RegistryStore::Session {
public:
    // `create`: the file is made when it is missing; `change`: what it holds will be changed.
    explicit Session(bool create)
        : Session(create, create) {}
    Session(bool create, bool change);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Why the store cannot be used, or 0.
    DWORD error() const { return m_error; }
    // Whether there is no file yet: then nothing is in the registry but its roots.
    bool absent() const { return m_error == 0 && !m_store.m_database; }
    // Moves on when the process turns to another file: what it knows of the old one means nothing then.
    unsigned generation() const { return m_store.m_generation; }

    Statement use(Query query) { return Statement(m_store.m_statements[static_cast<int>(query)]); }
    bool run(Query query) { return use(query).run(); }
    // Rows that the last changing statement changed.
    int changes() const;
    std::int64_t lastId() const;
    // Moves on whenever anything in the file may have changed.
    std::uint64_t version();
    // Puts what was written on the disk.
    DWORD flush();

    // Changes that happen together or not at all; undone unless committed.
    class Transaction {
    public:
        explicit Transaction(Session& session);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        DWORD error() const { return m_error; } // of its beginning
        DWORD commit();

    private:
        Session& m_session;
        DWORD m_error = 0;
        bool m_open = false;
    };

private:
    RegistryStore& m_store;
    std::unique_lock<std::mutex> m_guard;
    DWORD m_error;
};

// The form of a name that is searched and sorted by: capitals, as UTF-16 units of high byte first, so that
// bytes compare as units do.
std::string foldedName(std::wstring_view name);

} // namespace mvplat
