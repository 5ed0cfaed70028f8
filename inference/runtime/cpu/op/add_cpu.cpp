#include "inference/runtime/cpu/op/arithmetic_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// The saturated or float sum of two images.
class AddCPU final : public ArithmeticOperator {
 public:
  explicit AddCPU(Runtime* runtime)
      : ArithmeticOperator(runtime),
        uint8_(kernels(runtime).addCPUUINT8),
        float32_(kernels(runtime).addCPUFLOAT32),
        uint8_to_float32_(kernels(runtime).addCPUUINT8toFLOAT32),
        float32_to_uint8_(kernels(runtime).addCPUFLOAT32toUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::addCPUUINT8) uint8_;
  decltype(KernelTable::addCPUFLOAT32) float32_;
  decltype(KernelTable::addCPUUINT8toFLOAT32) uint8_to_float32_;
  decltype(KernelTable::addCPUFLOAT32toUINT8) float32_to_uint8_;
};

int32_t AddCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("AddCPU forward");
  return combine(params, {uint8_, float32_, uint8_to_float32_, float32_to_uint8_, addBytesAndFloats, addFloatsAndBytes},
                 TAMIX_HERE, TAMIX_PLACE("addCPUMIXED"));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_ADD, AddCPU, AddCPUCreator);

}  // namespace tamix
