// Rows gigabytes apart, without the memory between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace tamix::test {

// Memory of which only a few pages exist, however large it is: a touch of others is a fault.
class SparseMemory {
 public:
  SparseMemory() = default;
  SparseMemory(const SparseMemory&) = delete;
  SparseMemory& operator=(const SparseMemory&) = delete;
  ~SparseMemory();

  // `size` bytes of which no page exists yet.
  uint8_t* reserve(size_t size);
  // Makes the pages of `size` bytes from `begin` on.
  void map(const uint8_t* begin, size_t size);

 private:
  // Free in programs with and without sanitizers. Inaccessible mappings in its place would have emulators book every page.
  uintptr_t end_ = 0x550000000000;
  std::set<uintptr_t> pages_;
};

}  // namespace tamix::test
