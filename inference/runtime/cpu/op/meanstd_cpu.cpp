#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Writes the mean and the standard deviation of every channel to mean_out and std_out.
class MeanSTDCPU final : public Operator {
 public:
  explicit MeanSTDCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).meanSTDCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t meanSTDCPUUINT8(const TamixParams& params) const;

  decltype(KernelTable::meanSTDCPUUINT8) kernel_;
};

int32_t MeanSTDCPU::forward(TamixParams* params) {
  TAMIX_REQUIRE_TYPE(params->input[0], Tamix_UINT8);
  TAMIX_DEBUG("meanSTDCPUUINT8 forward");
  return meanSTDCPUUINT8(*params);
}

int32_t MeanSTDCPU::meanSTDCPUUINT8(const TamixParams& params) const {
  const TamixImage& src = params.input[0];
  TAMIX_REQUIRE(!anyNull(params.mean_out, params.std_out), TAMIX_ERR_INVALID_IMAGE, "recieved null mean or std");
  if (src.channel != 2) TAMIX_REQUIRE_ONE_PLANE(src);  // the kernel refuses two channels
  return kernel_(data<const uint8_t>(src), src.width, src.height, src.width_stride, src.channel, params.mean_out,
                 params.std_out, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_MEAN_STD, MeanSTDCPU, MeanSTDCPUCreator);

}  // namespace
}  // namespace tamix
