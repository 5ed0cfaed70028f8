// CPU topology, and binding the calling thread to the cores of a power mode.
#pragma once

#include <cstdint>

namespace tamix {

// Cores of a power mode, after binding the calling thread to them: 0 all, 1 little, 2 big and middle, 3 the same but counted
// one less. Mode -1 returns num_threads and binds nothing. -1 on failure. On a processor of equal cores, modes other than 0
// return the number of processors and bind nothing.
int32_t getNumThreads(int32_t power_mode, int32_t num_threads);

}  // namespace tamix
