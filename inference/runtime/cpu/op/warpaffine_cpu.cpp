#include <cmath>
#include <limits>

#include "inference/runtime/cpu/arm/uint8/warpaffine_cpu_uint8.h"
#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/utils/image_format.h"

namespace tamix {
namespace {

// Turns and scales an image about its centre by a whole angle and a whole scale.
class WarpAffineCPU final : public Operator {
 public:
  explicit WarpAffineCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).warpAffineCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  // One plane, `divisor` times smaller than the image.
  int32_t warpPlane(const TamixParams& params, int32_t plane, int32_t divisor, int32_t channels) const;

  decltype(KernelTable::warpAffineCPUUINT8) kernel_;
};

// Truncated toward zero; NaN gives 0, values out of range the nearest integer.
int32_t truncated(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

int32_t WarpAffineCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(src.format == dst.format, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output format: %d, %d",
                src.format, dst.format);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  // Both must be bytes: the refusal of either names the input's type.
  TAMIX_REQUIRE(dst.type == Tamix_UINT8 && src.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d",
                src.type);
  TAMIX_DEBUG("warpAffineCPUUINT8 forward");
  if (!isTwoPlane(src.format)) return warpPlane(*params, 0, 1, src.channel);
  TAMIX_REQUIRE(hasThreePlanes(src) == hasThreePlanes(dst), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output format: %d, %d", src.format, dst.format);
  TAMIX_TRY(warpPlane(*params, 0, 1, 1));
  if (!hasThreePlanes(src)) return warpPlane(*params, 1, 2, 2);
  TAMIX_TRY(warpPlane(*params, 1, 2, 1));
  return warpPlane(*params, 2, 2, 1);
}

int32_t WarpAffineCPU::warpPlane(const TamixParams& params, int32_t plane, int32_t divisor, int32_t channels) const {
  const TamixImage& src = params.input[0];
  const TamixImage& dst = params.output[0];
  return kernel_(data<const uint8_t>(src, plane), src.height / divisor, src.width / divisor, src.width_stride / divisor,
                 data<uint8_t>(dst, plane), dst.height / divisor, dst.width / divisor, dst.width_stride / divisor, channels,
                 truncated(params.affine_angle), truncated(params.affine_scale), threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_WARP_AFFINE, WarpAffineCPU, WarpAffineCPUCreator);

}  // namespace
}  // namespace tamix
