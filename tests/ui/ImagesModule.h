// The module with the images and menus of images.rc, linked into the resource chain while the object lives.
#pragma once

#include "afxwin.h"

#include <gtest/gtest.h>

class ImagesModule {
public:
    explicit ImagesModule(const wchar_t* file = L"test_ui_images.dll") {
        module.hModule = module.hResource = ::LoadLibraryW(file);
        EXPECT_NE(module.hModule, nullptr) << "cannot load the test's module";
        m_library = new CDynLinkLibrary(module, FALSE);
    }
    ~ImagesModule() {
        delete m_library;
        ::FreeLibrary(module.hModule);
    }
    ImagesModule(const ImagesModule&) = delete;
    ImagesModule& operator=(const ImagesModule&) = delete;

    AFX_EXTENSION_MODULE module = {};

private:
    CDynLinkLibrary* m_library;
};
