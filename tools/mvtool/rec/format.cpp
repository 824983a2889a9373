#include "format.h"

#include "../crc32.h"
#include "../text.h"
#include <algorithm>

namespace mvtool::rec {
namespace {

/// Upper case of the letters that device names have.
char16_t upper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
}

/// Windows takes these for devices with any extension, also with blanks before it.
bool isDeviceName(std::u16string_view name) {
    std::u16string_view stem = name.substr(0, name.find(u'.'));
    while (stem.ends_with(u' ')) {
        stem.remove_suffix(1);
    }
    std::u16string folded;
    for (const char16_t unit : stem) {
        folded += upper(unit);
    }
    if (folded == u"CON" || folded == u"PRN" || folded == u"AUX" || folded == u"NUL" || folded == u"CONIN$" ||
        folded == u"CONOUT$" || folded == u"CLOCK$") {
        return true;
    }
    return folded.size() == 4 && (folded.starts_with(u"COM") || folded.starts_with(u"LPT")) &&
           std::u16string_view(u"0123456789\u00B9\u00B2\u00B3").find(folded[3]) != std::u16string_view::npos;
}

} // namespace

NameKind kindOfName(std::u16string_view name) {
    if (name.empty() || name.size() > kNameUnits || name == u"." || name == u".." ||
        name.find(u'/') != std::u16string_view::npos || name.find(u'\0') != std::u16string_view::npos) {
        return NameKind::nowhere;
    }
    if (!wellFormed(name)) {
        return bytesFromUnits(name) ? NameKind::posixOnly : NameKind::nowhere;
    }
    const bool reserved = std::any_of(name.begin(), name.end(), [](char16_t unit) {
        return unit < 0x20 || std::u16string_view(u"<>:\"\\|?*").find(unit) != std::u16string_view::npos;
    });
    return reserved || name.back() == u'.' || name.back() == u' ' || isDeviceName(name)
               ? NameKind::posixOnly
               : NameKind::everywhere;
}

void store(unsigned char* at, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        at[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

std::uint64_t load(const unsigned char* at, int bytes) {
    std::uint64_t value = 0;
    for (int i = bytes - 1; i >= 0; --i) {
        value = value << 8 | at[i];
    }
    return value;
}

std::vector<unsigned char> encode(const Entry& entry) {
    const std::size_t fixed = entry.folder ? kFolderFixedBytes : kFileFixedBytes;
    std::vector<unsigned char> payload(fixed + 2 * entry.name.size());
    store(&payload[0], entry.flags, 4);
    store(&payload[4], static_cast<std::uint64_t>(entry.modified), 8);
    if (!entry.folder) {
        store(&payload[12], entry.size, 8);
    }
    store(&payload[fixed - 2], entry.name.size(), 2);
    for (std::size_t i = 0; i < entry.name.size(); ++i) {
        store(&payload[fixed + 2 * i], entry.name[i], 2);
    }
    return payload;
}

std::vector<unsigned char> encode(const Totals& totals) {
    std::vector<unsigned char> payload(kEndBytes);
    store(&payload[0], totals.folders, 8);
    store(&payload[8], totals.files, 8);
    store(&payload[16], totals.pieces, 8);
    store(&payload[24], totals.bytes, 8);
    return payload;
}

std::uint32_t recordSum(std::uint32_t sum, std::uint32_t id, std::uint32_t length, short level,
                        const void* payload, std::size_t size) {
    unsigned char header[kRecordHeaderBytes];
    store(header, id, 4);
    store(header + 4, length, 4);
    store(header + 8, static_cast<std::uint16_t>(level), 2);
    return crc32(crc32(sum, header, sizeof header), payload, size);
}

Fault decode(std::span<const unsigned char> payload, bool folder, Entry& entry) {
    const std::uint32_t fixed = folder ? kFolderFixedBytes : kFileFixedBytes;
    entry.name.clear();
    if (payload.size() < fixed) {
        return {0, "the payload is too short"};
    }
    entry.folder = folder;
    entry.flags = static_cast<std::uint32_t>(load(&payload[0], 4));
    entry.modified = static_cast<std::int64_t>(load(&payload[4], 8));
    entry.size = folder ? 0 : load(&payload[12], 8);
    const std::uint64_t units = load(&payload[fixed - 2], 2);
    if (units == 0 || units > kNameUnits || payload.size() != fixed + 2 * units) {
        return {fixed - 2, "the name's length does not fit"};
    }
    entry.name.resize(units);
    for (std::size_t i = 0; i < units; ++i) {
        entry.name[i] = static_cast<char16_t>(load(&payload[fixed + 2 * i], 2));
    }
    const NameKind kind = kindOfName(entry.name);
    if (kind == NameKind::nowhere) {
        return {fixed, "a name that no file can have"};
    }
    if ((kind == NameKind::posixOnly) != ((entry.flags & kPosixName) != 0)) {
        return {fixed,
                kind == NameKind::posixOnly ? "a name that Windows reserves" : "a flag that the name belies"};
    }
    if ((entry.flags & ~(folder ? kPosixName : kPosixName | kExecutable | kReadOnly)) != 0) {
        return {0, "unknown flags"};
    }
    return {};
}

Totals decodeTotals(std::span<const unsigned char> payload) {
    Totals totals;
    totals.folders = load(&payload[0], 8);
    totals.files = load(&payload[8], 8);
    totals.pieces = load(&payload[16], 8);
    totals.bytes = load(&payload[24], 8);
    return totals;
}

} // namespace mvtool::rec
