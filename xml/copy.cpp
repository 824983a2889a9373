#include "xml/stack.h"

#include <cstring>

namespace {

using mvxml::Pages;
using mvxml::Record;

struct CopyStep {
    const Record* source;
    Record* target;
};

// Copies all of a record but its children, for which it makes empty records that the walk fills later.
void CopyRecord(Pages* pages, const CopyStep& step, mvxml::Stack<CopyStep, 64>& steps) {
    const Record* source = step.source;
    Record* target = step.target;
    target->name = pages->Copy(source->name);
    if (source->attributeCount) {
        target->attributes = static_cast<XMLAttribute*>(
            pages->Take(static_cast<std::size_t>(source->attributeCount) * sizeof(XMLAttribute)));
        for (int i = 0; i < source->attributeCount; ++i)
            target->attributes[i] = {pages->Copy(source->attributes[i].name),
                                     pages->Copy(source->attributes[i].value)};
        target->attributeCount = source->attributeCount;
    }
    target->childCount = source->childCount;
    target->textCount = source->textCount;
    target->clearCount = source->clearCount;
    void** block = mvxml::NewBlock(pages, target);
    target->content.block = block;
    for (int i = 0; i < source->childCount; ++i) {
        const Record* child = mvxml::Children(source)[i];
        Record* copy = mvxml::NewPagedRecord(pages, child->declaration());
        copy->counters.references = 1;
        copy->parent = target;
        block[i] = copy;
        steps.Push({child, copy});
    }
    void** texts = block + source->childCount;
    for (int i = 0; i < source->textCount; ++i)
        texts[i] = pages->Copy(mvxml::Texts(source)[i]);
    XMLClear* clears = reinterpret_cast<XMLClear*>(block + source->childCount + source->textCount);
    for (int i = 0; i < source->clearCount; ++i) {
        clears[i] = mvxml::Clears(source)[i];
        clears[i].value = pages->Copy(clears[i].value);
    }
    if (mvxml::IsMixed(source)) {
        mvxml::Order order(source);
        int* entries = reinterpret_cast<int*>(clears + source->clearCount);
        for (int i = 0; i < source->elementCount(); ++i)
            entries[i] = order[i];
    }
}

} // namespace

XMLNode XMLNode::deepCopy() const {
    if (!d)
        return XMLNode();
    Pages* pages = Pages::Create();
    if (!pages)
        return XMLNode();
    try {
        Record* top = mvxml::NewPagedRecord(pages, d->declaration());
        mvxml::Stack<CopyStep, 64> steps;
        steps.Push({d, top});
        while (steps.Count()) {
            CopyStep step = steps.Top();
            steps.CutTo(steps.Count() - 1);
            CopyRecord(pages, step, steps);
        }
        return XMLNodeAccess::share(top);
    } catch (const mvxml::MemoryExhausted&) {
        pages->Free();
        return XMLNode();
    }
}
