#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"

#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/row_lookup.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

using D = hn::ScalableTag<float>;
constexpr size_t kLanes = hn::MaxLanes(D());

size_t paddedTo(size_t n) { return (n + kLanes - 1) / kLanes * kLanes; }

// Blends every element of a row with its neighbour, for the elements that a destination row is made of.
class Columns {
 public:
  static size_t room(size_t n) {
    return RowLookup::room(paddedTo(n) / kLanes, kIndexBytes) + ScratchParts::room<size_t>(paddedTo(n)) +
           ScratchParts::room<float>(paddedTo(n));
  }

  Columns(ScratchParts& scratch, const BilinearAxis& axis, int32_t src_width, int32_t dst_width, int32_t channels)
      : step_(static_cast<size_t>(axis.step()) * static_cast<size_t>(channels)),
        blocks_(paddedTo(rowElements(dst_width, channels)) / kLanes),
        lookup_(scratch, blocks_, kIndexBytes, rowElements(src_width, channels) * sizeof(float)),
        position_(scratch.take<size_t>(blocks_ * kLanes)),
        weight_(scratch.take<float>(blocks_ * kLanes)) {
    size_t e = 0;
    for (int32_t x = 0; x < dst_width; ++x) {
      const AxisPosition at = axis[x];
      for (int32_t c = 0; c < channels; ++c, ++e) {
        position_[e] = static_cast<size_t>(at.index * channels + c) * sizeof(float);
        weight_[e] = at.fraction;
      }
    }
    for (; e < blocks_ * kLanes; ++e) {
      position_[e] = position_[e - 1];
      weight_[e] = weight_[e - 1];
    }
    lookup_.build(position_, kLanes, (step_ + 1) * sizeof(float), [](uint8_t* index, size_t i, uint8_t offset) {
      for (size_t byte = 0; byte < sizeof(float); ++byte) index[i * sizeof(float) + byte] = static_cast<uint8_t>(offset + byte);
    });
  }

  // h[e] = a + w * (b - a), whole vectors.
  void blend(const float* row, float* HWY_RESTRICT h) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(row);
    lookup_.withWindow([&](auto window) HWY_ATTR {
      const D d;
      for (size_t k = 0; k < blocks_; ++k) {
        const auto [a, b] = neighbours<window()>(bytes, k);
        const auto change = hn::Mul(hn::Load(d, weight_ + k * kLanes), hn::Sub(b, a));
        hn::Store(hn::Add(a, change), d, h + k * kLanes);
      }
    });
  }

 private:
  static constexpr size_t kIndexBytes = kLanes * sizeof(float);
  struct Neighbours {
    hn::Vec<D> a;
    hn::Vec<D> b;
  };

  template <size_t kWindow>
  HWY_INLINE Neighbours neighbours(const uint8_t* row, size_t k) const {
    const D d;
    if constexpr (kWindow == 0) {
      alignas(64) float a[kLanes];
      alignas(64) float b[kLanes];
      for (size_t i = 0; i < kLanes; ++i) {
        const uint8_t* const first = row + position_[k * kLanes + i];
        std::memcpy(a + i, first, sizeof(float));
        std::memcpy(b + i, first + step_ * sizeof(float), sizeof(float));
      }
      return {hn::Load(d, a), hn::Load(d, b)};
    } else {
      const hn::Repartition<uint8_t, D> d8;
      const auto window = lookup_.window<kWindow>(d8, row, k);
      const auto index = hn::Load(d8, lookup_.index(k));
      const auto step = hn::Set(d8, static_cast<uint8_t>(step_ * sizeof(float)));
      return {hn::BitCast(d, window.lookup(index)), hn::BitCast(d, window.lookup(hn::Add(index, step)))};
    }
  }

  size_t step_;
  size_t blocks_;
  RowLookup lookup_;
  size_t* position_;
  float* weight_;
};

void blendRows(const float* HWY_RESTRICT h0, const float* HWY_RESTRICT h1, float wy, size_t n, float* HWY_RESTRICT out) {
  writeRow(out, n, [&](auto d, size_t i) HWY_ATTR {
    const auto a = hn::Load(d, h0 + i);
    return hn::Add(a, hn::Mul(hn::Set(d, wy), hn::Sub(hn::Load(d, h1 + i), a)));
  });
}

}  // namespace

int32_t resizeBilinearCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                                 int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels) {
  TAMIX_REQUIRE_DATA(src, dst);
  if (channels < 1 || channels > 4) return TAMIX_ERR_BAD_ARGUMENT;
  if (src_height < 1 || src_width < 1 || dst_height < 1 || dst_width < 1) return TAMIX_OK;

  const size_t n = rowElements(dst_width, channels);
  ScratchParts scratch(Columns::room(n) + 2 * ScratchParts::room<float>(paddedTo(n)));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  const Columns columns(scratch, BilinearAxis(src_width, dst_width), src_width, dst_width, channels);
  float* const first = scratch.take<float>(paddedTo(n));
  RowPair<float> rows(first, scratch.take<float>(paddedTo(n)));

  const Plane<const float> from = plane(src, src_stride, channels);
  const Plane<float> to = plane(dst, dst_stride, channels);
  const BilinearAxis axis(src_height, dst_height);
  for (int32_t y = 0; y < dst_height; ++y) {
    const AxisPosition at = axis[y];
    rows.moveTo(at.index, axis.step(), [&](ptrdiff_t i, float* h) { columns.blend(from.row(i), h); });
    blendRows(rows.upper(), rows.lower(), at.fraction, n, to.row(y));
  }
  return TAMIX_OK;
}

}  // namespace tamix
