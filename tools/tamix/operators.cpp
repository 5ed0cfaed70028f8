#include "tools/tamix/operators.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "tools/tamix/plans.h"
#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

// The settings, in the order of the record. Several operators may have one of the same name.
const std::vector<Choice> kBorderTypes = {{"default", -1}, {"constant", 0}, {"replicate", 1},
                                          {"reflect", 2},  {"wrap", 3},     {"reflect101", 4}};
const std::vector<Choice> kTwoBorderTypes = {{"constant", 0}, {"replicate", 1}};
const std::vector<Choice> kRGBOrBGR = {{"rgb"}, {"bgr"}};

const Setting kInputSize{"size", "size of raw input files", &Request::input_size};
const Setting kInputFormat{"format",
                           "pixels of the input files",
                           &Request::input_format,
                           {{"rgb"}, {"bgr"}, {"rgba"}, {"bgra"}, {"gray"}, {"nv21"}, {"nv12"}, {"i420"}, {"lab"}}};
const Setting kOutputType{"output-type",
                          "elements of the output; by default as its file holds them",
                          &Request::output_type,
                          {{"uint8"}, {"float32"}}};
const Setting kJson{"json", "report as JSON", &Request::json};

const Setting kOutputSize{"output-size", "size of the output", &Request::output_size};
const Setting kMapSize{"output-size", "size of the maps and the output, where it is not --size", &Request::output_size};
const Setting kToColor{"output-format", "pixels of the output", &Request::output_format, kRGBOrBGR};
const Setting kToFourColors{
    "output-format", "pixels of the output", &Request::output_format, {{"rgb"}, {"bgr"}, {"rgba"}, {"bgra"}}};
const Setting kToYUV{"output-format", "pixels of the output", &Request::output_format, {{"nv21"}, {"nv12"}}};
const Setting kResizeFormat{"output-format",
                            "pixels of the output of an nv21 or nv12 frame",
                            &Request::output_format,
                            {{"rgb"}, {"bgr"}, {"nv21"}, {"nv12"}}};

const Setting kFlip{
    "mode", "upside down, mirrored, or both", &TamixParams::op_mode, {{"vertical", 0}, {"horizontal", 1}, {"both", -1}}};
const Setting kTurn{"mode",
                    "a quarter turn to the right, a half turn, or a quarter turn to the left",
                    &TamixParams::op_mode,
                    {{"right", 0}, {"half", 1}, {"left", 2}}};
const Setting kConcatenation{
    "mode", "side by side, or one below the other", &TamixParams::op_mode, {{"beside", 0}, {"below", 1}}};
const Setting kBorderWidths{"border", "border widths: top, bottom, left, right", &TamixParams::border_params, {}, 0, 16384, 4,
                            4};
const Setting kRectangle{"rectangle", "x, y, width and height of what is cut out", &Request::rectangle, {}, 0, 0, 4, 4};
const Setting kWarpSampling{"interpolation",
                            "how pixels are sampled; bilinear by default",
                            &TamixParams::interpolation,
                            {{"nearest", 0}, {"bilinear", 1}, {"bicubic", 2}}};
const Setting kRemapSampling{"interpolation",
                             "how pixels are sampled; bilinear by default",
                             &TamixParams::interpolation,
                             {{"nearest", 0}, {"bilinear", 1}}};
const Setting kInverseMap{"inverse-map", "the transform already maps destination to source", &Request::inverse_map};
const Setting kOutside{"border-type", "what lies outside the image; constant by default", &TamixParams::geom_border_type,
                       kTwoBorderTypes};
const Setting kOutsideBytes{"border-value", "constant border: a byte per channel", &Request::border_values, {}, 0, 0, 1, 4};
const Setting kMadeBorder{"border-type", "how the border is filled; reflect101 by default", &TamixParams::geom_border_type,
                          kBorderTypes};
const Setting kMadeBorderValue{
    "border-value", "constant border: byte of all channels", &TamixParams::geom_border_value, {}, 0, 255};
const Setting kMatrix{"matrix", "the transform's 3x3 matrix, row by row", &Request::matrix, {}, 0, 0, 9, 9};
const Setting kPoints{"points", "four point pairs x,y,u,v: (x, y) goes to (u, v)", &Request::points, {}, 0, 0, 16, 16};

const Setting kWindow{"kernel-size", "size of a square window; 3 by default", &TamixParams::kernel_size, {}, 1, 255};
const Setting kWindowRows{"kernel-height", "rows of a window", &TamixParams::kernel_height, {}, 1, 255};
const Setting kWindowColumns{"kernel-width", "columns of a window", &TamixParams::kernel_width, {}, 1, 255};
const Setting kLaplacianWindow{
    "kernel-size", "of the derivative; 1 by default", &TamixParams::kernel_size, {{"1", 1}, {"3", 3}}};
const Setting kMeanWindow{"kernel-size", "of the window; 3 by default", &TamixParams::kernel_size, {{"3", 3}, {"5", 5}}};
const Setting kShape{"shape",
                     "structuring element; rectangle by default",
                     &TamixParams::morph_shape,
                     {{"rectangle", 0}, {"cross", 1}, {"ellipse", 2}}};
const Setting kComposite{"morph",
                         "what is done; open by default",
                         &TamixParams::morph_type,
                         {{"erode", 0}, {"dilate", 1}, {"open", 2}, {"close", 3}}};
const Setting kBorderType{"border-type", "what lies outside the image", &TamixParams::border_type, kBorderTypes};
const Setting kBorderValue{"border-value", "constant border: byte of all channels", &TamixParams::border_value, {}, 0, 255};
const Setting kIterations{"iterations", "passes; 1 by default", &TamixParams::iterations, {}, 1, 1000};
const Setting kAbsolute{"absolute", "absolute values, not clamped ones", &TamixParams::abs_output, {{"", 1}}};
const Setting kMean{"mean", "a mean for all channels, or one each; 0 by default", &Request::mean, {}, 0, 0, 1, 4};
const Setting kStd{"std", "a deviation for all channels, or one each; 1 by default", &Request::std, {}, 0, 0, 1, 4};
const Setting kPlanar{"planar", "channels as planes, one behind the other", &TamixParams::reorder, {{"", 1}}};
const Setting kAngle{"angle", "rotation in whole degrees", &TamixParams::affine_angle};
const Setting kZoom{"scale", "whole factor; 1 by default", &TamixParams::affine_scale};
const Setting kAbsScale{"scale", "factor; 1 by default", &TamixParams::abs_scale};
const Setting kOffset{"offset", "added after scaling; 0 by default", &TamixParams::offset};
const Setting kBins{"bins", "bins of each dimension; 256 by default", &TamixParams::hist_size, {}, 1, 65536, 1, 4};
const Setting kChannels{"channels", "channel of each dimension; 0,1,2,3 by default", &TamixParams::hist_channels, {}, 0, 3, 1,
                        4};
const Setting kRangeMin{
    "range-min", "lower end of each dimension; 0 by default", &TamixParams::hrange_min, {}, -65536, 65536, 1, 4};
const Setting kRangeMax{
    "range-max", "upper end of each dimension; 255 by default", &TamixParams::hrange_max, {}, -65536, 65536, 1, 4};
const Setting kThreshold{"threshold", "fixed threshold", &Request::threshold};
const Setting kMaxval{"maxval", "value of the binary rules; 255 by default", &TamixParams::maxval};
const Setting kRule{"rule",
                    "what happens above the threshold; binary by default",
                    &TamixParams::thresh_type,
                    {{"binary", 0}, {"binary-inv", 1}, {"trunc", 2}, {"tozero", 3}, {"tozero-inv", 4}}};
const Setting kMethod{"method", "finds the threshold itself, of a gray image", &Request::method, {{"otsu"}, {"triangle"}}};
const Setting kOverlap{"overlap", "width or height of the blended band", &TamixParams::fuse_overlap, {}, 0, 65536};
const Setting kDirection{
    "direction", "side by side, or one below the other", &TamixParams::fuse_direction, {{"beside", 1}, {"below", 0}}};
const Setting kWeights{"weights", "share of the second image at each position of the band", &Request::weights, {}, 0, 0, 1,
                       65536};
const Setting kThreads{"threads", "bands of four channels", &Request::num_threads, {}, 1, 1024};

constexpr std::string_view kPixels = "rgb bgr rgba bgra gray lab";
constexpr std::string_view kAnyImage = "rgb bgr rgba bgra gray lab nv21 nv12 i420";
constexpr std::string_view kThreeOrFour = "rgb bgr rgba bgra";
constexpr std::string_view kThree = "rgb bgr";
constexpr std::string_view kThreeChannels = "rgb bgr lab";
constexpr std::string_view kOneOrThree = "rgb bgr gray lab";
constexpr std::string_view kFrames = "nv21 nv12 i420";
constexpr std::string_view kBytes = "uint8";
constexpr std::string_view kFloats = "float32";
constexpr std::string_view kBoth = "uint8 float32";

}  // namespace

const std::vector<OperatorEntry>& operators() {
  // clang-format off
  static const std::vector<OperatorEntry> all = {
      {"add", TAMIX_OP_ADD, 2, 2, kPixels, kBoth, kBoth, "sum of two images", {}, "", planSame},
      {"bitwise-and", TAMIX_OP_BITWISE_AND, 2, 3, kPixels, kBytes, kBoth,
       "bitwise and of two images, where an optional mask is not zero", {}, "", planSame},
      {"bitwise-not", TAMIX_OP_BITWISE_NOT, 1, 2, kPixels, kBytes, kBoth,
       "bitwise complement, where an optional mask is not zero", {}, "", planNegation},
      {"bitwise-or", TAMIX_OP_BITWISE_OR, 2, 3, kPixels, kBytes, kBoth,
       "bitwise or of two images, where an optional mask is not zero", {}, "", planSame},
      {"bitwise-xor", TAMIX_OP_BITWISE_XOR, 2, 3, kPixels, kBytes, kBoth,
       "bitwise exclusive or of two images, where an optional mask is not zero", {}, "", planSame},
      {"calc-hist", TAMIX_OP_CALC_HIST, 1, 1, kPixels, kBytes, "",
       "histogram of one to four channels", {&kBins, &kChannels, &kRangeMin, &kRangeMax}, "--bins 64", planHistogram,
       reportHistogram},
      {"color-to-gray", TAMIX_OP_COLOR_TO_GRAY, 1, 1, kThreeOrFour, kBytes, kBoth, "colour to gray", {}, "", planToGray},
      {"color-to-hsv", TAMIX_OP_COLOR_TO_HSV, 1, 1, "rgba bgra", kBytes, kBoth,
       "colour to hue (0 to 179), saturation and value", {}, "", planToColor},
      {"color-to-lab", TAMIX_OP_COLOR_TO_LAB, 1, 1, "rgb", kBytes, kBoth, "colour to Lab", {}, "", planToLab},
      {"color-to-yuv", TAMIX_OP_COLOR_TO_YUV, 1, 1, kThree, kBytes, kBytes,
       "colour to a camera frame, full range", {&kToYUV}, "", planToYUV},
      {"color3-to-color4", TAMIX_OP_COLOR3_TO_COLOR4, 1, 1, kThree, kBytes, kBoth,
       "three channels to four, the last one zero", {}, "", planToFourChannels},
      {"color4-to-color3", TAMIX_OP_COLOR4_TO_COLOR3, 1, 1, "rgba bgra", kBytes, kBoth,
       "the first three of four channels", {&kToColor}, "", planToColor},
      {"concat", TAMIX_OP_CONCAT, 1, 4, kPixels, kBytes, kBytes,
       "images side by side, or one below the other", {&kConcatenation}, "--mode beside", planConcatenation},
      {"convert-scale-abs", TAMIX_OP_CONVERT_SCALE_ABS, 1, 1, kPixels, kBoth, kBoth,
       "|value * scale + offset|", {&kAbsScale, &kOffset}, "--scale 1.5 --offset -40", planSame},
      {"copy-make-border", TAMIX_OP_COPY_MAKE_BORDER, 1, 1, kPixels, kBytes, kBoth,
       "a border around an image", {&kBorderWidths, &kMadeBorder, &kMadeBorderValue},
       "--border 20,20,40,40 --border-type reflect101", planBorder},
      {"count-non-zero", TAMIX_OP_COUNT_NON_ZERO, 1, 1, "gray", kBytes, "",
       "number of pixels that are not zero", {}, "", planCount, reportCount},
      {"data-type-convert", TAMIX_OP_DATA_TYPE_CONVERT, 1, 1, kAnyImage, kBoth, kBoth,
       "bytes to floats, or floats to bytes (low 8 bits)", {}, "", planTypeConversion},
      {"dilate", TAMIX_OP_DILATE, 1, 1, kThreeChannels, kBytes, kBoth,
       "largest value of a window",
       {&kWindow, &kWindowRows, &kWindowColumns, &kShape, &kBorderType, &kBorderValue, &kIterations},
       "--kernel-size 5 --shape ellipse", planMorphology},
      {"divide", TAMIX_OP_DIVIDE, 2, 2, kPixels, kBoth, kBoth, "quotient of two images", {}, "", planProduct},
      {"erode", TAMIX_OP_ERODE, 1, 1, kThreeChannels, kBytes, kBoth,
       "smallest value of a window",
       {&kWindow, &kWindowRows, &kWindowColumns, &kShape, &kBorderType, &kBorderValue, &kIterations},
       "--kernel-size 5 --shape ellipse", planMorphology},
      {"flip", TAMIX_OP_FLIP, 1, 1, kPixels, kBytes, kBytes,
       "upside down, mirrored, or both", {&kFlip}, "--mode horizontal", planSame},
      {"gaussian-filter", TAMIX_OP_GAUSSIAN_FILTER, 1, 1, kPixels, kBytes, kBoth,
       "3x3 Gaussian", {&kBorderType, &kBorderValue}, "", planGaussian},
      {"get-perspective-transform", TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, 0, 0, "", "", kFloats,
       "matrix that maps four points onto four others", {&kPoints},
       "--points 0,0,60,40,639,0,600,0,639,479,639,479,0,479,0,440", planPerspectiveSolve, reportMatrix},
      {"get-structuring-element", TAMIX_OP_GET_STRUCTURING_ELEMENT, 0, 0, "", "", kBytes,
       "rectangle, cross or ellipse", {&kWindow, &kWindowRows, &kWindowColumns, &kShape},
       "--kernel-size 9 --shape ellipse", planElement, reportElement},
      {"guided-filter", TAMIX_OP_GUIDED_FILTER, 2, 2, kThreeChannels, kBytes, kBoth,
       "edge-preserving smoothing: guide, then the image to smooth", {}, "", planSame},
      {"image-fuse-overlap", TAMIX_OP_IMAGE_FUSE_OVERLAP, 2, 2, kThreeChannels, kBytes, kBoth,
       "two images joined with a blended band", {&kOverlap, &kDirection, &kWeights}, "--overlap 120 --direction beside",
       planFusion},
      {"lab-to-color", TAMIX_OP_LAB_TO_COLOR, 1, 1, "lab", kBytes, kBoth, "Lab to rgb", {}, "", planToColor},
      {"laplacian-filter", TAMIX_OP_LAPLACIAN_FILTER, 1, 1, kPixels, kBytes, kBoth,
       "second derivative", {&kLaplacianWindow, &kAbsolute, &kBorderType, &kBorderValue}, "--kernel-size 3 --absolute",
       planSame},
      {"mean-filter", TAMIX_OP_MEAN_FILTER, 1, 1, "gray", kFloats, kBoth,
       "mean of a window", {&kMeanWindow}, "--kernel-size 5", planMean},
      {"mean-std", TAMIX_OP_MEAN_STD, 1, 1, kPixels, kBytes, "",
       "mean and standard deviation of each channel", {}, "", planStatistics, reportStatistics},
      {"merge", TAMIX_OP_MERGE, 3, 4, "gray", kBytes, kBytes, "planes to an interleaved image", {&kToFourColors}, "", planMerge},
      {"morphology-ex", TAMIX_OP_MORPHOLOGY_EX, 1, 1, kThreeChannels, kBytes, kBoth,
       "erosion, dilation, opening or closing",
       {&kComposite, &kWindow, &kWindowRows, &kWindowColumns, &kShape, &kBorderType, &kBorderValue, &kIterations},
       "--morph open --kernel-size 7 --shape ellipse", planCompositeMorphology},
      {"multiple", TAMIX_OP_MULTIPLE, 2, 2, kPixels, kBoth, kBoth, "product of two images", {}, "", planProduct},
      {"normalization", TAMIX_OP_NORMALIZATION, 1, 1, kOneOrThree, kBoth, kFloats,
       "(value - mean) / std, in floats", {&kMean, &kStd, &kPlanar}, "--mean 124,116,104 --std 58,57,57",
       planNormalization},
      {"rect-cut", TAMIX_OP_RECT_CUT, 1, 1, kPixels, kBoth, kBoth,
       "a rectangle of an image", {&kRectangle}, "--rectangle 160,120,320,240", planCut},
      {"remap", TAMIX_OP_REMAP, 3, 3, kOneOrThree, kBytes, kBoth,
       "pixels from where two float maps say: image, x map, y map",
       {&kMapSize, &kRemapSampling, &kOutside, &kOutsideBytes}, "--interpolation bilinear", planRemap},
      {"resize-area", TAMIX_OP_RESIZE_AREA, 1, 1, kAnyImage, kBytes, kBoth,
       "shrinking by averages", {&kOutputSize}, "--output-size 320x240", planResize},
      {"resize-bilinear", TAMIX_OP_RESIZE_BILINEAR, 1, 1, kAnyImage, kBoth, kBoth,
       "bilinear scaling; nv21 and nv12 become colour on the way", {&kOutputSize, &kResizeFormat, &kThreads},
       "--output-size 320x240", planBilinearResize},
      {"resize-nearest", TAMIX_OP_RESIZE_NEAREST, 1, 1, kAnyImage, kBytes, kBytes,
       "scaling without blending", {&kOutputSize}, "--output-size 320x240", planResize},
      {"rotate", TAMIX_OP_ROTATE, 1, 1, kPixels, kBytes, kBoth, "a quarter or half turn", {&kTurn}, "--mode right", planRotation},
      {"split", TAMIX_OP_SPLIT, 1, 1, kThreeChannels, kBoth, kBoth,
       "an image's channels as planes: OUTPUT-0, OUTPUT-1, ...", {}, "", planSplit},
      {"subtract", TAMIX_OP_SUBTRACT, 2, 2, kPixels, kBoth, kBoth, "difference of two images", {}, "", planSame},
      {"threshold", TAMIX_OP_THRESHOLD, 1, 1, kPixels, kBytes, kBoth,
       "fixed, Otsu or triangle threshold", {&kThreshold, &kMaxval, &kRule, &kMethod}, "--rule binary --threshold 128",
       planThreshold, reportThreshold},
      {"transpose", TAMIX_OP_TRANSPOSE, 1, 1, "rgb bgr rgba bgra lab", kBytes, kBytes, "rows become columns", {}, "", planTranspose},
      {"warp-affine", TAMIX_OP_WARP_AFFINE, 1, 1, kAnyImage, kBytes, kBytes,
       "rotation and scaling about the centre", {&kAngle, &kZoom}, "--angle 30", planSame},
      {"warp-perspective", TAMIX_OP_WARP_PERSPECTIVE, 1, 1, "rgb bgr rgba bgra gray", kBytes, kBytes,
       "perspective transform by a matrix or four points",
       {&kMatrix, &kPoints, &kInverseMap, &kOutputSize, &kWarpSampling, &kOutside, &kOutsideBytes},
       "--points 0,0,60,40,639,0,600,0,639,479,639,479,0,479,0,440", planPerspectiveWarp},
      {"yuv-to-color", TAMIX_OP_YUV_TO_COLOR, 1, 1, kFrames, kBytes, kBoth,
       "a camera frame to colour", {&kToColor}, "", planToColor},
  };
  // clang-format on
  return all;
}

const OperatorEntry& operatorNamed(std::string_view name) {
  const auto found = std::ranges::find(operators(), name, &OperatorEntry::name);
  if (found != operators().end()) return *found;
  std::string similar;
  for (const OperatorEntry& entry : operators()) {
    if (editDistance(entry.name, name) <= name.size() / 3 || entry.name.find(name) != std::string_view::npos) {
      similar += (similar.empty() ? "" : ", ") + std::string(entry.name);
    }
  }
  throw std::runtime_error("unknown operator '" + std::string(name) + "'" +
                           (similar.empty() ? "; 'tamix list' names them all" : "; did you mean " + similar + "?"));
}

std::vector<const Setting*> settingsOf(const OperatorEntry& entry) {
  std::vector<const Setting*> all = entry.settings;
  if (entry.most_inputs > 0) all.insert(all.end(), {&kInputSize, &kInputFormat});
  if (entry.gives == kBoth) all.push_back(&kOutputType);
  if (entry.report != nullptr) all.push_back(&kJson);
  return all;
}

Request sampleRequest(const OperatorEntry& entry, Size size) {
  Request request;
  std::istringstream sample{std::string(entry.sample)};
  for (std::string name, value; sample >> name; value.clear()) {
    const Setting& setting = **std::ranges::find(entry.settings, name.substr(2), &Setting::name);
    if (!isFlag(setting)) sample >> value;
    apply(setting, value, request);
  }
  const float across = static_cast<float>(size.width) / 640;
  const float down = static_cast<float>(size.height) / 480;
  for (std::vector<float>* const pairs : {&request.points, &request.rectangle}) {
    for (size_t i = 0; i < pairs->size(); ++i) (*pairs)[i] *= i % 2 == 0 ? across : down;
  }
  request.output_size = {static_cast<int32_t>(static_cast<float>(request.output_size.width) * across),
                         static_cast<int32_t>(static_cast<float>(request.output_size.height) * down)};
  int32_t& overlap = request.params.fuse_overlap;
  overlap = static_cast<int32_t>(static_cast<float>(overlap) * across);
  return request;
}

int32_t formatFor(const OperatorEntry& entry, int32_t own) {
  const Format& first = formatNamed(words(entry.formats).front());
  return takes(entry.formats, formatOf(own).name) || first.yuv ? own : first.value;
}

void planOperator(const OperatorEntry& entry, Job& job) {
  const size_t given = job.inputs().size();
  const std::string name(entry.name);
  if (given < entry.fewest_inputs || given > entry.most_inputs) {
    throw std::runtime_error(name + " takes " + std::to_string(entry.fewest_inputs) +
                             (entry.most_inputs > entry.fewest_inputs ? " to " + std::to_string(entry.most_inputs) : "") +
                             (entry.most_inputs == 1 ? " input file, not " : " input files, not ") + std::to_string(given));
  }
  if (given > 0) {
    const Picture& src = job.input();
    if (!takes(entry.formats, formatOf(src.format()).name) || !takes(entry.elements, src.elementName())) {
      throw std::runtime_error(name + " takes " + alternatives(entry.formats) + " of " + alternatives(entry.elements) +
                               " elements, not " + src.describe());
    }
  }
  const std::string& type = job.request().output_type;
  if (!type.empty() && !entry.gives.empty() && !takes(entry.gives, type)) {
    const bool floats = type == "float32";
    throw std::runtime_error(name + " gives " + std::string(entry.gives) + ", not " + type + "; name an output file such as " +
                             (floats ? "out.png" : "out.f32"));
  }
  entry.plan(job);
}

void runOperator(const OperatorEntry& entry, Job& job) {
  planOperator(entry, job);
  const Runner runner(entry.type, job.request().num_threads);
  requireSuccess(runner.run(job.completedParams()), entry.name);
}

}  // namespace tamix::tool
