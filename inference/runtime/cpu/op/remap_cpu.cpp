#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"
#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/utils/image_format.h"

namespace tamix {
namespace {

// Samples an image at the positions given by two maps, one for x and one for y.
class RemapCPU final : public Operator {
 public:
  explicit RemapCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).remapCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  int32_t RemapCPUUINT8(const TamixParams& params) const;

  decltype(KernelTable::remapCPUUINT8) kernel_;
};

int32_t mapStride(const TamixImage& map) { return map.width_stride < 1 ? map.width : map.width_stride; }

int32_t RemapCPU::forward(TamixParams* params) {
  const TamixImage& src = params->input[0];
  const TamixImage& map1 = params->input[1];
  const TamixImage& map2 = params->input[2];
  const TamixImage& dst = params->output[0];
  TAMIX_REQUIRE(map1.data[0] != nullptr, TAMIX_ERR_UNSUPPORTED, "RemapCPU illeagl map1 data nullptr");
  TAMIX_REQUIRE(map2.data[0] != nullptr, TAMIX_ERR_UNSUPPORTED, "RemapCPU only support two  float32 map now");
  if (map1.channel != 1 || map1.type != Tamix_FLOAT32 || map2.channel != 1 || map2.type != Tamix_FLOAT32 ||
      map1.width != map2.width || map1.height != map2.height) {
    TAMIX_ERROR("RemapCPU illeagl -------map1 channel = %d, type = %d, width = %d, height = %d", map1.channel, map1.type,
                map1.width, map1.height);
    TAMIX_ERROR("RemapCPU illeagl -------map2 channel = %d, type = %d, width = %d, height = %d", map2.channel, map2.type,
                map2.width, map2.height);
    return TAMIX_ERR_UNSUPPORTED;
  }
  TAMIX_REQUIRE(map1.width == dst.width && map1.height == dst.height, TAMIX_ERR_UNSUPPORTED,
                "RemapCPU map shape = {%d,%d} dosen't match output shape = {%d,%d}", map1.width, map1.height, dst.width,
                dst.height);
  TAMIX_REQUIRE_TYPE(src, Tamix_UINT8);
  TAMIX_DEBUG("RemapCPUUINT8 forward");
  return RemapCPUUINT8(*params);
}

int32_t RemapCPU::RemapCPUUINT8(const TamixParams& params) const {
  const TamixImage& src = params.input[0];
  const TamixImage& dst = params.output[0];
  TAMIX_REQUIRE(src.channel == dst.channel, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported src channel = %d , dst channel = %d",
                src.channel, dst.channel);
  // A plane of luma samples has one byte a pixel, whatever the format's channel count.
  TAMIX_REQUIRE(src.channel == 1 || !(isTwoPlane(src.format) || isTwoPlane(dst.format)), TAMIX_ERR_UNSUPPORTED,
                "RemapCPU dosen't support format %d with %d channels", src.format, src.channel);
  return kernel_(data<const uint8_t>(src), data<uint8_t>(dst), src.width, src.height, int64_t{src.width_stride} * src.channel,
                 dst.width, dst.height, int64_t{dst.width_stride} * dst.channel, src.channel,
                 data<const float>(params.input[1]), data<const float>(params.input[2]), mapStride(params.input[1]),
                 mapStride(params.input[2]), params.interpolation, params.geom_border_type, params.geom_border_value_ptr,
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_REMAP, RemapCPU, RemapCPUCreator);

}  // namespace
}  // namespace tamix
