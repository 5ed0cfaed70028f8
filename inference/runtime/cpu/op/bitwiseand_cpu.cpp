#include "inference/runtime/cpu/op/bitwise_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Bitwise and of inputs 0 and 1, and of a mask in input 2.
class BitwiseAndCPU final : public Operator {
 public:
  explicit BitwiseAndCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).bitwiseAndCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::bitwiseAndCPUUINT8) kernel_;
};

int32_t BitwiseAndCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("BitwiseAndCPU forward");
  return combineBitwise(*params, kernel_, threadNumber(), TAMIX_HERE);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_BITWISE_AND, BitwiseAndCPU, BitwiseAndCPUCreator);

}  // namespace tamix
