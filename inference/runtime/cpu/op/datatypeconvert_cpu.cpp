#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/utils/image_format.h"

namespace tamix {

// Converts an image between bytes and floats.
class DataTypeConvertCPU final : public Operator {
 public:
  explicit DataTypeConvertCPU(Runtime* runtime) : Operator(runtime) {}
  int32_t forward(TamixParams* params) override;
};

int32_t DataTypeConvertCPU::forward(TamixParams* params) {
  TamixImage& src = params->input[0];
  TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  // Other pairs of types are refused by the conversion.
  const bool is_served = isOneOf(src.type, Tamix_UINT8, Tamix_FLOAT32) && dst.type == Tamix_UINT8 + Tamix_FLOAT32 - src.type;
  // The source is read with the destination's pitch.
  TAMIX_REQUIRE(!is_served || src.width_stride >= dst.width_stride || src.height <= 1, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output stride: %d, %d", src.width_stride, dst.width_stride);
  // The destination's format says how many planes there are; the source must have them.
  const bool has_planes = (isTwoPlane(src.format) || !isTwoPlane(dst.format)) && hasThreePlanes(src) == hasThreePlanes(dst);
  TAMIX_REQUIRE(!is_served || (has_planes && (isOnePlane(src) || !isOnePlane(dst))), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output format: %d, %d", src.format, dst.format);
  const int32_t status = dataTypeInputToOutput(src, static_cast<TamixDataType>(src.type), dst,
                                               static_cast<TamixDataType>(dst.type), /*force_copy=*/false);
  setConverted();
  return status;
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_DATA_TYPE_CONVERT, DataTypeConvertCPU, DataTypeConvertCPUCreator);

}  // namespace tamix
