// Common controls need windows, which do not exist here.
#pragma once

#include "afxwin.h"
