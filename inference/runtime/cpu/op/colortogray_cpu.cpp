#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// RGB, BGR, RGBA or BGRA to gray.
class ColorToGrayCPU final : public Operator {
 public:
  explicit ColorToGrayCPU(Runtime* runtime)
      : Operator(runtime),
        color3_to_gray_(kernels(runtime).color3ToGRAYCPUUINT8),
        color4_to_gray_(kernels(runtime).color4ToGRAYCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t ColorToGrayCPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::color3ToGRAYCPUUINT8) color3_to_gray_;
  decltype(KernelTable::color4ToGRAYCPUUINT8) color4_to_gray_;
};

int32_t ColorToGrayCPU::ColorToGrayCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE(dst.format == Tamix_GRAY, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported dst format: %d", dst.format);
  TAMIX_REQUIRE(isOneOf(src.format, Tamix_BGR, Tamix_RGB, Tamix_BGRA, Tamix_RGBA), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported src format: %d", src.format);
  const bool has_alpha = isOneOf(src.format, Tamix_BGRA, Tamix_RGBA);
  const int32_t red_index = isOneOf(src.format, Tamix_BGR, Tamix_BGRA) ? 2 : 0;
  const auto kernel = has_alpha ? color4_to_gray_ : color3_to_gray_;
  return kernel(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.width_stride, dst.width_stride,
                red_index, threadNumber());
}

int32_t ColorToGrayCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_REQUIRE(dst.channel == 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported output channel: %d", dst.channel);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("ColorToGrayCPUUINT8 forward");
  return ColorToGrayCPUUINT8(src, dst);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR_TO_GRAY, ColorToGrayCPU, ColortoGrayCPUCreator);

}  // namespace
}  // namespace tamix
