// Planes, rows and scratch memory, as every kernel addresses them.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <type_traits>

namespace tamix {

// Rows of elements, `pitch` elements apart.
template <class T>
struct Plane {
  T* data;
  ptrdiff_t pitch;

  T* row(ptrdiff_t y) const { return data + y * pitch; }
};

// The plane of an interleaved image; width_stride counts pixels.
template <class T>
Plane<T> plane(T* data, int32_t width_stride, int32_t channel = 1) {
  return {data, ptrdiff_t{width_stride} * channel};
}

// Elements of a row; none where a size is negative.
inline size_t rowElements(int32_t width, int32_t channel = 1) {
  return static_cast<size_t>(std::max(width, 0)) * static_cast<size_t>(std::max(channel, 0));
}

// Elements from the first of a plane to the last of its last row, which is not padded.
inline size_t planeElements(int32_t height, int32_t width, int32_t width_stride, int32_t channel = 1) {
  if (height < 1 || width < 1 || channel < 1) return 0;
  return static_cast<size_t>(height - 1) * rowElements(width_stride, channel) + rowElements(width, channel);
}

// One long row where rows of n elements follow each other without padding in every plane. Only for rows whose blocks and tails
// agree: the tails move.
template <class... Ts>
void joinRows(int32_t& height, size_t& n, const Plane<Ts>&... planes) {
  if (height <= 1 || !((planes.pitch == static_cast<ptrdiff_t>(n)) && ...)) return;
  n *= static_cast<size_t>(height);
  height = 1;
}

// True when writing dst[i] may change a src[j] with j > i, both of n elements. Elements are then taken one at a time, in order;
// otherwise vectors give the same result as that, in place too.
template <class Out, class In>
bool writesAhead(const Out* dst, const In* src, size_t n) {
  const auto to = reinterpret_cast<uintptr_t>(dst);
  const auto from = reinterpret_cast<uintptr_t>(src);
  const bool overlap = to < from + n * sizeof(In) && from < to + n * sizeof(Out);
  return overlap && (to > from || sizeof(Out) > sizeof(In));
}

struct FreeDeleter {
  void operator()(void* block) const { std::free(block); }
};

// Uninitialised scratch memory of trivial elements, aligned to a cache line; null when it cannot be had.
template <class T>
class ScratchBuffer {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  static constexpr size_t kAlignment = 64;

  ScratchBuffer() = default;
  explicit ScratchBuffer(size_t count)
      : block_(count > kMost ? nullptr : static_cast<T*>(memalign(kAlignment, bytes(count)))) {}

  explicit operator bool() const { return block_ != nullptr; }
  T* data() const { return block_.get(); }
  T& operator[](size_t i) const { return block_.get()[i]; }

 private:
  static constexpr size_t kMost = std::numeric_limits<ptrdiff_t>::max() / sizeof(T) - kAlignment;
  // At least one byte: an empty request must not look like a failed one.
  static constexpr size_t bytes(size_t count) { return std::max<size_t>(count * sizeof(T), 1); }

  std::unique_ptr<T, FreeDeleter> block_;
};

}  // namespace tamix
