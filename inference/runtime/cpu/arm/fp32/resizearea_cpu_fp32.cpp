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

  const double scale_y = areaScale(src_height, dst_height);
  const size_t n = rowElements(dst_width, channels);
  ScratchParts scratch(AreaColumns<float>::room(n, areaScale(src_width, dst_width)) + AreaRows<float>::room(n, scale_y));
  TAMIX_REQUIRE(scratch, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  const AreaColumns<float> columns(scratch, src_width, dst_width, channels);
  const AreaRows<float> rows(scratch, n, scale_y);
  const Plane<float> to = plane(dst, dst_stride, channels);
  for (const int32_t b : {0, 1}) {
    rows.average(areaBand(b, src_height, dst_height), plane(src, src_stride, channels), columns,
                 [&](int32_t y, size_t e, auto first, auto second) HWY_ATTR {
                   storeSome(first, to.row(y) + e, n - e);
                   if (n - e > AreaColumns<float>::kLanes) {
                     storeSome(second, to.row(y) + e + AreaColumns<float>::kLanes, n - e - AreaColumns<float>::kLanes);
                   }
                 });
  }
  return TAMIX_OK;
}

}  // namespace tamix
