#include "inference/runtime/cpu/arm/uint8/morphologyex_cpu_uint8.h"

#include <limits>
#include <optional>

#include "inference/runtime/cpu/arm/uint8/erodedilate_cpu_uint8.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

constexpr int32_t kDefaultAnchor = 1;

// Whether the default element of a shape can exist.
bool isPossible(int32_t shape, int32_t rows, int32_t columns) {
  const int64_t bytes = int64_t{rows} * columns;
  return bytes >= 0 && (shape == TAMIX_MORPH_RECT || bytes <= std::numeric_limits<int32_t>::max());
}

// Both steps of opening or closing at once where neither is refused; false where they are to be taken one by one.
bool bothSteps(Extremum first, const MorphologyArguments& arguments) {
  return arguments.usesElement() && arguments.element->isRectangle() &&
         rectangleExtrema(first, arguments.image(), arguments.kernel_height, arguments.kernel_width);
}

// The arguments of the second step, which reads what the first one wrote.
MorphologyArguments secondStep(MorphologyArguments arguments) {
  arguments.src = arguments.dst;
  arguments.src_width_stride = arguments.dst_width_stride;
  return arguments;
}

}  // namespace

int32_t morphologyExCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t channel, int32_t morph_type, int32_t kernel_height,
                             int32_t kernel_width, const uint8_t* kernel, const void* anchor, int32_t border_type,
                             int32_t border_value, int32_t iterations, int32_t shape, int32_t num_threads) {
  MorphologyArguments arguments{src,          dst,           height,       width,  src_width_stride, dst_width_stride,
                                channel,      kernel_height, kernel_width, kernel, anchor,           border_type,
                                border_value, iterations,    num_threads};
  std::optional<StructuringElement> element;
  if (kernel == nullptr) {
    TAMIX_DEBUG("Recieve kernel is null, build default kernel.");
    if (isPossible(shape, kernel_height, kernel_width)) {
      element.emplace(ElementShape(shape, kernel_height, kernel_width, kDefaultAnchor, kDefaultAnchor));
    }
    TAMIX_REQUIRE(element && *element, TAMIX_ERR_NO_MEMORY, "build default kernel fail.");
  } else if (arguments.usesElement()) {
    element.emplace(kernel, kernel_height, kernel_width);
  }
  if (element) arguments.element = &*element;
  TAMIX_DEBUG("morphologyes op type: %d.", morph_type);
  switch (morph_type) {
    case TAMIX_MORPH_ERODE:
      return erodeOrDilate(Extremum::kMinimum, arguments);
    case TAMIX_MORPH_DILATE:
      return erodeOrDilate(Extremum::kMaximum, arguments);
    case TAMIX_MORPH_OPEN:
      TAMIX_DEBUG("TAMIX_MORPH_OPEN forward.");
      if (bothSteps(Extremum::kMinimum, arguments)) return TAMIX_OK;
      TAMIX_REQUIRE(erodeOrDilate(Extremum::kMinimum, arguments) == TAMIX_OK, TAMIX_ERR_UNSUPPORTED, "morph_open erode fail.");
      TAMIX_REQUIRE(erodeOrDilate(Extremum::kMaximum, secondStep(arguments)) == TAMIX_OK, TAMIX_ERR_UNSUPPORTED,
                    "morph_open dilate fail.");
      return TAMIX_OK;
    case TAMIX_MORPH_CLOSE:
      if (bothSteps(Extremum::kMaximum, arguments)) return TAMIX_OK;
      TAMIX_REQUIRE(erodeOrDilate(Extremum::kMaximum, arguments) == TAMIX_OK, TAMIX_ERR_UNSUPPORTED,
                    "morph_close dilate fail.");
      TAMIX_REQUIRE(erodeOrDilate(Extremum::kMinimum, secondStep(arguments)) == TAMIX_OK, TAMIX_ERR_UNSUPPORTED,
                    "morph_close erode fail.");
      return TAMIX_OK;
    default:
      TAMIX_ERROR("unsupported morphological operation.");
      return TAMIX_ERR_UNSUPPORTED;
  }
}

}  // namespace tamix
