#include "inference/runtime/cpu/arm/uint8/laplacianfilter_cpu_uint8.h"

#include <cmath>

#include "inference/runtime/cpu/arm/common/border_check.h"
#include "inference/runtime/cpu/arm/common/filter_compute.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr float kAperture1[9] = {0, 1, 0, 1, -4, 1, 0, 1, 0};
constexpr float kAperture3[9] = {2, 0, 2, 0, -8, 0, 2, 0, 2};

// Truncated toward zero; 0 for NaN, saturated to 16 bits.
int16_t integerWeight(float weight) {
  return weight == weight ? static_cast<int16_t>(std::clamp(weight, -32768.0f, 32767.0f)) : int16_t{0};
}

// The filter in single precision, which serves what the fast paths refuse.
void laplacianFilterC(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                      int32_t dst_width_stride, int32_t channel, const float* kernel, float scale, float delta) {
  if (!filter3x3Float(plane(src, src_width_stride, channel), plane(dst, dst_width_stride, channel), height, width, channel,
                      kernel, [&](float sum) { return std::min(std::abs(scale * sum + delta), 255.0f); })) {
    TAMIX_ERROR("failed to allocate memory for expanded image");
  }
}

}  // namespace

int32_t laplacianCPUUINT16toUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                  int32_t dst_width_stride, int32_t channel, const float* kernel, int32_t border_type,
                                  int32_t border_value, int32_t absolute, int32_t num_threads) {
  TAMIX_REQUIRE_DATA(src, dst, kernel);
  TAMIX_REQUIRE(width >= 8, TAMIX_ERR_UNSUPPORTED, "Recieved unsupport width %d", width);
  TAMIX_REQUIRE(height >= 2, TAMIX_ERR_UNSUPPORTED, "Recieved unsupport height %d", height);
  if (const int32_t status = checkBorder(border_type, border_value, num_threads); status != TAMIX_OK) {
    TAMIX_ERROR("failed to expand the border for filter3x3");
    return status;
  }
  const IntegerWeights weights{integerWeight(kernel[0]), integerWeight(kernel[1]), integerWeight(kernel[4])};
  TAMIX_REQUIRE(filter3x3Integer(plane(src, src_width_stride, channel), plane(dst, dst_width_stride, channel), height, width,
                                 channel, weights, absolute != 0, border_type, border_value),
                TAMIX_ERR_NO_MEMORY, "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

int32_t laplacianFilterCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                                int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                                const float* kernel, int32_t border_type, int32_t border_value, int32_t abs_output,
                                int32_t num_threads, float scale, float delta) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(kernel_height == kernel_width && (kernel_width == 1 || kernel_width == 3), TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported kernel size %d, %d", kernel_height, kernel_width);
  if (kernel == nullptr) kernel = kernel_width == 1 ? kAperture1 : kAperture3;

  const bool mirrors_three_channels = channel == 3 && (border_type == TAMIX_BORDER_REFLECT_101 || border_type == -1);
  const int32_t status =
      mirrors_three_channels && abs_output == 0
          ? filter3x3Channel3SymmetricalKernelBorderCPUUINT8(src, dst, height, width, src_width_stride, dst_width_stride,
                                                             kernel)
          : laplacianCPUUINT16toUINT8(src, dst, height, width, src_width_stride, dst_width_stride, channel, kernel, border_type,
                                      border_value, abs_output == 1 ? 1 : 0, num_threads);
  if (status != TAMIX_OK) {
    laplacianFilterC(src, dst, height, width, src_width_stride, dst_width_stride, channel, kernel,
                     std::abs(scale) < 1e-15f ? 1.0f : scale, delta);
  }
  return status;
}

}  // namespace tamix
