#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/border_model.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

using Kernel = std::array<float, 9>;
using Lines = std::vector<std::string>;

constexpr Kernel kBinomial = {0.0625f, 0.125f, 0.0625f, 0.125f, 0.25f, 0.125f, 0.0625f, 0.125f, 0.0625f};

int32_t filter(const Image<uint8_t>& src, const Image<uint8_t>& dst, const float* kernel, int32_t border_type,
               int32_t border_value = 0, float sigma = 0.0f) {
  const Shape& s = src.shape();
  return gaussianFilterCPUUINT8(src.data(), dst.data(), s.height, s.width, s.width_stride, dst.shape().width_stride, s.channel,
                                3, 3, kernel, border_type, border_value, 1, sigma);
}

// All nine weights in single precision, in reading order, on a mirrored border.
Image<uint8_t> floatModel(const Image<uint8_t>& src, const Shape& dst_shape, const Kernel& kernel) {
  Image<uint8_t> dst(dst_shape);
  dst.fill([&](int32_t y, size_t i) {
    const auto x = static_cast<int32_t>(i) / dst_shape.channel;
    float sum = 0.0f;
    for (int32_t k = 0; k < 9; ++k) {
      const int32_t value = borderedAt(src, y + k / 3 - 1, x + k % 3 - 1, static_cast<int32_t>(i) % dst_shape.channel, 4, 0);
      const float product = kernel[static_cast<size_t>(k)] * static_cast<float>(value);
      sum += product;
    }
    return sum > 255.0f ? 255 : sum < 0.0f ? 0 : static_cast<int32_t>(sum);
  });
  return dst;
}

// The fixed-point weights of a flat 3x3 area, read off the response to a single bright byte.
std::array<int32_t, 3> responses(const float* kernel, float sigma) {
  const Shape shape{9, 9, 9, 1};
  Image<uint8_t> src = std::move(Image<uint8_t>(shape).fill([](int32_t, size_t) { return 0; }));
  src.at(4, 4) = 255;
  const Image<uint8_t> dst(shape);
  EXPECT_EQ(filter(src, dst, kernel, 4, 0, sigma), TAMIX_OK);
  return {dst.at(3, 3), dst.at(3, 4), dst.at(4, 4)};
}

TEST(GaussianFilterCPUUINT8, BuildsItsKernelFromSigma) {
  const auto scaled = [](int32_t corner, int32_t edge, int32_t centre) {
    return std::array<int32_t, 3>{255 * corner >> 12, 255 * edge >> 12, 255 * centre >> 12};
  };
  EXPECT_EQ(responses(nullptr, 0.0f), scaled(233, 511, 1116));
  EXPECT_EQ(responses(nullptr, 0.8f), scaled(233, 511, 1116));
  EXPECT_EQ(responses(nullptr, -1.0f), scaled(307, 507, 836));
  EXPECT_EQ(responses(nullptr, 1.5f), scaled(388, 484, 605));
  EXPECT_EQ(responses(nullptr, INFINITY), scaled(455, 455, 455));
  EXPECT_EQ(responses(nullptr, NAN), scaled(0, 0, 0));
  EXPECT_EQ(responses(kBinomial.data(), 9.0f), scaled(256, 512, 1024));

  const Shape shape{17, 4, 17, 3};
  const Image<uint8_t> white = std::move(Image<uint8_t>(shape).fill([](int32_t, size_t) { return 255; }));
  const Image<uint8_t> darker = std::move(Image<uint8_t>(shape).fill([](int32_t, size_t) { return 254; }));
  const Image<uint8_t> dst(shape);
  filter(white, dst, nullptr, -1, 0, 0.0f);
  EXPECT_TRUE(sameBytes(dst, darker));
  filter(white, dst, kBinomial.data(), -1);
  EXPECT_TRUE(sameBytes(dst, white));
}

TEST(GaussianFilterCPUUINT8, ChoosesTheCoreByChannelsAndBorder) {
  const Image<uint8_t> three = randomImage<uint8_t>({20, 5, 20, 3});
  const Image<uint8_t> four = randomImage<uint8_t>({20, 5, 20, 4});
  const std::string general = "filter3x3SymmetricalKernelCPUUINT8 forward";
  const std::string border = "filter3x3Channel3SymmetricalKernelBorderCPUUINT8 forward";
  LogCapture log;
  for (const auto& [image, type, message] : {std::tuple{&three, 4, border},
                                             {&three, -1, border},
                                             {&three, 20, general},
                                             {&three, 1, general},
                                             {&four, 4, general}}) {
    log.clear();
    EXPECT_EQ(filter(*image, Image<uint8_t>(image->shape()), kBinomial.data(), type), TAMIX_OK);
    EXPECT_EQ(log.messages(), Lines{message}) << type;
  }
  // 20 is 4 with a flag: the same bytes by the other way.
  const Image<uint8_t> a(three.shape()), b(three.shape());
  filter(three, a, kBinomial.data(), 4);
  filter(three, b, kBinomial.data(), 20);
  EXPECT_TRUE(sameBytes(a, b));
}

TEST(GaussianFilterCPUUINT8, FillsTheOutputInFloatsWhereTheCoreFails) {
  const Kernel uneven = {0.1f, 0.2f, 0.05f, 0.07f, 0.31f, 0.02f, -0.3f, 0.4f, 0.9f};
  const Kernel extreme = {-9.0f, 9.0f, 0.5f, 2.5f, 4096.0f, -4096.0f, 0.25f, 1e30f, -1e30f};
  struct Case {
    Shape shape;
    int32_t border_type, border_value, status;
  };
  for (const Case& c :
       {Case{{7, 5, 9, 1}, 4, 0, -3}, Case{{1, 1, 1, 3}, 4, 0, -3}, Case{{7, 3, 7, 4}, 0, 0, -3}, Case{{2, 7, 3, 2}, 1, 0, -3},
        Case{{9, 1, 9, 3}, 4, 0, -3}, Case{{30, 4, 30, 1}, 5, 0, -3}, Case{{30, 4, 31, 4}, 0, -1, -15}}) {
    SCOPED_TRACE(c.shape);
    for (const Kernel& kernel : {uneven, extreme, kBinomial}) {
      const Image<uint8_t> src = randomImage<uint8_t>(c.shape);
      const Image<uint8_t> dst(c.shape);
      EXPECT_EQ(filter(src, dst, kernel.data(), c.border_type, c.border_value), c.status);
      const Image<uint8_t> expected = floatModel(src, c.shape, kernel);
      EXPECT_TRUE(sameBytes(dst, expected));
      const Image<uint8_t> in_place(src);
      EXPECT_EQ(filter(in_place, in_place, kernel.data(), c.border_type, c.border_value), c.status);
      for (int32_t y = 0; y < c.shape.height; ++y) {
        EXPECT_EQ(std::memcmp(in_place.row(y), expected.row(y), c.shape.rowElements()), 0);
      }
    }
  }
}

TEST(GaussianFilterCPUUINT8, RefusesFiveChannelsInFloatsOnly) {
  const Image<uint8_t> wide = randomImage<uint8_t>({8, 3, 8, 5});
  const Image<uint8_t> narrow = randomImage<uint8_t>({7, 3, 7, 5});
  const Image<uint8_t> dst(narrow.shape());
  LogCapture log;
  EXPECT_EQ(filter(wide, Image<uint8_t>(wide.shape()), kBinomial.data(), 4), TAMIX_OK);
  EXPECT_EQ(filter(narrow, dst, kBinomial.data(), 4), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(log.errors(), (Lines{errorLine("runtime/cpu/arm/common/filter_compute.cpp", "filter3x3SymmetricalKernelCPUUINT8",
                                           "Recieved unsupport width 7"),
                                 errorLine("runtime/cpu/arm/uint8/gaussianfilter_cpu_uint8.cpp", "gaussianFilterC",
                                           "Recieved unsupport channel 5")}));
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(narrow.shape())));
}

TEST(GaussianFilterCPUUINT8, ChecksPlanesThenKernelAndIgnoresOtherSizes) {
  const Image<uint8_t> src = randomImage<uint8_t>({16, 4, 16, 1});
  const Image<uint8_t> dst(src.shape());
  const std::string file = "runtime/cpu/arm/uint8/gaussianfilter_cpu_uint8.cpp";
  LogCapture log;
  const auto run = [&](const uint8_t* from, uint8_t* to, int32_t rows, int32_t columns, const float* kernel) {
    log.clear();
    return gaussianFilterCPUUINT8(from, to, 4, 16, 16, 16, 1, rows, columns, kernel, 4, 0, 1, 0.0f);
  };
  EXPECT_EQ(run(nullptr, dst.data(), 5, 5, nullptr), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(log.errors(), Lines{errorLine(file, "gaussianFilterCPUUINT8", "Recieved null data pointer")});
  EXPECT_EQ(run(src.data(), nullptr, 3, 3, nullptr), TAMIX_ERR_INVALID_IMAGE);
  for (const auto& [rows, columns] : {std::pair{5, 5}, {3, 1}, {0, 3}, {2147483647, 2147483647}, {-7, -7}}) {
    EXPECT_EQ(run(src.data(), dst.data(), rows, columns, nullptr), TAMIX_OK);
    EXPECT_EQ(run(src.data(), dst.data(), rows, columns, kBinomial.data()), TAMIX_OK);
  }
  EXPECT_EQ(run(src.data(), dst.data(), -3, 3, kBinomial.data()), TAMIX_OK);
  EXPECT_EQ(run(src.data(), dst.data(), -3, 3, nullptr), TAMIX_ERR_NO_MEMORY);
  const std::string no_memory = errorLine(file, "gaussianFilterCPUUINT8", "failed to allocate memory for gaussian kernel");
  EXPECT_EQ(log.errors(), Lines{no_memory});
  {
    const FailingMemalign failing(0);
    EXPECT_EQ(run(src.data(), dst.data(), 3, 3, nullptr), TAMIX_ERR_NO_MEMORY);
    EXPECT_EQ(log.errors(), Lines{no_memory});
  }
  EXPECT_TRUE(sameBytes(dst, Image<uint8_t>(src.shape())));
}

TEST(GaussianFilterCPUUINT8, LeavesRowsWithoutChannelsAloneWhereverTheyLie) {
  const LogCapture log(4);
  uint8_t byte = 7;
  EXPECT_EQ(gaussianFilterCPUUINT8(&byte, &byte, 8, 16, INT32_MAX, INT32_MAX, -INT32_MAX, 3, 3, nullptr, 9, 0, 1, 0.0f),
            TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace tamix::test
