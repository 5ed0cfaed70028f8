// Steps that minima and maxima of 3-channel 8-bit images over windows have in common.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix::extremum {

inline constexpr size_t kPixel = 3;  // bytes
inline constexpr size_t kVectorBytes = hn::MaxLanes(hn::ScalableTag<uint8_t>());

// Rows are processed in groups of this many, which share the minima of the rows that their windows have in common.
inline constexpr int kGroup = 4;
// Windows of up to this many rows are combined directly; the cost of higher ones no longer depends on the height.
inline constexpr int64_t kDirectRows = 16;
inline constexpr int64_t kMostPointers = kDirectRows + kGroup - 1;
// Loads combined by one pass over a line.
inline constexpr int64_t kTaps = 5;

struct Minimum {
  static constexpr uint8_t kNeutral = 255;
  using Other = struct Maximum;
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Min(a, b);
  }
};

struct Maximum {
  static constexpr uint8_t kNeutral = 0;
  using Other = Minimum;
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Max(a, b);
  }
};

// Every byte below n by vectors, the last of which may overlap the one before it; by bytes where there are too few.
template <class Body>
HWY_INLINE void coverRow(size_t n, const Body& body) {
  const auto cover = [&](auto d) {
    const size_t lanes = hn::Lanes(d);
    if (n < lanes) return false;
    for (size_t i = 0; i < n - lanes; i += lanes) body(d, i);
    body(d, n - lanes);
    return true;
  };
  if (cover(hn::ScalableTag<uint8_t>()) || cover(hn::CappedTag<uint8_t, 16>())) return;
  for (size_t i = 0; i < n; ++i) body(hn::CappedTag<uint8_t, 1>(), i);
}

// lines[k] = extremum of rows[k] to rows[k + window - 1], for kRows lines of n bytes. kWindow: the window, or 0 for any
// that has at least kRows rows.
template <int kRows, int kWindow, class Op>
void combineRows(const Op& op, const uint8_t* const* rows, int64_t window, uint8_t* const* lines, size_t n) {
  constexpr bool kAny = kWindow == 0;
  const uint8_t* r[kAny ? kMostPointers : kWindow + kRows - 1];
  uint8_t* out[kRows];
  std::copy_n(rows, kAny ? window + kRows - 1 : kWindow + kRows - 1, r);
  std::copy_n(lines, kRows, out);
  coverRow(n, [&](auto d, size_t i) {
    const auto at = [&](int64_t k) { return hn::LoadU(d, r[k] + i); };
    const auto store = [&](int k, auto v) { hn::StoreU(v, d, out[k] + i); };
    const int64_t height = kAny ? window : kWindow;
    if constexpr (kRows == 1) {
      auto v = at(0);
      for (int64_t k = 1; k < height; ++k) v = op(v, at(k));
      store(0, v);
    } else if constexpr (kWindow == 1) {
      for (int k = 0; k < kRows; ++k) store(k, at(k));
    } else if constexpr (kWindow == 2) {
      for (int k = 0; k < kRows; ++k) store(k, op(at(k), at(k + 1)));
    } else if constexpr (kWindow == 3) {
      for (int k = 0; k < kRows; k += 2) {
        const auto both = op(at(k + 1), at(k + 2));
        store(k, op(at(k), both));
        store(k + 1, op(both, at(k + 3)));
      }
    } else {
      static_assert(kRows == 4);
      auto common = at(3);  // of all four windows
      for (int64_t k = 4; k < height; ++k) common = op(common, at(k));
      const auto from2 = op(at(2), common);
      const auto from1 = op(at(1), from2);
      const auto below1 = at(height);
      const auto below2 = op(below1, at(height + 1));
      const auto below3 = op(below2, at(height + 2));
      store(0, op(at(0), from1));
      store(1, op(from1, below1));
      store(2, op(from2, below2));
      store(3, op(common, below3));
    }
  });
}

template <int kRows, class Op>
void combineRows(const Op& op, const uint8_t* const* rows, int64_t window, uint8_t* const* lines, size_t n) {
  if (window == 1) return combineRows<kRows, 1>(op, rows, window, lines, n);
  if (window == 2) return combineRows<kRows, 2>(op, rows, window, lines, n);
  if (window == 3) return combineRows<kRows, 3>(op, rows, window, lines, n);
  if (window == 5) return combineRows<kRows, 5>(op, rows, window, lines, n);
  combineRows<kRows, 0>(op, rows, window, lines, n);
}

// out[i] = extremum of line[i], line[i + step], ... (kTapCount of them, the last of which lies at `last` instead) and of byte i
// of kRows rows, of which out may be one.
template <int kTapCount, int kRows, class Op>
void combineTaps(const Op& op, const uint8_t* line, size_t step, size_t last, const uint8_t* const* rows, uint8_t* out,
                 size_t n) {
  const uint8_t* r[kRows + 1];
  std::copy_n(rows, kRows, r);
  coverRow(n, [&](auto d, size_t i) {
    auto v = hn::LoadU(d, line + i + last);
    for (int k = 0; k < kTapCount - 1; ++k) v = op(v, hn::LoadU(d, line + i + static_cast<size_t>(k) * step));
    for (int k = 0; k < kRows; ++k) v = op(v, hn::LoadU(d, r[k] + i));
    hn::StoreU(v, d, out + i);
  });
}

// out[i] = extremum of the `window` bytes line[i], line[i + 3], ... and of byte i of kRows rows, for n bytes. The line holds
// n + 3 * (window - 1) bytes and kVectorBytes of slack, and is used up.
template <int kRows, class Op>
void combineColumns(const Op& op, uint8_t* line, int64_t window, const uint8_t* const* rows, uint8_t* out, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  int64_t covered = 1;  // pixels that a byte of the line stands for
  while (window > kTaps * covered) {
    const size_t step = static_cast<size_t>(covered) * kPixel;
    covered *= 4;
    const size_t used = n + static_cast<size_t>(window - covered) * kPixel;
    // Ahead of the writes: every vector reads from its own place on.
    for (size_t i = 0; i < used; i += hn::Lanes(d)) {
      const auto at = [&](size_t k) { return hn::LoadU(d, line + i + k * step); };
      const auto v = op(op(at(0), at(1)), op(at(2), at(3)));
      hn::StoreU(v, d, line + i);
    }
  }
  const size_t step = static_cast<size_t>(covered) * kPixel;
  const size_t last = static_cast<size_t>(window - covered) * kPixel;
  switch ((window + covered - 1) / covered) {
    case 1:
      return combineTaps<1, kRows>(op, line, step, last, rows, out, n);
    case 2:
      return combineTaps<2, kRows>(op, line, step, last, rows, out, n);
    case 3:
      return combineTaps<3, kRows>(op, line, step, last, rows, out, n);
    case 4:
      return combineTaps<4, kRows>(op, line, step, last, rows, out, n);
    default:
      return combineTaps<5, kRows>(op, line, step, last, rows, out, n);
  }
}

}  // namespace tamix::extremum
