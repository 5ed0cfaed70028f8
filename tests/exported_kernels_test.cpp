// The exported kernels without memory.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tamix/kernels.h"
#include "tests/support/allocation.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

// Writes at most 24x12 pixels of 4 bytes to `out` from a frame or image of 24x12 pixels.
struct Kernel {
  const char* name;
  bool allocates;
  std::function<int32_t(const uint8_t* in, uint8_t* out)> run;
};

const Kernel kKernels[] = {
    {"NV21ToRGB", false, [](auto in, auto out) { return NV21ToRGBCPUUINT8(in, in, out, 24, 12, 24, 24); }},
    {"NV21ToBGR", false, [](auto in, auto out) { return NV21ToBGRCPUUINT8(in, in, out, 24, 12, 24, 24); }},
    {"NV12ToRGB", false, [](auto in, auto out) { return NV12ToRGBCPUUINT8(in, in, out, 24, 12, 24, 24); }},
    {"NV12ToBGR", false, [](auto in, auto out) { return NV12ToBGRCPUUINT8(in, in, out, 24, 12, 24, 24); }},
    {"I420ToRGB", false, [](auto in, auto out) { return I420ToRGBCPUUINT8(in, in, in, out, 23, 11, 24, 24); }},
    {"I420ToBGR", false, [](auto in, auto out) { return I420ToBGRCPUUINT8(in, in, in, out, 23, 11, 24, 24); }},
    {"RGBToNV12", false, [](auto in, auto out) { return RGBToNV12CPUUINT8(in, out, out + 288, 24, 12, 24, 24); }},
    {"BGRToNV12", false, [](auto in, auto out) { return BGRToNV12CPUUINT8(in, out, out + 288, 24, 12, 24, 24); }},
    {"RGBToNV21", false, [](auto in, auto out) { return RGBToNV21CPUUINT8(in, out, out + 288, 24, 12, 24, 24); }},
    {"BGRToNV21", false, [](auto in, auto out) { return BGRToNV21CPUUINT8(in, out, out + 288, 24, 12, 24, 24); }},
    {"resizeBilinearNV21toRGB", true,
     [](auto in, auto out) { return resizeBilinearNV21toRGBCPUUINT8(in, in, 1, 12, 24, 24, out, 7, 19, 19, 2); }},
    {"resizeBilinearNV21toBGR", true,
     [](auto in, auto out) { return resizeBilinearNV21toBGRCPUUINT8(in, in, 0, 12, 24, 24, out, 7, 19, 19, 2); }},
    {"gaussianFilter, in place", true,
     [](auto in, auto out) {
       std::copy_n(in, 24 * 12 * 3, out);
       return gaussianFilterCPUUINT8(out, out, 12, 24, 24, 24, 3, 3, 3, nullptr, TAMIX_BORDER_CONSTANT, 7, 2, 1.0f);
     }},
    {"resizeBilinear", true, [](auto in, auto out) { return resizeBilinearCPUUINT8(in, 12, 24, 24, out, 7, 19, 19, 3, 2); }},
    {"resizeBilinear of 4 channels", true,
     [](auto in, auto out) { return resizeBilinearCPUUINT8(in, 12, 24, 24, out, 7, 18, 19, 4, 3); }},
    {"resizeArea", true, [](auto in, auto out) { return resizeAreaCPUUINT8(in, 12, 24, 24, out, 7, 19, 19, 3, 2); }},
    {"meanFilter", false, [](auto in, auto out) { return meanFilterCPUUINT8(in, 12, 24, 24, out, 12, 24, 24, 1, 3, 2); }},
    {"guidedFilter", true,
     [](auto in, auto out) { return guidedFilterCPUUINT8(in, 12, 24, 24, in, 8, 16, 24, out, 12, 24, 24, 3, 5, 2); }},
};

TEST(ExportedKernels, SurviveEveryFailedAllocation) {
  const Shape shape{24, 12, 24, 4};
  const auto in = randomImage<uint8_t>(shape);
  for (const Kernel& kernel : kKernels) {
    SCOPED_TRACE(kernel.name);
    const Image<uint8_t> expected(shape);
    const int32_t status = kernel.run(in.data(), expected.data());
    const int64_t live_before = liveBytes();
    bool has_struck = true;
    int64_t allocations = -1;
    for (; has_struck; ++allocations) {
      const Image<uint8_t> out(shape);
      const LogCapture log;
      int32_t starved;
      {
        const FailingAllocation failing(allocations + 1);
        starved = kernel.run(in.data(), out.data());
        has_struck = failing.struck();
      }
      if (starved != status) {
        EXPECT_EQ(starved, TAMIX_ERR_NO_MEMORY);
        EXPECT_FALSE(log.errors().empty());
        EXPECT_EQ(kernel.run(in.data(), out.data()), status);
      }
      EXPECT_TRUE(sameBytes(out, expected));
    }
    EXPECT_EQ(allocations > 0, kernel.allocates);
    EXPECT_EQ(liveBytes(), live_before);
  }
}

}  // namespace
}  // namespace tamix::test
