// The application object of the fuzz targets: damaged input is their daily bread, so nobody is told about it.
#include <afxwin.h>

namespace {

class FuzzApp : public CWinApp {
public:
    int DoMessageBox(LPCTSTR, UINT, UINT) override { return IDOK; }
};

FuzzApp theApp;

} // namespace
