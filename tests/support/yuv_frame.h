// Frames of planes for the YUV kernels' tests.
#pragma once

#include <array>
#include <iterator>
#include <vector>

#include "tests/support/image.h"

namespace tamix::test {

// A frame size with the strides of its planes: of luma (and paired chroma) in bytes, of the packed result in pixels.
struct FrameShape {
  int32_t width;
  int32_t height;
  int32_t src_stride;
  int32_t dst_stride;

  int32_t chromaRows() const { return (height + 1) / 2; }
  Shape luma() const { return {width, height, src_stride}; }
  Shape pairs() const { return {(width + 1) / 2 * 2, chromaRows(), src_stride}; }
  Shape chroma() const { return {(width + 1) / 2, chromaRows(), src_stride / 2}; }
  Shape packed() const { return {width, height, dst_stride, 3}; }
};

inline std::ostream& operator<<(std::ostream& out, const FrameShape& s) {
  return out << s.width << "x" << s.height << " strides " << s.src_stride << " and " << s.dst_stride;
}

// Sizes below, at and around blocks of 16 pixels and several of them; odd and even; packed and padded rows.
inline std::vector<FrameShape> frameShapes() {
  std::vector<FrameShape> shapes;
  for (const int32_t width : {1, 2, 3, 8, 15, 16, 17, 18, 20, 32, 40, 47, 63, 64, 65, 80, 127, 128, 145, 242}) {
    for (const int32_t height : {1, 2, 3, 6}) {
      shapes.push_back({width, height, (width + 1) / 2 * 2, width});
      shapes.push_back({width, height, (width + 1) / 2 * 2 + 6, width + 5});
    }
  }
  return shapes;
}

// Bytes of which half are at the ends of limited range, so that every channel saturates somewhere.
inline Image<uint8_t> cameraPlane(const Shape& shape, uint32_t seed) {
  static constexpr uint8_t kEnds[] = {0, 1, 15, 16, 17, 127, 128, 129, 235, 240, 254, 255};
  Image<uint8_t> image = randomImage<uint8_t>(shape, seed);
  std::mt19937 random(seed + 1000);
  for (size_t i = 0; i < image.elements(); ++i) {
    if (random() % 2 == 0) image.data()[i] = kEnds[random() % std::size(kEnds)];
  }
  return image;
}

// A conversion's result, for comparing with a model's triple.
using Pixel = std::array<uint8_t, 3>;

inline void setPixel(Image<uint8_t>& image, int32_t y, int32_t x, const Pixel& rgb, bool red_first) {
  for (int32_t c = 0; c < 3; ++c) image.at(y, x, c) = rgb[static_cast<size_t>(red_first ? c : 2 - c)];
}

}  // namespace tamix::test
