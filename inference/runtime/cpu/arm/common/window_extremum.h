// Minima and maxima of 3-channel 8-bit images over windows: erosion and dilation.
//
// The window of an output pixel of a rectangle of rows x columns reaches from rows / 2 rows above it and columns / 2 columns
// left of it (halves truncated) over the whole rectangle. Passes are repeated; every pass reads the border that its own source
// has.
#pragma once

#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/structuring_element.h"

namespace tamix {

enum class Extremum { kMinimum, kMaximum };

// What to process. The border must be one that isBorder(), its type plain. The planes may overlap.
struct MorphologyImage {
  Plane<const uint8_t> src;
  Plane<uint8_t> dst;
  int32_t height;
  int32_t width;
  int32_t border_type;
  int32_t border_value;
  int32_t iterations;
};

// All functions return false without memory. dst is then as it was, or as passes over an element have left it.

// The cost of a pixel hardly depends on the rectangle, and not at all on the number of passes: passes over a rectangle are one
// pass over a larger one, at every border.
bool rectangleExtremum(Extremum extremum, const MorphologyImage& image, int64_t rows, int64_t columns);

// The passes of one extremum and then those of the other, opening (minimum first) or closing, in one go over the image. Also
// false, with dst as it was, for high rectangles and TAMIX_BORDER_WRAP, which take one extremum after the other.
bool rectangleExtrema(Extremum first, const MorphologyImage& image, int64_t rows, int64_t columns);

// Passes end early once they change nothing, or come back to an image they had.
bool elementExtremum(Extremum extremum, const MorphologyImage& image, const StructuringElement& element);

}  // namespace tamix
