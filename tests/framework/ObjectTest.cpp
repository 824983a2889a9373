// Run-time classes, exceptions, diagnostics.
#include "debug_capture.h"
#include "message_capture.h"
#include "temp_folder.h"

#include <afxwin.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

class CShape : public CObject {
    DECLARE_DYNCREATE(CShape)
};
IMPLEMENT_DYNCREATE(CShape, CObject)

class CSquare : public CShape {
    DECLARE_DYNAMIC(CSquare)
public:
    explicit CSquare(int side)
        : m_side(side) {}
    int m_side;
};
IMPLEMENT_DYNAMIC(CSquare, CShape)

// An exception of an application.
class CQuotaException : public CException {
    DECLARE_DYNAMIC(CQuotaException)
public:
    using CException::GetErrorMessage;
    BOOL GetErrorMessage(LPTSTR text, UINT size, PUINT help = nullptr) const override {
        if (help != nullptr) {
            *help = 42;
        }
        wcsncpy_s(text, size, L"The quota is used up.", _TRUNCATE);
        return TRUE;
    }
};
IMPLEMENT_DYNAMIC(CQuotaException, CException)

std::wstring TextOf(const CException& exception) {
    WCHAR text[256] = L"untouched";
    UINT help = 99;
    EXPECT_TRUE(exception.GetErrorMessage(text, 256, &help));
    return text;
}

// Runs a throwing function and hands the exception to a check.
template <class Exception, class Operation, class Check>
void ExpectThrow(Operation operation, Check check) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (Exception* e) {
        check(e);
        if (auto* exception = dynamic_cast<CException*>(e)) {
            exception->Delete();
        }
    }
}

} // namespace

// ---- Run-time classes

TEST(RuntimeClassTest, ExampleUsage) {
    CSquare square(3);
    CObject* object = &square;
    EXPECT_STREQ("CSquare", object->GetRuntimeClass()->m_lpszClassName);
    EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CShape)));
    EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(object->IsKindOf(RUNTIME_CLASS(CFile)));
    EXPECT_EQ(&square, DYNAMIC_DOWNCAST(CSquare, object));
    EXPECT_EQ(nullptr, DYNAMIC_DOWNCAST(CFile, object));
    EXPECT_EQ(nullptr, DYNAMIC_DOWNCAST(CFile, nullptr));
}

TEST(RuntimeClassTest, WindowObjectStandsForNoWindowAtFirst) {
    CWnd window;
    EXPECT_EQ(nullptr, window.GetSafeHwnd());
    int anything = 0;
    window.m_hWnd = reinterpret_cast<HWND>(&anything);
    EXPECT_EQ(reinterpret_cast<HWND>(&anything), window.GetSafeHwnd());
    EXPECT_TRUE(window.IsKindOf(RUNTIME_CLASS(CCmdTarget)));
    window.m_hWnd = nullptr;
}

TEST(RuntimeClassTest, RecordsTellSizeAndBase) {
    const CRuntimeClass* record = RUNTIME_CLASS(CSquare);
    EXPECT_EQ(static_cast<int>(sizeof(CSquare)), record->m_nObjectSize);
    EXPECT_EQ(0xFFFFu, record->m_wSchema);
    EXPECT_EQ(RUNTIME_CLASS(CShape), record->m_pfnGetBaseClass());
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CObject)->m_pfnGetBaseClass);
    EXPECT_TRUE(record->IsDerivedFrom(RUNTIME_CLASS(CShape)));
    EXPECT_FALSE(RUNTIME_CLASS(CShape)->IsDerivedFrom(record));
    EXPECT_FALSE(CSquare(1).IsSerializable());
}

TEST(RuntimeClassTest, OnlyCreatableClassesCreateObjects) {
    CObject* shape = RUNTIME_CLASS(CShape)->CreateObject();
    ASSERT_NE(nullptr, shape);
    EXPECT_EQ(RUNTIME_CLASS(CShape), shape->GetRuntimeClass());
    delete shape;
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CSquare)->CreateObject());
}

TEST(RuntimeClassTest, ClassNamesOfTheFramework) {
    EXPECT_STREQ("CFileException", RUNTIME_CLASS(CFileException)->m_lpszClassName);
    EXPECT_EQ(RUNTIME_CLASS(CException), RUNTIME_CLASS(CFileException)->m_pfnGetBaseClass());
    EXPECT_TRUE(RUNTIME_CLASS(CMemoryException)->IsDerivedFrom(RUNTIME_CLASS(CException)));
    EXPECT_TRUE(RUNTIME_CLASS(CMemFile)->IsDerivedFrom(RUNTIME_CLASS(CFile)));
    EXPECT_TRUE(RUNTIME_CLASS(CWinApp)->IsDerivedFrom(RUNTIME_CLASS(CCmdTarget)));
}

// ---- Exceptions

TEST(ExceptionTest, ExampleUsage) {
    try {
        AfxThrowFileException(CFileException::fileNotFound, 2, L"a.dat");
        FAIL();
    } catch (CFileException* e) {
        EXPECT_EQ(CFileException::fileNotFound, e->m_cause);
        EXPECT_EQ(2, e->m_lOsError);
        EXPECT_TRUE(e->m_strFileName == L"a.dat");
        EXPECT_EQ(L"The file a.dat was not found.", TextOf(*e));
        e->Delete();
    }
}

TEST(ExceptionTest, IsCaughtByItsBaseAcrossModules) {
    ExpectThrow<CException>([] { AfxThrowMemoryException(); },
                            [](CException* e) { EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CMemoryException))); });
    ExpectThrow<CException>([] { AfxThrowOleException(E_FAIL); },
                            [](CException* e) { EXPECT_NE(nullptr, dynamic_cast<COleException*>(e)); });
    ExpectThrow<CSimpleException>([] { AfxThrowInvalidArgException(); }, [](CSimpleException*) {});
    ExpectThrow<CObject>([] { AfxThrowNotSupportedException(); },
                         [](CObject* e) { EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CNotSupportedException))); });
}

TEST(ExceptionTest, FixedTexts) {
    ExpectThrow<CMemoryException>([] { AfxThrowMemoryException(); },
                                  [](auto* e) { EXPECT_EQ(L"There is not enough memory.", TextOf(*e)); });
    ExpectThrow<CNotSupportedException>(
        [] { AfxThrowNotSupportedException(); },
        [](auto* e) { EXPECT_EQ(L"This operation is not supported.", TextOf(*e)); });
    ExpectThrow<CInvalidArgException>(
        [] { AfxThrowInvalidArgException(); },
        [](auto* e) { EXPECT_EQ(L"The program passed an invalid argument.", TextOf(*e)); });
    ExpectThrow<CUserException>(
        [] { AfxThrowUserException(); },
        [](auto* e) { EXPECT_EQ(L"The operation was ended by the user.", TextOf(*e)); });
    ExpectThrow<CResourceException>(
        [] { AfxThrowResourceException(); },
        [](auto* e) { EXPECT_EQ(L"A system resource could not be loaded or created.", TextOf(*e)); });
}

TEST(ExceptionTest, MemoryExceptionIsOneObjectThatDeleteLeavesAlone) {
    CMemoryException* first = nullptr;
    ExpectThrow<CMemoryException>([] { AfxThrowMemoryException(); }, [&](auto* e) { first = e; });
    ExpectThrow<CMemoryException>([] { AfxThrowMemoryException(); }, [&](auto* e) { EXPECT_EQ(first, e); });
    EXPECT_EQ(FALSE, first->m_bAutoDelete);
}

TEST(ExceptionTest, BothMessageFormsGiveTheSameText) {
    CQuotaException exception;
    WCHAR a[64], b[64];
    EXPECT_TRUE(static_cast<CException&>(exception).GetErrorMessage(a, 64));
    EXPECT_TRUE(static_cast<const CException&>(exception).GetErrorMessage(b, 64));
    EXPECT_STREQ(L"The quota is used up.", a);
    EXPECT_STREQ(a, b);
}

TEST(ExceptionTest, MessageIsCutToTheBuffer) {
    CFileException exception(CFileException::fileNotFound, 2, L"name");
    WCHAR text[9] = L"--------";
    EXPECT_TRUE(exception.GetErrorMessage(text, 4));
    EXPECT_STREQ(L"The", text);
    EXPECT_TRUE(exception.GetErrorMessage(text, 1));
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(L'-', text[5]);
    EXPECT_FALSE(exception.GetErrorMessage(text, 0));
    EXPECT_FALSE(exception.GetErrorMessage(nullptr, 10));
}

TEST(ExceptionTest, BareExceptionHasNoText) {
    CException exception(FALSE);
    WCHAR text[16] = L"x";
    UINT help = 7;
    EXPECT_FALSE(exception.GetErrorMessage(text, 16, &help));
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(0u, help);
    exception.Delete();
}

TEST(ExceptionTest, ReportsItselfInAMessageBox) {
    MessageCapture boxes(IDRETRY);
    CQuotaException quota;
    EXPECT_EQ(IDRETRY, quota.ReportError(MB_ICONERROR));
    CException bare;
    EXPECT_EQ(IDRETRY, bare.ReportError(MB_OK));
    EXPECT_EQ(IDRETRY, CFileException(CFileException::diskFull, 112, L"f").ReportError());
    ASSERT_EQ(3u, boxes.Count());
    EXPECT_EQ(L"The quota is used up.", boxes[0].text);
    EXPECT_EQ(static_cast<UINT>(MB_ICONERROR), boxes[0].style);
    EXPECT_EQ(42u, boxes[0].help);
    EXPECT_EQ(L"Nothing more is known about the error.", boxes[1].text);
    EXPECT_EQ(L"There is not enough room on the disk for the file f.", boxes[2].text);
}

TEST(ExceptionTest, FileCausesOfSystemErrors) {
    struct {
        LONG error;
        int cause;
    } cases[] = {{0, CFileException::none},
                 {2, CFileException::fileNotFound},
                 {3, CFileException::badPath},
                 {4, CFileException::tooManyOpenFiles},
                 {5, CFileException::accessDenied},
                 {6, CFileException::fileNotFound},
                 {11, CFileException::invalidFile},
                 {16, CFileException::removeCurrentDir},
                 {32, CFileException::sharingViolation},
                 {33, CFileException::lockViolation},
                 {38, CFileException::endOfFile},
                 {62, CFileException::directoryFull},
                 {80, CFileException::accessDenied},
                 {88, CFileException::hardIO},
                 {112, CFileException::diskFull},
                 {123, CFileException::badPath},
                 {131, CFileException::badSeek},
                 {183, CFileException::accessDenied},
                 {87, CFileException::genericException},
                 {99999, CFileException::genericException}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.cause, CFileException::OsErrorToException(c.error)) << c.error;
    }
    EXPECT_EQ(CFileException::fileNotFound, CFileException::ErrnoToException(ENOENT));
    EXPECT_EQ(CFileException::diskFull, CFileException::ErrnoToException(ENOSPC));
    EXPECT_EQ(CFileException::none, CFileException::ErrnoToException(0));
}

TEST(ExceptionTest, EveryFileCauseHasItsNumberAndText) {
    const std::vector<std::wstring> texts = {L"No error occurred with the file F.",
                                             L"An unexpected error occurred with the file F.",
                                             L"The file F was not found.",
                                             L"The path F is not valid.",
                                             L"The file F could not be opened: too many files are open.",
                                             L"Access to the file F was denied.",
                                             L"The file F is not valid, or was closed.",
                                             L"The folder F is in use or not empty and cannot be removed.",
                                             L"The folder of the file F is full.",
                                             L"A position in the file F could not be reached.",
                                             L"The device reported an error with the file F.",
                                             L"The file F is in use by another program.",
                                             L"A part of the file F is locked by another program.",
                                             L"There is not enough room on the disk for the file F.",
                                             L"The end of the file F was reached too early.",
                                             L"An unexpected error occurred with the file F."};
    for (int cause = 0; cause < static_cast<int>(texts.size()); ++cause) {
        EXPECT_EQ(texts[cause], TextOf(CFileException(cause, -1, L"F")));
    }
    EXPECT_EQ(13, CFileException::diskFull);
    EXPECT_EQ(14, CFileException::endOfFile);
    EXPECT_EQ(L"The file without a name was not found.",
              TextOf(CFileException(CFileException::fileNotFound)));
}

TEST(ExceptionTest, SystemErrorsAreThrownByNumber) {
    ExpectThrow<CFileException>([] { CFileException::ThrowOsError(5, L"f"); },
                                [](CFileException* e) {
                                    EXPECT_EQ(CFileException::accessDenied, e->m_cause);
                                    EXPECT_EQ(5, e->m_lOsError);
                                    EXPECT_TRUE(e->m_strFileName == L"f");
                                });
    EXPECT_NO_THROW(CFileException::ThrowOsError(0));
    EXPECT_NO_THROW(CFileException::ThrowErrno(0));
    ExpectThrow<CFileException>(
        [] { CFileException::ThrowErrno(ENOENT); },
        [](CFileException* e) { EXPECT_EQ(CFileException::fileNotFound, e->m_cause); });
}

TEST(ExceptionTest, ResultCodes) {
    ExpectThrow<CMemoryException>([] { AtlThrow(E_OUTOFMEMORY); }, [](auto*) {});
    ExpectThrow<COleException>([] { AtlThrow(E_INVALIDARG); },
                               [](COleException* e) { EXPECT_EQ(static_cast<SCODE>(0x80070057), e->m_sc); });
    ExpectThrow<COleException>([] { AfxThrowOleException(static_cast<SCODE>(0x80070005)); },
                               [](COleException* e) {
                                   EXPECT_EQ(static_cast<SCODE>(0x80070005), e->m_sc);
                                   EXPECT_EQ(e->m_sc, COleException::Process(e));
                                   WCHAR text[512];
                                   EXPECT_TRUE(e->GetErrorMessage(text, 512));
                                   EXPECT_NE(0, text[0]);
                               });
    CMemoryException memory;
    EXPECT_EQ(E_OUTOFMEMORY, COleException::Process(&memory));
    CNotSupportedException notSupported;
    CInvalidArgException invalid;
    CUserException user;
    EXPECT_EQ(E_NOTIMPL, COleException::Process(&notSupported));
    EXPECT_EQ(E_INVALIDARG, COleException::Process(&invalid));
    EXPECT_EQ(E_UNEXPECTED, COleException::Process(&user));
    EXPECT_EQ(E_UNEXPECTED, COleException::Process(nullptr));
}

// ---- Diagnostics

TEST(DiagnosticsTest, AddressesAreTested) {
    int variable = 0;
    EXPECT_TRUE(AfxIsValidAddress(&variable, sizeof(variable)));
    EXPECT_TRUE(AfxIsValidAddress("text", 4, FALSE));
    EXPECT_FALSE(AfxIsValidAddress(nullptr, 1));
    EXPECT_FALSE(AfxIsValidAddress(nullptr, 0));
    EXPECT_FALSE(AfxIsValidAddress(reinterpret_cast<void*>(16), 4, FALSE));
}

TEST(DiagnosticsTest, TextsAreTested) {
    std::wstring longText(5000, L'x');
    EXPECT_TRUE(AfxIsValidString(longText.c_str()));
    EXPECT_TRUE(AfxIsValidString("8-bit"));
    EXPECT_TRUE(AfxIsValidString(L"abc", 2));
    EXPECT_FALSE(AfxIsValidString(static_cast<LPCWSTR>(nullptr)));
    EXPECT_FALSE(AfxIsValidString(reinterpret_cast<LPCWSTR>(16)));
    EXPECT_FALSE(AfxIsValidString(reinterpret_cast<LPCSTR>(16)));
}

TEST(DiagnosticsTest, TraceGoesToTheDebugger) {
    DebugCapture debugger;
    AfxTrace(L"%s %d\n", L"wide", 1);
    AfxTrace("%s %d\n", "8-bit", 2);
    EXPECT_EQ(L"wide 1\n8-bit 2\n", debugger.Text());
}

TEST(DiagnosticsTest, EnsureThrows) {
    EXPECT_NO_THROW(ENSURE(1 + 1 == 2));
    ExpectThrow<CInvalidArgException>([] { ENSURE(1 + 1 == 3); }, [](auto*) {});
}

TEST(DumpContextTest, ExampleUsage) {
    DebugCapture debugger;
    CDumpContext dump;
    dump << L"wide " << "8-bit \xF3 " << CString(L"string ") << 7 << "\n";
    EXPECT_EQ(L"wide 8-bit \u00F3 string 7\n", debugger.Text());
}

TEST(DumpContextTest, WritesNumbers) {
    DebugCapture debugger;
    afxDump << static_cast<BYTE>(200) << " " << static_cast<WORD>(60000) << " " << -5 << " " << 5u << " "
            << -6L << " " << 6UL << " " << -7LL << " " << 7ULL << " " << 1.5f << " " << 2.5;
    EXPECT_EQ(L"200 60000 -5 5 -6 6 -7 7 1.5 2.5", debugger.Text());
}

TEST(DumpContextTest, NullsAreNamed) {
    DebugCapture debugger;
    afxDump << static_cast<LPCWSTR>(nullptr) << static_cast<LPCSTR>(nullptr)
            << static_cast<const CObject*>(nullptr);
    EXPECT_EQ(L"(NULL)(NULL)NULL", debugger.Text());
}

TEST(DumpContextTest, DumpsObjects) {
    DebugCapture debugger;
    CSquare square(2);
    afxDump << &square << square;
    CString address;
    address.Format(L"%p", static_cast<CObject*>(&square));
    std::wstring line = std::wstring(L"a CSquare at $") + address.GetString() + L"\n";
    EXPECT_EQ(line + line, debugger.Text());
}

TEST(DumpContextTest, DumpsBytes) {
    DebugCapture debugger;
    BYTE bytes[] = {0, 0xAB, 3};
    afxDump.HexDump(L"line", bytes, 3, 2);
    EXPECT_EQ(L"line 00 AB\nline 03\n", debugger.Text());
}

TEST(DumpContextTest, FileReceivesUtf16) {
    CMemFile file;
    CDumpContext dump(&file);
    dump << L"a\u00F3" << "\xF3\n" << CString(static_cast<wchar_t>(0x20AC));
    if (sizeof(wchar_t) > 2) {
        dump << CString(static_cast<wchar_t>(0x1F600));
    } else {
        dump << L"\xD83D\xDE00";
    }
    dump.Flush();
    const BYTE expected[] = {'a', 0, 0xF3, 0, 0xF3, 0, '\n', 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE};
    ASSERT_EQ(sizeof(expected), file.GetLength());
    BYTE* bytes = file.Detach();
    EXPECT_EQ(0, std::memcmp(expected, bytes, sizeof(expected)));
    std::free(bytes);
}

TEST(DumpContextTest, LongTextsReachTheFileWhole) {
    CMemFile file;
    CDumpContext dump(&file);
    dump << CString(L'x', 1000);
    EXPECT_EQ(2000u, file.GetLength());
    dump << CStringA('y', 1000); // 8-bit texts are cut
    EXPECT_EQ(2000u + 2 * 511, file.GetLength());
}
