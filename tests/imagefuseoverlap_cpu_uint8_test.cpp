#include "inference/runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

// Toward zero, saturated; NaN gives 0.
int64_t truncated(float x) {
  if (std::isnan(x)) return 0;
  return static_cast<int64_t>(std::clamp(static_cast<double>(std::trunc(x)), -2147483648.0, 2147483647.0));
}

uint8_t blended(uint8_t s1, uint8_t s0, float w) {
  const float first = w * static_cast<float>(s1);
  const float second = (1.0f - w) * static_cast<float>(s0);
  return static_cast<uint8_t>(std::clamp<int64_t>(truncated(first) + truncated(second), 0, 255));
}

// Weights from 0 to 1, and some that no caller should pass.
std::vector<float> weightsOf(int32_t count) {
  std::vector<float> weights(static_cast<size_t>(count) + 1);
  for (size_t k = 0; k < weights.size(); ++k) weights[k] = static_cast<float>(k) / static_cast<float>(weights.size());
  const float odd[] = {NAN, INFINITY, -INFINITY, 3e9f, -1.5f, 2.25f, 1e38f, 0.1f};
  for (size_t k = 3; k < weights.size(); k += 4) weights[k] = odd[(k / 4) % std::size(odd)];
  return weights;
}

void expectJoined(bool beside, int32_t length0, int32_t length1, int32_t side, int32_t overlap) {
  SCOPED_TRACE(testing::Message() << (beside ? "beside " : "below ") << length0 << " + " << length1 << " x " << side << " - "
                                  << overlap);
  const auto shape = [&](int32_t length) { return beside ? Shape{length, side, length, 3} : Shape{side, length, side, 3}; };
  const Image<uint8_t> a = randomImage<uint8_t>(shape(length0), 1);
  const Image<uint8_t> b = randomImage<uint8_t>(shape(length1), 2);
  const std::vector<float> weights = weightsOf(overlap);
  Image<uint8_t> expected(shape(length0 + length1 - overlap));
  expected.fill([&](int32_t y, size_t i) -> uint8_t {
    const auto x = static_cast<int32_t>(i / 3);
    const auto c = static_cast<int32_t>(i % 3);
    const int32_t place = beside ? x : y;
    const int32_t second = place - (length0 - overlap);  // where the pixel lies in b
    if (second < 0) return a.at(y, x, c);
    const uint8_t s1 = beside ? b.at(y, second, c) : b.at(second, x, c);
    if (second >= overlap) return s1;
    return blended(s1, a.at(y, x, c), weights[static_cast<size_t>(second)]);
  });
  Image<uint8_t> dst(expected.shape());
  int32_t height = 0, width = 0;
  EXPECT_EQ(imageFuseOverlapCPUUINT8(a.data(), a.shape().height, a.shape().width, b.data(), b.shape().height, b.shape().width,
                                     dst.data(), &height, &width, 3, weights.data(), overlap, beside ? 1 : 0, 1),
            TAMIX_OK);
  EXPECT_EQ(height, expected.shape().height);
  EXPECT_EQ(width, expected.shape().width);
  EXPECT_TRUE(sameBytes(dst, expected));
}

TEST(ImageFuseOverlapCPUUINT8, JoinsAndBlendsBothWays) {
  for (const bool beside : {true, false}) {
    expectJoined(beside, 100, 80, 50, 20);
    expectJoined(beside, 1, 1, 1, 0);
    expectJoined(beside, 1, 1, 1, 1);
    expectJoined(beside, 37, 37, 5, 37);
    expectJoined(beside, 64, 9, 33, 9);
    expectJoined(beside, 5, 64, 3, 5);
    expectJoined(beside, 20, 30, 7, 0);
    expectJoined(beside, 1300, 1205, 2, 1201);  // a band of several runs of weights
  }
}

TEST(ImageFuseOverlapCPUUINT8, RefusesWhatCannotBeJoinedAndLeavesTheOutputAlone) {
  const uint8_t src[200] = {};
  const float weights[8] = {};
  uint8_t dst = 9;
  int32_t height = -1, width = -1;
  LogCapture log;
  const auto fuse = [&](const uint8_t* src0, int32_t height0, int32_t width0, const uint8_t* src1, int32_t height1,
                        int32_t width1, uint8_t* out, int32_t channel, const float* w, int32_t overlap, int32_t direction) {
    return imageFuseOverlapCPUUINT8(src0, height0, width0, src1, height1, width1, out, &height, &width, channel, w, overlap,
                                    direction, 1);
  };
  EXPECT_EQ(fuse(nullptr, 1, 1, src, 2, 1, &dst, 4, weights, 0, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(fuse(src, 1, 1, nullptr, 1, 1, &dst, 3, weights, 0, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(fuse(src, 1, 1, src, 1, 1, nullptr, 3, weights, 0, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(fuse(src, 1, 1, src, 1, 1, &dst, 3, nullptr, 0, 1), TAMIX_ERR_INVALID_IMAGE);
  EXPECT_EQ(height, -1);
  EXPECT_EQ(fuse(src, 5, 10, src, 4, 8, &dst, 3, weights, 2, 1), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(height, 5);  // the size is known before the shapes are compared
  EXPECT_EQ(width, 16);
  EXPECT_EQ(fuse(src, 5, 10, src, 4, 8, &dst, 4, weights, 2, 0), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(height, 7);
  EXPECT_EQ(width, 10);
  EXPECT_EQ(fuse(src, 5, 10, src, 5, 8, &dst, 3, weights, -1, 1), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(fuse(src, 5, 10, src, 5, 8, &dst, 3, weights, 9, 1), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(fuse(src, 5, 8, src, 6, 8, &dst, 3, weights, 6, 2), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(fuse(src, 1, 2147483647, src, 1, 2147483647, &dst, 3, weights, 0, 1), TAMIX_ERR_ILLEGAL_RECT);
  EXPECT_EQ(fuse(src, 5, 10, src, 5, 8, &dst, 4, weights, 2, 1), TAMIX_ERR_UNSUPPORTED);
  EXPECT_EQ(fuse(src, 0, 10, src, 0, 8, &dst, 3, weights, 2, 1), TAMIX_OK);
  EXPECT_EQ(dst, 9);

  const auto line = [](const std::string& message) {
    return errorLine("runtime/cpu/arm/uint8/imagefuseoverlap_cpu_uint8.cpp", "imageFuseOverlapCPUUINT8", message);
  };
  const auto rects = [&](const std::string& bounds) { return line("recieve illegal shape: src0_rect: " + bounds); };
  std::vector<std::string> expected(4, line("Recieved null data pointer"));
  expected.push_back(rects("0, 5, 8, 10 | src1_rect: 0, 4, 0, 2"));
  expected.push_back(rects("3, 5, 0, 10 | src1_rect: 0, 2, 0, 8"));
  expected.push_back(rects("0, 5, 11, 10 | src1_rect: 0, 5, 0, -1"));
  expected.push_back(rects("0, 5, 1, 10 | src1_rect: 0, 5, 0, 9"));
  expected.push_back(rects("-1, 5, 0, 8 | src1_rect: 0, 6, 0, 8"));
  expected.push_back(rects("0, 1, 2147483647, 2147483647 | src1_rect: 0, 1, 0, 0"));
  expected.push_back(line("Recieve unsupported channel: 4"));
  EXPECT_EQ(log.errors(), expected);
}

}  // namespace
}  // namespace tamix::test
