#include "inference/runtime/cpu/arm/uint8/warpperspective_cpu_int8.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Warps an image through a 3x3 matrix, the record's second input: nine packed floats.
class WarpPerspectiveCPU final : public Operator {
 public:
  explicit WarpPerspectiveCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).warpPerspectiveCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::warpPerspectiveCPUUINT8) kernel_;
};

bool isRefusedFormat(int32_t format) {
  return isOneOf(format, 0, 8, 17, 18, 19, 20, 16385, 16386) || (format >= 0x1100 && format <= 0x2000);
}

int32_t WarpPerspectiveCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& matrix = params->input[1];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(src.format == dst.format, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output format: %d, %d",
                src.format, dst.format);
  TAMIX_REQUIRE(matrix.height == 3 && matrix.width == 3 && matrix.channel == 1, TAMIX_ERR_UNSUPPORTED,
                "trans_matrix illegal shape  (%d,%d,%d)", matrix.height, matrix.width, matrix.channel);
  TAMIX_REQUIRE(dst.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", matrix.type);
  // Nine bytes are no matrix, and a float image is no 8-bit source; a matrix may come in a slot without a type.
  TAMIX_REQUIRE(isOneOf(matrix.type, Tamix_UNUSED, Tamix_FLOAT32), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d",
                matrix.type);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("warpPerspectiveCPUUINT8 forward");
  TAMIX_REQUIRE(!isRefusedFormat(src.format), TAMIX_ERR_UNSUPPORTED, "warpPerspectiveCPUUINT8 dosen't support format %d",
                src.format);
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), data<const float>(matrix), src.width, src.height,
                 src.width_stride, dst.width, dst.height, dst.width_stride, src.channel,
                 params->interpolation == -1 ? TAMIX_INTERPOLATION_BILINEAR : params->interpolation,
                 params->geom_border_type == -1 ? TAMIX_BORDER_CONSTANT : params->geom_border_type,
                 params->geom_border_value_ptr, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_WARP_PERSPECTIVE, WarpPerspectiveCPU, WarpPerspectiveCPUCreator);

}  // namespace
}  // namespace tamix
