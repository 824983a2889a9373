// What the manager of shared folders keeps to itself.
#pragma once

#include <CSharingManager.h>

struct Inside : CSharingManager {
    using CSharingManager::_addSharePath;
    using CSharingManager::_char2wchar;
    using CSharingManager::_getNetNameViaDevicePath;
    using CSharingManager::_getUniqueShareResourceName;
    using CSharingManager::_wchar2char;
};
