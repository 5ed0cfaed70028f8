// How each exported kernel is called with a record's images and settings.
#include "tamix/kernels.h"
#include "tests/hostile/hostile_record.h"

namespace tamix::test {
namespace {

uint8_t* plane(const TamixImage& image, int32_t k = 0) { return static_cast<uint8_t*>(image.data[k]); }

template <auto kKernel>
int32_t pairsToColors(const TamixParams& p, int32_t /*num_threads*/) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return kKernel(plane(in), plane(in, 1), plane(out), in.width, in.height, in.width_stride, out.width_stride);
}

template <auto kKernel>
int32_t planesToColors(const TamixParams& p, int32_t /*num_threads*/) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return kKernel(plane(in), plane(in, 1), plane(in, 2), plane(out), in.width, in.height, in.width_stride, out.width_stride);
}

template <auto kKernel>
int32_t colorsToPairs(const TamixParams& p, int32_t /*num_threads*/) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return kKernel(plane(in), plane(out), plane(out, 1), in.width, in.height, in.width_stride, out.width_stride);
}

template <auto kKernel>
int32_t resizePairs(const TamixParams& p, int32_t num_threads) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return kKernel(plane(in), plane(in, 1), p.op_mode, in.height, in.width, in.width_stride, plane(out), out.height, out.width,
                 out.width_stride, num_threads);
}

template <auto kKernel>
int32_t resize(const TamixParams& p, int32_t num_threads) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return kKernel(plane(in), in.height, in.width, in.width_stride, plane(out), out.height, out.width, out.width_stride,
                 out.channel, num_threads);
}

int32_t gaussian(const TamixParams& p, int32_t num_threads) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return gaussianFilterCPUUINT8(plane(in), plane(out), in.height, in.width, in.width_stride, out.width_stride, in.channel,
                                p.kernel_height, p.kernel_width, reinterpret_cast<const float*>(p.kernel), p.border_type,
                                p.border_value, num_threads, static_cast<float>(p.scale));
}

int32_t mean(const TamixParams& p, int32_t num_threads) {
  const TamixImage& in = p.input[0];
  const TamixImage& out = p.output[0];
  return meanFilterCPUUINT8(plane(in), in.height, in.width, in.width_stride, plane(out), out.height, out.width,
                            out.width_stride, in.channel, p.kernel_size, num_threads);
}

int32_t guided(const TamixParams& p, int32_t num_threads) {
  const TamixImage& guide = p.input[0];
  const TamixImage& src = p.input[1];
  const TamixImage& out = p.output[0];
  return guidedFilterCPUUINT8(plane(guide), guide.height, guide.width, guide.width_stride, plane(src), src.height, src.width,
                              src.width_stride, plane(out), out.height, out.width, out.width_stride, guide.channel,
                              p.kernel_size, num_threads);
}

}  // namespace

const std::array<ExportedKernel, 17> kExportedKernels = {{
    {"NV21ToRGBCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_NV21, false, pairsToColors<NV21ToRGBCPUUINT8>},
    {"NV21ToBGRCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_NV21, false, pairsToColors<NV21ToBGRCPUUINT8>},
    {"NV12ToRGBCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_NV12, false, pairsToColors<NV12ToRGBCPUUINT8>},
    {"NV12ToBGRCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_NV12, false, pairsToColors<NV12ToBGRCPUUINT8>},
    {"I420ToRGBCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_I420, false, planesToColors<I420ToRGBCPUUINT8>},
    {"I420ToBGRCPUUINT8", TAMIX_OP_YUV_TO_COLOR, Tamix_I420, false, planesToColors<I420ToBGRCPUUINT8>},
    {"RGBToNV12CPUUINT8", TAMIX_OP_COLOR_TO_YUV, Tamix_NV12, false, colorsToPairs<RGBToNV12CPUUINT8>},
    {"BGRToNV12CPUUINT8", TAMIX_OP_COLOR_TO_YUV, Tamix_NV12, false, colorsToPairs<BGRToNV12CPUUINT8>},
    {"RGBToNV21CPUUINT8", TAMIX_OP_COLOR_TO_YUV, Tamix_NV21, false, colorsToPairs<RGBToNV21CPUUINT8>},
    {"BGRToNV21CPUUINT8", TAMIX_OP_COLOR_TO_YUV, Tamix_NV21, false, colorsToPairs<BGRToNV21CPUUINT8>},
    {"resizeBilinearNV21toRGBCPUUINT8", TAMIX_OP_RESIZE_BILINEAR, Tamix_NV21, true,
     resizePairs<resizeBilinearNV21toRGBCPUUINT8>},
    {"resizeBilinearNV21toBGRCPUUINT8", TAMIX_OP_RESIZE_BILINEAR, Tamix_NV21, true,
     resizePairs<resizeBilinearNV21toBGRCPUUINT8>},
    {"resizeBilinearCPUUINT8", TAMIX_OP_RESIZE_BILINEAR, 0, true, resize<resizeBilinearCPUUINT8>},
    {"resizeAreaCPUUINT8", TAMIX_OP_RESIZE_AREA, 0, true, resize<resizeAreaCPUUINT8>},
    {"gaussianFilterCPUUINT8", TAMIX_OP_GAUSSIAN_FILTER, 0, true, gaussian},
    {"meanFilterCPUUINT8", TAMIX_OP_MEAN_FILTER, 0, false, mean},
    {"guidedFilterCPUUINT8", TAMIX_OP_GUIDED_FILTER, 0, true, guided},
}};

}  // namespace tamix::test
