// The text of a profile: its sections and keys, and the bytes of the file with a change made to them.
#pragma once

#include "../../win32.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mvplat {

class ProfileText {
public:
    // Any bytes; the rest of half a unit at the end is disregarded.
    explicit ProfileText(std::string bytes);
    ProfileText(const ProfileText&) = delete;
    ProfileText& operator=(const ProfileText&) = delete;

    const std::string& bytes() const { return m_bytes; }

    // The value with its quotation marks; false when there is none. The text lives as long as the object.
    bool value(std::wstring_view section, std::wstring_view key, std::wstring_view& text);
    // Texts with a NUL behind each.
    std::wstring sectionNames() const;
    std::wstring keys(std::wstring_view section) const;
    std::wstring lines(std::wstring_view section) const;

    // What to put in the place of some of the bytes.
    struct Change {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::string bytes;
    };
    // The change; false when it changes nothing. Null: remove.
    bool withValue(std::wstring_view section, std::wstring_view key, const std::wstring_view* value,
                   Change& change);
    bool withoutSection(std::wstring_view section, Change& change) const;
    bool withLines(std::wstring_view section, const std::vector<std::wstring_view>& lines,
                   Change& change) const;
    // The bytes with the change made to them.
    std::string after(const Change& change) const;
    // Makes the change; false, and nothing has changed, when it takes reading all of the text anew.
    bool apply(const Change& change);

private:
    enum class Encoding { Ansi, Utf8, Utf16, Utf16Swapped };

    struct Line {
        // In the bytes: its text, and where the next one begins.
        std::size_t begin;
        std::size_t end;
        std::size_t next;
        // In m_text: without the blanks round it.
        std::size_t first;
        std::size_t last;
    };
    struct Section {
        std::size_t name; // in m_text
        std::size_t nameEnd;
        std::size_t header; // its line; behind the last one for the nameless section
        std::size_t first;  // its lines
        std::size_t last;
        bool asked = false; // for a key
        bool indexed = false;
        std::unordered_map<std::wstring, std::size_t> keys; // by capitals, once a second key was asked for
    };

    void detectEncoding();
    void split();
    void decode(std::size_t begin, std::size_t end);
    void decodeUtf16(std::size_t begin, std::size_t end);
    unsigned unitAt(std::size_t at) const;
    void addSections();
    std::size_t findSeparator(std::size_t at) const;
    bool isSeparatorAt(std::size_t at, char& kind) const;

    std::wstring_view text(const Line& line) const {
        return std::wstring_view(m_text).substr(line.first, line.last - line.first);
    }
    Section* find(std::wstring_view name);
    const Section* find(std::wstring_view name) const;
    const Line* findKey(Section& section, std::wstring_view key);

    std::string encode(std::wstring_view text) const;
    std::string lineEnd() const { return encode(m_lineEnd); }
    // Where a line that is added to the section begins, and what it needs before it.
    std::size_t endOf(const Section& section, std::string& before) const;
    void appendTo(Change& change, std::wstring_view section, const std::string& lines) const;

    std::string m_bytes;
    Encoding m_encoding = Encoding::Ansi;
    std::size_t m_mark = 0; // its length
    std::size_t m_unit = 1;
    std::wstring m_lineEnd = L"\r\n";
    std::wstring m_text;
    std::vector<Line> m_lines;
    std::vector<Section> m_sections;                           // the nameless one first
    std::unordered_map<std::wstring, std::size_t> m_sectionOf; // by capitals
};

} // namespace mvplat
