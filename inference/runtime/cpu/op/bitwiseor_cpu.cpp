#include "inference/runtime/cpu/op/bitwise_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Bitwise or of inputs 0 and 1, and of a mask in input 2.
class BitwiseOrCPU final : public Operator {
 public:
  explicit BitwiseOrCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).bitwiseOrCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::bitwiseOrCPUUINT8) kernel_;
};

int32_t BitwiseOrCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("BitwiseOrCPU forward");
  return combineBitwise(*params, kernel_, threadNumber(), TAMIX_HERE);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_BITWISE_OR, BitwiseOrCPU, BitwiseOrCPUCreator);

}  // namespace tamix
