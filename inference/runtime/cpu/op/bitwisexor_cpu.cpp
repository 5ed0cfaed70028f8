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
  TAMIX_TRY(checkBitwiseImages(*params, TAMIX_HERE, /*like_input_1=*/true));
  const TamixImage& src1 = params->input[0];
  const TamixImage& src2 = params->input[1];
  const TamixImage& dst = params->output[0];
  return kernel_(data<const uint8_t>(src1), data<const uint8_t>(src2), data<uint8_t>(dst), dst.height, dst.width,
                 src1.width_stride, src2.width_stride, dst.width_stride, dst.channel, data<const uint8_t>(params->input[2]),
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_BITWISE_XOR, BitwiseXorCPU, BitwiseXorCPUCreator);

}  // namespace tamix
