#include "xml/base64_vector.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#define MVXML_AVX2 __attribute__((target("avx2")))
// Reads behind the text's end by design, so that address checking is off.
#define MVXML_AVX2_BEHIND_THE_END __attribute__((target("avx2"), no_sanitize("address", "thread")))

namespace mvxml {

namespace {

constexpr bool WideIsUtf16 = sizeof(wchar_t) == 2;
constexpr std::size_t StepBytes = 32 * sizeof(wchar_t);

MVXML_AVX2 inline __m256i Within(__m256i bytes, char first, char last) {
    return _mm256_and_si256(_mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(static_cast<char>(first - 1))),
                            _mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(last + 1)), bytes));
}
MVXML_AVX2 inline __m256i Above(__m256i bytes, int value) {
    return _mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(static_cast<char>(value)));
}
MVXML_AVX2 inline __m256i If(__m256i mask, int value) {
    return _mm256_and_si256(mask, _mm256_set1_epi8(static_cast<char>(value)));
}

// 32 units as bytes; units that are no byte become some byte that is not in the alphabet.
MVXML_AVX2_BEHIND_THE_END inline __m256i Narrow(const wchar_t* text) {
    const __m256i* source = reinterpret_cast<const __m256i*>(text);
    if (WideIsUtf16) {
        // Packing saturates signed: what is above 0x7FFF becomes 0, the rest above 255 becomes 255.
        __m256i packed = _mm256_packus_epi16(_mm256_loadu_si256(source), _mm256_loadu_si256(source + 1));
        return _mm256_permute4x64_epi64(packed, 0xD8);
    }
    __m256i low = _mm256_packs_epi32(_mm256_loadu_si256(source), _mm256_loadu_si256(source + 1));
    __m256i high = _mm256_packs_epi32(_mm256_loadu_si256(source + 2), _mm256_loadu_si256(source + 3));
    __m256i packed = _mm256_packus_epi16(low, high);
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// What has to be added to each character to get its value; false when one is not in the alphabet.
MVXML_AVX2 inline bool Offsets(__m256i bytes, __m256i& offsets) {
    __m256i upper = Within(bytes, 'A', 'Z');
    __m256i lower = Within(bytes, 'a', 'z');
    __m256i digit = Within(bytes, '0', '9');
    __m256i plus = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('+'));
    __m256i slash = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('/'));
    __m256i any =
        _mm256_or_si256(_mm256_or_si256(_mm256_or_si256(upper, lower), _mm256_or_si256(plus, slash)), digit);
    offsets = _mm256_or_si256(
        _mm256_or_si256(_mm256_or_si256(If(upper, -'A'), If(lower, 26 - 'a')), If(digit, 52 - '0')),
        _mm256_or_si256(If(plus, 62 - '+'), If(slash, 63 - '/')));
    return _mm256_movemask_epi8(any) == -1;
}

bool StepLiesInOnePage(const wchar_t* text) {
    return (reinterpret_cast<std::uintptr_t>(text) & 4095) <= 4096 - StepBytes;
}

// Reads 28 bytes, of which it encodes 24, and writes 32 units.
MVXML_AVX2 inline void EncodeStep(const unsigned char* data, wchar_t* out) {
    const __m128i* source = reinterpret_cast<const __m128i*>(data);
    const __m128i* second = reinterpret_cast<const __m128i*>(data + 12);
    __m256i bytes = _mm256_set_m128i(_mm_loadu_si128(second), _mm_loadu_si128(source));
    // Each lane of four bytes gets three as a number, the first one highest.
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    __m256i groups = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
    // Its four parts of six bits go into the lane's bytes, the highest first.
    __m256i values = _mm256_or_si256(
        _mm256_or_si256(_mm256_srli_epi32(groups, 18),
                        _mm256_and_si256(_mm256_srli_epi32(groups, 4), _mm256_set1_epi32(0x00003F00))),
        _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi32(groups, 10), _mm256_set1_epi32(0x003F0000)),
                        _mm256_and_si256(_mm256_slli_epi32(groups, 24), _mm256_set1_epi32(0x3F000000))));
    // From a value to its character, by what each range of the alphabet adds to the one before.
    __m256i characters = _mm256_add_epi8(values, _mm256_set1_epi8('A'));
    characters = _mm256_add_epi8(characters, If(Above(values, 25), 'a' - 26 - 'A'));
    characters = _mm256_add_epi8(characters, If(Above(values, 51), '0' - 52 - ('a' - 26)));
    characters = _mm256_add_epi8(characters, If(Above(values, 61), '+' - 62 - ('0' - 52)));
    characters = _mm256_add_epi8(characters, If(Above(values, 62), '/' - 63 - ('+' - 62)));
    __m256i* target = reinterpret_cast<__m256i*>(out);
    __m128i low = _mm256_castsi256_si128(characters);
    __m128i high = _mm256_extracti128_si256(characters, 1);
    if (WideIsUtf16) {
        _mm256_storeu_si256(target, _mm256_cvtepu8_epi16(low));
        _mm256_storeu_si256(target + 1, _mm256_cvtepu8_epi16(high));
    } else {
        _mm256_storeu_si256(target, _mm256_cvtepu8_epi32(low));
        _mm256_storeu_si256(target + 1, _mm256_cvtepu8_epi32(_mm_srli_si128(low, 8)));
        _mm256_storeu_si256(target + 2, _mm256_cvtepu8_epi32(high));
        _mm256_storeu_si256(target + 3, _mm256_cvtepu8_epi32(_mm_srli_si128(high, 8)));
    }
}

} // namespace

bool CanStepBase64() {
    static const bool can = (__builtin_cpu_init(), __builtin_cpu_supports("avx2") != 0);
    return can;
}

MVXML_AVX2 void EncodeSteps(const unsigned char*& data, const unsigned char* end, wchar_t*& out) {
    const unsigned char* source = data;
    wchar_t* target = out;
    for (; end - source >= 28; source += 24, target += 32)
        EncodeStep(source, target);
    data = source;
    out = target;
}

MVXML_AVX2 void EncodeLines(const unsigned char*& data, const unsigned char* end, wchar_t*& out) {
    const unsigned char* source = data;
    wchar_t* target = out;
    for (; end - source >= 48 + 28; source += 54, target += 73) {
        EncodeStep(source, target);
        EncodeStep(source + 24, target + 32);
        EncodeStep(source + 48, target + 64); // the last 24 units are written over
        target[72] = L'\n';
    }
    data = source;
    out = target;
}

MVXML_AVX2_BEHIND_THE_END void DecodeSteps(const wchar_t*& text, unsigned char*& out,
                                           const unsigned char* limit) {
    const wchar_t* p = text;
    unsigned char* target = out;
    while (limit - target >= 24 && StepLiesInOnePage(p)) {
        __m256i bytes = Narrow(p);
        __m256i offsets;
        if (!Offsets(bytes, offsets))
            break;
        __m256i values = _mm256_add_epi8(bytes, offsets);
        // Four values of six bits become one number of 24 bits: first in pairs, then the pairs.
        __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));
        __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
        __m256i ordered = _mm256_shuffle_epi8(groups, _mm256_broadcastsi128_si256(order));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(ordered));
        __m128i second = _mm256_extracti128_si256(ordered, 1);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(target + 12), second);
        int last = _mm_extract_epi32(second, 2);
        std::memcpy(target + 20, &last, sizeof(last));
        p += 32;
        target += 24;
    }
    text = p;
    out = target;
}

MVXML_AVX2_BEHIND_THE_END const wchar_t* SkipSteps(const wchar_t* text) {
    __m256i offsets;
    while (StepLiesInOnePage(text) && Offsets(Narrow(text), offsets))
        text += 32;
    return text;
}

} // namespace mvxml

#else

namespace mvxml {

bool CanStepBase64() {
    return false;
}
void EncodeSteps(const unsigned char*&, const unsigned char*, wchar_t*&) {}
void EncodeLines(const unsigned char*&, const unsigned char*, wchar_t*&) {}
void DecodeSteps(const wchar_t*&, unsigned char*&, const unsigned char*) {}
const wchar_t* SkipSteps(const wchar_t* text) {
    return text;
}

} // namespace mvxml

#endif
