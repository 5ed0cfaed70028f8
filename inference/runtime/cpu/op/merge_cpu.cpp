#include <algorithm>

#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Interleaves one-channel images.
class MergeCPU final : public Operator {
 public:
  explicit MergeCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).mergeCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::mergeCPUUINT8) kernel_;
};

int32_t MergeCPU::forward(TamixParams* params) {
  const TamixImage(&src)[4] = params->input;
  const TamixImage& dst = params->output[0];
  const int32_t planes = std::min(dst.channel, 4);
  for (int32_t i = 0; i < planes; ++i) {
    TAMIX_REQUIRE(src[i].channel == 1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: %d from image %d", src[i].channel,
                  i);
    TAMIX_REQUIRE(src[i].width == dst.width, TAMIX_ERR_UNSUPPORTED, "Recieve unequal width: %d from image %d", src[i].width, i);
    TAMIX_REQUIRE(src[i].height == dst.height, TAMIX_ERR_UNSUPPORTED, "Recieve unequal height: %d from image %d", src[i].height,
                  i);
    TAMIX_REQUIRE(src[i].width_stride == dst.width_stride, TAMIX_ERR_UNSUPPORTED,
                  "Recieve unequal width_stride: %d from image %d", src[i].width_stride, i);
    TAMIX_REQUIRE(src[i].data[0] != nullptr, TAMIX_ERR_UNSUPPORTED, "Recieve null data: %p from image %d", src[i].data[0], i);
  }
  TAMIX_REQUIRE_TYPE(dst, Tamix_UINT8);
  for (int32_t i = 0; i < planes; ++i) TAMIX_REQUIRE_TYPE(src[i], Tamix_UINT8);
  if (dst.channel == 3) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("mergeCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src[0]), data<const uint8_t>(src[1]), data<const uint8_t>(src[2]),
                 data<const uint8_t>(src[3]), dst.height, dst.width, dst.width_stride, data<uint8_t>(dst), dst.channel,
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_MERGE, MergeCPU, MergeCPUCreator);

}  // namespace tamix
