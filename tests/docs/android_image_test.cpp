#include "examples/android_image.h"

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

// How a device lays out a frame of 34x6: strides, and where V lies after U's first byte (0: a plane of its own).
struct DeviceLayout {
  const char* name;
  int32_t luma_stride;
  int32_t chroma_stride;
  int32_t pixel_stride;
  int32_t v_after_u;
  int32_t format;  // 0: needs a copy
};

std::ostream& operator<<(std::ostream& out, const DeviceLayout& layout) { return out << layout.name; }

constexpr int32_t kWidth = 34;
constexpr int32_t kHeight = 6;

uint8_t sampleAt(int32_t plane, int32_t y, int32_t x) { return static_cast<uint8_t>(60 * plane + 17 * y + 3 * x + 20); }

// The planes without padding behind their last rows, each at the end of its page.
class Frame {
 public:
  explicit Frame(const DeviceLayout& l)
      : luma_(bytes(kHeight, l.luma_stride, kWidth)),
        u_(bytes(kHeight / 2, l.chroma_stride, (kWidth / 2 - 1) * l.pixel_stride + 1 + (l.v_after_u != 0 ? 1 : 0))),
        v_(bytes(kHeight / 2, l.chroma_stride, (kWidth / 2 - 1) * l.pixel_stride + 1)) {
    auto* const first = static_cast<uint8_t*>(u_.data());
    uint8_t* const u = l.v_after_u < 0 ? first + 1 : first;
    uint8_t* const v = l.v_after_u == 0 ? static_cast<uint8_t*>(v_.data()) : u + l.v_after_u;
    planes = {{static_cast<uint8_t*>(luma_.data()), u, v},
              {l.luma_stride, l.chroma_stride, l.chroma_stride},
              {1, l.pixel_stride, l.pixel_stride},
              kWidth,
              kHeight};
    for (int32_t k = 0; k < 3; ++k) {
      const int32_t part = k == 0 ? 1 : 2;
      for (int32_t y = 0; y < kHeight / part; ++y) {
        for (int32_t x = 0; x < kWidth / part; ++x) {
          const_cast<uint8_t*>(planes.data[k])[y * planes.row_stride[k] + x * planes.pixel_stride[k]] = sampleAt(k, y, x);
        }
      }
    }
  }

  AndroidPlanes planes;

 private:
  static size_t bytes(int32_t rows, int32_t stride, int32_t row) { return static_cast<size_t>((rows - 1) * stride + row); }

  GuardedBytes luma_;
  GuardedBytes u_;
  GuardedBytes v_;
};

std::vector<uint8_t> shrunk(const TamixImage& image) {
  std::vector<uint8_t> out(16 * 4 * 3 / 2);
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = image;
  params.output[0] = imageRecord(image.format, Tamix_UINT8, 16, 4, 0);
  params.output[0].data[0] = out.data();
  params.output[0].data[1] = out.data() + 64;
  if (image.format == Tamix_I420) params.output[0].data[2] = out.data() + 80;
  EXPECT_EQ(RunningOperator(TAMIX_OP_RESIZE_AREA).run(params), TAMIX_OK);
  if (image.format == Tamix_NV12) return out;
  // As NV12, whose pairs are U, V.
  const std::vector<uint8_t> planes(out.begin() + 64, out.end());
  for (size_t i = 0; i < 16; ++i) {
    out[64 + 2 * i] = image.format == Tamix_I420 ? planes[i] : planes[2 * i + 1];
    out[65 + 2 * i] = image.format == Tamix_I420 ? planes[16 + i] : planes[2 * i];
  }
  return out;
}

TEST(AndroidImage, DescribesOrCopiesThePlanesOfEveryLayout) {
  static constexpr DeviceLayout kLayouts[] = {
      {"pairs U, V", 48, 48, 2, 1, Tamix_NV12},
      {"pairs V, U", 48, 48, 2, -1, Tamix_NV21},
      {"planes", 48, 24, 1, 0, Tamix_I420},
      {"packed planes", 34, 17, 1, 0, Tamix_I420},
      {"pairs of another stride", 48, 34, 2, 1, 0},
      {"planes of the luma plane's stride", 48, 48, 1, 0, 0},
      {"planes of an odd luma stride", 35, 17, 1, 0, 0},
      {"far pairs", 48, 48, 2, 0, 0},
  };
  std::vector<uint8_t> expected;
  for (const DeviceLayout& layout : kLayouts) {
    SCOPED_TRACE(layout);
    const Frame frame(layout);
    EXPECT_EQ(androidImageFormat(&frame.planes), layout.format);
    EXPECT_EQ(androidImage(&frame.planes, nullptr).format, layout.format);
    std::vector<uint8_t> copy(androidCopyBytes(&frame.planes));
    const TamixImage image = androidImage(&frame.planes, copy.data());
    EXPECT_EQ(image.data[0] == copy.data(), layout.format == 0);
    const std::vector<uint8_t> result = shrunk(image);
    if (expected.empty()) expected = result;
    EXPECT_EQ(result, expected);
  }
}

}  // namespace
}  // namespace tamix::test
