#include "inference/runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.h"

#include <algorithm>
#include <cmath>

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr int32_t kChannels = 3;

// Rows that are joined at a time, so that a row's parts meet in the cache.
constexpr int32_t kRows = 16;

// Weights, and what they leave, of at most this size make products that fit a 32-bit integer.
constexpr float kTame = 4194304.0f;

// trunc(w * s1) + trunc(v * s0), where v = 1 - w. The terms of large weights have opposite signs, so the sum cannot overflow.
struct BlendAny {
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V s1, V s0, V w, V v) const {
    return hn::Add(truncateToInt32(d, hn::Mul(w, s1)), truncateToInt32(d, hn::Mul(v, s0)));
  }
};

// The same for tame weights.
struct BlendTame {
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V s1, V s0, V w, V v) const {
    return hn::Add(truncateInRange(d, hn::Mul(w, s1)), truncateInRange(d, hn::Mul(v, s0)));
  }
};

// blend(op) with the operation that fits the weights.
template <class Blend>
void withOperation(const float* weights, int32_t count, const Blend& blend) {
  // NaN is not tame.
  if (std::all_of(weights, weights + count, [](float w) { return std::abs(w) <= kTame; })) {
    blend(BlendTame());
  } else {
    blend(BlendAny());
  }
}

// A band of columns, a weight each. s1 and s0 are the bands' planes.
class ColumnWeights {
 public:
  static constexpr int32_t kColumns = 512;

  // Weights of at most kColumns columns, and what they leave, repeated for the channels.
  ColumnWeights(const float* weights, int32_t columns) : columns_(columns), weights_(weights) {
    for (size_t i = 0; i < rowElements(columns, kChannels); ++i) {
      w_[i] = weights[i / kChannels];
      v_[i] = 1.0f - w_[i];
    }
  }

  void imageWeightedAdd(Plane<const uint8_t> s1, Plane<const uint8_t> s0, Plane<uint8_t> dst, int32_t height) const {
    withOperation(weights_, columns_, [&](const auto& op) {
      combineRows(dst, height, rowElements(columns_, kChannels), op, s1, s0, Plane<const float>{w_, 0},
                  Plane<const float>{v_, 0});
    });
  }

 private:
  int32_t columns_;
  const float* weights_;
  float w_[kColumns * kChannels];
  float v_[kColumns * kChannels];
};

// A row with one weight.
void imageWeightedAdd(const uint8_t* s1, const uint8_t* s0, uint8_t* dst, size_t n, float weight) {
  withOperation(&weight, 1, [&](const auto& op) {
    const auto blend = [&](auto d, auto a, auto b)
                           HWY_ATTR { return op(d, a, b, hn::Set(d, weight), hn::Set(d, 1.0f - weight)); };
    combineRows<float>(Plane<uint8_t>{dst, 0}, 1, n, blend, Plane<const uint8_t>{s1, 0}, Plane<const uint8_t>{s0, 0});
  });
}

// The rows of a plane from y on, and x elements further right.
template <class T>
Plane<T> at(Plane<T> plane, int32_t y, ptrdiff_t x) {
  return {plane.row(y) + x, plane.pitch};
}

// The packed images of one call, band checked.
struct Join {
  Plane<const uint8_t> src0;
  Plane<const uint8_t> src1;
  Plane<uint8_t> dst;
  int32_t overlap;
  const float* weights;
};

void joinSideBySide(const Join& j, int32_t height, int32_t width0, int32_t width1) {
  const ptrdiff_t left = ptrdiff_t{width0 - j.overlap} * kChannels;
  const ptrdiff_t band = ptrdiff_t{j.overlap} * kChannels;
  const size_t right = rowElements(width1 - j.overlap, kChannels);
  const ColumnWeights first(j.weights, std::min(j.overlap, ColumnWeights::kColumns));
  for (int32_t y = 0; y < height; y += kRows) {
    const int32_t rows = std::min(height - y, kRows);
    copyRows(at(j.src0, y, 0), at(j.dst, y, 0), rows, static_cast<size_t>(left));
    first.imageWeightedAdd(at(j.src1, y, 0), at(j.src0, y, left), at(j.dst, y, left), rows);
    copyRows(at(j.src1, y, band), at(j.dst, y, left + band), rows, right);
  }
  for (int32_t x = ColumnWeights::kColumns; x < j.overlap; x += ColumnWeights::kColumns) {
    const ColumnWeights next(j.weights + x, std::min(j.overlap - x, ColumnWeights::kColumns));
    const ptrdiff_t start = ptrdiff_t{x} * kChannels;
    next.imageWeightedAdd(at(j.src1, 0, start), at(j.src0, 0, left + start), at(j.dst, 0, left + start), height);
  }
}

void joinBelow(const Join& j, int32_t width, int32_t height0, int32_t height1) {
  const size_t n = rowElements(width, kChannels);
  const int32_t top = height0 - j.overlap;
  copyRows(j.src0, j.dst, top, n);
  copyRows(at(j.src1, j.overlap, 0), at(j.dst, height0, 0), height1 - j.overlap, n);
  for (int32_t k = 0; k < j.overlap; ++k) {
    imageWeightedAdd(j.src1.row(k), j.src0.row(top + k), j.dst.row(top + k), n, j.weights[k]);
  }
}

}  // namespace

int32_t imageFuseOverlapCPUUINT8(const uint8_t* src0, int32_t height0, int32_t width0, const uint8_t* src1, int32_t height1,
                                 int32_t width1, uint8_t* dst, int32_t* dst_height, int32_t* dst_width, int32_t channel,
                                 const float* weights, int32_t overlap, int32_t direction, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src0, src1, dst, dst_height, dst_width, weights);
  const bool beside = direction == 1;
  const int64_t joined = beside ? int64_t{width0} + width1 - overlap : int64_t{height0} + height1 - overlap;
  *dst_height = beside ? height0 : static_cast<int32_t>(joined);
  *dst_width = beside ? static_cast<int32_t>(joined) : width0;

  const bool sides_agree = beside ? height0 == height1 : width0 == width1;
  const bool band_inside = overlap >= 0 && overlap <= (beside ? std::min(width0, width1) : std::min(height0, height1)) &&
                           joined <= std::numeric_limits<int32_t>::max();
  // The band in either image: top, bottom, left, right.
  TAMIX_REQUIRE(sides_agree && band_inside, TAMIX_ERR_ILLEGAL_RECT,
                "recieve illegal shape: src0_rect: %d, %d, %d, %d | src1_rect: %d, %d, %d, %d",
                beside ? 0 : static_cast<int32_t>(int64_t{height0} - overlap), height0,
                beside ? static_cast<int32_t>(int64_t{width0} - overlap) : 0, width0, 0, beside ? height1 : overlap, 0,
                beside ? overlap : width1);
  TAMIX_REQUIRE(channel == kChannels, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channel);
  if (*dst_height < 1 || *dst_width < 1) return TAMIX_OK;

  const Join join{plane(src0, width0, channel), plane(src1, width1, channel), plane(dst, *dst_width, channel), overlap,
                  weights};
  if (beside) {
    joinSideBySide(join, height0, width0, width1);
  } else {
    joinBelow(join, width0, height0, height1);
  }
  return TAMIX_OK;
}

}  // namespace tamix
