#include "format.h"

#include "afx.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

namespace mvafx {

namespace {

// Digits that a double can have behind the point; further ones are zeros.
constexpr int maxFraction = 1100;
constexpr int maxStringLength = 0x3FFFFFFF;

enum class Size {
    none,
    charSized,
    shortSized,
    longSized,
    bits32,
    bits64,
    pointerSized,
    wideText,
    longDouble
};

struct Spec {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1;
    Size size = Size::none;
};

// A va_list that functions can take by reference on every target.
struct Arguments {
    explicit Arguments(va_list args) { va_copy(list, args); }
    ~Arguments() { va_end(list); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    va_list list;
};

// A number's text: sign or base, digits, zeros that were too many to compute, exponent.
struct Number {
    char prefix[4] = ""; // a sign and "0x" at most
    const char* digits = "";
    int nDigits = 0;
    int nLeadingZeros = 0;
    int nInnerZeros = 0;
    const char* tail = "";
    int nTail = 0;
    bool finite = true;

    void addPrefix(char ch) {
        std::size_t n = std::strlen(prefix);
        prefix[n] = ch;
        prefix[n + 1] = 0;
    }
};

template <typename XCHAR>
class Formatter {
public:
    Formatter(TextBuffer<XCHAR>& buffer, va_list args)
        : m_buffer(buffer)
        , m_args(args) {}

    void run(const XCHAR* psz) {
        while (*psz != 0) {
            const XCHAR* pEnd = psz;
            while (*pEnd != 0 && *pEnd != '%')
                ++pEnd;
            if (pEnd != psz) {
                if (pEnd - psz > maxStringLength)
                    AtlThrow(E_INVALIDARG);
                m_buffer.add(psz, static_cast<int>(pEnd - psz));
            }
            psz = *pEnd == 0 ? pEnd : conversion(pEnd + 1);
        }
    }

private:
    TextBuffer<XCHAR>& m_buffer;
    Arguments m_args;

    // From behind the percent sign; returns what follows the conversion.
    const XCHAR* conversion(const XCHAR* psz) {
        Spec spec;
        psz = flags(psz, spec);
        psz = number(psz, spec.width);
        if (spec.width < 0) {
            spec.left = true;
            spec.width = spec.width == INT_MIN ? INT_MAX : -spec.width;
        }
        if (*psz == '.') {
            int value = 0;
            psz = number(psz + 1, value);
            spec.precision = value < 0 ? -1 : value;
        }
        psz = size(psz, spec);
        XCHAR type = *psz;
        if (type == 0) // cut off: nothing comes out
            return psz;
        convert(type, spec);
        return psz + 1;
    }

    const XCHAR* flags(const XCHAR* psz, Spec& spec) {
        for (;; ++psz) {
            switch (*psz) {
            case '-':
                spec.left = true;
                break;
            case '+':
                spec.plus = true;
                break;
            case ' ':
                spec.blank = true;
                break;
            case '#':
                spec.alternate = true;
                break;
            case '0':
                spec.zero = true;
                break;
            default:
                return psz;
            }
        }
    }

    const XCHAR* number(const XCHAR* psz, int& value) {
        if (*psz == '*') {
            value = va_arg(m_args.list, int);
            return psz + 1;
        }
        for (; *psz >= '0' && *psz <= '9'; ++psz) {
            int digit = static_cast<int>(*psz - '0');
            value = value > (INT_MAX - digit) / 10 ? INT_MAX : value * 10 + digit;
        }
        return psz;
    }

    const XCHAR* size(const XCHAR* psz, Spec& spec) {
        for (;;) {
            switch (*psz) {
            case 'h':
                spec.size = spec.size == Size::shortSized ? Size::charSized : Size::shortSized;
                break;
            case 'l':
                spec.size = spec.size == Size::longSized ? Size::bits64 : Size::longSized;
                break;
            case 'I':
                if (psz[1] == '6' && psz[2] == '4') {
                    spec.size = Size::bits64;
                    psz += 2;
                } else if (psz[1] == '3' && psz[2] == '2') {
                    spec.size = Size::bits32;
                    psz += 2;
                } else {
                    spec.size = Size::pointerSized;
                }
                break;
            case 'z':
            case 't':
                spec.size = Size::pointerSized;
                break;
            case 'j':
                spec.size = Size::bits64;
                break;
            case 'w':
                spec.size = Size::wideText;
                break;
            case 'L':
                spec.size = Size::longDouble;
                break;
            default:
                return psz;
            }
            ++psz;
        }
    }

    void convert(XCHAR type, const Spec& spec) {
        switch (type) {
        case 'd':
        case 'i':
            signedNumber(spec);
            break;
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            unsignedNumber(static_cast<char>(type), spec);
            break;
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            realNumber(static_cast<char>(type), spec);
            break;
        case 'c':
        case 'C':
            character(type == 'C', spec);
            break;
        case 's':
        case 'S':
            text(type == 'S', spec);
            break;
        case 'p':
            pointer(spec);
            break;
        case 'n':
            // Storing through an argument would let a text write to memory.
            va_arg(m_args.list, void*);
            break;
        default: // a percent sign, or a letter without a meaning
            m_buffer.add(type);
        }
    }

    // ---- Whole numbers

    std::int64_t nextSigned(Size size) {
        switch (size) {
        case Size::charSized:
            return static_cast<signed char>(va_arg(m_args.list, int));
        case Size::shortSized:
            return static_cast<short>(va_arg(m_args.list, int));
        case Size::longSized:
            return va_arg(m_args.list, long);
        case Size::bits64:
        case Size::longDouble:
            return va_arg(m_args.list, long long);
        case Size::pointerSized:
            return va_arg(m_args.list, INT_PTR);
        default:
            return va_arg(m_args.list, int);
        }
    }
    std::uint64_t nextUnsigned(Size size) {
        switch (size) {
        case Size::charSized:
            return static_cast<unsigned char>(va_arg(m_args.list, int));
        case Size::shortSized:
            return static_cast<unsigned short>(va_arg(m_args.list, int));
        case Size::longSized:
            return va_arg(m_args.list, unsigned long);
        case Size::bits64:
        case Size::longDouble:
            return va_arg(m_args.list, unsigned long long);
        case Size::pointerSized:
            return va_arg(m_args.list, UINT_PTR);
        default:
            return va_arg(m_args.list, unsigned int);
        }
    }

    void signedNumber(const Spec& spec) {
        std::int64_t value = nextSigned(spec.size);
        char digits[24];
        Number number;
        signPrefix(number, value < 0, spec);
        std::uint64_t magnitude =
            value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
        wholeNumber(number, magnitude, 10, digits, spec);
    }

    void unsignedNumber(char type, const Spec& spec) {
        std::uint64_t value = nextUnsigned(spec.size);
        char digits[24];
        Number number;
        int base = type == 'u' ? 10 : type == 'o' ? 8 : 16;
        if (spec.alternate && base == 16 && value != 0) {
            number.addPrefix('0');
            number.addPrefix(type);
        }
        wholeNumber(number, value, base, digits, spec, type == 'X');
    }

    void pointer(const Spec& spec) {
        auto value = reinterpret_cast<UINT_PTR>(va_arg(m_args.list, void*));
        char digits[24];
        Number number;
        Spec exact = spec;
        exact.precision = 2 * sizeof(void*);
        wholeNumber(number, value, 16, digits, exact, true);
    }

    void wholeNumber(Number& number, std::uint64_t value, int base, char (&digits)[24], Spec spec,
                     bool isUpper = false) {
        char* pEnd = digits;
        if (value != 0 || spec.precision != 0)
            pEnd = std::to_chars(digits, digits + sizeof(digits), value, base).ptr;
        if (isUpper)
            upper(digits, pEnd);
        number.digits = digits;
        number.nDigits = static_cast<int>(pEnd - digits);
        number.nLeadingZeros = spec.precision > number.nDigits ? spec.precision - number.nDigits : 0;
        if (base == 8 && spec.alternate && number.nLeadingZeros == 0 &&
            (number.nDigits == 0 || digits[0] != '0'))
            number.nLeadingZeros = 1;
        if (spec.precision >= 0)
            spec.zero = false;
        put(number, spec);
    }

    // ---- Reals

    void realNumber(char type, const Spec& spec) {
        double value = spec.size == Size::longDouble ? static_cast<double>(va_arg(m_args.list, long double))
                                                     : va_arg(m_args.list, double);
        bool isUpper = type < 'a';
        char kind = static_cast<char>(isUpper ? type + ('a' - 'A') : type);
        char digits[maxFraction + 400];
        Number number;
        if (std::isnan(value)) {
            number.finite = false;
            number.digits = isUpper ? "NAN" : "nan";
            number.nDigits = 3;
        } else {
            signPrefix(number, std::signbit(value), spec);
            value = std::fabs(value);
            if (std::isinf(value)) {
                number.finite = false;
                number.digits = isUpper ? "INF" : "inf";
                number.nDigits = 3;
            } else {
                if (kind == 'a') {
                    number.addPrefix('0');
                    number.addPrefix(isUpper ? 'X' : 'x');
                }
                digitsOf(number, value, kind, spec, digits, isUpper);
            }
        }
        put(number, spec);
    }

    void digitsOf(Number& number, double value, char kind, const Spec& spec,
                  char (&digits)[maxFraction + 400], bool isUpper) {
        int precision = spec.precision;
        if (kind == 'a' && precision < 0) {
            char* pEnd = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::hex).ptr;
            finish(number, digits, pEnd, 0, 'p', spec.alternate, isUpper);
            return;
        }
        if (precision < 0)
            precision = 6;
        auto format = kind == 'f'   ? std::chars_format::fixed
                      : kind == 'e' ? std::chars_format::scientific
                                    : std::chars_format::hex;
        bool removesZeros = false;
        if (kind == 'g') {
            if (precision == 0)
                precision = 1;
            // The decimal exponent after rounding to that many digits decides on the form.
            int computed = precision - 1 < maxFraction ? precision - 1 : maxFraction;
            char* pEnd =
                std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::scientific, computed)
                    .ptr;
            int exponent = 0;
            const char* pExponent = pEnd;
            while (*--pExponent != 'e')
                ;
            std::from_chars(pExponent + (pExponent[1] == '+' ? 2 : 1), pEnd, exponent);
            if (exponent < -4 || exponent >= precision) {
                kind = 'e';
                format = std::chars_format::scientific;
                precision -= 1;
            } else {
                kind = 'f';
                format = std::chars_format::fixed;
                precision -= 1 + exponent;
            }
            removesZeros = !spec.alternate;
        }
        int computed = precision < maxFraction ? precision : maxFraction;
        char* pEnd = std::to_chars(digits, digits + sizeof(digits), value, format, computed).ptr;
        char mark = kind == 'e' ? 'e' : kind == 'a' ? 'p' : 0;
        if (removesZeros)
            pEnd = withoutTrailingZeros(digits, pEnd, mark);
        finish(number, digits, pEnd, removesZeros ? 0 : precision - computed, mark, spec.alternate, isUpper);
    }

    static char* findMark(char* p, char* pEnd, char mark) {
        if (mark != 0)
            for (; p != pEnd; ++p)
                if (*p == mark)
                    return p;
        return pEnd;
    }
    static char* withoutTrailingZeros(char* p, char* pEnd, char mark) {
        char* pMark = findMark(p, pEnd, mark);
        if (std::memchr(p, '.', pMark - p) == nullptr)
            return pEnd;
        char* pLast = pMark;
        while (pLast[-1] == '0')
            --pLast;
        if (pLast[-1] == '.')
            --pLast;
        std::memmove(pLast, pMark, pEnd - pMark);
        return pLast + (pEnd - pMark);
    }
    // Splits the digits from the exponent, and puts the point where "#" wants one.
    static void finish(Number& number, char* p, char* pEnd, int nInnerZeros, char mark, bool needsPoint,
                       bool isUpper) {
        char* pMark = findMark(p, pEnd, mark);
        if (needsPoint && std::memchr(p, '.', pMark - p) == nullptr) {
            std::memmove(pMark + 1, pMark, pEnd - pMark);
            *pMark++ = '.';
            ++pEnd;
        }
        if (isUpper)
            upper(p, pEnd);
        number.digits = p;
        number.nDigits = static_cast<int>(pMark - p);
        number.nInnerZeros = nInnerZeros;
        number.tail = pMark;
        number.nTail = static_cast<int>(pEnd - pMark);
    }

    static void signPrefix(Number& number, bool isNegative, const Spec& spec) {
        if (isNegative)
            number.addPrefix('-');
        else if (spec.plus)
            number.addPrefix('+');
        else if (spec.blank)
            number.addPrefix(' ');
    }
    static void upper(char* p, char* pEnd) {
        for (; p != pEnd; ++p)
            if (*p >= 'a' && *p <= 'z')
                *p = static_cast<char>(*p - ('a' - 'A'));
    }

    void put(const Number& number, const Spec& spec) {
        int nPrefix = static_cast<int>(std::strlen(number.prefix));
        std::int64_t nLength =
            std::int64_t(nPrefix) + number.nLeadingZeros + number.nDigits + number.nInnerZeros + number.nTail;
        int nPad = spec.width > nLength ? static_cast<int>(spec.width - nLength) : 0;
        bool padsZeros = spec.zero && !spec.left && number.finite;
        if (!spec.left && !padsZeros)
            m_buffer.fill(' ', nPad);
        widen(number.prefix, nPrefix);
        if (padsZeros)
            m_buffer.fill('0', nPad);
        m_buffer.fill('0', number.nLeadingZeros);
        widen(number.digits, number.nDigits);
        m_buffer.fill('0', number.nInnerZeros);
        widen(number.tail, number.nTail);
        if (spec.left)
            m_buffer.fill(' ', nPad);
    }
    void widen(const char* p, int nCount) {
        XCHAR* pTo = m_buffer.extend(nCount);
        for (int i = 0; i < nCount; ++i)
            pTo[i] = static_cast<XCHAR>(p[i]);
    }

    // ---- Texts

    // Whether an argument is of the string's own kind.
    static bool isOwnKind(bool isCapital, const Spec& spec) {
        constexpr bool isWide = sizeof(XCHAR) > 1;
        if (spec.size == Size::shortSized || spec.size == Size::charSized)
            return !isWide;
        if (spec.size == Size::longSized || spec.size == Size::bits64 || spec.size == Size::wideText)
            return isWide;
        return !isCapital;
    }

    void character(bool isCapital, const Spec& spec) {
        int value = va_arg(m_args.list, int);
        if (isOwnKind(isCapital, spec)) {
            XCHAR ch = static_cast<XCHAR>(value);
            putText(&ch, 1, spec);
        } else {
            typedef typename CStringT<XCHAR>::YCHAR YCHAR;
            YCHAR ch = static_cast<YCHAR>(value);
            if (ch == 0) {
                XCHAR nul = 0;
                putText(&nul, 1, spec);
            } else {
                CStringT<XCHAR> converted(&ch, 1);
                putText(converted, converted.GetLength(), spec);
            }
        }
    }

    void text(bool isCapital, const Spec& spec) {
        typedef typename CStringT<XCHAR>::YCHAR YCHAR;
        if (isOwnKind(isCapital, spec)) {
            auto* psz = va_arg(m_args.list, const XCHAR*);
            static const XCHAR nullText[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
            if (psz == nullptr)
                psz = nullText;
            putText(psz, boundedLength(psz, spec.precision), spec);
        } else {
            auto* psz = va_arg(m_args.list, const YCHAR*);
            static const YCHAR nullText[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
            if (psz == nullptr)
                psz = nullText;
            // One character of the other kind gives at least one of this kind.
            int nLength = boundedLength(psz, spec.precision);
            CStringT<XCHAR> converted(psz, nLength);
            while (spec.precision >= 0 && converted.GetLength() > spec.precision)
                converted = CStringT<XCHAR>(psz, --nLength);
            putText(converted, converted.GetLength(), spec);
        }
    }

    // Never looks behind the given number of characters.
    template <typename ANY>
    static int boundedLength(const ANY* psz, int nMost) {
        std::size_t nLength = 0;
        if (nMost < 0)
            nLength = std::char_traits<ANY>::length(psz);
        else
            while (nLength < static_cast<std::size_t>(nMost) && psz[nLength] != 0)
                ++nLength;
        if (nLength > maxStringLength)
            AtlThrow(E_INVALIDARG);
        return static_cast<int>(nLength);
    }

    // Kept: the flag 0 pads texts with zeros.
    void putText(const XCHAR* p, int nLength, const Spec& spec) {
        int nPad = spec.width > nLength ? spec.width - nLength : 0;
        if (!spec.left)
            m_buffer.fill(spec.zero ? '0' : ' ', nPad);
        m_buffer.add(p, nLength);
        if (spec.left)
            m_buffer.fill(' ', nPad);
    }
};

} // namespace

template <typename XCHAR>
void TextBuffer<XCHAR>::grow(int nCount) {
    if (nCount > maxStringLength - m_nLength)
        AtlThrow(E_INVALIDARG);
    int nNeeded = m_nLength + nCount;
    int nCapacity = m_nCapacity > maxStringLength / 2 ? maxStringLength : m_nCapacity * 2;
    if (nCapacity < nNeeded)
        nCapacity = nNeeded;
    bool isInner = m_pText == m_inner;
    void* p = std::realloc(isInner ? nullptr : static_cast<void*>(m_pText), nCapacity * sizeof(XCHAR));
    if (p == nullptr)
        AfxThrowMemoryException();
    if (isInner)
        std::memcpy(p, m_inner, m_nLength * sizeof(XCHAR));
    m_pText = static_cast<XCHAR*>(p);
    m_nCapacity = nCapacity;
}

template <typename XCHAR>
void formatText(TextBuffer<XCHAR>& buffer, const XCHAR* pszFormat, va_list args) {
    Formatter<XCHAR>(buffer, args).run(pszFormat);
}

template class TextBuffer<wchar_t>;
template class TextBuffer<char>;
template void formatText(TextBuffer<wchar_t>& buffer, const wchar_t* pszFormat, va_list args);
template void formatText(TextBuffer<char>& buffer, const char* pszFormat, va_list args);

} // namespace mvafx
