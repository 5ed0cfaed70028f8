#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// The second derivative of an image, clamped or absolute, with one of two 3x3 kernels.
class LaplacianFilterCPU final : public Operator {
 public:
  explicit LaplacianFilterCPU(Runtime* runtime)
      : Operator(runtime), kernel_(kernels(runtime).laplacianFilterCPUUINT8), aperture_1_(9), aperture_3_(9) {
    constexpr float kAperture1[9] = {0, 1, 0, 1, -4, 1, 0, 1, 0};
    constexpr float kAperture3[9] = {2, 0, 2, 0, -8, 0, 2, 0, 2};
    if (!isComplete()) {
      TAMIX_ERROR("failed to allocate memory");
      return;
    }
    std::copy_n(kAperture1, 9, aperture_1_.data());
    std::copy_n(kAperture3, 9, aperture_3_.data());
  }
  bool isComplete() const { return aperture_1_ && aperture_3_; }
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::laplacianFilterCPUUINT8) kernel_;
  ScratchBuffer<float> aperture_1_;
  ScratchBuffer<float> aperture_3_;
  const float* weights_ = nullptr;  // the kernel of the last 1x1 or 3x3 request
};

int32_t LaplacianFilterCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  int32_t kernel_height = params->kernel_height;
  int32_t kernel_width = params->kernel_width;
  if (kernel_height == -1 || kernel_width == -1) {
    kernel_height = kernel_width = params->kernel_size == -1 ? 1 : params->kernel_size;
  }
  TAMIX_DEBUG("Recieve kernel size: %d / (%d, %d)", params->kernel_size, kernel_height, kernel_width);
  TAMIX_DEBUG("Recieve scale: %f and delta: %f", params->scale, params->delta);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("laplacianFilterCPUUINT8 forward");
  if (kernel_height == 3 && kernel_width == 3) weights_ = aperture_3_.data();
  if (kernel_height == 1 && kernel_width == 1) weights_ = aperture_1_.data();
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, kernel_height, kernel_width, weights_, params->border_type, params->border_value,
                 params->abs_output, threadNumber(), static_cast<float>(params->scale), static_cast<float>(params->delta));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_LAPLACIAN_FILTER, LaplacianFilterCPU, LaplacianFilterCPUCreator);

}  // namespace
}  // namespace tamix
