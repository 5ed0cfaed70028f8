// Memory that ends where its page ends: a read or write of one byte behind it (or before it) is a fault.
#pragma once

#include <cstddef>

namespace tamix::test {

// Which side of the memory touches an inaccessible page without a gap.
enum class Guard { kBehind, kBefore };

// `size` bytes between inaccessible pages.
class GuardedBytes {
 public:
  explicit GuardedBytes(size_t size, Guard guard = Guard::kBehind);
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

}  // namespace tamix::test
