#include "inference/runtime/cpu/arm/common/border_check.h"

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/uint8/copymakeborder_cpu_uint8.h"
#include "tamix/tamix.h"

namespace tamix {

int32_t checkBorder(int32_t border_type, int32_t border_value, int32_t num_threads) {
  if (isBorder(border_type, border_value)) return TAMIX_OK;
  // A border around a single byte is refused for the same reason, in the same words.
  const uint8_t pixel = 0;
  uint8_t bordered[9];
  const int32_t status =
      copyMakeBorderCPUUINT8(&pixel, bordered, 1, 1, 1, 3, 1, 1, 1, 1, 1, border_type, border_value, num_threads);
  return status == TAMIX_OK ? TAMIX_ERR_UNSUPPORTED : status;
}

}  // namespace tamix
