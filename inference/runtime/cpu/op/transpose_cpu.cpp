#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Exchanges the rows and columns of an image.
class TransposeCPU final : public Operator {
 public:
  explicit TransposeCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).transposeCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::transposeCPUUINT8) kernel_;
};

int32_t TransposeCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(dst.height == src.width && dst.width == src.height, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output shape: (%d, %d) and (%d, %d)", src.height, src.width, dst.height,
                dst.width);
  TAMIX_REQUIRE_TYPE(dst, Tamix_UINT8);
  TAMIX_REQUIRE_NO_FLOAT(src);
  // The kernel refuses two channels itself.
  if (src.channel > 2) TAMIX_REQUIRE_ONE_PLANE(src);
  if (dst.channel > 2) TAMIX_REQUIRE_ONE_PLANE(dst);
  TAMIX_DEBUG("transposeCPUUINT8 forward");
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.height, src.width, src.width_stride, dst.width_stride,
                 src.channel, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_TRANSPOSE, TransposeCPU, TransposeCPUCreator);

}  // namespace tamix
