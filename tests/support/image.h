// Images for value tests: guarded planes, padded rows, comparison of every byte.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/guarded_buffer.h"

namespace tamix::test {

// Size and layout of an interleaved image; the stride counts pixels.
struct Shape {
  int32_t width;
  int32_t height;
  int32_t width_stride;
  int32_t channel = 1;

  size_t rowElements() const { return static_cast<size_t>(width) * static_cast<size_t>(channel); }
  size_t pitch() const { return static_cast<size_t>(width_stride) * static_cast<size_t>(channel); }
  // The last row is not padded.
  size_t elements() const { return static_cast<size_t>(height - 1) * pitch() + rowElements(); }
};

inline std::ostream& operator<<(std::ostream& out, const Shape& s) {
  return out << s.width << "x" << s.height << " stride " << s.width_stride << " channel " << s.channel;
}

// Shapes whose rows are a tail only, whole blocks, several blocks, and both; packed and padded; heights 1 to 3.
// `block` counts elements of a row.
inline std::vector<Shape> shapesAround(int32_t block, const std::vector<int32_t>& channels = {1, 2, 3, 4}) {
  std::vector<Shape> shapes;
  for (const int32_t channel : channels) {
    const int32_t pixels = (block + channel - 1) / channel;
    for (const int32_t width : {1, 2, 3, pixels - 1, pixels, pixels + 1, 2 * pixels + 3, 5 * pixels, 9 * pixels + 1}) {
      if (width < 1) continue;
      shapes.push_back({width, 1 + (width % 3), width, channel});
      shapes.push_back({width, 3, width + 5, channel});
    }
  }
  return shapes;
}

// An image record without planes and strides.
inline TamixImage imageRecord(int32_t format, int32_t type, int32_t width, int32_t height, int32_t channel) {
  TamixImage image{};
  image.format = format;
  image.type = type;
  image.width = width;
  image.height = height;
  image.channel = channel;
  return image;
}

// A guarded plane of an image. Row padding belongs to it and is compared like everything else.
template <class T>
class Image {
 public:
  explicit Image(const Shape& shape, Guard guard = Guard::kBehind)
      : shape_(shape), guard_(guard), bytes_(shape.elements() * sizeof(T), guard) {
    std::memset(bytes_.data(), 0xA5, bytes_.size());
  }
  Image(const Image& other) : Image(other.shape_, other.guard_) {
    std::memcpy(bytes_.data(), other.bytes_.data(), bytes_.size());
  }
  Image(Image&&) noexcept = default;

  const Shape& shape() const { return shape_; }
  T* data() const { return static_cast<T*>(bytes_.data()); }
  size_t elements() const { return shape_.elements(); }
  T* row(int32_t y) const { return data() + static_cast<size_t>(y) * shape_.pitch(); }
  T& at(int32_t y, int32_t x, int32_t c = 0) const { return row(y)[x * shape_.channel + c]; }

  // Every pixel from f(y, i), i counting a row's elements; padding stays.
  template <class F>
  Image& fill(const F& f) {
    for (int32_t y = 0; y < shape_.height; ++y) {
      for (size_t i = 0; i < shape_.rowElements(); ++i) row(y)[i] = static_cast<T>(f(y, i));
    }
    return *this;
  }

  // The image as a record describes it.
  TamixImage record(int32_t format, int32_t type) const {
    TamixImage image = imageRecord(format, type, shape_.width, shape_.height, shape_.channel);
    image.width_stride = shape_.width_stride;
    image.height_stride = shape_.height;
    image.data[0] = data();
    return image;
  }

 private:
  Shape shape_;
  Guard guard_;
  GuardedBytes bytes_;
};

// Bytes over their whole range; floats in [-300, 300), some of them whole.
template <class T>
Image<T> randomImage(const Shape& shape, uint32_t seed = 1, Guard guard = Guard::kBehind) {
  Image<T> image(shape, guard);
  std::mt19937 random(seed);
  for (size_t i = 0; i < image.elements(); ++i) {
    if constexpr (sizeof(T) == 1) {
      image.data()[i] = static_cast<T>(random());
    } else {
      const float value = static_cast<float>(random() % 600000) / 1000.0f - 300.0f;
      image.data()[i] = random() % 4 == 0 ? static_cast<T>(static_cast<int>(value)) : static_cast<T>(value);
    }
  }
  return image;
}

// Compares bits, padding included; names the first differing element.
template <class T>
::testing::AssertionResult sameBytes(const Image<T>& actual, const Image<T>& expected) {
  for (size_t i = 0; i < expected.elements(); ++i) {
    if (std::memcmp(actual.data() + i, expected.data() + i, sizeof(T)) == 0) continue;
    const size_t pitch = expected.shape().pitch();
    return ::testing::AssertionFailure() << "row " << i / pitch << ", element " << i % pitch << " of " << expected.shape()
                                         << ": " << +actual.data()[i] << " instead of " << +expected.data()[i];
  }
  return ::testing::AssertionSuccess();
}

}  // namespace tamix::test
