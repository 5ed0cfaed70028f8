#include "inference/runtime/cpu/op/arithmetic_operator.h"

#include <algorithm>

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"
#include "inference/utils/tamix_utils.h"

namespace tamix {
namespace {

// The type that is converted to T.
template <class T>
using Other = std::conditional_t<std::is_same_v<T, float>, uint8_t, float>;

// Logs a conversion and refuses a null plane; no rows yet.
int32_t startConversion(const uint8_t* src, float* dst) { return dataUINT8ToFLOAT32(src, dst, 0, 0, 0, 0, 0, false); }
int32_t startConversion(const float* src, uint8_t* dst) { return dataFLOAT32ToUINT8(src, dst, 0, 0, 0, 0, 0, false); }

// Rows of an operand that are converted at a time, so that the kernel finds them in the cache.
constexpr size_t kBandBytes = 16 * 1024;

template <class T>
T* rowOf(const TamixImage& image, int32_t y) {
  return plane(data<T>(image), image.width_stride, image.channel).row(y);
}

// kernel(input 0, input 1) over elements of T, where one input has the other type. That input is converted band by band, or at
// once where the output takes its place.
template <class T, class Kernel>
int32_t combineConverted(const TamixParams& params, Kernel kernel, int32_t threads, LogPlace place) {
  const TamixImage& a = params.input[0];
  const TamixImage& b = params.input[1];
  const TamixImage& dst = params.output[0];
  const bool convert_a = a.type != dst.type;
  const TamixImage& source = convert_a ? a : b;
  const size_t n = rowElements(dst.width, dst.channel);
  const int32_t height = n == 0 ? 0 : std::max(dst.height, 0);
  const auto fitting = static_cast<int32_t>(std::clamp<size_t>(kBandBytes / (n * sizeof(T) + 1), 1, rowElements(height) + 1));
  const auto from = plane(data<const Other<T>>(source), source.width_stride, source.channel);
  const auto to = plane(data<T>(dst), dst.width_stride, dst.channel);
  const int32_t band = overlap(memoryOf(from, height, n), memoryOf(to, height, n)) ? height : fitting;
  const ScratchBuffer<T> converted(static_cast<size_t>(band) * n);
  TAMIX_REQUIRE_AT(place, converted, TAMIX_ERR_NO_MEMORY, "failed to allocate memory for arithmetic computation.");
  TAMIX_TRY(startConversion(from.data, converted.data()));
  for (int32_t y = 0; y < height;) {
    const int32_t rows = std::min(band, height - y);
    convertRows(Plane<const Other<T>>{from.row(y), from.pitch}, Plane<T>{converted.data(), static_cast<ptrdiff_t>(n)}, rows, n);
    TAMIX_TRY(kernel(convert_a ? converted.data() : rowOf<const T>(a, y), convert_a ? rowOf<const T>(b, y) : converted.data(),
                     to.row(y), rows, dst.width, convert_a ? dst.width : a.width_stride, convert_a ? b.width_stride : dst.width,
                     dst.width_stride, dst.channel, threads));
    y += rows;
  }
  return TAMIX_OK;
}

// kernel(input 0, input 1) on the images as they are.
template <class In, class Out, class In2>
int32_t combineAsTheyAre(const TamixParams& params, ArithmeticKernel<In, Out, In2>* kernel, int32_t threads) {
  const TamixImage& a = params.input[0];
  const TamixImage& b = params.input[1];
  const TamixImage& dst = params.output[0];
  return kernel(data<const In>(a), data<const In2>(b), data<Out>(dst), dst.height, dst.width, a.width_stride, b.width_stride,
                dst.width_stride, dst.channel, threads);
}

// True where bytes and floats give so many floats that one pass, past the caches, is faster than converting bands.
bool isLarge(const TamixImage& dst, const TamixImage& a, const TamixImage& b) {
  const auto rows = [](const TamixImage& image) { return plane(data<const float>(image), image.width_stride, image.channel); };
  return isWorthStreaming(plane(data<float>(dst), dst.width_stride, dst.channel), dst.height,
                          rowElements(dst.width, dst.channel), rows(a), rows(b));
}

// `mixed`: what logs a failed conversion.
int32_t combineTypes(const TamixParams& params, const ArithmeticKernels& kernels, int32_t threads, LogPlace mixed) {
  const TamixImage& a = params.input[0];
  const TamixImage& b = params.input[1];
  const TamixImage& dst = params.output[0];
  const bool to_float = dst.type == Tamix_FLOAT32;
  if (a.type == b.type && a.type == Tamix_FLOAT32) {
    return to_float ? combineAsTheyAre(params, kernels.float32, threads)
                    : combineAsTheyAre(params, kernels.float32_to_uint8, threads);
  }
  if (a.type == b.type) {
    return to_float ? combineAsTheyAre(params, kernels.uint8_to_float32, threads)
                    : combineAsTheyAre(params, kernels.uint8, threads);
  }
  if (!to_float) return combineConverted<uint8_t>(params, kernels.uint8, threads, mixed);
  if (!isLarge(dst, a, b)) return combineConverted<float>(params, kernels.float32, threads, mixed);
  TAMIX_DEBUG("dataUINT8ToFLOAT32 forward");
  return a.type == Tamix_UINT8 ? combineAsTheyAre(params, kernels.bytes_and_floats, threads)
                               : combineAsTheyAre(params, kernels.floats_and_bytes, threads);
}

}  // namespace

int32_t ArithmeticOperator::combine(TamixParams* params, const ArithmeticKernels& kernels, LogPlace forward, LogPlace mixed) {
  const TamixImage& a = params->input[0];
  const TamixImage& b = params->input[1];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_AT(forward, dst.width_stride >= dst.width && a.width_stride >= a.width && b.width_stride >= b.width,
                   TAMIX_ERR_UNSUPPORTED, "Recieve unsupported stride: %d %d %d", a.width_stride, b.width_stride,
                   dst.width_stride);
  TAMIX_REQUIRE_AT(forward,
                   a.width == dst.width && b.width == dst.width && a.height == dst.height && b.height == dst.height &&
                       a.channel == dst.channel && b.channel == dst.channel,
                   TAMIX_ERR_UNSUPPORTED, "Recieve unequal shape or data type");

  const bool to_float = dst.type == Tamix_FLOAT32;
  const bool to_uint8 = dst.type == Tamix_UINT8;
  if (a.type == dst.type) {
    TAMIX_REQUIRE_AT(forward, to_float || (to_uint8 && kernels.uint8 != nullptr), TAMIX_ERR_UNSUPPORTED,
                     "Recieve unsupported data type: %d", a.type);
    TAMIX_REQUIRE_AT(forward, isOneOf(b.type, Tamix_UINT8, Tamix_FLOAT32), TAMIX_ERR_UNSUPPORTED,
                     "Recieve unsupported data type: %d", b.type);
  } else {
    setConverted();
    const bool known = isOneOf(a.type, Tamix_UINT8, Tamix_FLOAT32) && isOneOf(b.type, Tamix_UINT8, Tamix_FLOAT32);
    const bool has_kernel = to_float || (to_uint8 && (a.type == b.type || kernels.uint8 != nullptr));
    TAMIX_REQUIRE_AT(mixed, known && has_kernel, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", dst.type);
  }
  TAMIX_REQUIRE_AT(forward, isOnePlane(a) && isOnePlane(b) && isOnePlane(dst), TAMIX_ERR_UNSUPPORTED,
                   "Recieve unsupported data format: %d, %d and %d with %d channels", a.format, b.format, dst.format,
                   dst.channel);

  TAMIX_TRY(combineTypes(*params, kernels, threadNumber(), mixed));
  if (a.type != Tamix_FLOAT32 || !to_float) return TAMIX_OK;
  setConverted();
  return finishFloats(*this, *params, {});
}

}  // namespace tamix
