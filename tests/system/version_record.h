// Version records as systems would have filled them.
#pragma once

#include <COSVersionInfo.h>

#include <cwchar>
#include <string>

class Record {
public:
    Record(unsigned platform, unsigned major, unsigned minor, unsigned build = 0,
           const wchar_t* servicePack = L"") {
        info.dwPlatformId = platform;
        info.dwMajorVersion = major;
        info.dwMinorVersion = minor;
        info.dwBuildNumber = build;
        std::wmemset(info.szCSDVersion, 0, 128);
        std::wmemcpy(info.szCSDVersion, servicePack, std::wcslen(servicePack));
        info.wSuiteMask = 0;
        info.wProductType = 1;
        info.m_bExtesa = 1;
    }
    Record& Product(int type, int suite) {
        info.wProductType = static_cast<BYTE>(type);
        info.wSuiteMask = static_cast<WORD>(suite);
        return *this;
    }
    // As if the system had not given the extended record.
    Record& Plain() {
        info.m_bExtesa = 0;
        return *this;
    }
    std::wstring Name() const { return info.GetNom().GetString(); }

    COSVersionInfo info;
};
