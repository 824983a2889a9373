#include "CStringEx.h"

#include "Idioma.h"
#include "status/SystemText.h"

#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cwchar>

namespace {

enum Mark { NoMark = 0, MarkUtf8 = 4, MarkFeFf = 5 };

// A number as CString::Format prints it, with "." between groups of three digits and "," before the decimals.
CString WithSeparators(const CString& number) {
    const int point = number.Find(L'.');
    const int digits = point < 0 ? number.GetLength() : point;
    CString text;
    for (int i = 0; i < digits; ++i) {
        if (i > 0 && (digits - i) % 3 == 0)
            text += L'.';
        text += number[i];
    }
    if (point >= 0) {
        text += L',';
        text += number.Mid(point + 1);
    }
    return text;
}

CString DecodeUtf8(const char* bytes) {
    CString text;
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, bytes, -1, nullptr, 0);
    if (size <= 1)
        return text;
    const int written = ::MultiByteToWideChar(CP_UTF8, 0, bytes, -1, text.GetBuffer(size), size);
    text.ReleaseBuffer(written > 0 ? written - 1 : 0);
    return text;
}

// Little-endian UTF-16 units up to a zero unit. Where a character of the string holds more than a unit, pairs
// of surrogates become one character.
CString DecodeUtf16(const char* bytes) {
    const auto unitAt = [bytes](size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]) |
                                          static_cast<unsigned char>(bytes[i + 1]) << 8);
    };
    CString text;
    for (size_t i = 0; unitAt(i) != 0; i += 2) {
        std::uint32_t unit = unitAt(i);
        if constexpr (sizeof(wchar_t) > 2) {
            if (unit >= 0xD800 && unit < 0xDC00 && (unitAt(i + 2) & 0xFC00) == 0xDC00) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (unitAt(i + 2) - 0xDC00);
                i += 2;
            }
        }
        text += static_cast<wchar_t>(unit);
    }
    return text;
}

} // namespace

// ---- CStringEx

CStringEx::CStringEx(unsigned int nID, HINSTANCE hModule) {
    int size = 0;
    int length = 0;
    // A text that fills the buffer may have been cut.
    do {
        size += 256;
        length = ::LoadStringW(hModule, nID, GetBuffer(size), size);
        ReleaseBuffer(length);
    } while (length > size - 2);
}

int CStringEx::DetectBOMEncoding(const char* pszData) {
    const auto byteIs = [pszData](int i, unsigned char value) {
        return static_cast<unsigned char>(pszData[i]) == value;
    };
    if (byteIs(0, 0xEF) && byteIs(1, 0xBB) && byteIs(2, 0xBF))
        return MarkUtf8;
    if (byteIs(0, 0xFE) && byteIs(1, 0xFF))
        return MarkFeFf;
    return NoMark;
}

CString CStringEx::RemoveBOMEncoding(const char* pszText) {
    if (!pszText)
        return CString();
    switch (DetectBOMEncoding(pszText)) {
    case MarkUtf8:
        return DecodeUtf8(pszText + 3);
    case MarkFeFf:
        return DecodeUtf16(pszText + 2);
    default:
        return DecodeUtf8(pszText);
    }
}

CString CStringEx::GetMsgErrorSistema(unsigned long dwError) {
    const CString system = SystemErrorText(static_cast<DWORD>(dwError), 256);
    CString text;
    // Kept: a lone "%" ends the format; it prints nothing, and the system's text is not consumed.
    text.Format(L"Error %u: %", static_cast<unsigned int>(dwError), system.GetString());
    return text;
}

// ---- Formatting

CString AfxFormatString(const wchar_t* pszFormat, ...) {
    CString text;
    va_list arguments;
    va_start(arguments, pszFormat);
    text.FormatV(pszFormat, arguments);
    va_end(arguments);
    return text;
}

CString AfxFormatString(unsigned int nID, ...) {
    CString text;
    va_list arguments;
    va_start(arguments, nID);
    text.FormatV(AfxLoadString(nID), arguments);
    va_end(arguments);
    return text;
}

CStringA AfxFormatStringA(const char* pszFormat, ...) {
    CStringA text;
    va_list arguments;
    va_start(arguments, pszFormat);
    text.FormatV(pszFormat, arguments);
    va_end(arguments);
    return text;
}

// ---- Sizes and dates

CString AfxBytesToString(unsigned long dwBytes) {
    if (dwBytes > 8192)
        return AfxKBytesToString(dwBytes / 1024);
    return WithSeparators(AfxFormatString(L"%lu", dwBytes)) + L" bytes";
}

CString AfxKBytesToString(unsigned long dwKBytes) {
    if (dwKBytes < 1024)
        return WithSeparators(AfxFormatString(L"%lu", dwKBytes)) + L" Kb";
    const double megabytes = static_cast<double>(dwKBytes) * 0.0009765625;
    return WithSeparators(AfxFormatString(dwKBytes < 8192 ? L"%0.2f" : L"%0.1f", megabytes)) + L" Mb";
}

CString AfxFormatDate(CTime& time, const char* pszPattern) {
    std::setlocale(LC_TIME, "");
    const CString pattern(pszPattern);
    std::tm local = {};
    if (!time.GetLocalTm(&local))
        AfxThrowOleException(E_INVALIDARG);
    constexpr size_t capacity = 128;
    wchar_t text[capacity + 1];
    // Some systems fill the buffer without ending the text instead of refusing.
    const size_t length = std::wcsftime(text, capacity, pattern, &local);
    text[length < capacity ? length : 0] = 0;
    // Kept: "C", not what was set before.
    std::setlocale(LC_TIME, "C");
    return text;
}

// ---- Letters as numbers

CString AfxIntToAZ(int nValue, int bMinuscules) {
    const wchar_t base = bMinuscules ? L'a' : L'A';
    CString text;
    do {
        text.Insert(0, static_cast<wchar_t>(base + nValue % 26));
        nValue /= 26;
    } while (nValue > 0);
    return text;
}

int AfxAZToInt(const wchar_t* pszText) {
    const size_t length = pszText ? std::wcslen(pszText) : 0;
    if (length == 0)
        return 0;
    const wchar_t last = pszText[length - 1];
    std::uint32_t base;
    if (last >= L'A' && last <= L'Z')
        base = L'A';
    else if (last >= L'a' && last <= L'z')
        base = L'a';
    else
        return 0;

    std::uint32_t value = 0;
    for (size_t i = 0; i < length; ++i) {
        std::uint32_t unit = static_cast<std::uint32_t>(pszText[i]);
        if (unit > 0xFFFF) {
            // Two UTF-16 units, each a digit of its own.
            value = value * 26 + (0xD7C0 + (unit >> 10) - base);
            unit = 0xDC00 + (unit & 0x3FF);
        }
        value = value * 26 + (unit - base);
    }
    return static_cast<int>(value);
}
