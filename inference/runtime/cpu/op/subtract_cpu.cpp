#include "inference/runtime/cpu/op/arithmetic_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// The saturated or float difference of two images.
class SubtractCPU final : public ArithmeticOperator {
 public:
  explicit SubtractCPU(Runtime* runtime)
      : ArithmeticOperator(runtime),
        uint8_(kernels(runtime).subtractCPUUINT8),
        float32_(kernels(runtime).subtractCPUFLOAT32),
        uint8_to_float32_(kernels(runtime).subtractCPUUINT8toFLOAT32),
        float32_to_uint8_(kernels(runtime).subtractCPUFLOAT32toUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::subtractCPUUINT8) uint8_;
  decltype(KernelTable::subtractCPUFLOAT32) float32_;
  decltype(KernelTable::subtractCPUUINT8toFLOAT32) uint8_to_float32_;
  decltype(KernelTable::subtractCPUFLOAT32toUINT8) float32_to_uint8_;
};

int32_t SubtractCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("SubtractCPU forward");
  return combine(params,
                 {uint8_, float32_, uint8_to_float32_, float32_to_uint8_, subtractBytesAndFloats, subtractFloatsAndBytes},
                 TAMIX_HERE, TAMIX_PLACE("subtractCPUMIXED"));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_SUBTRACT, SubtractCPU, SubtractCPUCreator);

}  // namespace tamix
