// NV12 and NV21 to RGB and BGR.
#include <algorithm>

#include "tamix/kernels.h"
#include "tests/support/null_planes.h"
#include "tests/support/yuv_frame.h"

namespace tamix::test {
namespace {

struct Kernel {
  const char* name;
  decltype(&NV21ToRGBCPUUINT8) run;
  bool red_first;
  bool nv21;
};

constexpr Kernel kKernels[] = {
    {"NV21ToRGBCPUUINT8", NV21ToRGBCPUUINT8, true, true},
    {"NV21ToBGRCPUUINT8", NV21ToBGRCPUUINT8, false, true},
    {"NV12ToRGBCPUUINT8", NV12ToRGBCPUUINT8, true, false},
    {"NV12ToBGRCPUUINT8", NV12ToBGRCPUUINT8, false, false},
};

uint8_t saturate(int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

// Inside blocks of 16 pixels, in rows that come in pairs.
Pixel blockModel(int32_t y, int32_t u, int32_t v) {
  const int32_t t = 16 + 37 * std::max(y - 16, 0);
  return {saturate((t + 51 * (v - 128)) >> 5), saturate((t - 13 * (u - 128) - 26 * (v - 128)) >> 5),
          saturate((t + 65 * (u - 128)) >> 5)};
}

// In a row's tail and in the last row of an odd height.
Pixel tailModel(int32_t y, int32_t u, int32_t v) {
  const int32_t t = y < 16 ? 1024 : (y - 16) * 2383 + 1024;
  const auto narrow = [](int32_t sum) { return static_cast<uint8_t>(std::clamp(sum, 0, 0x7F800) >> 11); };
  return {narrow(t + 3268 * (v - 128)), narrow(t - 800 * (u - 128) - 1665 * (v - 128)), narrow(t + 4132 * (u - 128))};
}

Image<uint8_t> convertedByModel(const Kernel& kernel, const FrameShape& shape, const Image<uint8_t>& y,
                                const Image<uint8_t>& pairs) {
  Image<uint8_t> dst(shape.packed());
  for (int32_t r = 0; r < shape.height; ++r) {
    for (int32_t x = 0; x < shape.width; ++x) {
      const uint8_t first = pairs.at(r / 2, x / 2 * 2);
      const uint8_t second = pairs.at(r / 2, x / 2 * 2 + 1);
      const bool alone = r == shape.height - 1 && shape.height % 2 == 1;
      const auto model = alone || x >= shape.width / 16 * 16 ? tailModel : blockModel;
      setPixel(dst, r, x, model(y.at(r, x), kernel.nv21 ? second : first, kernel.nv21 ? first : second), kernel.red_first);
    }
  }
  return dst;
}

TEST(YUV420ToColor3, ConvertsBlocksTailsAndOddLastRows) {
  for (const Kernel& kernel : kKernels) {
    SCOPED_TRACE(kernel.name);
    for (const FrameShape& shape : frameShapes()) {
      SCOPED_TRACE(shape);
      const auto y = cameraPlane(shape.luma(), 1);
      const auto pairs = cameraPlane(shape.pairs(), 2);
      const Image<uint8_t> dst(shape.packed());
      ASSERT_EQ(kernel.run(y.data(), pairs.data(), dst.data(), shape.width, shape.height, shape.src_stride, shape.dst_stride),
                TAMIX_OK);
      ASSERT_TRUE(sameBytes(dst, convertedByModel(kernel, shape, y, pairs)));
    }
  }
}

// Every luma with chroma pairs that reach all values, one whole block and one tail pixel pair at a time.
TEST(YUV420ToColor3, ConvertsEveryLumaAndChroma) {
  const FrameShape shape = {256 + 8, 2, 264, 264};
  const Kernel& kernel = kKernels[0];
  for (int32_t step = 0; step < 256; ++step) {
    Image<uint8_t> y(shape.luma());
    y.fill([&](int32_t r, size_t x) { return static_cast<int32_t>(x) * 97 + r * 131 + step; });
    Image<uint8_t> pairs(shape.pairs());
    pairs.fill([&](int32_t, size_t x) { return x % 2 == 0 ? step : static_cast<int32_t>(x) / 2 * 2 + step % 2; });
    const Image<uint8_t> dst(shape.packed());
    ASSERT_EQ(kernel.run(y.data(), pairs.data(), dst.data(), shape.width, shape.height, shape.src_stride, shape.dst_stride),
              TAMIX_OK);
    ASSERT_TRUE(sameBytes(dst, convertedByModel(kernel, shape, y, pairs))) << step;
  }
}

TEST(YUV420ToColor3, ReadsRowsUpwardsWithNegativeStrides) {
  const FrameShape shape = {40, 4, 48, 44};
  const auto y = cameraPlane(shape.luma(), 3);
  const auto pairs = cameraPlane(shape.pairs(), 4);
  Image<uint8_t> flipped_y(y), flipped_pairs(pairs);
  flipped_y.fill([&](int32_t r, size_t i) { return y.row(3 - r)[i]; });
  flipped_pairs.fill([&](int32_t r, size_t i) { return pairs.row(1 - r)[i]; });
  const Image<uint8_t> dst(shape.packed());
  ASSERT_EQ(NV12ToBGRCPUUINT8(y.row(3), pairs.row(1), dst.data(), shape.width, shape.height, -48, 44), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, convertedByModel(kKernels[3], shape, flipped_y, flipped_pairs)));
}

TEST(YUV420ToColor3, RefusesNullPlanesAndLeavesEmptyImagesAlone) {
  const FrameShape shape = {16, 2, 16, 16};
  const auto y = cameraPlane(shape.luma(), 1);
  const auto pairs = cameraPlane(shape.pairs(), 2);
  const Image<uint8_t> dst(shape.packed()), untouched(shape.packed());
  for (const Kernel& kernel : kKernels) {
    SCOPED_TRACE(kernel.name);
    expectNullsRefused("runtime/cpu/arm/uint8/yuvtocolor3_cpu_uint8.cpp", "YUV420ToColor3", kernel.run, y.data(), pairs.data(),
                       dst.data(), 16, 0, 16, 16);
    for (const auto& [width, height] : {std::pair{16, 0}, {16, -2}, {0, 2}, {-16, INT32_MAX}, {INT32_MIN, INT32_MIN}}) {
      EXPECT_EQ(kernel.run(y.data(), pairs.data(), dst.data(), width, height, 16, 16), TAMIX_OK);
    }
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
