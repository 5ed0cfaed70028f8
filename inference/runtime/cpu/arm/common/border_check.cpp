#include "inference/runtime/cpu/arm/common/border_check.h"

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t checkBorder(int32_t border_type, int32_t border_value, int32_t /*num_threads*/) {
  if (isBorder(border_type, border_value)) return TAMIX_OK;
  TAMIX_REQUIRE(plainBorderType(border_type) == TAMIX_BORDER_CONSTANT, TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported border type %d", border_type);
  TAMIX_ERROR("Recieved unsupported border value %d", border_value);
  return TAMIX_ERR_INVALID_IMAGE;
}

}  // namespace tamix
