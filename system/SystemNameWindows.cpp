#include "SystemName.h"

CString NameOfOtherSystem(const OSVERSIONINFOEXW&) {
    return CString();
}
