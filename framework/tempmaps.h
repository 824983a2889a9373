// The temporary objects that stand for handles of the system.
#pragma once

namespace mvafx {

// Ends those of the calling thread.
void deleteTemporaryObjects();

} // namespace mvafx
