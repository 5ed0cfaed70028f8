#include "inference/runtime/cpu/arm/uint8/concat_cpu_uint8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

const std::string kFile = "runtime/cpu/arm/uint8/concat_cpu_uint8.cpp";

struct Joined {
  std::vector<Image<uint8_t>> images;  // always four; the first `count` count
  int32_t count;
  Image<uint8_t> dst;
};

// Images of the given sizes along the direction of joining and `other` across it, all packed.
Joined joined(const std::vector<int32_t>& sizes, int32_t other, int32_t channel, bool beside) {
  std::vector<Image<uint8_t>> images;
  int32_t sum = 0;
  for (size_t i = 0; i < 4; ++i) {
    const int32_t size = i < sizes.size() ? sizes[i] : 1;
    const Shape shape = beside ? Shape{size, other, size, channel} : Shape{other, size, other, channel};
    images.push_back(randomImage<uint8_t>(shape, static_cast<uint32_t>(i) + 1));
    if (i < sizes.size()) sum += size;
  }
  const Shape shape = beside ? Shape{sum, other, sum, channel} : Shape{other, sum, other, channel};
  return {std::move(images), static_cast<int32_t>(sizes.size()), Image<uint8_t>(shape)};
}

int32_t run(const Joined& j, bool beside) {
  const auto size = [&](size_t i) { return beside ? j.images[i].shape().width : j.images[i].shape().height; };
  const Shape& out = j.dst.shape();
  const auto kernel = beside ? vconcatCPUUINT8 : hconcatCPUUINT8;
  return kernel(j.images[0].data(), size(0), j.images[1].data(), size(1), j.images[2].data(), size(2), j.images[3].data(),
                size(3), beside ? out.height : out.width, j.dst.data(), out.height, out.width, out.channel, j.count, 1);
}

TEST(ConcatCPUUINT8, JoinsOneToFourImagesInOrder) {
  const std::vector<std::vector<int32_t>> sizes = {{4}, {4, 4}, {1, 2, 3}, {70, 1, 33, 16}};
  for (const auto& s : sizes) {
    for (const int32_t channel : {1, 2, 3, 4}) {
      for (const int32_t other : {1, 2, 37}) {
        for (const bool beside : {true, false}) {
          const Joined j = joined(s, other, channel, beside);
          Image<uint8_t> expected(j.dst);
          expected.fill([&](int32_t y, size_t i) {
            int32_t at = beside ? static_cast<int32_t>(i) / channel : y;
            size_t k = 0;
            while (at >= s[k]) at -= s[k++];
            return beside ? j.images[k].at(y, at, static_cast<int32_t>(i) % channel) : j.images[k].row(at)[i];
          });
          EXPECT_EQ(run(j, beside), TAMIX_OK);
          EXPECT_TRUE(sameBytes(j.dst, expected)) << "beside " << beside << ", images " << s.size();
        }
      }
    }
  }
}

TEST(ConcatCPUUINT8, RefusesInTheOrderOfItsChecks) {
  const auto a = randomImage<uint8_t>({4, 4, 4});
  const Image<uint8_t> out({8, 8, 8});
  const Image<uint8_t> untouched(out);
  struct Case {
    const uint8_t* second;
    uint8_t* dst;
    int32_t size, dst_size, channels, count;
    std::string message;
  };
  uint8_t* const to = out.data();
  const std::vector<Case> cases = {
      {nullptr, nullptr, 4, 9, -1, 5, "Recieved null output data pointer"},
      {nullptr, to, 4, 9, 1, 5, "Recieved illegal input parameters 5, 1"},
      {nullptr, to, 4, 9, 1, -1, "Recieved illegal input parameters -1, 1"},
      {nullptr, to, 4, 9, -3, 2, "Recieved illegal input parameters 2, -3"},
      {nullptr, to, 4, 9, 1, 2, "Recieved null input data pointer"},
      {a.data(), to, 4, 9, 1, 2, "Recieved unequal SIZE 8, 9"},
      {nullptr, to, 4, 9, 1, 1, "Recieved unequal SIZE 4, 9"},
      {a.data(), to, 4, 8, 1, 0, "Recieved unequal SIZE 0, 8"},
  };
  for (const Case& c : cases) {
    for (const bool beside : {true, false}) {
      LogCapture log;
      const auto kernel = beside ? vconcatCPUUINT8 : hconcatCPUUINT8;
      EXPECT_EQ(kernel(a.data(), c.size, c.second, c.size, nullptr, 1, nullptr, 1, 4, c.dst, c.dst_size, c.dst_size, c.channels,
                       c.count, 1),
                TAMIX_ERR_INVALID_IMAGE);
      std::string message = c.message;
      if (const size_t at = message.find("SIZE"); at != std::string::npos) message.replace(at, 4, beside ? "width" : "height");
      EXPECT_EQ(log.errors(),
                std::vector<std::string>{errorLine(kFile, beside ? "vconcatCPUUINT8" : "hconcatCPUUINT8", message)});
    }
  }
  EXPECT_TRUE(sameBytes(out, untouched));
}

TEST(ConcatCPUUINT8, WritesNothingBehindTheOutputWhereASizeIsNegative) {
  const auto a = randomImage<uint8_t>({4, 4, 4});
  const Image<uint8_t> out({4, 2, 4});
  EXPECT_EQ(hconcatCPUUINT8(a.data(), -2, a.data(), 4, nullptr, 0, nullptr, 0, 4, out.data(), 2, 4, 1, 2, 1), TAMIX_OK);
  EXPECT_EQ(std::memcmp(out.data(), a.data(), 8), 0);
  const Image<uint8_t> beside({2, 4, 2});
  EXPECT_EQ(vconcatCPUUINT8(a.data(), -2, a.data(), 4, nullptr, 0, nullptr, 0, 4, beside.data(), 4, 2, 1, 2, 1), TAMIX_OK);
  for (int32_t y = 0; y < 4; ++y) EXPECT_EQ(std::memcmp(beside.row(y), a.row(y), 2), 0);
}

}  // namespace
}  // namespace tamix::test
