// Planes, rows and scratch memory, as every kernel addresses them.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

namespace tamix {

// Rows of elements, `pitch` elements apart.
template <class T>
struct Plane {
  T* data;
  ptrdiff_t pitch;

  T* row(ptrdiff_t y) const { return data + y * pitch; }
  // The plane that begins at element i of row y.
  Plane from(ptrdiff_t y, ptrdiff_t i) const { return {row(y) + i, pitch}; }
};

// The plane of an interleaved image; width_stride counts pixels.
template <class T>
Plane<T> plane(T* data, int32_t width_stride, int32_t channel = 1) {
  return {data, ptrdiff_t{width_stride} * std::max(channel, 0)};
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

// One long row where rows of n pixels, that many from row to row, follow each other without padding in every plane. Only for
// rows whose blocks and tails agree: the tails move. However many empty rows are none.
template <class... Strides>
void joinPixelRows(int32_t& height, size_t& n, Strides... width_strides) {
  if (n == 0) height = 0;
  if (height <= 1 || !((width_strides == static_cast<ptrdiff_t>(n)) && ...)) return;
  n *= static_cast<size_t>(height);
  height = 1;
}

// The same for rows of n elements.
template <class... Ts>
void joinRows(int32_t& height, size_t& n, const Plane<Ts>&... planes) {
  joinPixelRows(height, n, planes.pitch...);
}

// Copies rows of n elements, as one run where neither side is padded. Source and destination may overlap within a row.
template <class T>
void copyRows(const Plane<const T>& src, const Plane<T>& dst, int32_t height, size_t n) {
  if (n == 0) return;
  joinRows(height, n, src, dst);
  for (ptrdiff_t y = 0; y < height; ++y) std::memmove(dst.row(y), src.row(y), n * sizeof(T));
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

// The memory of a plane of rows of n elements, as addresses.
struct MemoryRange {
  uintptr_t begin;
  uintptr_t end;
};

template <class T>
MemoryRange memoryOf(const Plane<T>& plane, int32_t height, size_t n) {
  if (height < 1 || n == 0) return {0, 0};
  const auto first = reinterpret_cast<uintptr_t>(plane.data);
  const auto last = reinterpret_cast<uintptr_t>(plane.row(height - 1));
  return {std::min(first, last), std::max(first, last) + n * sizeof(T)};
}

inline bool overlap(const MemoryRange& a, const MemoryRange& b) { return a.begin < b.end && b.begin < a.end; }

// The same rows from the last to the first.
template <class T>
Plane<T> upsideDown(Plane<T> plane, ptrdiff_t height) {
  return {plane.row(height - 1), -plane.pitch};
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

// A plane to read while another one is written: the source itself, or, where the two overlap, a private copy of it.
template <class T>
class StableSource {
 public:
  StableSource(Plane<const T> src, Plane<T> dst, int32_t height, size_t n)
      : StableSource(src, height, n, memoryOf(dst, height, n)) {}
  StableSource(Plane<const T> src, int32_t height, size_t n, const MemoryRange& dst) : plane_(src) {
    if (!overlap(memoryOf(src, height, n), dst)) return;
    const auto rows = static_cast<size_t>(height);
    copy_ = ScratchBuffer<T>(n > std::numeric_limits<size_t>::max() / rows ? std::numeric_limits<size_t>::max() : n * rows);
    plane_ = {copy_.data(), static_cast<ptrdiff_t>(n)};
    if (!copy_) return;
    for (int32_t y = 0; y < height; ++y) std::copy_n(src.row(y), n, copy_.data() + static_cast<size_t>(y) * n);
  }

  // False when there was no memory for a copy that is needed.
  explicit operator bool() const { return plane_.data != nullptr; }
  const Plane<const T>& plane() const { return plane_; }

 private:
  Plane<const T> plane_;
  ScratchBuffer<T> copy_;
};

}  // namespace tamix
