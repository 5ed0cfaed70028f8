#include "inference/runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.h"

#include <cmath>

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Elements of a row that are computed together in single precision.
constexpr size_t kBlock = 16;

}  // namespace

int32_t convertScaleAbsCPUUINT8(const uint8_t* src, int32_t src_height, int32_t src_width, int32_t src_width_stride,
                                uint8_t* dst, int32_t /*dst_height*/, int32_t /*dst_width*/, int32_t dst_width_stride,
                                double scale, double offset, int32_t channel, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  // |x| and truncation toward zero may change places.
  const auto single = [scale = static_cast<float>(scale), offset = static_cast<float>(offset)](auto d, auto v)
                          HWY_ATTR { return hn::Abs(hn::Add(hn::Mul(v, hn::Set(d, scale)), hn::Set(d, offset))); };
  const auto exact = [scale, offset](auto d, auto v) HWY_ATTR {
    const double x = static_cast<double>(hn::GetLane(v)) * scale + offset;
    return hn::Set(d, static_cast<float>(x > 255.0 ? 255.0 : std::trunc(std::abs(x < -255.0 ? -255.0 : x))));
  };
  combineBlocks<float, kBlock>(plane(dst, dst_width_stride, channel), src_height, rowElements(src_width, channel), single,
                               exact, plane(src, src_width_stride, channel));
  return TAMIX_OK;
}

}  // namespace tamix
