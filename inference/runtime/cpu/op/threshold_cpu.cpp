#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Maps every byte through one of five threshold rules; the threshold is given, or found from the histogram.
class ThresholdCPU final : public Operator {
 public:
  explicit ThresholdCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).thresholdCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::thresholdCPUUINT8) kernel_;
};

int32_t ThresholdCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE(src.channel == dst.channel, TAMIX_ERR_UNSUPPORTED,
                "ThresholdCPU dosen't support input channel %d, output channel %d\n", src.channel, dst.channel);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_REQUIRE_ONE_PLANE(src);
  TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("ThresholdCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, src.channel, src.width_stride,
                 dst.width_stride, params->thresh, params->thresh_type, threadNumber(), params->maxval);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_THRESHOLD, ThresholdCPU, ThresholdCPUCreator);

}  // namespace
}  // namespace tamix
