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
  const auto from = plane(src, src_width_stride, channel);
  const auto to = plane(dst, dst_width_stride, channel);
  const size_t n = rowElements(src_width, channel);
  const auto scaled = [=](auto d64, auto x) HWY_ATTR { return hn::Add(hn::Mul(x, hn::Set(d64, scale)), hn::Set(d64, offset)); };
  if (std::isfinite(scale) && std::isfinite(offset) && scale != 0.0) {
    combineRows<double>(to, src_height, n, scaled, from);
    return TAMIX_OK;
  }
  // Infinities meet zeros or each other. A NaN among the settings makes every result a copy of it.
  const double settings = std::isnan(scale) || std::isnan(offset) ? std::numeric_limits<double>::quiet_NaN() : 0.0;
  const auto scaled_by_anything = [=](auto d64, auto x)
                                      HWY_ATTR { return withArmNaN(d64, scaled(d64, x), x, hn::Set(d64, settings)); };
  combineRows<double>(to, src_height, n, scaled_by_anything, from);
  return TAMIX_OK;
}

}  // namespace tamix
