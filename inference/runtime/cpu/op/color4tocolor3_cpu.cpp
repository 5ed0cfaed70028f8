#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Drops the fourth channel; red and blue change places where the formats' orders differ.
class Color4ToColor3CPU final : public Operator {
 public:
  explicit Color4ToColor3CPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).color4ToColor3CPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t color4ToColor3CPUUINT8(const TamixImage& src, const TamixImage& dst) const;

  decltype(KernelTable::color4ToColor3CPUUINT8) kernel_;
};

int32_t Color4ToColor3CPU::color4ToColor3CPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  TAMIX_REQUIRE_STRIDES(src, dst);
  TAMIX_REQUIRE(isOneOf(src.format, Tamix_RGBA, Tamix_BGRA) && isOneOf(dst.format, Tamix_RGB, Tamix_BGR), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported format: %d %d", src.format, dst.format);
  TAMIX_REQUIRE_ROOM(src, dst);
  const int32_t src_red_index = src.format == Tamix_RGBA ? 0 : 2;
  const int32_t dst_red_index = dst.format == Tamix_RGB ? 0 : 2;
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src_red_index, dst_red_index, threadNumber());
}

int32_t Color4ToColor3CPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("color4ToColor3CPUUINT8 forward");
  return color4ToColor3CPUUINT8(src, params->output[0]);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR4_TO_COLOR3, Color4ToColor3CPU, Color4ToColor3CPUCreator);

}  // namespace
}  // namespace tamix
