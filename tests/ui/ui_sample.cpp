// Shows the sample dialog, for a person to look at:  scripts/run-win32 build/win32/bin/ui_sample.exe [MENU]
// With a word as argument the menu of units opens at once.
#include "SampleDialog.h"

#include "afxwin.h"

namespace {

CWinApp theApp;

class Shown : public SampleDialog {
public:
    explicit Shown(bool menu)
        : SampleDialog(72.0 * 8.5)
        , m_menu(menu) {}

protected:
    BOOL OnInitDialog() override {
        const BOOL focus = SampleDialog::OnInitDialog();
        if (m_menu) {
            // The menu takes over the messages: the dialog has to be seen before.
            ShowWindow(SW_SHOWNORMAL);
            UpdateWindow();
            PostMessage(WM_COMMAND, Units, 0);
        }
        return focus;
    }

private:
    bool m_menu;
};

} // namespace

int main(int argc, char**) {
    Shown dialog(argc > 1);
    return dialog.DoModal() == IDOK ? 0 : 1;
}
