#include "inference/runtime/cpu/arm/uint8/getstructuringelement_cpu_uint8.h"

#include <cstring>

#include "inference/runtime/cpu/arm/common/structuring_element.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t getStructuringElementCPUUINT8(uint8_t* kernel, int32_t shape, int32_t kernel_height, int32_t kernel_width,
                                      int32_t anchor_x, int32_t anchor_y, const void* anchor, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(kernel);
  TAMIX_REQUIRE(anchor == nullptr, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input anchor.");
  TAMIX_REQUIRE(int64_t{kernel_height} * kernel_width >= 0, TAMIX_ERR_NO_MEMORY, "allocate memory failed");
  if (kernel_width < 1) return TAMIX_OK;
  const ElementShape element(shape, kernel_height, kernel_width, anchor_x, anchor_y);
  const auto columns = static_cast<size_t>(kernel_width);
  for (int64_t row = 0; row < kernel_height; ++row) {
    uint8_t* const out = kernel + row * kernel_width;
    std::memset(out, 0, columns);
    const ElementSpan span = element.span(row);
    if (!span.isEmpty()) std::memset(out + span.begin, 1, static_cast<size_t>(span.end - span.begin));
  }
  return TAMIX_OK;
}

}  // namespace tamix
