// Everything of mvlib62. A source that uses one or two families includes their own headers instead.
#pragma once

#include "mvlib_export.h"

#include "CBufferCircular.h"
#include "CFileBuffer.h"
#include "CFileMapping.h"
#include "CFitxerINI.h"
#include "CLastError.h"
#include "CMirvaExcepcio.h"
#include "CMultiString.h"
#include "COSVersionInfo.h"
#include "CPathString.h"
#include "CSharingManager.h"
#include "CStringEx.h"
#include "Idioma.h"
#include "ItemRanges.h"
#include "TArbre.h"
#include "TBlocOpcions.h"
#include "TCarpetaRegistry.h"
#include "TComptaTemps.h"
#include "TCrossList.h"
#include "TDDEInterface.h"
#include "THash.h"
#include "TIndicadorEstat.h"
#include "TItem.h"
#include "TIteradorFitxers.h"
#include "TLlista.h"
#include "TSerializer.h"
#include "TTaula.h"
#include "Unitats.h"
#include "XMLNode.h"

// Families of windows and drawing, which are there on Windows only.
#if __has_include("Dibuix.h")
#include "Dibuix.h"
#include "EstatFinestres.h"
#include "UnitatsControls.h"
#endif
