// The wildcards of file names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mvplat {

bool hasWildcards(std::wstring_view text);

// A pattern that FindFirstFileW takes. "*" and "?" have the meaning that the system gives them, which depends
// on the full stops beside them: "*.*" meets every name, "*." those without an extension, a "?" before a full
// stop or at the end also nothing ("a?.txt" meets "a.txt"), and a full stop before a wildcard also the end of
// a name ("a*.*" meets "abc"). The case of letters does not count.
class FilePattern {
public:
    explicit FilePattern(std::wstring_view pattern);
    bool meets(std::wstring_view name) const;
    bool meetsAll() const { return m_all; }

private:
    enum class Kind : unsigned char {
        Letter,
        Any,       // any characters
        AnyToStop, // any characters but the name's last full stop
        One,       // a character; or nothing, before a full stop and at the end
        StopOrEnd, // a full stop, or the end
    };
    struct Element {
        Kind kind;
        wchar_t letter;
    };

    std::vector<Element> m_elements;
    bool m_all = false;
};

} // namespace mvplat
