// Border making of 8-bit images.
#pragma once

#include <cstdint>

namespace tamix {

// Copies src into dst with top, bottom, left and right further rows and columns around it: dst is top + height + bottom rows of
// left + width + right pixels. border_type: TamixBorderType, with 16 added or not; -1 and -17 mean TAMIX_BORDER_REFLECT_101.
// border_value, 0 to 255, fills every channel of a constant border. Borders wider than the image go on mirroring or repeating
// it. Refuses null planes, other types, constants out of range, and negative widths. Only replicated, reflected and wrapped
// borders can run out of memory. An image without rows, columns or channels gives no output.
int32_t copyMakeBorderCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_stride,
                               int32_t dst_stride, int32_t channels, int32_t top, int32_t bottom, int32_t left, int32_t right,
                               int32_t border_type, int32_t border_value, int32_t num_threads);

}  // namespace tamix
