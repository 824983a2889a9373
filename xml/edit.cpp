#include "XMLNode.h"

#include "xml/names.h"
#include "xml/record.h"
#include "xml/tables.h"

#include <climits>
#include <cstdlib>
#include <cstring>

using mvxml::Children;
using mvxml::Clears;
using mvxml::EditArrays;
using mvxml::EqualNames;
using mvxml::Pages;
using mvxml::Record;
using mvxml::Texts;

namespace {

// Makes room for one more item; false when memory is exhausted.
template <class Item>
bool Reserve(Item*& items, int& room, int count) {
    if (count < room)
        return true;
    if (count > INT_MAX / 2 - 8)
        return false;
    int wanted = count + count / 2 + 1;
    void* grown = std::realloc(static_cast<void*>(items), static_cast<std::size_t>(wanted) * sizeof(Item));
    if (!grown)
        return false;
    items = static_cast<Item*>(grown);
    room = wanted;
    return true;
}

template <class Item>
bool CopyItems(Item*& target, int& room, const Item* source, int count) {
    if (count == 0)
        return true;
    target = static_cast<Item*>(std::malloc(static_cast<std::size_t>(count) * sizeof(Item)));
    if (!target)
        return false;
    std::memcpy(static_cast<void*>(target), source, static_cast<std::size_t>(count) * sizeof(Item));
    room = count;
    return true;
}

// From now on the record may hold what does not lie in its pages.
void MarkEdited(Record* d) {
    if (Pages* pages = Pages::Of(d))
        pages->edited = true;
}

// Gives the record arrays that can grow; false when memory is exhausted, with the record as it was.
bool MakeEditable(Record* d) {
    if (d->layout() == mvxml::LayoutEdited)
        return true;
    EditArrays* edited = static_cast<EditArrays*>(std::calloc(1, sizeof(EditArrays)));
    if (!edited)
        return false;
    XMLAttribute* attributes = nullptr;
    int elements = d->elementCount();
    bool copied =
        CopyItems(edited->children, edited->childRoom, Children(d), d->childCount) &&
        CopyItems(edited->texts, edited->textRoom, Texts(d), d->textCount) &&
        CopyItems(edited->clears, edited->clearRoom, d->clearCount ? Clears(d) : nullptr, d->clearCount) &&
        CopyItems(attributes, edited->attributeRoom, d->attributes, d->attributeCount) &&
        Reserve(edited->order, edited->orderRoom, elements);
    if (!copied) {
        std::free(static_cast<void*>(edited->children));
        std::free(static_cast<void*>(edited->texts));
        std::free(edited->clears);
        std::free(edited->order);
        std::free(attributes);
        std::free(edited);
        return false;
    }
    mvxml::Order order(d);
    for (int i = 0; i < elements; ++i)
        edited->order[i] = order[i];
    d->attributes = attributes;
    d->content.edited = edited;
    d->setLayout(mvxml::LayoutEdited);
    MarkEdited(d);
    return true;
}

// Puts an item for which there is room into its array and the order; answers where it stands in the array.
template <class Item>
int Insert(Record* d, Item* items, int& count, XMLElementType kind, int pos, const Item& item) {
    int* order = d->content.edited->order;
    int elements = d->elementCount();
    int index = count;
    int position = elements;
    if (pos >= 0 && pos < elements) {
        // Kept: the item goes before the next of its kind, but the last element is looked at only when it is
        // the one at the position. Without such an item the new one is appended.
        int last = pos == elements - 1 ? elements : elements - 1;
        for (int i = pos; i < last; ++i) {
            if ((order[i] & 3) == kind) {
                index = order[i] >> 2;
                position = pos;
                break;
            }
        }
    }
    std::memmove(order + position + 1, order + position,
                 static_cast<std::size_t>(elements - position) * sizeof(int));
    std::memmove(static_cast<void*>(items + index + 1), items + index,
                 static_cast<std::size_t>(count - index) * sizeof(Item));
    for (int i = position + 1; i <= elements; ++i) {
        if ((order[i] & 3) == kind)
            order[i] += 4;
    }
    order[position] = index * 4 + kind;
    items[index] = item;
    ++count;
    return index;
}

// Removes the entry of an item, and lowers those of its kind behind it.
void RemoveOrderEntry(int* order, int elements, int index, XMLElementType kind) {
    int position = 0;
    while (position < elements && order[position] != index * 4 + kind)
        ++position;
    for (int i = position + 1; i < elements; ++i)
        order[i - 1] = (order[i] & 3) == kind ? order[i] - 4 : order[i];
}

template <class Item>
void CloseGap(Item* items, int index, int count) {
    std::memmove(static_cast<void*>(items + index), items + index + 1,
                 static_cast<std::size_t>(count - index - 1) * sizeof(Item));
}

template <class Item>
void CloseGapAndFree(Item*& items, int& room, int index, int count) {
    CloseGap(items, index, count);
    if (count == 1) {
        std::free(static_cast<void*>(items));
        items = nullptr;
        room = 0;
    }
}

// Takes an item out of its array and the order, whatever the layout, without allocating anything. Arrays that
// become empty are freed, unless the room is wanted at once.
void RemoveElement(Record* d, XMLElementType kind, int index, bool keepRoom = false) {
    int& count = kind == XMLELEMENT_CHILD  ? d->childCount
                 : kind == XMLELEMENT_TEXT ? d->textCount
                                           : d->clearCount;
    int elements = d->elementCount();
    if (d->layout() == mvxml::LayoutEdited) {
        EditArrays* edited = d->content.edited;
        RemoveOrderEntry(edited->order, elements, index, kind);
        if (keepRoom && kind == XMLELEMENT_CHILD)
            CloseGap(edited->children, index, count);
        else if (kind == XMLELEMENT_CHILD)
            CloseGapAndFree(edited->children, edited->childRoom, index, count);
        else if (kind == XMLELEMENT_TEXT)
            CloseGapAndFree(edited->texts, edited->textRoom, index, count);
        else
            CloseGapAndFree(edited->clears, edited->clearRoom, index, count);
        --count;
        if (elements == 1 && !keepRoom) {
            std::free(edited->order);
            edited->order = nullptr;
            edited->orderRoom = 0;
        }
        return;
    }
    if (d->layout() == mvxml::LayoutInline) {
        d->setLayout(mvxml::LayoutPacked);
        d->content.block = nullptr;
        --count;
        return;
    }
    char* block = reinterpret_cast<char*>(d->content.block);
    std::size_t clearsAt =
        (static_cast<std::size_t>(d->childCount) + static_cast<std::size_t>(d->textCount)) * sizeof(void*);
    std::size_t end = clearsAt + static_cast<std::size_t>(d->clearCount) * sizeof(XMLClear);
    if (mvxml::IsMixed(d)) {
        RemoveOrderEntry(reinterpret_cast<int*>(block + end), elements, index, kind);
        end += static_cast<std::size_t>(elements - 1) * sizeof(int);
    }
    std::size_t size = kind == XMLELEMENT_CLEAR ? sizeof(XMLClear) : sizeof(void*);
    std::size_t start = static_cast<std::size_t>(index) * size;
    if (kind == XMLELEMENT_TEXT)
        start += static_cast<std::size_t>(d->childCount) * sizeof(void*);
    else if (kind == XMLELEMENT_CLEAR)
        start += clearsAt;
    std::memmove(block + start, block + start + size, end - start - size);
    --count;
}

void DetachFromParent(Record* d, bool keepRoom = false) {
    Record* parent = d->parent;
    if (!parent)
        return;
    Record* const* children = Children(parent);
    int index = 0;
    while (children[index] != d)
        ++index;
    RemoveElement(parent, XMLELEMENT_CHILD, index, keepRoom);
    mvxml::DropChild(parent, d);
    d->parent = nullptr;
}

// Replaces a string of the record by one from malloc.
void Replace(Record* d, const wchar_t*& slot, const wchar_t* text) {
    if (slot == text)
        return;
    mvxml::FreeOwned(d, slot);
    slot = text;
    MarkEdited(d);
}

void Free(const wchar_t* text) {
    std::free(const_cast<wchar_t*>(text));
}

int FindAttribute(const Record* d, const wchar_t* name) {
    for (int i = 0; d && i < d->attributeCount; ++i) {
        if (EqualNames(d->attributes[i].name, name))
            return i;
    }
    return -1;
}

// Texts and values of clear sections are known by their address.
int FindText(const Record* d, const wchar_t* text) {
    for (int i = 0; d && i < d->textCount; ++i) {
        if (Texts(d)[i] == text)
            return i;
    }
    return -1;
}

int FindClear(const Record* d, const wchar_t* value) {
    for (int i = 0; d && i < d->clearCount; ++i) {
        if (Clears(d)[i].value == value)
            return i;
    }
    return -1;
}

bool IsBelow(const Record* d, const Record* ancestor) {
    for (; d; d = d->parent) {
        if (d == ancestor)
            return true;
    }
    return false;
}

} // namespace

// ---- Building ----

XMLNode XMLNode::createXMLTopNode(const wchar_t* name, char isDeclaration) {
    wchar_t* copy = stringDup(name);
    return name && !copy ? XMLNode() : createXMLTopNode_WOSD(copy, isDeclaration);
}

XMLNode XMLNode::createXMLTopNode_WOSD(wchar_t* name, char isDeclaration) {
    Record* record = mvxml::NewHeapRecord(name, isDeclaration != 0);
    if (!record)
        Free(name);
    return XMLNodeAccess::share(record);
}

XMLNode XMLNode::addChild(const wchar_t* name, char isDeclaration, int pos) {
    return d ? addChild_WOSD(stringDup(name), isDeclaration, pos) : XMLNode();
}

XMLNode XMLNode::addChild_WOSD(wchar_t* name, char isDeclaration, int pos) {
    if (!name)
        return XMLNode();
    if (!d) {
        Free(name);
        return XMLNode();
    }
    return addChild(createXMLTopNode_WOSD(name, isDeclaration), pos);
}

XMLNode XMLNode::addChild(XMLNode child, int pos) {
    Record* added = child.d;
    if (!d || !added || d == added || (added->childCount && IsBelow(d, added)))
        return XMLNode();
    if (!MakeEditable(d) ||
        !Reserve(d->content.edited->children, d->content.edited->childRoom, d->childCount) ||
        !Reserve(d->content.edited->order, d->content.edited->orderRoom, d->elementCount()))
        return XMLNode();
    bool moves = added->parent == d;
    DetachFromParent(added, moves);
    // Kept: only a position at or past the end is corrected for the place that the child had.
    if (moves && pos >= d->elementCount())
        --pos;
    Insert(d, d->content.edited->children, d->childCount, XMLELEMENT_CHILD, pos, added);
    mvxml::HoldChild(d, added);
    added->parent = d;
    return child;
}

XMLAttribute* XMLNode::addAttribute(const wchar_t* name, const wchar_t* value) {
    if (!d || !name)
        return nullptr;
    wchar_t* nameCopy = stringDup(name);
    wchar_t* valueCopy = stringDup(value);
    if (value && !valueCopy) {
        Free(nameCopy);
        return nullptr;
    }
    return addAttribute_WOSD(nameCopy, valueCopy);
}

XMLAttribute* XMLNode::addAttribute_WOSD(wchar_t* name, wchar_t* value) {
    if (!d || !name || !MakeEditable(d) ||
        !Reserve(d->attributes, d->content.edited->attributeRoom, d->attributeCount)) {
        Free(name);
        Free(value);
        return nullptr;
    }
    XMLAttribute* attribute = &d->attributes[d->attributeCount++];
    *attribute = {name, value};
    return attribute;
}

const wchar_t* XMLNode::addText(const wchar_t* text, int pos) {
    return d ? addText_WOSD(stringDup(text), pos) : nullptr;
}

const wchar_t* XMLNode::addText_WOSD(wchar_t* text, int pos) {
    if (!text)
        return nullptr;
    if (!d || !MakeEditable(d) ||
        !Reserve(d->content.edited->texts, d->content.edited->textRoom, d->textCount) ||
        !Reserve(d->content.edited->order, d->content.edited->orderRoom, d->elementCount())) {
        Free(text);
        return nullptr;
    }
    const wchar_t* added = text;
    Insert(d, d->content.edited->texts, d->textCount, XMLELEMENT_TEXT, pos, added);
    return added;
}

XMLClear* XMLNode::addClear(const wchar_t* value, const wchar_t* opener, const wchar_t* closer, int pos) {
    return d ? addClear_WOSD(stringDup(value), opener, closer, pos) : nullptr;
}

XMLClear* XMLNode::addClear_WOSD(wchar_t* value, const wchar_t* opener, const wchar_t* closer, int pos) {
    if (!value)
        return nullptr;
    if (!d || !MakeEditable(d) ||
        !Reserve(d->content.edited->clears, d->content.edited->clearRoom, d->clearCount) ||
        !Reserve(d->content.edited->order, d->content.edited->orderRoom, d->elementCount())) {
        Free(value);
        return nullptr;
    }
    const mvxml::ClearTag& data = mvxml::ClearTags[mvxml::ClearCData];
    XMLClear clear = {value, opener ? opener : data.opener, closer ? closer : data.closer};
    return &d->content.edited
                ->clears[Insert(d, d->content.edited->clears, d->clearCount, XMLELEMENT_CLEAR, pos, clear)];
}

// ---- Updating ----

const wchar_t* XMLNode::updateName(const wchar_t* name) {
    if (!d)
        return nullptr;
    wchar_t* copy = stringDup(name);
    return name && !copy ? nullptr : updateName_WOSD(copy);
}

const wchar_t* XMLNode::updateName_WOSD(wchar_t* name) {
    if (!d) {
        Free(name);
        return nullptr;
    }
    Replace(d, d->name, name);
    return name;
}

XMLAttribute* XMLNode::updateAttribute(XMLAttribute* newAttribute, XMLAttribute* oldAttribute) {
    if (!newAttribute)
        return nullptr;
    return updateAttribute(newAttribute->value, newAttribute->name,
                           oldAttribute ? oldAttribute->name : nullptr);
}

XMLAttribute* XMLNode::updateAttribute(const wchar_t* value, const wchar_t* name, const wchar_t* oldName) {
    return updateAttribute(value, name, FindAttribute(d, oldName));
}

XMLAttribute* XMLNode::updateAttribute(const wchar_t* value, const wchar_t* name, int i) {
    if (!d)
        return nullptr;
    wchar_t* valueCopy = stringDup(value);
    wchar_t* nameCopy = stringDup(name);
    if ((value && !valueCopy) || (name && !nameCopy)) {
        Free(valueCopy);
        Free(nameCopy);
        return nullptr;
    }
    return updateAttribute_WOSD(valueCopy, nameCopy, i);
}

XMLAttribute* XMLNode::updateAttribute_WOSD(XMLAttribute* newAttribute, XMLAttribute* oldAttribute) {
    if (!newAttribute)
        return nullptr;
    return updateAttribute_WOSD(const_cast<wchar_t*>(newAttribute->value),
                                const_cast<wchar_t*>(newAttribute->name),
                                oldAttribute ? oldAttribute->name : nullptr);
}

XMLAttribute* XMLNode::updateAttribute_WOSD(wchar_t* value, wchar_t* name, const wchar_t* oldName) {
    return updateAttribute_WOSD(value, name, FindAttribute(d, oldName));
}

XMLAttribute* XMLNode::updateAttribute_WOSD(wchar_t* value, wchar_t* name, int i) {
    if (!d || i < 0 || i >= d->attributeCount)
        return addAttribute_WOSD(name, value);
    XMLAttribute* attribute = &d->attributes[i];
    Replace(d, attribute->value, value);
    if (name)
        Replace(d, attribute->name, name);
    return attribute;
}

const wchar_t* XMLNode::updateText(const wchar_t* newText, const wchar_t* oldText) {
    return updateText(newText, oldText ? FindText(d, oldText) : 0);
}

const wchar_t* XMLNode::updateText(const wchar_t* newText, int i) {
    return d ? updateText_WOSD(stringDup(newText), i) : nullptr;
}

const wchar_t* XMLNode::updateText_WOSD(wchar_t* newText, const wchar_t* oldText) {
    return updateText_WOSD(newText, oldText ? FindText(d, oldText) : 0);
}

const wchar_t* XMLNode::updateText_WOSD(wchar_t* newText, int i) {
    if (!newText || !d || i < 0 || i >= d->textCount)
        return addText_WOSD(newText);
    Replace(d, const_cast<const wchar_t**>(Texts(d))[i], newText);
    return newText;
}

XMLClear* XMLNode::updateClear(const wchar_t* newValue, const wchar_t* oldValue) {
    return updateClear(newValue, oldValue ? FindClear(d, oldValue) : 0);
}

XMLClear* XMLNode::updateClear(const wchar_t* newValue, int i) {
    return d ? updateClear_WOSD(stringDup(newValue), i) : nullptr;
}

XMLClear* XMLNode::updateClear(XMLClear* newClear, XMLClear* oldClear) {
    if (!d || !newClear)
        return nullptr;
    XMLClear copy = *newClear;
    copy.value = stringDup(newClear->value);
    return updateClear_WOSD(&copy, oldClear);
}

XMLClear* XMLNode::updateClear_WOSD(wchar_t* newValue, const wchar_t* oldValue) {
    return updateClear_WOSD(newValue, oldValue ? FindClear(d, oldValue) : 0);
}

XMLClear* XMLNode::updateClear_WOSD(wchar_t* newValue, int i) {
    if (!newValue || !d || i < 0 || i >= d->clearCount)
        return addClear_WOSD(newValue);
    XMLClear* clear = &Clears(d)[i];
    Replace(d, clear->value, newValue);
    return clear;
}

XMLClear* XMLNode::updateClear_WOSD(XMLClear* newClear, XMLClear* oldClear) {
    if (!newClear)
        return nullptr;
    int i = oldClear && oldClear->value ? FindClear(d, oldClear->value) : 0;
    wchar_t* value = const_cast<wchar_t*>(newClear->value);
    if (!d || i < 0 || i >= d->clearCount)
        return addClear_WOSD(value, newClear->opener, newClear->closer);
    return updateClear_WOSD(value, i);
}

// ---- Deleting ----

void XMLNode::deleteNodeContent() {
    if (!d)
        return;
    Record* record = d;
    d = nullptr;
    DetachFromParent(record);
    --*record->counters.outside;
    if (--record->counters.references == 0)
        destroy(record);
    else
        mvxml::EmptyRecord(record);
}

void XMLNode::deleteAttribute(int i) {
    if (!d || i < 0 || i >= d->attributeCount)
        return;
    mvxml::FreeOwned(d, d->attributes[i].name);
    mvxml::FreeOwned(d, d->attributes[i].value);
    if (d->layout() == mvxml::LayoutEdited)
        CloseGapAndFree(d->attributes, d->content.edited->attributeRoom, i, d->attributeCount);
    else
        CloseGap(d->attributes, i, d->attributeCount);
    --d->attributeCount;
}

void XMLNode::deleteAttribute(const wchar_t* name) {
    deleteAttribute(FindAttribute(d, name));
}

void XMLNode::deleteAttribute(XMLAttribute* attribute) {
    if (attribute)
        deleteAttribute(attribute->name);
}

void XMLNode::deleteText(int i) {
    if (!d || i < 0 || i >= d->textCount)
        return;
    mvxml::FreeOwned(d, Texts(d)[i]);
    RemoveElement(d, XMLELEMENT_TEXT, i);
}

void XMLNode::deleteText(const wchar_t* text) {
    if (text)
        deleteText(FindText(d, text));
}

void XMLNode::deleteClear(int i) {
    if (!d || i < 0 || i >= d->clearCount)
        return;
    mvxml::FreeOwned(d, Clears(d)[i].value);
    RemoveElement(d, XMLELEMENT_CLEAR, i);
}

void XMLNode::deleteClear(const wchar_t* value) {
    if (value)
        deleteClear(FindClear(d, value));
}

void XMLNode::deleteClear(XMLClear* clear) {
    if (clear)
        deleteClear(clear->value);
}
