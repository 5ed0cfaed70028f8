// Memory that ends where its page ends: a read or write of one byte behind it (or before it) is a fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace tamix::test {

// Which side of the memory touches an inaccessible page without a gap.
enum class Guard { kBehind, kBefore };

// Where a test does not choose: behind, or before if TAMIX_TEST_GUARD says so.
Guard usualGuard();

// `size` bytes between inaccessible pages.
class GuardedBytes {
 public:
  explicit GuardedBytes(size_t size, Guard guard = usualGuard());
  GuardedBytes(GuardedBytes&& other) noexcept;
  GuardedBytes& operator=(GuardedBytes&& other) noexcept;
  ~GuardedBytes();

  void* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  void* mapping_ = nullptr;
  size_t mapped_ = 0;
  void* data_ = nullptr;
  size_t size_ = 0;
};

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
