// Several arrays in one block of scratch memory.
#pragma once

#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

// The room of every array, added up, is the size of the block; take() then hands the arrays out, each on its own cache lines.
class ScratchParts {
 public:
  // Bytes for `count` elements; more than any machine has where the count is absurd.
  template <class T>
  static constexpr size_t room(size_t count) {
    return count > kAbsurd / sizeof(T) ? kAbsurd : (count * sizeof(T) + kLine - 1) / kLine * kLine;
  }

  explicit ScratchParts(size_t bytes) : block_(bytes) {}
  explicit operator bool() const { return static_cast<bool>(block_); }

  template <class T>
  T* take(size_t count) {
    T* const part = reinterpret_cast<T*>(block_.data() + used_);
    used_ += room<T>(count);
    return part;
  }

 private:
  static constexpr size_t kLine = ScratchBuffer<uint8_t>::kAlignment;
  // A few of them still add up without wrapping around.
  static constexpr size_t kAbsurd = size_t{1} << 58;

  ScratchBuffer<uint8_t> block_;
  size_t used_ = 0;
};

}  // namespace tamix
