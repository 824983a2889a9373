// The text of INI files in memory, without the files: the same changes as in ini.cpp, many times as fast.
#include "ini_changes.h"

#include "posix/internal/profile_text.h"

using mvplat::ProfileText;

namespace {

std::wstring Value(const std::string& file, const std::wstring& section, const std::wstring& key) {
    ProfileText text(file);
    std::wstring_view value;
    if (!text.value(section, key, value))
        return L"(none)";
    if (value.size() >= 2 && (value.front() == L'"' || value.front() == L'\'') &&
        value.front() == value.back())
        value = value.substr(1, value.size() - 2);
    return std::wstring(value);
}

// Asks for everything; a list has a NUL behind each text.
void CheckReading(const std::string& file, const std::wstring& section) {
    const ProfileText text(file);
    for (const std::wstring& list : {text.sectionNames(), text.keys(section), text.lines(section)})
        Require(list.empty() || list.back() == 0, "a list ends with a NUL");
}

std::vector<std::wstring> Split(const std::wstring& list) {
    std::vector<std::wstring> texts;
    for (std::size_t at = 0; at < list.size(); at += texts.back().size() + 1)
        texts.emplace_back(list.c_str() + at);
    return texts;
}

// Whether a text answers as one that was read from the bytes.
void RequireSame(ProfileText& text, const std::string& bytes) {
    ProfileText anew(bytes);
    Require(text.sectionNames() == anew.sectionNames(), "a change in place gives the same sections");
    std::vector<std::wstring> sections = Split(anew.sectionNames());
    sections.emplace_back();
    for (const std::wstring& section : sections) {
        Require(text.keys(section) == anew.keys(section) && text.lines(section) == anew.lines(section),
                "a change in place gives the same lines");
        for (const std::wstring& key : Split(anew.keys(section))) {
            // A line of the name alone may stand before the one with a value, and hide it.
            std::wstring_view value, expected;
            const bool found = anew.value(section, key, expected);
            Require(text.value(section, key, value) == found && value == expected,
                    "a change in place gives the same values");
        }
    }
}

// The file after the change.
std::string Change(const std::string& file, const Changes::Step& step) {
    const auto& [kind, section, key, value] = step;
    ProfileText text(file);
    ProfileText::Change change;
    // What the change makes of the file, and what a text makes of it that is changed in place.
    const auto make = [&] {
        std::string after = text.after(change);
        if (text.apply(change)) {
            Require(text.bytes() == after, "a change in place gives the same bytes");
            RequireSame(text, after);
        }
        return after;
    };
    std::string changed;
    switch (kind % 4) {
    case 0: {
        const std::wstring_view given = value;
        changed = text.withValue(section, key, &given, change) ? make() : file;
        if (!IsSection(section) || !IsKey(key) || !IsLine(value))
            break;
        Require(Value(changed, section, key) == Expected(value, file), "what was written is read");
        const Difference difference = Compare(file, changed);
        Require(Feeds(difference.removed) == 0 && Feeds(difference.added) <= 3,
                "a new value touches one line");
        break;
    }
    case 1: {
        if (!text.withValue(section, key, nullptr, change))
            return file;
        changed = make();
        const Difference difference = Compare(file, changed);
        Require(Feeds(difference.removed) <= 1 && difference.added.empty(), "one line goes");
        break;
    }
    case 2:
        if (!text.withoutSection(section, change))
            return file;
        changed = make();
        Require(Compare(file, changed).added.empty(), "only lines of the section go");
        break;
    default: {
        const std::vector<std::wstring_view> lines = {key, value};
        changed = text.withLines(section, lines, change) ? make() : file;
        if (IsSection(section) && IsKey(key) && IsKey(value))
            Require(ProfileText(changed).lines(section) == Trimmed(key) + L'\0' + Trimmed(value) + L'\0',
                    "the lines are read");
        break;
    }
    }
    return changed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Changes changes(data, size);
    std::string file = changes.file;
    for (const Changes::Step& step : changes.steps)
        file = Change(file, step);
    CheckReading(file, changes.steps.empty() ? L"s" : changes.steps.back().section);
    return 0;
}
