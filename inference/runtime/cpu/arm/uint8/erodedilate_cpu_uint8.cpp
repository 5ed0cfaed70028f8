#include "inference/runtime/cpu/arm/uint8/erodedilate_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/border.h"
#include "inference/runtime/cpu/arm/common/border_check.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Nothing to do, or a border that cannot be made.
#define TAMIX_TRY_BORDER(arguments, message)                                                                                   \
  do {                                                                                                                         \
    if ((arguments).iterations < 1) return TAMIX_OK;                                                                           \
    if (const int32_t border_status = checkBorder((arguments).border_type, (arguments).border_value, (arguments).num_threads); \
        border_status != TAMIX_OK) {                                                                                           \
      TAMIX_ERROR(message);                                                                                                    \
      return border_status;                                                                                                    \
    }                                                                                                                          \
  } while (false)

int32_t filter2x2C3KernelCompareCPUUINT8(Extremum extremum, const MorphologyArguments& a) {
  TAMIX_TRY_BORDER(a, "failed to expand the border for filter2x2");
  TAMIX_REQUIRE(rectangleExtremum(extremum, a.image(), 2, 2), TAMIX_ERR_NO_MEMORY,
                "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

int32_t filter3x3C3KernelCompareCPUUINT8(Extremum extremum, const MorphologyArguments& a) {
  TAMIX_TRY_BORDER(a, "failed to expand the border for filter3x3");
  TAMIX_REQUIRE(rectangleExtremum(extremum, a.image(), 3, 3), TAMIX_ERR_NO_MEMORY,
                "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

int32_t filterKernelCompareCPUUINT8(Extremum extremum, const MorphologyArguments& a) {
  TAMIX_TRY_BORDER(a, "failed to expand the border for filter2x2");
  const auto process = [&] {
    if (a.element != nullptr) return *a.element && elementExtremum(extremum, a.image(), *a.element);
    if (a.kernel == nullptr) return rectangleExtremum(extremum, a.image(), a.kernel_height, a.kernel_width);
    const StructuringElement element(a.kernel, a.kernel_height, a.kernel_width);
    return element && elementExtremum(extremum, a.image(), element);
  };
  TAMIX_REQUIRE(process(), TAMIX_ERR_NO_MEMORY, "failed to allocate memory for expanded image");
  return TAMIX_OK;
}

}  // namespace

MorphologyImage MorphologyArguments::image() const {
  return {plane(src, src_width_stride, channel),
          plane(dst, dst_width_stride, channel),
          height,
          width,
          plainBorderType(border_type),
          border_value,
          iterations};
}

bool MorphologyArguments::usesElement() const {
  return !anyNull(src, dst) && channel == 3 && anchor == nullptr && iterations >= 1 && isBorder(border_type, border_value);
}

int32_t erodeOrDilate(Extremum extremum, const MorphologyArguments& a) {
  const LogPlace place = TAMIX_PLACE(extremum == Extremum::kMinimum ? "erodeCPUUINT8" : "dilateCPUUINT8");
  TAMIX_REQUIRE_AT(place, !anyNull(a.src, a.dst), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  TAMIX_REQUIRE_AT(place, a.channel == 3, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported channel %d", a.channel);
  const auto isWhole = [&](int32_t size) {
    return a.element == nullptr && a.kernel == nullptr && a.kernel_height == size && a.kernel_width == size;
  };
  if (isWhole(2)) return filter2x2C3KernelCompareCPUUINT8(extremum, a);
  if (isWhole(3)) return filter3x3C3KernelCompareCPUUINT8(extremum, a);
  if (a.anchor != nullptr) return TAMIX_ERR_UNSUPPORTED;
  return filterKernelCompareCPUUINT8(extremum, a);
}

int32_t erodeCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                      int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                      const uint8_t* kernel, const void* anchor, int32_t border_type, int32_t border_value, int32_t iterations,
                      int32_t num_threads) {
  return erodeOrDilate(Extremum::kMinimum, {src, dst, height, width, src_width_stride, dst_width_stride, channel, kernel_height,
                                            kernel_width, kernel, anchor, border_type, border_value, iterations, num_threads});
}

int32_t dilateCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                       int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                       const uint8_t* kernel, const void* anchor, int32_t border_type, int32_t border_value, int32_t iterations,
                       int32_t num_threads) {
  return erodeOrDilate(Extremum::kMaximum, {src, dst, height, width, src_width_stride, dst_width_stride, channel, kernel_height,
                                            kernel_width, kernel, anchor, border_type, border_value, iterations, num_threads});
}

}  // namespace tamix
