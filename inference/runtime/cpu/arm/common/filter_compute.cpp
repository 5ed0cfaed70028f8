#include "inference/runtime/cpu/arm/common/filter_compute.h"

#include "inference/runtime/cpu/arm/common/border_check.h"
#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Rows of the image are filtered in groups of this many, column by column, so that what a source row contributes is
// computed once for all of them.
constexpr int32_t kGroup = 4;

// Bytes widened to 16 bits, in the order of widenLower and widenUpper.
template <class D16>
struct Wide {
  hn::Vec<D16> lo;
  hn::Vec<D16> hi;
};

template <class D, class D16 = hn::RebindToSigned<hn::RepartitionToWide<D>>>
HWY_INLINE Wide<D16> widen(D d, hn::Vec<D> v) {
  const D16 d16;
  return {hn::BitCast(d16, widenLower(d, v)), hn::BitCast(d16, widenUpper(d, v))};
}

template <class D16>
HWY_INLINE Wide<D16> operator+(const Wide<D16>& a, const Wide<D16>& b) {
  return {hn::Add(a.lo, b.lo), hn::Add(a.hi, b.hi)};
}

// What every filter needs of a source row: left + right neighbour, and the middle.
template <class D16>
struct Neighbours {
  Wide<D16> sides;
  Wide<D16> middle;
};

template <class D>
HWY_INLINE auto neighbours(D d, hn::Vec<D> left, hn::Vec<D> middle, hn::Vec<D> right) {
  return Neighbours<hn::RebindToSigned<hn::RepartitionToWide<D>>>{widen(d, left) + widen(d, right), widen(d, middle)};
}

// A filter is: row(d, left, middle, right), what a source row contributes; combine(d, above, row, below), the results; and
// scalar(corners, edges, centre), the result of one byte.

// (corners + 2 * edges + 4 * centre) >> 4: separable, and never above 255 * 16.
struct Binomial {
  template <class D>
  HWY_INLINE auto row(D d, hn::Vec<D> left, hn::Vec<D> middle, hn::Vec<D> right) const {
    const auto m = widen(d, middle);
    return widen(d, left) + widen(d, right) + (m + m);
  }
  template <class D, class Row>
  HWY_INLINE hn::Vec<D> combine(D d, const Row& above, const Row& row, const Row& below) const {
    const auto sum = (above + row) + (row + below);
    return shiftRightNarrowToUint8<4>(d, sum.lo, sum.hi);
  }
  uint8_t scalar(int32_t corners, int32_t edges, int32_t centre) const {
    return static_cast<uint8_t>((corners + 2 * edges + 4 * centre) >> 4);
  }
};

// clamp(sum, 0, 255) or min(|sum|, 255), in 16 bits.
template <bool kAbsolute>
struct Integer {
  IntegerWeights weights;

  template <class D>
  HWY_INLINE auto row(D d, hn::Vec<D> left, hn::Vec<D> middle, hn::Vec<D> right) const {
    return neighbours(d, left, middle, right);
  }
  template <class D, class Row>
  HWY_INLINE hn::Vec<D> combine(D d, const Row& above, const Row& row, const Row& below) const {
    const hn::RebindToSigned<hn::RepartitionToWide<D>> d16;
    const auto corners = above.sides + below.sides;
    const auto edges = above.middle + below.middle + row.sides;
    const auto sum = [&](auto corner, auto edge, auto centre) {
      const auto v = hn::Add(hn::Mul(corner, hn::Set(d16, weights.corner)),
                             hn::Add(hn::Mul(edge, hn::Set(d16, weights.edge)), hn::Mul(centre, hn::Set(d16, weights.centre))));
      if constexpr (kAbsolute) return hn::Max(v, hn::SaturatedSub(hn::Zero(d16), v));
      return v;
    };
    return narrowToUint8(d, sum(corners.lo, edges.lo, row.middle.lo), sum(corners.hi, edges.hi, row.middle.hi));
  }
  uint8_t scalar(int32_t corners, int32_t edges, int32_t centre) const {
    const auto sum = static_cast<int16_t>(weights.corner * corners + weights.edge * edges + weights.centre * centre);
    return static_cast<uint8_t>(std::clamp(kAbsolute ? std::abs(int32_t{sum}) : int32_t{sum}, 0, 255));
  }
};

// clamp(sum >> 12, 0, 255) in 32 bits.
struct FixedPoint {
  IntegerWeights weights;

  template <class D>
  HWY_INLINE auto row(D d, hn::Vec<D> left, hn::Vec<D> middle, hn::Vec<D> right) const {
    return neighbours(d, left, middle, right);
  }
  template <class D, class Row>
  HWY_INLINE hn::Vec<D> combine(D d, const Row& above, const Row& row, const Row& below) const {
    const auto corners = above.sides + below.sides;
    const auto edges = above.middle + below.middle + row.sides;
    return narrowToUint8(d, shifted(d, corners.lo, edges.lo, row.middle.lo), shifted(d, corners.hi, edges.hi, row.middle.hi));
  }
  uint8_t scalar(int32_t corners, int32_t edges, int32_t centre) const {
    return static_cast<uint8_t>(
        std::clamp((weights.corner * corners + weights.edge * edges + weights.centre * centre) >> 12, 0, 255));
  }

 private:
  // sum >> 12, saturated to 16 bits. No term is negative before it is weighted, so that all widen as unsigned.
  template <class D, class V16>
  HWY_INLINE V16 shifted(D /*d*/, V16 corners, V16 edges, V16 centre) const {
    const hn::RepartitionToWide<D> du16;
    const hn::RebindToSigned<decltype(du16)> d16;
    const hn::RepartitionToWide<decltype(d16)> d32;
    const auto sum = [&](auto half) {
      return hn::Add(
          hn::Mul(half(corners), hn::Set(d32, weights.corner)),
          hn::Add(hn::Mul(half(edges), hn::Set(d32, weights.edge)), hn::Mul(half(centre), hn::Set(d32, weights.centre))));
    };
    const auto lower = [&](V16 v) { return hn::BitCast(d32, widenLower(du16, hn::BitCast(du16, v))); };
    const auto upper = [&](V16 v) { return hn::BitCast(d32, widenUpper(du16, hn::BitCast(du16, v))); };
    return narrowToInt16(d16, hn::ShiftRight<12>(sum(lower)), hn::ShiftRight<12>(sum(upper)));
  }
};

// The size of a row: pixels of `channel` bytes.
struct RowShape {
  int64_t width;
  int64_t channel;
  int32_t border_type;
  int32_t border_value;
};

// kRows rows of results from kRows + 2 source rows, for the bytes of a vector from i on.
template <int kRows, class D, class Filter>
HWY_INLINE void filterVector(D d, const uint8_t* const* rows, uint8_t* const* out, size_t i, size_t channel,
                             const Filter& filter) {
  const auto contribution = [&](int k) HWY_ATTR {
    const uint8_t* const p = rows[k] + i;
    return filter.row(d, hn::LoadU(d, p - channel), hn::LoadU(d, p), hn::LoadU(d, p + channel));
  };
  auto above = contribution(0);
  auto row = contribution(1);
  for (int k = 0; k < kRows; ++k) {
    const auto below = contribution(k + 2);
    hn::StoreU(filter.combine(d, above, row, below), d, out[k] + i);
    above = row;
    row = below;
  }
}

// The same for one pixel, whose neighbours may lie outside the row.
template <int kRows, class Filter>
HWY_INLINE void filterPixel(const uint8_t* const* rows, uint8_t* const* out, int64_t x, const RowShape& shape,
                            const Filter& filter) {
  const int64_t left = borderIndex(x - 1, shape.width, shape.border_type) * shape.channel;
  const int64_t right = borderIndex(x + 1, shape.width, shape.border_type) * shape.channel;
  const auto at = [&](const uint8_t* row, int64_t first, int64_t c) {
    return first < 0 ? shape.border_value : int32_t{row[first + c]};
  };
  for (int64_t c = 0; c < shape.channel; ++c) {
    const int64_t i = x * shape.channel + c;
    int32_t sides[kRows + 2];
    for (int k = 0; k < kRows + 2; ++k) sides[k] = at(rows[k], left, c) + at(rows[k], right, c);
    for (int k = 0; k < kRows; ++k) {
      out[k][i] = filter.scalar(sides[k] + sides[k + 2], rows[k][i] + rows[k + 2][i] + sides[k + 1], rows[k + 1][i]);
    }
  }
}

// Bytes [begin, end) of the rows, whole vectors, the last of which overlaps; false if they are fewer than one.
template <int kRows, class D, class Filter>
HWY_INLINE bool filterSpan(D d, const uint8_t* const* rows, uint8_t* const* out, size_t begin, size_t end, size_t channel,
                           const Filter& filter) {
  const size_t lanes = hn::Lanes(d);
  if (end - begin < lanes) return false;
  for (size_t i = begin; i < end - lanes; i += lanes) filterVector<kRows>(d, rows, out, i, channel, filter);
  filterVector<kRows>(d, rows, out, end - lanes, channel, filter);
  return true;
}

template <int kRows, class Filter>
HWY_INLINE void filterRows(const uint8_t* const* rows, uint8_t* const* out, const RowShape& shape, const Filter& filter) {
  const auto channel = static_cast<size_t>(shape.channel);
  const size_t n = static_cast<size_t>(shape.width) * channel;
  if (n >= 2 * channel && (filterSpan<kRows>(hn::ScalableTag<uint8_t>(), rows, out, channel, n - channel, channel, filter) ||
                           filterSpan<kRows>(hn::CappedTag<uint8_t, 16>(), rows, out, channel, n - channel, channel, filter))) {
    filterPixel<kRows>(rows, out, 0, shape, filter);
    filterPixel<kRows>(rows, out, shape.width - 1, shape, filter);
    return;
  }
  for (int64_t x = 0; x < shape.width; ++x) filterPixel<kRows>(rows, out, x, shape, filter);
}

// Filters the image; the source may be the destination. False without memory.
template <class Filter>
bool filterImage(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, int32_t width, int32_t channel,
                 int32_t border_type, int32_t border_value, const Filter& filter) {
  const size_t n = rowElements(width, channel);
  if (height < 1 || n == 0) return true;
  const StableSource<uint8_t> source(src, dst, height, n);
  if (!source) return false;

  const RowShape shape{width, channel, plainBorderType(border_type), border_value};
  ScratchBuffer<uint8_t> constant_row;
  if (shape.border_type == TAMIX_BORDER_CONSTANT) {
    constant_row = ScratchBuffer<uint8_t>(n);
    if (!constant_row) return false;
    std::fill_n(constant_row.data(), n, static_cast<uint8_t>(border_value));
  }
  const auto sourceRow = [&](int64_t y) {
    const int64_t inside = borderIndex(y, height, shape.border_type);
    return inside < 0 ? constant_row.data() : source.plane().row(inside);
  };
  const auto group = [&](auto rows_of_group, int64_t y) {
    constexpr int kRows = decltype(rows_of_group)::value;
    const uint8_t* rows[kRows + 2];
    uint8_t* out[kRows];
    for (int k = 0; k < kRows + 2; ++k) rows[k] = sourceRow(y + k - 1);
    for (int k = 0; k < kRows; ++k) out[k] = dst.row(y + k);
    filterRows<kRows>(rows, out, shape, filter);
  };
  int64_t y = 0;
  for (; y + kGroup <= height; y += kGroup) group(std::integral_constant<int, kGroup>(), y);
  for (; y < height; ++y) group(std::integral_constant<int, 1>(), y);
  return true;
}

// weight * 4096 truncated, saturated to 16 bits; 0 for NaN.
int16_t fixedPointWeight(float weight) {
  const float scaled = weight * 4096.0f;
  if (!(scaled == scaled)) return 0;
  return static_cast<int16_t>(std::clamp(scaled, -32768.0f, 32767.0f));
}

// The filter with the weights of a float kernel, in the cheapest arithmetic that gives the same bytes.
bool filterFixedPoint(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, int32_t width, int32_t channel,
                      const float* kernel, int32_t border_type, int32_t border_value) {
  const IntegerWeights w{fixedPointWeight(kernel[0]), fixedPointWeight(kernel[1]), fixedPointWeight(kernel[4])};
  const auto filter = [&](const auto& f) {
    return filterImage(src, dst, height, width, channel, border_type, border_value, f);
  };
  if (w.corner == 256 && w.edge == 512 && w.centre == 1024) return filter(Binomial{});
  // Whole weights: every product is a multiple of 4096, and the sum fits 16 bits (8 * 1020 + 8 * 1020 + 8 * 255).
  if (w.corner % 4096 == 0 && w.edge % 4096 == 0 && w.centre % 4096 == 0) {
    const auto whole = [](int16_t weight) { return static_cast<int16_t>(weight / 4096); };
    return filter(Integer<false>{{whole(w.corner), whole(w.edge), whole(w.centre)}});
  }
  return filter(FixedPoint{w});
}

}  // namespace

bool filter3x3Integer(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, int32_t width, int32_t channel,
                      IntegerWeights weights, bool absolute, int32_t border_type, int32_t border_value) {
  if (absolute) return filterImage(src, dst, height, width, channel, border_type, border_value, Integer<true>{weights});
  return filterImage(src, dst, height, width, channel, border_type, border_value, Integer<false>{weights});
}

int32_t filter3x3SymmetricalKernelCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                           int32_t src_width_stride, int32_t dst_width_stride, int32_t channel,
                                           const float* kernel, int32_t border_type, int32_t border_value,
                                           int32_t num_threads) {
  TAMIX_DEBUG("filter3x3SymmetricalKernelCPUUINT8 forward");
  TAMIX_REQUIRE(!anyNull(src, dst, kernel), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  TAMIX_REQUIRE(width >= 8, TAMIX_ERR_UNSUPPORTED, "Recieved unsupport width %d", width);
  if (const int32_t status = checkBorder(border_type, border_value, num_threads); status != TAMIX_OK) {
    TAMIX_ERROR("failed to expand the border for filter3x3");
    return status;
  }
  TAMIX_REQUIRE(filterFixedPoint(plane(src, src_width_stride, channel), plane(dst, dst_width_stride, channel), height, width,
                                 channel, kernel, border_type, border_value),
                TAMIX_ERR_NO_MEMORY, "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

int32_t filter3x3Channel3SymmetricalKernelBorderCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width,
                                                         int32_t src_width_stride, int32_t dst_width_stride,
                                                         const float* kernel) {
  TAMIX_DEBUG("filter3x3Channel3SymmetricalKernelBorderCPUUINT8 forward");
  TAMIX_REQUIRE(!anyNull(src, dst, kernel), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  TAMIX_REQUIRE(width >= 8, TAMIX_ERR_UNSUPPORTED, "Recieved unsupport width %d", width);
  TAMIX_REQUIRE(height >= 2, TAMIX_ERR_UNSUPPORTED, "Recieved unsupport height %d", height);
  TAMIX_REQUIRE(filterFixedPoint(plane(src, src_width_stride, 3), plane(dst, dst_width_stride, 3), height, width, 3, kernel,
                                 TAMIX_BORDER_REFLECT_101, 0),
                TAMIX_ERR_NO_MEMORY, "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

}  // namespace tamix
