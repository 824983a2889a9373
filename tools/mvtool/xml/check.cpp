#include "xml.h"

#include "../console.h"
#include "../text.h"
#include "document.h"
#include <algorithm>
#include <vector>

namespace mvtool::xml {
namespace {

/// "12 elements, depth 3".
std::string measure(const XMLNode& top) {
    struct Step {
        XMLNode node;
        int next;
    };
    std::vector<Step> steps = {{top, 0}};
    unsigned long long elements = 0;
    std::size_t depth = 0;
    std::size_t nested = 0; // nodes on the way down that are elements
    const auto isElement = [](const XMLNode& node) {
        return node.getName() != nullptr && !node.isDeclaration();
    };
    const auto enter = [&](const XMLNode& node) {
        if (isElement(node)) {
            ++elements;
            depth = std::max(depth, ++nested);
        }
    };
    enter(top);
    while (!steps.empty()) {
        Step& step = steps.back();
        if (step.next < step.node.nChildNode()) {
            XMLNode child = step.node.getChildNode(step.next++);
            enter(child);
            steps.push_back({std::move(child), 0});
        } else {
            nested -= isElement(step.node) ? 1 : 0;
            steps.pop_back();
        }
    }
    return counted(elements, "element") + ", depth " + std::to_string(depth);
}

} // namespace

Exit check(const Arguments& arguments) {
    const std::string& path = arguments.operands()[0];
    const Document document = parse(path);
    if (document.results.error == XMLERROR_NONE) {
        console().print(displayText(path) + ": good: " + measure(document.node) + '\n');
        return Exit::done;
    }
    console().print(describe(path, document.results) + '\n' + excerpt(path, document.results));
    return document.node.isEmpty() || arguments.has("strict") ? Exit::no : Exit::done;
}

} // namespace mvtool::xml
