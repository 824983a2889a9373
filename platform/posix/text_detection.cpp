#include "win32.h"

namespace {

constexpr int unitsLookedAt = 256;

bool isControl(unsigned int unit) {
    return unit == '\r' || unit == '\n' || unit == '\t' || unit == ' ' || unit == 0x3000;
}

// What UTF-16 text does not hold: the above with their bytes exchanged, and zero.
bool isForeign(unsigned int unit) {
    return unit == 0 || unit == 0x0D00 || unit == 0x0A00 || unit == 0x0900 || unit == 0x2000;
}

} // namespace

BOOL WINAPI IsTextUnicode(LPCVOID buffer, int size, LPINT result) {
    // Which tests are made and how each ended: nothing here asks for that.
    if (result || !buffer || size < 2 || size % 2 != 0)
        return FALSE;
    const unsigned char* bytes = static_cast<const unsigned char*>(buffer);
    auto unitAt = [&](int i) { return bytes[2 * i] | static_cast<unsigned int>(bytes[2 * i + 1]) << 8; };
    if (unitAt(0) == 0xFFFE)
        return FALSE;
    // A last unit of which only the lower half is filled is left out, as Windows leaves it.
    int units = (bytes[size - 1] == 0 ? size - 1 : size) / 2;
    if (units > unitsLookedAt)
        units = unitsLookedAt;
    int low = 0;
    bool control = false;
    bool zeroByte = false;
    for (int i = 0; i < units; ++i) {
        const unsigned int unit = unitAt(i);
        if (isForeign(unit))
            return FALSE;
        control = control || isControl(unit);
        zeroByte = zeroByte || (unit & 0xFF) == 0 || unit >> 8 == 0;
        low += unit <= 0xFF;
    }
    return unitAt(0) == 0xFEFF || control || zeroByte || low > units / 2;
}
