#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Replaces every pixel by the maximum of each channel over a window.
class DilateCPU final : public Operator {
 public:
  explicit DilateCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).dilateCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::dilateCPUUINT8) kernel_;
};

int32_t DilateCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  int32_t kernel_height = params->kernel_height;
  int32_t kernel_width = params->kernel_width;
  if (kernel_height == -1 || kernel_width == -1) {
    kernel_height = kernel_width = params->kernel_size == -1 ? 3 : params->kernel_size;
  }
  if (params->border_type == -1) {
    params->border_type = TAMIX_BORDER_REPLICATE;
    params->border_value = 0;
  }
  TAMIX_DEBUG("Recieve kernel size: %d / (%d, %d)", params->kernel_size, kernel_height, kernel_width);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(src);  // the kernel refuses other counts
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("dilateCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, kernel_height, kernel_width, static_cast<const uint8_t*>(params->kernel), params->anchor,
                 params->border_type, params->border_value, params->iterations, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_DILATE, DilateCPU, DilateCPUCreator);

}  // namespace
}  // namespace tamix
