#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Counts the non-zero bytes of a gray image into nonzero_count.
class CountNonZeroCPU final : public Operator {
 public:
  explicit CountNonZeroCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).countNonZeroCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t countNonZeroCPUUINT8(const TamixParams& params);

  decltype(KernelTable::countNonZeroCPUUINT8) kernel_;
};

int32_t CountNonZeroCPU::forward(TamixParams* params) {
  TAMIX_REQUIRE_TYPE(params->input[0], Tamix_UINT8);
  return countNonZeroCPUUINT8(*params);
}

int32_t CountNonZeroCPU::countNonZeroCPUUINT8(const TamixParams& params) {
  const TamixImage& src = params.input[0];
  TAMIX_DEBUG("countNonZeroCPUUINT8 forward");
  TAMIX_REQUIRE(src.format == Tamix_GRAY, TAMIX_ERR_UNSUPPORTED, "Recieved unsupported format %d", src.format);
  return kernel_(data<const uint8_t>(src), params.nonzero_count, src.height, src.width, src.width_stride, src.channel,
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COUNT_NON_ZERO, CountNonZeroCPU, CountNonZeroCPUCreator);

}  // namespace tamix
