// Lets chosen allocations of the library fail.
#pragma once

#include <cstdint>

namespace tamix::test {

// While it lives, the n-th call of memalign (counting from 0) fails, and so do all later ones when `all_later`.
class FailingMemalign {
 public:
  explicit FailingMemalign(int64_t n, bool all_later = false);
  ~FailingMemalign();
  FailingMemalign(const FailingMemalign&) = delete;
  FailingMemalign& operator=(const FailingMemalign&) = delete;

  // True when an allocation failed because of this.
  bool struck() const;
};

}  // namespace tamix::test
