#include "inference/runtime/cpu/op/arithmetic_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// The quotient of two images; bytes by bytes give floats.
class DivideCPU final : public ArithmeticOperator {
 public:
  explicit DivideCPU(Runtime* runtime)
      : ArithmeticOperator(runtime),
        float32_(kernels(runtime).divideCPUFLOAT32),
        uint8_to_float32_(kernels(runtime).divideCPUUINT8toFLOAT32),
        float32_to_uint8_(kernels(runtime).divideCPUFLOAT32toUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::divideCPUFLOAT32) float32_;
  decltype(KernelTable::divideCPUUINT8toFLOAT32) uint8_to_float32_;
  decltype(KernelTable::divideCPUFLOAT32toUINT8) float32_to_uint8_;
};

int32_t DivideCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("DivideCPU forward");
  return combine(params, {nullptr, float32_, uint8_to_float32_, float32_to_uint8_, divideBytesAndFloats, divideFloatsAndBytes},
                 TAMIX_HERE, TAMIX_PLACE("divideCPUMIXED"));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_DIVIDE, DivideCPU, DivideCPUCreator);

}  // namespace tamix
