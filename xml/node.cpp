#include "XMLNode.h"

#include "xml/names.h"
#include "xml/record.h"

using mvxml::Children;
using mvxml::Clears;
using mvxml::EqualNames;
using mvxml::Order;
using mvxml::Record;
using mvxml::Texts;

XMLNode XMLNode::emptyXMLNode;
XMLAttribute XMLNode::emptyXMLAttribute = {nullptr, nullptr};
XMLClear XMLNode::emptyXMLClear = {nullptr, nullptr, nullptr};

namespace {

bool InRange(int i, int count) {
    return i >= 0 && i < count;
}

// The index of the first item at or after *i whose name matches; *i moves behind it. -1 when there is none.
template <class Matches>
int Search(int count, int* i, Matches matches) {
    for (int k = i && *i > 0 ? *i : 0; k < count; ++k) {
        if (matches(k)) {
            if (i)
                *i = k + 1;
            return k;
        }
    }
    return -1;
}

// The index of the `nth` item that matches.
template <class Matches>
int SearchNth(int count, int nth, Matches matches) {
    int from = 0;
    int found = -1;
    for (int k = 0; k <= nth; ++k) {
        found = Search(count, &from, matches);
        if (found < 0)
            break;
    }
    return found;
}

int PositionOf(const Record* d, int i, int count, XMLElementType kind) {
    if (!InRange(i, count))
        return -1;
    Order order(d);
    for (int position = i; position < d->elementCount(); ++position) {
        if (order[position] == i * 4 + kind)
            return position;
    }
    return -1;
}

} // namespace

const wchar_t* XMLNode::getName() const {
    return d ? d->name : nullptr;
}

char XMLNode::isDeclaration() const {
    return d && d->declaration();
}

XMLNode XMLNode::getParentNode() const {
    return d ? XMLNodeAccess::share(d->parent) : XMLNode();
}

int XMLNode::nChildNode() const {
    return d ? d->childCount : 0;
}

int XMLNode::nChildNode(const wchar_t* name) const {
    int found = 0;
    for (int i = 0; d && i < d->childCount; ++i)
        found += EqualNames(Children(d)[i]->name, name);
    return found;
}

int XMLNode::nText() const {
    return d ? d->textCount : 0;
}
int XMLNode::nClear() const {
    return d ? d->clearCount : 0;
}
int XMLNode::nAttribute() const {
    return d ? d->attributeCount : 0;
}
int XMLNode::nElement() const {
    return d ? d->elementCount() : 0;
}

XMLNode XMLNode::getChildNode(int i) const {
    return d && InRange(i, d->childCount) ? XMLNodeAccess::share(Children(d)[i]) : XMLNode();
}

const wchar_t* XMLNode::getText(int i) const {
    return d && InRange(i, d->textCount) ? Texts(d)[i] : nullptr;
}

XMLClear XMLNode::getClear(int i) const {
    return d && InRange(i, d->clearCount) ? Clears(d)[i] : emptyXMLClear;
}

XMLAttribute XMLNode::getAttribute(int i) const {
    return d && InRange(i, d->attributeCount) ? d->attributes[i] : emptyXMLAttribute;
}

const wchar_t* XMLNode::getAttributeName(int i) const {
    return getAttribute(i).name;
}
const wchar_t* XMLNode::getAttributeValue(int i) const {
    return getAttribute(i).value;
}

XMLNode XMLNode::getChildNode(const wchar_t* name, int i) const {
    if (!d || i < 0)
        return XMLNode();
    Record* const* children = Children(d);
    int found = SearchNth(d->childCount, i, [&](int k) { return EqualNames(children[k]->name, name); });
    return found < 0 ? XMLNode() : XMLNodeAccess::share(children[found]);
}

XMLNode XMLNode::getChildNode(const wchar_t* name, int* i) const {
    if (!d)
        return XMLNode();
    Record* const* children = Children(d);
    int found = Search(d->childCount, i, [&](int k) { return EqualNames(children[k]->name, name); });
    return found < 0 ? XMLNode() : XMLNodeAccess::share(children[found]);
}

XMLNode XMLNode::getChildNodeWithAttribute(const wchar_t* name, const wchar_t* attributeName,
                                           const wchar_t* attributeValue, int* i) const {
    if (!d)
        return XMLNode();
    Record* const* children = Children(d);
    int found = Search(d->childCount, i, [&](int k) {
        const Record* child = children[k];
        if (!EqualNames(child->name, name))
            return false;
        for (int a = 0; a < child->attributeCount; ++a) {
            if (EqualNames(child->attributes[a].name, attributeName) &&
                (!attributeValue || EqualNames(child->attributes[a].value, attributeValue)))
                return true;
        }
        return false;
    });
    return found < 0 ? XMLNode() : XMLNodeAccess::share(children[found]);
}

const wchar_t* XMLNode::getAttribute(const wchar_t* name, int i) const {
    if (!d || i < 0)
        return nullptr;
    int found =
        SearchNth(d->attributeCount, i, [&](int k) { return EqualNames(d->attributes[k].name, name); });
    return found < 0 ? nullptr : d->attributes[found].value;
}

const wchar_t* XMLNode::getAttribute(const wchar_t* name, int* i) const {
    if (!d)
        return nullptr;
    int found = Search(d->attributeCount, i, [&](int k) { return EqualNames(d->attributes[k].name, name); });
    return found < 0 ? nullptr : d->attributes[found].value;
}

char XMLNode::isAttributeSet(const wchar_t* name) const {
    for (int i = 0; d && i < d->attributeCount; ++i) {
        if (EqualNames(d->attributes[i].name, name))
            return 1;
    }
    return 0;
}

XMLNodeContents XMLNode::enumContents(int i) const {
    XMLNodeContents contents = {XMLELEMENT_NONE, XMLNode(), emptyXMLAttribute, nullptr, emptyXMLClear};
    if (!d || i < 0)
        return contents;
    if (i < d->attributeCount) {
        contents.type = XMLELEMENT_ATTRIBUTE;
        contents.attribute = d->attributes[i];
        return contents;
    }
    i -= d->attributeCount;
    if (i >= d->elementCount())
        return contents;
    int entry = Order(d)[i];
    contents.type = static_cast<XMLElementType>(entry & 3);
    if (contents.type == XMLELEMENT_CHILD)
        contents.child = getChildNode(entry >> 2);
    else if (contents.type == XMLELEMENT_TEXT)
        contents.text = getText(entry >> 2);
    else
        contents.clear = getClear(entry >> 2);
    return contents;
}

int XMLNode::positionOfChildNode(int i) const {
    return d ? PositionOf(d, i, d->childCount, XMLELEMENT_CHILD) : -1;
}
int XMLNode::positionOfText(int i) const {
    return d ? PositionOf(d, i, d->textCount, XMLELEMENT_TEXT) : -1;
}
int XMLNode::positionOfClear(int i) const {
    return d ? PositionOf(d, i, d->clearCount, XMLELEMENT_CLEAR) : -1;
}
