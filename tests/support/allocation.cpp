#include "tests/support/allocation.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

// The linker leads calls of the program's own objects, but not of shared libraries, here (option --wrap). The operators new and
// delete go by their mangled names; they are not replaced, so that the sanitizers keep theirs.
extern "C" {
void* __real_malloc(size_t size) noexcept;
void* __real_memalign(size_t alignment, size_t size) noexcept;
int __real_posix_memalign(void** block, size_t alignment, size_t size) noexcept;
void __real_free(void* block) noexcept;
void* __real__Znwm(size_t size);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept;
void __real__ZdlPv(void* block) noexcept;
void __real__ZdlPvm(void* block, size_t size) noexcept;
void __real__ZdlPvRKSt9nothrow_t(void* block, const std::nothrow_t& tag) noexcept;
}

namespace {

using tamix::test::Fill;

struct State {
  int64_t until_failure = -1;  // -1: none fails
  bool memalign_only = false;
  bool all_later_fail = false;
  bool has_struck = false;
  int undisturbed = 0;
  std::optional<Fill> fill;
  int64_t live_bytes = 0;
  int64_t asked_of_memalign = 0;
};
thread_local constinit State state;

bool failsNow(bool is_memalign) {
  if (state.until_failure < 0 || state.undisturbed > 0 || (state.memalign_only && !is_memalign)) return false;
  if (state.until_failure > 0) {
    --state.until_failure;
    return false;
  }
  if (!state.all_later_fail) state.until_failure = -1;
  state.has_struck = true;
  return true;
}

void* made(void* block, size_t size) {
  if (block == nullptr) return nullptr;
  state.live_bytes += static_cast<int64_t>(malloc_usable_size(block));
  if (!state.fill || state.undisturbed > 0) return block;
  auto* const bytes = static_cast<uint8_t*>(block);
  std::memset(bytes, *state.fill == Fill::kOnes ? 0xFF : 0, size);
  if (*state.fill == Fill::kNoise)
    std::generate_n(bytes, size, [i = 0u]() mutable { return uint8_t((i += 0x9E3779B1u) >> 24); });
  return block;
}

void* released(void* block) {
  if (block != nullptr) state.live_bytes -= static_cast<int64_t>(malloc_usable_size(block));
  return block;
}

}  // namespace

extern "C" {

void* __wrap_malloc(size_t size) noexcept { return failsNow(false) ? nullptr : made(__real_malloc(size), size); }

void* __wrap_memalign(size_t alignment, size_t size) noexcept {
  state.asked_of_memalign += static_cast<int64_t>(size);
  return failsNow(true) ? nullptr : made(__real_memalign(alignment, size), size);
}

int __wrap_posix_memalign(void** block, size_t alignment, size_t size) noexcept {
  if (failsNow(false)) return ENOMEM;
  const int result = __real_posix_memalign(block, alignment, size);
  if (result == 0) made(*block, size);
  return result;
}

void __wrap_free(void* block) noexcept { __real_free(released(block)); }

void* __wrap__Znwm(size_t size) {
  if (failsNow(false)) throw std::bad_alloc();
  return made(__real__Znwm(size), size);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept {
  return failsNow(false) ? nullptr : made(__real__ZnwmRKSt9nothrow_t(size, tag), size);
}

void __wrap__ZdlPv(void* block) noexcept { __real__ZdlPv(released(block)); }

void __wrap__ZdlPvm(void* block, size_t size) noexcept { __real__ZdlPvm(released(block), size); }

void __wrap__ZdlPvRKSt9nothrow_t(void* block, const std::nothrow_t& tag) noexcept {
  __real__ZdlPvRKSt9nothrow_t(released(block), tag);
}

}  // extern "C"

namespace tamix::test {

FailingAllocation::FailingAllocation(int64_t n, bool memalign_only, bool all_later) {
  state.until_failure = n;
  state.memalign_only = memalign_only;
  state.all_later_fail = all_later;
  state.has_struck = false;
}

FailingAllocation::~FailingAllocation() { state.until_failure = -1; }

bool FailingAllocation::struck() const { return state.has_struck; }

UndisturbedAllocations::UndisturbedAllocations() { ++state.undisturbed; }
UndisturbedAllocations::~UndisturbedAllocations() { --state.undisturbed; }

FilledAllocations::FilledAllocations(Fill fill) { state.fill = fill; }
FilledAllocations::~FilledAllocations() { state.fill.reset(); }

int64_t liveBytes() { return state.live_bytes; }

int64_t memalignedBytes() { return state.asked_of_memalign; }

}  // namespace tamix::test
