#include "inference/runtime/cpu/arm/uint8/countnonzero_cpu_uint8.h"

#include <algorithm>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Vectors counted side by side, so that one addition need not wait for the one before.
constexpr size_t kRows = 4;

// Non-zero bytes among at most 255 * kRows vectors: every 8-bit counter sees at most 255 of them.
template <class D>
HWY_INLINE uint64_t countFew(D d, const uint8_t* src, size_t vectors) {
  const size_t lanes = hn::Lanes(d);
  const auto one = hn::Set(d, uint8_t{1});
  const auto counted = [&](size_t i) HWY_ATTR { return hn::Min(hn::LoadU(d, src + i * lanes), one); };
  auto count0 = hn::Zero(d), count1 = hn::Zero(d), count2 = hn::Zero(d), count3 = hn::Zero(d);
  size_t i = 0;
  for (; i + kRows <= vectors; i += kRows) {
    count0 = hn::Add(count0, counted(i));
    count1 = hn::Add(count1, counted(i + 1));
    count2 = hn::Add(count2, counted(i + 2));
    count3 = hn::Add(count3, counted(i + 3));
  }
  for (; i < vectors; ++i) count0 = hn::Add(count0, counted(i));
  const auto sums =
      hn::Add(hn::Add(hn::SumsOf8(count0), hn::SumsOf8(count1)), hn::Add(hn::SumsOf8(count2), hn::SumsOf8(count3)));
  return hn::GetLane(hn::SumOfLanes(hn::Repartition<uint64_t, D>(), sums));
}

uint64_t countNonZero(const uint8_t* src, size_t n) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  uint64_t count = 0;
  size_t i = 0;
  while (n - i >= lanes) {
    // One counter takes the vectors left over from the groups: three more at the most.
    const size_t vectors = std::min((n - i) / lanes, size_t{252} * kRows);
    count += countFew(d, src + i, vectors);
    i += vectors * lanes;
  }
  for (; i < n; ++i) count += src[i] != 0;
  return count;
}

}  // namespace

int32_t countNonZeroCPUUINT8(const uint8_t* src, uint32_t* count, int32_t height, int32_t width, int32_t src_width_stride,
                             int32_t channel, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, count);
  TAMIX_REQUIRE(src_width_stride == width, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported stride %d", src_width_stride);
  TAMIX_REQUIRE(channel == 1, TAMIX_ERR_ILLEGAL_SHAPE, "Recieved unsupported channel");
  *count = static_cast<uint32_t>(countNonZero(src, rowElements(width) * static_cast<size_t>(std::max(height, 0))));
  return TAMIX_OK;
}

}  // namespace tamix
