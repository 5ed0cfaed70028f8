#include "inference/runtime/cpu/op/bitwise_operator.h"

#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/utils/image_format.h"

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
  // A mask of a format is an image like the others. Any other plane is read as a mask too, if it holds enough.
  const bool is_image = mask.type != 0 && mask.format != 0;
  const bool is_read = like_input_1 && (mask.type != 0 || mask.data[0] != nullptr);
  const int32_t stride = mask.width_stride == 0 ? mask.width : mask.width_stride;
  const int32_t channel = mask.channel == 0 ? channelsOfFormat(mask.format) : mask.channel;
  const bool same_size = mask.width == dst.width && mask.height == dst.height;
  const bool same_layout = stride == b.width_stride && channel == b.channel;
  const bool holds = planeElements(mask.height, mask.width, stride, channel) >=
                     planeElements(dst.height, dst.width, b.width_stride, dst.channel);
  TAMIX_REQUIRE_AT(forward, (!is_image || same_size) && (!is_read || (is_image ? same_layout : holds)), TAMIX_ERR_UNSUPPORTED,
                   "Recieve unequal shape or data type from mask");
  TAMIX_REQUIRE_AT(forward, a.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", a.type);
  TAMIX_REQUIRE_AT(forward, isOnePlane(a) && isOnePlane(b) && isOnePlane(dst) && (!is_read || isOnePlane(mask)),
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
