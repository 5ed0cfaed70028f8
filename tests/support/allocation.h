// Lets chosen allocations of the library fail, fills what it gets, and counts what it holds.
#pragma once

#include <cstdint>

namespace tamix::test {

// While it lives, the n-th allocation (counting from 0) by memalign, posix_memalign, malloc or operator new fails; a negative n
// lets all succeed. Log lines that a test collects are not counted.
class FailingAllocation {
 public:
  explicit FailingAllocation(int64_t n) : FailingAllocation(n, /*memalign_only=*/false, /*all_later=*/false) {}
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // True when an allocation failed because of this.
  bool struck() const;

 protected:
  FailingAllocation(int64_t n, bool memalign_only, bool all_later);
};

// The same for the calls of memalign alone; all later ones fail too when `all_later`.
class FailingMemalign : public FailingAllocation {
 public:
  explicit FailingMemalign(int64_t n, bool all_later = false) : FailingAllocation(n, /*memalign_only=*/true, all_later) {}
};

// While it lives, allocations neither fail nor count.
class UndisturbedAllocations {
 public:
  UndisturbedAllocations();
  ~UndisturbedAllocations();
  UndisturbedAllocations(const UndisturbedAllocations&) = delete;
  UndisturbedAllocations& operator=(const UndisturbedAllocations&) = delete;
};

// What memory holds before anything is written to it.
enum class Fill { kZeros, kOnes, kNoise };

// While it lives, fresh memory is filled.
class FilledAllocations {
 public:
  explicit FilledAllocations(Fill fill);
  ~FilledAllocations();
  FilledAllocations(const FilledAllocations&) = delete;
  FilledAllocations& operator=(const FilledAllocations&) = delete;
};

// Bytes that the program has allocated by these ways and not freed.
int64_t liveBytes();

// Bytes that calls of memalign have asked for so far.
int64_t memalignedBytes();

}  // namespace tamix::test
