// The XML form of option blocks.
#include "TBlocOpcions.h"

#include "CPathString.h"
#include "XMLNode.h"

#include "config/data_block.h"
#include "win32.h"

#include <cstdlib>
#include <new>
#include <utility>
#include <vector>

using namespace datablock;

namespace {

// A value that lies elsewhere: in an item or in a data block.
struct Value {
    int kind = NONE;
    long integer = 0;
    double real = 0;
    const unsigned char* bytes = nullptr;
    unsigned size = 0;
};

// A nested block whose entries are still to be written below an element.
struct Pending {
    XMLNode element;
    const unsigned char* bytes;
    unsigned size;
};

void CheckMemory(const void* made) {
    if (!made)
        AfxThrowMemoryException();
}

void AddAttribute(XMLNode& element, const wchar_t* name, const wchar_t* value) {
    CheckMemory(element.addAttribute(name, value));
}

// Every byte by "%X": those below 0x10 have one digit. Kept: the text cannot always be told apart again.
wchar_t* HexDigits(const unsigned char* bytes, unsigned size) {
    static constexpr wchar_t DIGITS[] = L"0123456789ABCDEF";
    const unsigned long long room = (2 * static_cast<unsigned long long>(size) + 1) * sizeof(wchar_t);
    if (static_cast<std::size_t>(room) != room)
        return nullptr;
    auto text = static_cast<wchar_t*>(std::malloc(static_cast<std::size_t>(room)));
    if (!text)
        return nullptr;
    wchar_t* at = text;
    for (unsigned i = 0; i < size; ++i) {
        if (bytes[i] > 0xF)
            *at++ = DIGITS[bytes[i] >> 4];
        *at++ = DIGITS[bytes[i] & 0xF];
    }
    *at = 0;
    return text;
}

// Appends the element of one value. That of a nested block comes back empty, and the block in `pending`.
void AppendElement(XMLNode& parent, const wchar_t* name, const Value& value, const wchar_t* text,
                   std::vector<Pending>& pending) {
    if (value.kind == NONE || value.kind == NARROW_TEXT)
        return;
    XMLNode element = parent.addChild(name ? name : L"");
    if (element.isEmpty())
        AfxThrowMemoryException();
    CString number;
    switch (value.kind) {
    case INTEGER:
        AddAttribute(element, L"Type", L"int");
        number.Format(L"%i", static_cast<int>(value.integer));
        CheckMemory(element.addText(number));
        break;
    case REAL:
        AddAttribute(element, L"Type", L"double");
        number.Format(L"%.10g", value.real);
        CheckMemory(element.addText(number));
        break;
    case SUB_BLOCK:
        AddAttribute(element, L"Type", L"SubBloc");
        pending.push_back({element, value.bytes, value.size});
        break;
    case BINARY: {
        AddAttribute(element, L"Type", L"binary");
        AddAttribute(element, L"Encoding", L"hex");
        number.Format(L"%u", value.size);
        AddAttribute(element, L"ByteSize", number);
        CheckMemory(element.addText_WOSD(HexDigits(value.bytes, value.size)));
        break;
    }
    default:
        AddAttribute(element, L"Type", L"string");
        if (text)
            CheckMemory(element.addText(text));
        break;
    }
}

Value ValueOf(const ITEMBLOCOPCIONS& item) {
    Value value;
    value.kind = item.nTipus;
    if (item.nTipus == INTEGER) {
        value.integer = item.lValor;
    } else if (item.nTipus == REAL) {
        value.real = item.dValor;
    } else if (item.pDades) {
        value.bytes = static_cast<const unsigned char*>(item.pDades);
        value.size = item.dwMida;
    }
    return value;
}

// Writes the entries of a nested block in the order that a block loaded from it would show them, without
// copying what is nested further.
void AppendBlock(Pending block, std::vector<Pending>& pending) {
    CMap<CString, LPCWSTR, Entry, const Entry&> entries(10);
    Entry entry;
    WideText name;
    for (Reader reader(block.bytes, block.size); reader.Next(entry) > 0;) {
        CheckMemory(name.Set(entry.name, entry.nameSize) ? &name : nullptr);
        CString key(name.Get());
        const int slash = key.Find(L'/');
        if (slash < 0) {
            entries.SetAt(key, entry);
            continue;
        }
        // A path leaves an empty block, as it does in Afegir.
        key.Truncate(slash);
        const auto found = entries.PLookup(key);
        if (!found || found->value.kind != SUB_BLOCK)
            entries.SetAt(key, {nullptr, 0, SUB_BLOCK, SIGNATURE, SIGNATURE_SIZE});
    }
    for (auto pair = entries.PGetFirstAssoc(); pair; pair = entries.PGetNextAssoc(pair)) {
        const Entry& found = pair->value;
        Value value;
        value.kind = found.kind == NARROW_TEXT ? TEXT : found.kind;
        value.integer = found.kind == INTEGER ? found.Integer() : 0;
        value.real = found.kind == REAL ? found.Real() : 0;
        value.bytes = found.data;
        value.size = found.size;
        ITEMBLOCOPCIONS text;
        if (value.kind == TEXT)
            found.Load(text);
        AppendElement(block.element, pair->key, value, static_cast<const wchar_t*>(text.pDades), pending);
    }
}

// The version of the running program's executable, empty where it has none.
CString ProgramVersion() {
    CString version;
    CPathString(static_cast<HINSTANCE>(nullptr)).GetFileVersion(version);
    return version;
}

} // namespace

int TBlocOpcions::ToFitxerXML(const wchar_t* path) const try {
    XMLNode root = XMLNode::createXMLTopNode(L"DriverOptions");
    if (root.isEmpty())
        AfxThrowMemoryException();
    AddAttribute(root, L"Version", ProgramVersion());
    Enumerar(_fnAfegirNodesXML, reinterpret_cast<long>(&root));
    root.writeToFile(path);
    return 0;
} catch (const std::bad_alloc&) {
    AfxThrowMemoryException();
}

int __stdcall TBlocOpcions::_fnAfegirNodesXML(const wchar_t* name, ITEMBLOCOPCIONS& item, long lNode) try {
    // Blocks nest as deeply as their bytes allow: no frame of the stack a level.
    std::vector<Pending> pending;
    AppendElement(*reinterpret_cast<XMLNode*>(lNode), name, ValueOf(item),
                  static_cast<const wchar_t*>(item.nTipus == TEXT ? item.pDades : nullptr), pending);
    while (!pending.empty()) {
        Pending block = std::move(pending.back());
        pending.pop_back();
        AppendBlock(std::move(block), pending);
    }
    return 0;
} catch (const std::bad_alloc&) {
    AfxThrowMemoryException();
}
