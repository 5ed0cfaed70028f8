#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"

#include "inference/runtime/cpu/arm/common/bilinear_axis.h"
#include "inference/runtime/cpu/arm/common/float_columns.h"
#include "inference/runtime/cpu/arm/common/float_nan.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

void blendRows(const float* HWY_RESTRICT h0, const float* HWY_RESTRICT h1, float wy, size_t n, float* HWY_RESTRICT out) {
  writeRow(out, n, [&](auto d, size_t i) HWY_ATTR {
    const auto a = hn::Load(d, h0 + i);
    const auto b = hn::Load(d, h1 + i);
    return withPositiveNaN(d, hn::Add(a, hn::Mul(hn::Set(d, wy), hn::Sub(b, a))));
  });
}

}  // namespace

int32_t resizeBilinearCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                                 int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels) {
  TAMIX_REQUIRE_DATA(src, dst);
  if (channels < 1 || channels > 4) return TAMIX_ERR_BAD_ARGUMENT;
  if (src_height < 1 || src_width < 1 || dst_height < 1 || dst_width < 1) return TAMIX_OK;

  const size_t n = rowElements(dst_width, channels);
  ScratchParts scratch(FloatColumns::room(n) + 2 * ScratchParts::room<float>(FloatColumns::padded(n)));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  const FloatColumns columns(scratch, BilinearAxis(src_width, dst_width), src_width, dst_width, channels);
  float* const first = scratch.take<float>(FloatColumns::padded(n));
  RowPair<float> rows(first, scratch.take<float>(FloatColumns::padded(n)));

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
