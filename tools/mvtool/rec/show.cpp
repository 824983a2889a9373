// rec list, tree, info and check: what is in a record file.
#include "rec.h"

#include "../console.h"
#include "../progress.h"
#include "../text.h"
#include "reader.h"
#include <algorithm>
#include <map>

namespace mvtool::rec {
namespace {

std::string padded(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string digits(std::int64_t value, int width) {
    std::string text = std::to_string(value);
    return text.size() < static_cast<std::size_t>(width)
               ? std::string(static_cast<std::size_t>(width) - text.size(), '0') + text
               : text;
}

/// "2024-03-01 09:30:00" of nanoseconds since 1970, UTC.
std::string timeText(std::int64_t ns) {
    std::int64_t seconds = ns / 1000000000 - (ns % 1000000000 < 0 ? 1 : 0);
    std::int64_t days = seconds / 86400;
    seconds %= 86400;
    if (seconds < 0) {
        seconds += 86400;
        --days;
    }
    // Years that begin in March, so that the leap day is a year's last; 400 of them have 146,097 days.
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const std::int64_t ofEra = shifted - era * 146097;
    const std::int64_t year = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const std::int64_t ofYear = ofEra - (365 * year + year / 4 - year / 100);
    const std::int64_t month = (5 * ofYear + 2) / 153;
    const std::int64_t day = ofYear - (153 * month + 2) / 5 + 1;
    const std::int64_t calendarMonth = month < 10 ? month + 3 : month - 9;
    return digits(year + era * 400 + (calendarMonth <= 2 ? 1 : 0), 4) + '-' + digits(calendarMonth, 2) + '-' +
           digits(day, 2) + ' ' + digits(seconds / 3600, 2) + ':' + digits(seconds / 60 % 60, 2) + ':' +
           digits(seconds % 60, 2);
}

/// "FOLD" for an identifier that reads as letters, else its number in hexadecimal.
std::string idName(DWORD id) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const auto letter = static_cast<unsigned char>(id >> (8 * i));
        if (letter < 0x20 || letter > 0x7E) {
            std::string number;
            for (int digit = 7; digit >= 0; --digit) {
                number += "0123456789abcdef"[id >> (4 * digit) & 0xF];
            }
            return "0x" + number;
        }
        text += static_cast<char>(letter);
    }
    return text;
}

/// Runs a reading command with the file's name in front of what is wrong with it.
template <class Work>
Exit withFile(const std::string& path, Progress& progress, Work work) {
    const std::unique_ptr<CFile> file = openRecordFile(path);
    try {
        RecordScan scan(*file, progress.indicator());
        return work(scan);
    } catch (const Damage& damage) {
        progress.finish();
        throw Failure(damage.code(), displayText(path) + ": " + damage.text());
    }
}

Exit listRecords(RecordScan& scan) {
    console().print("      offset  level  id          bytes\n");
    while (scan.next()) {
        const SER_RECORDHEADER& header = scan.header();
        const std::string id = idName(header.dwId);
        console().print(padded(std::to_string(scan.offset()), 12) +
                        padded(std::to_string(header.nNivell), 7) + "  " + id +
                        padded(std::to_string(header.dwLongitud), 17 - id.size()) + '\n');
    }
    return Exit::done;
}

/// Reads to the end and hands every entry over with its path, which ends in "/" for a folder.
template <class Use>
void eachEntry(TreeReader& reader, Use use) {
    std::string path;
    std::vector<std::size_t> lengths; // of the paths of the open folders
    for (;;) {
        const TreeReader::Event event = reader.next();
        if (event == TreeReader::Event::end) {
            return;
        }
        if (event != TreeReader::Event::folder && event != TreeReader::Event::file) {
            continue;
        }
        const auto level = static_cast<std::size_t>(reader.level());
        lengths.resize(level);
        path.resize(level == 0 ? 0 : lengths.back());
        const std::size_t before = path.size();
        path += displayName(reader.entry().name);
        if (event == TreeReader::Event::folder) {
            path += '/';
            lengths.push_back(path.size());
        }
        use(reader.entry(), reader.level(), path, before);
    }
}

/// A path as a line of the list shows it. A small file can hold a tree whose full paths have gigabytes:
/// beyond what any system takes for a path the middle is left out. No name is shown with "\..." in it.
std::string listedPath(const std::string& path) {
    constexpr std::size_t kLongest = 32767;
    if (path.size() <= kLongest) {
        return path;
    }
    const std::size_t head = path.rfind('/', kLongest / 2);
    const std::size_t tail = path.find('/', path.size() - kLongest / 2);
    return path.substr(0, head + 1) + "\\..." + path.substr(tail);
}

/// Totals by identifier for files of other programs. A hostile file may have as many identifiers as records.
constexpr std::size_t kListedIds = 1000;

struct IdTotals {
    std::uint64_t records = 0;
    std::uint64_t bytes = 0;
};

} // namespace

Exit list(const Arguments& arguments) {
    Progress progress(nullptr);
    return withFile(arguments.operands()[0], progress, [&](RecordScan& scan) {
        if (arguments.has("records")) {
            return listRecords(scan);
        }
        TreeReader reader(scan);
        eachEntry(reader, [](const Entry& entry, int, const std::string& path, std::size_t) {
            const std::string kind = {entry.folder ? 'd' : '-', (entry.flags & kExecutable) != 0 ? 'x' : '-',
                                      (entry.flags & kReadOnly) != 0 ? 'r' : '-'};
            console().print(kind + padded(entry.folder ? "" : std::to_string(entry.size), 14) + "  " +
                            timeText(entry.modified) + "  " + listedPath(path) + '\n');
        });
        return Exit::done;
    });
}

Exit tree(const Arguments& arguments) {
    Progress progress(nullptr);
    return withFile(arguments.operands()[0], progress, [](RecordScan& scan) {
        TreeReader reader(scan);
        eachEntry(reader, [](const Entry& entry, int level, const std::string& path, std::size_t before) {
            // Very deep entries are told by their number, not by an ever wider margin.
            constexpr int kMargin = 60;
            std::string line(2 * static_cast<std::size_t>(std::min(level, kMargin)), ' ');
            if (level > kMargin) {
                line += "(level " + std::to_string(level) + ") ";
            }
            line.append(path, before);
            console().print(line + (entry.folder ? "" : "  " + std::to_string(entry.size)) + '\n');
        });
        console().print(counted(reader.totals().folders, "folder") + ", " +
                        counted(reader.totals().files, "file") + '\n');
        return Exit::done;
    });
}

Exit check(const Arguments& arguments) {
    Progress progress(&arguments);
    const std::string& path = arguments.operands()[0];
    const std::string shown = displayText(path);
    progress.say("checking " + shown);
    const std::unique_ptr<CFile> file = openRecordFile(path);
    try {
        RecordScan scan(*file, progress.indicator());
        std::string result;
        if (scan.words()[0] == kKind) {
            TreeReader reader(scan);
            while (reader.next() != TreeReader::Event::end) {
            }
            const Totals& totals = reader.totals();
            result = "good: " + counted(reader.records(), "record") + ", " +
                     counted(totals.folders, "folder") + ", " + counted(totals.files, "file") + ", " +
                     counted(totals.bytes, "byte");
        } else {
            std::uint64_t records = 0;
            std::vector<unsigned char> piece(kPieceBytes);
            while (scan.next()) {
                ++records;
                for (std::uint32_t rest = scan.header().dwLongitud; rest > 0;) {
                    const std::uint32_t now = std::min(rest, kPieceBytes);
                    scan.read(piece.data(), now);
                    rest -= now;
                }
            }
            result = "good: " + counted(records, "record") + "; no packed tree but kind " +
                     std::to_string(scan.words()[0]) + ", so only the records were checked";
        }
        progress.finish();
        console().print(shown + ": " + result + '\n');
        return Exit::done;
    } catch (const Damage& damage) {
        progress.finish();
        console().print(shown + ": bad: " + damage.text() + '\n');
        return Exit::no;
    }
}

Exit info(const Arguments& arguments) {
    Progress progress(&arguments);
    const std::string shown = displayText(arguments.operands()[0]);
    progress.say("reading " + shown);
    return withFile(arguments.operands()[0], progress, [&](RecordScan& scan) {
        const short* words = scan.words();
        std::string text = "file:          " + shown + "\nbytes:         " + std::to_string(scan.length()) +
                           "\nheader words:  " + std::to_string(words[0]) + ' ' + std::to_string(words[1]) +
                           ' ' + std::to_string(words[2]) + ' ' + std::to_string(words[3]) + '\n';
        int deepest = -1;
        if (words[0] == kKind) {
            TreeReader reader(scan);
            eachEntry(reader, [&](const Entry&, int level, const std::string&, std::size_t) {
                deepest = std::max(deepest, level);
            });
            const Totals& totals = reader.totals();
            text += "kind:          packed tree, format " + std::to_string(words[1]) +
                    "\nrecords:       " + std::to_string(reader.records()) +
                    "\nfolders:       " + std::to_string(totals.folders) +
                    "\nfiles:         " + std::to_string(totals.files) +
                    "\nfile bytes:    " + std::to_string(totals.bytes) +
                    "\nlevels:        " + std::to_string(deepest + 1) + '\n';
        } else {
            std::map<DWORD, IdTotals> byId;
            IdTotals all;
            IdTotals others;
            while (scan.next()) {
                const SER_RECORDHEADER& header = scan.header();
                deepest = std::max<int>(deepest, header.nNivell);
                IdTotals& totals =
                    byId.size() < kListedIds || byId.count(header.dwId) != 0 ? byId[header.dwId] : others;
                for (IdTotals* each : {&all, &totals}) {
                    ++each->records;
                    each->bytes += header.dwLongitud;
                }
            }
            text += "kind:          record file of another program\nrecords:       " +
                    std::to_string(all.records) + "\npayload bytes: " + std::to_string(all.bytes) +
                    "\nlevels:        " + std::to_string(deepest + 1) + '\n';
            for (const auto& [id, totals] : byId) {
                text += "  " + idName(id) + ": " + counted(totals.records, "record") + ", " +
                        counted(totals.bytes, "byte") + '\n';
            }
            if (others.records > 0) {
                text += "  others: " + counted(others.records, "record") + ", " +
                        counted(others.bytes, "byte") + '\n';
            }
        }
        progress.finish();
        console().print(text);
        return Exit::done;
    });
}

} // namespace mvtool::rec
