#include "inference/runtime/cpu/op/bitwise_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Bitwise exclusive or of inputs 0 and 1, and of a mask in input 2.
class BitwiseXorCPU final : public Operator {
 public:
  explicit BitwiseXorCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).bitwiseXorCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::bitwiseXorCPUUINT8) kernel_;
};

int32_t BitwiseXorCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("BitwiseXorCPU forward");
  return combineBitwise(*params, kernel_, threadNumber(), TAMIX_HERE);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_BITWISE_XOR, BitwiseXorCPU, BitwiseXorCPUCreator);

}  // namespace tamix
