#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Smooths an image with the binomial 3x3 kernel; other kernel sizes leave the output alone.
class GaussianFilterCPU final : public Operator {
 public:
  explicit GaussianFilterCPU(Runtime* runtime)
      : Operator(runtime), kernel_(kernels(runtime).gaussianFilterCPUUINT8), binomial_(9) {
    constexpr float kBinomial[9] = {0.0625f, 0.125f, 0.0625f, 0.125f, 0.25f, 0.125f, 0.0625f, 0.125f, 0.0625f};
    if (!binomial_) {
      TAMIX_ERROR("failed to allocate memory");
      return;
    }
    std::copy_n(kBinomial, 9, binomial_.data());
  }
  bool isComplete() const { return static_cast<bool>(binomial_); }
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::gaussianFilterCPUUINT8) kernel_;
  ScratchBuffer<float> binomial_;
  const float* weights_ = nullptr;  // the binomial kernel from the first 3x3 request on
};

int32_t GaussianFilterCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  int32_t kernel_height = params->kernel_height;
  int32_t kernel_width = params->kernel_width;
  if (kernel_height == -1 || kernel_width == -1) {
    TAMIX_REQUIRE(params->kernel_size != -1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernel size: %d", params->kernel_size);
    kernel_height = kernel_width = params->kernel_size;
  }
  TAMIX_DEBUG("Recieve kernel size: %d / (%d, %d)", params->kernel_size, kernel_height, kernel_width);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("gaussianFilterCPUUINT8 forward");
  if (kernel_height == 3 && kernel_width == 3) weights_ = binomial_.data();
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, kernel_height, kernel_width, weights_, params->border_type, params->border_value, threadNumber(),
                 static_cast<float>(params->scale));
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_GAUSSIAN_FILTER, GaussianFilterCPU, GaussianFilterCPUCreator);

}  // namespace
}  // namespace tamix
