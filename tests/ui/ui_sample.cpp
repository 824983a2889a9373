// Shows the sample dialog, for a person to look at:  scripts/run-win32 build/win32/bin/ui_sample.exe [MENU]
// With a word as argument the menu of units opens at once.
#include "SampleDialog.h"

#include "afxwin.h"

namespace {

CWinApp theApp;

constexpr UINT_PTR menuTimer = 1;

class Shown : public SampleDialog {
public:
    explicit Shown(bool menu)
        : SampleDialog(72.0 * 8.5)
        , m_menu(menu) {}

protected:
    BOOL OnInitDialog() override {
        if (m_menu)
            ::SetTimer(GetSafeHwnd(), menuTimer, 500, nullptr); // when the dialog is seen
        return SampleDialog::OnInitDialog();
    }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_TIMER && wParam == menuTimer) {
            ::KillTimer(GetSafeHwnd(), menuTimer);
            SendMessage(WM_COMMAND, Units, 0);
            return 0;
        }
        return SampleDialog::WindowProc(message, wParam, lParam);
    }

private:
    bool m_menu;
};

} // namespace

int main(int argc, char**) {
    Shown dialog(argc > 1);
    return dialog.DoModal() == IDOK ? 0 : 1;
}
