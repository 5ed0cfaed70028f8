#include <cstring>
#include <numeric>

#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {
namespace {

// Counts pixels into a histogram of up to four dimensions. The output's plane receives one 32-bit value a bin, unsigned, or
// float where the output is declared so.
class CalcHistCPU final : public Operator {
 public:
  explicit CalcHistCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).calcHistCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::calcHistCPUUINT8) kernel_;
};

// Counts to floats, in place.
void toFloats(uint32_t* counts, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    const auto value = static_cast<float>(counts[i]);
    std::memcpy(&counts[i], &value, sizeof(value));
  }
}

int32_t CalcHistCPU::forward(TamixParams* params) {
  constexpr int32_t kMostDims = 4;
  const TamixImage& src = params->input[0];
  const TamixImage& dst = params->output[0];
  const int32_t dims = params->hist_dims;
  TAMIX_REQUIRE(dims >= 0 && dims <= kMostDims, TAMIX_ERR_INVALID_IMAGE, "Recieve unsupported hist_dims %d", dims);
  if (dims == src.channel) std::iota(params->hist_channels, params->hist_channels + dims, 0);
  for (int32_t i = 0; i < dims; ++i) {
    TAMIX_REQUIRE(params->hist_channels[i] >= 0 && params->hist_channels[i] < src.channel, TAMIX_ERR_INVALID_IMAGE,
                  "Recieve unsupported channel %d from index %d", params->hist_channels[i], i);
    TAMIX_REQUIRE(params->hist_size[i] > 0, TAMIX_ERR_INVALID_IMAGE, "Recieve unsupported hist_size %d from index %d",
                  params->hist_size[i], i);
    TAMIX_REQUIRE(params->hrange_min[i] < params->hrange_max[i], TAMIX_ERR_INVALID_IMAGE,
                  "Recieve unsupported hrange_min %d and hrange_max %d from index %d", params->hrange_min[i],
                  params->hrange_max[i], i);
  }
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_REQUIRE_ONE_PLANE(src);

  TAMIX_DEBUG("calcHistCPUUINT8 forward");
  const int32_t status =
      kernel_(data<const uint8_t>(src), data<uint32_t>(dst), src.height, src.width, src.width_stride, src.channel, dims,
              params->hist_channels, params->hrange_max, params->hrange_min, params->hist_size, threadNumber());
  if (status == TAMIX_OK && dst.type == Tamix_FLOAT32) {
    size_t bins = 1;
    for (int32_t i = 0; i < dims; ++i) bins *= static_cast<size_t>(params->hist_size[i]);
    toFloats(data<uint32_t>(dst), bins);
  }
  setConverted();
  return status;
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_CALC_HIST, CalcHistCPU, CalcHistCPUCreator);

}  // namespace
}  // namespace tamix
