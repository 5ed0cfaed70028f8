#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Smooths p (input 1) under the guidance of a full-size image (input 0).
class GuidedFilterCPU final : public Operator {
 public:
  explicit GuidedFilterCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).guidedFilterCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t guidedFilterCPUUINT8(TamixParams* params);

  decltype(KernelTable::guidedFilterCPUUINT8) kernel_;
};

int32_t GuidedFilterCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  TAMIX_REQUIRE_SAME_SIZE(src, params->output[0]);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("guidedFilterCPUUINT8 forward");
  return guidedFilterCPUUINT8(params);
}

int32_t GuidedFilterCPU::guidedFilterCPUUINT8(TamixParams* params) {
  const TamixImage& guide = params->input[0];
  const TamixImage& p = params->input[1];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_SAME_CHANNEL(guide, dst);
  TAMIX_REQUIRE(guide.format == dst.format, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output format: %d, %d",
                guide.format, dst.format);
  TAMIX_REQUIRE(guide.channel == 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input channel: %d", guide.channel);
  TAMIX_REQUIRE(params->kernel_size == -1 || params->kernel_size == 5, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported kernel size: %d", params->kernel_size);
  // A used input 1 of another layout would be read beyond its end; an unused one has no data, which the kernel refuses.
  TAMIX_REQUIRE(p.data[0] == nullptr || p.channel == 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input channel: %d",
                p.channel);
  TAMIX_REQUIRE(p.data[0] == nullptr || p.type == Tamix_UINT8, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d",
                p.type);
  return kernel_(data<const uint8_t>(guide), guide.height, guide.width, guide.width_stride, data<const uint8_t>(p), p.height,
                 p.width, p.width_stride, data<uint8_t>(dst), dst.height, dst.width, dst.width_stride, 3, 5, threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_GUIDED_FILTER, GuidedFilterCPU, GuidedFilterCPUCreator);

}  // namespace
}  // namespace tamix
