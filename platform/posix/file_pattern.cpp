#include "internal/file_pattern.h"

#include "internal/upper_case.h"

namespace mvplat {

bool hasWildcards(std::wstring_view text) {
    return text.find_first_of(L"*?") != std::wstring_view::npos;
}

FilePattern::FilePattern(std::wstring_view pattern) {
    const bool endsInStop = !pattern.empty() && (pattern.back() == L'.' || pattern.back() == L' ');
    while (!pattern.empty() && (pattern.back() == L'.' || pattern.back() == L' '))
        pattern.remove_suffix(1);
    m_all = (pattern == L"*" && !endsInStop) || pattern == L"*.*";
    const auto wildcardAt = [pattern](std::size_t at) {
        return at < pattern.size() && (pattern[at] == L'*' || pattern[at] == L'?');
    };
    m_elements.reserve(pattern.size());
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const wchar_t unit = pattern[i];
        Kind kind = Kind::Letter;
        if (unit == L'?')
            kind = Kind::One;
        else if (unit == L'*')
            kind =
                (i + 1 < pattern.size() ? pattern[i + 1] == L'.' : endsInStop) ? Kind::AnyToStop : Kind::Any;
        else if (unit == L'.' && wildcardAt(i + 1))
            kind = Kind::StopOrEnd;
        m_elements.push_back({kind, upperCase(unit)});
    }
}

bool FilePattern::meets(std::wstring_view name) const {
    if (m_all)
        return true;
    // The places in the pattern that the name read so far may have led to.
    const std::size_t count = m_elements.size();
    std::vector<bool> places(count + 1);
    std::vector<bool> next(count + 1);
    places[0] = true;
    const std::size_t lastStop = name.rfind(L'.');
    // What elements may stand for no character at this point of the name.
    const auto skip = [&](std::vector<bool>& reached, std::size_t at) {
        const bool end = at == name.size();
        for (std::size_t i = 0; i < count; ++i) {
            if (!reached[i])
                continue;
            const Kind kind = m_elements[i].kind;
            if (kind == Kind::Any || kind == Kind::AnyToStop || (kind == Kind::StopOrEnd && end) ||
                (kind == Kind::One && (end || name[at] == L'.')))
                reached[i + 1] = true;
        }
    };
    for (std::size_t at = 0; at < name.size(); ++at) {
        skip(places, at);
        next.assign(count + 1, false);
        const wchar_t unit = upperCase(name[at]);
        for (std::size_t i = 0; i < count; ++i) {
            if (!places[i])
                continue;
            switch (m_elements[i].kind) {
            case Kind::Letter:
                next[i + 1] = next[i + 1] || m_elements[i].letter == unit;
                break;
            case Kind::Any:
                next[i] = true;
                break;
            case Kind::AnyToStop:
                next[i] = next[i] || at != lastStop;
                break;
            case Kind::One:
                next[i + 1] = next[i + 1] || unit != L'.';
                break;
            case Kind::StopOrEnd:
                next[i + 1] = next[i + 1] || unit == L'.';
                break;
            }
        }
        places.swap(next);
    }
    skip(places, name.size());
    return places[count];
}

} // namespace mvplat
