// tamix: runs the library's operators on image files.
#include <hwy/highway.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/tamix/operators.h"
#include "tools/tamix/picture_file.h"

namespace {

using namespace tamix::tool;

Size parseSize(const std::string& text) {
  Size size;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &size.width, &size.height, &rest) != 2 || size.empty()) {
    throw CLI::ValidationError("'" + text + "' is not a size such as 1920x1080");
  }
  return size;
}

CLI::Option* addSize(CLI::App& app, const std::string& name, Size& size, const std::string& help) {
  return app
      .add_option_function<std::string>(
          name, [&size](const std::string& text) { size = parseSize(text); }, help)
      ->type_name("WIDTHxHEIGHT");
}

// An integer that may be given by name.
void addNamed(CLI::App& app, const std::string& name, int32_t& value, const std::map<std::string, int32_t>& names,
              const std::string& help) {
  app.add_option(name, value, help)->transform(CLI::CheckedTransformer(names, CLI::ignore_case))->group("Settings");
}

const std::map<std::string, int32_t> kBorders = {{"default", -1}, {"constant", 0}, {"replicate", 1},
                                                 {"reflect", 2},  {"wrap", 3},     {"reflect101", 4}};

struct RunOptions {
  std::string operator_name;
  std::vector<std::string> files;
  RawLayout layout;
  Request request;
  std::vector<int32_t> border, bins, channels, range_min, range_max;
  bool inverse_map = false;
  bool planar = false;
  bool absolute = false;
  std::string method;
};

void addSettings(CLI::App& app, RunOptions& options) {
  TamixParams& params = options.request.params;
  const auto number = [&app](const char* name, auto& value, const char* help) {
    app.add_option(name, value, help)->group("Settings");
  };
  number("--mode", params.op_mode,
         "flip: 0 upside down, 1 mirror, -1 both; rotate: 0 right, 1 half, 2 left; concat: 0 beside, 1 below");
  app.add_option("--border", options.border, "top bottom left right: border widths, or the rows and columns to cut")
      ->expected(4)
      ->group("Settings");
  addNamed(app, "--interpolation", params.interpolation, {{"nearest", 0}, {"bilinear", 1}, {"bicubic", 2}},
           "of warps and remap");
  app.add_flag("--inverse-map", options.inverse_map, "the matrix already maps destination to source")->group("Settings");
  addNamed(app, "--geom-border", params.geom_border_type, kBorders, "border type of warps, remap and copy-make-border");
  number("--geom-border-value", params.geom_border_value, "constant border value of copy-make-border, 0 to 255");
  app.add_option("--border-color", options.request.border_color, "constant border of warps and remap, a byte per channel")
      ->expected(1, 4)
      ->group("Settings");
  app.add_option("--matrix", options.request.matrix, "perspective matrix, row by row")->expected(9)->group("Settings");
  app.add_option("--points", options.request.points, "x y u v of four point pairs: (x, y) goes to (u, v)")
      ->expected(16)
      ->group("Settings");
  number("--kernel-size", params.kernel_size, "size of a square window");
  number("--kernel-height", params.kernel_height, "rows of a window");
  number("--kernel-width", params.kernel_width, "columns of a window");
  addNamed(app, "--shape", params.morph_shape, {{"rectangle", 0}, {"cross", 1}, {"ellipse", 2}}, "structuring element");
  addNamed(app, "--morph", params.morph_type, {{"erode", 0}, {"dilate", 1}, {"open", 2}, {"close", 3}}, "composite morphology");
  addNamed(app, "--border-type", params.border_type, kBorders, "border type of filters and morphology");
  number("--border-value", params.border_value, "constant border value of filters and morphology");
  number("--iterations", params.iterations, "passes of erosion and dilation");
  app.add_flag("--absolute", options.absolute, "absolute values of the Laplacian")->group("Settings");
  number("--scale", params.scale, "scale of the Laplacian");
  number("--delta", params.delta, "added by the Laplacian");
  app.add_option("--mean", options.request.mean, "normalization: one mean, or one per channel")
      ->expected(1, 4)
      ->group("Settings");
  app.add_option("--std", options.request.std, "normalization: one deviation, or one per channel")
      ->expected(1, 4)
      ->group("Settings");
  app.add_flag("--planar", options.planar, "normalization into planes")->group("Settings");
  number("--angle", params.affine_angle, "rotation of warp-affine in degrees");
  number("--zoom", params.affine_scale, "scale of warp-affine");
  number("--abs-scale", params.abs_scale, "factor of convert-scale-abs");
  number("--offset", params.offset, "added by convert-scale-abs");
  app.add_option("--bins", options.bins, "histogram: bins of each dimension")->expected(1, 4)->group("Settings");
  app.add_option("--channels", options.channels, "histogram: channel of each dimension")->expected(1, 4)->group("Settings");
  app.add_option("--range-min", options.range_min, "histogram: lower end of each dimension")->expected(1, 4)->group("Settings");
  app.add_option("--range-max", options.range_max, "histogram: upper end of each dimension")->expected(1, 4)->group("Settings");
  number("--threshold", options.request.threshold, "fixed threshold");
  number("--maxval", params.maxval, "value of the binary threshold rules");
  addNamed(app, "--rule", params.thresh_type,
           {{"binary", 0}, {"binary-inv", 1}, {"trunc", 2}, {"tozero", 3}, {"tozero-inv", 4}}, "threshold rule");
  app.add_option("--method", options.method, "automatic threshold")
      ->check(CLI::IsMember({"otsu", "triangle"}))
      ->group("Settings");
  number("--overlap", params.fuse_overlap, "width or height of the blended band");
  number("--direction", params.fuse_direction, "fusion: 1 side by side, 0 one below the other");
  app.add_option("--weights", options.request.weights, "fusion: share of the second image at each band position")
      ->expected(1, 1 << 20)
      ->group("Settings");
  number("--threads", options.request.num_threads, "bands of the four-channel bilinear resize");
}

void completeSettings(RunOptions& options) {
  TamixParams& params = options.request.params;
  if (options.inverse_map) params.interpolation = std::max(params.interpolation, 0) | TAMIX_INTERPOLATION_INVERSE_MAP;
  if (options.planar) params.reorder = 1;
  if (options.absolute) params.abs_output = 1;
  if (!options.method.empty()) {
    params.thresh_type =
        std::max(params.thresh_type, 0) | (options.method == "otsu" ? TAMIX_THRESH_OTSU : TAMIX_THRESH_TRIANGLE);
  }
  params.hist_dims = static_cast<int32_t>(options.bins.size());
  std::ranges::copy(options.border, params.border_params);
  std::ranges::copy(options.bins, params.hist_size);
  std::ranges::copy(options.channels, params.hist_channels);
  std::ranges::copy(options.range_min, params.hrange_min);
  std::ranges::copy(options.range_max, params.hrange_max);
}

// The file of one of several outputs: planes.png becomes planes-0.png, planes-1.png, ...
std::string numbered(const std::string& path, size_t i) {
  const std::filesystem::path p(path);
  return (p.parent_path() / (p.stem().string() + "-" + std::to_string(i) + p.extension().string())).string();
}

void saveOutputs(Job& job, const std::string& path, const std::string& text) {
  const std::string extension = std::filesystem::path(path).extension().string();
  if (extension == ".csv" || extension == ".json" || extension == ".txt") {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
    std::cout << path << "\n";
    return;
  }
  const std::vector<Picture>& outputs = job.outputs();
  for (size_t i = 0; i < outputs.size(); ++i) {
    const std::string file = outputs.size() == 1 ? path : numbered(path, i);
    savePicture(file, outputs[i]);
    std::cout << file << ": " << outputs[i].describe() << "\n";
  }
}

int run(RunOptions& options) {
  const OperatorEntry& entry = operatorNamed(options.operator_name);
  completeSettings(options);
  std::vector<std::string> inputs = options.files;
  std::string output;
  // What an operator only reports needs no output file.
  if (entry.report == nullptr || inputs.size() > entry.most_inputs) {
    if (inputs.empty()) throw std::runtime_error("name an output file last");
    output = inputs.back();
    inputs.pop_back();
  }
  Request& request = options.request;
  if (request.output_format.empty() && !describesItself(output) && !holdsFloats(output))
    request.output_format = formatOfPath(output);
  if (request.output_type.empty() && holdsFloats(output)) request.output_type = "float32";

  std::vector<Picture> pictures;
  for (const std::string& path : inputs) {
    RawLayout layout = options.layout;
    const bool is_map = entry.type == TAMIX_OP_REMAP && !pictures.empty();
    if (is_map && !request.output_size.empty()) layout.size = request.output_size;
    if (is_map) layout.format.clear();
    pictures.push_back(loadPicture(path, layout));
  }
  Job job(request, std::move(pictures));
  runOperator(entry, job);
  const std::string text = entry.report == nullptr ? "" : entry.report(job);
  if (output.empty() || (entry.type == TAMIX_OP_THRESHOLD && !options.method.empty())) std::cout << text;
  if (!output.empty()) saveOutputs(job, output, text);
  return 0;
}

int list() {
  for (const OperatorEntry& entry : operators()) {
    std::cout << entry.name << std::string(28 - entry.name.size(), ' ') << entry.summary << "\n";
  }
  return 0;
}

// Processors by their highest frequency, fastest first; one group where frequencies are not known.
void printClusters() {
  std::map<long, std::vector<int>, std::greater<>> clusters;
  for (int id = 0;; ++id) {
    const std::string cpu = "/sys/devices/system/cpu/cpu" + std::to_string(id);
    if (!std::filesystem::exists(cpu)) break;
    long khz = 0;
    std::ifstream(cpu + "/cpufreq/cpuinfo_max_freq") >> khz;
    clusters[khz].push_back(id);
  }
  for (const auto& [khz, ids] : clusters) {
    std::cout << "cores      ";
    for (const int id : ids) std::cout << id << " ";
    if (khz > 0) {
      std::cout << "at up to " << static_cast<double>(khz) / 1e6 << " GHz\n";
    } else {
      std::cout << "(frequency not known)\n";
    }
  }
}

int info() {
  std::cout << "version    " << getTamixVersion() << "\n";
  std::cout << "vectors    " << hwy::TargetName(HWY_STATIC_TARGET) << ", " << HWY_MAX_BYTES << " bytes\n";
  std::cout << "operators  " << operators().size() << " ('tamix list' names them)\n";
  printClusters();
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("Runs the image operators of Tamix Camera on files.");
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  tamix run yuv-to-color frame.nv21 --size 1920x1080 frame.png\n"
      "  tamix run resize-bilinear frame.nv21 --size 1920x1080 --output-size 640x360 small.png\n"
      "  tamix run threshold photo.jpg --format gray --rule binary --maxval 255 --method otsu mask.png\n");

  RunOptions options;
  initTamixParams(&options.request.params);
  CLI::App* const run_command = app.add_subcommand("run", "Run an operator: tamix run OPERATOR INPUT... OUTPUT");
  run_command->add_option("operator", options.operator_name, "its name, see 'tamix list'")->required();
  run_command->add_option(
      "files", options.files,
      "input files, then the output file: PNG, JPEG, raw planes (.nv21 .nv12 .i420 .rgb .gray ...), raw floats (.f32)");
  addSize(*run_command, "--size", options.layout.size, "size of raw input files");
  run_command->add_option("--format", options.layout.format,
                          "pixels of the input files: nv21, nv12, i420, rgb, bgr, rgba, bgra, gray, lab");
  addSize(*run_command, "--output-size", options.request.output_size, "size of the output");
  run_command->add_option("--output-format", options.request.output_format, "pixels of the output");
  run_command->add_option("--output-type", options.request.output_type, "elements of the output")
      ->check(CLI::IsMember({"uint8", "float32"}));
  run_command->add_flag("--json", options.request.json, "report as JSON");
  addSettings(*run_command, options);
  CLI::App* const list_command = app.add_subcommand("list", "Name the operators");
  app.add_subcommand("info", "Print version, vector target, operators and cores");

  CLI11_PARSE(app, argc, argv);
  if (run_command->parsed()) return run(options);
  return list_command->parsed() ? list() : info();
} catch (const std::exception& error) {
  std::cerr << "tamix: " << error.what() << "\n";
  return 1;
}
