#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Turns an image by a quarter or half a turn.
class RotateCPU final : public Operator {
 public:
  explicit RotateCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).rotateCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::rotateCPUUINT8) kernel_;
};

int32_t RotateCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE(isOneOf(params->op_mode, 0, 1, 2), TAMIX_ERR_UNSUPPORTED, "RotateCPU dosen't support rotate type %d",
                params->op_mode);
  const bool half_turn = params->op_mode == 1;
  TAMIX_REQUIRE(dst.width == (half_turn ? src.width : src.height) && dst.height == (half_turn ? src.height : src.width),
                TAMIX_ERR_UNSUPPORTED, "RotateCPU unsupported input shape[%d,%d],output shape[%d,%d]", src.height, src.width,
                dst.height, dst.width);
  TAMIX_REQUIRE(src.channel == dst.channel, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported src channel = %d , dst channel = %d",
                src.channel, dst.channel);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  // The kernel refuses half a turn of two channels itself.
  if (!half_turn || src.channel > 2) TAMIX_REQUIRE_ONE_PLANE(src);
  if (!half_turn || dst.channel > 2) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("RotateCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.width_stride, dst.width_stride,
                 src.channel, params->op_mode, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_ROTATE, RotateCPU, RotateCPUCreator);

}  // namespace tamix
