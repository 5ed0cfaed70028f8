#include "inference/runtime/cpu/op/bitwise_operator.h"

#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

int32_t checkBitwiseImages(const TamixParams& params, LogPlace forward, bool like_input_1) {
  const TamixImage& a = params.input[0];
  const TamixImage& b = params.input[1];
  const TamixImage& mask = params.input[2];
  const TamixImage& dst = params.output[0];
  TAMIX_REQUIRE_AT(forward, dst.width_stride >= dst.width && a.width_stride >= a.width && b.width_stride >= b.width,
                   TAMIX_ERR_UNSUPPORTED, "Recieve unsupported stride: %d %d %d", a.width_stride, b.width_stride,
                   dst.width_stride);
  TAMIX_REQUIRE_AT(forward,
                   a.channel == dst.channel && b.channel == dst.channel && a.width == dst.width && b.width == dst.width &&
                       a.height == dst.height && b.height == dst.height,
                   TAMIX_ERR_UNSUPPORTED, "Recieve unequal shape or data type");
  const bool has_mask = mask.type != 0 && (mask.format != 0 || like_input_1);
  const bool same_size = mask.width == dst.width && mask.height == dst.height;
  const bool same_layout = mask.width_stride == b.width_stride && mask.channel == b.channel;
  TAMIX_REQUIRE_AT(forward, !has_mask || (same_size && (same_layout || !like_input_1)), TAMIX_ERR_UNSUPPORTED,
                   "Recieve unequal shape or data type from mask");
  TAMIX_REQUIRE_AT(forward, a.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", a.type);
  TAMIX_REQUIRE_AT(forward, isOnePlane(a) && isOnePlane(b) && isOnePlane(dst) && (!has_mask || isOnePlane(mask)),
                   TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data format: %d, %d and %d with %d channels", a.format, b.format,
                   dst.format, dst.channel);
  return TAMIX_OK;
}

int32_t combineBitwise(const TamixParams& params, decltype(KernelTable::bitwiseAndCPUUINT8) kernel, int32_t threads,
                       LogPlace forward) {
  TAMIX_TRY(checkBitwiseImages(params, forward, /*like_input_1=*/true));
  const TamixImage& src1 = params.input[0];
  const TamixImage& src2 = params.input[1];
  const TamixImage& dst = params.output[0];
  return kernel(data<const uint8_t>(src1), data<const uint8_t>(src2), data<uint8_t>(dst), dst.height, dst.width,
                src1.width_stride, src2.width_stride, dst.width_stride, dst.channel, data<const uint8_t>(params.input[2]),
                threads);
}

}  // namespace tamix
