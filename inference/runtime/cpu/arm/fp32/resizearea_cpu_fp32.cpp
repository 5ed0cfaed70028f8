#include "inference/runtime/cpu/arm/fp32/resizearea_cpu_fp32.h"

#include "inference/runtime/cpu/arm/common/area_columns.h"
#include "inference/runtime/cpu/arm/fp32/resizebilinear_cpu_fp32.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

// `count` elements, at most a vector.
HWY_INLINE void storeSome(hn::Vec<hn::ScalableTag<float>> v, float* out, size_t count) {
  const hn::ScalableTag<float> d;
  if (count >= hn::Lanes(d)) return hn::StoreU(v, d, out);
  alignas(64) float last[hn::MaxLanes(d)];
  hn::Store(v, d, last);
  std::memcpy(out, last, count * sizeof(float));
}

}  // namespace

int32_t resizeAreaCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_stride, float* dst,
                             int32_t dst_height, int32_t dst_width, int32_t dst_stride, int32_t channels) {
  TAMIX_REQUIRE_DATA(src, dst);
  if (channels < 1 || channels > 4) return TAMIX_ERR_BAD_ARGUMENT;
  if (src_height < dst_height || src_width < dst_width) {
    return resizeBilinearCPUFLOAT32(src, src_height, src_width, src_stride, dst, dst_height, dst_width, dst_stride, channels);
  }
  if (dst_height < 1 || dst_width < 1) return TAMIX_OK;

  using Columns = AreaColumns<float>;
  const size_t n = rowElements(dst_width, channels);
  const size_t padded = Columns::blocks(n) * Columns::kLanes;
  ScratchParts scratch(Columns::room(n, areaScale(src_width, dst_width)) + ScratchParts::room<float>(padded));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  Columns columns(scratch, src_width, dst_width, channels);
  float* const carry = scratch.take<float>(padded);
  const Plane<float> to = plane(dst, dst_stride, channels);
  for (const int32_t b : {0, 1}) {
    averageBand(areaBand(b, src_height, dst_height), areaScale(src_height, dst_height), plane(src, src_stride, channels),
                columns, carry, [&](int32_t y, size_t e, auto v) HWY_ATTR { storeSome(v, to.row(y) + e, n - e); });
  }
  return TAMIX_OK;
}

}  // namespace tamix
