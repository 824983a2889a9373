// One registry value, written and read, beside the same statements on SQLite itself.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <win32.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "sink.h"

namespace fs = std::filesystem;

namespace {

constexpr int VALUES = 200;

fs::path Folder() {
    static const struct Made {
        fs::path path = fs::temp_directory_path() / ("mvlib62-bench-registry-" + std::to_string(getpid()));
        Made() { fs::create_directory(path); }
        ~Made() { fs::remove_all(path); }
    } made;
    return made.path;
}

void Check(bool good) {
    if (!good)
        std::abort();
}

class Ours {
public:
    Ours() {
        ::setenv("MVLIB_REGISTRY", (Folder() / "ours.db").c_str(), 1);
        Check(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Maker\\Application\\Settings", 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, &m_key, nullptr) == 0);
        for (int i = 0; i < VALUES; ++i)
            Write(i);
    }
    ~Ours() { RegCloseKey(m_key); }
    void Write(int i) {
        const DWORD number = m_count++;
        Check(RegSetValueExW(m_key, Name(i), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                             sizeof number) == 0);
    }
    DWORD Read(int i) {
        DWORD number = 0;
        DWORD size = sizeof number;
        Check(RegQueryValueExW(m_key, Name(i), nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size) ==
              0);
        return number;
    }

private:
    const wchar_t* Name(int i) {
        ::swprintf(m_name, 40, L"Value %d", i % VALUES);
        return m_name;
    }
    HKEY m_key = nullptr;
    wchar_t m_name[40];
    DWORD m_count = 0;
};

// The statements of one call: a value is written with the time of its key in one transaction.
class Plain {
public:
    Plain() {
        static int next = 0;
        const std::string name = "plain" + std::to_string(next++) + ".db";
        Check(sqlite3_open((Folder() / name).c_str(), &m_database) == SQLITE_OK);
        Run("PRAGMA journal_mode = WAL");
        Run("PRAGMA synchronous = NORMAL");
        Run("CREATE TABLE keys(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, folded BLOB "
            "NOT "
            "NULL, name TEXT NOT NULL, written INTEGER NOT NULL, UNIQUE(parent, folded))");
        Run("CREATE TABLE entries(id INTEGER PRIMARY KEY, key INTEGER NOT NULL, folded BLOB NOT NULL, name "
            "TEXT "
            "NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(key, folded))");
        Run("CREATE INDEX entries_in_order ON entries(key, id)");
        Run("INSERT INTO keys VALUES(1, 0, 'KEY', 'Key', 0)");
        m_begin = Prepare("BEGIN IMMEDIATE");
        m_touch = Prepare("UPDATE keys SET written = ?2 WHERE id = ?1");
        m_set = Prepare("INSERT INTO entries(key, folded, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5) "
                        "ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data");
        m_commit = Prepare("COMMIT");
        m_get = Prepare("SELECT type, data FROM entries WHERE key = ?1 AND folded = ?2");
        for (int i = 0; i < VALUES; ++i)
            Write(i);
    }
    ~Plain() {
        for (sqlite3_stmt* statement : {m_begin, m_touch, m_set, m_commit, m_get})
            sqlite3_finalize(statement);
        sqlite3_close(m_database);
    }
    void Write(int i) {
        const DWORD number = m_count++;
        const int length = Name(i);
        Step(m_begin);
        sqlite3_bind_int64(m_touch, 1, 1);
        sqlite3_bind_int64(m_touch, 2, number);
        Step(m_touch);
        sqlite3_bind_int64(m_set, 1, 1);
        sqlite3_bind_blob(m_set, 2, m_name, length * 2, SQLITE_STATIC);
        sqlite3_bind_text(m_set, 3, m_name, length, SQLITE_STATIC);
        sqlite3_bind_int64(m_set, 4, REG_DWORD);
        sqlite3_bind_blob(m_set, 5, &number, sizeof number, SQLITE_STATIC);
        Step(m_set);
        Step(m_commit);
    }
    DWORD Read(int i) {
        const int length = Name(i);
        sqlite3_bind_int64(m_get, 1, 1);
        sqlite3_bind_blob(m_get, 2, m_name, length * 2, SQLITE_STATIC);
        Check(sqlite3_step(m_get) == SQLITE_ROW);
        DWORD number = 0;
        std::memcpy(&number, sqlite3_column_blob(m_get, 1), sizeof number);
        sqlite3_reset(m_get);
        return number;
    }

private:
    void Run(const char* text) {
        Check(sqlite3_exec(m_database, text, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    sqlite3_stmt* Prepare(const char* text) {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v3(m_database, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) ==
              SQLITE_OK);
        return statement;
    }
    static void Step(sqlite3_stmt* statement) {
        Check(sqlite3_step(statement) == SQLITE_DONE);
        sqlite3_reset(statement);
    }
    // As many bytes as UTF-16 would have.
    int Name(int i) {
        std::memset(m_name, 0, sizeof m_name);
        return std::snprintf(m_name, sizeof m_name, "VALUE %d", i % VALUES);
    }
    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_begin = nullptr;
    sqlite3_stmt* m_touch = nullptr;
    sqlite3_stmt* m_set = nullptr;
    sqlite3_stmt* m_commit = nullptr;
    sqlite3_stmt* m_get = nullptr;
    char m_name[80];
    DWORD m_count = 0;
};

template <class Store>
void Write(benchmark::State& state) {
    Store store;
    int i = 0;
    for (auto _ : state)
        store.Write(i++);
}

template <class Store>
void Read(benchmark::State& state) {
    Store store;
    int i = 0;
    for (auto _ : state)
        Keep(store.Read(i++));
}

} // namespace

BENCHMARK(Write<Ours>)->Name("registry/write/ours");
BENCHMARK(Write<Plain>)->Name("registry/write/peer-sqlite");
BENCHMARK(Read<Ours>)->Name("registry/read/ours");
BENCHMARK(Read<Plain>)->Name("registry/read/peer-sqlite");
