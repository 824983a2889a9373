#include "tempmaps.h"

// No handle of the system has an object here.
void mvafx::deleteTemporaryObjects() {}
