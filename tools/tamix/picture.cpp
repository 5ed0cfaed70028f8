#include "tools/tamix/picture.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tamix::tool {

const std::vector<Format>& formats() {
  static const std::vector<Format> all = {
      {"bgr", Tamix_BGR, 3, false},   {"rgb", Tamix_RGB, 3, false},  {"bgra", Tamix_BGRA, 4, false},
      {"rgba", Tamix_RGBA, 4, false}, {"i420", Tamix_I420, 2, true}, {"gray", Tamix_GRAY, 1, false},
      {"nv12", Tamix_NV12, 2, true},  {"nv21", Tamix_NV21, 2, true}, {"lab", Tamix_LAB, 3, false},
  };
  return all;
}

const Format& formatNamed(std::string_view name) {
  const auto found = std::ranges::find(formats(), name, &Format::name);
  if (found != formats().end()) return *found;
  std::string known;
  for (const Format& format : formats()) known += " " + std::string(format.name);
  throw std::runtime_error("unknown format '" + std::string(name) + "'; known are" + known);
}

const Format& formatOf(int32_t value) {
  const auto found = std::ranges::find(formats(), value, &Format::value);
  if (found == formats().end()) throw std::runtime_error("unknown format " + std::to_string(value));
  return *found;
}

Picture::Picture(int32_t format, int32_t type, Size size, int32_t channels)
    : format_(format), type_(type), channels_(channels), size_(size) {
  const Format& known = formatOf(format);
  if (channels_ == 0) channels_ = known.channels;
  constexpr size_t kMostPixels = size_t{1} << 28;
  if (size.empty()) {
    throw std::runtime_error("an image of " + std::to_string(size.width) + "x" + std::to_string(size.height) + " is empty");
  }
  const auto width = static_cast<size_t>(size.width);
  const auto height = static_cast<size_t>(size.height);
  if (known.yuv && (width % 2 != 0 || height % 2 != 0)) {
    throw std::runtime_error(std::string(known.name) + " needs an even width and height, not " + describe());
  }
  const size_t luma = width * height;
  if (luma > kMostPixels) throw std::runtime_error("an image of " + describe() + " is larger than tamix takes");
  size_t elements = luma * static_cast<size_t>(channels_);
  if (known.yuv) {
    elements = luma + luma / 2;
    plane_offsets_[1] = luma;
    plane_offsets_[2] = luma + luma / 4;
  }
  bytes_.resize(elements * (type == Tamix_FLOAT32 ? sizeof(float) : 1));
}

TamixImage Picture::record() {
  TamixImage image{};
  image.format = format_;
  image.type = type_;
  image.width = size_.width;
  image.height = size_.height;
  image.channel = channels_;
  image.data[0] = bytes_.data();
  for (int plane = 1; plane < 3; ++plane) {
    if (plane_offsets_[plane] != 0 && (plane == 1 || format_ == Tamix_I420)) {
      image.data[plane] = bytes_.data() + plane_offsets_[plane];
    }
  }
  return image;
}

void Picture::convertToFloats() {
  if (type_ == Tamix_FLOAT32) return;
  const std::vector<uint8_t> values = std::move(bytes_);
  type_ = Tamix_FLOAT32;
  bytes_ = std::vector<uint8_t>(values.size() * sizeof(float));
  std::ranges::copy(values, floats());
}

std::string Picture::describe() const {
  return std::to_string(size_.width) + "x" + std::to_string(size_.height) + " " + std::string(formatOf(format_).name) +
         (type_ == Tamix_FLOAT32 ? " float32" : "");
}

}  // namespace tamix::tool
