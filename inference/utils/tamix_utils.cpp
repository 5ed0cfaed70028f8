#include "inference/utils/tamix_utils.h"

#include <cstring>

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// A private copy of a plane; null without memory.
template <class T>
ScratchBuffer<T> copyOf(const T* src, size_t count) {
  ScratchBuffer<T> copy(count);
  if (copy && count > 0) std::memcpy(copy.data(), src, count * sizeof(T));
  return copy;
}

// Low byte of every 32-bit lane of either sign.
template <class DI, class VI>
HWY_INLINE void storeLowBytes(DI /*d*/, VI v, uint8_t* dst) {
  const hn::RebindToUnsigned<DI> du;
  const auto low = hn::And(hn::BitCast(du, v), hn::Set(du, 0xFFu));
  hn::StoreU(hn::U8FromU32(low), hn::Rebind<uint8_t, DI>(), dst);
}

}  // namespace

void convertRows(Plane<const float> src, Plane<uint8_t> dst, int32_t height, size_t n) {
  if (n == 0) return;
  const size_t blocks_end = n - n % 16;
  for (int32_t y = 0; y < height; ++y) {
    const float* const in = src.row(y);
    uint8_t* const out = dst.row(y);
    walkRow<float>(blocks_end, [&](auto d, size_t i) {
      storeLowBytes(hn::RebindToUnsigned<decltype(d)>(), truncateToUint32(d, hn::LoadU(d, in + i)), out + i);
    });
    walkRow<float>(n - blocks_end, [&](auto d, size_t i) {
      storeLowBytes(hn::RebindToSigned<decltype(d)>(), truncateToInt32(d, hn::LoadU(d, in + blocks_end + i)),
                    out + blocks_end + i);
    });
  }
}

void convertRows(Plane<const uint8_t> src, Plane<float> dst, int32_t height, size_t n) {
  combineRows(
      dst, height, n, [](auto /*d*/, auto v) HWY_ATTR { return v; }, src);
}

int32_t dataFLOAT32ToUINT8(const float* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy) {
  TAMIX_DEBUG("dataFLOAT32ToUINT8 forward");
  TAMIX_REQUIRE_DATA(src, dst);
  ScratchBuffer<float> source;
  if (copy) {
    TAMIX_DEBUG("dataFLOAT32ToUINT8: copy the data to avoid the data conflict");
    source = copyOf(src, planeElements(height, width, src_stride, channels));
    TAMIX_REQUIRE(source, TAMIX_ERR_NO_MEMORY, "failed to memory allocation for dataFLOAT32ToUINT8");
    src = source.data();
  }
  convertRows(plane(src, src_stride, channels), plane(dst, dst_stride, channels), height, rowElements(width, channels));
  return TAMIX_OK;
}

int32_t dataUINT8ToFLOAT32(const uint8_t* src, float* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy) {
  TAMIX_DEBUG("dataUINT8ToFLOAT32 forward");
  TAMIX_REQUIRE_DATA(src, dst);
  ScratchBuffer<uint8_t> source;
  if (copy) {
    TAMIX_DEBUG("dataUINT8ToFLOAT32: copy the data to avoid the data conflict");
    source = copyOf(src, planeElements(height, width, src_stride, channels));
    TAMIX_REQUIRE(source, TAMIX_ERR_NO_MEMORY, "failed to memory allocation for dataUINT8ToFLOAT32");
    src = source.data();
  }
  convertRows(plane(src, src_stride, channels), plane(dst, dst_stride, channels), height, rowElements(width, channels));
  return TAMIX_OK;
}

}  // namespace tamix
