#include "inference/runtime/cpu/op/resize_planes.h"

namespace tamix {
namespace {

// Shrinks by averaging; enlarges with bilinear interpolation.
class ResizeAreaCPU final : public Operator {
 public:
  explicit ResizeAreaCPU(Runtime* runtime)
      : Operator(runtime),
        uint8_kernel_(kernels(runtime).resizeAreaCPUUINT8),
        float_kernel_(kernels(runtime).resizeAreaCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  static int32_t resizeAreaCPUFLOAT32(const TamixImage& src);

  decltype(KernelTable::resizeAreaCPUUINT8) uint8_kernel_;
  // Float images are refused; the guided filter uses this kernel.
  [[maybe_unused]] decltype(KernelTable::resizeAreaCPUFLOAT32) float_kernel_;
};

int32_t ResizeAreaCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, dst);
  if (src.type == Tamix_FLOAT32) return resizeAreaCPUFLOAT32(src);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("resizeAreaCPUUINT8 forward");
  return resizePlanes(src, dst, uint8_kernel_, uint8_kernel_, threadNumber());
}

int32_t ResizeAreaCPU::resizeAreaCPUFLOAT32(const TamixImage& src) {
  TAMIX_ERROR("Recieve unsupported data type: %d", src.type);
  return TAMIX_ERR_UNSUPPORTED;
}

}  // namespace

TAMIX_REGISTER_OPERATOR(TAMIX_OP_RESIZE_AREA, ResizeAreaCPU, ResizeAreaCPUCreator);

}  // namespace tamix
