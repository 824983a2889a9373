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
        if (m_menu)
            PostMessage(WM_COMMAND, Units, 0);
        return SampleDialog::OnInitDialog();
    }

private:
    bool m_menu;
};

} // namespace

int main(int argc, char**) {
    Shown dialog(argc > 1);
    return dialog.DoModal() == IDOK ? 0 : 1;
}
