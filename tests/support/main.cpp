// The entry point and the application object of every test program.
#include "message_capture.h"

#include <afxwin.h>
#include <gtest/gtest.h>

namespace {

class TestApp : public CWinApp {
public:
    int DoMessageBox(LPCTSTR text, UINT style, UINT help) override {
        if (MessageCapture* capture = MessageCapture::Current()) {
            return capture->Show(text, style, help);
        }
        ADD_FAILURE() << "unexpected message box: " << CStringA(text).GetString();
        return IDOK;
    }
};

TestApp theApp;

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
