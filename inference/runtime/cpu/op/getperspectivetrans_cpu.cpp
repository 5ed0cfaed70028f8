#include <array>

#include "inference/runtime/cpu/arm/fp32/getperspectivetrans_cpu_fp32.h"
#include "inference/runtime/cpu/op/cpu_operator.h"
#include "inference/runtime/cpu/op/float_result.h"
#include "inference/utils/image_format.h"

namespace tamix {
namespace {

// Finds the matrix that takes four points to four others. The points' x are in plane 0 of an image, their y in plane 1; the
// matrix goes to plane 0 of the output as nine packed floats.
class GetPerspectiveTransformCPU final : public Operator {
 public:
  explicit GetPerspectiveTransformCPU(Runtime* runtime)
      : Operator(runtime), kernel_(kernels(runtime).getPerspectiveTransformCPUFLOAT32) {}
  int32_t forward(TamixParams* params) override;

 private:
  decltype(KernelTable::getPerspectiveTransformCPUFLOAT32) kernel_;
};

constexpr size_t kMatrixFloats = 9;
using Matrix = std::array<float, kMatrixFloats>;

int64_t points(const TamixImage& image) { return int64_t{image.width} * image.height; }

bool isPointSet(const TamixImage& image) {
  return image.width > 0 && points(image) == 4 && image.type == Tamix_FLOAT32 && image.channel == 2;
}

// The elements of an image whose first nine are the matrix, row padding counted, and whose others are zeros.
void place(const Matrix& matrix, const TamixImage& image, Plane<float> to) {
  const size_t n = rowElements(image.width, image.channel);
  for (int32_t y = 0; y < image.height; ++y) {
    const size_t first = std::min(static_cast<size_t>(y) * rowElements(image.width_stride, image.channel), kMatrixFloats);
    const size_t count = std::min(n, kMatrixFloats - first);
    std::copy_n(matrix.begin() + static_cast<ptrdiff_t>(first), count, to.row(y));
    std::fill(to.row(y) + count, to.row(y) + n, 0.0f);
  }
}

int32_t GetPerspectiveTransformCPU::forward(TamixParams* params) {
  const TamixImage& from = params->input[0];
  const TamixImage& to = params->input[1];
  TAMIX_REQUIRE(isPointSet(from), TAMIX_ERR_UNSUPPORTED,
                "GetPerspectiveTransformCPU expected  src_matrix channel == 2 , type == Tamix_FLOAT32(8) , input 4 "
                "points------- while channel = %d, type = %d , input size = %d ",
                from.channel, from.type, static_cast<int32_t>(points(from)));
  TAMIX_REQUIRE(isPointSet(to), TAMIX_ERR_UNSUPPORTED,
                "GetPerspectiveTransformCPU expected  dst_matrix channel == 2 , type == Tamix_FLOAT32(8) , input 4 "
                "points------- while channel = %d, type = %d , input size = %d ",
                to.channel, to.type, static_cast<int32_t>(points(to)));
  // One plane of the output must have room for the matrix. The kernel refuses a null one.
  TamixImage dst = params->output[0];
  if (dst.width_stride == 0) dst.width_stride = dst.width;
  if (dst.channel == 0) dst.channel = channelsOfFormat(dst.format);
  const size_t room = isTwoPlane(dst.format) ? 0 : planeElements(dst.height, dst.width, dst.width_stride, dst.channel);
  TAMIX_REQUIRE(dst.data[0] == nullptr || room >= kMatrixFloats, TAMIX_ERR_UNSUPPORTED,
                "Recieve unsupported output shape: (%d, %d)", dst.height, dst.width);
  const FloatResult result(dst);
  TAMIX_REQUIRE(result, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
  Matrix matrix;
  const bool is_direct = dst.type == Tamix_FLOAT32 || result.data() == nullptr;
  TAMIX_DEBUG("GetPerspectiveTransformCPU forward");
  TAMIX_TRY(kernel_(data<const float>(from, 0), data<const float>(from, 1), data<const float>(to, 0), data<const float>(to, 1),
                    is_direct ? result.data() : matrix.data(), threadNumber()));
  if (!is_direct) place(matrix, dst, plane(result.data(), result.widthStride(), dst.channel));
  setConverted();
  return finishFloats(*this, *params, {&result, 1});
}

TAMIX_REGISTER_OPERATOR(TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, GetPerspectiveTransformCPU, GetPerspectiveTransformCPUCreator);

}  // namespace
}  // namespace tamix
