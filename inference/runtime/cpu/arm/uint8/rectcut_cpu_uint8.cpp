#include "inference/runtime/cpu/arm/uint8/rectcut_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/cut_image.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t rectCutCPUUINT8(const uint8_t* src, int32_t /*src_height*/, int32_t /*src_width*/, int32_t src_stride, uint8_t* dst,
                        int32_t /*dst_height*/, int32_t /*dst_width*/, int32_t dst_stride, int32_t channels, int32_t left,
                        int32_t top, int32_t width, int32_t height, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  cutImage(src, src_stride, dst, dst_stride, channels, left, top, width, height);
  return TAMIX_OK;
}

}  // namespace tamix
