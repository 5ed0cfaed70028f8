// NV12, NV21 and I420 frames to RGB or BGR.
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

class YUVToColorCPU final : public Operator {
 public:
  explicit YUVToColorCPU(Runtime* runtime)
      : Operator(runtime),
        nv21_to_rgb_(kernels(runtime).NV21ToRGBCPUUINT8),
        nv21_to_bgr_(kernels(runtime).NV21ToBGRCPUUINT8),
        nv12_to_rgb_(kernels(runtime).NV12ToRGBCPUUINT8),
        nv12_to_bgr_(kernels(runtime).NV12ToBGRCPUUINT8),
        i420_to_rgb_(kernels(runtime).I420ToRGBCPUUINT8),
        i420_to_bgr_(kernels(runtime).I420ToBGRCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t YUVToColorCPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::NV21ToRGBCPUUINT8) nv21_to_rgb_;
  decltype(KernelTable::NV21ToBGRCPUUINT8) nv21_to_bgr_;
  decltype(KernelTable::NV12ToRGBCPUUINT8) nv12_to_rgb_;
  decltype(KernelTable::NV12ToBGRCPUUINT8) nv12_to_bgr_;
  decltype(KernelTable::I420ToRGBCPUUINT8) i420_to_rgb_;
  decltype(KernelTable::I420ToBGRCPUUINT8) i420_to_bgr_;
};

int32_t YUVToColorCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("YUVToColorCPUUINT8 forward");
  return YUVToColorCPUUINT8(src, dst);
}

// Converts the input's size; a larger output keeps the rest.
int32_t YUVToColorCPU::YUVToColorCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE(isOneOf(src.format, Tamix_I420, Tamix_NV12, Tamix_NV21) && isOneOf(dst.format, Tamix_BGR, Tamix_RGB),
                TAMIX_ERR_UNSUPPORTED, "Recieve unsupported format: %d", src.format);
  TAMIX_REQUIRE_ROOM(src, dst);
  // An output without a type passes before the common checks look at the input's planes.
  TAMIX_REQUIRE(src.format == Tamix_I420 || (src.width % 2 == 0 && src.height % 2 == 0), TAMIX_ERR_ILLEGAL_SHAPE,
                "recieved illegal input shape [%dx%d].", src.height, src.width);
  const bool rgb = dst.format == Tamix_RGB;
  const auto* const y = data<const uint8_t>(src);
  const auto* const uv = data<const uint8_t>(src, 1);
  auto* const out = data<uint8_t>(dst);
  if (src.format == Tamix_I420) {
    return (rgb ? i420_to_rgb_ : i420_to_bgr_)(y, uv, data<const uint8_t>(src, 2), out, src.width, src.height, src.width_stride,
                                               dst.width_stride);
  }
  const auto nv21 = rgb ? nv21_to_rgb_ : nv21_to_bgr_;
  const auto nv12 = rgb ? nv12_to_rgb_ : nv12_to_bgr_;
  return (src.format == Tamix_NV21 ? nv21 : nv12)(y, uv, out, src.width, src.height, src.width_stride, dst.width_stride);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_YUV_TO_COLOR, YUVToColorCPU, YUVToColorCPUCreator);

}  // namespace
}  // namespace tamix
