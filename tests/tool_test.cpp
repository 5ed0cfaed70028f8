// The command-line tool: picture files, and every operator planned, run and reported on small pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/tamix/operators.h"
#include "tools/tamix/picture_file.h"

namespace tamix::tool {
namespace {

// A folder of its own that goes away with the test.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tamix-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

Picture pattern(int32_t format, Size size, int32_t type = Tamix_UINT8) {
  Picture picture(format, type, size);
  const size_t elements = picture.bytes().size() / (type == Tamix_FLOAT32 ? 4 : 1);
  for (size_t i = 0; i < elements; ++i) {
    const auto value = static_cast<uint8_t>(i * 7 + i / 13 + 1);
    if (type == Tamix_FLOAT32) {
      picture.floats()[i] = value;
    } else {
      picture.bytes()[i] = value;
    }
  }
  return picture;
}

std::string messageOf(const std::string& path, const RawLayout& layout) {
  try {
    loadPicture(path, layout);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no error";
}

TEST(PictureFile, KeepsPixelsInLosslessFiles) {
  const Folder folder;
  for (const char* name : {"a.png", "a.rgb", "a.bgra", "a.gray", "a.nv21", "a.i420", "a.lab"}) {
    const std::string path = folder.file(name);
    const int32_t format = formatNamed(formatOfPath(path)).value;
    const Picture saved = pattern(format, {18, 6});
    savePicture(path, saved);
    const Picture loaded = loadPicture(path, {{18, 6}, ""});
    EXPECT_EQ(loaded.bytes(), saved.bytes()) << name;
    EXPECT_EQ(loaded.format(), format) << name;
  }
}

TEST(PictureFile, ConvertsPngAndJpegToTheWantedPixels) {
  const Folder folder;
  Picture red(Tamix_RGB, Tamix_UINT8, {8, 8});
  for (size_t i = 0; i < red.bytes().size(); i += 3) red.bytes()[i] = 250;
  for (const char* name : {"red.png", "red.jpg"}) {
    savePicture(folder.file(name), red);
    const Picture bgra = loadPicture(folder.file(name), {{}, "bgra"});
    ASSERT_EQ(bgra.bytes().size(), 256u);
    EXPECT_NEAR(bgra.bytes()[0], 0, 2) << name;
    EXPECT_NEAR(bgra.bytes()[2], 250, 2) << name;
    EXPECT_EQ(bgra.bytes()[3], 255) << name;
  }
}

TEST(PictureFile, SaysWhatIsWrong) {
  const Folder folder;
  const std::string path = folder.file("frame.nv21");
  std::ofstream(path) << std::string(95, 'x');
  EXPECT_EQ(messageOf(path, {{8, 8}, ""}), path + ": is truncated: it has 95 bytes, 8x8 nv21 takes 96");
  EXPECT_EQ(messageOf(path, {{4, 4}, ""}), path + ": is too long: it has 95 bytes, 4x4 nv21 takes 24");
  EXPECT_EQ(messageOf(path, {}), path + ": is a raw file; give its size with --size WIDTHxHEIGHT");
  EXPECT_EQ(messageOf(path, {{5, 4}, ""}), "nv21 needs an even width and height, not 5x4 nv21");
  EXPECT_EQ(messageOf(folder.file("none.gray"), {{5, 4}, ""}), folder.file("none.gray") + ": cannot be opened");
  for (const char* name : {"text.png", "text.jpg"}) {
    std::ofstream(folder.file(name)) << "not a picture";
    EXPECT_NE(messageOf(folder.file(name), {}), "no error") << name;
  }
  EXPECT_THROW(savePicture(folder.file("frame.png"), pattern(Tamix_NV21, {8, 8})), std::runtime_error);
}

struct Call {
  std::vector<Picture> inputs;
  Request request;
  Size expected_size = {16, 12};
  int32_t expected_format = Tamix_RGB;
};

// A working call of every operator.
Call workingCall(const OperatorEntry& entry) {
  Call run;
  initTamixParams(&run.request.params);
  TamixParams& params = run.request.params;
  const Size size{16, 12};
  const std::string name(entry.name);
  int32_t format = Tamix_RGB;
  int32_t type = Tamix_UINT8;
  static const std::map<std::string, int32_t> formats = {{"color-to-hsv", Tamix_RGBA},    {"color4-to-color3", Tamix_RGBA},
                                                         {"count-non-zero", Tamix_GRAY},  {"lab-to-color", Tamix_LAB},
                                                         {"mean-filter", Tamix_GRAY},     {"merge", Tamix_GRAY},
                                                         {"resize-bilinear", Tamix_NV21}, {"yuv-to-color", Tamix_NV12}};
  if (formats.contains(name)) format = formats.at(name);
  if (name == "mean-filter") type = Tamix_FLOAT32;
  for (size_t i = 0; i < entry.fewest_inputs; ++i) {
    const bool is_map = name == "remap" && i > 0;
    run.inputs.push_back(is_map ? pattern(Tamix_GRAY, size, Tamix_FLOAT32) : pattern(format, size, type));
    run.inputs.back().bytes()[0] = static_cast<uint8_t>(40 >> i);  // not all the same
  }
  static const std::map<std::string, int32_t> output_formats = {{"color-to-gray", Tamix_GRAY},
                                                                {"color-to-lab", Tamix_LAB},
                                                                {"color-to-yuv", Tamix_NV21},
                                                                {"color3-to-color4", Tamix_RGBA},
                                                                {"get-structuring-element", Tamix_GRAY},
                                                                {"mean-filter", Tamix_GRAY},
                                                                {"split", Tamix_GRAY}};
  if (output_formats.contains(name)) run.expected_format = output_formats.at(name);
  if (name.starts_with("resize")) run.request.output_size = run.expected_size = {10, 8};
  if (name == "rotate" || name == "transpose") run.expected_size = {12, 16};
  if (name == "flip" || name == "rotate" || name == "concat") params.op_mode = 0;
  if (name == "copy-make-border") {
    std::ranges::fill(params.border_params, 2);
    run.expected_size = {20, 16};
  }
  if (name == "rect-cut") {
    params.border_params[1] = 5;
    params.border_params[3] = 7;
    run.expected_size = {7, 5};
  }
  if (name == "warp-perspective" || name == "get-perspective-transform") {
    run.request.points = {0, 0, 1, 1, 15, 0, 14, 0, 15, 11, 15, 11, 0, 11, 0, 10};
  }
  if (name == "remap") {
    params.interpolation = TAMIX_INTERPOLATION_NEAREST;
    params.geom_border_type = TAMIX_BORDER_CONSTANT;
  }
  if (name.ends_with("filter")) params.kernel_size = name == "guided-filter" ? 5 : 3;
  if (name == "get-structuring-element") {
    params.kernel_size = 5;
    params.morph_shape = TAMIX_MORPH_ELLIPSE;
    run.expected_size = {5, 5};
  }
  if (name == "convert-scale-abs") params.abs_scale = 1.0;
  if (name == "erode") params.morph_shape = TAMIX_MORPH_CROSS;
  if (name == "morphology-ex") params.morph_type = TAMIX_MORPH_OPEN;
  if (name == "threshold") {
    params.thresh_type = TAMIX_THRESH_BINARY | TAMIX_THRESH_OTSU;
    params.maxval = 255;
  }
  if (name == "calc-hist") {
    params.hist_dims = 1;
    params.hist_size[0] = 32;
    run.expected_size = {32, 128};
    run.expected_format = Tamix_GRAY;
  }
  if (name == "image-fuse-overlap") {
    params.fuse_overlap = 4;
    params.fuse_direction = 1;
    run.expected_size = {28, 12};
  }
  return run;
}

TEST(Operators, AllRunFromTheTable) {
  std::set<int32_t> types;
  for (const OperatorEntry& entry : operators()) {
    SCOPED_TRACE(entry.name);
    types.insert(entry.type);
    Call run = workingCall(entry);
    Job job(run.request, run.inputs);
    ASSERT_NO_THROW(runOperator(entry, job));
    const std::string report = entry.report == nullptr ? "" : entry.report(job);
    EXPECT_EQ(report.empty(), entry.report == nullptr);
    if (job.outputs().empty()) continue;
    const Picture& output = job.outputs()[0];
    const Size size = entry.type == TAMIX_OP_CONCAT ? Size{16, 12} : run.expected_size;
    EXPECT_EQ(output.size().width, size.width);
    EXPECT_EQ(output.size().height, size.height);
    EXPECT_EQ(output.format(), run.expected_format);
    const auto& bytes = output.bytes();
    EXPECT_NE(std::ranges::count_if(bytes, [](uint8_t byte) { return byte != 0; }), 0);
  }
  EXPECT_EQ(types.size(), 47u);
}

TEST(Operators, ReportsWhatTheyFind) {
  const OperatorEntry& count = operatorNamed("count-non-zero");
  Request request;
  initTamixParams(&request.params);
  Picture picture(Tamix_GRAY, Tamix_UINT8, {4, 4});
  picture.bytes()[5] = 9;
  Job job(request, {picture});
  runOperator(count, job);
  EXPECT_EQ(count.report(job), "1\n");
  EXPECT_THROW(operatorNamed("resize"), std::runtime_error);
  Job too_few(request, {picture});
  EXPECT_THROW(runOperator(operatorNamed("add"), too_few), std::runtime_error);
}

}  // namespace
}  // namespace tamix::tool
