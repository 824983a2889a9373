#include "afx.h"

#include <cstdlib>

CObject* CRuntimeClass::CreateObject() const {
    return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const {
    for (const CRuntimeClass* p = this; p != nullptr;
         p = p->m_pfnGetBaseClass != nullptr ? p->m_pfnGetBaseClass() : nullptr)
        if (p == pBaseClass)
            return TRUE;
    return FALSE;
}

const CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, nullptr, nullptr, nullptr};

CRuntimeClass* CObject::GetThisClass() {
    return const_cast<CRuntimeClass*>(&classCObject);
}
CRuntimeClass* CObject::GetRuntimeClass() const {
    return GetThisClass();
}

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext& dc) const {
    dc << "a " << GetRuntimeClass()->m_lpszClassName << " at " << static_cast<const void*>(this) << "\n";
}

BOOL CObject::IsSerializable() const {
    return GetRuntimeClass()->m_wSchema != 0xFFFF;
}

void* CObject::operator new(std::size_t nSize) {
    void* p = std::malloc(nSize != 0 ? nSize : 1);
    if (p == nullptr)
        AfxThrowMemoryException();
    return p;
}
void* CObject::operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
    return std::malloc(nSize != 0 ? nSize : 1);
}
void CObject::operator delete(void* p) noexcept {
    std::free(p);
}
void CObject::operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

CObject* AfxDynamicDownCast(CRuntimeClass* pClass, CObject* pObject) {
    return pObject != nullptr && pObject->IsKindOf(pClass) ? pObject : nullptr;
}
