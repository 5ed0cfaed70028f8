#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

int32_t meanFilterCPUUINT8(const uint8_t* src, int32_t /*src_height*/, int32_t /*src_width*/, int32_t /*src_width_stride*/,
                           uint8_t* dst, int32_t /*dst_height*/, int32_t /*dst_width*/, int32_t /*dst_width_stride*/,
                           int32_t channel, int32_t kernel_size, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(channel == 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d", channel);
  TAMIX_REQUIRE(kernel_size == 3 || kernel_size == 5, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernnel size: %d",
                kernel_size);
  return TAMIX_ERR_UNSUPPORTED;
}
