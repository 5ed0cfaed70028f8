#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/op/cpu_operator.h"

namespace tamix {

// Joins inputs 0 and 1 side by side or one below the other, with a blended band; writes the joined size into output 0.
class ImageFuseOverlapCPU final : public Operator {
 public:
  explicit ImageFuseOverlapCPU(Runtime* runtime) : Operator(runtime), kernel_(kernels(runtime).imageFuseOverlapCPUUINT8) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::imageFuseOverlapCPUUINT8) kernel_;
};

namespace {

// True when the packed joined image has room in the memory that the output declares. Sizes that the kernel refuses have.
bool joinedFits(const TamixParams& params) {
  const TamixImage& a = params.input[0];
  const TamixImage& b = params.input[1];
  const TamixImage& dst = params.output[0];
  const bool beside = params.fuse_direction == 1;
  const int64_t height = beside ? a.height : int64_t{a.height} + b.height - params.fuse_overlap;
  const int64_t width = beside ? int64_t{a.width} + b.width - params.fuse_overlap : a.width;
  if (beside ? a.height != b.height : a.width != b.width) return true;
  if (b.data[0] == nullptr || params.fuse_weights == nullptr) return true;
  if (height < 1 || width < 1 || a.channel < 1) return true;
  // Floats of the joined size take the bytes' place afterwards, with the declared pitch.
  if (dst.type != Tamix_UINT8) return height <= dst.height && width <= dst.width;
  const size_t declared = planeElements(std::max(dst.height, dst.height_stride), dst.width, dst.width_stride, dst.channel);
  return static_cast<size_t>(height) <= declared / static_cast<size_t>(width) / static_cast<size_t>(a.channel);
}

}  // namespace

int32_t ImageFuseOverlapCPU::forward(TamixParams* params) {
  const TamixImage& a = params->input[0];
  const TamixImage& b = params->input[1];
  TamixImage& dst = params->output[0];
  TAMIX_REQUIRE_TYPE(a, Tamix_UINT8);
  TAMIX_DEBUG("imageFuseOverlapCPUUINT8 forward");
  TAMIX_REQUIRE(a.channel == dst.channel && b.channel == dst.channel, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported input and output channel: %d, %d", a.channel, dst.channel);
  TAMIX_REQUIRE(a.format == dst.format, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output format: %d, %d", a.format,
                dst.format);
  TAMIX_REQUIRE_ONE_PLANE(a);
  TAMIX_REQUIRE_ONE_PLANE(b);
  TAMIX_REQUIRE(joinedFits(*params), TAMIX_ERR_ILLEGAL_RECT, "the joined image does not fit the output: %d, %d", dst.height,
                dst.width);
  return kernel_(data<const uint8_t>(a), a.height, a.width, data<const uint8_t>(b), b.height, b.width, data<uint8_t>(dst),
                 &dst.height, &dst.width, dst.channel, params->fuse_weights, params->fuse_overlap, params->fuse_direction,
                 threadNumber());
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_IMAGE_FUSE_OVERLAP, ImageFuseOverlapCPU, ImageFuseOverlapCPUCreator);

}  // namespace tamix
