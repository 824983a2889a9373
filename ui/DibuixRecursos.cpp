// Images and menus of the resource chain.
#include "Dibuix.h"

#include <initializer_list>

namespace {

// RT_ANICURSOR and RT_ANIICON, which not every system header spells with wide characters.
const wchar_t* const animatedCursor = MAKEINTRESOURCEW(21);
const wchar_t* const animatedIcon = MAKEINTRESOURCEW(22);

// The first module of the chain that has a resource of the name and one of the types. False when none has;
// the program's own module may be null.
bool FindImage(const wchar_t* name, std::initializer_list<const wchar_t*> types, HINSTANCE& module) {
    for (const wchar_t* type : types) {
        module = AfxFindResourceHandle(name, type);
        if (::FindResourceW(module, name, type))
            return true;
    }
    return false;
}

constexpr UINT carriedStates = MF_CHECKED | MF_GRAYED | MF_DISABLED;

// One item of the source at `position` of the destination. False ends the merge.
bool MergeItem(CMenu& destination, const CMenu& source, int item, UINT position, UINT flags) {
    const UINT id = source.GetMenuItemID(item);
    if (id == 0)
        return destination.InsertMenu(position, flags | MF_SEPARATOR) != FALSE;
    CString text;
    source.GetMenuString(static_cast<UINT>(item), text, MF_BYPOSITION);
    const UINT state = source.GetMenuState(static_cast<UINT>(item), MF_BYPOSITION) & carriedStates;
    if (id != static_cast<UINT>(-1))
        return destination.InsertMenu(position, flags | state, id, text) != FALSE;
    CMenu copy;
    if (!AfxMenuMerge(copy, source.GetSubMenu(item), 0, MF_BYPOSITION))
        return false;
    const HMENU menu = copy.Detach();
    if (destination.InsertMenu(position, flags | MF_POPUP | state, reinterpret_cast<UINT_PTR>(menu), text))
        return true;
    ::DestroyMenu(menu);
    return false;
}

} // namespace

CSetResourceHandle::CSetResourceHandle(HINSTANCE hModule)
    : m_hAnterior(AfxGetResourceHandle())
    , m_bCanviat(hModule != nullptr) {
    if (m_bCanviat)
        AfxSetResourceHandle(hModule);
}
CSetResourceHandle::~CSetResourceHandle() {
    if (m_bCanviat)
        AfxSetResourceHandle(m_hAnterior);
}

// ---- Images

void* AfxLoadImage(const wchar_t* szNom, unsigned int nTipus, int cx, int cy, unsigned int nFlags) {
    if (nFlags & LR_LOADFROMFILE)
        return ::LoadImageW(nullptr, szNom, nTipus, cx, cy, nFlags);
    HINSTANCE module = nullptr;
    bool found = false;
    switch (nTipus) {
    case IMAGE_BITMAP:
        found = FindImage(szNom, {RT_BITMAP}, module);
        break;
    case IMAGE_ICON:
        found = FindImage(szNom, {RT_GROUP_ICON, RT_ICON, animatedIcon}, module);
        break;
    case IMAGE_CURSOR:
        found = FindImage(szNom, {RT_GROUP_CURSOR, RT_CURSOR, animatedCursor}, module);
        break;
    default:
        ::SetLastError(ERROR_INVALID_PARAMETER);
        break;
    }
    return found ? ::LoadImageW(module, szNom, nTipus, cx, cy, nFlags) : nullptr;
}

void* AfxLoadImage(unsigned int nID, unsigned int nTipus, int cx, int cy, unsigned int nFlags) {
    return AfxLoadImage(MAKEINTRESOURCEW(nID), nTipus, cx, cy, nFlags);
}

int AfxLoadImageList(CImageList& llista, unsigned int nIDBitmap, int cx, int cy, unsigned long crMascara) {
    CBitmap bitmap;
    if (!bitmap.LoadBitmap(nIDBitmap))
        return 0;
    llista.DeleteImageList();
    llista.Create(cx, cy, ILC_COLOR24 | ILC_MASK, 0, 10);
    llista.Add(&bitmap, crMascara);
    return 1;
}

int AfxLoadBitmapMask(CBitmap& bitmap, unsigned int nIDBitmap, unsigned long& crMascara, CPoint punt) {
    if (!bitmap.LoadBitmap(nIDBitmap))
        return 0;
    CDC memory;
    memory.CreateCompatibleDC(nullptr);
    const CDCSelectObject select(&memory, &bitmap, 0);
    crMascara = memory.GetPixel(punt.x, punt.y);
    return 1;
}

HICON AfxLoadIcon(unsigned int nID) {
    return static_cast<HICON>(AfxLoadImage(nID, IMAGE_ICON, 0, 0, LR_DEFAULTSIZE | LR_SHARED));
}
HICON AfxLoadIcon16x16(unsigned int nID) {
    return static_cast<HICON>(AfxLoadImage(nID, IMAGE_ICON, 16, 16, LR_SHARED));
}
HCURSOR AfxLoadCursor(unsigned int nID) {
    return static_cast<HCURSOR>(AfxLoadImage(nID, IMAGE_CURSOR, 0, 0, LR_DEFAULTSIZE | LR_SHARED));
}
HCURSOR AfxLoadSysCursor(const wchar_t* szNom) {
    return ::LoadCursorW(nullptr, szNom);
}

// ---- Menus

int AfxMenuMerge(CMenu& desti, const CMenu* pOrigen, unsigned int nPosicio, unsigned int nFlags) {
    if (!desti.GetSafeHmenu())
        desti.CreatePopupMenu();
    if (!pOrigen || !pOrigen->GetSafeHmenu())
        return 0;
    const int count = pOrigen->GetMenuItemCount();
    // Inserts at one position push what was inserted before behind them.
    const bool backwards = nFlags == MF_BYPOSITION;
    for (int i = 0; i < count; ++i)
        if (!MergeItem(desti, *pOrigen, backwards ? count - 1 - i : i, nPosicio, nFlags))
            break;
    return 1;
}

int AfxMenuMerge(CMenu& desti, unsigned int nIDMenu, unsigned int nPosicio, unsigned int nFlags) {
    CMenu menu;
    const CMenu* const source = menu.LoadMenu(nIDMenu) ? menu.GetSubMenu(0) : nullptr;
    return AfxMenuMerge(desti, source, nPosicio, nFlags);
}
