// Bilinear resize of NV21 and NV12 frames fused with the conversion to RGB and BGR.
#include <algorithm>
#include <cmath>

#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/log_capture.h"
#include "tests/support/null_planes.h"
#include "tests/support/yuv_frame.h"

namespace tamix::test {
namespace {

constexpr char kFile[] = "runtime/cpu/arm/uint8/resizebilinear_nv21torgb_cpu_uint8.cpp";

struct Kernel {
  const char* name;
  decltype(&resizeBilinearNV21toRGBCPUUINT8) run;
  bool red_first;
};

constexpr Kernel kKernels[] = {
    {"resizeBilinearNV21toRGBCPUUINT8", resizeBilinearNV21toRGBCPUUINT8, true},
    {"resizeBilinearNV21toBGRCPUUINT8", resizeBilinearNV21toBGRCPUUINT8, false},
};

// A resize: sizes, and strides beyond the widths.
struct Resize {
  int32_t src_width;
  int32_t src_height;
  int32_t dst_width;
  int32_t dst_height;
  int32_t src_padding = 0;
  int32_t dst_padding = 0;

  Shape luma() const { return {src_width, src_height, src_width + src_padding}; }
  Shape pairs() const { return {src_width / 2 * 2, src_height / 2, src_width + src_padding}; }
  Shape packed() const { return {dst_width, dst_height, dst_width + dst_padding, 3}; }
};

std::ostream& operator<<(std::ostream& out, const Resize& r) {
  return out << r.src_width << "x" << r.src_height << " to " << r.dst_width << "x" << r.dst_height << " padding "
             << r.src_padding << " and " << r.dst_padding;
}

struct Tap {
  int32_t first;
  int32_t second;
  int32_t weight;
};

// Separate single-precision operations; the offset is rounded from double.
Tap tapModel(int32_t src_size, int32_t dst_size, int32_t position, int32_t samples) {
  const float scale = static_cast<float>(src_size) / static_cast<float>(dst_size);
  const auto offset = static_cast<float>(static_cast<double>(scale) * 0.5 - 0.5);
  const float product = static_cast<float>(position) * scale;
  const float at = product + offset;
  const auto below = static_cast<int32_t>(std::floor(at));
  const float rest = static_cast<float>(below + 1) - at;
  return {std::clamp(below, 0, samples - 1), std::clamp(below + 1, 0, samples - 1), static_cast<int32_t>(rest * 128.0f)};
}

// Vertical first; both blends truncate.
int32_t sampleModel(const Image<uint8_t>& plane, const Tap& rows, int32_t left, int32_t right, int32_t weight) {
  const auto vertical = [&](int32_t x) {
    return (plane.at(rows.first, x) * rows.weight + plane.at(rows.second, x) * (128 - rows.weight)) >> 7;
  };
  return (vertical(left) * weight + vertical(right) * (128 - weight)) >> 7;
}

Pixel pixelModel(int32_t y, int32_t u, int32_t v) {
  const int32_t luma = 1192 * (std::max(y, 16) - 16);
  const auto narrow = [](int32_t sum) { return static_cast<uint8_t>(std::clamp(sum, 0, 262143) >> 10); };
  return {narrow(luma + 1634 * (v - 128)), narrow(luma - 833 * (v - 128) - 400 * (u - 128)), narrow(luma + 2066 * (u - 128))};
}

Image<uint8_t> resizedByModel(const Resize& r, const Image<uint8_t>& y, const Image<uint8_t>& pairs, bool nv21,
                              bool red_first) {
  Image<uint8_t> dst(r.packed());
  for (int32_t row = 0; row < r.dst_height; ++row) {
    const Tap rows = tapModel(r.src_height, r.dst_height, row, r.src_height);
    const Tap chroma_rows = tapModel(r.src_height, r.dst_height, row / 2, r.src_height / 2);
    for (int32_t x = 0; x < r.dst_width; ++x) {
      const Tap luma = tapModel(r.src_width, r.dst_width, x, r.src_width);
      const Tap chroma = tapModel(r.src_width, r.dst_width, x / 2, r.src_width / 2);
      const auto chromaByte = [&](int32_t byte) {
        return sampleModel(pairs, chroma_rows, 2 * chroma.first + byte, 2 * chroma.second + byte, chroma.weight);
      };
      const Pixel rgb = pixelModel(sampleModel(y, rows, luma.first, luma.second, luma.weight), chromaByte(nv21 ? 1 : 0),
                                   chromaByte(nv21 ? 0 : 1));
      setPixel(dst, row, x, rgb, red_first);
    }
  }
  return dst;
}

void expectModel(const Kernel& kernel, const Resize& r, int32_t is_nv21) {
  SCOPED_TRACE(r);
  const auto y = cameraPlane(r.luma(), 1);
  const auto pairs = cameraPlane(r.pairs(), 2);
  const Image<uint8_t> dst(r.packed());
  ASSERT_EQ(kernel.run(y.data(), pairs.data(), is_nv21, r.src_height, r.src_width, r.luma().width_stride, dst.data(),
                       r.dst_height, r.dst_width, r.packed().width_stride, 1),
            TAMIX_OK);
  ASSERT_TRUE(sameBytes(dst, resizedByModel(r, y, pairs, is_nv21 % 2 != 0, kernel.red_first)));
}

TEST(ResizeBilinearNV21toRGB, ScalesByEveryFactor) {
  // Windows of one to many registers, and beyond: from doubling to a few pixels.
  for (const int32_t dst_width : {1040, 520, 700, 325, 260, 259, 174, 130, 100, 66, 48, 40, 26, 20, 8}) {
    expectModel(kKernels[0], {520, 20, dst_width, 12, 0, 0}, 1);
    expectModel(kKernels[1], {520, 20, dst_width, 9, 10, 3}, 0);
  }
}

TEST(ResizeBilinearNV21toRGB, TakesOddAndSmallSizes) {
  for (const int32_t src : {9, 10, 17, 31, 64}) {
    for (const int32_t dst : {1, 2, 3, 7, 8, 9, 15, 16, 20, 33, 65, 130}) {
      expectModel(kKernels[dst % 2], {src, 40 - src % 31, dst, 3, 0, 0}, 1);
      expectModel(kKernels[dst % 2], {40, src, 5, dst, 1, 2}, 0);
    }
  }
}

TEST(ResizeBilinearNV21toRGB, ReadsTheLowestBitOfTheLayoutFlag) {
  for (const int32_t flag : {0, 1, 2, 3, -1, -2}) expectModel(kKernels[0], {32, 16, 24, 24}, flag);
}

TEST(ResizeBilinearNV21toRGB, RefusesNullPlanesAndSmallSourcesInOrder) {
  const Resize r = {9, 9, 4, 4};
  const auto y = cameraPlane(r.luma(), 1);
  const auto pairs = cameraPlane(r.pairs(), 2);
  const Image<uint8_t> dst(r.packed()), untouched(r.packed());
  for (const Kernel& kernel : kKernels) {
    expectNullsRefused(kFile, kernel.name, kernel.run, y.data(), pairs.data(), 1, 8, 8, 9, dst.data(), 4, 4, 4, 1);
    const auto expectRefusal = [&](int32_t height, int32_t width, int32_t status, const char* message) {
      const LogCapture log;
      EXPECT_EQ(kernel.run(y.data(), pairs.data(), 1, height, width, 9, dst.data(), 4, 4, 4, 1), status);
      EXPECT_EQ(log.errors(), std::vector{errorLine(kFile, kernel.name, message)});
    };
    expectRefusal(8, 100, TAMIX_ERR_UNSUPPORTED, "input size is too small (8, 100)");
    expectRefusal(100, 8, TAMIX_ERR_UNSUPPORTED, "input size is too small (100, 8)");
    expectRefusal(-1, 9, TAMIX_ERR_UNSUPPORTED, "input size is too small (-1, 9)");
    for (const int64_t allocation : {0, 1}) {
      const FailingMemalign failing(allocation);
      expectRefusal(9, 9, TAMIX_ERR_NO_MEMORY, "alloc memory failed!");
      EXPECT_TRUE(failing.struck());
    }
    for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, INT32_MIN}}) {
      EXPECT_EQ(kernel.run(y.data(), pairs.data(), 1, 9, 9, 9, dst.data(), height, width, 4, 1), TAMIX_OK);
    }
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
