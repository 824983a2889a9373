"""gdb pretty printers for the items and containers of mvlib62.

    (gdb) source tools/gdb/mvlib62.py

Then `print list` shows a container's items as what they really are, `print item` a value item's value. The program
must be built with debug information (-g); the library itself need not be.
"""

import gdb
import gdb.printing


def real(pointer):
    """What a pointer to a polymorphic object points at, as its real class; "null" for null."""
    if int(pointer) == 0:
        return "null"
    try:
        return pointer.cast(pointer.dynamic_type).dereference()
    except gdb.error:
        return pointer.dereference()


def plural(count, noun):
    return "%d %s%s" % (count, noun, "" if count == 1 else "s")


class ValueItem:
    """TInt, TBool, TChar, TFloat, TDouble."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s(%s)" % (self.value.type.unqualified().strip_typedefs().name, self.value["m_valor"])


class TextItem:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = self.value["m_pszText"]
        return "TItemString(%s)" % ("null" if int(text) == 0 else text.dereference().address.format_string(address=False))


class HashPair:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        key = self.value["m_szClau"].address.cast(self.value["m_szClau"].type.target().pointer())
        return "THashItem(%s)" % key.format_string(address=False)

    def children(self):
        yield "m_pItem", real(self.value["m_pItem"])


class List:
    """TLlista and what derives from it."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s of %s, cursor %d, room for %d" % (
            self.value.type.unqualified().strip_typedefs().name,
            plural(int(self.value["m_nElements"]), "item"),
            int(self.value["m_nActual"]),
            int(self.value["m_nCapacitat"]),
        )

    def children(self):
        for i in range(int(self.value["m_nElements"])):
            yield "[%d]" % i, real(self.value["m_ppItems"][i])

    def display_hint(self):
        return "array"


class CrossList:
    """TCrossList and TCircularCrossList. The count ends the walk, so that rings and torn chains end too."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s of %s%s" % (
            self.value.type.unqualified().strip_typedefs().name,
            plural(int(self.value["m_nCount"]), "node"),
            ", sorted" if int(self.value["m_bSorted"]) else "",
        )

    def children(self):
        node = self.value["m_pFirst"]
        for i in range(int(self.value["m_nCount"])):
            if int(node) == 0:
                break
            yield "[%d]" % i, real(node["m_pItem"])
            node = node["m_pNext"]

    def display_hint(self):
        return "array"


class Hash:
    """THash: its keys with their items, bucket by bucket."""

    NONE = 0xFFFFFFFF
    KEPT = 261

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "THash of %s, %s, %s" % (
            plural(int(self.value["m_nElements"]), "key"),
            plural(int(self.value["m_nMax"]), "slot"),
            plural(int(self.value["m_nBuckets"]), "bucket"),
        )

    def children(self):
        if int(self.value["m_pBuckets"]) == 0:
            return
        seen = 0
        for bucket in range(int(self.value["m_nBuckets"])):
            slot = int(self.value["m_pBuckets"][bucket])
            while slot != self.NONE and seen < int(self.value["m_nMax"]):
                entry = self.value["m_pEntrades"][slot]
                units = entry["szClau"].address.cast(entry["szClau"].type.target().pointer())
                # A key that is too long for its slot was cut.
                length = min(int(entry["nLen"]), self.KEPT)
                yield "key %d" % seen, units.string("utf-16-le", "replace", *([length * 2] if length >= 0 else []))
                yield "item %d" % seen, real(entry["pItem"])
                seen += 1
                slot = int(entry["nSeguent"])

    def display_hint(self):
        return "map"


class Table:
    def __init__(self, value):
        self.value = value
        self.rows = int(value["m_nFiles"])
        self.columns = int(value["m_nColumnes"])

    def to_string(self):
        name = self.value.type.unqualified().strip_typedefs().name
        return "%s of %s by %s" % (name, plural(self.rows, "row"), plural(self.columns, "column"))

    def children(self):
        for cell in range(self.rows * self.columns if int(self.value["m_ppCeles"]) else 0):
            name = "(%d, %d)" % divmod(cell, self.columns)
            yield name, real(self.value["m_ppCeles"][cell])


class Tree:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "TArbre"

    def children(self):
        for field in self.value.type.fields():
            if field.is_base_class or not hasattr(field, "bitpos"):
                continue
            value = self.value[field]
            pointer = value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR
            yield field.name, real(value) if pointer else value


class Text:
    """CString and CStringA."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return self.value["m_pszData"].format_string(address=False)


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("mvlib62")
    printers.add_printer("values", "^T(Int|Bool|Char|Float|Double)$", ValueItem)
    printers.add_printer("text item", "^TItemString$", TextItem)
    printers.add_printer("hash pair", "^THashItem$", HashPair)
    printers.add_printer("lists", "^(TLlista|TLlistaOrdenada|TLlistaCircular|TPila|TPilaLimitada)$", List)
    printers.add_printer("cross lists", "^(TCrossList|TCircularCrossList)$", CrossList)
    printers.add_printer("hash", "^THash$", Hash)
    printers.add_printer("tables", "^(TTaula|TTaulaBool)$", Table)
    printers.add_printer("tree", "^TArbre$", Tree)
    printers.add_printer("text", "^(CString|CStringA|CStringT<.*>)$", Text)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
