#include "inference/runtime/cpu/op/cpu_operator.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

// RGB or BGR to NV12 or NV21, full range.
class ColorToYUVCPU final : public Operator {
 public:
  explicit ColorToYUVCPU(Runtime* runtime)
      : Operator(runtime),
        rgb_to_nv21_(kernels(runtime).RGBToNV21CPUUINT8),
        bgr_to_nv21_(kernels(runtime).BGRToNV21CPUUINT8),
        rgb_to_nv12_(kernels(runtime).RGBToNV12CPUUINT8),
        bgr_to_nv12_(kernels(runtime).BGRToNV12CPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  using Kernel = decltype(KernelTable::RGBToNV21CPUUINT8);

  int32_t colorToYUVCPUUINT8(const TamixImage& src, const TamixImage& dst) const;
  // Null for a pair of formats that is not supported.
  Kernel kernelOf(int32_t src_format, int32_t dst_format) const;

  Kernel rgb_to_nv21_;
  Kernel bgr_to_nv21_;
  Kernel rgb_to_nv12_;
  Kernel bgr_to_nv12_;
};

// The last row of an odd height is not converted; an odd width ends in a whole chroma pair.
bool holdsFrameOf(const TamixImage& dst, const TamixImage& src) {
  const int32_t pairs = src.height / 2;
  const int32_t chroma_width = src.width < INT32_MAX ? src.width + src.width % 2 : src.width;
  return holdsRows(dst, 2 * pairs, src.width) && holdsPairs(dst, pairs, chroma_width);
}

ColorToYUVCPU::Kernel ColorToYUVCPU::kernelOf(int32_t src_format, int32_t dst_format) const {
  if (src_format == Tamix_BGR && dst_format == Tamix_NV12) return bgr_to_nv12_;
  if (src_format == Tamix_BGR && dst_format == Tamix_NV21) return bgr_to_nv21_;
  if (src_format == Tamix_RGB && dst_format == Tamix_NV12) return rgb_to_nv12_;
  if (src_format == Tamix_RGB && dst_format == Tamix_NV21) return rgb_to_nv21_;
  return nullptr;
}

int32_t ColorToYUVCPU::colorToYUVCPUUINT8(const TamixImage& src, const TamixImage& dst) const {
  const Kernel kernel = kernelOf(src.format, dst.format);
  TAMIX_REQUIRE(kernel != nullptr, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported format: %d", src.format);
  TAMIX_REQUIRE_FITTING(holdsFrameOf(dst, src), src, dst);
  return kernel(data<const uint8_t>(src), data<uint8_t>(dst), data<uint8_t>(dst, 1), src.width, src.height, src.width_stride,
                dst.width_stride);
}

int32_t ColorToYUVCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("ColorToYUVCPUUINT8 forward");
  return colorToYUVCPUUINT8(src, params->output[0]);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_COLOR_TO_YUV, ColorToYUVCPU, ColorToYUVCPUCreator);

}  // namespace
}  // namespace tamix
