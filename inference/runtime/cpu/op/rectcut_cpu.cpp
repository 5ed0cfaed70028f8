#include <algorithm>

#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"

namespace tamix {

// Copies a rectangle of an image.
class RectCutCPU final : public Operator {
 public:
  explicit RectCutCPU(Runtime* runtime)
      : Operator(runtime),
        kernel_uint8_(kernels(runtime).rectCutCPUUINT8),
        kernel_float32_(kernels(runtime).rectCutCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::rectCutCPUUINT8) kernel_uint8_;
  decltype(KernelTable::rectCutCPUFLOAT32) kernel_float32_;
};

int32_t RectCutCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  const auto [top, bottom, left, right] = params->border_params;
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(std::min({top, bottom, left, right}) >= 0, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported border params: %d, %d, %d, %d", top, bottom, left, right);
  TAMIX_REQUIRE(bottom > top && right > left && bottom <= src.height && right <= src.width, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported border params: %d, %d", bottom, right);
  TAMIX_REQUIRE(dst.height == bottom - top && dst.width == right - left, TAMIX_ERR_UNSUPPORTED,
                "Recieve border params: %d, %d, %d, %d not match the output image shape %d, %d", top, bottom, left, right,
                dst.height, dst.width);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8, Tamix_FLOAT32);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  if (src.type == Tamix_UINT8) {
    TAMIX_DEBUG("rectCutCPUUINT8 forward");
    return kernel_uint8_(data<const uint8_t>(src), src.height, src.width, src.width_stride, data<uint8_t>(dst), dst.height,
                         dst.width, dst.width_stride, dst.channel, left, top, right - left, bottom - top, threadNumber());
  }
  const FloatResult result(dst);
  TAMIX_REQUIRE(result, TAMIX_ERR_NO_MEMORY, "failed to memory allocation for rectCutCPUFLOAT32");
  setConverted();
  TAMIX_TRY(kernel_float32_(data<const float>(src), src.height, src.width, src.width_stride, result.data(), dst.height,
                            dst.width, result.widthStride(), dst.channel, left, top, right - left, bottom - top,
                            threadNumber()));
  return finishFloats(*this, *params, {&result, 1});
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_RECT_CUT, RectCutCPU, RectCutCPUCreator);

}  // namespace tamix
