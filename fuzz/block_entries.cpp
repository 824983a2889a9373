// What mvtool reads of data blocks: the same entries, in the same order and with the same code, as the
// library.
#include "TBlocOpcions.h"

#include "recipe.h"

#include <block/entries.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

bool IsOfKind(mvtool::block::Kind kind, int number) {
    using mvtool::block::Kind;
    switch (number) {
    case 0:
        return kind == Kind::integer;
    case 1:
        return kind == Kind::real;
    case 3:
        return kind == Kind::nested;
    case 4:
        return kind == Kind::bytes;
    default:
        return number == 5 && kind == Kind::text;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> input = BytesOfRecipe(data, size);
    // The signature is given away three times out of four.
    std::string bytes(input.begin(), input.end());
    if (!bytes.empty() && (bytes[0] & 3) != 0)
        bytes.replace(0, 1, "DRIVER-BLOC");
    TBlocOpcions block;
    const int code = block.FromBlocDades(reinterpret_cast<const unsigned char*>(bytes.data()),
                                         static_cast<unsigned>(bytes.size()), 0);
    mvtool::block::Block read = mvtool::block::fromData(bytes);
    Require(code == 0 || (read.damage && read.damage->code == code), "damage has the library's code");
    Require(!read.damage || read.damage->offset <= bytes.size(), "damage lies in the block");

    std::size_t at = 0;
    CString name;
    ITEMBLOCOPCIONS item;
    for (POSITION pos = block.GetPrimer(); pos;) {
        block.GetSeguent(pos, name, item);
        Require(at < read.entries.size(), "no entry is missing");
        const mvtool::block::Entry& entry = read.entries[at];
        Require(entry.depth == 0 && entry.name == name.GetString(), "the same names in the same order");
        Require(IsOfKind(entry.kind, item.nTipus), "the same kinds");
        Require(item.nTipus != 5 || entry.text == static_cast<const wchar_t*>(item.pDades), "the same texts");
        Require(item.nTipus != 4 || entry.size == item.dwMida, "as many bytes");
        Require(mvtool::block::find(read, entry.name) == &entry, "an entry is found by its name");
        if (item.nTipus == 3) {
            const TBlocOpcions inner(static_cast<const unsigned char*>(item.pDades), item.dwMida);
            std::size_t nested = at + 1;
            for (POSITION in = inner.GetPrimer(); in; nested = read.entries[nested].end) {
                inner.GetSeguent(in, name, item);
                Require(nested < entry.end && read.entries[nested].depth == 1 &&
                            read.entries[nested].name == name.GetString(),
                        "the same names in a nested block");
            }
            Require(nested == entry.end, "nothing else in it");
        }
        Require(entry.end > at, "an entry ends behind itself");
        at = entry.end;
    }
    Require(at == read.entries.size(), "no entry too many");
    mvtool::block::reduceToXml(read);
    return 0;
}
