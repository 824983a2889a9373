// Everything of mvlib62. A source that uses one or two families includes their own headers instead.
#pragma once

#include "CFileBuffer.h"
#include "CFileMapping.h"
#include "Idioma.h"
#include "TIndicadorEstat.h"
#include "TItem.h"
#include "TLlista.h"
#include "TSerializer.h"
#include "mvlib_export.h"
