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

}  // namespace

void convertRows(Plane<const float> src, Plane<uint8_t> dst, int32_t height, size_t n) {
  const auto in_block = [](auto d, auto v) HWY_ATTR { return truncateToUint32(d, v); };
  const auto in_tail = [](auto d, auto v)
                           HWY_ATTR { return hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), truncateToInt32(d, v)); };
  combineBlocks<float, 16>(dst, height, n, in_block, in_tail, src);
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
