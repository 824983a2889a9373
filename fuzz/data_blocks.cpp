// Data blocks: loading, reading by paths, writing again, the XML form. What two ways of asking answer must
// agree.
#include "TBlocOpcions.h"
#include "XMLNode.h"

#include "recipe.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

std::string DataOf(const TBlocOpcions& block) {
    unsigned int size;
    unsigned char* bytes = block.ToBlocDades(size);
    Require(bytes != nullptr && size >= 11, "a block can be written");
    std::string data(reinterpret_cast<char*>(bytes), size);
    std::free(bytes);
    return data;
}

int Load(TBlocOpcions& block, const std::string& data) {
    return block.FromBlocDades(reinterpret_cast<const unsigned char*>(data.data()),
                               static_cast<unsigned>(data.size()), 0);
}

bool Same(const ITEMBLOCOPCIONS& a, const ITEMBLOCOPCIONS& b) {
    if (a.nTipus != b.nTipus)
        return false;
    switch (a.nTipus) {
    case 0:
        return a.lValor == b.lValor;
    case 1:
        return std::memcmp(&a.dValor, &b.dValor, sizeof a.dValor) == 0;
    case 5:
        return std::wcscmp(static_cast<wchar_t*>(a.pDades), static_cast<wchar_t*>(b.pDades)) == 0;
    default:
        return a.dwMida == b.dwMida && (!a.dwMida || std::memcmp(a.pDades, b.pDades, a.dwMida) == 0);
    }
}

// Nested blocks, loaded and read by paths, hold the same.
void CheckNested(const TBlocOpcions& block, const CString& name, int depth) {
    const std::unique_ptr<TBlocOpcions> inner(block.TornaSubBloc(name));
    Require(inner != nullptr, "a nested block is loaded");
    CString key;
    ITEMBLOCOPCIONS item, byPath;
    for (POSITION pos = inner->GetPrimer(); pos;) {
        inner->GetSeguent(pos, key, item);
        Require(key.Find(L'/') < 0, "no name with a slash");
        Require(block.Buscar(name + L'/' + key, byPath) == 1 && Same(item, byPath), "a path finds the same");
        if (item.nTipus == 3 && depth > 0)
            CheckNested(*inner, key, depth - 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> input = BytesOfRecipe(data, size);
    // The signature is given away three times out of four.
    std::string bytes(input.begin(), input.end());
    if (!bytes.empty() && (bytes[0] & 3) != 0)
        bytes.replace(0, 1, "DRIVER-BLOC");
    TBlocOpcions block;
    const int code = Load(block, bytes);
    Require(code == 0 || code == -3 || code == -9, "the code is one of three");

    CString name;
    ITEMBLOCOPCIONS item, found;
    XMLNode root = XMLNode::createXMLTopNode(L"top");
    bool readable = true;
    for (POSITION pos = block.GetPrimer(); pos;) {
        block.GetSeguent(pos, name, item);
        readable = readable && !name.IsEmpty();
        Require(item.nTipus == 0 || item.nTipus == 1 || (item.nTipus >= 3 && item.nTipus <= 5),
                "kinds in memory");
        Require(block.Buscar(name, found) == 1 && Same(item, found), "a name finds its value");
        if (item.nTipus == 3)
            CheckNested(block, name, 3);
        Require(TBlocOpcions::_fnAfegirNodesXML(name, item, reinterpret_cast<long>(&root)) == 0,
                "XML is made");
    }
    int length;
    freeXMLString(root.createXMLString(1, &length));

    // Each loading turns the neighbours in a bucket round.
    const std::string once = DataOf(block);
    TBlocOpcions second, third;
    Require((Load(second, once) == 0) == readable, "what is written is read");
    if (readable) {
        Require(Load(third, DataOf(second)) == 0 && DataOf(third) == once,
                "written, read twice, written the same");
        const TBlocOpcions copy(&block), copyOfCopy(&copy);
        Require(DataOf(copy) == DataOf(second) && DataOf(copyOfCopy) == once, "copies are as loaded blocks");
    }
    return 0;
}
