// What the four arithmetic operators share: output 0 = input 0 op input 1, whatever the element types.
#pragma once

#include "inference/runtime/cpu/arm/uint8/arithmetic_cpu_uint8.h"
#include "inference/runtime/cpu/kernel_table.h"
#include "inference/utils/tamix_log.h"
#include "tamix/framework.hpp"

namespace tamix {

// An operation's kernels by the element types of inputs and output. Null: there is none.
struct ArithmeticKernels {
  decltype(KernelTable::addCPUUINT8) uint8;
  decltype(KernelTable::addCPUFLOAT32) float32;
  decltype(KernelTable::addCPUUINT8toFLOAT32) uint8_to_float32;
  decltype(KernelTable::addCPUFLOAT32toUINT8) float32_to_uint8;
  ArithmeticKernel<uint8_t, float, float>* bytes_and_floats;
  ArithmeticKernel<float, float, uint8_t>* floats_and_bytes;
};

// Base of the arithmetic operators. Has no fields: kernels come first in an operator.
class ArithmeticOperator : public Operator {
 protected:
  using Operator::Operator;

  // Where all images have one element type, its kernel runs. Where only the output differs, the kernel of that pair runs. Where
  // the inputs differ, the one that is not of the output's type is converted first. Images of unequal size or channel count and
  // other combinations are refused: in the name of `forward`, or of `mixed` where element types are mixed.
  int32_t combine(TamixParams* params, const ArithmeticKernels& kernels, LogPlace forward, LogPlace mixed);
};

}  // namespace tamix
