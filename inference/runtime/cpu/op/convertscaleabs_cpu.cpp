#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"

namespace tamix {

// |value * scale + offset| of bytes, value * scale + offset of floats.
class ConvertScaleAbsCPU final : public Operator {
 public:
  explicit ConvertScaleAbsCPU(Runtime* runtime)
      : Operator(runtime),
        uint8_(kernels(runtime).convertScaleAbsCPUUINT8),
        float32_(kernels(runtime).convertScaleAbsCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::convertScaleAbsCPUUINT8) uint8_;
  decltype(KernelTable::convertScaleAbsCPUFLOAT32) float32_;
};

int32_t ConvertScaleAbsCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_DEBUG("Recieve scale %f and offset %f", params->abs_scale, params->offset);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8, Tamix_FLOAT32);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  if (src.type == Tamix_UINT8) {
    TAMIX_DEBUG("convertScaleAbsCPUUINT8 forward");
    return uint8_(data<const uint8_t>(src), src.height, src.width, src.width_stride, data<uint8_t>(dst), dst.height, dst.width,
                  dst.width_stride, params->abs_scale, params->offset, src.channel, threadNumber());
  }
  const FloatResult result(dst);
  TAMIX_REQUIRE(result, TAMIX_ERR_NO_MEMORY, "failed to allocate memory for the float result");
  TAMIX_TRY(float32_(data<const float>(src), src.height, src.width, src.width_stride, result.data(), dst.height, dst.width,
                     result.widthStride(), params->abs_scale, params->offset, src.channel, threadNumber()));
  setConverted();
  return finishFloats(*this, *params, {&result, 1});
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_CONVERT_SCALE_ABS, ConvertScaleAbsCPU, ConvertScaleAbsCPUCreator);

}  // namespace tamix
