// What the four bitwise operators share.
#pragma once

#include <cstdint>

#include "inference/runtime/cpu/kernel_table.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {

// Refuses, in the operator's name, images of unequal size or channel count, other element types than bytes, and a mask image
// (input 2) of another size. An operator that reads the mask image's plane wants it laid out like input 1: `like_input_1`
// refuses another pitch or channel count too.
int32_t checkBitwiseImages(const TamixParams& params, LogPlace forward, bool like_input_1);

// Checks, in the operator's name, and combines inputs 0 and 1, and the mask in input 2.
int32_t combineBitwise(const TamixParams& params, decltype(KernelTable::bitwiseAndCPUUINT8) kernel, int32_t threads,
                       LogPlace forward);

}  // namespace tamix
