// The entry point and the application object of every benchmark program.
#include <afxwin.h>
#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

// An error that would be shown to the user ends the run: its times would mean nothing.
class BenchApp : public CWinApp {
public:
    int DoMessageBox(LPCTSTR text, UINT style, UINT help) override {
        CWinApp::DoMessageBox(text, style, help);
        std::abort();
    }
};

BenchApp theApp;

} // namespace

BENCHMARK_MAIN();
