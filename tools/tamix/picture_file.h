// Pictures in files: PNG and JPEG by their libraries, everything else as plain planes.
#pragma once

#include <functional>
#include <string>

#include "tools/tamix/picture.h"

namespace tamix::tool {

// What a raw file does not say itself, and the pixels wanted of a PNG or JPEG file.
struct RawLayout {
  Size size;
  std::string format;  // empty: the file's own
  // The format as which a PNG or JPEG file of a format of its own is read.
  std::function<int32_t(int32_t own)> formatFor = [](int32_t own) { return own; };
};

// The format a file's extension stands for: rgb for PNG and JPEG, gray for .f32; empty when it stands for none.
std::string formatOfPath(const std::string& path);
// True for files of 32-bit floats (.f32).
bool holdsFloats(const std::string& path);
// True for PNG and JPEG files, which say their size themselves.
bool describesItself(const std::string& path);

// Both throw std::runtime_error with what was wrong.
Picture loadPicture(const std::string& path, const RawLayout& layout);
constexpr int kJpegQuality = 92;
void savePicture(const std::string& path, const Picture& picture, int jpeg_quality = kJpegQuality);

}  // namespace tamix::tool
