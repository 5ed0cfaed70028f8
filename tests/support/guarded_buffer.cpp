#include "tests/support/guarded_buffer.h"

#if defined(__SANITIZE_ADDRESS__)
#define TAMIX_TEST_POISONED_HEAP
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAMIX_TEST_POISONED_HEAP
#endif
#endif

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace tamix::test {
namespace {

// With TAMIX_TEST_SWAP_GUARDS every test runs with the guard on the other side of each plane.
Guard actual(Guard guard) {
  static const bool swapped = std::getenv("TAMIX_TEST_SWAP_GUARDS") != nullptr;
  return swapped == (guard == Guard::kBehind) ? Guard::kBefore : Guard::kBehind;
}

}  // namespace

#ifdef TAMIX_TEST_POISONED_HEAP

// Blocks of the heap: its granules of 8 bytes end where the memory does, or begin there.
GuardedBytes::GuardedBytes(size_t size, Guard guard) : size_(size) {
  constexpr size_t kAlignment = 16;
  const bool begins = actual(guard) == Guard::kBefore && size > 0;
  const size_t inner = begins ? size : (size / kAlignment + 1) * kAlignment;
  mapping_ = std::malloc(inner);
  if (mapping_ == nullptr) {
    std::perror("malloc");
    std::abort();
  }
  data_ = static_cast<char*>(mapping_) + (inner - size);
}

GuardedBytes::~GuardedBytes() { std::free(mapping_); }

#else

GuardedBytes::GuardedBytes(size_t size, Guard guard) : size_(size) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t inner = (size + page - 1) / page * page;
  mapped_ = inner + 2 * page;
  mapping_ = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping_ == MAP_FAILED) {
    std::perror("mmap");
    std::abort();
  }
  char* const first = static_cast<char*>(mapping_) + page;
  if (inner > 0 && mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) {
    std::perror("mprotect");
    std::abort();
  }
  data_ = actual(guard) == Guard::kBehind ? first + (inner - size) : first;
}

GuardedBytes::~GuardedBytes() {
  if (mapping_ != nullptr) munmap(mapping_, mapped_);
}

#endif

GuardedBytes::GuardedBytes(GuardedBytes&& other) noexcept { *this = std::move(other); }

GuardedBytes& GuardedBytes::operator=(GuardedBytes&& other) noexcept {
  std::swap(mapping_, other.mapping_);
  std::swap(mapped_, other.mapped_);
  std::swap(data_, other.data_);
  std::swap(size_, other.size_);
  return *this;
}

}  // namespace tamix::test
