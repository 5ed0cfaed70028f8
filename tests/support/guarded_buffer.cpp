#include "tests/support/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace tamix::test {
namespace {

uintptr_t pageSize() { return static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

Guard usualGuard() {
  const char* const wanted = std::getenv("TAMIX_TEST_GUARD");
  return wanted != nullptr && std::strcmp(wanted, "before") == 0 ? Guard::kBefore : Guard::kBehind;
}

GuardedBytes::GuardedBytes(size_t size, Guard guard) : size_(size) {
  const size_t page = pageSize();
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
  data_ = guard == Guard::kBehind ? first + (inner - size) : first;
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

uint8_t* SparseMemory::reserve(size_t size) {
  const uintptr_t begin = end_;
  end_ = begin + (size / pageSize() + 2) * pageSize();
  return reinterpret_cast<uint8_t*>(begin);
}

void SparseMemory::map(const uint8_t* begin, size_t size) {
  const uintptr_t first = reinterpret_cast<uintptr_t>(begin) / pageSize();
  const uintptr_t end = (reinterpret_cast<uintptr_t>(begin) + size + pageSize() - 1) / pageSize();
  for (uintptr_t page = first; page < end; ++page) {
    if (!pages_.insert(page).second) continue;
    void* const wanted = reinterpret_cast<void*>(page * pageSize());
    constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE;
    if (mmap(wanted, pageSize(), PROT_READ | PROT_WRITE, kFlags, -1, 0) == wanted) continue;
    std::perror("mmap");
    std::abort();
  }
}

SparseMemory::~SparseMemory() {
  for (const uintptr_t page : pages_) munmap(reinterpret_cast<void*>(page * pageSize()), pageSize());
}

}  // namespace tamix::test
