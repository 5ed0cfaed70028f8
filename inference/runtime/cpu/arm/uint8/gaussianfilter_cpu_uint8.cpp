#include <cmath>
#include <limits>

#include "inference/runtime/cpu/arm/common/filter_compute.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

constexpr int32_t kFallbackChannels = 4;

// The sampled Gaussian exp(-(dx^2 + dy^2) / (2 * sigma^2)) around the centre of a 3x3 kernel, divided by its sum.
void fillGaussian(float* kernel, float sigma) {
  constexpr double kDefaultSigma = ((3 - 1) * 0.5 - 1.0) * 0.3 + 0.8;
  double s = sigma;
  if (std::abs(s) < 1e-15) s = kDefaultSigma;
  const double d = s * (s + s);
  float sum = 0.0f;
  for (int32_t k = 0; k < 9; ++k) {
    const int32_t dy = k / 3 - 1;
    const int32_t dx = k % 3 - 1;
    const float q = -(static_cast<float>(dy * dy) + static_cast<float>(dx * dx));
    kernel[k] = static_cast<float>(std::exp(static_cast<double>(q) / d));
    sum += kernel[k];
  }
  for (int32_t k = 0; k < 9; ++k) kernel[k] /= sum;
}

// The filter in single precision, which serves what the fixed-point core refuses. Channels above 4 are left alone.
void gaussianFilterC(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                     int32_t dst_width_stride, int32_t channel, const float* kernel) {
  TAMIX_DEBUG("gaussianFilterC forward");
  if (channel > kFallbackChannels) {
    TAMIX_ERROR("Recieved unsupport channel %d", channel);
    return;
  }
  if (!filter3x3Float(plane(src, src_width_stride, channel), plane(dst, dst_width_stride, channel), height, width, channel,
                      kernel, [](float sum) { return std::min(sum, 255.0f); })) {
    TAMIX_ERROR("failed to allocate memory for expanded image");
  }
}

}  // namespace
}  // namespace tamix

int32_t gaussianFilterCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                               int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                               const float* kernel, int32_t border_type, int32_t border_value, int32_t num_threads,
                               float sigma) {
  using namespace tamix;
  TAMIX_REQUIRE_DATA(src, dst);
  const bool is_3x3 = kernel_height == 3 && kernel_width == 3;
  if (kernel != nullptr && !is_3x3) return TAMIX_OK;

  ScratchBuffer<float> built;
  if (kernel == nullptr) {
    // No kernel of another size filters anything: only one that could not exist is refused.
    const bool exists = int64_t{kernel_height} * kernel_width >= 0;
    if (exists && !is_3x3) return TAMIX_OK;
    if (exists) built = ScratchBuffer<float>(9);
    TAMIX_REQUIRE(built, TAMIX_ERR_NO_MEMORY, "failed to allocate memory for gaussian kernel");
    fillGaussian(built.data(), sigma);
    kernel = built.data();
  }

  const bool mirrors_three_channels = channel == 3 && (border_type == TAMIX_BORDER_REFLECT_101 || border_type == -1);
  const int32_t status = mirrors_three_channels
                             ? filter3x3Channel3SymmetricalKernelBorderCPUUINT8(src, dst, height, width, src_width_stride,
                                                                                dst_width_stride, kernel)
                             : filter3x3SymmetricalKernelCPUUINT8(src, dst, height, width, src_width_stride, dst_width_stride,
                                                                  channel, kernel, border_type, border_value, num_threads);
  if (status != TAMIX_OK) gaussianFilterC(src, dst, height, width, src_width_stride, dst_width_stride, channel, kernel);
  return status;
}
