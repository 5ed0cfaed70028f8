#include <algorithm>

#include "inference/runtime/cpu/arm/fp32/normalization_cpu_fp32.h"
#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"
#include "inference/utils/image_format.h"

namespace tamix {
namespace {

// Writes (value - mean) / std of every channel as floats, interleaved or as planes. A float image whose output has format 0 is
// normalized in place, as if the output were the input.
class NormalizationCPU final : public Operator {
 public:
  explicit NormalizationCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).normalizationCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t normalizationCPUFLOAT32(TamixParams& params);
  int32_t normalizationCPUUINT8(TamixParams& params);
  int32_t runKernel(const float* src, float* dst, const TamixImage& in, const TamixImage& out, int32_t reorder) const;

  decltype(KernelTable::normalizationCPUFLOAT32) kernel_;
  alignas(16) float mean_[4] = {};
  alignas(16) float std_[4] = {};
};

// One setting per channel, or one for all.
void fillSettings(float (&settings)[4], int32_t channel, const float* each, float all) {
  const size_t n = static_cast<size_t>(std::clamp(channel, 0, 4));
  std::fill(std::begin(settings), std::end(settings), 0.0f);
  if (each == nullptr) {
    std::fill_n(settings, n, all);
  } else {
    std::copy_n(each, n, settings);
  }
}

int32_t NormalizationCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_SAME_CHANNEL(src, params->output[0]);
  TAMIX_REQUIRE_SAME_SIZE(src, params->output[0]);
  fillSettings(mean_, src.channel, params->mean, params->mean_value);
  fillSettings(std_, src.channel, params->std, params->std_value);
  TAMIX_REQUIRE(isOneOf(params->reorder, 0, 1), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported reorder flag: %d", params->reorder);
  TAMIX_REQUIRE_TYPE(src, Tamix_FLOAT32, Tamix_UINT8);
  if (src.type == Tamix_FLOAT32) {
    TAMIX_DEBUG("normalizationCPUFLOAT32 forward");
    return normalizationCPUFLOAT32(*params);
  }
  TAMIX_DEBUG("normalizationCPUUINT8 forward");
  return normalizationCPUUINT8(*params);
}

int32_t NormalizationCPU::runKernel(const float* src, float* dst, const TamixImage& in, const TamixImage& out,
                                    int32_t reorder) const {
  return kernel_(src, dst, in.height, in.width, in.width_stride, out.width_stride, in.channel, mean_, std_, reorder, in.format,
                 out.format, threadNumber());
}

int32_t NormalizationCPU::normalizationCPUFLOAT32(TamixParams& params) {
  const TamixImage& src = params.input[0];
  const TamixImage& dst = params.output[0];
  const bool in_place = dst.format == 0;
  TAMIX_REQUIRE(in_place || dst.type == Tamix_FLOAT32, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data format %d or type: %d",
                dst.format, dst.type);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(src);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(dst);
  const TamixImage& out = in_place ? src : dst;
  TAMIX_TRY(runKernel(data<const float>(src), data<float>(out), src, out, params.reorder));
  setConverted();
  return finishFloats(*this, params, {});
}

int32_t NormalizationCPU::normalizationCPUUINT8(TamixParams& params) {
  TamixImage& src = params.input[0];
  TamixImage& dst = params.output[0];
  const int32_t reorder = params.reorder;
  TAMIX_REQUIRE(dst.type == Tamix_FLOAT32, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data format %d or type: %d", dst.format,
                dst.type);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(src);
  if (src.channel == 3) TAMIX_REQUIRE_ONE_PLANE(dst);

  const bool runs = isNormalizable(src.height, src.width, src.width_stride, dst.width_stride, src.channel, std_);
  if (runs && src.data[0] != dst.data[0] && !(reorder == 0 && isTwoPlane(dst.format))) {
    TAMIX_DEBUG("dataUINT8ToFLOAT32 forward");
    normalizeBytes(data<const uint8_t>(src), data<float>(dst), src.height, src.width, src.channel, mean_, std_, reorder,
                   src.format, dst.format);
    setConverted();
    return TAMIX_OK;
  }
  // Otherwise through floats in the output. The input is read with the output's pitch and planes: what the kernel is going to
  // refuse is converted only where that stays inside the input.
  const bool reads_luma_as_pixels = isTwoPlane(src.format) && !isTwoPlane(dst.format) && src.channel > 1;
  if (!runs && (reorder == 1 || dst.width_stride > src.width_stride || reads_luma_as_pixels)) {
    TAMIX_DEBUG("dataUINT8ToFLOAT32 forward");
  } else {
    const int32_t status = dataTypeInputToOutput(src, Tamix_UINT8, dst, Tamix_FLOAT32, false);
    TAMIX_REQUIRE(status == TAMIX_OK, status, "failed to data type conversion in normalizationCPUUINT8");
  }
  return runKernel(data<const float>(dst), data<float>(dst), src, dst, reorder);
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_NORMALIZATION, NormalizationCPU, NormalizationCPUCreator);

}  // namespace
}  // namespace tamix
