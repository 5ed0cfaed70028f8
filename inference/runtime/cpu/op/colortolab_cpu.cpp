#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// RGB to Lab. A Lab pixel has three bytes, whatever the output's channel says.
class ColorToLabCPU final : public Operator {
 public:
  explicit ColorToLabCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).RGBToLABCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t ColorToLabCPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::RGBToLABCPUUINT8) kernel_;
};

int32_t ColorToLabCPU::ColorToLabCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE(dst.format == Tamix_LAB, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported dst format: %d", dst.format);
  TAMIX_REQUIRE(src.format == Tamix_RGB, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported src format: %d", src.format);
  TAMIX_REQUIRE_ROOM(src, dst);
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.width_stride, dst.width_stride, 3,
                 threadNumber());
}

int32_t ColorToLabCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("ColorToLabCPUUINT8 forward");
  return ColorToLabCPUUINT8(src, params->output[0]);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR_TO_LAB, ColorToLabCPU, ColorToLabCPUCreator);

}  // namespace
}  // namespace tamix
