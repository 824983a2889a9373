// Common controls. A small beginning: what needs them brings them here.
#pragma once

#include "afxwin.h"
