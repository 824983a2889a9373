#include "stringresource.h"

namespace mvafx {

StringResource findStringResource(HMODULE hModule, UINT nID, WORD wLanguageID) {
    if (nID > 0xFFFF)
        return {};
    HRSRC hResource = FindResourceExW(hModule, RT_STRING, MAKEINTRESOURCEW((nID >> 4) + 1), wLanguageID);
    if (hResource == nullptr)
        return {};
    HGLOBAL hData = LoadResource(hModule, hResource);
    auto* p = hData != nullptr ? static_cast<const std::uint16_t*>(LockResource(hData)) : nullptr;
    if (p == nullptr)
        return {};
    const std::uint16_t* pEnd = p + SizeofResource(hModule, hResource) / sizeof(std::uint16_t);
    for (UINT i = 0;; ++i) {
        if (p == pEnd || *p > pEnd - p - 1)
            return {};
        if (i == (nID & 15))
            return {p + 1, *p};
        p += *p + 1;
    }
}

int copyStringResource(const StringResource& resource, wchar_t* pszTo, int nSize) {
    int nCopied = 0;
    for (int i = 0; i < resource.nUnits; ++i) {
        std::uint32_t c = resource.pUnits[i];
        if constexpr (sizeof(wchar_t) > 2) {
            if ((c & 0xFC00) == 0xD800 && i + 1 < resource.nUnits &&
                (resource.pUnits[i + 1] & 0xFC00) == 0xDC00)
                c = 0x10000 + ((c & 0x3FF) << 10) + (resource.pUnits[++i] & 0x3FFu);
        }
        if (pszTo != nullptr) {
            if (nCopied == nSize)
                break;
            pszTo[nCopied] = static_cast<wchar_t>(c);
        }
        ++nCopied;
    }
    return nCopied;
}

} // namespace mvafx
