#include "xml.h"

#include "../console.h"
#include "../folders.h"
#include "../text.h"
#include "document.h"
#include <memory>
#include <new>

namespace mvtool::xml {

Exit format(const Arguments& arguments) {
    const std::string& path = arguments.operands()[0];
    const XMLNode node = parseSound(path);
    const char indented = arguments.has("compact") ? 0 : 1;
    if (const std::optional<std::string> output = arguments.value("output")) {
        ReplacedFile file(*output);
        if (node.writeToFile(widePath(file.temporaryPath()).c_str(), nullptr, indented) != XMLERROR_NONE) {
            throw Failure(Exit::writeFailure,
                          "cannot write " + displayText(*output) + "; nothing was changed");
        }
        file.commit();
        return Exit::done;
    }
    int size = 0;
    const std::unique_ptr<wchar_t, void (*)(wchar_t*)> text(node.createXMLString(indented, &size),
                                                            freeXMLString);
    if (!text) {
        throw std::bad_alloc();
    }
    const std::wstring_view all(text.get(), static_cast<std::size_t>(size));
    console().print(printable(all));
    if (!all.ends_with(L'\n')) {
        console().print("\n");
    }
    return Exit::done;
}

} // namespace mvtool::xml
