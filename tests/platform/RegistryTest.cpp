// The registry functions.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const wchar_t* testsKey = L"Software\\mvlib62 tests\\Registry";

class Registry : public testing::Test {
protected:
    void SetUp() override {
        // Means nothing on Windows; elsewhere each case has a registry of its own.
        SetEnvironmentVariableW(L"MVLIB_REGISTRY", m_folder.Path(L"registry.db").c_str());
        RegDeleteTreeW(HKEY_CURRENT_USER, testsKey);
        m_key = Create(HKEY_CURRENT_USER, testsKey);
    }
    void TearDown() override {
        for (const HKEY key : m_keys)
            RegCloseKey(key);
        RegDeleteTreeW(HKEY_CURRENT_USER, testsKey);
        RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\mvlib62 tests");
    }

    HKEY Create(HKEY parent, const wchar_t* path) {
        HKEY key = nullptr;
        m_disposition = 99;
        EXPECT_EQ(RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &m_disposition),
                  0);
        m_keys.push_back(key);
        return key;
    }
    HKEY Open(HKEY parent, const wchar_t* path, REGSAM access = KEY_ALL_ACCESS) {
        HKEY key = nullptr;
        m_error = RegOpenKeyExW(parent, path, 0, access, &key);
        if (m_error == 0)
            m_keys.push_back(key);
        return key;
    }
    LSTATUS OpenError(HKEY parent, const wchar_t* path) {
        EXPECT_EQ(Open(parent, path), nullptr);
        return m_error;
    }
    static LSTATUS Set(HKEY key, const wchar_t* name, DWORD type, const std::string& bytes) {
        const std::string withNul = bytes + std::string("x\0\0\0", 4); // not a NUL right behind the data
        return RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(withNul.data()),
                              static_cast<DWORD>(bytes.size()));
    }
    LSTATUS Set(const wchar_t* name, const std::string& bytes, DWORD type = REG_BINARY) {
        return Set(m_key, name, type, bytes);
    }

    // The bytes of a value; the code in m_error, the type in m_type.
    std::string Get(HKEY key, const wchar_t* name, DWORD room = 1000) {
        std::vector<BYTE> buffer(room + 4, 0xCC);
        m_size = room;
        m_type = 99;
        m_error = RegQueryValueExW(key, name, nullptr, &m_type, buffer.data(), &m_size);
        m_behind = m_error == 0 ? std::string(buffer.begin() + m_size, buffer.begin() + m_size + 2) : "";
        EXPECT_TRUE(m_error != ERROR_MORE_DATA || buffer[0] == 0xCC);
        return m_error == 0 ? std::string(buffer.begin(), buffer.begin() + m_size) : std::string();
    }
    std::string Get(const wchar_t* name, DWORD room = 1000) { return Get(m_key, name, room); }

    std::vector<std::wstring> SubKeys(HKEY key) {
        std::vector<std::wstring> names;
        for (DWORD i = 0;; ++i) {
            wchar_t name[300];
            DWORD size = 300;
            m_error = RegEnumKeyExW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr);
            if (m_error != 0)
                return names;
            EXPECT_EQ(size, wcslen(name));
            names.emplace_back(name);
        }
    }
    std::vector<std::wstring> Values(HKEY key) {
        std::vector<std::wstring> names;
        for (DWORD i = 0;; ++i) {
            wchar_t name[300];
            DWORD size = 300;
            m_error = RegEnumValueW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr);
            if (m_error != 0)
                return names;
            EXPECT_EQ(size, wcslen(name));
            names.emplace_back(name);
        }
    }

    // "ab" as UTF-16.
    static std::string Utf16(const std::string& text) {
        std::string bytes;
        for (const char character : text)
            bytes.append(1, character).append(1, '\0');
        return bytes;
    }

    using Names = std::vector<std::wstring>;

    TempFolder m_folder;
    HKEY m_key = nullptr;
    std::vector<HKEY> m_keys;
    LSTATUS m_error = 0;
    DWORD m_disposition = 0;
    DWORD m_type = 0;
    DWORD m_size = 0;
    std::string m_behind;
};

} // namespace

TEST_F(Registry, ExampleUsage) {
    HKEY settings;
    ASSERT_EQ(RegCreateKeyExW(m_key, L"Settings", 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                              nullptr, &settings, nullptr),
              ERROR_SUCCESS);
    const DWORD width = 640;
    EXPECT_EQ(
        RegSetValueExW(settings, L"Width", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&width), sizeof width),
        ERROR_SUCCESS);
    DWORD read = 0;
    DWORD size = sizeof read;
    EXPECT_EQ(RegQueryValueExW(settings, L"Width", nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &size),
              ERROR_SUCCESS);
    EXPECT_EQ(read, width);
    EXPECT_EQ(RegCloseKey(settings), ERROR_SUCCESS);
}

// ---- Keys

TEST_F(Registry, CreatingMakesEveryPart) {
    const HKEY key = Create(m_key, L"a\\b\\c");
    EXPECT_EQ(m_disposition, DWORD{REG_CREATED_NEW_KEY});
    EXPECT_NE(Open(m_key, L"a\\b"), nullptr);
    EXPECT_NE(Create(m_key, L"A\\B\\C"), key);
    EXPECT_EQ(m_disposition, DWORD{REG_OPENED_EXISTING_KEY});
    EXPECT_EQ(SubKeys(m_key), Names{L"a"});
}

TEST_F(Registry, BackslashesAtTheEndAndDoubledCountOnce) {
    Create(m_key, L"a\\\\b\\");
    EXPECT_NE(Open(m_key, L"a\\b"), nullptr);
    EXPECT_NE(Open(m_key, L"a\\"), nullptr);
    EXPECT_NE(Open(m_key, L"a\\\\b\\\\"), nullptr);
}

TEST_F(Registry, EmptyPathOpensTheKeyAgain) {
    Set(L"v", "x");
    for (const wchar_t* path : {L"", static_cast<const wchar_t*>(nullptr)}) {
        const HKEY again = Open(m_key, path);
        ASSERT_NE(again, nullptr);
        EXPECT_NE(again, m_key);
        EXPECT_EQ(Get(again, L"v"), "x");
    }
    HKEY root = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"", 0, KEY_READ, &root), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(root), ERROR_SUCCESS);
}

TEST_F(Registry, RootsAreApart) {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, testsKey, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
}

TEST_F(Registry, SubKeysAreSortedWithoutCase) {
    for (const wchar_t* name : {L"zeta", L"Alpha", L"beta", L"B2", L"\u00E9t\u00E9", L"a", L"\uFF21"})
        Create(m_key, name);
    EXPECT_EQ(SubKeys(m_key), (Names{L"a", L"Alpha", L"B2", L"beta", L"zeta", L"\u00E9t\u00E9", L"\uFF21"}));
    EXPECT_EQ(m_error, ERROR_NO_MORE_ITEMS);
    wchar_t name[40];
    EXPECT_EQ(RegEnumKeyW(m_key, 3, name, 40), ERROR_SUCCESS);
    EXPECT_STREQ(name, L"beta");
}

TEST_F(Registry, KeysBelowAreNoSubKeys) {
    Create(m_key, L"a\\b");
    EXPECT_EQ(SubKeys(m_key), Names{L"a"});
    EXPECT_TRUE(Values(m_key).empty());
}

TEST_F(Registry, DeletedKeyIsGoneWithItsValues) {
    Set(Create(m_key, L"a"), L"v", REG_BINARY, "x");
    EXPECT_EQ(RegDeleteKeyW(m_key, L"A\\"), ERROR_SUCCESS);
    EXPECT_EQ(OpenError(m_key, L"a"), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(Values(Create(m_key, L"a")).empty());
}

TEST_F(Registry, KeyDeletesItself) {
    const HKEY key = Create(m_key, L"a");
    EXPECT_EQ(RegDeleteKeyW(key, L""), ERROR_SUCCESS);
    EXPECT_EQ(OpenError(m_key, L"a"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, EveryCallOnADeletedKeyGives1018) {
    const HKEY key = Create(m_key, L"a");
    Set(key, L"v", REG_BINARY, "x");
    ASSERT_EQ(RegDeleteKeyW(m_key, L"a"), ERROR_SUCCESS);
    Create(m_key, L"a"); // a new one of the same name changes nothing
    Get(key, L"v");
    EXPECT_EQ(m_error, ERROR_KEY_DELETED);
    EXPECT_EQ(Set(key, L"v", REG_BINARY, "x"), ERROR_KEY_DELETED);
    Values(key);
    EXPECT_EQ(m_error, ERROR_KEY_DELETED);
    SubKeys(key);
    EXPECT_EQ(m_error, ERROR_KEY_DELETED);
    EXPECT_EQ(OpenError(key, L"b"), ERROR_KEY_DELETED);
    EXPECT_EQ(OpenError(key, L""), ERROR_KEY_DELETED);
    HKEY below = nullptr;
    EXPECT_EQ(RegCreateKeyExW(key, L"b", 0, nullptr, 0, KEY_READ, nullptr, &below, nullptr),
              ERROR_KEY_DELETED);
    EXPECT_EQ(RegDeleteValueW(key, L"v"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegDeleteKeyW(key, L""), ERROR_KEY_DELETED);
    DWORD count = 0;
    EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_KEY_DELETED);
    EXPECT_EQ(RegFlushKey(key), ERROR_KEY_DELETED);
    m_keys.erase(std::find(m_keys.begin(), m_keys.end(), key));
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST_F(Registry, TreeIsDeletedWhole) {
    Set(Create(m_key, L"a\\b\\c"), L"v", REG_BINARY, "x");
    Create(m_key, L"a\\d");
    EXPECT_EQ(RegDeleteTreeW(m_key, L"a"), ERROR_SUCCESS);
    EXPECT_EQ(OpenError(m_key, L"a"), ERROR_FILE_NOT_FOUND);
    Create(m_key, L"e\\f");
    Set(L"v", "x");
    EXPECT_EQ(RegDeleteTreeW(m_key, nullptr), ERROR_SUCCESS);
    EXPECT_TRUE(SubKeys(m_key).empty());
    EXPECT_TRUE(Values(m_key).empty());
    EXPECT_NE(Open(m_key, L""), nullptr);
}

TEST_F(Registry, InformationCountsAndMeasures) {
    for (const wchar_t* name : {L"a", L"Alpha", L"z"})
        Create(m_key, name);
    Set(L"one", "1234567");
    Set(L"", "12");
    DWORD numbers[6] = {};
    FILETIME time = {};
    EXPECT_EQ(RegQueryInfoKeyW(m_key, nullptr, nullptr, nullptr, &numbers[0], &numbers[1], &numbers[2],
                               &numbers[3], &numbers[4], &numbers[5], nullptr, &time),
              ERROR_SUCCESS);
    EXPECT_EQ(numbers[0], 3u);
    EXPECT_EQ(numbers[1], 5u);
    EXPECT_EQ(numbers[2], 0u);
    EXPECT_EQ(numbers[3], 2u);
    EXPECT_EQ(numbers[4], 3u);
    EXPECT_EQ(numbers[5], 7u);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    EXPECT_LE(CompareFileTime(&time, &now), 0);
    EXPECT_EQ(now.dwHighDateTime - time.dwHighDateTime <= 1, true);
}

TEST_F(Registry, ManyLevelsOfKeys) {
    HKEY key = m_key;
    for (int i = 0; i < 300; ++i)
        key = Create(key, L"deeper");
    Set(key, L"v", REG_BINARY, "x");
    EXPECT_EQ(Get(key, L"v"), "x");
    EXPECT_EQ(RegDeleteTreeW(m_key, L"deeper"), ERROR_SUCCESS);
    EXPECT_TRUE(SubKeys(m_key).empty());
}

TEST_F(Registry, FlushKeepsEverything) {
    Set(L"v", "x");
    EXPECT_EQ(RegFlushKey(m_key), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), "x");
}

// ---- Values

TEST_F(Registry, ValueOfAnyTypeComesBack) {
    const struct {
        DWORD type;
        std::string bytes;
    } values[] = {{REG_NONE, "x"},
                  {REG_SZ, Utf16("text") + std::string(2, '\0')},
                  {REG_EXPAND_SZ, Utf16("%A%") + std::string(2, '\0')},
                  {REG_BINARY, std::string("\0\1\xFF", 3)},
                  {REG_DWORD, std::string("\1\2\3\4", 4)},
                  {REG_DWORD, "12"},
                  {REG_DWORD_BIG_ENDIAN, std::string("\1\2\3\4", 4)},
                  {REG_MULTI_SZ, Utf16("a") + std::string(2, '\0') + Utf16("b") + std::string(4, '\0')},
                  {REG_QWORD, "12345678"},
                  {77, "odd"}};
    for (const auto& value : values) {
        EXPECT_EQ(Set(L"v", value.bytes, value.type), ERROR_SUCCESS);
        EXPECT_EQ(Get(L"V"), value.bytes);
        EXPECT_EQ(m_type, value.type);
    }
    EXPECT_EQ(Values(m_key), Names{L"v"});
}

TEST_F(Registry, NamesCompareWithoutCaseAndKeepTheirSpelling) {
    Set(L"N\u00E0me", "1");
    Set(L"n\u00C0ME", "2");
    EXPECT_EQ(Get(L"N\u00C0me"), "2");
    EXPECT_EQ(Values(m_key), Names{L"N\u00E0me"});
}

TEST_F(Registry, EmptyNameIsAValueToo) {
    EXPECT_EQ(Set(nullptr, "x"), ERROR_SUCCESS);
    EXPECT_EQ(Get(L""), "x");
    EXPECT_EQ(Values(m_key), Names{L""});
    EXPECT_EQ(RegDeleteValueW(m_key, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueW(m_key, L""), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, EmptyValueExists) {
    EXPECT_EQ(RegSetValueExW(m_key, L"v", 0, REG_SZ, nullptr, 0), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), "");
    EXPECT_EQ(m_error, ERROR_SUCCESS);
    EXPECT_EQ(m_size, 0u);
    EXPECT_EQ(m_type, DWORD{REG_SZ});
}

TEST_F(Registry, LargeValue) {
    const std::string bytes(3000000, 'x');
    EXPECT_EQ(Set(L"v", bytes), ERROR_SUCCESS);
    EXPECT_TRUE(Get(L"v", 3000000) == bytes);
}

TEST_F(Registry, SizeIsAskedWithoutABuffer) {
    Set(L"v", "12345");
    DWORD type = 99;
    DWORD size = 99;
    EXPECT_EQ(RegQueryValueExW(m_key, L"v", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD{REG_BINARY});
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(RegQueryValueExW(m_key, L"v", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
}

TEST_F(Registry, TextThatLacksItsNulGetsIt) {
    // One character less than the terminated text: the NUL behind the data is stored too.
    const std::string text = Utf16("hello") + std::string(2, '\0');
    const auto set = [&](DWORD type, DWORD size) {
        return RegSetValueExW(m_key, L"v", 0, type, reinterpret_cast<const BYTE*>(text.data()), size);
    };
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ}) {
        EXPECT_EQ(set(type, 10), ERROR_SUCCESS);
        EXPECT_EQ(Get(L"v"), text);
    }
    EXPECT_EQ(set(REG_BINARY, 10), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), Utf16("hello"));
    EXPECT_EQ(m_behind, "\xCC\xCC");
}

TEST_F(Registry, TextCutShorterIsStoredAsItIs) {
    EXPECT_EQ(Set(L"v", Utf16("hell"), REG_SZ), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), Utf16("hell"));
    EXPECT_EQ(m_behind, std::string(2, '\0')); // and reading puts a NUL behind it
    EXPECT_EQ(Get(L"v", 8), Utf16("hell"));
    EXPECT_EQ(m_behind, "\xCC\xCC"); // where there is room
    EXPECT_EQ(Set(L"v", Utf16("abc") + std::string(2, '\0'), REG_MULTI_SZ), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v").size(), 8u);
    EXPECT_EQ(m_behind, "\xCC\xCC"); // a second NUL is nobody's affair
}

TEST_F(Registry, HalfOfAMultiStringIsStoredByteForByte) {
    const std::string half = Utf16("a") + std::string(2, '\0') + Utf16("b");
    EXPECT_EQ(Set(L"v", half, REG_MULTI_SZ), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), half);
    EXPECT_EQ(m_type, DWORD{REG_MULTI_SZ});
}

TEST_F(Registry, ValuesAreEnumeratedOnceEach) {
    for (const wchar_t* name : {L"a", L"bb", L"c"})
        Set(name, "x");
    Set(L"bb", "xyz", REG_NONE); // changing one does not move it
    EXPECT_EQ(Values(m_key), (Names{L"a", L"bb", L"c"}));
    EXPECT_EQ(m_error, ERROR_NO_MORE_ITEMS);
    wchar_t name[10];
    DWORD nameSize = 10;
    DWORD type = 99;
    BYTE data[10] = {};
    DWORD size = 10;
    EXPECT_EQ(RegEnumValueW(m_key, 1, name, &nameSize, nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_STREQ(name, L"bb");
    EXPECT_EQ(nameSize, 2u);
    EXPECT_EQ(type, DWORD{REG_NONE});
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(memcmp(data, "xyz", 3), 0);
}

TEST_F(Registry, EnumerationSeesChangesBetweenItsSteps) {
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"})
        Set(name, "x");
    const auto at = [this](DWORD index) {
        wchar_t name[10] = L"-";
        DWORD size = 10;
        RegEnumValueW(m_key, index, name, &size, nullptr, nullptr, nullptr, nullptr);
        return std::wstring(name);
    };
    EXPECT_EQ(at(0), L"a");
    EXPECT_EQ(at(1), L"b");
    RegDeleteValueW(m_key, L"a");
    EXPECT_EQ(at(1), L"c");
    EXPECT_EQ(at(2), L"d");
    EXPECT_EQ(at(2), L"d");
    EXPECT_EQ(at(3), L"-");
    EXPECT_EQ(at(0), L"b");
    Set(L"e", "x");
    EXPECT_EQ(at(3), L"e");
}

TEST_F(Registry, DeletingTheFirstUntilThereIsNone) {
    for (int i = 0; i < 20; ++i) {
        Set(std::to_wstring(i).c_str(), "x");
        Create(m_key, std::to_wstring(i).c_str());
    }
    wchar_t name[10];
    int values = 0;
    for (DWORD size = 10; RegEnumValueW(m_key, 0, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         size = 10)
        values += RegDeleteValueW(m_key, name) == 0;
    EXPECT_EQ(values, 20);
    int keys = 0;
    for (; RegEnumKeyW(m_key, 0, name, 10) == 0;)
        keys += RegDeleteKeyW(m_key, name) == 0;
    EXPECT_EQ(keys, 20);
}

TEST_F(Registry, SizeOfANameThatIsNotSetAgainLosesEverySecond) {
    // A size that a short name left behind is too small for a longer one, and stays.
    for (const wchar_t* name : {L"aa", L"bbbb", L"c", L"ddd"})
        Set(name, "x");
    wchar_t name[512];
    DWORD size = 512;
    std::vector<LSTATUS> results;
    Names names;
    for (DWORD i = 0; i < 5; ++i) {
        results.push_back(RegEnumValueW(m_key, i, name, &size, nullptr, nullptr, nullptr, nullptr));
        names.emplace_back(name);
    }
    EXPECT_EQ(results, (std::vector<LSTATUS>{0, ERROR_MORE_DATA, 0, ERROR_MORE_DATA, ERROR_NO_MORE_ITEMS}));
    EXPECT_EQ(names, (Names{L"aa", L"aa", L"c", L"c", L"c"}));
}

// ---- Rights

TEST_F(Registry, ReadingKeySetsAndDeletesNothing) {
    Set(L"v", "x");
    const HKEY reading = Open(m_key, L"", KEY_READ);
    EXPECT_EQ(Get(reading, L"v"), "x");
    EXPECT_EQ(Set(reading, L"w", REG_BINARY, "x"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reading, L"v"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Get(L"v"), "x");
}

TEST_F(Registry, ReadingKeyMakesAndDeletesSubKeys) {
    const HKEY reading = Open(m_key, L"", KEY_READ);
    EXPECT_NE(Create(reading, L"below"), nullptr);
    EXPECT_EQ(RegDeleteKeyW(reading, L"below"), ERROR_SUCCESS);
}

TEST_F(Registry, WritingKeyReadsNothing) {
    Set(L"v", "x");
    const HKEY writing = Open(m_key, L"", KEY_WRITE);
    Get(writing, L"v");
    EXPECT_EQ(m_error, ERROR_ACCESS_DENIED);
    Values(writing);
    EXPECT_EQ(m_error, ERROR_ACCESS_DENIED);
    SubKeys(writing);
    EXPECT_EQ(m_error, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Set(writing, L"v", REG_BINARY, "y"), ERROR_SUCCESS);
    EXPECT_EQ(Get(L"v"), "y");
}

// ---- Error results

TEST_F(Registry, MissingKeyGives2) {
    EXPECT_EQ(OpenError(m_key, L"missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenError(m_key, L"missing\\below"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(m_key, L"missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteTreeW(m_key, L"missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, MissingValueGives2) {
    DWORD type = 99;
    DWORD size = 99;
    BYTE data[10];
    EXPECT_EQ(RegQueryValueExW(m_key, L"missing", nullptr, &type, data, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(size, 99u);
    EXPECT_EQ(RegQueryValueExW(m_key, L"missing", nullptr, &type, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(type, 99u);
    EXPECT_EQ(RegDeleteValueW(m_key, L"missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, ShortBufferGives234AndTheSize) {
    Set(L"v", "12345");
    Get(L"v", 4);
    EXPECT_EQ(m_error, ERROR_MORE_DATA);
    EXPECT_EQ(m_size, 5u);
    EXPECT_EQ(m_type, DWORD{REG_BINARY});
    EXPECT_EQ(Get(L"v", 5), "12345");
}

TEST_F(Registry, EnumerationIntoShortBuffersGives234) {
    Set(L"name", "12345");
    wchar_t name[10] = L"?";
    DWORD nameSize = 4; // no room for the NUL
    DWORD type = 99;
    BYTE data[10] = {0x55};
    DWORD size = 10;
    EXPECT_EQ(RegEnumValueW(m_key, 0, name, &nameSize, nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_STREQ(name, L"?");
    EXPECT_EQ(nameSize, 4u);
    EXPECT_EQ(type, DWORD{REG_BINARY});
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(data[0], 0x55);
    nameSize = 10;
    size = 1;
    EXPECT_EQ(RegEnumValueW(m_key, 0, name, &nameSize, nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_STREQ(name, L"name");
    EXPECT_EQ(nameSize, 4u);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(data[0], 0x55);
    Create(m_key, L"key");
    wchar_t key[10] = L"?";
    nameSize = 3;
    EXPECT_EQ(RegEnumKeyExW(m_key, 0, key, &nameSize, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    EXPECT_STREQ(key, L"?");
    EXPECT_EQ(nameSize, 3u);
    EXPECT_EQ(RegEnumKeyW(m_key, 0, key, 3), ERROR_MORE_DATA);
}

TEST_F(Registry, BackslashAtTheBeginningGives161) {
    Create(m_key, L"a");
    EXPECT_EQ(OpenError(m_key, L"\\a"), ERROR_BAD_PATHNAME);
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(m_key, L"\\b", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr),
              ERROR_BAD_PATHNAME);
    EXPECT_EQ(RegDeleteKeyW(m_key, L"\\a"), ERROR_BAD_PATHNAME);
}

TEST_F(Registry, KeyWithSubKeysIsNotDeleted) {
    Create(m_key, L"a\\b");
    EXPECT_EQ(RegDeleteKeyW(m_key, L"a"), ERROR_ACCESS_DENIED);
    EXPECT_NE(Open(m_key, L"a\\b"), nullptr);
}

TEST_F(Registry, NamesThatAreTooLongGive87) {
    const std::wstring key(257, L'k');
    HKEY made = nullptr;
    EXPECT_EQ(RegCreateKeyExW(m_key, key.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(OpenError(m_key, key.c_str()), ERROR_INVALID_PARAMETER);
    Create(m_key, std::wstring(255, L'k').c_str());
    EXPECT_EQ(SubKeys(m_key).at(0).size(), 255u);
    EXPECT_EQ(Set(std::wstring(16384, L'v').c_str(), "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Set(std::wstring(16383, L'v').c_str(), "x"), ERROR_SUCCESS);
    EXPECT_EQ(Get(std::wstring(16383, L'V').c_str()), "x");
    Get(std::wstring(16384, L'v').c_str());
    EXPECT_EQ(m_error, ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, NullDataOfSomeSizeGives998) {
    EXPECT_EQ(RegSetValueExW(m_key, L"v", 0, REG_SZ, nullptr, 4), ERROR_NOACCESS);
    EXPECT_EQ(RegSetValueExW(m_key, L"v", 0, REG_DWORD, nullptr, 4), ERROR_NOACCESS);
}

TEST_F(Registry, MissingArgumentsGive87) {
    Set(L"v", "x");
    BYTE data[4];
    wchar_t name[10];
    EXPECT_EQ(RegOpenKeyExW(m_key, L"a", 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExW(m_key, L"v", nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
    DWORD size = 10;
    EXPECT_EQ(RegEnumValueW(m_key, 0, name, &size, nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegEnumValueW(m_key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegDeleteKeyW(m_key, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, WhatIsNoKeyGives6) {
    const HKEY closed = Create(m_key, L"a");
    m_keys.pop_back();
    EXPECT_EQ(RegCloseKey(closed), ERROR_SUCCESS);
    for (const HKEY key : {closed, HKEY{nullptr}}) {
        EXPECT_EQ(OpenError(key, L"a"), ERROR_INVALID_HANDLE);
        Get(key, L"v");
        EXPECT_EQ(m_error, ERROR_INVALID_HANDLE);
        EXPECT_EQ(Set(key, L"v", REG_BINARY, "x"), ERROR_INVALID_HANDLE);
        EXPECT_EQ(RegFlushKey(key), ERROR_INVALID_HANDLE);
        EXPECT_EQ(RegDeleteValueW(key, L"v"), ERROR_INVALID_HANDLE);
        EXPECT_EQ(RegDeleteKeyW(key, L"v"), ERROR_INVALID_HANDLE);
        EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    }
}
