#include "inference/runtime/cpu/arm/uint8/convertscaleabs_cpu_uint8.h"

#include <array>
#include <cmath>
#include <numeric>

#include "inference/runtime/cpu/arm/common/byte_table.h"
#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Elements of a row that are computed together in single precision.
constexpr size_t kBlock = 16;

// Images of fewer bytes are computed faster than the results of all 256 values.
constexpr size_t kWorthTable = 2048;

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
  const auto from = plane(src, src_width_stride, channel);
  const auto to = plane(dst, dst_width_stride, channel);
  const size_t n = rowElements(src_width, channel);
  if (!kHasByteTable || src_height < 1 || n * static_cast<size_t>(src_height) < kWorthTable) {
    combineBlocks<float, kBlock>(to, src_height, n, single, exact, from);
    return TAMIX_OK;
  }

  std::array<uint8_t, 256> bytes, results;
  std::iota(bytes.begin(), bytes.end(), uint8_t{0});
  combineBlocks<float, kBlock>(Plane<uint8_t>{results.data(), 0}, 1, results.size(), single, exact,
                               Plane<const uint8_t>{bytes.data(), 0});
  const ByteTable table(results.data());
  const auto looked_up = [&](auto /*d*/, auto v) HWY_ATTR { return table.lookup(v); };
  const auto tail = [&](auto d, auto v) HWY_ATTR {
    const hn::CappedTag<float, 1> one;
    const auto value = hn::Set(one, static_cast<float>(hn::GetLane(v)));
    return hn::Set(d, hn::GetLane(saturateToUint8(one, exact(one, value))));
  };
  combineBlocks<uint8_t, kBlock>(to, src_height, n, looked_up, tail, from);
  return TAMIX_OK;
}

}  // namespace tamix
