#include "inference/runtime/cpu/op/bitwise_operator.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// The complement of input 0. The mask is input 1's plane, read packed; input 1 has the image's size, so all of it is there.
class BitwiseNotCPU final : public Operator {
 public:
  explicit BitwiseNotCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).bitwiseNotCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::bitwiseNotCPUUINT8) kernel_;
};

int32_t BitwiseNotCPU::forward(TamixParams* params) {
  TAMIX_DEBUG("BitwiseNotCPU forward");
  TAMIX_TRY(checkBitwiseImages(*params, TAMIX_HERE, /*like_input_1=*/false));
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), dst.height, dst.width, src.width_stride, dst.width_stride,
                 dst.channel, data<const uint8_t>(params->input[1]), threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_BITWISE_NOT, BitwiseNotCPU, BitwiseNotCPUCreator);

}  // namespace tamix
