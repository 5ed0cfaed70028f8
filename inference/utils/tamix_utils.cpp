#include "inference/utils/tamix_utils.h"

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

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

namespace {

template <class From, class To>
int32_t convertPlane(LogPlace place, const From* src, To* dst, int32_t height, int32_t width, int32_t src_stride,
                     int32_t dst_stride, int32_t channels, bool copy) {
  TAMIX_DEBUG("%s forward", place.function);
  TAMIX_REQUIRE_AT(place, !anyNull(src, dst), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  const size_t n = rowElements(width, channels);
  Plane<const From> from = plane(src, src_stride, channels);
  ScratchBuffer<From> packed;
  if (copy) {
    TAMIX_DEBUG("%s: copy the data to avoid the data conflict", place.function);
    packed = ScratchBuffer<From>(planeElements(height, width, width, channels));
    TAMIX_REQUIRE_AT(place, packed, TAMIX_ERR_NO_MEMORY, "failed to memory allocation for %s", place.function);
    copyRows(from, plane(packed.data(), width, channels), height, n);
    from = plane<const From>(packed.data(), width, channels);
  }
  convertRows(from, plane(dst, dst_stride, channels), height, n);
  return TAMIX_OK;
}

}  // namespace

int32_t dataFLOAT32ToUINT8(const float* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy) {
  return convertPlane(TAMIX_HERE, src, dst, height, width, src_stride, dst_stride, channels, copy);
}

int32_t dataUINT8ToFLOAT32(const uint8_t* src, float* dst, int32_t height, int32_t width, int32_t src_stride,
                           int32_t dst_stride, int32_t channels, bool copy) {
  return convertPlane(TAMIX_HERE, src, dst, height, width, src_stride, dst_stride, channels, copy);
}

}  // namespace tamix
