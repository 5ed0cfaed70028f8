#include "inference/runtime/cpu/op/float_result.h"
#include "inference/runtime/cpu/op/resize_planes.h"

namespace tamix {
namespace {

// Resizes with bilinear interpolation; an NV12 or NV21 image also to RGB or BGR.
class ResizeBilinearCPU final : public Operator {
 public:
  explicit ResizeBilinearCPU(Runtime* runtime)
      : Operator(runtime),
        uint8_kernel_(kernels(runtime).resizeBilinearCPUUINT8),
        float_kernel_(kernels(runtime).resizeBilinearCPUFLOAT32),
        to_rgb_kernel_(kernels(runtime).resizeBilinearNV21toRGBCPUUINT8),
        to_bgr_kernel_(kernels(runtime).resizeBilinearNV21toBGRCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t resizeBilinearCPUUINT8(const TamixImage& src, const TamixImage& dst);
  int32_t resizeBilinearCPUFLOAT32(TamixParams& params);

  decltype(KernelTable::resizeBilinearCPUUINT8) uint8_kernel_;
  decltype(KernelTable::resizeBilinearCPUFLOAT32) float_kernel_;
  decltype(KernelTable::resizeBilinearNV21toRGBCPUUINT8) to_rgb_kernel_;
  decltype(KernelTable::resizeBilinearNV21toBGRCPUUINT8) to_bgr_kernel_;
};

int32_t ResizeBilinearCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8, Tamix_FLOAT32);
  if (src.type == Tamix_FLOAT32) return resizeBilinearCPUFLOAT32(*params);
  TAMIX_DEBUG("resizeBilinearCPUUINT8 forward");
  return resizeBilinearCPUUINT8(src, dst);
}

int32_t ResizeBilinearCPU::resizeBilinearCPUUINT8(const TamixImage& src, const TamixImage& dst) {
  if (src.format == dst.format) return resizePlanes(src, dst, uint8_kernel_, uint8_kernel_, threadNumber());
  TAMIX_REQUIRE(isOneOf(src.format, Tamix_NV12, Tamix_NV21) && isOneOf(dst.format, Tamix_RGB, Tamix_BGR), TAMIX_ERR_UNSUPPORTED,
                "Recieved unsupported format conversion from %d to %d", src.format, dst.format);
  const auto kernel = dst.format == Tamix_RGB ? to_rgb_kernel_ : to_bgr_kernel_;
  return kernel(data<const uint8_t>(src), data<const uint8_t>(src, 1), src.format == Tamix_NV21 ? 1 : 0, src.height, src.width,
                src.width_stride, data<uint8_t>(dst), dst.height, dst.width, dst.width_stride, threadNumber());
}

int32_t ResizeBilinearCPU::resizeBilinearCPUFLOAT32(TamixParams& params) {
  const TamixImage& src = params.input[0];
  const TamixImage& dst = params.output[0];
  // Rows of both images have the input's channels; records that declare less memory, or that of luma planes, are refused.
  const bool has_memory = dst.type == Tamix_FLOAT32 ? dst.channel >= src.channel : dst.channel == src.channel;
  const bool has_luma_plane = isTwoPlane(src.format) || isTwoPlane(dst.format);
  const bool is_served = src.channel >= 1 && src.channel <= 4;
  TAMIX_REQUIRE(!is_served || (has_memory && (!has_luma_plane || src.channel == 1)), TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output channel: %d, %d", src.channel, dst.channel);
  const FloatResult result(dst);
  TAMIX_REQUIRE(result, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  TAMIX_TRY(float_kernel_(data<const float>(src), src.height, src.width, src.width_stride, result.data(), dst.height, dst.width,
                          result.widthStride(), src.channel));
  setConverted();
  return finishFloats(*this, params, {&result, 1});
}

}  // namespace

TAMIX_REGISTER_OPERATOR(TAMIX_OP_RESIZE_BILINEAR, ResizeBilinearCPU, ResizeBilinearCPUCreator);

}  // namespace tamix
