#include "inference/runtime/cpu/arm/uint8/split_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/split.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t splitCPUUINT8(const uint8_t* src, int32_t height, int32_t width, int32_t width_stride, uint8_t* dst0, uint8_t* dst1,
                      uint8_t* dst2, uint8_t* dst3, int32_t /*dst_width_stride*/, int32_t channels, int32_t /*num_threads*/) {
  TAMIX_REQUIRE(src != nullptr, TAMIX_ERR_INVALID_IMAGE, "Recieved null input data pointer");
  TAMIX_REQUIRE(channels >= 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channels);
  TAMIX_REQUIRE((channels < 2 || dst1 != nullptr) && (channels < 3 || dst2 != nullptr) && (channels < 4 || dst3 != nullptr),
                TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer");
  TAMIX_REQUIRE(channels == 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channels);
  TAMIX_REQUIRE(dst0 != nullptr, TAMIX_ERR_INVALID_IMAGE, "Recieved null output data pointer");
  TAMIX_REQUIRE(width == width_stride, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported src_width %d and src_width_stride: %d",
                width, width_stride);
  splitImage(src, planeElements(height, width, width), {dst0, dst1, dst2});
  return TAMIX_OK;
}

}  // namespace tamix
