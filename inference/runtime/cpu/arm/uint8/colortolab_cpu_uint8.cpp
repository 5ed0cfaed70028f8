// R', G', B' = gamma of the bytes; fX, fY, fZ = cube_root[(row of kToXYZ . (R', G', B') + 2048) >> 12];
// L = (296 fY - 1320550) >> 15, a = (500 (fX - fY) + 4210688) >> 15, b = (200 (fY - fZ) + 4210688) >> 15, all saturated.
#include "inference/runtime/cpu/arm/uint8/colortolab_cpu_uint8.h"

#include <algorithm>

#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/lab_tables.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

// Pixels computed at a time: their planes stay in the nearest cache.
constexpr size_t kStrip = 256;

// What a byte of one channel adds to X, Y and Z (times 4096); the rounding 2048 is added once. Indices into cube_root reach
// 2040 at most, as every row of kToXYZ adds up to 4096.
struct ToXYZ {
  ToXYZ() {
    for (size_t channel = 0; channel < 3; ++channel) {
      for (size_t value = 0; value < 256; ++value) {
        for (size_t row = 0; row < 3; ++row) {
          terms[channel][value][row] = kToXYZ[row][channel] * labTables().gamma[value] + (channel == 0 ? 2048 : 0);
        }
        terms[channel][value][3] = 0;
      }
    }
  }

  alignas(16) int32_t terms[3][256][4];
};

const ToXYZ& toXYZ() {
  static const ToXYZ tables;
  return tables;
}

// fX, fY and fZ of a strip.
struct Curves {
  alignas(64) uint16_t x[kStrip];
  alignas(64) uint16_t y[kStrip];
  alignas(64) uint16_t z[kStrip];
};

void lookUp(const uint8_t* src, size_t n, const ToXYZ& to_xyz, const uint16_t* cube_root, Curves& curves) {
  const hn::CappedTag<int32_t, 4> d;
  const auto terms = [&](size_t channel, uint8_t value) { return hn::Load(d, to_xyz.terms[channel][value]); };
  for (size_t i = 0; i < n; ++i) {
    const uint8_t* const pixel = src + 3 * i;
    const auto sum = hn::Add(hn::Add(terms(0, pixel[0]), terms(1, pixel[1])), terms(2, pixel[2]));
    alignas(16) int32_t index[4];
    hn::Store(hn::ShiftRight<12>(sum), d, index);
    curves.x[i] = cube_root[index[0]];
    curves.y[i] = cube_root[index[1]];
    curves.z[i] = cube_root[index[2]];
  }
}

// The lightness term (296 f - 1320550) >> 15 is (37 f - 165069) >> 12, and that is (37 (f - kShift) >> 12) - kBase exactly.
constexpr int16_t kShift = 3465;
constexpr int16_t kBase = 9;
static_assert(37 * kShift + 4096 * kBase == 165069);

// Half of a block from pixel i on, in signed 16-bit lanes and not yet saturated. Differences of curves stay below 2^15, and
// so does a curve less kShift.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void labOf(D di16, const Curves& curves, size_t i, V& l, V& a, V& b) {
  const hn::RebindToUnsigned<D> d16;
  const auto load = [&](const uint16_t* curve) { return hn::BitCast(di16, hn::LoadU(d16, curve + i)); };
  const V x = load(curves.x), y = load(curves.y), z = load(curves.z);
  // (c v + 4210688) >> 15 is 128 + ((c v + 2^14) >> 15)
  const auto difference = [&](V v, int16_t c) { return hn::Add(hn::MulFixedPoint15(v, hn::Set(di16, c)), hn::Set(di16, 128)); };
  l = hn::Sub(multiplyShift15<8 * 37>(di16, hn::Sub(y, hn::Set(di16, kShift))), hn::Set(di16, kBase));
  a = difference(hn::Sub(x, y), 500);
  b = difference(hn::Sub(y, z), 200);
}

// Consecutive vectors of 16-bit lanes to one of bytes.
template <class D, class V16>
HWY_INLINE hn::Vec<D> joined(D d, V16 first, V16 second) {
  const hn::Half<D> half;
  return hn::Combine(d, hn::DemoteTo(half, second), hn::DemoteTo(half, first));
}

void combine(const Curves& curves, size_t n, uint8_t* dst) {
  const hn::ScalableTag<uint8_t> d;
  const hn::RebindToSigned<hn::RepartitionToWide<decltype(d)>> di16;
  const size_t lanes = hn::Lanes(d);
  const auto block = [&](size_t i, uint8_t* to) {
    hn::Vec<decltype(di16)> l0, a0, b0, l1, a1, b1;
    labOf(di16, curves, i, l0, a0, b0);
    labOf(di16, curves, i + lanes / 2, l1, a1, b1);
    storeInterleaved3(d, joined(d, l0, l1), joined(d, a0, a1), joined(d, b0, b1), to);
  };
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) block(i, dst + 3 * i);
  if (i == n) return;
  alignas(64) uint8_t last[3 * hn::MaxLanes(d)];
  block(i, last);
  std::copy_n(last, 3 * (n - i), dst + 3 * i);
}

}  // namespace

int32_t RGBToLABCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                         int32_t dst_width_stride, int32_t /*channels*/, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const ToXYZ& to_xyz = toXYZ();
  const uint16_t* const cube_root = labTables().cube_root.data();
  const auto rgb = plane(src, src_width_stride, 3);
  const auto lab = plane(dst, dst_width_stride, 3);
  const size_t n = rowElements(width);
  Curves curves = {};
  for (int32_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < n; x += kStrip) {
      const size_t count = std::min(kStrip, n - x);
      lookUp(rgb.row(y) + 3 * x, count, to_xyz, cube_root, curves);
      combine(curves, count, lab.row(y) + 3 * x);
    }
  }
  return TAMIX_OK;
}

}  // namespace tamix
