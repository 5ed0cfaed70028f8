// Structuring elements as bytes.
#pragma once

#include <cstdint>

namespace tamix {

// Writes kernel_height rows of kernel_width bytes, 1 for members and 0 for others: a rectangle, a cross through the anchor or
// the ellipse that fills the element (`shape`: TamixMorphShape; others have the top left member only). `kernel` must have room
// for them; null is refused, as is an `anchor` that is not. Sizes whose product is negative count as out of memory.
int32_t getStructuringElementCPUUINT8(uint8_t* kernel, int32_t shape, int32_t kernel_height, int32_t kernel_width,
                                      int32_t anchor_x, int32_t anchor_y, const void* anchor, int32_t num_threads);

}  // namespace tamix
