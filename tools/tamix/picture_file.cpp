#include "tools/tamix/picture_file.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace tamix::tool {
namespace {

std::string extensionOf(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension.empty() ? extension : extension.substr(1);
}

[[noreturn]] void fail(const std::string& path, const std::string& what) { throw std::runtime_error(path + ": " + what); }

std::vector<uint8_t> readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(path, "cannot be opened");
  std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) fail(path, "cannot be read");
  return bytes;
}

void writeFile(const std::string& path, const uint8_t* bytes, size_t size) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  file.close();
  if (!file) fail(path, "cannot be written");
}

// Refuses a size that no compression fits into the file, before memory for it is asked for.
void requirePlausible(const std::string& path, Size size, uint64_t file_bytes) {
  constexpr uint64_t kMostPixelsPerByte = 8256;  // 1032 bytes from one is Deflate's most, each of 8 pixels
  if (size.empty()) return;
  if (static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height) > file_bytes * kMostPixelsPerByte) {
    fail(path, "is truncated: " + std::to_string(file_bytes) + " bytes cannot hold " + std::to_string(size.width) + "x" +
                   std::to_string(size.height) + " pixels");
  }
}

// libpng's and TurboJPEG's pixel layouts of the packed formats.
struct Layout {
  int32_t format;
  uint32_t png;
  int jpeg;
};
constexpr Layout kLayouts[] = {
    {Tamix_GRAY, PNG_FORMAT_GRAY, TJPF_GRAY}, {Tamix_RGB, PNG_FORMAT_RGB, TJPF_RGB},
    {Tamix_LAB, PNG_FORMAT_RGB, TJPF_RGB},    {Tamix_BGR, PNG_FORMAT_BGR, TJPF_BGR},
    {Tamix_RGBA, PNG_FORMAT_RGBA, TJPF_RGBA}, {Tamix_BGRA, PNG_FORMAT_BGRA, TJPF_BGRA},
};

const Layout& layoutOf(const std::string& path, const Picture& picture) {
  const auto found = std::ranges::find(kLayouts, picture.format(), &Layout::format);
  if (found == std::end(kLayouts) || picture.type() != Tamix_UINT8) {
    fail(path, "does not hold " + picture.describe() +
                   "; convert it to rgb or gray bytes, or write a raw file such as .nv21 or .f32");
  }
  return *found;
}

// The format that the file's pixels are wanted in.
int32_t wantedFormat(const RawLayout& layout, int32_t own) {
  return layout.format.empty() ? layout.formatFor(own) : formatNamed(layout.format).value;
}

struct PngDeleter {
  void operator()(png_image* image) const { png_image_free(image); }
};

Picture loadPNG(const std::string& path, const RawLayout& layout) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::unique_ptr<png_image, PngDeleter> owner(&image);
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
    fail(path, std::string("not a readable PNG file: ") + image.message);
  const Size size = {static_cast<int32_t>(image.width), static_cast<int32_t>(image.height)};
  requirePlausible(path, size, std::filesystem::file_size(path));
  const int32_t own = (image.format & PNG_FORMAT_FLAG_COLOR) == 0   ? Tamix_GRAY
                      : (image.format & PNG_FORMAT_FLAG_ALPHA) == 0 ? Tamix_RGB
                                                                    : Tamix_RGBA;
  Picture picture(wantedFormat(layout, own), Tamix_UINT8, size);
  image.format = layoutOf(path, picture).png;
  const png_color black{};
  if (png_image_finish_read(&image, &black, picture.bytes().data(), 0, nullptr) == 0) fail(path, image.message);
  return picture;
}

void savePNG(const std::string& path, const Picture& picture) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.size().width);
  image.height = static_cast<png_uint_32>(picture.size().height);
  image.format = layoutOf(path, picture).png;
  if (png_image_write_to_file(&image, path.c_str(), 0, picture.bytes().data(), 0, nullptr) == 0) fail(path, image.message);
}

struct JpegDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using Jpeg = std::unique_ptr<std::remove_pointer_t<tjhandle>, JpegDeleter>;

Picture loadJPEG(const std::string& path, const RawLayout& layout) {
  const std::vector<uint8_t> file = readFile(path);
  const Jpeg jpeg(tjInitDecompress());
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colours = 0;
  if (tjDecompressHeader3(jpeg.get(), file.data(), file.size(), &width, &height, &subsampling, &colours) != 0) {
    fail(path, std::string("not a readable JPEG file: ") + tjGetErrorStr2(jpeg.get()));
  }
  requirePlausible(path, {width, height}, file.size());
  const int32_t own = colours == TJCS_GRAY ? Tamix_GRAY : Tamix_RGB;
  Picture picture(wantedFormat(layout, own), Tamix_UINT8, {width, height});
  if (tjDecompress2(jpeg.get(), file.data(), file.size(), picture.bytes().data(), width, 0, height,
                    layoutOf(path, picture).jpeg, TJFLAG_LIMITSCANS) != 0) {
    fail(path, tjGetErrorStr2(jpeg.get()));
  }
  return picture;
}

void saveJPEG(const std::string& path, const Picture& picture, int quality) {
  const Jpeg jpeg(tjInitCompress());
  const Layout& layout = layoutOf(path, picture);
  const int subsampling = layout.format == Tamix_GRAY ? TJSAMP_GRAY : TJSAMP_444;
  unsigned char* compressed = nullptr;
  unsigned long size = 0;
  const int status = tjCompress2(jpeg.get(), picture.bytes().data(), picture.size().width, 0, picture.size().height,
                                 layout.jpeg, &compressed, &size, subsampling, quality, 0);
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(compressed, tjFree);
  if (status != 0) fail(path, tjGetErrorStr2(jpeg.get()));
  writeFile(path, compressed, size);
}

Picture loadRaw(const std::string& path, const RawLayout& layout) {
  const std::string name = layout.format.empty() ? formatOfPath(path) : layout.format;
  if (name.empty()) fail(path, "is not a known kind of file; name its pixels with --format (nv21, rgb, gray, ...)");
  if (layout.size.empty()) fail(path, "is a raw file; give its size with --size WIDTHxHEIGHT");
  const std::vector<uint8_t> file = readFile(path);
  requirePlausible(path, layout.size, file.size());
  Picture picture(formatNamed(name).value, holdsFloats(path) ? Tamix_FLOAT32 : Tamix_UINT8, layout.size);
  if (file.size() != picture.bytes().size()) {
    fail(path, std::string(file.size() < picture.bytes().size() ? "is truncated" : "is too long") + ": it has " +
                   std::to_string(file.size()) + " bytes, " + picture.describe() + " takes " +
                   std::to_string(picture.bytes().size()));
  }
  picture.bytes() = file;
  return picture;
}

}  // namespace

std::string formatOfPath(const std::string& path) {
  const std::string extension = extensionOf(path);
  if (describesItself(path)) return "rgb";
  if (extension == "f32") return "gray";
  if (extension == "yuv") return "i420";
  return std::ranges::find(formats(), extension, &Format::name) == formats().end() ? "" : extension;
}

bool holdsFloats(const std::string& path) { return extensionOf(path) == "f32"; }

bool describesItself(const std::string& path) {
  const std::string extension = extensionOf(path);
  return extension == "png" || extension == "jpg" || extension == "jpeg";
}

Picture loadPicture(const std::string& path, const RawLayout& layout) {
  if (!describesItself(path)) return loadRaw(path, layout);
  return extensionOf(path) == "png" ? loadPNG(path, layout) : loadJPEG(path, layout);
}

void savePicture(const std::string& path, const Picture& picture, int jpeg_quality) {
  if (!describesItself(path)) return writeFile(path, picture.bytes().data(), picture.bytes().size());
  if (extensionOf(path) == "png") return savePNG(path, picture);
  saveJPEG(path, picture, jpeg_quality);
}

}  // namespace tamix::tool
