// Paths have one form, whatever their length.
#include "SystemPath.h"

SystemPath::SystemPath(const wchar_t* path)
    : m_given(path) {}
