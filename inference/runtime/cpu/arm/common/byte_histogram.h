// How often every byte value occurs.
#pragma once

#include <array>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/rows.h"

namespace tamix {

using ByteCounts = std::array<uint64_t, 256>;

// Counts the first n bytes of every row.
ByteCounts countBytes(Plane<const uint8_t> src, int32_t height, size_t n);

}  // namespace tamix
