// The time of a plain pass over memory, to which benchmarks compare.
#pragma once

#include <cstddef>

namespace tamix::bench {

// The fastest of some passes (memcpy as far as it goes) that read and write as many bytes; measured once per pair of sizes.
double memoryPassSeconds(size_t bytes_read, size_t bytes_written);

}  // namespace tamix::bench
