#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Erosion, dilation, opening or closing, with a structuring element of the caller's or one of a shape.
class MorphologyExCPU final : public Operator {
 public:
  explicit MorphologyExCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).morphologyExCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::morphologyExCPUUINT8) kernel_;
};

int32_t MorphologyExCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  int32_t kernel_height = params->kernel_height;
  int32_t kernel_width = params->kernel_width;
  if (kernel_height == -1 || kernel_width == -1) {
    TAMIX_REQUIRE(params->kernel_size != -1 || params->kernel == nullptr, TAMIX_ERR_UNSUPPORTED,
                  "Recieve kernel size is null.");
    kernel_height = kernel_width = params->kernel_size == -1 ? 3 : params->kernel_size;
  }
  TAMIX_REQUIRE(params->morph_type != -1, TAMIX_ERR_UNSUPPORTED, "Recieve morph_type is null.");
  if (params->border_type == -1) {
    params->border_type = TAMIX_BORDER_CONSTANT;
    params->border_value = params->morph_type == TAMIX_MORPH_ERODE ? 255 : 0;
  }
  if (params->morph_shape == -1) params->morph_shape = TAMIX_MORPH_RECT;
  TAMIX_DEBUG("Recieve kernel size: %d / (%d, %d)", params->kernel_size, kernel_height, kernel_width);
  TAMIX_DEBUG("Recieve border_type and border_value: %d, %d", params->border_type, params->border_value);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(src);  // the kernel refuses other counts
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("morphologyesCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, params->morph_type, kernel_height, kernel_width, static_cast<const uint8_t*>(params->kernel),
                 params->anchor, params->border_type, params->border_value, params->iterations, params->morph_shape,
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_MORPHOLOGY_EX, MorphologyExCPU, MorphologyExCPUCreator);

}  // namespace
}  // namespace tamix
