#include "inference/runtime/cpu/op/arithmetic_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// The product of two images; bytes times bytes give floats.
class MultipleCPU final : public ArithmeticOperator {
 public:
  explicit MultipleCPU(Runtime* runtime)
      : ArithmeticOperator(runtime),
        float32_(kernels(runtime).multipleCPUFLOAT32),
        uint8_to_float32_(kernels(runtime).multipleCPUUINT8toFLOAT32),
        float32_to_uint8_(kernels(runtime).multipleCPUFLOAT32toUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::multipleCPUFLOAT32) float32_;
  decltype(KernelTable::multipleCPUUINT8toFLOAT32) uint8_to_float32_;
  decltype(KernelTable::multipleCPUFLOAT32toUINT8) float32_to_uint8_;
};

int32_t MultipleCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("MultipleCPU forward");
  return combine(params,
                 {nullptr, float32_, uint8_to_float32_, float32_to_uint8_, multiplyBytesAndFloats, multiplyFloatsAndBytes},
                 TAMIX_HERE, TAMIX_PLACE("multipleCPUMIXED"));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_MULTIPLE, MultipleCPU, MultipleCPUCreator);

}  // namespace tamix
