#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Adds a fourth channel of zeros; the channels keep their order, whatever the formats say.
class Color3ToColor4CPU final : public Operator {
 public:
  explicit Color3ToColor4CPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).color3ToColor4CPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t color3ToColor4CPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::color3ToColor4CPUUINT8) kernel_;
};

int32_t Color3ToColor4CPU::color3ToColor4CPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE_STRIDES(src, dst);
  TAMIX_REQUIRE_PACKED(src);
  TAMIX_REQUIRE_PACKED(dst);
  TAMIX_REQUIRE_ROOM(src, dst);
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 threadNumber());
}

int32_t Color3ToColor4CPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("color3ToColor4CPUUINT8 forward");
  return color3ToColor4CPUUINT8(src, params->output[0]);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR3_TO_COLOR4, Color3ToColor4CPU, Color3ToColor4CPUCreator);

}  // namespace
}  // namespace tamix
