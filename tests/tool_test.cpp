// The command-line tool: picture files, every operator run from the command line, batches, comparisons, refusals, and what the
// tool says about itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <numeric>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tools/tamix/command_line.h"
#include "tools/tamix/compare.h"
#include "tools/tamix/operators.h"
#include "tools/tamix/picture_file.h"
#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

using std::string_literals::operator""s;

// A folder of its own that goes away with the test.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tamix-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return (path_ / name).string(); }
  // The words, each in this folder.
  std::string files(const std::string& names) const {
    std::string paths;
    for (const std::string_view name : words(names)) paths += file(std::string(name)) + " ";
    return paths;
  }

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
  // Sizes whose memory must not even be asked for; the product of the second is 0 in 64 bits.
  EXPECT_EQ(messageOf(path, {{16000, 16000}, ""}), path + ": is truncated: 95 bytes cannot hold 16000x16000 pixels");
  EXPECT_EQ(messageOf(path, {{1 << 30, 1 << 30}, "rgba"}),
            path + ": is truncated: 95 bytes cannot hold 1073741824x1073741824 pixels");
  EXPECT_THROW(Picture(Tamix_RGBA, Tamix_FLOAT32, {1 << 30, 1 << 30}), std::runtime_error);
}

struct Outcome {
  int status = 0;
  std::string out;
  std::string err;
};

// Runs the command line "tamix ..."; words are separated by spaces.
Outcome tamix(const std::string& line) {
  std::istringstream stream("tamix " + line);
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  std::vector<const char*> argv;
  for (const std::string& word : words) argv.push_back(word.c_str());
  std::ostringstream out, err;
  const int status = runCommandLine(static_cast<int>(argv.size()), argv.data(), out, err);
  return {status, out.str(), err.str()};
}

std::vector<uint8_t> bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

constexpr Size kSize{32, 24};

// A folder with pictures a, b and c in every format, and two maps.
class Pictures : public Folder {
 public:
  Pictures() {
    for (const char* name : {"a", "b", "c"}) {
      for (const Format& format : formats()) {
        Picture picture = pattern(format.value, kSize);
        for (size_t i = 0; i < picture.bytes().size(); i += 5) picture.bytes()[i] ^= static_cast<uint8_t>(name[0] * 29 + 1);
        savePicture(file(std::string(name) + "." + std::string(format.name)), picture);
      }
      savePicture(file(std::string(name) + ".f32"), pattern(Tamix_GRAY, kSize, Tamix_FLOAT32));
    }
  }
};

// A direct call of the library: the record that the command line stands for.
struct RunCase {
  const char* name;
  const char* inputs;
  const char* settings;
  const char* output;
  int32_t format;  // of the output
  Size size;
  void (*fill)(TamixParams& p);
};

float matrix_values[] = {1.1f, 0.05f, -2, 0.02f, 0.9f, 1, 0.001f, 0, 1};
float means[] = {100, 110, 120, 120};
float deviations[] = {50, 60, 70, 70};
float weights[] = {0.125f, 0.375f, 0.625f, 0.875f};
uint8_t cross[] = {0, 1, 0, 1, 1, 1, 0, 1, 0};
double threshold = 0;
void nothing(TamixParams&) {}

const RunCase kRunCases[] = {
    {"add", "a.rgb b.rgb", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"bitwise-and", "a.rgb b.rgb", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"bitwise-not", "a.gray b.gray", "", "out.gray", Tamix_GRAY, kSize, nothing},
    {"bitwise-or", "a.rgb b.rgb c.rgb", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"bitwise-xor", "a.lab b.lab", "", "out.lab", Tamix_LAB, kSize, nothing},
    {"color-to-gray", "a.bgra", "", "out.gray", Tamix_GRAY, kSize, nothing},
    {"color-to-hsv", "a.rgba", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"color-to-lab", "a.rgb", "", "out.lab", Tamix_LAB, kSize, nothing},
    {"color-to-yuv", "a.bgr", "", "out.nv12", Tamix_NV12, kSize, nothing},
    {"color3-to-color4", "a.bgr", "", "out.bgra", Tamix_BGRA, kSize, nothing},
    {"color4-to-color3", "a.rgba", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"concat", "a.rgb b.rgb", "--mode below", "out.rgb", Tamix_RGB, {32, 48}, [](TamixParams& p) { p.op_mode = 1; }},
    {"convert-scale-abs", "a.rgb", "--scale 1.5 --offset -40", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) { p.abs_scale = 1.5, p.offset = -40; }},
    {"copy-make-border",
     "a.rgb",
     "--border 1 2 3 4 --border-type wrap",
     "out.rgb",
     Tamix_RGB,
     {39, 27},
     [](TamixParams& p) {
       std::iota(p.border_params, p.border_params + 4, 1);
       p.geom_border_type = TAMIX_BORDER_WRAP;
     }},
    {"data-type-convert", "a.nv21", "", "out.f32", Tamix_NV21, kSize, nothing},
    {"dilate", "a.rgb", "--kernel-height 1 --kernel-width 5 --iterations 2", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) { p.kernel_height = 1, p.kernel_width = 5, p.iterations = 2; }},
    {"divide", "a.rgb b.rgb", "", "out.f32", Tamix_RGB, kSize, nothing},
    {"erode", "a.bgr", "--shape cross --border-type constant --border-value 7", "out.bgr", Tamix_BGR, kSize,
     [](TamixParams& p) { p.kernel_size = 3, p.kernel = cross, p.border_type = 0, p.border_value = 7; }},
    {"flip", "a.gray", "--mode horizontal", "out.gray", Tamix_GRAY, kSize, [](TamixParams& p) { p.op_mode = 1; }},
    {"gaussian-filter", "a.rgb", "", "out.rgb", Tamix_RGB, kSize, [](TamixParams& p) { p.kernel_size = 3; }},
    {"guided-filter", "a.rgb b.rgb", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"image-fuse-overlap",
     "a.rgb b.rgb",
     "--overlap 4 --direction beside",
     "out.rgb",
     Tamix_RGB,
     {60, 24},
     [](TamixParams& p) { p.fuse_overlap = 4, p.fuse_direction = 1, p.fuse_weights = weights; }},
    {"lab-to-color", "a.lab", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"laplacian-filter", "a.rgb", "--kernel-size 3 --absolute", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) { p.kernel_size = 3, p.abs_output = 1; }},
    {"mean-filter", "a.f32", "--kernel-size 5", "out.f32", Tamix_GRAY, kSize, [](TamixParams& p) { p.kernel_size = 5; }},
    {"merge", "a.gray b.gray c.gray", "", "out.bgr", Tamix_BGR, kSize, nothing},
    {"morphology-ex", "a.rgb", "--morph close --kernel-size 5", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) { p.morph_type = TAMIX_MORPH_CLOSE, p.kernel_size = 5; }},
    {"multiple", "a.rgb b.rgb", "", "out.f32", Tamix_RGB, kSize, nothing},
    {"normalization", "a.rgb", "--mean 100,110,120 --std 50,60,70 --planar", "out.f32", Tamix_RGB, kSize,
     [](TamixParams& p) { p.mean = means, p.std = deviations, p.reorder = 1; }},
    {"rect-cut",
     "a.rgb",
     "--rectangle 4,6,10,8",
     "out.rgb",
     Tamix_RGB,
     {10, 8},
     [](TamixParams& p) {
       std::ranges::copy(std::to_array({6, 14, 4, 14}), p.border_params);
     }},
    {"remap", "a.rgb b.f32 c.f32", "--interpolation nearest --border-type replicate", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) { p.interpolation = 0, p.geom_border_type = TAMIX_BORDER_REPLICATE; }},
    {"resize-area", "a.nv12", "--output-size 16x12", "out.nv12", Tamix_NV12, {16, 12}, nothing},
    {"resize-bilinear", "a.nv21", "--output-size 20x10", "out.bgr", Tamix_BGR, {20, 10}, nothing},
    {"resize-nearest", "a.i420", "--output-size 48x36", "out.i420", Tamix_I420, {48, 36}, nothing},
    {"rotate", "a.gray", "--mode left", "out.gray", Tamix_GRAY, {24, 32}, [](TamixParams& p) { p.op_mode = 2; }},
    {"split", "a.bgr", "", "out.gray", Tamix_GRAY, kSize, nothing},
    {"subtract", "a.rgb b.rgb", "", "out.rgb", Tamix_RGB, kSize, nothing},
    {"threshold", "a.gray", "--method triangle --rule tozero --maxval 200", "out.gray", Tamix_GRAY, kSize,
     [](TamixParams& p) { p.thresh = &threshold, p.thresh_type = 3 | TAMIX_THRESH_TRIANGLE, p.maxval = 200; }},
    {"transpose", "a.rgba", "", "out.rgba", Tamix_RGBA, {24, 32}, nothing},
    {"warp-affine", "a.nv21", "--angle 30", "out.nv21", Tamix_NV21, kSize, [](TamixParams& p) { p.affine_angle = 30; }},
    {"warp-perspective", "a.rgb", "--matrix 1.1,0.05,-2,0.02,0.9,1,0.001,0,1 --inverse-map", "out.rgb", Tamix_RGB, kSize,
     [](TamixParams& p) {
       TamixImage& matrix = p.input[1];
       matrix.type = Tamix_FLOAT32, matrix.width = matrix.height = 3, matrix.channel = 1, matrix.data[0] = matrix_values;
       p.interpolation = TAMIX_INTERPOLATION_BILINEAR | TAMIX_INTERPOLATION_INVERSE_MAP;
       p.geom_border_type = TAMIX_BORDER_CONSTANT;
     }},
    {"yuv-to-color", "a.i420", "--output-format bgr", "out.png", Tamix_RGB, kSize, nothing},
};

// A call of the library without the tool.
int32_t runDirectly(int32_t operator_type, TamixParams& params) {
  TamixConfig config;
  initTamixConfig(&config);
  config.perf_level = -1;
  config.log_level = 5;  // no refusal is printed
  TamixHandle handle = nullptr;
  EXPECT_EQ(initTamix(&handle, &config), TAMIX_OK);
  EXPECT_EQ(registTamixOperator(handle, operator_type), TAMIX_OK);
  const int32_t status = runTamix(handle, operator_type, &params);
  releaseTamix(&handle);
  return status;
}

// What a direct call of the library gives. The operator's type is the table's.
std::vector<Picture> directOutputs(const RunCase& run, std::vector<Picture>& inputs) {
  TamixParams params;
  initTamixParams(&params);
  std::vector<Picture> outputs;
  const int32_t type = holdsFloats(run.output) ? Tamix_FLOAT32 : Tamix_UINT8;
  const size_t count = run.name == std::string_view("split") ? 3 : 1;
  for (size_t i = 0; i < count; ++i) outputs.emplace_back(run.format, type, run.size);
  for (size_t i = 0; i < inputs.size(); ++i) params.input[i] = inputs[i].record();
  for (size_t i = 0; i < count; ++i) params.output[i] = outputs[i].record();
  run.fill(params);
  EXPECT_EQ(runDirectly(operatorNamed(run.name).type, params), TAMIX_OK);
  return outputs;
}

const std::set<std::string_view> kReporters = {"calc-hist", "count-non-zero", "get-perspective-transform",
                                               "get-structuring-element", "mean-std"};

TEST(Run, GivesWhatTheLibraryGives) {
  const Pictures folder;
  std::set<std::string_view> names = kReporters;
  for (const RunCase& run : kRunCases) {
    SCOPED_TRACE(run.name);
    names.insert(run.name);
    std::vector<Picture> inputs;
    for (const std::string_view name : words(run.inputs))
      inputs.push_back(loadPicture(folder.file(std::string(name)), {kSize, ""}));
    const std::vector<Picture> expected = directOutputs(run, inputs);
    const Outcome outcome = tamix("run " + std::string(run.name) + " " + folder.files(run.inputs) + folder.files(run.output) +
                                  run.settings + " --size 32x24");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    for (size_t i = 0; i < expected.size(); ++i) {
      const std::string number = expected.size() == 1 ? "" : "-" + std::to_string(i);
      const std::string file = folder.file("out" + number + std::filesystem::path(run.output).extension().string());
      EXPECT_EQ(describesItself(file) ? loadPicture(file, {}).bytes() : bytesOf(file), expected[i].bytes()) << file;
    }
  }
  EXPECT_EQ(names.size(), 47u);
  EXPECT_EQ(operators().size(), 47u);
}

TEST(Run, ReportsWhatOperatorsFind) {
  const Folder folder;
  Picture picture(Tamix_GRAY, Tamix_UINT8, {4, 4});
  picture.bytes()[5] = 160;
  picture.bytes()[6] = 160;
  const std::string path = folder.file("a.png");
  savePicture(path, picture);
  const std::pair<std::string, std::string> expected[] = {
      {"count-non-zero " + path, "2\n"},
      {"count-non-zero --json " + path, "{\"nonzero\": 2}\n"},
      {"mean-std " + path, "channel 0: mean 20, std 52.9150276\n"},
      {"calc-hist --bins 2 --range-max 256 " + path, "bin,count\n0,14\n1,2\n"},
      {"calc-hist --json --bins 2 --range-max 256 " + path, "{\"histogram\": [14, 2]}\n"},
      {"get-structuring-element --shape cross", "010\n111\n010\n"},
      {"get-perspective-transform --points 0,0,1,2,8,0,17,2,8,8,17,18,0,8,1,18", "2 0 1\n0 2 2\n0 0 1\n"},
      {"threshold --method otsu " + path, "threshold 0\n"},
  };
  for (const auto& [line, text] : expected) EXPECT_EQ(tamix("run " + line).out, text) << line;
  EXPECT_EQ(tamix("run mean-std " + path + " " + folder.file("out.json")).status, 0);
  const std::vector<uint8_t> json = bytesOf(folder.file("out.json"));
  EXPECT_EQ(std::string(json.begin(), json.end()), "{\"mean\": [20], \"std\": [52.9150276]}\n");
}

TEST(Run, ReadsPicturesAsTheOperatorTakesThem) {
  const Folder folder;
  const std::string path = folder.file("a.png");
  savePicture(path, pattern(Tamix_RGB, {16, 8}));
  for (const char* name : {"color-to-hsv", "mean-filter", "count-non-zero", "warp-affine"}) {
    const Outcome outcome =
        tamix("run " + std::string(name) + " " + path + (operatorNamed(name).report ? "" : " " + folder.file("out.png")));
    EXPECT_EQ(outcome.status, 0) << name << ": " << outcome.err;
  }
  // Products of bytes are floats; a PNG file takes them as bytes.
  EXPECT_EQ(tamix("run multiple " + path + " " + path + " " + folder.file("out.png")).status, 0);
  EXPECT_EQ(loadPicture(folder.file("out.png"), {}).bytes()[1], 8 * 8);
}

// Whether the library takes the operator's sample with inputs of these pixels, and elements of these outputs.
bool isTaken(const OperatorEntry& entry, int32_t format, int32_t type, const std::string& output_type) {
  constexpr Size kSampleSize{64, 48};
  Request request = sampleRequest(entry, kSampleSize);
  request.output_type = output_type;
  std::vector<Picture> inputs;
  for (size_t i = 0; i < entry.fewest_inputs; ++i) {
    const bool is_map = entry.type == TAMIX_OP_REMAP && i > 0;
    inputs.push_back(pattern(is_map ? Tamix_GRAY : format, kSampleSize, is_map ? Tamix_FLOAT32 : type));
  }
  try {
    Job job(request, inputs);
    entry.plan(job);
    return runDirectly(entry.type, job.completedParams()) == TAMIX_OK;
  } catch (const std::runtime_error&) {
    return false;
  }
}

TEST(Operators, TakeAndGiveWhatTheTableSays) {
  for (const OperatorEntry& entry : operators()) {
    if (entry.most_inputs == 0) continue;
    for (const Format& format : formats()) {
      const bool listed = takes(entry.formats, format.name);
      // The library takes pixels of any format as three bytes here.
      if (entry.type == TAMIX_OP_COLOR3_TO_COLOR4 && !listed) continue;
      EXPECT_EQ(isTaken(entry, format.value, entry.elements == "float32" ? Tamix_FLOAT32 : Tamix_UINT8, ""), listed)
          << entry.name << " of " << format.name;
    }
    const int32_t first = formatNamed(words(entry.formats).front()).value;
    for (const auto& [element, type] : {std::pair{"uint8", Tamix_UINT8}, std::pair{"float32", Tamix_FLOAT32}}) {
      EXPECT_EQ(isTaken(entry, first, type, ""), takes(entry.elements, element)) << entry.name << " of " << element;
      // An operator that takes bytes and floats gives the other ones too.
      const bool from_floats = entry.elements == "float32" || (entry.type == TAMIX_OP_DATA_TYPE_CONVERT && element == "uint8"s);
      if (takes(entry.gives, element)) {
        EXPECT_TRUE(isTaken(entry, first, from_floats ? Tamix_FLOAT32 : Tamix_UINT8, element))
            << entry.name << " to " << element;
      }
    }
  }
}

TEST(Batch, GoesOnAfterABadFile) {
  const Folder folder;
  for (const char* name : {"a.png", "c.jpg"}) savePicture(folder.file(name), pattern(Tamix_RGB, {16, 8}));
  std::ofstream(folder.file("b.png")) << "not a picture";
  const std::string files = folder.file("a.png") + " " + folder.file("b.png") + " " + folder.file("c.jpg");
  const Outcome outcome = tamix("run flip --mode both --batch " + folder.file("out/deep") + " " + files);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.out.find("[3/3] " + folder.file("out/deep/c.png") + ": 16x8 rgb"), std::string::npos) << outcome.out;
  EXPECT_TRUE(outcome.out.ends_with("2 done, 1 failed: " + folder.file("b.png") + "\n")) << outcome.out;
  EXPECT_NE(outcome.err.find("b.png"), std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(folder.file("out/deep/a.png")));

  const std::string with = "run add --batch " + folder.file("sums") + " --with " + folder.file("a.png") + " ";
  EXPECT_EQ(tamix(with + folder.file("a.png")).status, 0);
  EXPECT_EQ(tamix(with + folder.file("a.png") + " " + folder.file("out/deep/a.png")).status, 1) << "the same output twice";
  EXPECT_EQ(tamix("run flip --batch " + folder.file(".") + " " + folder.file("a.png")).status, 1) << "in its own place";
  EXPECT_EQ(tamix("run mean-std --batch " + folder.file("none") + " " + folder.file("a.png")).out.substr(0, 6), "[1/1] ");
}

TEST(Compare, FindsLargestDifferenceAndPSNR) {
  const Folder folder;
  Picture a(Tamix_RGB, Tamix_UINT8, {4, 2});
  savePicture(folder.file("a.png"), a);
  a.bytes()[3 * 6 + 1] = 10;  // green of (2, 1)
  a.bytes()[0] = 2;
  savePicture(folder.file("b.png"), a);
  const std::string files = folder.files("a.png b.png");
  const std::vector<Difference> found = compare(loadPicture(folder.file("a.png"), {}), a);
  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[1].channel, "G");
  EXPECT_EQ(found[1].largest, 10);
  EXPECT_EQ(found[1].x, 2);
  EXPECT_EQ(found[1].y, 1);
  EXPECT_EQ(found[2].differing, 0u);
  EXPECT_NEAR(found[1].psnr(255), 10 * std::log10(255 * 255 / (100.0 / 8)), 1e-9);
  EXPECT_NEAR(found[3].psnr(255), 10 * std::log10(255 * 255 / (104.0 / 24)), 1e-9);
  EXPECT_EQ(tamix("compare " + files).status, 1);
  EXPECT_EQ(tamix("compare --tolerance 9.5 " + files).status, 1);
  EXPECT_EQ(tamix("compare --tolerance 10 " + files).status, 0);
  EXPECT_EQ(tamix("compare " + folder.files("a.png a.png")).status, 0);
  EXPECT_EQ(tamix("compare " + folder.files("a.png none.png")).status, 2);
  savePicture(folder.file("c.png"), pattern(Tamix_RGB, {5, 2}));
  EXPECT_EQ(tamix("compare " + folder.files("a.png c.png")).status, 2);
}

TEST(Compare, TakesPlanesAndFloats) {
  Picture a = pattern(Tamix_NV21, {8, 4});
  Picture b = a;
  b.bytes()[32 + 8 + 2] ^= 4;  // V of the second pair in the second row of pairs
  const std::vector<Difference> frames = compare(a, b);
  EXPECT_EQ(frames[2].channel, "V");
  EXPECT_EQ(frames[2].largest, 4);
  EXPECT_EQ(frames[2].x, 1);
  EXPECT_EQ(frames[2].y, 1);
  EXPECT_EQ(frames[0].differing + frames[1].differing, 0u);

  a = pattern(Tamix_GRAY, {4, 4}, Tamix_FLOAT32);
  a.floats()[0] = std::numeric_limits<float>::quiet_NaN();
  b = a;
  EXPECT_EQ(compare(a, b).back().largest, 0);
  b.floats()[0] = 1;
  EXPECT_TRUE(std::isinf(compare(a, b).back().largest));
}

TEST(CommandLine, RefusesAndSaysWhatWouldBeRight) {
  const Pictures folder;
  const std::string a = folder.files("a.rgb"), out = folder.files("out.rgb"), size = " --size 32x24";
  const std::pair<std::string, std::string> refusals[] = {
      {"", "'tamix' takes: run list bench compare info completion man"},
      {"run", "'tamix run' takes: add "},
      {"run flipp a b", "unknown operator 'flipp'; did you mean flip?"},
      {"run resize a b", "did you mean resize-area, resize-bilinear, resize-nearest?"},
      {"run flip --angle 3 a b", "'tamix run flip' takes: --help --mode --size"},
      {"run flip --mode up a b", "--mode takes one of vertical, horizontal, both, not 'up'"},
      {"run erode --iterations 0 a b", "--iterations takes a whole number from 1 to 1000, not '0'"},
      {"run copy-make-border --border 1,2,3 a b", "--border"},
      {"run normalization --mean 1,2,3,4,5 a b", "--mean takes 1 to 4 numbers, not '1,2,3,4,5'"},
      {"run normalization --mean nan a b", "--mean takes numbers, not 'nan'"},
      {"run resize-area --output-size 10 a b", "'10' is not a size such as 1920x1080"},
      {"run add " + a + out + size, "add takes 2 input files, not 1"},
      {"run flip " + out, "flip takes 1 input file, not 0"},
      {"run flip " + a + out, "is a raw file; give its size with --size WIDTHxHEIGHT"},
      {"run yuv-to-color " + a + out + size, "yuv-to-color takes nv21, nv12 or i420 of uint8 elements, not 32x24 rgb"},
      {"run flip " + a + folder.files("out.f32") + size, "flip gives uint8, not float32; name an output file such as out.png"},
      {"run normalization " + a + folder.files("out.png") + size, "normalization gives float32, not uint8"},
      {"run resize-area " + a + out + size, "give the size of the output with --output-size"},
      {"run rect-cut --rectangle 1e30,-1e30,3,3 " + a + out + size, "the rectangle lies outside the image of 32x24 rgb"},
      {"run rect-cut --rectangle 30,0,3,3 " + a + out + size, "the rectangle lies outside the image of 32x24 rgb"},
      {"run flip " + a + folder.files("out.png") + " --size 16384x16385", "cannot hold 16384x16385 pixels"},
      {"run resize-nearest " + a + folder.files("out.png") + " --size 24x32 --output-size 16384x16385",
       "an image of 16384x16385 rgb is larger"},
      {"run mean-std " + a + out + size, "mean-std gives no picture; name a .txt, .csv or .json file"},
      {"run flip " + a + folder.files("out.txt") + size, "flip gives pictures, not text"},
      {"run flip " + a + folder.file("none/out.rgb") + size, "cannot be written"},
      {"bench --sizes 3 flip", "'3' is not a size"},
      {"bench nothing", "unknown operator 'nothing'"},
      {"compare a.png", "required"},
      {"completion tcsh", "tcsh"},
  };
  for (const auto& [line, message] : refusals) {
    const Outcome outcome = tamix(line);
    EXPECT_NE(outcome.status, 0) << line;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << line << "\n" << outcome.err;
  }
}

TEST(PictureFile, RefusesDamage) {
  const Folder folder;
  for (const std::string name : {"a.png", "a.jpg"}) {
    savePicture(folder.file(name), pattern(Tamix_RGB, {24, 16}));
    const std::vector<uint8_t> good = bytesOf(folder.file(name));
    const std::string bad = folder.file("bad-" + name);
    for (size_t i = 0; i < good.size(); i += 3) {
      const bool truncates = i % 2 == 0;
      std::vector<uint8_t> damaged = good;
      truncates ? damaged.resize(i) : void(damaged[i] ^= static_cast<uint8_t>(1 << i % 7));
      std::ofstream(bad, std::ios::binary)
          .write(reinterpret_cast<const char*>(damaged.data()), static_cast<std::streamsize>(damaged.size()));
      const std::string message = messageOf(bad, {});  // a damaged byte may make another picture
      EXPECT_TRUE(!truncates || i >= good.size() / 2 || message != "no error") << name << " of " << i << " bytes";
    }
  }
}

TEST(Reference, NamesEveryOperatorAndSetting) {
  const std::string list = tamix("list").out, json = tamix("list --json").out, manual = tamix("man").out;
  const std::string bash = tamix("completion bash").out, fish = tamix("completion fish").out;
  for (const OperatorEntry& entry : operators()) {
    const std::string name(entry.name);
    const std::string help = tamix("run " + name + " --help").out;
    EXPECT_NE(list.find("\n" + name + "\n"), name == "add" ? 0u : std::string::npos) << name;
    EXPECT_NE(json.find("\"name\": \"" + name + "\""), std::string::npos) << name;
    EXPECT_NE(help.find("Example:\n  tamix run " + name), std::string::npos) << name;
    for (const Setting* setting : settingsOf(entry)) {
      const std::string flag = "--" + std::string(setting->name);
      EXPECT_NE(help.find(flag), std::string::npos) << name << flag;
      EXPECT_NE(json.find("\"" + flag + "\""), std::string::npos) << name << flag;
      if (setting->choices.size() < 2) continue;
      EXPECT_NE(bash.find("'/run/" + name + " " + flag + "') values='" + std::string(setting->choices[0].name)),
                std::string::npos);
    }
    EXPECT_NE(fish.find("-f -a " + name + " "), std::string::npos) << name;
    EXPECT_NE(manual.find(".SS " + std::regex_replace(name, std::regex("-"), "\\-")), std::string::npos) << name;
  }
}

// The examples of the help texts, in a folder with the files that they name.
TEST(Reference, HasExamplesThatRun) {
  const Folder folder;
  constexpr Size kPhoto{640, 480};
  for (const char* name : {"photo.png", "second.png", "third.png"}) savePicture(folder.file(name), pattern(Tamix_RGB, kPhoto));
  savePicture(folder.file("photo.lab"), pattern(Tamix_LAB, kPhoto));
  savePicture(folder.file("frame.nv21"), pattern(Tamix_NV21, {1920, 1080}));
  for (const char* name : {"x.f32", "y.f32"}) savePicture(folder.file(name), pattern(Tamix_GRAY, kPhoto, Tamix_FLOAT32));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.file("."));
  for (const OperatorEntry& entry : operators()) {
    const std::string help = tamix("run " + std::string(entry.name) + " --help").out;
    const size_t example = help.find("  tamix run ") + std::string("  tamix ").size();
    const Outcome outcome = tamix(help.substr(example, help.find('\n', example) - example));
    EXPECT_EQ(outcome.status, 0) << entry.name << ": " << outcome.err;
    EXPECT_FALSE(outcome.out.empty()) << entry.name;
  }
  std::filesystem::current_path(before);
}

TEST(Bench, MeasuresEveryOperator) {
  const std::string json = tamix("bench --json --sizes 64x48 --time 0").out;
  for (const OperatorEntry& entry : operators()) {
    EXPECT_NE(json.find("\"operator\": \"" + std::string(entry.name) + "\", \"ms\": "), std::string::npos) << entry.name;
  }
  EXPECT_NE(tamix("bench flip --sizes 64x48,32x16 --time 0").out.find("32x16"), std::string::npos);
}

}  // namespace
}  // namespace tamix::tool
