#include "inference/runtime/cpu/arm/uint8/resizenearest_cpu_uint8.h"
#include "inference/runtime/cpu/op/resize_planes.h"

namespace tamix {
namespace {

// Copies the nearest source pixel.
class ResizeNearestCPU final : public Operator {
 public:
  explicit ResizeNearestCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).resizeNearestCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::resizeNearestCPUUINT8) kernel_;
};

int32_t ResizeNearestCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  TAMIX_REQUIRE(src.format == dst.format, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output format: %d, %d",
                src.format, dst.format);
  // Float pixels do not fit an 8-bit output, which is all that is served.
  TAMIX_REQUIRE(dst.type == Tamix_UINT8 && src.type != Tamix_FLOAT32, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported data type: %d", src.type);
  TAMIX_DEBUG("resizeNearestCPUUINT8 forward");
  return resizePlanes(src, dst, kernel_, resizeNearestPairsCPUUINT8, threadNumber());
}

}  // namespace

TAMIX_REGISTER_OPERATOR(TAMIX_OP_RESIZE_NEAREST, ResizeNearestCPU, ResizeNearestCPUCreator);

}  // namespace tamix
