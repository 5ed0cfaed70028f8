#include "inference/runtime/cpu/arm/common/filter_compute.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "tests/support/allocation.h"
#include "tests/support/border_model.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Kernel = std::array<float, 9>;
using Lines = std::vector<std::string>;

Kernel symmetric(float corner, float edge, float centre) {
  return {corner, edge, corner, edge, centre, edge, corner, edge, corner};
}

// Spans without a whole vector, with one, with several and an overlap; groups of rows and single ones.
std::vector<Shape> filterShapes(const std::vector<int32_t>& channels) {
  std::vector<Shape> shapes;
  for (const int32_t channel : channels) {
    for (const int32_t width : {8, 9, 19, 66, 67, 131}) {
      shapes.push_back({width, 1 + width % 6, width, channel});
      shapes.push_back({width, 4 + width % 5, width + 5, channel});
    }
  }
  return shapes;
}

constexpr std::array<std::array<int32_t, 2>, 7> kBorders = {{{0, 77}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {-1, 0}, {16 + 0, 255}}};

// Weighted sum of the neighbourhood of channel c of a pixel, by the three weights that count.
int64_t weightedSum(const Image<uint8_t>& src, int32_t y, int32_t x, int32_t c, std::array<int64_t, 3> weights, int32_t type,
                    int32_t value) {
  int64_t sum = 0;
  for (int32_t dy = -1; dy <= 1; ++dy) {
    for (int32_t dx = -1; dx <= 1; ++dx) {
      const auto distance = static_cast<size_t>(2 - std::abs(dy) - std::abs(dx));
      sum += weights[distance] * borderedAt(src, y + dy, x + dx, c, type, value);
    }
  }
  return sum;
}

std::array<int64_t, 3> fixedWeights(const Kernel& kernel) {
  const auto fixed = [](float w) {
    const double scaled = std::trunc(static_cast<double>(w) * 4096.0);
    return static_cast<int64_t>(std::min(std::max(scaled, -32768.0), 32767.0));
  };
  return {fixed(kernel[0]), fixed(kernel[1]), fixed(kernel[4])};
}

template <class Result>
Image<uint8_t> modelled(const Image<uint8_t>& src, const Shape& dst_shape, const Result& result) {
  Image<uint8_t> dst(dst_shape);
  return std::move(dst.fill([&](int32_t y, size_t i) {
    const auto channel = static_cast<size_t>(dst_shape.channel);
    return result(src, y, static_cast<int32_t>(i / channel), static_cast<int32_t>(i % channel));
  }));
}

Image<uint8_t> fixedPointModel(const Image<uint8_t>& src, const Shape& dst_shape, const Kernel& kernel, int32_t type,
                               int32_t value) {
  return modelled(src, dst_shape, [&](const Image<uint8_t>& image, int32_t y, int32_t x, int32_t c) {
    const double sum = static_cast<double>(weightedSum(image, y, x, c, fixedWeights(kernel), type, value));
    return std::min(std::max(std::floor(sum / 4096.0), 0.0), 255.0);
  });
}

// Separable; built from a sigma; whole; sharpening and out of both ends; too large for 16 bits; not a number.
const std::vector<Kernel>& kernels() {
  static const std::vector<Kernel> all = {symmetric(0.0625f, 0.125f, 0.25f),
                                          symmetric(0.057f, 0.1248f, 0.2725f),
                                          symmetric(0, 1, -4),
                                          symmetric(2, 0, -8),
                                          symmetric(-0.11f, -0.2f, 2.3f),
                                          symmetric(-7.99f, 7.99f, 7.5f),
                                          symmetric(9.0f, -12.0f, 1e30f),
                                          symmetric(-8.0f, 0.5f, -1e30f),
                                          symmetric(0.1f, 0.1f, std::nanf("")),
                                          symmetric(3, -3, 1)};
  return all;
}

TEST(Filter3x3SymmetricalKernelCPUUINT8, FollowsTheFormulaAtEveryBorder) {
  uint32_t turn = 0;
  for (const Shape& shape : filterShapes({1, 2, 3, 4, 7})) {
    const Shape dst_shape{shape.width, shape.height, shape.width + 3, shape.channel};
    const Image<uint8_t> src = randomImage<uint8_t>(shape, turn);
    for (const auto& [type, value] : kBorders) {
      Kernel kernel = kernels()[turn++ % kernels().size()];
      SCOPED_TRACE(testing::Message() << shape << " border " << type << " kernel " << kernel[0]);
      Image<uint8_t> expected_kernel = fixedPointModel(
          src, dst_shape,
          [&] {
            Kernel k = kernel;
            for (float& w : k) w = w == w ? w : 0.0f;  // not a number weighs nothing
            return k;
          }(),
          type, value);
      kernel[8] = kernel[5] = 99.0f;  // never read
      Image<uint8_t> dst(dst_shape);
      EXPECT_EQ(filter3x3SymmetricalKernelCPUUINT8(src.data(), dst.data(), shape.height, shape.width, shape.width_stride,
                                                   dst_shape.width_stride, shape.channel, kernel.data(), type, value, 1),
                TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, expected_kernel));
    }
  }
}

TEST(Filter3x3SymmetricalKernelCPUUINT8, KeepsItsExtremesInRange) {
  const Shape shape{70, 5, 70, 1};
  for (const Kernel& kernel : {symmetric(-8.0f, -8.0f, -8.0f), symmetric(7.9999f, 7.9999f, 7.9999f), kernels()[0]}) {
    const Image<uint8_t> white = std::move(Image<uint8_t>(shape).fill([](int32_t, size_t) { return 255; }));
    Image<uint8_t> dst(shape);
    EXPECT_EQ(filter3x3SymmetricalKernelCPUUINT8(white.data(), dst.data(), 5, 70, 70, 70, 1, kernel.data(), 4, 0, 1), TAMIX_OK);
    EXPECT_TRUE(sameBytes(dst, fixedPointModel(white, shape, kernel, 4, 0)));
  }
}

TEST(Filter3x3Channel3SymmetricalKernelBorderCPUUINT8, FollowsTheFormulaAndMirrorsTheBorder) {
  for (const Shape& shape : filterShapes({3})) {
    if (shape.height < 2) continue;
    SCOPED_TRACE(shape);
    const Image<uint8_t> src = randomImage<uint8_t>(shape, 5, Guard::kBefore);
    for (const Kernel& kernel : {kernels()[0], kernels()[1], kernels()[2], kernels()[4]}) {
      Image<uint8_t> dst(shape);
      EXPECT_EQ(filter3x3Channel3SymmetricalKernelBorderCPUUINT8(src.data(), dst.data(), shape.height, shape.width,
                                                                 shape.width_stride, shape.width_stride, kernel.data()),
                TAMIX_OK);
      EXPECT_TRUE(sameBytes(dst, fixedPointModel(src, shape, kernel, 4, 0)));
    }
  }
}

TEST(Filter3x3Integer, ClampsOrTakesAbsoluteValues) {
  for (const Shape& shape : filterShapes({1, 3, 4})) {
    const Image<uint8_t> src = randomImage<uint8_t>(shape, 3);
    for (const IntegerWeights weights : {IntegerWeights{0, 1, -4}, IntegerWeights{2, 0, -8}, IntegerWeights{-3, 5, 7}}) {
      for (const bool absolute : {false, true}) {
        SCOPED_TRACE(testing::Message() << shape << " absolute " << absolute);
        Image<uint8_t> dst(shape);
        EXPECT_TRUE(filter3x3Integer({src.data(), static_cast<ptrdiff_t>(shape.pitch())},
                                     {dst.data(), static_cast<ptrdiff_t>(shape.pitch())}, shape.height, shape.width,
                                     shape.channel, weights, absolute, 3, 0));
        EXPECT_TRUE(
            sameBytes(dst, modelled(src, shape, [&](const Image<uint8_t>& image, int32_t y, int32_t x, int32_t c) {
                        const int64_t sum = weightedSum(image, y, x, c, {weights.corner, weights.edge, weights.centre}, 3, 0);
                        return std::min<int64_t>(absolute ? std::abs(sum) : std::max<int64_t>(sum, 0), 255);
                      })));
      }
    }
  }
}

TEST(SymmetricFilters, WorkInPlaceAndOnOverlappingPlanes) {
  const Kernel kernel = kernels()[0];
  for (const Shape& shape : filterShapes({1, 3})) {
    if (shape.height < 3) continue;
    SCOPED_TRACE(shape);
    const Image<uint8_t> src = randomImage<uint8_t>(shape);
    Image<uint8_t> in_place(src);
    Image<uint8_t> shifted(src);
    Image<uint8_t> expected(src);
    const Image<uint8_t> result = fixedPointModel(src, shape, kernel, 4, 0);
    expected.fill([&](int32_t y, size_t i) { return result.row(y)[i]; });
    if (shape.channel == 3) {
      filter3x3Channel3SymmetricalKernelBorderCPUUINT8(in_place.data(), in_place.data(), shape.height, shape.width,
                                                       shape.width_stride, shape.width_stride, kernel.data());
    } else {
      filter3x3SymmetricalKernelCPUUINT8(in_place.data(), in_place.data(), shape.height, shape.width, shape.width_stride,
                                         shape.width_stride, shape.channel, kernel.data(), 4, 0, 1);
    }
    EXPECT_TRUE(sameBytes(in_place, expected));

    // The first rows of the image filtered into its last ones.
    const int32_t height = shape.height - 1;
    const Shape upper{shape.width, height, shape.width_stride, shape.channel};
    Image<uint8_t> upper_src(upper);
    std::copy_n(src.data(), upper_src.elements(), upper_src.data());
    const Image<uint8_t> upper_result = fixedPointModel(upper_src, upper, kernel, 1, 0);
    filter3x3SymmetricalKernelCPUUINT8(shifted.data(), shifted.row(1), height, shape.width, shape.width_stride,
                                       shape.width_stride, shape.channel, kernel.data(), 1, 0, 1);
    expected.fill([&](int32_t y, size_t i) { return y == 0 ? src.row(0)[i] : upper_result.row(y - 1)[i]; });
    EXPECT_TRUE(sameBytes(shifted, expected));
  }
}

TEST(SymmetricFilters, RefuseInOrderAndLeaveTheOutputAlone) {
  const std::string file = "runtime/cpu/arm/common/filter_compute.cpp";
  const std::string general = "filter3x3SymmetricalKernelCPUUINT8";
  const std::string border = "filter3x3Channel3SymmetricalKernelBorderCPUUINT8";
  const Shape shape{8, 3, 8, 3};
  const Image<uint8_t> src = randomImage<uint8_t>(shape);
  const Image<uint8_t> untouched(shape);
  const Kernel kernel = kernels()[0];
  Image<uint8_t> dst(shape);
  LogCapture log;
  const auto run = [&](const uint8_t* from, const float* weights, int32_t width, int32_t type, int32_t value) {
    log.clear();
    return filter3x3SymmetricalKernelCPUUINT8(from, dst.data(), 3, width, 8, 8, 3, weights, type, value, 1);
  };
  const auto run_border = [&](const float* weights, int32_t width, int32_t height) {
    log.clear();
    return filter3x3Channel3SymmetricalKernelBorderCPUUINT8(src.data(), dst.data(), height, width, 8, 8, weights);
  };
  EXPECT_EQ(run(nullptr, kernel.data(), 7, 9, 0), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, general, "Recieved null data pointer")});
  EXPECT_EQ(log.messages(), Lines{general + " forward"});
  EXPECT_EQ(run(src.data(), nullptr, 8, 4, 0), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(run(src.data(), kernel.data(), 7, 9, 0), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, general, "Recieved unsupport width 7")});
  for (const auto& [type, value, status] : {std::array{5, 0, -3}, std::array{-2, 0, -3}, std::array{0, 256, -15}}) {
    EXPECT_EQ(run(src.data(), kernel.data(), 8, type, value), status);
    const std::string refused = status == -15 ? "value " + std::to_string(value) : "type " + std::to_string(type & ~16);
    EXPECT_NE(log.errors().front().find("copymakeborder_cpu_uint8.cpp, Func: copyMakeBorder"), std::string::npos);
    EXPECT_NE(log.errors().front().find("Recieved unsupported border " + refused), std::string::npos) << log.errors().front();
    EXPECT_EQ(log.errors().back(), errorLine(file, general, "failed to expand the border for filter3x3"));
  }
  EXPECT_EQ(run_border(nullptr, 8, 3), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.messages(), Lines{border + " forward"});
  EXPECT_EQ(run_border(kernel.data(), 7, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, border, "Recieved unsupport width 7")});
  EXPECT_EQ(run_border(kernel.data(), 8, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, border, "Recieved unsupport height 1")});
  EXPECT_TRUE(sameBytes(dst, untouched));

  Image<uint8_t> in_place(src);
  log.clear();
  const FailingMemalign failing(0);
  EXPECT_EQ(filter3x3SymmetricalKernelCPUUINT8(in_place.data(), in_place.data(), 3, 8, 8, 8, 3, kernel.data(), 4, 0, 1),
            TAMIX_ERR_NO_MEMORY);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, general, "failed to allocate memory for expanded image")});
  EXPECT_TRUE(sameBytes(in_place, src));
}

}  // namespace
}  // namespace tamix::test
