// Mean filter: the float kernel against window sums in the defined order, and the byte kernel that refuses everything.
#include "inference/runtime/cpu/arm/fp32/meanfilter_cpu_fp32.h"

#include <gtest/gtest.h>

#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"
#include "tests/support/operator_run.h"

namespace tamix::test {
namespace {

using Floats = Image<float>;

int32_t mirrored(int32_t p, int32_t n) { return p < 0 ? -p : p >= n ? 2 * n - 2 - p : p; }

Floats model(const Floats& src, int32_t size) {
  const int32_t height = src.shape().height;
  const int32_t width = src.shape().width;
  const int32_t reach = size / 2;
  Floats out(src);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const bool edge = y < 2 || x < 2 || y >= height - 2 || x >= width - 2;
      if (size == 5 && edge) continue;
      float sum = 0;
      for (int32_t r = -reach; r <= reach; ++r) {
        for (int32_t c = -reach; c <= reach; ++c) sum += src.at(mirrored(y + r, height), mirrored(x + c, width));
      }
      out.at(y, x) = sum / static_cast<float>(size * size);
    }
  }
  return out;
}

int32_t run(const Floats& src, const Floats& dst, int32_t size) {
  const Shape& s = src.shape();
  // The strides are not read.
  return meanFilterCPUFLOAT32(src.data(), s.height, s.width, 999, dst.data(), s.height, s.width, 1, 1, size, 1);
}

TEST(MeanFilterCPUFLOAT32, AveragesWindowsUpToTheEdges) {
  for (const int32_t size : {3, 5}) {
    const int32_t least = size == 3 ? 2 : 5;
    for (const int32_t height : {least, least + 1, 7, 8, 9, 13}) {
      for (const int32_t width : {least, least + 1, 7, 18, 19, 20, 21, 33, 36, 37, 70, 131}) {
        const Floats src = randomImage<float>({width, height, width});
        Floats dst(src.shape());
        ASSERT_EQ(run(src, dst, size), TAMIX_OK);
        ASSERT_TRUE(sameBytes(dst, model(src, size))) << "size " << size;
      }
    }
  }
}

TEST(MeanFilterCPUFLOAT32, TakesAnOutputThatOverlapsItsInput) {
  const Floats src = randomImage<float>({40, 9, 40});
  for (const int32_t size : {3, 5}) {
    Floats both(src);
    ASSERT_EQ(run(both, both, size), TAMIX_OK);
    EXPECT_TRUE(sameBytes(both, model(src, size)));
    Floats kept(src);
    const FailingMemalign failing(0);
    EXPECT_EQ(run(kept, kept, size), TAMIX_ERR_NO_MEMORY);
    EXPECT_TRUE(sameBytes(kept, src));
  }
}

TEST(MeanFilterCPUFLOAT32, RefusesInOrder) {
  const Floats src = randomImage<float>({6, 6, 6});
  Floats dst(src.shape());
  const std::string file = "runtime/cpu/arm/fp32/meanfilter_cpu_fp32.cpp";
  struct Refusal {
    bool null;
    int32_t height, width, channel, size, status;
    const char* message;
  };
  const Refusal refusals[] = {
      {true, 1, 1, 3, 7, TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer"},
      {false, 1, 1, 3, 7, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 3"},
      {false, 1, 1, 1, 7, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernnel size: 7"},
      {false, 1, 6, 1, 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (1, 6) and (1, 6)"},
      {false, 6, 1, 1, 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (6, 1) and (6, 1)"},
      {false, 4, 6, 1, 5, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (4, 6) and (4, 6)"},
      {false, 6, 4, 1, 5, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (6, 4) and (6, 4)"},
      {false, -9, -9, 1, 3, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (-9, -9) and (-9, -9)"},
  };
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(r.message);
    LogCapture log;
    EXPECT_EQ(meanFilterCPUFLOAT32(src.data(), r.height, r.width, 6, r.null ? nullptr : dst.data(), r.height, r.width, 6,
                                   r.channel, r.size, 1),
              r.status);
    EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(file, "meanFilterCPUFLOAT32", r.message)});
  }
  EXPECT_TRUE(sameBytes(dst, Floats(src.shape())));
}

TEST(MeanFilterCPUUINT8, RefusesEverything) {
  Image<uint8_t> image({6, 6, 6});
  const Image<uint8_t> before(image);
  const std::string file = "runtime/cpu/arm/uint8/meanfilter_cpu_uint8.cpp";
  struct Refusal {
    bool null;
    int32_t channel, size, status;
    const char* message;
  };
  const Refusal refusals[] = {
      {true, 3, 7, TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer"},
      {false, 3, 7, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported channel: 3"},
      {false, 1, 7, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported kernnel size: 7"},
      {false, 1, 3, TAMIX_ERR_UNSUPPORTED, nullptr},
      {false, 1, 5, TAMIX_ERR_UNSUPPORTED, nullptr},
  };
  for (const Refusal& r : refusals) {
    LogCapture log;
    EXPECT_EQ(meanFilterCPUUINT8(r.null ? nullptr : image.data(), 6, 6, 6, image.data(), 6, 6, 6, r.channel, r.size, 1),
              r.status);
    EXPECT_EQ(log.errors(), r.message == nullptr ? std::vector<std::string>{}
                                                 : std::vector<std::string>{errorLine(file, "meanFilterCPUUINT8", r.message)});
  }
  EXPECT_TRUE(sameBytes(image, before));
}

TEST(MeanFilterCPU, WritesFloatsPackedOrConvertsThem) {
  const Floats src = randomImage<float>({23, 9, 23});
  Floats expected = model(src, 5);
  const RunningOperator filter(TAMIX_OP_MEAN_FILTER);
  Floats dst(src.shape());
  TamixParams params;
  initTamixParams(&params);
  params.input[0] = src.record(Tamix_GRAY, Tamix_FLOAT32);
  params.output[0] = dst.record(Tamix_GRAY, Tamix_FLOAT32);
  params.kernel_size = 5;
  params.input[0].width_stride = params.output[0].width_stride = 30;  // not read: rows are packed
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  EXPECT_TRUE(sameBytes(dst, expected));

  Image<uint8_t> bytes(src.shape());  // too small for floats
  params.output[0] = bytes.record(Tamix_GRAY, Tamix_UINT8);
  EXPECT_EQ(filter.run(params), TAMIX_OK);
  for (size_t i = 0; i < bytes.elements(); ++i) {
    const float mean = expected.data()[i];
    const bool block = i % 23 < 16;  // where negative values end as 0
    const auto byte = static_cast<uint8_t>(block && mean < 0 ? 0 : static_cast<int>(mean));
    ASSERT_EQ(bytes.data()[i], byte) << i << " " << mean;
  }
  const FailingMemalign failing(0, true);
  EXPECT_EQ(filter.run(params), TAMIX_ERR_NO_MEMORY);
  // Of bytes there is no mean, in whatever output.
  params.input[0] = bytes.record(Tamix_GRAY, Tamix_UINT8);
  EXPECT_EQ(filter.run(params), TAMIX_ERR_UNSUPPORTED);
}

}  // namespace
}  // namespace tamix::test
