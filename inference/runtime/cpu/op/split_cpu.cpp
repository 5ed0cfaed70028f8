#include <algorithm>

#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"

namespace tamix {

// Separates the channels of an image.
class SplitCPU final : public Operator {
 public:
  explicit SplitCPU(Runtime* runtime)
      : Operator(runtime), kernel_uint8_(kernels(runtime).splitCPUUINT8), kernel_float32_(kernels(runtime).splitCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::splitCPUUINT8) kernel_uint8_;
  decltype(KernelTable::splitCPUFLOAT32) kernel_float32_;
};

int32_t SplitCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage(&dst)[4] = params->output;
  for (int32_t i = 0; i < std::min(src.channel, 4); ++i) {
    TAMIX_REQUIRE(dst[i].channel == 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d from image %d", dst[i].channel,
                  i);
    TAMIX_REQUIRE(dst[i].width == src.width, TAMIX_ERR_UNSUPPORTED, "Recieve unequal width: %d from image %d", dst[i].width, i);
    TAMIX_REQUIRE(dst[i].height == src.height, TAMIX_ERR_UNSUPPORTED, "Recieve unequal height: %d from image %d", dst[i].height,
                  i);
    TAMIX_REQUIRE(dst[i].width_stride == src.width_stride, TAMIX_ERR_UNSUPPORTED,
                  "Recieve unequal width_stride: %d from image %d", dst[i].width_stride, i);
    TAMIX_REQUIRE(dst[i].data[0] != nullptr, TAMIX_ERR_UNSUPPORTED, "Recieve null data: %p from image %d", dst[i].data[0], i);
  }
  TAMIX_REQUIRE(isOneOf(src.type, Tamix_UINT8, Tamix_FLOAT32), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d",
                dst[0].type);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(src);
  if (src.type == Tamix_UINT8) {
    TAMIX_DEBUG("splitCPUUINT8 forward");
    return kernel_uint8_(data<const uint8_t>(src), src.height, src.width, src.width_stride, data<uint8_t>(dst[0]),
                         data<uint8_t>(dst[1]), data<uint8_t>(dst[2]), data<uint8_t>(dst[3]), dst[0].width_stride, src.channel,
                         threadNumber());
  }
  TAMIX_DEBUG("splitCPUFLOAT32 forward");
  const FloatResult planes[3] = {FloatResult(dst[0]), FloatResult(dst[1]), FloatResult(dst[2])};
  TAMIX_REQUIRE(planes[0] && planes[1] && planes[2], TAMIX_ERR_NO_MEMORY, "failed to memory allocation for splitCPUFLOAT32");
  TAMIX_TRY(kernel_float32_(data<const float>(src), src.height, src.width, src.width_stride, planes[0].data(), planes[1].data(),
                            planes[2].data(), data<float>(dst[3]), dst[0].width_stride, src.channel, threadNumber()));
  setConverted();
  return finishFloats(*this, *params, planes);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_SPLIT, SplitCPU, SplitCPUCreator);

}  // namespace tamix
