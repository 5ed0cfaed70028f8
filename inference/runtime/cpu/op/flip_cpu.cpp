#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Mirrors an image in one or both directions.
class FlipCPU final : public Operator {
 public:
  explicit FlipCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).flipCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::flipCPUUINT8) kernel_;
};

int32_t FlipCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_REQUIRE(dst.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", src.type);
  TAMIX_REQUIRE_NO_FLOAT(src);
  // The kernel refuses two channels itself.
  if (src.channel > 2) TAMIX_REQUIRE_ONE_PLANE(src);
  if (dst.channel > 2) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("flipCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, params->op_mode, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_FLIP, FlipCPU, FlipCPUCreator);

}  // namespace tamix
