// I420 to RGB and BGR.
#include <algorithm>

#include "tamix/kernels.h"
#include "tests/support/null_planes.h"
#include "tests/support/yuv_frame.h"

namespace tamix::test {
namespace {

struct Kernel {
  const char* name;
  decltype(&I420ToRGBCPUUINT8) run;
  bool red_first;
};

constexpr Kernel kKernels[] = {
    {"I420ToRGBCPUUINT8", I420ToRGBCPUUINT8, true},
    {"I420ToBGRCPUUINT8", I420ToBGRCPUUINT8, false},
};

Pixel pixelModel(int32_t y, int32_t u, int32_t v) {
  const int32_t k = 1220542 * std::max(y - 16, 0) + 524288;
  const auto narrow = [](int32_t sum) { return static_cast<uint8_t>(std::clamp(sum >> 20, 0, 255)); };
  return {narrow(k + 1673527 * (v - 128)), narrow(k - 409993 * (u - 128) - 852492 * (v - 128)),
          narrow(k + 2116026 * (u - 128))};
}

struct Planes {
  explicit Planes(const FrameShape& shape)
      : y(cameraPlane(shape.luma(), 1)), u(cameraPlane(shape.chroma(), 2)), v(cameraPlane(shape.chroma(), 3)) {}

  Image<uint8_t> y, u, v;
};

void expectModel(const Kernel& kernel, const FrameShape& shape, const Planes& src) {
  const Image<uint8_t> dst(shape.packed());
  ASSERT_EQ(kernel.run(src.y.data(), src.u.data(), src.v.data(), dst.data(), shape.width, shape.height, shape.src_stride,
                       shape.dst_stride),
            TAMIX_OK);
  Image<uint8_t> expected(shape.packed());
  for (int32_t r = 0; r < shape.height && shape.width >= 2; ++r) {
    for (int32_t x = 0; x < shape.width; ++x) {
      const Pixel rgb = pixelModel(src.y.at(r, x), src.u.at(r / 2, x / 2), src.v.at(r / 2, x / 2));
      setPixel(expected, r, x, rgb, kernel.red_first);
    }
  }
  ASSERT_TRUE(sameBytes(dst, expected));
}

TEST(I420ToColor3, ConvertsEverySizeButSkipsOneColumn) {
  for (const Kernel& kernel : kKernels) {
    SCOPED_TRACE(kernel.name);
    for (const FrameShape& shape : frameShapes()) {
      SCOPED_TRACE(shape);
      expectModel(kernel, shape, Planes(shape));
    }
  }
}

TEST(I420ToColor3, ConvertsEveryLumaAndChroma) {
  const FrameShape shape = {256, 2, 256, 256};
  Planes src(shape);
  for (int32_t step = 0; step < 256; ++step) {
    SCOPED_TRACE(step);
    src.y.fill([&](int32_t r, size_t x) { return static_cast<int32_t>(x) * 97 + r * 131 + step; });
    src.u.fill([&](int32_t, size_t x) { return static_cast<int32_t>(x) * 2 + step % 2; });
    src.v.fill([&](int32_t, size_t x) { return static_cast<int32_t>(x) * 7 + step; });
    expectModel(kKernels[0], shape, src);
  }
}

// The chroma pitch is half the luma stride, rounded down.
TEST(I420ToColor3, HalvesOddStridesDownwards) {
  const FrameShape shape = {21, 6, 25, 23};
  expectModel(kKernels[1], shape, Planes(shape));
}

TEST(I420ToColor3, RefusesNullPlanesAndLeavesEmptyImagesAlone) {
  const FrameShape shape = {16, 2, 16, 16};
  const Planes src(shape);
  const Image<uint8_t> dst(shape.packed()), untouched(shape.packed());
  for (const Kernel& kernel : kKernels) {
    SCOPED_TRACE(kernel.name);
    expectNullsRefused("runtime/cpu/arm/uint8/i420tocolor3_cpu_uint8.cpp", kernel.name, kernel.run, src.y.data(), src.u.data(),
                       src.v.data(), dst.data(), 16, 0, 16, 16);
    for (const auto& [width, height] : {std::pair{16, 0}, {16, -2}, {1, 2}, {-16, 2}, {INT32_MIN, INT32_MIN}}) {
      EXPECT_EQ(kernel.run(src.y.data(), src.u.data(), src.v.data(), dst.data(), width, height, 16, 16), TAMIX_OK);
    }
  }
  EXPECT_TRUE(sameBytes(dst, untouched));
}

}  // namespace
}  // namespace tamix::test
