// Ready-made containers of strings, numbers and pointers. Their members are those of the templates in
// afxtempl.h; pointer containers do not own what the pointers point to.
#pragma once

#include "afxtempl.h"

class CByteArray : public CArray<BYTE, BYTE> {};
class CWordArray : public CArray<WORD, WORD> {};
class CDWordArray : public CArray<DWORD, DWORD> {};
class CUIntArray : public CArray<UINT, UINT> {};
class CPtrArray : public CArray<void*, void*> {};
class CObArray : public CArray<CObject*, CObject*> {};
class CStringArray : public CArray<CString, const CString&> {};

class CPtrList : public CList<void*, void*> {
public:
    using CList<void*, void*>::CList;
};
class CObList : public CList<CObject*, CObject*> {
public:
    using CList<CObject*, CObject*>::CList;
};
class CStringList : public CList<CString, const CString&> {
public:
    using CList<CString, const CString&>::CList;
};

class CMapStringToString : public CMap<CString, LPCTSTR, CString, LPCTSTR> {
public:
    using CMap<CString, LPCTSTR, CString, LPCTSTR>::CMap;
};
class CMapStringToPtr : public CMap<CString, LPCTSTR, void*, void*> {
public:
    using CMap<CString, LPCTSTR, void*, void*>::CMap;
};
class CMapStringToOb : public CMap<CString, LPCTSTR, CObject*, CObject*> {
public:
    using CMap<CString, LPCTSTR, CObject*, CObject*>::CMap;
};
class CMapPtrToPtr : public CMap<void*, void*, void*, void*> {
public:
    using CMap<void*, void*, void*, void*>::CMap;
};
