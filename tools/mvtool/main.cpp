// mvtool: the companion program of mvlib62.
#include "afxwin.h"

#include "command.h"
#include "console.h"
#include "system.h"
#include "text.h"
#include <new>

namespace {

using mvtool::console;
using mvtool::Exit;
using mvtool::Failure;

/// The application object that the library finds: its message boxes become lines on standard error.
class ToolApplication : public CWinApp {
public:
    int DoMessageBox(LPCTSTR text, UINT, UINT) override {
        std::string line = mvtool::fromWide(text != nullptr ? text : L"");
        for (char& c : line) {
            c = c == '\n' || c == '\r' ? ' ' : c;
        }
        while (!line.empty() && line.back() == ' ') {
            line.pop_back();
        }
        console().note(mvtool::displayText(line));
        return IDOK;
    }
};

ToolApplication theApplication;

std::string textOf(CException* exception) {
    wchar_t text[1024] = {};
    const bool known = exception->GetErrorMessage(text, 1024, nullptr) != FALSE;
    exception->Delete();
    return known ? mvtool::displayText(mvtool::fromWide(text)) : "an unknown failure";
}

Exit report(Exit code, const std::string& text) {
    if (!text.empty()) {
        console().note(text);
    }
    return code;
}

Exit run(const std::vector<std::string>& words) {
    try {
        const Exit code = mvtool::runTool(words);
        console().flush();
        return code;
    } catch (const Failure& failure) {
        report(failure.code(), failure.text());
        if (failure.code() == Exit::usage) {
            console().note("try 'mvtool --help'");
        }
        return failure.code();
    } catch (const std::bad_alloc&) {
        return report(Exit::internal, "not enough memory");
    } catch (const std::exception& exception) {
        return report(Exit::internal, exception.what());
    } catch (CException* exception) {
        return report(Exit::internal, textOf(exception));
    }
}

} // namespace

int main(int argc, char** argv) {
    mvtool::prepareProcess();
    return static_cast<int>(run(mvtool::commandLine(argc, argv)));
}
