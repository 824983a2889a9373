#include "rec.h"

#include "../progress.h"

namespace mvtool::rec {
namespace {

constexpr OptionSpec kBuildOptions[] = {
    {"output", 'o', "FILE", "the record file to write (required)"},
    {"quiet", 'q', nullptr, "say nothing about what was left out"},
    kProgressOption,
};

constexpr OptionSpec kListOptions[] = {
    {"records", 'r', nullptr, "list the records of any record file: offset, level, identifier, length"},
};

constexpr OptionSpec kExtractOptions[] = {
    {"directory", 'C', "DIR", "the folder to extract into (default: the current one)"},
    {"replace", 0, nullptr, "replace files that exist already"},
    {"partial", 0, nullptr, "keep what was extracted before a failure"},
    kProgressOption,
};

constexpr OptionSpec kCheckOptions[] = {kProgressOption};

constexpr Command kCommands[] = {
    {"build", "DIR -o FILE", "pack a folder tree into a record file",
     "Packs everything below DIR, with names, modification times and bytes. Symbolic links are\n"
     "not followed; they and everything else that is neither file nor folder are left out with a\n"
     "note. FILE is written beside its place and renamed at the end: a failure or Ctrl-C leaves an\n"
     "old FILE as it was. A tree of more than 32,767 levels is refused.\n",
     1, 1, kBuildOptions, build},
    {"list", "FILE", "list the entries, one a line with its full path",
     "Columns: d for a folder or - for a file, x for an executable file, r for a read-only one,\n"
     "bytes, modification time (UTC), path.\n",
     1, 1, kListOptions, list},
    {"tree", "FILE", "show the entries as an indented tree", "", 1, 1, {}, tree},
    {"extract", "FILE -C DIR", "write the entries into a folder",
     "When DIR does not exist it appears only at the end, with everything in it; after a failure\n"
     "or Ctrl-C there is no DIR. In a folder that exists each file appears when it is complete, and\n"
     "files that are there already are not touched without --replace. Nothing is ever written\n"
     "outside DIR or through a symbolic link.\n",
     1, 1, kExtractOptions, extract},
    {"check", "FILE", "read everything and say whether it is sound",
     "Reads every byte. A file that is not sound is answered with exit code 1, the offset of the\n"
     "first bad byte, the record that it belongs to, and the library's result code. Record files\n"
     "of other programs are checked as far as their records go.\n",
     1, 1, kCheckOptions, check},
    {"info", "FILE", "show what kind of record file it is, and its totals", "", 1, 1, kCheckOptions, info},
};

} // namespace

const Family& family() {
    static const Family one = {
        "rec", "pack folder trees into record files, list, check and extract them",
        "A packed tree is a record file: folder and file records, their levels are the depth.\n", kCommands};
    return one;
}

} // namespace mvtool::rec
