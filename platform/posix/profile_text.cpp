#include "internal/profile_text.h"

#include "internal/text.h"
#include "internal/upper_case.h"

#include <algorithm>
#include <cstring>

namespace mvplat {

namespace {

// Old editors end a file with a Ctrl-Z, which is no part of the last value.
bool isBlank(wchar_t unit) {
    return unit == L' ' || unit == L'\t' || unit == L'\v' || unit == L'\f' || unit == 0x1A;
}

std::wstring_view trimmed(std::wstring_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::wstring_view untilNul(std::wstring_view text) {
    return text.substr(0, text.find(L'\0'));
}

bool isComment(std::wstring_view line) {
    return !line.empty() && line.front() == L';';
}

std::wstring_view keyOf(std::wstring_view line) {
    return trimmed(untilNul(line.substr(0, line.find(L'='))));
}

} // namespace

ProfileText::ProfileText(std::string bytes)
    : m_bytes(std::move(bytes)) {
    detectEncoding();
    split();
    addSections();
}

void ProfileText::detectEncoding() {
    const auto begins = [this](std::string_view mark) { return m_bytes.compare(0, mark.size(), mark) == 0; };
    if (begins("\xEF\xBB\xBF")) {
        m_encoding = Encoding::Utf8;
        m_mark = 3;
        return;
    }
    if (begins("\xFF\xFE"))
        m_encoding = Encoding::Utf16;
    else if (begins("\xFE\xFF"))
        m_encoding = Encoding::Utf16Swapped;
    else
        return;
    m_mark = 2;
    m_unit = 2;
    if (m_bytes.size() % 2 != 0)
        m_bytes.pop_back();
}

bool ProfileText::isSeparatorAt(std::size_t at, char& kind) const {
    if (m_unit == 1) {
        kind = m_bytes[at];
    } else {
        const std::size_t low = m_encoding == Encoding::Utf16 ? at : at + 1;
        const std::size_t high = m_encoding == Encoding::Utf16 ? at + 1 : at;
        if (m_bytes[high] != 0)
            return false;
        kind = m_bytes[low];
    }
    return kind == '\r' || kind == '\n';
}

// From `at` on; the size of the bytes when there is none.
std::size_t ProfileText::findSeparator(std::size_t at) const {
    const char* const bytes = m_bytes.data();
    const std::size_t size = m_bytes.size();
    if (m_unit == 1) {
        while (at < size && bytes[at] != '\r' && bytes[at] != '\n')
            ++at;
        return at;
    }
    const std::size_t low = m_encoding == Encoding::Utf16 ? 0 : 1;
    for (; at < size; at += 2) {
        const char kind = bytes[at + low];
        if ((kind == '\r' || kind == '\n') && bytes[at + (low ^ 1)] == 0)
            break;
    }
    return at;
}

void ProfileText::split() {
    const std::size_t size = m_bytes.size();
    m_text.reserve(size / m_unit);
    bool ended = false;
    for (std::size_t at = m_mark; at < size;) {
        Line line = {};
        line.begin = at;
        char kind = 0;
        at = findSeparator(at);
        line.end = at;
        if (at < size && isSeparatorAt(at, kind)) {
            at += m_unit;
            char second = 0;
            const bool both = kind == '\r' && at < size && isSeparatorAt(at, second) && second == '\n';
            if (both)
                at += m_unit;
            if (!ended)
                m_lineEnd = both ? L"\r\n" : kind == '\n' ? L"\n" : L"\r";
            ended = true;
        }
        line.next = at;
        const std::size_t first = m_text.size();
        decode(line.begin, line.end);
        const std::wstring_view whole = std::wstring_view(m_text).substr(first);
        const std::wstring_view core = trimmed(whole);
        line.first = core.empty() ? first : static_cast<std::size_t>(core.data() - m_text.data());
        line.last = line.first + core.size();
        m_lines.push_back(line);
    }
}

unsigned ProfileText::unitAt(std::size_t at) const {
    const auto first = static_cast<unsigned char>(m_bytes[at]);
    const auto second = static_cast<unsigned char>(m_bytes[at + 1]);
    return m_encoding == Encoding::Utf16 ? first | unsigned{second} << 8 : second | unsigned{first} << 8;
}

void ProfileText::decodeUtf16(std::size_t begin, std::size_t end) {
    const std::size_t length = (end - begin) / 2;
    const std::size_t before = m_text.size();
    m_text.resize(before + length);
    wchar_t* to = m_text.data() + before;
    unsigned surrogates = 0;
    for (std::size_t at = begin; at + 1 < end; at += 2) {
        const unsigned unit = unitAt(at);
        surrogates |= (unit & 0xF800) == 0xD800 ? 1u : 0u;
        *to++ = static_cast<wchar_t>(unit);
    }
    if (surrogates == 0)
        return;
    std::vector<std::uint16_t> units;
    units.reserve(length);
    for (std::size_t at = begin; at + 1 < end; at += 2)
        units.push_back(static_cast<std::uint16_t>(unitAt(at)));
    m_text.resize(before);
    m_text += wideFromUtf16(units.data(), units.size());
}

void ProfileText::decode(std::size_t begin, std::size_t end) {
    if (m_unit == 2) {
        decodeUtf16(begin, end);
        return;
    }
    while (begin < end && static_cast<unsigned char>(m_bytes[begin]) < 0x80)
        m_text += static_cast<wchar_t>(m_bytes[begin++]);
    if (begin == end)
        return;
    const int length = static_cast<int>(end - begin);
    const UINT page = m_encoding == Encoding::Utf8 ? CP_UTF8 : CP_ACP;
    const std::size_t before = m_text.size();
    m_text.resize(before + static_cast<std::size_t>(length));
    const int written =
        MultiByteToWideChar(page, 0, m_bytes.data() + begin, length, m_text.data() + before, length);
    m_text.resize(before + static_cast<std::size_t>(written));
}

void ProfileText::addSections() {
    Section nameless = {};
    nameless.header = m_lines.size();
    m_sections.push_back(nameless);
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        const std::wstring_view line = text(m_lines[i]);
        const std::size_t close =
            line.empty() || line.front() != L'[' ? std::wstring_view::npos : line.rfind(L']');
        if (close == std::wstring_view::npos)
            continue;
        m_sections.back().last = i;
        const std::wstring_view name = trimmed(untilNul(line.substr(1, close - 1)));
        Section section = {};
        section.name = name.empty() ? 0 : static_cast<std::size_t>(name.data() - m_text.data());
        section.nameEnd = section.name + name.size();
        section.header = i;
        section.first = i + 1;
        m_sections.push_back(section);
    }
    m_sections.back().last = m_lines.size();
    for (std::size_t i = 0; i < m_sections.size(); ++i) {
        const std::size_t begin = m_sections[i].name;
        m_sectionOf.emplace(upperCase(std::wstring_view(m_text).substr(begin, m_sections[i].nameEnd - begin)),
                            i);
    }
}

const ProfileText::Section* ProfileText::find(std::wstring_view name) const {
    const auto found = m_sectionOf.find(upperCase(trimmed(name)));
    return found == m_sectionOf.end() ? nullptr : &m_sections[found->second];
}

ProfileText::Section* ProfileText::find(std::wstring_view name) {
    return const_cast<Section*>(static_cast<const ProfileText*>(this)->find(name));
}

const ProfileText::Line* ProfileText::findKey(Section& section, std::wstring_view key) {
    key = trimmed(key);
    // Who reads one value of a section had better not prepare for reading them all.
    if (!section.asked) {
        section.asked = true;
        for (std::size_t i = section.first; i < section.last; ++i) {
            const std::wstring_view line = text(m_lines[i]);
            if (!line.empty() && equalButForCase(keyOf(line), key))
                return &m_lines[i];
        }
        return nullptr;
    }
    if (!section.indexed) {
        section.keys.reserve(section.last - section.first);
        for (std::size_t i = section.first; i < section.last; ++i) {
            if (const std::wstring_view line = text(m_lines[i]); !line.empty())
                section.keys.emplace(upperCase(keyOf(line)), i);
        }
        section.indexed = true;
    }
    const auto found = section.keys.find(upperCase(key));
    return found == section.keys.end() ? nullptr : &m_lines[found->second];
}

bool ProfileText::value(std::wstring_view section, std::wstring_view key, std::wstring_view& result) {
    Section* const inside = find(section);
    const Line* const line = inside ? findKey(*inside, key) : nullptr;
    const std::wstring_view whole = line ? text(*line) : std::wstring_view();
    const std::size_t equals = whole.find(L'=');
    if (equals == std::wstring_view::npos)
        return false;
    result = whole.substr(equals + 1);
    result = trimmed(untilNul(result));
    return true;
}

std::wstring ProfileText::sectionNames() const {
    std::wstring list;
    for (const Section& section : m_sections) {
        if (section.nameEnd > section.name)
            list.append(m_text, section.name, section.nameEnd - section.name).append(1, L'\0');
    }
    return list;
}

std::wstring ProfileText::keys(std::wstring_view name) const {
    std::wstring list;
    const Section* const section = find(name);
    for (std::size_t i = section ? section->first : 0; section && i < section->last; ++i) {
        const std::wstring_view line = text(m_lines[i]);
        if (!isComment(line) && line.find(L'=') != std::wstring_view::npos)
            list.append(keyOf(line)).append(1, L'\0');
    }
    return list;
}

std::wstring ProfileText::lines(std::wstring_view name) const {
    std::wstring list;
    const Section* const section = find(name);
    for (std::size_t i = section ? section->first : 0; section && i < section->last; ++i) {
        const std::wstring_view line = untilNul(text(m_lines[i]));
        if (!line.empty() && !isComment(line))
            list.append(line).append(1, L'\0');
    }
    return list;
}

// ---- Changes

std::string ProfileText::encode(std::wstring_view wide) const {
    if (m_unit == 1) {
        if (wide.empty())
            return std::string();
        const UINT page = m_encoding == Encoding::Utf8 ? CP_UTF8 : CP_ACP;
        const int length = static_cast<int>(wide.size());
        const int size = WideCharToMultiByte(page, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
        std::string bytes(static_cast<std::size_t>(size), '\0');
        WideCharToMultiByte(page, 0, wide.data(), length, bytes.data(), size, nullptr, nullptr);
        return bytes;
    }
    return utf16Bytes(wide, m_encoding == Encoding::Utf16Swapped);
}

std::string ProfileText::after(const Change& change) const {
    std::string changed;
    changed.reserve(m_bytes.size() - (change.end - change.begin) + change.bytes.size());
    changed.append(m_bytes, 0, change.begin).append(change.bytes).append(m_bytes, change.end);
    return changed;
}

bool ProfileText::apply(const Change& change) {
    if (m_unit != 2)
        return false;
    const auto line = std::lower_bound(m_lines.begin(), m_lines.end(), change.begin,
                                       [](const Line& one, std::size_t at) { return one.begin < at; });
    if (line == m_lines.end() || line->begin != change.begin || line->end != change.end)
        return false;
    // The new line is to be one line, under the same key.
    ProfileText alone(m_bytes.substr(0, m_mark) + change.bytes);
    if (alone.m_lines.size() != 1 || alone.m_sections.size() != 1 ||
        alone.m_lines[0].end != alone.m_lines[0].next)
        return false;
    const std::wstring_view before = text(*line);
    const std::wstring_view now = alone.text(alone.m_lines[0]);
    if (before.empty() || now.empty() ||
        (before.front() == L'[' && before.find(L']') != std::wstring_view::npos) ||
        !equalButForCase(keyOf(before), keyOf(now)))
        return false;
    const std::size_t place = line->first;
    const std::size_t bytesMore = change.bytes.size() - (change.end - change.begin); // modulo its range
    const std::size_t textMore = now.size() - before.size();
    m_bytes.replace(change.begin, change.end - change.begin, change.bytes);
    m_text.replace(place, before.size(), now);
    line->end += bytesMore;
    line->next += bytesMore;
    line->last += textMore;
    for (auto behind = line + 1; behind != m_lines.end(); ++behind) {
        behind->begin += bytesMore;
        behind->end += bytesMore;
        behind->next += bytesMore;
        behind->first += textMore;
        behind->last += textMore;
    }
    for (Section& section : m_sections) {
        if (section.name > place) {
            section.name += textMore;
            section.nameEnd += textMore;
        }
    }
    return true;
}

std::size_t ProfileText::endOf(const Section& section, std::string& before) const {
    // Blank lines stay between this section and the next.
    std::size_t last = section.last;
    while (last > section.first && text(m_lines[last - 1]).empty())
        --last;
    const bool afterLine = last > section.first || section.header < m_lines.size();
    const Line* const line = last > section.first              ? &m_lines[last - 1]
                             : section.header < m_lines.size() ? &m_lines[section.header]
                                                               : nullptr;
    if (!afterLine)
        return m_mark;
    if (line->next == line->end)
        before = lineEnd();
    return line->next;
}

void ProfileText::appendTo(Change& change, std::wstring_view section, const std::string& lines) const {
    change.begin = change.end = m_bytes.size();
    change.bytes.clear();
    if (!m_lines.empty() && m_lines.back().next == m_lines.back().end)
        change.bytes = lineEnd();
    change.bytes += encode(L"[" + std::wstring(trimmed(section)) + L"]" + m_lineEnd) + lines;
}

bool ProfileText::withValue(std::wstring_view section, std::wstring_view key, const std::wstring_view* value,
                            Change& change) {
    Section* const inside = find(section);
    const Line* const line = inside ? findKey(*inside, key) : nullptr;
    if (!value) {
        if (!line)
            return false;
        change = {line->begin, line->next, std::string()};
        return true;
    }
    const std::wstring name(line ? keyOf(text(*line)) : trimmed(key));
    const std::string bytes = encode(name + L"=" + std::wstring(*value));
    if (line) {
        if (m_bytes.compare(line->begin, line->end - line->begin, bytes) == 0)
            return false;
        change = {line->begin, line->end, bytes};
    } else if (inside) {
        std::string before;
        const std::size_t at = endOf(*inside, before);
        change = {at, at, before + bytes + lineEnd()};
    } else {
        appendTo(change, section, bytes + lineEnd());
    }
    return true;
}

bool ProfileText::withoutSection(std::wstring_view name, Change& change) const {
    const Section* const section = find(name);
    if (!section || section->first == section->last) {
        if (!section || section->header >= m_lines.size())
            return false;
    }
    const std::size_t begin = section->header < m_lines.size() ? m_lines[section->header].begin : m_mark;
    const std::size_t end =
        section->last > section->first ? m_lines[section->last - 1].next : m_lines[section->header].next;
    change = {begin, end, std::string()};
    return true;
}

bool ProfileText::withLines(std::wstring_view name, const std::vector<std::wstring_view>& lines,
                            Change& change) const {
    std::wstring joined;
    for (const std::wstring_view line : lines)
        joined.append(line).append(m_lineEnd);
    const std::string bytes = encode(joined);
    const Section* const section = find(name);
    if (!section) {
        if (lines.empty())
            return false;
        appendTo(change, name, bytes);
        return true;
    }
    std::string before;
    const std::size_t end = endOf(*section, before);
    const bool hasHeader = section->header < m_lines.size();
    const std::size_t begin = hasHeader ? m_lines[section->header].next : m_mark;
    if (hasHeader && m_lines[section->header].next != m_lines[section->header].end)
        before.clear(); // what lacks its end is a line that goes
    change = {begin, end, before + bytes};
    return m_bytes.compare(begin, end - begin, change.bytes) != 0;
}

} // namespace mvplat
