// An image that owns its planes, packed as a record describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tamix/tamix.h"

namespace tamix::tool {

// Width and height in pixels.
struct Size {
  int32_t width = 0;
  int32_t height = 0;
  bool empty() const { return width <= 0 || height <= 0; }
};

struct Format {
  std::string_view name;
  int32_t value;     // TamixDataFormat
  int32_t channels;  // as an operator reads them; 2 for planar formats
  bool yuv;          // 4:2:0
};

const std::vector<Format>& formats();
// Throws std::runtime_error for an unknown one.
const Format& formatNamed(std::string_view name);
const Format& formatOf(int32_t value);

class Picture {
 public:
  Picture() = default;
  // Throws std::runtime_error for sizes that the format cannot have.
  Picture(int32_t format, int32_t type, Size size, int32_t channels = 0);

  int32_t format() const { return format_; }
  int32_t type() const { return type_; }
  int32_t channels() const { return channels_; }
  Size size() const { return size_; }
  std::vector<uint8_t>& bytes() { return bytes_; }
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  float* floats() { return reinterpret_cast<float*>(bytes_.data()); }

  // The picture as an image of a record; it points into this picture.
  TamixImage record();
  // "uint8" or "float32".
  std::string_view elementName() const { return type_ == Tamix_FLOAT32 ? "float32" : "uint8"; }
  // Makes floats of the same values of bytes.
  void convertToFloats();
  // "640x480 nv21", for messages.
  std::string describe() const;

 private:
  int32_t format_ = 0;
  int32_t type_ = 0;
  int32_t channels_ = 0;
  Size size_;
  size_t plane_offsets_[3] = {};
  std::vector<uint8_t> bytes_;
};

}  // namespace tamix::tool
