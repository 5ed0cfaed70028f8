#include "tests/support/sparse_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tamix::test {
namespace {

uintptr_t pageSize() { return static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

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
