// The framework's base: strings, the root class with its run-time class records, exceptions, diagnostics,
// files and times. Every header of the library includes it.
//
// Exceptions are thrown by pointer and belong to the catcher, who ends them with Delete():
//
//     try {
//         file.Write(data, size);
//     } catch (CFileException* e) {
//         e->ReportError();
//         e->Delete();
//     }
#pragma once

#include "mvafx_export.h"
#include "win32.h"

#include "cstringt.h"

#include <new>

class CArchive;
class CDumpContext;
class CException;
class CFile;
class CObject;

// A result code of 32 bits.
typedef LONG SCODE;

// An abstract position in a list or map; null is none.
struct __POSITION {};
typedef __POSITION* POSITION;
#define BEFORE_START_POSITION ((POSITION)(INT_PTR)(-1))

// ---- Diagnostics

// TRUE when nBytes from lp on may be read (and, with bReadWrite, written). FALSE for null.
MVAFX_API BOOL AfxIsValidAddress(const void* lp, UINT_PTR nBytes, BOOL bReadWrite = TRUE);
// TRUE when a NUL-terminated text may be read from lpsz (at least nLength characters of it, unless it is -1).
MVAFX_API BOOL AfxIsValidString(LPCWSTR lpsz, int nLength = -1);
MVAFX_API BOOL AfxIsValidString(LPCSTR lpsz, int nLength = -1);
// Formats with the rules of CString and sends the text to the debugger output.
MVAFX_API void AfxTrace(LPCWSTR lpszFormat, ...);
MVAFX_API void AfxTrace(LPCSTR lpszFormat, ...);
// Writes a failed assertion to the debugger output and ends the program.
[[noreturn]] MVAFX_API void AfxAssertFailed(LPCSTR lpszFileName, int nLine, LPCSTR lpszCondition);
// Ends the program at once.
[[noreturn]] MVAFX_API void AfxAbort();

// Checks in debug builds (_DEBUG); otherwise the condition of ASSERT is not evaluated, that of VERIFY is.
#if defined(_DEBUG)
#define ASSERT(f) ((f) ? (void)0 : AfxAssertFailed(__FILE__, __LINE__, #f))
#define VERIFY(f) ASSERT(f)
#define TRACE(...) AfxTrace(__VA_ARGS__)
#define ASSERT_VALID(pOb) ((pOb)->AssertValid())
#else
#define ASSERT(f) ((void)0)
#define VERIFY(f) ((void)(f))
#define TRACE(...) ((void)0)
#define ASSERT_VALID(pOb) ((void)0)
#endif
// Checks in every build: a false condition throws CInvalidArgException.
#define ENSURE(cond)                                                                                         \
    do {                                                                                                     \
        if (!(cond))                                                                                         \
            AfxThrowInvalidArgException();                                                                   \
    } while (false)
#define ENSURE_ARG(cond) ENSURE(cond)

// ---- Run-time classes

// What is known about a class at run time. One constant record per class, made by the macros below.
struct MVAFX_API CRuntimeClass {
    LPCSTR m_lpszClassName;
    int m_nObjectSize;
    UINT m_wSchema;
    CObject* (*m_pfnCreateObject)();       // null: objects cannot be created by the record
    CRuntimeClass* (*m_pfnGetBaseClass)(); // null: the root
    CRuntimeClass* m_pNextClass;

    // A new object, deleted by the caller; null when the class cannot be created.
    CObject* CreateObject() const;
    // TRUE for the class itself and for every class below pBaseClass.
    BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};

#define RUNTIME_CLASS(class_name) (class_name::GetThisClass())

// In the class: its record and its place in the class tree.
#define DECLARE_DYNAMIC(class_name)                                                                          \
protected:                                                                                                   \
    static CRuntimeClass* _GetBaseClass();                                                                   \
                                                                                                             \
public:                                                                                                      \
    static const CRuntimeClass class##class_name;                                                            \
    static CRuntimeClass* GetThisClass();                                                                    \
    CRuntimeClass* GetRuntimeClass() const override;
// The same, and the record can create objects (with the constructor without arguments).
#define DECLARE_DYNCREATE(class_name)                                                                        \
    DECLARE_DYNAMIC(class_name)                                                                              \
    static CObject* CreateObject();

#define IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, pfnNew)                                 \
    CRuntimeClass* class_name::_GetBaseClass() {                                                             \
        return base_class_name::GetThisClass();                                                              \
    }                                                                                                        \
    const CRuntimeClass class_name::class##class_name = {#class_name, sizeof(class class_name),   wSchema,   \
                                                         pfnNew,      &class_name::_GetBaseClass, nullptr};  \
    CRuntimeClass* class_name::GetThisClass() {                                                              \
        return const_cast<CRuntimeClass*>(&class_name::class##class_name);                                   \
    }                                                                                                        \
    CRuntimeClass* class_name::GetRuntimeClass() const {                                                     \
        return class_name::GetThisClass();                                                                   \
    }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name)                                                       \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, nullptr)
#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                                                     \
    CObject* class_name::CreateObject() {                                                                    \
        return new class_name;                                                                               \
    }                                                                                                        \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, class_name::CreateObject)

// The root. Objects are not copied; memory for them that is exhausted throws CMemoryException (the nothrow
// form of new answers null).
class MVAFX_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = 0;
    virtual void Serialize(CArchive& ar);      // stores nothing here
    virtual void AssertValid() const;          // checks nothing here
    virtual void Dump(CDumpContext& dc) const; // writes the class name and the address

    static void* operator new(std::size_t nSize);
    static void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept;
    static void* operator new(std::size_t, void* p) noexcept { return p; }
    static void operator delete(void* p) noexcept;
    static void operator delete(void* p, const std::nothrow_t&) noexcept;
    static void operator delete(void*, void*) noexcept {}

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    BOOL IsSerializable() const;
    BOOL IsKindOf(const CRuntimeClass* pClass) const { return GetRuntimeClass()->IsDerivedFrom(pClass); }

    static const CRuntimeClass classCObject;
    static CRuntimeClass* GetThisClass();

protected:
    CObject() = default;
};

// pObject as a class_name, or null when it is null or of another class.
#define DYNAMIC_DOWNCAST(class_name, object)                                                                 \
    ((class_name*)AfxDynamicDownCast(RUNTIME_CLASS(class_name), object))
#define STATIC_DOWNCAST(class_name, object) ((class_name*)(object))
MVAFX_API CObject* AfxDynamicDownCast(CRuntimeClass* pClass, CObject* pObject);

// ---- Exceptions

// The base of every exception. Made with new and auto-delete on by default; an object that is not on the heap
// is made with auto-delete off, and Delete() leaves it alone.
class MVAFX_API CException : public CObject {
    DECLARE_DYNAMIC(CException)
public:
    CException();
    explicit CException(BOOL bAutoDelete);
    ~CException() override;

    void Delete();
    // The text for the user, cut to nMaxError - 1 characters; TRUE when there is one. On FALSE the buffer
    // holds the empty text. *pnHelpContext, where given, receives 0. The form that is not const calls the
    // other: a derived class overrides the const one, and both where callers may have either in hand.
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const;
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr);
    // Shows the text by AfxMessageBox with the style nType, and without a text the string resource nMessageID
    // or a general sentence. Returns the box's result.
    virtual int ReportError(UINT nType = MB_OK, UINT nMessageID = 0);

    BOOL m_bAutoDelete;
};

// An exception that has a fixed text: the string resource nResourceID where the resource chain has it, else
// the framework's own.
class MVAFX_API CSimpleException : public CException {
    DECLARE_DYNAMIC(CSimpleException)
public:
    CSimpleException();
    explicit CSimpleException(BOOL bAutoDelete);
    CSimpleException(BOOL bAutoDelete, UINT nResourceID);
    ~CSimpleException() override;

    using CException::GetErrorMessage;
    BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const override;

protected:
    virtual LPCWSTR defaultText() const = 0;

    UINT m_nResourceID;
};

#define MVAFX_DECLARE_SIMPLE_EXCEPTION(class_name)                                                           \
    class MVAFX_API class_name : public CSimpleException {                                                   \
        DECLARE_DYNAMIC(class_name)                                                                          \
    public:                                                                                                  \
        class_name();                                                                                        \
        class_name(BOOL bAutoDelete, UINT nResourceID);                                                      \
        ~class_name() override;                                                                              \
                                                                                                             \
    protected:                                                                                               \
        LPCWSTR defaultText() const override;                                                                \
    };
// Memory is exhausted. AfxThrowMemoryException throws one object that was made beforehand.
MVAFX_DECLARE_SIMPLE_EXCEPTION(CMemoryException)
// An operation that the object does not support.
MVAFX_DECLARE_SIMPLE_EXCEPTION(CNotSupportedException)
// An argument, often an index, that is not valid.
MVAFX_DECLARE_SIMPLE_EXCEPTION(CInvalidArgException)
// The user ended the operation, and was told why.
MVAFX_DECLARE_SIMPLE_EXCEPTION(CUserException)
// A resource could not be found or created.
MVAFX_DECLARE_SIMPLE_EXCEPTION(CResourceException)

// A failed operation with a 32-bit result code (HRESULT).
class MVAFX_API COleException : public CException {
    DECLARE_DYNAMIC(COleException)
public:
    COleException();
    ~COleException() override;

    using CException::GetErrorMessage;
    // The system's text for m_sc.
    BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const override;
    // The code that stands for an exception: m_sc, E_OUTOFMEMORY for CMemoryException, E_NOTIMPL for
    // CNotSupportedException, E_INVALIDARG for CInvalidArgException, else E_UNEXPECTED.
    static SCODE Process(const CException* pAnyException);

    SCODE m_sc;
};

[[noreturn]] MVAFX_API void AfxThrowMemoryException();
[[noreturn]] MVAFX_API void AfxThrowNotSupportedException();
[[noreturn]] MVAFX_API void AfxThrowInvalidArgException();
[[noreturn]] MVAFX_API void AfxThrowUserException();
[[noreturn]] MVAFX_API void AfxThrowResourceException();
[[noreturn]] MVAFX_API void AfxThrowOleException(SCODE sc);
// By a result code: E_OUTOFMEMORY throws CMemoryException, any other COleException.
[[noreturn]] MVAFX_API void AtlThrow(HRESULT hr);

#define THROW(e) throw e

#include "afxtime.h"

#include "afxfile.h"

// ---- Dumps

// Writes diagnostic texts to a file (as UTF-16LE, without a mark) or, without one, to the debugger output.
// 8-bit texts are converted by the code page CP_ACP, at most 511 characters of each. Errors of the file are
// thrown as CFileException.
class MVAFX_API CDumpContext {
public:
    // The file is not owned.
    explicit CDumpContext(CFile* pFile = nullptr);
    CDumpContext(const CDumpContext&) = delete;
    CDumpContext& operator=(const CDumpContext&) = delete;

    // How deep containers dump: 0 only themselves, more also their elements.
    int GetDepth() const { return m_nDepth; }
    void SetDepth(int nNewDepth) { m_nDepth = nNewDepth; }

    // A null text gives "(NULL)", a null object "NULL".
    CDumpContext& operator<<(LPCWSTR lpsz);
    CDumpContext& operator<<(LPCSTR lpsz);
    CDumpContext& operator<<(const CString& str) { return *this << str.GetString(); }
    CDumpContext& operator<<(const CStringA& str) { return *this << str.GetString(); }
    CDumpContext& operator<<(const void* lp); // "$" and hexadecimal digits
    CDumpContext& operator<<(const CObject* pOb);
    CDumpContext& operator<<(const CObject& ob);
    CDumpContext& operator<<(unsigned char by);
    CDumpContext& operator<<(unsigned short w);
    CDumpContext& operator<<(int n);
    CDumpContext& operator<<(unsigned int u);
    CDumpContext& operator<<(long l);
    CDumpContext& operator<<(unsigned long ul);
    CDumpContext& operator<<(long long n);
    CDumpContext& operator<<(unsigned long long n);
    CDumpContext& operator<<(float f);
    CDumpContext& operator<<(double d);

    // lpszLine is a format for the address; then follow nBytes as two digits each, nWidth of them a line.
    void HexDump(LPCTSTR lpszLine, BYTE* pby, int nBytes, int nWidth);
    void Flush();

    CFile* m_pFile;

private:
    void outputString(LPCWSTR lpsz);

    int m_nDepth;
};

// The process's dump context, on the debugger output.
extern MVAFX_API CDumpContext afxDump;
