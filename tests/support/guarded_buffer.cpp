#include "tests/support/guarded_buffer.h"

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

GuardedBytes::GuardedBytes(GuardedBytes&& other) noexcept { *this = std::move(other); }

GuardedBytes& GuardedBytes::operator=(GuardedBytes&& other) noexcept {
  std::swap(mapping_, other.mapping_);
  std::swap(mapped_, other.mapped_);
  std::swap(data_, other.data_);
  std::swap(size_, other.size_);
  return *this;
}

GuardedBytes::~GuardedBytes() {
  if (mapping_ != nullptr) munmap(mapping_, mapped_);
}

}  // namespace tamix::test
