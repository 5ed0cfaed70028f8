#include "inference/runtime/cpu/arm/fp32/convertscaleabs_cpu_fp32.h"

#include <cmath>

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/runtime/cpu/arm/common/float_nan.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t convertScaleAbsCPUFLOAT32(const float* src, int32_t src_height, int32_t src_width, int32_t src_width_stride, float* dst,
                                  int32_t /*dst_height*/, int32_t /*dst_width*/, int32_t dst_width_stride, double scale,
                                  double offset, int32_t channel, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  // A NaN among the settings makes every result a copy of it; the others come from infinities.
  const float settings = std::isnan(scale) || std::isnan(offset) ? std::numeric_limits<float>::quiet_NaN() : 0.0f;
  const auto scaled = [=](auto d, auto v) HWY_ATTR {
    const auto result = inDoubles(
        d, [=](auto d64, auto x) HWY_ATTR { return hn::Add(hn::Mul(x, hn::Set(d64, scale)), hn::Set(d64, offset)); }, v);
    return withArmNaN(d, result, v, hn::Set(d, settings));
  };
  combineRows(plane(dst, dst_width_stride, channel), src_height, rowElements(src_width, channel), scaled,
              plane(src, src_width_stride, channel));
  return TAMIX_OK;
}

}  // namespace tamix
