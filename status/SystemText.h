// The system's texts for its errors.
#pragma once

#include "afx.h"

// The user's default language (neutral, default sub-language), in which texts are asked for.
constexpr DWORD UserDefaultLanguage = 0x0400;

// The system's text for `error`, of at most `maximum` characters and with the line break at its end; empty
// when there is none, or when it is longer.
CString SystemErrorText(DWORD error, int maximum);
