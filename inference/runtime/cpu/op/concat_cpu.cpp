#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Joins up to four images side by side or one below the other.
class ConcatCPU final : public Operator {
 public:
  explicit ConcatCPU(Runtime* runtime)
      : Operator(runtime),
        side_by_side_(kernels(runtime).vconcatCPUUINT8),
        one_below_the_other_(kernels(runtime).hconcatCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::vconcatCPUUINT8) side_by_side_;
  decltype(KernelTable::hconcatCPUUINT8) one_below_the_other_;
};

int32_t ConcatCPU::forward(TamixParams* params) {
  const TamixImage(&src)[4] = params->input;
  const TamixImage& dst = params->output[0];
  int32_t count = 0;
  while (count < 4 && src[count].format != 0 && src[count].data[0] != nullptr) ++count;

  for (int32_t i = 0; i < count; ++i) {
    TAMIX_REQUIRE(src[i].format == dst.format && src[i].channel == dst.channel, TAMIX_ERR_UNSUPPORTED,
                  "Recieve unequal format %d and channel %d from image %d", src[i].format, src[i].channel, i);
  }
  TAMIX_REQUIRE(isOneOf(params->op_mode, 0, 1), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported concat flag: %d", params->op_mode);
  const bool beside = params->op_mode == 0;
  for (int32_t i = 0; i < count; ++i) {
    TAMIX_REQUIRE(!beside || src[i].height == dst.height, TAMIX_ERR_UNSUPPORTED, "Recieve unequal height: %d from image %d",
                  src[i].height, i);
    TAMIX_REQUIRE(beside || src[i].width == dst.width, TAMIX_ERR_UNSUPPORTED, "Recieve unequal width: %d from image %d",
                  src[i].width, i);
  }
  TAMIX_REQUIRE_TYPE(dst, Tamix_UINT8);
  TAMIX_REQUIRE_NO_FLOAT(src[0]);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("concatCPUUINT8 forward");
  if (beside) {
    return side_by_side_(data<const uint8_t>(src[0]), src[0].width, data<const uint8_t>(src[1]), src[1].width,
                         data<const uint8_t>(src[2]), src[2].width, data<const uint8_t>(src[3]), src[3].width, dst.height,
                         data<uint8_t>(dst), dst.height, dst.width, dst.channel, count, threadNumber());
  }
  return one_below_the_other_(data<const uint8_t>(src[0]), src[0].height, data<const uint8_t>(src[1]), src[1].height,
                              data<const uint8_t>(src[2]), src[2].height, data<const uint8_t>(src[3]), src[3].height, dst.width,
                              data<uint8_t>(dst), dst.height, dst.width, dst.channel, count, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_CONCAT, ConcatCPU, ConcatCPUCreator);

}  // namespace tamix
