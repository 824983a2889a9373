// Sizes, offsets and the order of virtual operations, which client code compiled against the headers relies
// on. The numbers are those of 32-bit Windows.
#include "CFileBuffer.h"
#include "CFileMapping.h"
#include "TSerializer.h"

#include "layout.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

void ExpectRising(const std::vector<std::ptrdiff_t>& values) {
    for (std::size_t i = 1; i < values.size(); ++i)
        EXPECT_LT(values[i - 1], values[i]) << i;
}

struct FileFields : CFileBuffer {
    using CFileBuffer::CFileBuffer;
    std::vector<std::ptrdiff_t> Offsets() const {
        return {
            Offset(*this, m_nFlags),        Offset(*this, m_pBuffer),         Offset(*this, m_nMidaBuffer),
            Offset(*this, m_qwIniciBuffer), Offset(*this, m_qwPosicio),       Offset(*this, m_nDadesBuffer),
            Offset(*this, m_bModificat),    Offset(*this, m_nIniciModificat), Offset(*this, m_nFiModificat)};
    }
};

struct SerializerFields : TSerializer {
    using TSerializer::TSerializer;
    std::vector<std::ptrdiff_t> Offsets() const {
        return {Offset(*this, m_pFile),     Offset(*this, m_capcalera),        Offset(*this, m_bPendent),
                Offset(*this, m_dwLlegits), Offset(*this, m_qwLongitudFitxer), Offset(*this, m_helpers)};
    }
};

} // namespace

TEST(PersistLayout, RecordHeaderIsTenPackedBytes) {
    EXPECT_EQ(sizeof(SER_RECORDHEADER), 10u);
    EXPECT_EQ(offsetof(SER_RECORDHEADER, dwId), 0u);
    EXPECT_EQ(offsetof(SER_RECORDHEADER, dwLongitud), 4u);
    EXPECT_EQ(offsetof(SER_RECORDHEADER, nNivell), 8u);
}

TEST(PersistLayout, BufferedFileHoldsItsFieldsBehindTheFile) {
    const TempFolder folder;
    const FileFields file(folder.Write(L"file.bin", "").c_str(), CFile::modeRead, 16);
    const std::vector<std::ptrdiff_t> offsets = file.Offsets();
    ExpectRising(offsets);
    EXPECT_EQ(offsets[0], static_cast<std::ptrdiff_t>(sizeof(CFile)));
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(sizeof(CFile), 16u);
        EXPECT_EQ(offsets, (std::vector<std::ptrdiff_t>{16, 20, 24, 32, 40, 48, 52, 56, 60}));
        EXPECT_EQ(sizeof(CFileBuffer), 64u);
    }
}

TEST(PersistLayout, BufferedFileOverridesInTheFrameworksOrder) {
    ExpectRising({Slot(&CFileBuffer::GetRuntimeClass), Slot(&CFileBuffer::GetPosition),
                  Slot(&CFileBuffer::SetFilePath), Slot(&CFileBuffer::Open), Slot(&CFileBuffer::Seek),
                  Slot(&CFileBuffer::SetLength), Slot(&CFileBuffer::GetLength), Slot(&CFileBuffer::Read),
                  Slot(&CFileBuffer::Write), Slot(&CFileBuffer::LockRange), Slot(&CFileBuffer::UnlockRange),
                  Slot(&CFileBuffer::Flush), Slot(&CFileBuffer::Close), Slot(&CFileBuffer::GetBufferPtr)});
    EXPECT_EQ(Slot(&CFileBuffer::Read), Slot(&CFile::Read));
    EXPECT_EQ(Slot(&CFileBuffer::GetBufferPtr), Slot(&CFile::GetBufferPtr));
}

TEST(PersistLayout, MappingHoldsItsFieldsInOrder) {
    CFileMapping mapping(nullptr);
    const std::vector<std::ptrdiff_t> offsets = {
        Offset(mapping, mapping.m_hFile),     Offset(mapping, mapping.m_dwGranularitat),
        Offset(mapping, mapping.m_dwProtect), Offset(mapping, mapping.m_qwMida),
        Offset(mapping, mapping.m_strNom),    Offset(mapping, mapping.m_hMapping)};
    ExpectRising(offsets);
    EXPECT_EQ(offsets[0], static_cast<std::ptrdiff_t>(sizeof(CObject)));
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(offsets, (std::vector<std::ptrdiff_t>{4, 8, 12, 16, 24, 28}));
        EXPECT_EQ(sizeof(CFileMapping), 32u);
    }
}

TEST(PersistLayout, ViewHoldsItsFieldsInOrder) {
    CMapViewOfFile view(nullptr);
    const std::vector<std::ptrdiff_t> offsets = {
        Offset(view, view.m_pMapping),      Offset(view, view.m_pDades),     Offset(view, view.m_dwMida),
        Offset(view, view.m_qwOffset),      Offset(view, view.m_dwAccess),   Offset(view, view.m_pVista),
        Offset(view, view.m_qwOffsetVista), Offset(view, view.m_dwMidaVista)};
    ExpectRising(offsets);
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(offsets, (std::vector<std::ptrdiff_t>{4, 8, 12, 16, 24, 28, 32, 40}));
        EXPECT_EQ(sizeof(CMapViewOfFile), 48u);
    }
}

TEST(PersistLayout, SerializerHoldsItsFieldsInOrder) {
    CMemFile file;
    const std::vector<std::ptrdiff_t> offsets = SerializerFields(&file).Offsets();
    ExpectRising(offsets);
    EXPECT_EQ(offsets[0],
              static_cast<std::ptrdiff_t>(sizeof(void*))); // its one virtual operation is the destructor
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(offsets, (std::vector<std::ptrdiff_t>{4, 8, 20, 24, 32, 40}));
        EXPECT_EQ(sizeof(TSerializer), 72u);
    }
}
