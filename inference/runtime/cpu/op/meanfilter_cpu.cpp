#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"

namespace tamix {
namespace {

// Averages a float image of one channel over a 3x3 or 5x5 window. The kernel reads and writes packed rows; an output that is
// not declared float gets them by way of a private plane.
class MeanFilterCPU final : public Operator {
 public:
  explicit MeanFilterCPU(Runtime* runtime)
      : Operator(runtime),
        uint8_kernel_(kernels(runtime).meanFilterCPUUINT8),
        float_kernel_(kernels(runtime).meanFilterCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t filterFloats(TamixParams& params);

  decltype(KernelTable::meanFilterCPUUINT8) uint8_kernel_;
  decltype(KernelTable::meanFilterCPUFLOAT32) float_kernel_;
};

int32_t MeanFilterCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  const int32_t kernel_size = params->kernel_size;
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE_SAME_SIZE(src, dst);
  TAMIX_REQUIRE(kernel_size != -1, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernel size: %d", kernel_size);
  TAMIX_REQUIRE_TYPE(src, Tamix_FLOAT32, Tamix_UINT8);
  if (src.type == Tamix_FLOAT32) return filterFloats(*params);
  TAMIX_DEBUG("meanFilterCPUUINT8 forward");
  return uint8_kernel_(data<const uint8_t>(src), src.height, src.width, src.width_stride, data<uint8_t>(dst), dst.height,
                       dst.width, dst.width_stride, src.channel, kernel_size, threadNumber());
}

int32_t MeanFilterCPU::filterFloats(TamixParams& params) {
  const TamixImage& src = params.input[0];
  const TamixImage& dst = params.output[0];
  TamixImage packed = dst;
  packed.width_stride = packed.width;
  const FloatResult result(packed);
  TAMIX_REQUIRE(result, TAMIX_ERR_NO_MEMORY, "failed to allocate memory for the float result");
  TAMIX_TRY(float_kernel_(data<const float>(src), src.height, src.width, src.width_stride, result.data(), dst.height, dst.width,
                          dst.width_stride, src.channel, params.kernel_size, threadNumber()));
  setConverted();
  return finishFloats(*this, params, {&result, 1});
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_MEAN_FILTER, MeanFilterCPU, MeanFilterCPUCreator);

}  // namespace
}  // namespace tamix
