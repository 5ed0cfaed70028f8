// What the tests of the resize kernels share: sizes, and a run of a kernel over guarded images with padded rows.
#pragma once

#include <ostream>
#include <vector>

#include "tests/support/image.h"

namespace tamix::test {

struct ResizeSizes {
  int32_t src_width;
  int32_t src_height;
  int32_t dst_width;
  int32_t dst_height;
};

inline std::ostream& operator<<(std::ostream& out, const ResizeSizes& s) {
  return out << s.src_width << "x" << s.src_height << " to " << s.dst_width << "x" << s.dst_height;
}

// Single rows and columns, rows shorter than a vector, mild and strong scaling both ways, positions too far apart for one
// vector, odd numbers of rows.
inline std::vector<ResizeSizes> resizeSizes() {
  return {{1, 1, 1, 1},    {1, 1, 7, 5},     {1, 9, 4, 3},    {9, 1, 3, 4},    {2, 2, 5, 5},      {3, 2, 2, 3},
          {5, 4, 5, 4},    {6, 6, 3, 3},     {7, 5, 70, 11},  {8, 6, 5, 4},    {16, 9, 10, 6},    {33, 5, 65, 9},
          {64, 4, 40, 3},  {64, 10, 32, 5},  {66, 6, 33, 3},  {97, 7, 61, 5},  {100, 15, 40, 6},  {129, 6, 258, 13},
          {130, 4, 65, 2}, {150, 21, 49, 8}, {160, 9, 41, 9}, {200, 3, 3, 2},  {255, 7, 101, 11}, {400, 12, 9, 5},
          {31, 17, 30, 9}, {48, 33, 48, 16}, {301, 2, 90, 2}, {320, 8, 32, 4}, {75, 14, 75, 27},  {540, 4, 270, 2}};
}

inline Shape sourceShape(const ResizeSizes& s, int32_t channels, int32_t padding) {
  return {s.src_width, s.src_height, s.src_width + padding, channels};
}

inline Shape resultShape(const ResizeSizes& s, int32_t channels, int32_t padding) {
  return {s.dst_width, s.dst_height, s.dst_width + padding, channels};
}

template <class Kernel, class T, class... Rest>
int32_t resized(const Kernel& kernel, const Image<T>& src, const Image<T>& dst, Rest... rest) {
  const Shape& from = src.shape();
  const Shape& to = dst.shape();
  return kernel(src.data(), from.height, from.width, from.width_stride, dst.data(), to.height, to.width, to.width_stride,
                from.channel, rest...);
}

// Expects of resize(src, dst) what model(src, expected) gives; padded rows end at the guard before them.
template <class T, class Resize, class Model>
void expectResized(const ResizeSizes& sizes, int32_t channels, int32_t padding, const Resize& resize, const Model& model) {
  SCOPED_TRACE(testing::Message() << sizes << ", channels " << channels << ", padding " << padding);
  const Guard guard = padding == 0 ? Guard::kBehind : Guard::kBefore;
  const auto src = randomImage<T>(sourceShape(sizes, channels, padding), 3, guard);
  Image<T> dst(resultShape(sizes, channels, padding), guard);
  Image<T> expected(dst);
  model(src, expected);
  ASSERT_EQ(resize(src, dst), TAMIX_OK);
  ASSERT_TRUE(sameBytes(dst, expected));
}

}  // namespace tamix::test
