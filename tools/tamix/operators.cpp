#include "tools/tamix/operators.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace tamix::tool {
namespace {

bool isNV(int32_t format) { return format == Tamix_NV12 || format == Tamix_NV21; }

// A picture's size and channels without its pixels.
TamixImage emptyLike(const Picture& picture) {
  TamixImage image{};
  image.width = image.width_stride = picture.size().width;
  image.height = image.height_stride = picture.size().height;
  image.channel = picture.channels();
  return image;
}

std::string listed(const std::vector<float>& values, size_t per_line) {
  std::ostringstream out;
  out.precision(9);
  for (size_t i = 0; i < values.size(); ++i) out << values[i] << ((i + 1) % per_line == 0 ? "\n" : " ");
  return out.str();
}

std::string json(std::string_view name, const float* values, size_t count) {
  std::ostringstream out;
  out.precision(9);
  out << '"' << name << "\": [";
  for (size_t i = 0; i < count; ++i) out << (i == 0 ? "" : ", ") << values[i];
  out << "]";
  return out.str();
}

// Pictures of the input's format, size and type.
void planSame(Job& job) {
  const Picture& src = job.input();
  job.addOutput(job.outputFormat(src.format()), src.size(), src.type());
}

// Products and quotients of bytes are floats.
void planProduct(Job& job) { job.addOutput(job.input().format(), job.input().size(), Tamix_FLOAT32); }

void planTypeConversion(Job& job) {
  const Picture& src = job.input();
  job.addOutput(src.format(), src.size(), src.type() == Tamix_FLOAT32 ? Tamix_UINT8 : Tamix_FLOAT32, src.channels());
}

// The mask of a negation is input 1; without one the record still names its size.
void planNegation(Job& job) {
  planSame(job);
  if (job.inputs().size() == 1) job.params().input[1] = emptyLike(job.input());
}

void planToColor(Job& job) { job.addOutput(job.outputFormat(Tamix_RGB), job.input().size()); }
void planToYUV(Job& job) { job.addOutput(job.outputFormat(Tamix_NV21), job.input().size()); }
void planToGray(Job& job) { job.addOutput(Tamix_GRAY, job.input().size()); }
void planToLab(Job& job) { job.addOutput(Tamix_LAB, job.input().size()); }

void planToFourChannels(Job& job) {
  job.addOutput(job.input().format() == Tamix_BGR ? Tamix_BGRA : Tamix_RGBA, job.input().size());
}

Size neededSize(const Job& job) {
  const Size size = job.outputSize({});
  if (size.empty()) throw std::runtime_error("give the size of the output with --output-size WIDTHxHEIGHT");
  return size;
}

void planResize(Job& job) { job.addOutput(job.input().format(), neededSize(job), job.input().type()); }

// An NV21 or NV12 frame becomes colour on the way unless its own format is asked for.
void planBilinearResize(Job& job) {
  const Picture& src = job.input();
  job.addOutput(job.outputFormat(isNV(src.format()) ? int32_t{Tamix_RGB} : src.format()), neededSize(job), src.type());
}

// Four point pairs as the perspective solve takes them: x coordinates in plane 0, y coordinates in plane 1.
struct PointPlanes {
  std::array<float, 4> x, y, u, v;
};

TamixImage pointImage(float* x, float* y) {
  TamixImage image{};
  image.format = Tamix_GRAY;
  image.type = Tamix_FLOAT32;
  image.width = 4;
  image.height = 1;
  image.channel = 2;
  image.data[0] = x;
  image.data[1] = y;
  return image;
}

std::vector<float> solvePerspective(const Job& job) {
  const std::vector<float>& points = job.request().points;
  if (points.size() != 16) {
    throw std::runtime_error("give four point pairs with --points: x y u v for each, where (x, y) goes to (u, v)");
  }
  PointPlanes planes;
  for (size_t i = 0; i < 4; ++i) {
    planes.x[i] = points[4 * i];
    planes.y[i] = points[4 * i + 1];
    planes.u[i] = points[4 * i + 2];
    planes.v[i] = points[4 * i + 3];
  }
  Request request;
  initTamixParams(&request.params);
  Job solve(request, {});
  solve.params().input[0] = pointImage(planes.x.data(), planes.y.data());
  solve.params().input[1] = pointImage(planes.u.data(), planes.v.data());
  solve.addOutput(Tamix_GRAY, {3, 3}, Tamix_FLOAT32);
  const int32_t status = solve.run(TAMIX_OP_GET_PERSPECTIVE_TRANSFORM);
  if (status != TAMIX_OK) throw std::runtime_error(std::string("the perspective solve failed: ") + tamix_status_name(status));
  const float* const matrix = solve.outputs()[0].floats();
  return std::vector<float>(matrix, matrix + 9);
}

void planPerspectiveSolve(Job& job) { job.solution = solvePerspective(job); }

std::string reportMatrix(Job& job) {
  return job.request().json ? "{" + json("matrix", job.solution.data(), 9) + "}\n" : listed(job.solution, 3);
}

void setBorderBytes(Job& job) {
  for (const int32_t value : job.request().border_color) {
    job.border_bytes.push_back(static_cast<uint8_t>(std::clamp(value, 0, 255)));
  }
  job.border_bytes.resize(4, 0);
  job.params().geom_border_value_ptr = job.border_bytes.data();
}

void planPerspectiveWarp(Job& job) {
  const std::vector<float>& given = job.request().matrix;
  if (!given.empty() && given.size() != 9) throw std::runtime_error("--matrix takes nine numbers, row by row");
  const std::vector<float> matrix = given.empty() ? solvePerspective(job) : given;
  Picture picture(Tamix_GRAY, Tamix_FLOAT32, {3, 3});
  std::copy(matrix.begin(), matrix.end(), picture.floats());
  job.addOutput(job.input().format(), job.outputSize(job.input().size()));
  job.inputs().push_back(std::move(picture));
  setBorderBytes(job);
}

void planRemap(Job& job) {
  job.addOutput(job.input().format(), job.input(1).size());
  setBorderBytes(job);
}

void planTranspose(Job& job) {
  const Size size = job.input().size();
  job.addOutput(job.input().format(), {size.height, size.width});
}

void planRotation(Job& job) { job.params().op_mode == 1 ? planSame(job) : planTranspose(job); }

void planBorder(Job& job) {
  const int32_t* const border = job.params().border_params;
  const Size size = job.input().size();
  job.addOutput(job.input().format(), {size.width + border[2] + border[3], size.height + border[0] + border[1]});
}

void planCut(Job& job) {
  const int32_t* const edges = job.params().border_params;
  job.addOutput(job.input().format(), {edges[3] - edges[2], edges[1] - edges[0]}, job.input().type());
}

void planConcatenation(Job& job) {
  Size size = job.input().size();
  for (size_t i = 1; i < job.inputs().size(); ++i) {
    const Size next = job.input(i).size();
    job.params().op_mode == 0 ? size.width += next.width : size.height += next.height;
  }
  job.addOutput(job.input().format(), size);
}

void planSplit(Job& job) {
  for (int32_t c = 0; c < std::min(job.input().channels(), 4); ++c) {
    job.addOutput(Tamix_GRAY, job.input().size(), job.input().type());
  }
}

void planMerge(Job& job) { job.addOutput(job.outputFormat(Tamix_RGB), job.input().size()); }

// Rows and columns of the window that the record asks for.
Size windowSize(const TamixParams& params, int32_t otherwise) {
  if (params.kernel_height != -1 && params.kernel_width != -1) return {params.kernel_width, params.kernel_height};
  const int32_t size = params.kernel_size == -1 ? otherwise : params.kernel_size;
  return {size, size};
}

// The element is written into the first output. The record's input, which is not read, says that elements are bytes.
void prepareElement(Job& job) {
  job.params().kernel = job.outputs()[0].bytes().data();
  job.params().input[0] = job.outputs()[0].record();
}

// A structuring element of the asked shape, where one is asked for.
void planMorphology(Job& job) {
  planSame(job);
  if (job.params().morph_shape == -1) return;
  Request request = job.request();
  request.output_type.clear();
  Job element(request, {});
  const Size size = windowSize(job.params(), 3);
  element.addOutput(Tamix_GRAY, size);
  element.params().kernel_height = size.height;
  element.params().kernel_width = size.width;
  prepareElement(element);
  const int32_t status = element.run(TAMIX_OP_GET_STRUCTURING_ELEMENT);
  if (status != TAMIX_OK) throw std::runtime_error(std::string("the structuring element failed: ") + tamix_status_name(status));
  job.element = element.outputs()[0].bytes();
  job.params().kernel = job.element.data();
}

void planElement(Job& job) {
  const Size size = windowSize(job.params(), -1);
  if (size.empty()) throw std::runtime_error("give the size of the element with --kernel-size");
  job.addOutput(Tamix_GRAY, size);
  prepareElement(job);
}

std::string reportElement(Job& job) {
  std::string text;
  Picture& element = job.outputs()[0];
  for (size_t i = 0; i < element.bytes().size(); ++i) {
    text += element.bytes()[i] != 0 ? '1' : '0';
    if ((i + 1) % static_cast<size_t>(element.size().width) == 0) text += '\n';
    element.bytes()[i] = static_cast<uint8_t>(element.bytes()[i] * 255);  // visible in a picture
  }
  return text;
}

void planThreshold(Job& job) {
  planSame(job);
  job.threshold = job.request().threshold;
  job.params().thresh = &job.threshold;
}

std::string reportThreshold(Job& job) {
  std::ostringstream out;
  job.request().json ? out << "{\"threshold\": " << job.threshold << "}\n" : out << "threshold " << job.threshold << "\n";
  return out.str();
}

void planHistogram(Job& job) {
  TamixParams& params = job.params();
  if (params.hist_dims == 0) {
    params.hist_dims = 1;
    params.hist_size[0] = 256;
  }
  size_t bins = 1;
  for (int32_t i = 0; i < std::clamp(params.hist_dims, 0, 4); ++i) {
    if (params.hist_size[i] < 1 || params.hist_size[i] > 65536)
      throw std::runtime_error("--bins takes 1 to 65536 for each dimension");
    bins *= static_cast<size_t>(params.hist_size[i]);
    if (bins > (size_t{1} << 28)) throw std::runtime_error("the histogram has too many bins");
  }
  job.histogram.resize(bins);
  params.output[0].data[0] = job.histogram.data();  // counts, not a picture: the slot has no element type
}

std::string reportHistogram(Job& job) {
  std::string text = job.request().json ? "{\"histogram\": [" : "bin,count\n";
  for (size_t i = 0; i < job.histogram.size(); ++i) {
    const std::string count = std::to_string(job.histogram[i]);
    text += job.request().json ? (i == 0 ? "" : ", ") + count : std::to_string(i) + "," + count + "\n";
  }
  // Bars for the picture that may be asked for.
  constexpr int32_t kHeight = 128;
  const auto width = static_cast<int32_t>(std::min<size_t>(job.histogram.size(), 4096));
  const uint32_t most = std::max(1u, *std::ranges::max_element(job.histogram));
  Picture plot(Tamix_GRAY, Tamix_UINT8, {width, kHeight});
  std::ranges::fill(plot.bytes(), uint8_t{255});
  for (int32_t x = 0; x < width; ++x) {
    const auto bar = static_cast<int32_t>(uint64_t{job.histogram[static_cast<size_t>(x)]} * kHeight / most);
    for (int32_t y = kHeight - bar; y < kHeight; ++y) plot.bytes()[static_cast<size_t>(int64_t{y} * width + x)] = 40;
  }
  job.outputs().push_back(std::move(plot));
  return job.request().json ? text + "]}\n" : text;
}

void planStatistics(Job& job) {
  job.params().mean_out = job.means;
  job.params().std_out = job.stds;
}

std::string reportStatistics(Job& job) {
  const auto channels = static_cast<size_t>(job.input().channels());
  if (job.request().json) return "{" + json("mean", job.means, channels) + ", " + json("std", job.stds, channels) + "}\n";
  std::ostringstream out;
  out.precision(9);
  for (size_t c = 0; c < channels; ++c) out << "channel " << c << ": mean " << job.means[c] << ", std " << job.stds[c] << "\n";
  return out.str();
}

void planCount(Job& job) { job.params().nonzero_count = &job.count; }

std::string reportCount(Job& job) {
  return (job.request().json ? "{\"nonzero\": " + std::to_string(job.count) + "}" : std::to_string(job.count)) + "\n";
}

// One value for all channels, or one each.
void spread(const std::vector<double>& given, float otherwise, float& single, std::vector<float>& each, float*& pointer) {
  single = given.empty() ? otherwise : static_cast<float>(given[0]);
  if (given.size() < 2) return;
  for (const double value : given) each.push_back(static_cast<float>(value));
  each.resize(4, each.back());
  pointer = each.data();
}

void planNormalization(Job& job) {
  const Picture& src = job.input();
  job.addOutput(job.outputFormat(src.format()), src.size(), Tamix_FLOAT32);
  TamixParams& params = job.params();
  spread(job.request().mean, 0.0f, params.mean_value, job.channel_means, params.mean);
  spread(job.request().std, 1.0f, params.std_value, job.channel_stds, params.std);
}

void planFusion(Job& job) {
  const Size first = job.input(0).size();
  const Size second = job.input(1).size();
  const int32_t overlap = job.params().fuse_overlap;
  const bool beside = job.params().fuse_direction == 1;
  const Size joined = beside ? Size{first.width + second.width - overlap, first.height}
                             : Size{first.width, first.height + second.height - overlap};
  job.addOutput(job.input().format(), joined);
  job.weights = job.request().weights;
  if (job.weights.empty()) {
    for (int32_t i = 0; i < overlap; ++i) {
      job.weights.push_back((static_cast<float>(i) + 0.5f) / static_cast<float>(overlap));
    }
  }
  if (job.weights.size() < static_cast<size_t>(std::max(overlap, 0))) {
    throw std::runtime_error("--weights takes one number for each of the " + std::to_string(overlap) + " band positions");
  }
  job.weights.push_back(0.0f);  // never null
  job.params().fuse_weights = job.weights.data();
}

}  // namespace

const std::vector<OperatorEntry>& operators() {
  static const std::vector<OperatorEntry> all = {
      {"add", TAMIX_OP_ADD, 2, 2, "sum of two images", planSame, nullptr},
      {"bitwise-and", TAMIX_OP_BITWISE_AND, 2, 3, "bitwise and of two images, with an optional mask", planSame, nullptr},
      {"bitwise-not", TAMIX_OP_BITWISE_NOT, 1, 2, "bitwise complement, with an optional mask", planNegation, nullptr},
      {"bitwise-or", TAMIX_OP_BITWISE_OR, 2, 3, "bitwise or of two images, with an optional mask", planSame, nullptr},
      {"bitwise-xor", TAMIX_OP_BITWISE_XOR, 2, 3, "bitwise exclusive or of two images, with an optional mask", planSame,
       nullptr},
      {"calc-hist", TAMIX_OP_CALC_HIST, 1, 1, "histogram of one to four channels", planHistogram, reportHistogram},
      {"color-to-gray", TAMIX_OP_COLOR_TO_GRAY, 1, 1, "colour to gray", planToGray, nullptr},
      {"color-to-hsv", TAMIX_OP_COLOR_TO_HSV, 1, 1, "rgba or bgra to HSV, hue 0 to 179", planToColor, nullptr},
      {"color-to-lab", TAMIX_OP_COLOR_TO_LAB, 1, 1, "rgb to Lab", planToLab, nullptr},
      {"color-to-yuv", TAMIX_OP_COLOR_TO_YUV, 1, 1, "rgb or bgr to NV12 or NV21", planToYUV, nullptr},
      {"color3-to-color4", TAMIX_OP_COLOR3_TO_COLOR4, 1, 1, "three channels to four", planToFourChannels, nullptr},
      {"color4-to-color3", TAMIX_OP_COLOR4_TO_COLOR3, 1, 1, "four channels to three", planToColor, nullptr},
      {"concat", TAMIX_OP_CONCAT, 1, 4, "images side by side (--mode 0) or one below the other (--mode 1)", planConcatenation,
       nullptr},
      {"convert-scale-abs", TAMIX_OP_CONVERT_SCALE_ABS, 1, 1, "|value * --abs-scale + --offset|", planSame, nullptr},
      {"copy-make-border", TAMIX_OP_COPY_MAKE_BORDER, 1, 1, "a border around an image", planBorder, nullptr},
      {"count-non-zero", TAMIX_OP_COUNT_NON_ZERO, 1, 1, "number of non-zero pixels of a gray image", planCount, reportCount},
      {"data-type-convert", TAMIX_OP_DATA_TYPE_CONVERT, 1, 1, "bytes to floats or back", planTypeConversion, nullptr},
      {"dilate", TAMIX_OP_DILATE, 1, 1, "largest value of a window", planMorphology, nullptr},
      {"divide", TAMIX_OP_DIVIDE, 2, 2, "quotient of two images, in floats", planProduct, nullptr},
      {"erode", TAMIX_OP_ERODE, 1, 1, "smallest value of a window", planMorphology, nullptr},
      {"flip", TAMIX_OP_FLIP, 1, 1, "upside down (--mode 0), mirrored (1) or both (-1)", planSame, nullptr},
      {"gaussian-filter", TAMIX_OP_GAUSSIAN_FILTER, 1, 1, "3x3 Gaussian", planSame, nullptr},
      {"get-perspective-transform", TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, 0, 0, "matrix that maps four points onto four others",
       planPerspectiveSolve, reportMatrix},
      {"get-structuring-element", TAMIX_OP_GET_STRUCTURING_ELEMENT, 0, 0, "rectangle, cross or ellipse", planElement,
       reportElement},
      {"guided-filter", TAMIX_OP_GUIDED_FILTER, 2, 2, "edge-preserving smoothing: guide, then the image to smooth", planSame,
       nullptr},
      {"image-fuse-overlap", TAMIX_OP_IMAGE_FUSE_OVERLAP, 2, 2, "two images joined with a blended band", planFusion, nullptr},
      {"lab-to-color", TAMIX_OP_LAB_TO_COLOR, 1, 1, "Lab to rgb", planToColor, nullptr},
      {"laplacian-filter", TAMIX_OP_LAPLACIAN_FILTER, 1, 1, "second derivative", planSame, nullptr},
      {"mean-filter", TAMIX_OP_MEAN_FILTER, 1, 1, "3x3 or 5x5 mean of a float image", planSame, nullptr},
      {"mean-std", TAMIX_OP_MEAN_STD, 1, 1, "mean and standard deviation of each channel", planStatistics, reportStatistics},
      {"merge", TAMIX_OP_MERGE, 3, 4, "planes to an interleaved image", planMerge, nullptr},
      {"morphology-ex", TAMIX_OP_MORPHOLOGY_EX, 1, 1, "erosion, dilation, opening or closing", planSame, nullptr},
      {"multiple", TAMIX_OP_MULTIPLE, 2, 2, "product of two images, in floats", planProduct, nullptr},
      {"normalization", TAMIX_OP_NORMALIZATION, 1, 1, "(value - --mean) / --std, in floats", planNormalization, nullptr},
      {"rect-cut", TAMIX_OP_RECT_CUT, 1, 1, "a rectangle of an image", planCut, nullptr},
      {"remap", TAMIX_OP_REMAP, 3, 3, "pixels from where two float maps say: image, x map, y map", planRemap, nullptr},
      {"resize-area", TAMIX_OP_RESIZE_AREA, 1, 1, "shrinking by averages", planResize, nullptr},
      {"resize-bilinear", TAMIX_OP_RESIZE_BILINEAR, 1, 1, "bilinear scaling; NV21 and NV12 become colour on the way",
       planBilinearResize, nullptr},
      {"resize-nearest", TAMIX_OP_RESIZE_NEAREST, 1, 1, "scaling without blending", planResize, nullptr},
      {"rotate", TAMIX_OP_ROTATE, 1, 1, "quarter turn right (--mode 0), half turn (1), quarter turn left (2)", planRotation,
       nullptr},
      {"split", TAMIX_OP_SPLIT, 1, 1, "an image's channels as planes", planSplit, nullptr},
      {"subtract", TAMIX_OP_SUBTRACT, 2, 2, "difference of two images", planSame, nullptr},
      {"threshold", TAMIX_OP_THRESHOLD, 1, 1, "fixed, Otsu or triangle threshold", planThreshold, reportThreshold},
      {"transpose", TAMIX_OP_TRANSPOSE, 1, 1, "rows become columns", planTranspose, nullptr},
      {"warp-affine", TAMIX_OP_WARP_AFFINE, 1, 1, "rotation and scaling about the centre", planSame, nullptr},
      {"warp-perspective", TAMIX_OP_WARP_PERSPECTIVE, 1, 1, "perspective transform by --matrix or --points",
       planPerspectiveWarp, nullptr},
      {"yuv-to-color", TAMIX_OP_YUV_TO_COLOR, 1, 1, "NV12, NV21 or I420 to rgb or bgr", planToColor, nullptr},
  };
  return all;
}

const OperatorEntry& operatorNamed(std::string_view name) {
  const auto found = std::ranges::find(operators(), name, &OperatorEntry::name);
  if (found != operators().end()) return *found;
  std::string similar;
  for (const OperatorEntry& entry : operators()) {
    if (entry.name.find(name) != std::string_view::npos) similar += " " + std::string(entry.name);
  }
  throw std::runtime_error("unknown operator '" + std::string(name) + "'" +
                           (similar.empty() ? "; 'tamix list' names them all" : "; did you mean" + similar + "?"));
}

void runOperator(const OperatorEntry& entry, Job& job) {
  const size_t given = job.inputs().size();
  if (given < entry.fewest_inputs || given > entry.most_inputs) {
    throw std::runtime_error(std::string(entry.name) + " takes " + std::to_string(entry.fewest_inputs) +
                             (entry.most_inputs > entry.fewest_inputs ? " to " + std::to_string(entry.most_inputs) : "") +
                             " input files, not " + std::to_string(given));
  }
  entry.plan(job);
  if (entry.type == TAMIX_OP_GET_PERSPECTIVE_TRANSFORM) return;  // the plan has solved it already
  const int32_t status = job.run(entry.type);
  if (status != TAMIX_OK) throw std::runtime_error(std::string(entry.name) + " refused the call: " + tamix_status_name(status));
}

}  // namespace tamix::tool
