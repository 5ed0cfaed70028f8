#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Lab to RGB. A Lab image's channel must be stated: its format alone stands for one channel.
class LabToColorCPU final : public Operator {
 public:
  explicit LabToColorCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).LABToRGBCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t LabToColorCPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::LABToRGBCPUUINT8) kernel_;
};

int32_t LabToColorCPU::LabToColorCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE(src.format == Tamix_LAB, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported src format: %d", src.format);
  TAMIX_REQUIRE(dst.format == Tamix_RGB, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported dst format: %d", dst.format);
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.width_stride, dst.width_stride, 3,
                 threadNumber());
}

int32_t LabToColorCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("LabToColorCPUUINT8 forward");
  return LabToColorCPUUINT8(src, dst);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_LAB_TO_COLOR, LabToColorCPU, LabToColorCPUCreator);

}  // namespace
}  // namespace tamix
