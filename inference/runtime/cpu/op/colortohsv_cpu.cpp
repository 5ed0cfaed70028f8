#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// RGBA or BGRA to HSV. Unusable when its tables cannot be allocated.
class ColorToHSVCPU final : public Operator {
 public:
  explicit ColorToHSVCPU(Runtime* runtime)
      : Operator(runtime),
        rgba_to_hsv_(kernels(runtime).RGBAToHSVCPUUINT8),
        bgra_to_hsv_(kernels(runtime).BGRAToHSVCPUUINT8),
        saturation_(std::tuple_size_v<HSVTable>),
        hue_(std::tuple_size_v<HSVTable>) {
    if (!isComplete()) {
      TAMIX_ERROR("failed to allocate memory");
      return;
    }
    buildSaturationTable(saturation_.data());
    buildHueTable(hue_.data());
  }
  bool isComplete() const { return saturation_ && hue_; }
  int32_t forward(TamixParams* params) override;

 private:
  int32_t colorToHSVCPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::RGBAToHSVCPUUINT8) rgba_to_hsv_;
  decltype(KernelTable::BGRAToHSVCPUUINT8) bgra_to_hsv_;
  ScratchBuffer<int32_t> saturation_;
  ScratchBuffer<int32_t> hue_;
};

int32_t ColorToHSVCPU::colorToHSVCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE(isOneOf(src.format, Tamix_RGBA, Tamix_BGRA), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported format: %d",
                src.format);
  // Other strides are refused by the kernel.
  if (src.width_stride == src.width && dst.width_stride == src.width) {
    TAMIX_REQUIRE_PACKED(dst);
    TAMIX_REQUIRE_ROOM(src, dst);
  }
  const auto kernel = src.format == Tamix_RGBA ? rgba_to_hsv_ : bgra_to_hsv_;
  return kernel(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.width_stride, dst.width_stride,
                saturation_.data(), hue_.data(), threadNumber());
}

int32_t ColorToHSVCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("ColorToHSVCPUUINT8 forward");
  return colorToHSVCPUUINT8(src, params->output[0]);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR_TO_HSV, ColorToHSVCPU, ColorToHSVCPUCreator);

}  // namespace
}  // namespace tamix
