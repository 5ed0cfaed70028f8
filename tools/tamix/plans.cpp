#include "tools/tamix/plans.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tools/tamix/text.h"

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

std::string listed(const float* values, size_t count, std::string_view separator) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += (i == 0 ? "" : std::string(separator)) + numberText(values[i]);
  return text;
}

std::string json(std::string_view name, const float* values, size_t count) {
  return jsonText(name) + ": [" + listed(values, count, ", ") + "]";
}

// A coordinate of an image; -1 for all below zero.
int32_t coordinate(float value) { return static_cast<int32_t>(std::clamp(value, -1.0f, 1e9f)); }

Size neededSize(const Job& job) {
  const Size size = job.outputSize({});
  if (size.empty()) throw std::runtime_error("give the size of the output with --output-size WIDTHxHEIGHT");
  return size;
}

// Four points as the perspective solve takes them: x coordinates in plane 0, y coordinates in plane 1.
TamixImage pointImage(float* coordinates) {
  TamixImage image{};
  image.format = Tamix_GRAY;
  image.type = Tamix_FLOAT32;
  image.width = 4;
  image.height = 1;
  image.channel = 2;
  image.data[0] = coordinates;
  image.data[1] = coordinates + 4;
  return image;
}

// The picture that another operator makes of this job's settings.
Picture resultOf(const Request& request, int32_t operator_type, void (*plan)(Job& job)) {
  Job job(request, {});
  plan(job);
  requireSuccess(Runner(operator_type).run(job.completedParams()), "an operator of the set-up");
  return job.outputs()[0];
}

void completeSampling(Job& job, int32_t interpolation, int32_t border) {
  TamixParams& params = job.params();
  if (params.interpolation == -1) params.interpolation = interpolation;
  if (params.geom_border_type == -1) params.geom_border_type = border;
  if (job.request().inverse_map) params.interpolation |= TAMIX_INTERPOLATION_INVERSE_MAP;
  for (const float value : job.request().border_values) {
    job.border_bytes.push_back(static_cast<uint8_t>(std::clamp(value, 0.0f, 255.0f)));
  }
  job.border_bytes.resize(4, 0);
  params.geom_border_value_ptr = job.border_bytes.data();
}

// Rows and columns of the window that the record asks for.
Size windowSize(const TamixParams& params, int32_t otherwise) {
  if (params.kernel_height != -1 && params.kernel_width != -1) return {params.kernel_width, params.kernel_height};
  const int32_t size = params.kernel_size == -1 ? otherwise : params.kernel_size;
  return {size, size};
}

// One value for all channels, or one each.
void spread(const std::vector<float>& given, float otherwise, float& single, std::vector<float>& each, float*& pointer) {
  single = given.empty() ? otherwise : given[0];
  if (given.size() < 2) return;
  each = given;
  each.resize(4, each.back());
  pointer = each.data();
}

}  // namespace

// Pictures of the input's format, size and type.
void planSame(Job& job) {
  const Picture& src = job.input();
  job.addOutput(src.format(), src.size(), src.type());
}

// Products and quotients of bytes are floats; those of floats may be bytes.
void planProduct(Job& job) {
  if (job.request().output_type == "uint8") {
    for (Picture& picture : job.inputs()) picture.convertToFloats();
  }
  job.addOutput(job.input().format(), job.input().size(), Tamix_FLOAT32);
}

void planTypeConversion(Job& job) {
  const Picture& src = job.input();
  if (job.request().output_type == src.elementName())
    throw std::runtime_error("the input's elements are " + job.request().output_type + " already");
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

void planResize(Job& job) { job.addOutput(job.input().format(), neededSize(job), job.input().type()); }

// An NV21 or NV12 frame becomes colour on the way unless its own format is asked for.
void planBilinearResize(Job& job) {
  const Picture& src = job.input();
  job.addOutput(job.outputFormat(isNV(src.format()) ? int32_t{Tamix_RGB} : src.format()), neededSize(job), src.type());
}

void planPerspectiveSolve(Job& job) {
  const std::vector<float>& points = job.request().points;
  if (points.empty()) throw std::runtime_error("give four point pairs with --points x,y,u,v,...: (x, y) goes to (u, v)");
  job.coordinates.resize(16);
  for (size_t i = 0; i < points.size(); ++i) job.coordinates[i % 4 * 4 + i / 4] = points[i];
  job.params().input[0] = pointImage(job.coordinates.data());
  job.params().input[1] = pointImage(job.coordinates.data() + 8);
  job.addOutput(Tamix_GRAY, {3, 3}, Tamix_FLOAT32);
}

std::string reportMatrix(Job& job) {
  const float* const matrix = job.outputs()[0].floats();
  if (job.request().json) return "{" + json("matrix", matrix, 9) + "}\n";
  std::string text;
  for (size_t row = 0; row < 3; ++row) text += listed(matrix + 3 * row, 3, " ") + "\n";
  return text;
}

void planPerspectiveWarp(Job& job) {
  const Request& request = job.request();
  if (request.matrix.empty() && request.points.empty()) {
    throw std::runtime_error("give the transform with --matrix (nine numbers, row by row) or --points x,y,u,v,...");
  }
  Request to_matrix = request;
  to_matrix.output_type.clear();
  Picture matrix(Tamix_GRAY, Tamix_FLOAT32, {3, 3});
  std::ranges::copy(request.matrix, matrix.floats());
  if (request.matrix.empty()) matrix = resultOf(to_matrix, TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, planPerspectiveSolve);
  job.addOutput(job.input().format(), job.outputSize(job.input().size()));
  job.inputs().push_back(std::move(matrix));
  // Four channels are served by one way of sampling only.
  const bool four = job.input().channels() == 4;
  const bool asks_otherwise = job.params().interpolation > TAMIX_INTERPOLATION_NEAREST || job.params().geom_border_type > 0;
  if (four && asks_otherwise) {
    throw std::runtime_error("warp-perspective samples four channels as --interpolation nearest --border-type constant only");
  }
  completeSampling(job, four ? TAMIX_INTERPOLATION_NEAREST : TAMIX_INTERPOLATION_BILINEAR, TAMIX_BORDER_CONSTANT);
}

void planRemap(Job& job) {
  if (job.input(1).type() != Tamix_FLOAT32 || job.input(2).type() != Tamix_FLOAT32) {
    throw std::runtime_error("the maps of remap are files of floats (.f32)");
  }
  job.addOutput(job.input().format(), job.input(1).size());
  completeSampling(job, TAMIX_INTERPOLATION_BILINEAR, TAMIX_BORDER_CONSTANT);
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
  const std::vector<float>& rectangle = job.request().rectangle;
  if (rectangle.empty()) throw std::runtime_error("give the rectangle with --rectangle X,Y,WIDTH,HEIGHT");
  const Size size = job.input().size();
  const int32_t x = coordinate(rectangle[0]);
  const int32_t y = coordinate(rectangle[1]);
  const Size cut{coordinate(rectangle[2]), coordinate(rectangle[3])};
  if (x < 0 || y < 0 || cut.empty() || cut.width > size.width - x || cut.height > size.height - y) {
    throw std::runtime_error("the rectangle lies outside the image of " + job.input().describe());
  }
  int32_t(&edges)[4] = job.params().border_params;
  edges[0] = y;
  edges[1] = y + cut.height;
  edges[2] = x;
  edges[3] = x + cut.width;
  job.addOutput(job.input().format(), cut, job.input().type());
}

void planConcatenation(Job& job) {
  if (job.params().op_mode == -1) job.params().op_mode = 0;
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

// Four planes make four channels.
void planMerge(Job& job) {
  job.addOutput(job.outputFormat(job.inputs().size() == 4 ? Tamix_RGBA : Tamix_RGB), job.input().size());
}

// The element is written into the first output. The record's input, which is not read, says that elements are bytes.
void planElement(Job& job) {
  const Size size = windowSize(job.params(), 3);
  job.params().kernel_height = size.height;
  job.params().kernel_width = size.width;
  if (job.params().morph_shape == -1) job.params().morph_shape = TAMIX_MORPH_RECT;
  job.addOutput(Tamix_GRAY, size);
  job.params().kernel = job.outputs()[0].bytes().data();
  job.params().input[0] = job.outputs()[0].record();
}

// A structuring element of the asked shape, where one is asked for.
void planMorphology(Job& job) {
  planSame(job);
  if (job.params().morph_shape == -1) return;
  Request request = job.request();
  request.output_type.clear();
  job.element = resultOf(request, TAMIX_OP_GET_STRUCTURING_ELEMENT, planElement).bytes();
  job.params().kernel = job.element.data();
}

void planCompositeMorphology(Job& job) {
  if (job.params().morph_type == -1) job.params().morph_type = TAMIX_MORPH_OPEN;
  planSame(job);
}

// The one window that smooths.
void planGaussian(Job& job) {
  job.params().kernel_size = 3;
  planSame(job);
}

void planMean(Job& job) {
  if (job.params().kernel_size == -1) job.params().kernel_size = 3;
  planSame(job);
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
  TamixParams& params = job.params();
  if (params.thresh_type == -1) params.thresh_type = TAMIX_THRESH_BINARY;
  if (params.maxval < 0) params.maxval = 255;
  if (job.request().method == "otsu") params.thresh_type |= TAMIX_THRESH_OTSU;
  if (job.request().method == "triangle") params.thresh_type |= TAMIX_THRESH_TRIANGLE;
  job.threshold = job.request().threshold;
  params.thresh = &job.threshold;
}

std::string reportThreshold(Job& job) {
  const std::string value = numberText(job.threshold);
  return job.request().json ? "{\"threshold\": " + value + "}\n" : "threshold " + value + "\n";
}

void planHistogram(Job& job) {
  constexpr size_t kMostBins = size_t{1} << 28;
  TamixParams& params = job.params();
  if (params.hist_size[0] == 0) params.hist_size[0] = 256;
  size_t bins = 1;
  for (params.hist_dims = 0; params.hist_dims < 4 && params.hist_size[params.hist_dims] != 0; ++params.hist_dims) {
    bins *= static_cast<size_t>(params.hist_size[params.hist_dims]);
    if (bins > kMostBins) throw std::runtime_error("the histogram has too many bins");
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
  std::string text;
  for (size_t c = 0; c < channels; ++c) {
    text += "channel " + std::to_string(c) + ": mean " + numberText(job.means[c]) + ", std " + numberText(job.stds[c]) + "\n";
  }
  return text;
}

void planCount(Job& job) { job.params().nonzero_count = &job.count; }

std::string reportCount(Job& job) {
  return (job.request().json ? "{\"nonzero\": " + std::to_string(job.count) + "}" : std::to_string(job.count)) + "\n";
}

void planNormalization(Job& job) {
  const Picture& src = job.input();
  job.addOutput(src.format(), src.size(), Tamix_FLOAT32);
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

}  // namespace tamix::tool
