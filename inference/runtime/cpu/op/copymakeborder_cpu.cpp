#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Surrounds an image with a border.
class CopyMakeBorderCPU final : public Operator {
 public:
  explicit CopyMakeBorderCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).copyMakeBorderCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::copyMakeBorderCPUUINT8) kernel_;
};

int32_t CopyMakeBorderCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  const auto [top, bottom, left, right] = params->border_params;
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(dst.width == int64_t{left} + src.width + right && dst.height == int64_t{top} + src.height + bottom,
                TAMIX_ERR_UNSUPPORTED, "Recieve unsupported output shape: %d, %d", dst.height, dst.width);
  const int32_t type = params->geom_border_type == -1 ? TAMIX_BORDER_REFLECT_101 : params->geom_border_type;
  const int32_t value = params->geom_border_value == -1 ? 0 : params->geom_border_value;
  TAMIX_DEBUG("CopyMakeBorder params: border type: %d, border value: %d, top: %d, bottom: %d, left: %d, right: %d", type, value,
              top, bottom, left, right);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("copyMakeBorderCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, top, bottom, left, right, type, value, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COPY_MAKE_BORDER, CopyMakeBorderCPU, CopyMakeBorderCPUCreator);

}  // namespace tamix
