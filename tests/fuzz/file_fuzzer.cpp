// Picture files as they come from anywhere: what does not load must say why, what loads must survive being saved.
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "tests/fuzz/fuzz_target.h"
#include "tools/tamix/picture_file.h"

namespace tamix::test {
namespace {

using tool::Picture;
using tool::RawLayout;

constexpr std::array kExtensions = {"png", "png", "jpg", "jpg", "rgb", "gray", "nv21", "i420", "f32", "lab", "rgba"};

// A folder of its own, in memory where the system has such a place.
class Folder {
 public:
  Folder() {
    const std::filesystem::path memory = "/dev/shm";
    std::string pattern = (exists(memory) ? memory : std::filesystem::temp_directory_path()) / "tamix-XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Makes the checksums of a PNG file's chunks right: what lies behind them is not reached otherwise.
void mendChecksums(std::vector<uint8_t>& png) {
  const auto number = [&](size_t at) {
    return uint32_t{png[at]} << 24 | uint32_t{png[at + 1]} << 16 | uint32_t{png[at + 2]} << 8 | png[at + 3];
  };
  size_t at = 8;
  while (at + 12 <= png.size()) {
    const size_t size = std::min<size_t>(number(at), png.size() - at - 12);
    const auto sum = static_cast<uint32_t>(crc32(0, &png[at + 4], static_cast<uInt>(size + 4)));
    for (size_t i = 0; i < 4; ++i) png[at + 8 + size + i] = static_cast<uint8_t>(sum >> (24 - 8 * i));
    at += size + 12;
  }
}

void checkAgain(const std::string& path, const Picture& picture) {
  savePicture(path, picture);
  const Picture again = tool::loadPicture(path, {picture.size(), std::string(tool::formatOf(picture.format()).name)});
  require(again.bytes() == picture.bytes(), "a saved picture is the same");
}

}  // namespace

const size_t kFuzzKinds = kExtensions.size();

std::string fuzzKindName(size_t kind) { return kExtensions[kind]; }

// The recipe: the format asked for, two bytes of size, and the file.
bool fuzzOne(size_t kind, std::span<const uint8_t> recipe) {
  static const Folder folder;
  const std::string extension = kExtensions[kind];
  const std::string path = folder.file("a." + extension);
  if (recipe.size() < 4) return false;
  RawLayout layout;
  const size_t format = recipe[0] % 16;
  if (format < tool::formats().size()) layout.format = tool::formats()[format].name;
  if (format == 15) layout.format = "unknown";
  const auto side = [](uint8_t byte) {
    constexpr int32_t kSides[] = {0, -1, 2147483647, -2147483647 - 1, 1 << 30, 65536, 46341, 32768};
    return byte < 248 ? byte % 16 + 1 : kSides[byte - 248];
  };
  layout.size = {side(recipe[1]), side(recipe[2])};
  std::vector<uint8_t> bytes(recipe.begin() + 3, recipe.end());
  if (extension == "png") mendChecksums(bytes);
  // Half of the raw files have the right size.
  if (!tool::describesItself(path) && recipe[0] < 128 && recipe[1] < 248 && recipe[2] < 248 && format != 15) {
    const std::string name = layout.format.empty() ? tool::formatOfPath(path) : layout.format;
    const tool::Format& known = tool::formatNamed(name);
    const size_t pixels = static_cast<size_t>(layout.size.width) * static_cast<size_t>(layout.size.height);
    const size_t elements = known.yuv ? pixels * 3 / 2 : pixels * static_cast<size_t>(known.channels);
    bytes.resize(elements * (tool::holdsFloats(path) ? 4 : 1));
  }
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
  try {
    Picture picture = tool::loadPicture(path, layout);
    require(picture.record().data[0] != nullptr && !picture.describe().empty(), "a picture has pixels");
    if (picture.bytes().size() < 65536 && extension != "jpg") checkAgain(path, picture);
    return true;
  } catch (const std::runtime_error& error) {
    require(std::strlen(error.what()) > 0, "an error says why");
    return false;
  }
}

}  // namespace tamix::test
