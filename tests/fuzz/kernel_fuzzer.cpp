// The exported kernels on planes that end where the arguments say.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>

#include "tamix/kernels.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/hostile/hostile_record.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

constexpr int64_t kLargestPlane = 1 << 20;

// Arguments of a call, and the memory they point to.
class Arguments {
 public:
  explicit Arguments(std::span<const uint8_t> recipe) : choose_(recipe) {}

  int32_t number(int32_t least, int32_t most) { return choose_.oneIn(24) ? anything() : choose_.between(least, most); }
  int32_t oneOf(std::initializer_list<int32_t> values) { return choose_.oneIn(24) ? anything() : choose_.oneOf(values); }
  int32_t width() { return number(1, choose_.oneIn(8) ? 400 : 70); }
  int32_t height() { return number(1, choose_.oneIn(8) ? 40 : 9); }
  // At least a width, mostly.
  int32_t stride(int32_t width) {
    const int32_t padding = choose_.oneOf({0, 0, 1, 2, 6, 33});
    if (choose_.oneIn(24)) return std::max(anything(), 0);
    return width > std::numeric_limits<int32_t>::max() - padding ? width : std::max(width, 0) + padding;
  }
  bool oneIn(uint32_t n) { return choose_.oneIn(n); }

  // Rows of `bytes` bytes, `pitch` bytes apart; null where that is too much to provide, and now and then.
  uint8_t* plane(int64_t rows, int64_t pitch, int64_t bytes) {
    rows = bytes < 1 ? 0 : std::max(rows, int64_t{0});
    const bool fits = rows <= kLargestPlane && bytes <= kLargestPlane && rows * bytes <= 4 * kLargestPlane &&
                      static_cast<double>(rows) * static_cast<double>(pitch) + static_cast<double>(bytes) <= kLargestPlane;
    if (!fits || choose_.oneIn(40)) return nullptr;
    const size_t size = rows == 0 ? 0 : static_cast<size_t>((rows - 1) * pitch + bytes);
    planes_.emplace_back(size, choose_.oneIn(4) ? Guard::kBefore : Guard::kBehind);
    auto* const data = static_cast<uint8_t*>(planes_.back().data());
    fill(data, size);
    return data;
  }
  const float* floats(size_t n) {
    auto* const data = reinterpret_cast<float*>(plane(1, 0, static_cast<int64_t>(n * sizeof(float))));
    for (size_t i = 0; data != nullptr && i < n; ++i) {
      const float odd =
          choose_.oneOf({std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -1e30f, 1e-40f});
      data[i] = choose_.oneIn(24) ? odd : static_cast<float>(choose_.between(-20, 100)) / 100.0f;
    }
    return data;
  }
  float real() { return choose_.oneIn(8) ? std::nanf("") : static_cast<float>(choose_.between(-10, 50)) / 10.0f; }

 private:
  int32_t anything() {
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
    return choose_.oneOf({0,   -1,    1,     2,     3,     4,       5,       8,  9,   15,        16,    17,     255,
                          256, 32767, 32768, 46341, 65535, 1 << 24, 1 << 30, -2, -16, kMost - 1, kMost, kLeast, kLeast + 1});
  }
  void fill(uint8_t* data, size_t size) {
    // A short tile again and again; what lies behind the recipe's end is zero.
    std::array<uint8_t, 64> tile;
    uint32_t state = choose_.below(50001) + 1;
    for (uint8_t& byte : tile) byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    for (size_t i = 0; i < size; i += tile.size()) std::memcpy(data + i, tile.data(), std::min(tile.size(), size - i));
  }

  Choices choose_;
  std::deque<GuardedBytes> planes_;
};

// (n + 1) / 2 in 64 bits.
int64_t halfUp(int32_t n) { return (int64_t{n} + 1) / 2; }

using PairsToColors = decltype(&NV21ToRGBCPUUINT8);
using ColorsToPairs = decltype(&RGBToNV12CPUUINT8);
using PlanesToColors = decltype(&I420ToRGBCPUUINT8);
using ResizePairs = decltype(&resizeBilinearNV21toRGBCPUUINT8);
using Resize = decltype(&resizeAreaCPUUINT8);

template <PairsToColors kKernel>
int32_t pairsToColors(Arguments& a) {
  const int32_t width = a.width();
  const int32_t height = a.height();
  const int32_t src_stride = a.stride(width % 2 == 0 ? width : width + (width > 0 && width < 1000));
  const int32_t dst_stride = a.stride(width);
  const uint8_t* const y = a.plane(height, src_stride, width);
  const uint8_t* const uv = a.plane(halfUp(height), src_stride, 2 * halfUp(width));
  return kKernel(y, uv, a.plane(height, 3LL * dst_stride, 3LL * width), width, height, src_stride, dst_stride);
}

template <PlanesToColors kKernel>
int32_t planesToColors(Arguments& a) {
  const int32_t width = a.width();
  const int32_t height = a.height();
  const int32_t src_stride = a.stride(width);
  const int32_t dst_stride = a.stride(width);
  const uint8_t* const y = a.plane(height, src_stride, width);
  const uint8_t* const u = a.plane(halfUp(height), src_stride / 2, halfUp(width));
  const uint8_t* const v = a.plane(halfUp(height), src_stride / 2, halfUp(width));
  return kKernel(y, u, v, a.plane(height, 3LL * dst_stride, 3LL * width), width, height, src_stride, dst_stride);
}

template <ColorsToPairs kKernel>
int32_t colorsToPairs(Arguments& a) {
  const int32_t width = a.width();
  const int32_t height = a.height();
  const int32_t src_stride = a.stride(width);
  const int32_t dst_stride = a.stride(width);
  // The last row of an odd height is left out.
  const int64_t rows = height / 2 * 2;
  const uint8_t* const src = a.plane(rows, 3LL * src_stride, 3LL * width);
  uint8_t* const y = a.plane(rows, dst_stride, width);
  return kKernel(src, y, a.plane(rows / 2, dst_stride, 2 * halfUp(width)), width, height, src_stride, dst_stride);
}

template <ResizePairs kKernel>
int32_t resizePairs(Arguments& a) {
  const int32_t src_width = a.width();
  const int32_t src_height = a.number(8, 40);
  const int32_t dst_width = a.width();
  const int32_t dst_height = a.height();
  const int32_t src_stride = a.stride(src_width);
  const int32_t dst_stride = a.stride(dst_width);
  const uint8_t* const y = a.plane(src_height, src_stride, src_width);
  const uint8_t* const uv = a.plane(src_height / 2, src_stride, src_width / 2 * 2LL);
  const int32_t is_nv21 = a.oneOf({0, 1});
  return kKernel(y, uv, is_nv21, src_height, src_width, src_stride, a.plane(dst_height, 3LL * dst_stride, 3LL * dst_width),
                 dst_height, dst_width, dst_stride, a.oneOf({1, 2, 4}));
}

template <Resize kKernel>
int32_t resize(Arguments& a) {
  const int32_t channels = a.number(1, 5);
  const int32_t src_width = a.width();
  const int32_t src_height = a.height();
  const int32_t dst_width = a.width();
  const int32_t dst_height = a.height();
  const int32_t src_stride = a.stride(src_width);
  const int32_t dst_stride = a.stride(dst_width);
  const int64_t n = std::max(channels, 0);
  const uint8_t* const src = a.plane(src_height, n * src_stride, n * src_width);
  uint8_t* const dst = a.plane(dst_height, n * dst_stride, n * dst_width);
  return kKernel(src, src_height, src_width, src_stride, dst, dst_height, dst_width, dst_stride, channels,
                 a.oneOf({1, 2, 4, 0}));
}

int32_t gaussian(Arguments& a) {
  const int32_t channels = a.number(1, 4);
  const int32_t width = a.width();
  const int32_t height = a.height();
  const int32_t src_stride = a.stride(width);
  const int32_t dst_stride = a.stride(width);
  const int64_t n = std::max(channels, 0);
  uint8_t* const src = a.plane(height, n * src_stride, n * width);
  uint8_t* const dst = src_stride == dst_stride && a.oneIn(8) ? src : a.plane(height, n * dst_stride, n * width);
  const int32_t kernel_height = a.oneOf({3, 3, 3, 5});
  const int32_t kernel_width = a.oneOf({3, 3, 3, 1});
  const float* const kernel = a.oneIn(2) ? a.floats(9) : nullptr;
  const int32_t border = a.oneOf({-1, 0, 1, 2, 3, 4});
  return gaussianFilterCPUUINT8(src, dst, height, width, src_stride, dst_stride, channels, kernel_height, kernel_width, kernel,
                                border, a.number(0, 255), a.oneOf({1, 2}), a.real());
}

int32_t mean(Arguments& a) {
  const int32_t width = a.width();
  const int32_t height = a.height();
  const int32_t stride = a.stride(width);
  const uint8_t* const src = a.plane(0, 0, 0);
  return meanFilterCPUUINT8(src, height, width, stride, a.plane(0, 0, 0), height, width, stride, a.oneOf({1, 3}),
                            a.oneOf({3, 5, -1}), a.oneOf({1, 2}));
}

int32_t guided(Arguments& a) {
  const int32_t src_width = a.width();
  const int32_t src_height = a.height();
  const bool same = a.oneIn(2);
  const int32_t guide_width = same ? src_width : a.width();
  const int32_t guide_height = same ? src_height : a.height();
  const int32_t dst_width = a.oneIn(24) ? a.width() : guide_width;
  const int32_t dst_height = a.oneIn(24) ? a.height() : guide_height;
  const int32_t src_stride = a.stride(src_width);
  const int32_t guide_stride = a.stride(guide_width);
  const int32_t dst_stride = a.stride(dst_width);
  const uint8_t* const guide = a.plane(guide_height, 3LL * guide_stride, 3LL * guide_width);
  const uint8_t* const src = a.plane(src_height, 3LL * src_stride, 3LL * src_width);
  uint8_t* const dst = a.plane(dst_height, 3LL * dst_stride, 3LL * dst_width);
  return guidedFilterCPUUINT8(guide, guide_height, guide_width, guide_stride, src, src_height, src_width, src_stride, dst,
                              dst_height, dst_width, dst_stride, a.oneOf({3, 3, 3, 1}), a.oneOf({5, 5, -1, 3}),
                              a.oneOf({1, 2, 4}));
}

struct Kernel {
  const char* name;
  int32_t (*call)(Arguments&);
};
constexpr std::array<Kernel, 17> kKernels = {{
    {"NV21ToRGBCPUUINT8", pairsToColors<NV21ToRGBCPUUINT8>},
    {"NV21ToBGRCPUUINT8", pairsToColors<NV21ToBGRCPUUINT8>},
    {"NV12ToRGBCPUUINT8", pairsToColors<NV12ToRGBCPUUINT8>},
    {"NV12ToBGRCPUUINT8", pairsToColors<NV12ToBGRCPUUINT8>},
    {"I420ToRGBCPUUINT8", planesToColors<I420ToRGBCPUUINT8>},
    {"I420ToBGRCPUUINT8", planesToColors<I420ToBGRCPUUINT8>},
    {"RGBToNV12CPUUINT8", colorsToPairs<RGBToNV12CPUUINT8>},
    {"BGRToNV12CPUUINT8", colorsToPairs<BGRToNV12CPUUINT8>},
    {"RGBToNV21CPUUINT8", colorsToPairs<RGBToNV21CPUUINT8>},
    {"BGRToNV21CPUUINT8", colorsToPairs<BGRToNV21CPUUINT8>},
    {"resizeBilinearNV21toRGBCPUUINT8", resizePairs<resizeBilinearNV21toRGBCPUUINT8>},
    {"resizeBilinearNV21toBGRCPUUINT8", resizePairs<resizeBilinearNV21toBGRCPUUINT8>},
    {"resizeBilinearCPUUINT8", resize<resizeBilinearCPUUINT8>},
    {"resizeAreaCPUUINT8", resize<resizeAreaCPUUINT8>},
    {"gaussianFilterCPUUINT8", gaussian},
    {"guidedFilterCPUUINT8", guided},
    {"meanFilterCPUUINT8", mean},
}};

}  // namespace

const size_t kFuzzKinds = kKernels.size();

std::string fuzzKindName(size_t kind) { return kKernels[kind].name; }

bool fuzzOne(size_t kind, std::span<const uint8_t> recipe) {
  Arguments arguments(recipe);
  const LogCapture log(4);
  const int32_t status = kKernels[kind].call(arguments);
  require(isStatusOfRun(status), "the status is a known one");
  return status == TAMIX_OK;
}

}  // namespace tamix::test
