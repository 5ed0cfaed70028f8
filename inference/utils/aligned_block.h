// Memory in the three alignment modes that instances and scratch pools hand out.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace tamix {

struct BlockDeleter {
  void operator()(void* block) const { std::free(block); }
};
using AlignedBlock = std::unique_ptr<void, BlockDeleter>;

// Modes 0 and 2 align to 16 bytes, mode 1 to 4096. Null for another mode, or without memory.
inline AlignedBlock allocateBlock(size_t size, int32_t mode) {
  void* block = nullptr;
  switch (mode) {
    case 0:
      return AlignedBlock(memalign(16, size));
    case 1:
      return AlignedBlock(memalign(4096, size));
    case 2:
      return AlignedBlock(posix_memalign(&block, 16, size) == 0 ? block : nullptr);
    default:
      return nullptr;
  }
}

}  // namespace tamix
