#include "tests/support/allocation.h"

#include <malloc.h>

#include <cstdlib>

namespace {

int64_t until_failure = -1;  // -1: none fails
bool all_later_fail = false;
bool has_struck = false;

bool failsNow() {
  if (until_failure < 0) return false;
  if (until_failure > 0) {
    --until_failure;
    return false;
  }
  if (!all_later_fail) until_failure = -1;
  has_struck = true;
  return true;
}

}  // namespace

// The library's calls of memalign come here.
extern "C" void* memalign(size_t alignment, size_t size) noexcept {
  if (failsNow()) return nullptr;
  void* block = nullptr;
  return posix_memalign(&block, alignment < sizeof(void*) ? sizeof(void*) : alignment, size) == 0 ? block : nullptr;
}

namespace tamix::test {

FailingMemalign::FailingMemalign(int64_t n, bool all_later) {
  until_failure = n;
  all_later_fail = all_later;
  has_struck = false;
}

FailingMemalign::~FailingMemalign() { until_failure = -1; }

bool FailingMemalign::struck() const { return has_struck; }

}  // namespace tamix::test
