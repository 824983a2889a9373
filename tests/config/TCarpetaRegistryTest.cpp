#include <TCarpetaRegistry.h>

#include "alloc_failure.h"
#include "import_patch.h"
#include "layout.h"

#include "afxwin.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

const wchar_t* const Root = L"Software\\Mirvanet\\MvlibTests";

/// A folder whose fields can be seen.
class Folder : public TCarpetaRegistry {
public:
    using TCarpetaRegistry::m_hClau;
    using TCarpetaRegistry::m_hClauBase;
    using TCarpetaRegistry::m_nObertures;
    using TCarpetaRegistry::m_nOpcions;
    using TCarpetaRegistry::m_sa;
    using TCarpetaRegistry::m_strCarpeta;
    using TCarpetaRegistry::TCarpetaRegistry;
};

std::string Bytes(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes)
        text += static_cast<char>(byte);
    return text;
}

struct Stored {
    LONG error = 0;
    DWORD type = 0;
    std::string data;
    bool operator==(const Stored&) const = default;
};

void PrintTo(const Stored& stored, std::ostream* out) {
    *out << "error " << stored.error << ", type " << stored.type << ", "
         << testing::PrintToString(stored.data);
}

class TCarpetaRegistryTest : public testing::Test {
protected:
    void SetUp() override { Remove(); }
    void TearDown() override {
        Remove();
        TCarpetaRegistry::SetCarpetaBaseApp(nullptr);
    }
    static void Remove() {
        if (TCarpetaRegistry(Root).Obrir(2))
            TCarpetaRegistry(Root).BorrarCarpeta(nullptr);
    }

    std::wstring Path(const wchar_t* folder = L"") const {
        return *folder ? std::wstring(Root) + L'\\' + folder : std::wstring(Root);
    }
    Folder At(const wchar_t* folder = L"") const { return Folder(Path(folder).c_str()); }

    /// What the registry holds, asked for without the class.
    Stored Raw(const wchar_t* name, const wchar_t* folder = L"") const {
        Stored stored;
        HKEY key = nullptr;
        stored.error = RegOpenKeyExW(HKEY_CURRENT_USER, Path(folder).c_str(), 0, KEY_READ, &key);
        if (stored.error != ERROR_SUCCESS)
            return stored;
        // Into no more room than the data need: Windows would put a missing NUL behind a text.
        DWORD size = 0;
        stored.error = RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &size);
        stored.data.resize(size);
        if (stored.error == ERROR_SUCCESS)
            stored.error = RegQueryValueExW(key, name, nullptr, &stored.type,
                                            reinterpret_cast<BYTE*>(stored.data.data()), &size);
        RegCloseKey(key);
        return stored;
    }
    void SetRaw(const wchar_t* name, DWORD type, const std::string& data, const wchar_t* folder = L"") const {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, Path(folder).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                  nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        const std::string padded = data + "\xFF\xFF"; // the system looks behind a text without NUL
        EXPECT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(padded.data()),
                                 static_cast<DWORD>(data.size())),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    bool Exists(const wchar_t* folder = L"") const {
        return TCarpetaRegistry(Path(folder).c_str()).Obrir(2) != 0;
    }

    std::vector<std::wstring> ValueNames(const wchar_t* folder = L"") const {
        std::vector<std::wstring> names;
        Folder at = At(folder);
        CString name;
        for (unsigned long i = 0; at.GetNomValorIndex(i, name); ++i)
            names.emplace_back(name.GetString());
        return names;
    }
    std::vector<std::wstring> FolderNames(const wchar_t* folder = L"") const {
        std::vector<std::wstring> names;
        Folder at = At(folder);
        CString name;
        for (unsigned long i = 0; at.GetNomCarpetaIndex(i, name); ++i)
            names.emplace_back(name.GetString());
        return names;
    }
    void MakeFolder(const wchar_t* folder) const {
        Folder at = At(folder);
        EXPECT_EQ(at.Obrir(1), 1);
    }
};

using Names = std::vector<std::wstring>;

const std::string One = Bytes({1, 0, 0, 0});

} // namespace

TEST_F(TCarpetaRegistryTest, ExampleUsage) {
    TCarpetaRegistry settings(Root);
    EXPECT_EQ(settings.EntraValor(L"Zoom", 1.5), 0);
    EXPECT_EQ(settings.EntraValor(L"Title", L"untitled"), 0);
    EXPECT_EQ(settings.TornaValorReal(L"Zoom", 1.0), 1.5);
    EXPECT_EQ(settings.TornaValorString(L"Title", L""), L"untitled");
    EXPECT_EQ(settings.TornaValorInt(L"Missing", 7), 7);
    const std::unique_ptr<TCarpetaRegistry> recent(settings.GetSubcarpeta(L"Recent"));
    EXPECT_EQ(recent->EntraValor(L"File1", L"C:\\a.txt"), 0);
    EXPECT_EQ(FolderNames(), Names{L"Recent"});
    EXPECT_EQ(settings.BorrarCarpeta(nullptr), 0);
    EXPECT_FALSE(Exists());
}

// ---- Layout

TEST_F(TCarpetaRegistryTest, FieldsAndOperationsStandInTheirOrder) {
    const Folder folder = At();
    const std::ptrdiff_t offsets[] = {
        Offset(folder, folder.m_hClauBase), Offset(folder, folder.m_strCarpeta),
        Offset(folder, folder.m_hClau),     Offset(folder, folder.m_sa),
        Offset(folder, folder.m_nOpcions),  Offset(folder, folder.m_nObertures)};
    EXPECT_EQ(offsets[0], static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_TRUE(std::is_sorted(std::begin(offsets), std::end(offsets)));
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(offsets[5], 4 + 4 + 4 + 4 + 12 + 4);
        EXPECT_EQ(sizeof(TCarpetaRegistry), 36u);
    }
    EXPECT_EQ(Slot(&TCarpetaRegistry::Obrir), 1);
    EXPECT_EQ(Slot(&TCarpetaRegistry::Tancar), 2);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(TCarpetaRegistry::TotsElsValors()), 1u);
}

// ---- Stored bytes

TEST_F(TCarpetaRegistryTest, TextIsStoredAsUtf16WithItsNul) {
    EXPECT_EQ(At().EntraValor(L"v", L"aé€"), 0);
    EXPECT_EQ(Raw(L"v"), (Stored{0, REG_SZ, Bytes({'a', 0, 0xE9, 0, 0xAC, 0x20, 0, 0})}));
    EXPECT_EQ(At().EntraValor(L"v", L""), 0);
    EXPECT_EQ(Raw(L"v"), (Stored{0, REG_SZ, Bytes({0, 0})}));
    EXPECT_EQ(At().EntraValor(L"v", static_cast<const wchar_t*>(nullptr)), 0);
    EXPECT_EQ(Raw(L"v"), (Stored{0, REG_SZ, Bytes({0, 0})}));
}

TEST_F(TCarpetaRegistryTest, CharactersBeyondTheBasicPlaneAreStoredAsSurrogatePairs) {
    EXPECT_EQ(At().EntraValor(L"v", L"\U0001F600"), 0);
    EXPECT_EQ(Raw(L"v"), (Stored{0, REG_SZ, Bytes({0x3D, 0xD8, 0x00, 0xDE, 0, 0})}));
    EXPECT_EQ(At().TornaValorString(L"v", L""), L"\U0001F600");
}

TEST_F(TCarpetaRegistryTest, RealsAreStoredAsTextWithSixDecimals) {
    EXPECT_EQ(At().EntraValor(L"d", 1.5), 0);
    EXPECT_EQ(At().TornaValorString(L"d", L""), L"1.500000");
    EXPECT_EQ(Raw(L"d").type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(Raw(L"d").data.size(), 18u);
    EXPECT_EQ(At().EntraValor(L"f", 0.1f), 0);
    EXPECT_EQ(At().TornaValorString(L"f", L""), L"0.100000");
    EXPECT_EQ(At().EntraValor(L"f", 16777217.0f), 0); // rounded as a float, then widened
    EXPECT_EQ(At().TornaValorString(L"f", L""), L"16777216.000000");
    EXPECT_EQ(At().EntraValor(L"d", -1e20), 0);
    EXPECT_EQ(At().TornaValorString(L"d", L""), L"-100000000000000000000.000000");
    EXPECT_EQ(At().EntraValor(L"d", 0.0000004), 0);
    EXPECT_EQ(At().TornaValorString(L"d", L""), L"0.000000");
}

TEST_F(TCarpetaRegistryTest, RealsWithoutDigitsAreStoredAsTheirWords) {
    At().EntraValor(L"d", std::numeric_limits<double>::infinity());
    EXPECT_EQ(At().TornaValorString(L"d", L""), L"inf");
    EXPECT_EQ(At().TornaValorReal(L"d", 1.0), 0.0) << "which are no numbers when read";
    At().EntraValor(L"d", -0.0);
    EXPECT_EQ(At().TornaValorString(L"d", L""), L"-0.000000");
}

TEST_F(TCarpetaRegistryTest, WholeNumbersAreStoredIn32Bits) {
    EXPECT_EQ(At().EntraValor(L"i", -2), 0);
    EXPECT_EQ(Raw(L"i"), (Stored{0, REG_DWORD, Bytes({0xFE, 0xFF, 0xFF, 0xFF})}));
    EXPECT_EQ(At().EntraValor(L"l", 0x01020304L), 0);
    EXPECT_EQ(Raw(L"l"), (Stored{0, REG_DWORD, Bytes({4, 3, 2, 1})}));
    EXPECT_EQ(At().EntraValor(L"u", 0xFFFFFFFFUL), 0);
    EXPECT_EQ(Raw(L"u"), (Stored{0, REG_DWORD, Bytes({0xFF, 0xFF, 0xFF, 0xFF})}));
    EXPECT_EQ(At().EntraValor(L"s", static_cast<short>(-2)), 0);
    EXPECT_EQ(Raw(L"s"), (Stored{0, REG_DWORD, Bytes({0xFE, 0xFF, 0xFF, 0xFF})}));
    EXPECT_EQ(At().EntraValor(L"w", static_cast<unsigned short>(0xFFFE)), 0);
    EXPECT_EQ(Raw(L"w"), (Stored{0, REG_DWORD, Bytes({0xFE, 0xFF, 0, 0})}));
}

// Kept: the buffer's size in characters counts as its size in bytes.
TEST_F(TCarpetaRegistryTest, OnlyTheFirstHalfOfAListIsStored) {
    CMultiString list(L"ab\0c\0");
    EXPECT_EQ(list.GetMidaBuffer(), 6);
    EXPECT_EQ(At().EntraValor(L"m", list), 0);
    EXPECT_EQ(Raw(L"m"), (Stored{0, REG_MULTI_SZ, Bytes({'a', 0, 'b', 0, 0, 0})}));
    CMultiString back(L"old\0");
    EXPECT_EQ(At().TornaValor(L"m", back, L"default\0"), 0);
    ASSERT_EQ(back.GetNumStr(), 1);
    EXPECT_STREQ(back[0], L"ab");

    EXPECT_EQ(At().EntraValor(L"m", CMultiString(L"abcd\0")), 0);
    EXPECT_EQ(At().TornaValor(L"m", back, nullptr), 0);
    ASSERT_EQ(back.GetNumStr(), 1);
    EXPECT_STREQ(back[0], L"abc");
    EXPECT_EQ(back.GetMidaBuffer(), 5);

    EXPECT_EQ(At().EntraValor(L"m", CMultiString()), 0);
    EXPECT_EQ(Raw(L"m"), (Stored{0, REG_MULTI_SZ, Bytes({0, 0})}));
    EXPECT_EQ(At().TornaValor(L"m", back, L"default\0"), 0);
    EXPECT_EQ(back.GetNumStr(), 0);
}

TEST_F(TCarpetaRegistryTest, HalfAListIsCountedInStoredUnits) {
    // Eight units with the pair, so eight bytes.
    EXPECT_EQ(At().EntraValor(L"m", CMultiString(L"\U0001F600abcd\0")), 0);
    EXPECT_EQ(Raw(L"m"), (Stored{0, REG_MULTI_SZ, Bytes({0x3D, 0xD8, 0x00, 0xDE, 'a', 0, 'b', 0})}));
}

TEST_F(TCarpetaRegistryTest, BytesAreStoredAsTheyAre) {
    char data[] = {0, 1, 2, '\xFF'};
    EXPECT_EQ(At().EntraValor(L"b", data, 4), 0);
    EXPECT_EQ(Raw(L"b"), (Stored{0, REG_BINARY, std::string(data, 4)}));
    EXPECT_EQ(At().EntraValor(L"b", nullptr, 0), 0);
    EXPECT_EQ(Raw(L"b"), (Stored{0, REG_BINARY, ""}));
    EXPECT_EQ(At().EntraValor(L"b", nullptr, 5), -2503);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOACCESS));
    EXPECT_EQ(Raw(L"b"), (Stored{0, REG_BINARY, ""})) << "the old value stays";
}

TEST_F(TCarpetaRegistryTest, TheUnnamedValueIsWrittenAndRead) {
    EXPECT_EQ(At().EntraValor(L"", 1), 0);
    EXPECT_EQ(Raw(L""), (Stored{0, REG_DWORD, One}));
    EXPECT_EQ(At().TornaValorInt(nullptr, 0), 1);
    EXPECT_EQ(ValueNames(), Names{L""});
}

// ---- Reading

TEST_F(TCarpetaRegistryTest, NumbersComeBackByEveryType) {
    At().EntraValor(L"n", -2);
    short s = 0;
    unsigned short w = 0;
    int i = 0;
    long l = 0;
    unsigned long u = 0;
    EXPECT_EQ(At().TornaValor(L"n", s, 1), 0);
    EXPECT_EQ(At().TornaValor(L"n", w, 1), 0);
    EXPECT_EQ(At().TornaValor(L"n", i, 1), 0);
    EXPECT_EQ(At().TornaValor(L"n", l, 1), 0);
    EXPECT_EQ(At().TornaValor(L"n", u, 1), 0);
    EXPECT_EQ(s, -2);
    EXPECT_EQ(w, 0xFFFE);
    EXPECT_EQ(i, -2);
    EXPECT_EQ(l, -2);
    EXPECT_EQ(u, 0xFFFFFFFEUL);
    EXPECT_EQ(At().TornaValorInt(L"n", 1), -2);
    EXPECT_EQ(At().TornaValorBool(L"n", 0), -2);
    EXPECT_EQ(At().TornaValorBool(L"missing", 1), 1);
}

TEST_F(TCarpetaRegistryTest, ShortFormsTakeTheLowHalf) {
    SetRaw(L"n", REG_DWORD, Bytes({1, 2, 3, 4}));
    short s = 0;
    unsigned short w = 0;
    EXPECT_EQ(At().TornaValor(L"n", s, 9), 0);
    EXPECT_EQ(At().TornaValor(L"n", w, 9), 0);
    EXPECT_EQ(s, 0x0201);
    EXPECT_EQ(w, 0x0201);
}

TEST_F(TCarpetaRegistryTest, ANumberMayHaveAnyTypeAndUpToFourBytes) {
    int i = 0;
    SetRaw(L"b", REG_BINARY, Bytes({7}));
    EXPECT_EQ(At().TornaValor(L"b", i, 1), 0);
    EXPECT_EQ(i, 7);
    SetRaw(L"b", REG_BINARY, "");
    EXPECT_EQ(At().TornaValor(L"b", i, 1), 0);
    EXPECT_EQ(i, 0);
    SetRaw(L"b", REG_SZ, Bytes({'5', 0, 0, 0}));
    EXPECT_EQ(At().TornaValor(L"b", i, 1), 0);
    EXPECT_EQ(i, '5');
    SetRaw(L"b", REG_BINARY, Bytes({1, 2, 3, 4, 5}));
    ::SetLastError(0);
    EXPECT_EQ(At().TornaValor(L"b", i, 1), 2500);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(i, 1);
    short s = 0;
    EXPECT_EQ(At().TornaValor(L"b", s, -9), 2500) << "the low half of a longer value is none";
    EXPECT_EQ(s, -9);
}

TEST_F(TCarpetaRegistryTest, AMissingValueGivesTheDefaultAnd2500) {
    MakeFolder(L"");
    short s = 0;
    unsigned short w = 0;
    int i = 0;
    long l = 0;
    unsigned long u = 0;
    float f = 0;
    double d = 0;
    CString text(L"old");
    CMultiString list(L"old\0");
    EXPECT_EQ(At().TornaValor(L"x", s, -5), 2500);
    EXPECT_EQ(At().TornaValor(L"x", w, 65535), 2500);
    EXPECT_EQ(At().TornaValor(L"x", i, INT_MIN), 2500);
    EXPECT_EQ(At().TornaValor(L"x", l, LONG_MIN), 2500);
    EXPECT_EQ(At().TornaValor(L"x", u, ULONG_MAX), 2500);
    EXPECT_EQ(At().TornaValor(L"x", f, 0.1f), 2500);
    EXPECT_EQ(At().TornaValor(L"x", d, 0.1), 2500);
    EXPECT_EQ(At().TornaValor(L"x", text, L"default"), 2500);
    EXPECT_EQ(At().TornaValor(L"x", list, L"a\0b\0"), 2500);
    EXPECT_EQ(s, -5);
    EXPECT_EQ(w, 65535);
    EXPECT_EQ(i, INT_MIN);
    EXPECT_EQ(l, LONG_MIN);
    EXPECT_EQ(u, ULONG_MAX);
    EXPECT_EQ(f, 0.1f);
    EXPECT_EQ(d, 0.1);
    EXPECT_EQ(text, L"default");
    EXPECT_EQ(list.GetNumStr(), 2);
    EXPECT_EQ(At().TornaValor(L"x", text, nullptr), 2500);
    EXPECT_EQ(text, L"");
    EXPECT_EQ(At().TornaValor(L"x", list, nullptr), 2500);
    EXPECT_EQ(list.GetNumStr(), 0);
}

TEST_F(TCarpetaRegistryTest, AMissingFolderGivesTheDefaultAndIsNotMade) {
    ::SetLastError(0);
    EXPECT_EQ(At().TornaValorInt(L"x", 7), 7);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(At().TornaValorReal(L"x", 0.5), 0.5);
    EXPECT_EQ(At().TornaValorString(L"x", L"d"), L"d");
    unsigned long size = 3;
    EXPECT_EQ(At().TornaValorBin(L"x", size), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_FALSE(Exists());
}

TEST_F(TCarpetaRegistryTest, RealsAreReadFromText) {
    At().EntraValor(L"d", 2.25);
    float f = 0;
    double d = 0;
    EXPECT_EQ(At().TornaValor(L"d", f, 0.0f), 0);
    EXPECT_EQ(At().TornaValor(L"d", d, 0.0), 0);
    EXPECT_EQ(f, 2.25f);
    EXPECT_EQ(d, 2.25);
    At().EntraValor(L"d", L" -1e3 apples");
    EXPECT_EQ(At().TornaValorReal(L"d", 1.0), -1000.0);
    At().EntraValor(L"d", L"apples");
    EXPECT_EQ(At().TornaValorReal(L"d", 1.0), 0.0);
}

TEST_F(TCarpetaRegistryTest, TextEndsAtTheFirstNulWhateverTheType) {
    SetRaw(L"t", REG_SZ, Bytes({'a', 0, 'b', 0, 0, 0, 'c', 0, 0, 0}));
    EXPECT_EQ(At().TornaValorString(L"t", L""), L"ab");
    SetRaw(L"t", REG_BINARY, Bytes({'a', 0, 'b', 0}));
    EXPECT_EQ(At().TornaValorString(L"t", L""), L"ab");
    SetRaw(L"t", REG_BINARY, Bytes({'a', 0, 'b'}));
    EXPECT_EQ(At().TornaValorString(L"t", L"d"), L"a");
    SetRaw(L"t", REG_BINARY, "");
    CString text(L"old");
    EXPECT_EQ(At().TornaValor(L"t", text, L"d"), 0);
    EXPECT_EQ(text, L"");
}

TEST_F(TCarpetaRegistryTest, ALongTextComesBackWhole) {
    const std::wstring text(100000, L'x');
    EXPECT_EQ(At().EntraValor(L"t", text.c_str()), 0);
    EXPECT_EQ(At().TornaValorString(L"t", L"").GetString(), text);
}

TEST_F(TCarpetaRegistryTest, AListIsReadUpToItsEmptyString) {
    CMultiString list;
    SetRaw(L"m", REG_MULTI_SZ, Bytes({'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}));
    EXPECT_EQ(At().TornaValor(L"m", list, nullptr), 0);
    ASSERT_EQ(list.GetNumStr(), 2);
    EXPECT_STREQ(list[1], L"bc");
    EXPECT_EQ(list.GetMidaBuffer(), 6);
    // Data without NULs at the end, and with an odd byte.
    SetRaw(L"m", REG_BINARY, Bytes({'a', 0, 0, 0, 'b', 0, 'c'}));
    EXPECT_EQ(At().TornaValor(L"m", list, nullptr), 0);
    ASSERT_EQ(list.GetNumStr(), 2);
    EXPECT_STREQ(list[1], L"b");
    list += L"more";
    EXPECT_STREQ(list[2], L"more");
}

TEST_F(TCarpetaRegistryTest, RawBytesAreReadIntoTheCallersBuffer) {
    SetRaw(L"b", REG_BINARY, "12345");
    char buffer[8] = "-------";
    unsigned long size = sizeof buffer;
    EXPECT_EQ(At().TornaValor(L"b", buffer, size, nullptr), 0);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::string(buffer, 7), "12345--");
    size = 0;
    EXPECT_EQ(At().TornaValor(L"b", nullptr, size, nullptr), 0);
    EXPECT_EQ(size, 5u);
}

TEST_F(TCarpetaRegistryTest, ATooSmallBufferGetsTheDefaultAndTheNeededSize) {
    SetRaw(L"b", REG_BINARY, "12345");
    char buffer[8] = "-------";
    char def[] = "abcdefgh";
    unsigned long size = 3;
    EXPECT_EQ(At().TornaValor(L"b", buffer, size, def), 2500);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::string(buffer, 7), "abc----"); // not a byte more than the caller has room for
    size = 3;
    EXPECT_EQ(At().TornaValor(L"b", buffer, size, nullptr), 2500);
    EXPECT_EQ(std::string(buffer, 7), "abc----");
}

TEST_F(TCarpetaRegistryTest, AMissingRawValueCopiesAsMuchOfTheDefaultAsTheBufferHolds) {
    MakeFolder(L"");
    char buffer[8] = "-------";
    char def[] = "abcdefgh";
    unsigned long size = 4;
    EXPECT_EQ(At().TornaValor(L"x", buffer, size, def), 2500);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::string(buffer, 7), "abcd---");
    EXPECT_EQ(At(L"missing").TornaValor(L"x", nullptr, size, def), 2500);
}

TEST_F(TCarpetaRegistryTest, AMissingFolderCopiesAsMuchOfTheRawDefaultAsTheBufferHolds) {
    char buffer[8] = "-------";
    char def[] = "abcdefgh";
    unsigned long size = 4;
    EXPECT_EQ(At(L"missing").TornaValor(L"x", buffer, size, def), 2500);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::string(buffer, 7), "abcd---");
    EXPECT_FALSE(Exists(L"missing"));
}

TEST_F(TCarpetaRegistryTest, BinaryDataComeInANewBlock) {
    SetRaw(L"b", REG_BINARY, "12345");
    unsigned long size = 0;
    void* data = At().TornaValorBin(L"b", size);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(data), size), "12345");
    std::free(data);
    SetRaw(L"b", REG_BINARY, "");
    data = At().TornaValorBin(L"b", size);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(size, 0u);
    std::free(data);
    for (const DWORD type : {REG_SZ, REG_DWORD, REG_NONE}) {
        SetRaw(L"b", type, "1234");
        size = 9;
        EXPECT_EQ(At().TornaValorBin(L"b", size), nullptr);
        EXPECT_EQ(size, 0u);
    }
    EXPECT_EQ(At().TornaValorBin(L"missing", size), nullptr);
}

// ---- Paths

TEST_F(TCarpetaRegistryTest, APathWithADotLiesBelowTheBaseFolder) {
    TCarpetaRegistry::SetCarpetaBaseApp(L"Software\\Base");
    EXPECT_EQ(Folder(L".\\Settings").m_strCarpeta, L"Software\\Base\\Settings");
    EXPECT_EQ(Folder(L".Settings").m_strCarpeta, L"Software\\Base\\Settings");
    EXPECT_EQ(Folder(L".").m_strCarpeta, L"Software\\Base");
    EXPECT_EQ(Folder(nullptr).m_strCarpeta, L"Software\\Base");
    EXPECT_EQ(Folder(L"Other\\Path").m_strCarpeta, L"Other\\Path");
    EXPECT_EQ(Folder(L"").m_strCarpeta, L"");
    EXPECT_EQ(Folder(L"..\\x").m_strCarpeta, L"Software\\Base\\.\\x");
}

TEST_F(TCarpetaRegistryTest, TheBaseFolderIsTheApplicationsOwnUntilItIsSet) {
    EXPECT_EQ(TCarpetaRegistry::GetCarpetaBaseApp(), L"");
    TCarpetaRegistry::SetCarpetaBaseApp(L"Set");
    EXPECT_EQ(TCarpetaRegistry::GetCarpetaBaseApp(), L"Set");
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(nullptr), L"Set");
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(L""), L"Set");
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(L"a\\b"), L"Set\\a\\b");
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(L"\\a"), L"Set\\a");
    TCarpetaRegistry::SetCarpetaBaseApp(nullptr);
    // The title is string 57344 of the program.
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(L"x"),
              L"Software\\Mirvanet\\Tests of the configuration\\x");
}

namespace {

const wchar_t* g_title = nullptr; // what the program's title is, while it is not null

int WINAPI LoadStringOrTitle(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
    if (!g_title || id != 57344)
        return ::LoadStringW(module, id, buffer, size);
    const int length = std::min(static_cast<int>(std::wcslen(g_title)), size - 1);
    std::wmemcpy(buffer, g_title, static_cast<std::size_t>(length));
    buffer[length] = 0;
    return length;
}

} // namespace

TEST_F(TCarpetaRegistryTest, OfTheTitle256CharactersCount) {
    ASSERT_GT(PatchImport("mvlib62", {"LoadStringW", reinterpret_cast<void*>(&LoadStringOrTitle)}), 0);
    const std::wstring base = L"Software\\Mirvanet\\";
    for (const std::size_t size : {0, 1, 255, 256, 257, 1000}) {
        const std::wstring title(size, L't');
        g_title = title.c_str();
        EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(nullptr).GetString(), base + title.substr(0, 256));
    }
    g_title = nullptr;
}

TEST_F(TCarpetaRegistryTest, ARegistryKeyAndAProfileNameMakeTheBaseFolder) {
    CWinApp* app = AfxGetApp();
    ASSERT_NE(app, nullptr);
    const LPCTSTR key = app->m_pszRegistryKey;
    const LPCTSTR profile = app->m_pszProfileName;
    app->m_pszRegistryKey = L"Company";
    app->m_pszProfileName = nullptr;
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(nullptr),
              L"Software\\Mirvanet\\Tests of the configuration");
    app->m_pszProfileName = L"Editor";
    EXPECT_EQ(TCarpetaRegistry::ConstruirCarpetaApp(L"x"), L"Software\\Company\\Editor\\x");
    app->m_pszRegistryKey = key;
    app->m_pszProfileName = profile;
}

TEST_F(TCarpetaRegistryTest, ANewFolderHoldsNoKey) {
    const Folder folder(L"a", HKEY_LOCAL_MACHINE, 7);
    EXPECT_EQ(folder.m_hClauBase, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(folder.m_hClau, nullptr);
    EXPECT_EQ(folder.m_nObertures, 0);
    EXPECT_EQ(folder.m_nOpcions, 7);
    EXPECT_EQ(folder.m_sa.nLength, 12u);
    EXPECT_EQ(folder.m_sa.lpSecurityDescriptor, nullptr);
    EXPECT_NE(folder.m_sa.bInheritHandle, 0);
    EXPECT_EQ(Folder(L"a").m_hClauBase, HKEY_CURRENT_USER);
}

TEST_F(TCarpetaRegistryTest, SubFoldersTakeRootAndPathFromTheirParent) {
    Folder parent(L"a", HKEY_LOCAL_MACHINE, 7);
    const std::unique_ptr<TCarpetaRegistry> sub(parent.GetSubcarpeta(L"b\\c"));
    EXPECT_EQ((*sub).*(&Folder::m_strCarpeta), L"a\\b\\c");
    EXPECT_EQ((*sub).*(&Folder::m_hClauBase), HKEY_LOCAL_MACHINE);
    EXPECT_EQ((*sub).*(&Folder::m_nOpcions), 7);
    const Folder constructed(&parent, L"b");
    EXPECT_EQ(constructed.m_strCarpeta, L"a\\b");
    EXPECT_EQ(constructed.m_hClauBase, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(constructed.m_nOpcions, 0);
    EXPECT_EQ(Folder(&parent, nullptr).m_strCarpeta, L"a\\");
    EXPECT_EQ(parent.SetClauBase(HKEY_CURRENT_USER), 0);
    EXPECT_EQ(parent.m_hClauBase, HKEY_CURRENT_USER);
}

// ---- Opening

TEST_F(TCarpetaRegistryTest, NestedOpeningsShareOneHandle) {
    Folder folder = At();
    EXPECT_EQ(folder.Tancar(), 1);
    EXPECT_EQ(folder.Obrir(1), 1);
    const HKEY key = folder.m_hClau;
    EXPECT_EQ(folder.Obrir(2), 1);
    EXPECT_EQ(folder.m_hClau, key);
    EXPECT_EQ(folder.m_nObertures, 2);
    EXPECT_EQ(folder.Tancar(), 1);
    EXPECT_EQ(folder.m_hClau, key);
    EXPECT_EQ(folder.Tancar(), 1);
    EXPECT_EQ(folder.m_hClau, nullptr);
    EXPECT_EQ(folder.Tancar(), 1);
    EXPECT_EQ(folder.m_nObertures, 0);
}

TEST_F(TCarpetaRegistryTest, OnlyMode1MakesAMissingKey) {
    for (const unsigned long mode : {0UL, 2UL}) {
        ::SetLastError(0);
        EXPECT_EQ(At(L"a\\b").Obrir(mode), 0);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    }
    EXPECT_EQ(At(L"a\\b").Obrir(1), 1);
    EXPECT_TRUE(Exists(L"a\\b"));
    EXPECT_EQ(At(L"c").Obrir(3), 1);
    EXPECT_TRUE(Exists(L"c"));
    EXPECT_EQ(At(L"a\\b").Obrir(0), 1);
}

TEST_F(TCarpetaRegistryTest, TheFirstOpeningsModeStaysInForce) {
    MakeFolder(L"");
    Folder folder = At();
    EXPECT_EQ(folder.Obrir(2), 1);
    EXPECT_EQ(folder.EntraValor(L"v", 1), -2503);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(folder.m_nObertures, 1);
    folder.Tancar();
    EXPECT_EQ(folder.EntraValor(L"v", 1), 0);
}

TEST_F(TCarpetaRegistryTest, AKeyMadeByMode3MayBeWrittenAndOneThatWasThereMayNot) {
    Folder made = At(L"c");
    EXPECT_EQ(made.Obrir(3), 1);
    EXPECT_EQ(made.EntraValor(L"v", 1), 0);
    made.Tancar();
    EXPECT_EQ(made.Obrir(3), 1);
    EXPECT_EQ(made.EntraValor(L"v", 2), -2503);
    EXPECT_EQ(made.TornaValorInt(L"v", 0), 1);
}

TEST_F(TCarpetaRegistryTest, AFolderThatCannotBeOpenedGivesMinus2500) {
    const Folder parent(L"x", reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x1234)));
    Folder folder = parent;
    EXPECT_EQ(folder.Obrir(1), 0);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(folder.EntraValor(L"v", L"x"), -2500);
    EXPECT_EQ(folder.EntraValor(L"v", 1), -2500);
    EXPECT_EQ(folder.EntraValor(L"v", 1.0), -2500);
    EXPECT_EQ(folder.EntraValor(L"v", CMultiString()), -2500);
    EXPECT_EQ(folder.EntraValor(L"v", nullptr, 0), -2500);
    EXPECT_EQ(folder.BorrarValor(L"v"), 0);
}

TEST_F(TCarpetaRegistryTest, CopiesShareTheOpenKey) {
    Folder folder = At();
    folder.Obrir(1);
    {
        Folder copy = folder;
        EXPECT_EQ(copy.m_hClau, folder.m_hClau);
        EXPECT_EQ(copy.m_nObertures, 1);
        EXPECT_EQ(copy.EntraValor(L"v", 1), 0);
    }
    // The copy closed it.
    EXPECT_EQ(folder.EntraValor(L"v", 2), -2503);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    folder.Tancar();
    EXPECT_EQ(folder.EntraValor(L"v", 2), 0);
    EXPECT_EQ(folder.TornaValorInt(L"v", 0), 2);
}

TEST_F(TCarpetaRegistryTest, TheDestructorClosesHoweverOftenItIsOpen) {
    Folder copy(L"");
    {
        Folder folder = At();
        folder.Obrir(1);
        folder.Obrir(1);
        copy = folder;
    }
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(copy.m_hClau, L"", 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
}

namespace {

/// Counts the calls of the virtual operations.
class Counting : public TCarpetaRegistry {
public:
    using TCarpetaRegistry::TCarpetaRegistry;
    int Obrir(unsigned long mode) override {
        ++opened;
        lastMode = mode;
        return TCarpetaRegistry::Obrir(mode);
    }
    int Tancar() override {
        ++closed;
        return TCarpetaRegistry::Tancar();
    }
    int opened = 0;
    int closed = 0;
    unsigned long lastMode = 99;
};

int __stdcall IgnoreValue(TCarpetaRegistry*, const wchar_t*, unsigned long, long) {
    return 0;
}
int __stdcall IgnoreFolder(TCarpetaRegistry*, const wchar_t*, long) {
    return 0;
}

} // namespace

TEST_F(TCarpetaRegistryTest, EveryOperationOpensInItsModeAndCloses) {
    Counting folder(Root);
    CString text;
    CMultiString list;
    unsigned long size = 0;
    const auto expect = [&](unsigned long mode, int line) {
        EXPECT_EQ(folder.lastMode, mode) << line;
        EXPECT_EQ(folder.opened, 1) << line;
        EXPECT_EQ(folder.closed, 1) << line;
        folder.opened = folder.closed = 0;
        folder.lastMode = 99;
    };
    folder.EntraValor(L"v", 1);
    expect(1, __LINE__);
    folder.TornaValorInt(L"v", 0);
    expect(2, __LINE__);
    folder.TornaValor(L"v", text, nullptr);
    expect(2, __LINE__);
    folder.TornaValor(L"v", list, nullptr); // kept: full access
    expect(0, __LINE__);
    folder.TornaValor(L"v", nullptr, size, nullptr);
    expect(2, __LINE__);
    folder.TornaValorBin(L"v", size);
    expect(2, __LINE__);
    folder.GetNomValorIndex(0, text);
    expect(2, __LINE__);
    folder.GetNomCarpetaIndex(0, text);
    expect(2, __LINE__);
    folder.EnumValors(IgnoreValue, 0, 3);
    expect(3, __LINE__);
    folder.EnumSubcarpetes(IgnoreFolder, 0, 2);
    expect(2, __LINE__);
    folder.BorrarValor(L"v");
    expect(0, __LINE__);
}

// ---- Deleting values

TEST_F(TCarpetaRegistryTest, AValueIsDeletedByItsNameInAnyCase) {
    At().EntraValor(L"Name", 1);
    At().EntraValor(L"other", 1);
    EXPECT_EQ(At().BorrarValor(L"NAME"), 0);
    EXPECT_EQ(ValueNames(), Names{L"other"});
}

// Kept: applications see the folder open one level deeper.
TEST_F(TCarpetaRegistryTest, AMissingValueGivesMinus2504AndLeavesTheFolderOpen) {
    MakeFolder(L"");
    Folder folder = At();
    EXPECT_EQ(folder.BorrarValor(L"missing"), -2504);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(folder.m_nObertures, 1);
    EXPECT_EQ(folder.BorrarValor(L"missing"), -2504);
    EXPECT_EQ(folder.m_nObertures, 2);
    folder.Tancar();
    folder.Tancar();
    EXPECT_EQ(folder.m_hClau, nullptr);
}

TEST_F(TCarpetaRegistryTest, DeletingAValueOfAMissingFolderGives0) {
    EXPECT_EQ(At().BorrarValor(L"v"), 0);
    EXPECT_EQ(At().BorrarValor(TCarpetaRegistry::TotsElsValors()), 0);
    EXPECT_FALSE(Exists());
}

TEST_F(TCarpetaRegistryTest, AllValuesAreDeletedWhereEachNameIsShorterThanTheOneBefore) {
    for (const wchar_t* name : {L"aaa", L"bb", L"c"})
        At().EntraValor(name, 1);
    MakeFolder(L"sub");
    Folder folder = At();
    EXPECT_EQ(folder.BorrarValor(TCarpetaRegistry::TotsElsValors()), 0);
    EXPECT_EQ(folder.m_hClau, nullptr);
    EXPECT_EQ(ValueNames(), Names{});
    EXPECT_EQ(FolderNames(), Names{L"sub"});
}

// Kept: the size of the name buffer is not set anew.
TEST_F(TCarpetaRegistryTest, DeletingAllValuesMissesNamesThatAreNotShorterThanTheOneBefore) {
    for (const wchar_t* name : {L"aa", L"bbbb", L"c", L"ddd", L"e"})
        At().EntraValor(name, 1);
    ASSERT_EQ(ValueNames(), (Names{L"aa", L"bbbb", L"c", L"ddd", L"e"}));
    EXPECT_EQ(At().BorrarValor(TCarpetaRegistry::TotsElsValors()), 0);
    EXPECT_EQ(ValueNames(), (Names{L"bbbb", L"ddd", L"e"}));
}

// Kept: the list of names cannot hold the empty one.
TEST_F(TCarpetaRegistryTest, DeletingAllValuesMissesTheUnnamedOne) {
    At().EntraValor(L"", 1);
    EXPECT_EQ(At().BorrarValor(TCarpetaRegistry::TotsElsValors()), 0);
    EXPECT_EQ(ValueNames(), Names{L""});
}

// ---- Names and walks

TEST_F(TCarpetaRegistryTest, NamesAreFoundByTheirIndex) {
    At().EntraValor(L"one", 1);
    At().EntraValor(L"two", 1);
    MakeFolder(L"y");
    MakeFolder(L"x");
    EXPECT_EQ(ValueNames(), (Names{L"one", L"two"}));
    EXPECT_EQ(FolderNames(), (Names{L"x", L"y"}));
    CString name(L"old");
    EXPECT_EQ(At().GetNomValorIndex(2, name), 0);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
    EXPECT_EQ(At(L"missing").GetNomValorIndex(0, name), 0);
    EXPECT_EQ(At(L"missing").GetNomCarpetaIndex(0, name), 0);
    EXPECT_EQ(name, L"old");
}

TEST_F(TCarpetaRegistryTest, NamesOfUpTo1024CharactersAreFound) {
    const std::wstring longest(1024, L'n');
    At().EntraValor(longest.c_str(), 1);
    EXPECT_EQ(ValueNames(), Names{longest});
    Remove();
    At().EntraValor((longest + L'n').c_str(), 1);
    EXPECT_EQ(ValueNames(), Names{});
}

namespace {

struct Walk {
    std::vector<std::pair<std::wstring, unsigned long>> values;
    std::vector<std::wstring> folders;
    int result = 0;
    int stopAt = -1;
};

int __stdcall CollectValue(TCarpetaRegistry* folder, const wchar_t* name, unsigned long type, long user) {
    auto* walk = reinterpret_cast<Walk*>(user);
    EXPECT_NE(folder, nullptr);
    walk->values.emplace_back(name, type);
    return static_cast<int>(walk->values.size()) == walk->stopAt ? -7 : walk->result++;
}

int __stdcall CollectFolder(TCarpetaRegistry* folder, const wchar_t* name, long user) {
    auto* walk = reinterpret_cast<Walk*>(user);
    EXPECT_NE(folder, nullptr);
    walk->folders.emplace_back(name);
    return static_cast<int>(walk->folders.size()) == walk->stopAt ? -7 : walk->result++;
}

} // namespace

TEST_F(TCarpetaRegistryTest, WalksDeliverEachValueWithItsTypeAndEachFolder) {
    At().EntraValor(L"a", L"text");
    At().EntraValor(L"b", 1);
    MakeFolder(L"x");
    MakeFolder(L"y");
    Walk walk;
    Folder folder = At();
    EXPECT_EQ(folder.EnumValors(CollectValue, reinterpret_cast<long>(&walk), 2), 1);
    ASSERT_EQ(walk.values.size(), 2u);
    EXPECT_EQ(walk.values[0], std::make_pair(std::wstring(L"a"), static_cast<unsigned long>(REG_SZ)));
    EXPECT_EQ(walk.values[1], std::make_pair(std::wstring(L"b"), static_cast<unsigned long>(REG_DWORD)));
    EXPECT_EQ(folder.EnumSubcarpetes(CollectFolder, reinterpret_cast<long>(&walk), 2), 3);
    EXPECT_EQ(walk.folders, (Names{L"x", L"y"}));
    EXPECT_EQ(folder.m_hClau, nullptr);
}

TEST_F(TCarpetaRegistryTest, ANegativeResultStopsAWalk) {
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        At().EntraValor(name, 1);
        MakeFolder(name);
    }
    Walk walk;
    walk.stopAt = 2;
    Folder folder = At();
    EXPECT_EQ(folder.EnumValors(CollectValue, reinterpret_cast<long>(&walk), 2), -7);
    EXPECT_EQ(walk.values.size(), 2u);
    EXPECT_EQ(folder.EnumSubcarpetes(CollectFolder, reinterpret_cast<long>(&walk), 2), -7);
    EXPECT_EQ(walk.folders.size(), 2u);
    EXPECT_EQ(folder.m_hClau, nullptr);
}

TEST_F(TCarpetaRegistryTest, AWalkOverNothingGives0AndMayMakeTheFolder) {
    Walk walk;
    EXPECT_EQ(At().EnumValors(CollectValue, reinterpret_cast<long>(&walk), 2), 0);
    EXPECT_EQ(At().EnumSubcarpetes(CollectFolder, reinterpret_cast<long>(&walk), 0), 0);
    EXPECT_FALSE(Exists());
    EXPECT_EQ(At().EnumSubcarpetes(CollectFolder, reinterpret_cast<long>(&walk), 1), 0);
    EXPECT_TRUE(Exists());
}

TEST_F(TCarpetaRegistryTest, AWalkLeavesOutNamesOfMoreThan512Characters) {
    const std::wstring longest(512, L'b');
    At().EntraValor(L"a", 1);
    At().EntraValor((longest + L'b').c_str(), 1);
    At().EntraValor((L"c" + longest.substr(1)).c_str(), 1);
    Walk walk;
    At().EnumValors(CollectValue, reinterpret_cast<long>(&walk), 2);
    ASSERT_EQ(walk.values.size(), 2u);
    EXPECT_EQ(walk.values[1].first, L"c" + longest.substr(1));
}

namespace {

int __stdcall ThrowFromWalk(TCarpetaRegistry*, const wchar_t*, unsigned long, long) {
    throw 7;
}

} // namespace

TEST_F(TCarpetaRegistryTest, AnExceptionOfTheCallbackLeavesTheFolderClosed) {
    At().EntraValor(L"a", 1);
    Folder folder = At();
    EXPECT_THROW(folder.EnumValors(ThrowFromWalk, 0, 2), int);
    EXPECT_EQ(folder.m_hClau, nullptr);
}

// ---- Whole folders

TEST_F(TCarpetaRegistryTest, DeletingAFolderRemovesEverythingBelow) {
    for (const wchar_t* folder : {L"f", L"f\\a", L"f\\a\\b", L"f\\c"}) {
        for (const wchar_t* name : {L"", L"x", L"longer name"})
            At(folder).EntraValor(name, 1);
    }
    EXPECT_EQ(At(L"f").BorrarCarpeta(nullptr), 0);
    EXPECT_FALSE(Exists(L"f"));
    EXPECT_TRUE(Exists());
    MakeFolder(L"g\\h\\i");
    EXPECT_EQ(At(L"g").BorrarCarpeta(L"h"), 0);
    EXPECT_EQ(FolderNames(), Names{L"g"});
    EXPECT_EQ(FolderNames(L"g"), Names{});
}

TEST_F(TCarpetaRegistryTest, DeletingAMissingFolderGivesMinus2505) {
    MakeFolder(L"");
    EXPECT_EQ(At().BorrarCarpeta(L"missing"), -2505);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(At(L"missing").BorrarCarpeta(nullptr), -2505);
}

TEST_F(TCarpetaRegistryTest, AValueThatCannotBeDeletedEndsTheDeletingOfItsFolder) {
    At().EntraValor(L"v", 1);
    Folder folder = At();
    folder.Obrir(2);
    EXPECT_EQ(folder.BorrarCarpeta(nullptr), -2504);
    EXPECT_TRUE(Exists());
}

namespace {

/// A folder that refuses to be opened for writing.
class ReadOnlyFolder : public TCarpetaRegistry {
public:
    using TCarpetaRegistry::TCarpetaRegistry;
    int Obrir(unsigned long mode) override { return (mode & 2) != 0 ? TCarpetaRegistry::Obrir(mode) : 0; }
};

} // namespace

TEST_F(TCarpetaRegistryTest, AFolderThatMayOnlyBeReadIsNotDeletedForEver) {
    At().EntraValor(L"v", 1);
    ReadOnlyFolder folder(Root);
    EXPECT_EQ(folder.BorrarCarpeta(nullptr), -2500);
    EXPECT_TRUE(Exists());
}

// Kept: a list is read with full access.
TEST_F(TCarpetaRegistryTest, AListIsNotReadFromAFolderThatMayOnlyBeRead) {
    At().EntraValor(L"m", CMultiString(L"abcd\0"));
    ReadOnlyFolder folder(Root);
    CMultiString list;
    EXPECT_EQ(folder.TornaValor(L"m", list, L"default\0"), 2500);
    ASSERT_EQ(list.GetNumStr(), 1);
    EXPECT_STREQ(list[0], L"default");
    EXPECT_EQ(folder.TornaValorString(L"m", L""), L"abc") << "other reads go";
    EXPECT_EQ(folder.BorrarValor(L"m"), 0) << "and nothing is deleted";
    EXPECT_EQ(ValueNames(), Names{L"m"});
}

TEST_F(TCarpetaRegistryTest, AnOpenFolderIsDeleted) {
    At(L"f\\a").EntraValor(L"v", 1);
    Folder folder = At(L"f");
    folder.Obrir(1);
    EXPECT_EQ(folder.BorrarCarpeta(nullptr), 0);
    EXPECT_FALSE(Exists(L"f"));
    EXPECT_EQ(folder.m_nObertures, 1);
    EXPECT_EQ(folder.EntraValor(L"v", 1), -2503);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_KEY_DELETED));
    folder.Tancar();
    EXPECT_EQ(folder.EntraValor(L"v", 1), 0) << "made anew";
}

TEST_F(TCarpetaRegistryTest, CopyingAFolderTakesValuesTypesAndSubfolders) {
    SetRaw(L"", REG_SZ, Bytes({'u', 0, 0, 0}), L"from\\f");
    SetRaw(L"text", REG_EXPAND_SZ, Bytes({'t', 0, 0, 0}), L"from\\f");
    SetRaw(L"empty", REG_BINARY, "", L"from\\f");
    SetRaw(L"no end", REG_SZ, Bytes({'n', 0}), L"from\\f");
    SetRaw(L"odd", 12345, "123", L"from\\f\\a\\b");
    MakeFolder(L"from\\f\\c");
    SetRaw(L"text", REG_DWORD, One, L"to\\f");
    SetRaw(L"kept", REG_DWORD, One, L"to\\f");
    Folder to = At(L"to");
    EXPECT_EQ(At(L"from").CopiarCarpeta(L"f", &to), 1);
    EXPECT_EQ(Raw(L"", L"to\\f"), (Stored{0, REG_SZ, Bytes({'u', 0, 0, 0})}));
    EXPECT_EQ(Raw(L"text", L"to\\f"), (Stored{0, REG_EXPAND_SZ, Bytes({'t', 0, 0, 0})}));
    EXPECT_EQ(Raw(L"empty", L"to\\f"), (Stored{0, REG_BINARY, ""}));
    EXPECT_EQ(Raw(L"no end", L"to\\f"), (Stored{0, REG_SZ, Bytes({'n', 0})}));
    EXPECT_EQ(Raw(L"kept", L"to\\f"), (Stored{0, REG_DWORD, One}));
    EXPECT_EQ(Raw(L"odd", L"to\\f\\a\\b"), (Stored{0, 12345, "123"}));
    EXPECT_EQ(FolderNames(L"to\\f"), (Names{L"a", L"c"}));
    EXPECT_EQ(to.m_hClau, nullptr);
    EXPECT_EQ(FolderNames(L"from\\f"), (Names{L"a", L"c"}));
}

// Kept: the source need not be there.
TEST_F(TCarpetaRegistryTest, CopyingAMissingFolderMakesAnEmptyOne) {
    Folder to = At(L"to");
    EXPECT_EQ(At(L"from").CopiarCarpeta(L"f", &to), 1);
    EXPECT_TRUE(Exists(L"to\\f"));
    EXPECT_FALSE(Exists(L"from"));
    EXPECT_EQ(At().CopiarCarpeta(L"f", nullptr), 0);
}

TEST_F(TCarpetaRegistryTest, CopyingWhereNothingCanBeWrittenGives0) {
    At(L"f").EntraValor(L"v", 1);
    Folder nowhere(L"x", reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x1234)));
    EXPECT_EQ(At().CopiarCarpeta(L"f", &nowhere), 0);
}

TEST_F(TCarpetaRegistryTest, CopyingAFolderIntoItselfEnds) {
    At(L"f").EntraValor(L"v", 1);
    At(L"f\\a").EntraValor(L"w", 2);
    Folder inside = At(L"f");
    EXPECT_EQ(At().CopiarCarpeta(L"f", &inside), 1);
    EXPECT_EQ(FolderNames(L"f"), (Names{L"a", L"f"}));
    EXPECT_EQ(FolderNames(L"f\\f"), Names{L"a"});
    EXPECT_EQ(Raw(L"w", L"f\\f\\a"), (Stored{0, REG_DWORD, Bytes({2, 0, 0, 0})}));
    Folder same = At();
    EXPECT_EQ(At().CopiarCarpeta(L"f", &same), 1);
    EXPECT_EQ(FolderNames(L"f"), (Names{L"a", L"f"}));
}

// ---- Memory

TEST_F(TCarpetaRegistryTest, ReadsWithoutMemoryGiveTheDefault) {
    At().EntraValor(L"b", const_cast<char*>("12345"), 5);
    At().EntraValor(L"t", L"some text");
    Folder folder = At();
    const int failures = FailEachAllocation([&] {
        unsigned long size = 9;
        void* data = folder.TornaValorBin(L"b", size);
        EXPECT_EQ(size, data ? 5u : 0u);
        std::free(data);
        EXPECT_EQ(folder.m_hClau, nullptr);
    });
    EXPECT_GE(failures, 1);
}
