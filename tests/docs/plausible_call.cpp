#include "tests/docs/plausible_call.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/support/allocation.h"
#include "tests/support/color_channels.h"
#include "tests/support/image.h"
#include "tests/support/operator_run.h"

namespace tamix::docs {
namespace {

constexpr int32_t kU8 = Tamix_UINT8;
constexpr int32_t kF32 = Tamix_FLOAT32;
constexpr uint8_t kBefore = 0xA5;

constexpr Field kKernelSize = &TamixParams::kernel_size;
constexpr Field kMode = &TamixParams::op_mode;
constexpr Field kInterpolation = &TamixParams::interpolation;

std::vector<std::pair<int32_t, const char*>> borderNames() {
  return {{-1, "default"}, {0, "CONSTANT"}, {1, "REPLICATE"}, {2, "REFLECT"}, {3, "WRAP"}, {4, "REFLECT_101"}};
}
Sweep filterBorders() { return {"border_type", &TamixParams::border_type, borderNames()}; }
Sweep geometryBorders() { return {"geom_border_type", &TamixParams::geom_border_type, borderNames()}; }
Sweep windows() {
  return {"kernel_size",
          kKernelSize,
          {{-1, "default"}, {1, "1"}, {2, "2"}, {3, "3"}, {4, "4"}, {5, "5"}, {7, "7"}, {9, "9"}, {15, "15"}, {31, "31"}}};
}
Sweep modes(std::vector<std::pair<int32_t, const char*>> values) { return {"op_mode", kMode, std::move(values)}; }
Sweep interpolations() {
  return {"interpolation",
          kInterpolation,
          {{-1, "default"}, {0, "NEAREST"}, {1, "BILINEAR"}, {2, "BICUBIC"}, {17, "BILINEAR + INVERSE_MAP"}}};
}
Sweep morphTypes() {
  return {"morph_type", &TamixParams::morph_type, {{-1, "default"}, {0, "ERODE"}, {1, "DILATE"}, {2, "OPEN"}, {3, "CLOSE"}}};
}
Sweep morphShapes() {
  return {"morph_shape", &TamixParams::morph_shape, {{-1, "default"}, {0, "RECT"}, {1, "CROSS"}, {2, "ELLIPSE"}}};
}
Sweep thresholdTypes() {
  return {"thresh_type",
          &TamixParams::thresh_type,
          {{-1, "default"},
           {0, "BINARY"},
           {1, "BINARY_INV"},
           {2, "TRUNC"},
           {3, "TOZERO"},
           {4, "TOZERO_INV"},
           {8, "OTSU"},
           {16, "TRIANGLE"}}};
}

}  // namespace

const std::vector<Case>& cases() {
  static const std::vector<Case> all = {
      Case{TAMIX_OP_ADD, "add"},
      Case{TAMIX_OP_BITWISE_AND, "bitwise-and"},
      Case{TAMIX_OP_BITWISE_NOT, "bitwise-not"},
      Case{TAMIX_OP_BITWISE_OR, "bitwise-or"},
      Case{TAMIX_OP_BITWISE_XOR, "bitwise-xor"},
      Case{TAMIX_OP_CALC_HIST, "calc-hist"}.layouts(kRgb, kGray),
      Case{TAMIX_OP_COLOR_TO_GRAY, "color-to-gray"}.layouts(kRgb, kGray),
      Case{TAMIX_OP_COLOR_TO_HSV, "color-to-hsv"}.layouts(kRgba, kRgb),
      Case{TAMIX_OP_COLOR_TO_LAB, "color-to-lab"}.layouts(kRgb, kLab),
      Case{TAMIX_OP_COLOR_TO_YUV, "color-to-yuv"}.layouts(kRgb, kNv21),
      Case{TAMIX_OP_COLOR3_TO_COLOR4, "color3-to-color4"}.layouts(kRgb, kRgba),
      Case{TAMIX_OP_COLOR4_TO_COLOR3, "color4-to-color3"}.layouts(kRgba, kRgb),
      Case{TAMIX_OP_CONCAT, "concat", "side by side"}.with(kMode, 0).over(
          {modes({{-1, "default"}, {0, "0"}, {1, "1"}, {2, "2"}})}),
      Case{TAMIX_OP_CONCAT, "concat", "one below the other"}.with(kMode, 1),
      Case{TAMIX_OP_CONVERT_SCALE_ABS, "convert-scale-abs"},
      Case{TAMIX_OP_COPY_MAKE_BORDER, "copy-make-border"}.over({geometryBorders()}),
      Case{TAMIX_OP_COUNT_NON_ZERO, "count-non-zero"}.layouts(kGray, kGray),
      Case{TAMIX_OP_DATA_TYPE_CONVERT, "data-type-convert"}.types(kU8, kF32),
      Case{TAMIX_OP_DILATE, "dilate"}.over({windows(), filterBorders()}),
      Case{TAMIX_OP_DIVIDE, "divide"}.types(kU8, kF32),
      Case{TAMIX_OP_ERODE, "erode"}.over({windows(), filterBorders()}),
      Case{TAMIX_OP_FLIP, "flip"}.with(kMode, 1).over({modes({{-2, "-2"}, {-1, "-1"}, {0, "0"}, {1, "1"}, {2, "2"}})}),
      Case{TAMIX_OP_GAUSSIAN_FILTER, "gaussian-filter"}.with(kKernelSize, 3).over({windows(), filterBorders()}),
      Case{TAMIX_OP_GET_PERSPECTIVE_TRANSFORM, "get-perspective-transform"}.layouts(kGray, kGray).types(kF32, kF32),
      Case{TAMIX_OP_GET_STRUCTURING_ELEMENT, "get-structuring-element"}
          .layouts(kGray, kGray)
          .with(&TamixParams::morph_shape, 0)
          .with(kKernelSize, 3)
          .over({morphShapes(), windows()}),
      Case{TAMIX_OP_GUIDED_FILTER, "guided-filter"}.over({windows()}),
      Case{TAMIX_OP_IMAGE_FUSE_OVERLAP, "image-fuse-overlap", "side by side"}.with(&TamixParams::fuse_direction, 1),
      Case{TAMIX_OP_IMAGE_FUSE_OVERLAP, "image-fuse-overlap", "one below the other"},
      Case{TAMIX_OP_LAB_TO_COLOR, "lab-to-color"}.layouts(kLab, kRgb),
      Case{TAMIX_OP_LAPLACIAN_FILTER, "laplacian-filter"}.over({windows(), filterBorders()}),
      Case{TAMIX_OP_MEAN_FILTER, "mean-filter", "3x3"}
          .layouts(kGray, kGray)
          .with(kKernelSize, 3)
          .types(kF32, kF32)
          .over({windows()}),
      Case{TAMIX_OP_MEAN_FILTER, "mean-filter", "5x5"}.layouts(kGray, kGray).with(kKernelSize, 5).types(kF32, kF32),
      Case{TAMIX_OP_MEAN_STD, "mean-std", "three channels"},
      Case{TAMIX_OP_MEAN_STD, "mean-std", "one or four"}.layouts(kGray, kGray),
      Case{TAMIX_OP_MERGE, "merge"}.layouts(kGray, kRgb),
      Case{TAMIX_OP_MORPHOLOGY_EX, "morphology-ex", "erosion, dilation"}
          .with(&TamixParams::morph_type, 0)
          .over({morphTypes(), morphShapes(), windows(), filterBorders()}),
      Case{TAMIX_OP_MORPHOLOGY_EX, "morphology-ex", "opening, closing"}.with(&TamixParams::morph_type, 2),
      Case{TAMIX_OP_MULTIPLE, "multiple"}.types(kU8, kF32),
      Case{TAMIX_OP_NORMALIZATION, "normalization", "interleaved"}.types(kU8, kF32),
      Case{TAMIX_OP_NORMALIZATION, "normalization", "planar"}.with(&TamixParams::reorder, 1).types(kU8, kF32),
      Case{TAMIX_OP_RECT_CUT, "rect-cut"},
      Case{TAMIX_OP_REMAP, "remap", "nearest"}
          .with(kInterpolation, 0)
          .with(&TamixParams::geom_border_type, 1)
          .over({interpolations(), geometryBorders()}),
      Case{TAMIX_OP_REMAP, "remap", "bilinear"}
          .with(kInterpolation, 1)
          .with(&TamixParams::geom_border_type, 1)
          .over({geometryBorders()}),
      Case{TAMIX_OP_RESIZE_AREA, "resize-area"},
      Case{TAMIX_OP_RESIZE_BILINEAR, "resize-bilinear", "same format"},
      Case{TAMIX_OP_RESIZE_BILINEAR, "resize-bilinear", "frame to colour"}.layouts(kNv21, kRgb),
      Case{TAMIX_OP_RESIZE_NEAREST, "resize-nearest"},
      Case{TAMIX_OP_ROTATE, "rotate", "quarter turn"}.with(kMode, 0).over(
          {modes({{-1, "default"}, {0, "0"}, {1, "1"}, {2, "2"}, {3, "3"}})}),
      Case{TAMIX_OP_ROTATE, "rotate", "half turn"}.with(kMode, 1),
      Case{TAMIX_OP_SPLIT, "split"}.layouts(kRgb, kGray),
      Case{TAMIX_OP_SUBTRACT, "subtract"},
      Case{TAMIX_OP_THRESHOLD, "threshold"}.layouts(kGray, kGray).with(&TamixParams::thresh_type, 0).over({thresholdTypes()}),
      Case{TAMIX_OP_TRANSPOSE, "transpose"},
      Case{TAMIX_OP_WARP_AFFINE, "warp-affine"},
      Case{TAMIX_OP_WARP_PERSPECTIVE, "warp-perspective", "nearest"}
          .with(kInterpolation, 0)
          .over({interpolations(), geometryBorders()}),
      Case{TAMIX_OP_WARP_PERSPECTIVE, "warp-perspective", "bilinear"}.with(kInterpolation, 1).over({geometryBorders()}),
      Case{TAMIX_OP_WARP_PERSPECTIVE, "warp-perspective", "bicubic"}.with(kInterpolation, 2).over({geometryBorders()}),
      Case{TAMIX_OP_YUV_TO_COLOR, "yuv-to-color"}.layouts(kNv21, kRgb),
  };
  return all;
}

namespace {

bool isMorphology(int32_t type) { return type == TAMIX_OP_ERODE || type == TAMIX_OP_DILATE || type == TAMIX_OP_MORPHOLOGY_EX; }
bool isArithmetic(int32_t type) { return type >= TAMIX_OP_MULTIPLE && type <= TAMIX_OP_ADD; }

// Bytes or floats of a pixel in data[0]; conversions of colours go by their formats.
int32_t pixelElements(int32_t operator_type, bool is_input, const Layout& layout) {
  if (const int32_t n = test::colorChannels(operator_type, is_input, layout.format); n != 0) return n;
  if (layout.isFrame()) return 1;
  if (layout.channel != 0) return layout.channel;
  if (layout.format == Tamix_GRAY) return 1;
  return layout.format == Tamix_RGB || layout.format == Tamix_BGR ? 3 : 4;
}

// A plane of an image, and what its pixels are.
struct PlaneOf {
  uint8_t* data;
  int64_t rows;
  int64_t row_bytes;
  int64_t pitch_bytes;

  int64_t bytes() const { return rows < 1 ? 0 : (rows - 1) * pitch_bytes + row_bytes; }
};

class Call {
 public:
  Call(const Case& probed, const Variation& variation);
  Result run();
  bool mayShare() const;

 private:
  TamixImage& addImage(TamixImage& image, const Layout& layout, int32_t type, Size size, bool is_input);
  void addInput(size_t slot, const Layout& layout, int32_t type, Size size) {
    addImage(params_.input[slot], layout, type, size, true);
  }
  void addOutput(size_t slot, const Layout& layout, int32_t type, Size size) {
    addImage(params_.output[slot], layout, type, {size.width + v_.growth.width, size.height + v_.growth.height}, false);
  }
  uint8_t* take(size_t bytes, uint8_t value) { return memory_.emplace_back(bytes, value).data(); }
  template <class T>
  T* result(size_t count) {
    uint8_t* const bytes = take(count * sizeof(T), kBefore);
    results_.push_back({bytes, 1, static_cast<int64_t>(count * sizeof(T)), 0});
    return reinterpret_cast<T*>(bytes);
  }
  template <class T>
  T* given(std::vector<T> values) {
    uint8_t* const bytes = take(values.size() * sizeof(T), 0);
    std::memcpy(bytes, values.data(), values.size() * sizeof(T));
    return reinterpret_cast<T*>(bytes);
  }
  int32_t type(size_t i, int32_t otherwise) const { return i < v_.types.size() ? v_.types[i] : otherwise; }
  // Of the memory that begins there.
  size_t bytesAt(const void* data) const {
    for (const auto& block : memory_) {
      if (block.data() == data) return block.size();
    }
    return 0;
  }
  void imagine();
  void sharePlanes();

  const Case& c_;
  const Variation& v_;
  TamixParams params_;
  std::deque<std::vector<uint8_t>> memory_;
  std::vector<PlaneOf> results_;
};

// Pixels that do not depend on the layout of their rows. Floats are fractions of bytes.
void paint(const PlaneOf& plane, bool floats, uint32_t seed) {
  for (int64_t y = 0; y < plane.rows; ++y) {
    uint32_t noise = seed * 7919u + static_cast<uint32_t>(y) * 104729u + 1;
    const auto next = [&] { return static_cast<uint8_t>((noise = noise * 1664525u + 1013904223u) >> 24); };
    uint8_t* const row = plane.data + y * plane.pitch_bytes;
    for (int64_t i = 0; i < plane.row_bytes; i += floats ? 4 : 1) {
      const uint8_t value = next();
      const float as_float = static_cast<float>(value) + 0.25f;
      if (floats) {
        std::memcpy(row + i, &as_float, sizeof(as_float));
      } else {
        row[i] = value;
      }
    }
  }
}

TamixImage& Call::addImage(TamixImage& image, const Layout& layout, int32_t type, Size size, bool is_input) {
  image = test::imageRecord(layout.format, type, size.width, size.height, layout.channel);
  const int32_t padding = is_input ? v_.in_padding : v_.out_padding;
  image.width_stride = size.width + padding;
  const int64_t element = type == kF32 ? 4 : 1;
  const int64_t width = std::max(size.width, 0);
  const auto addPlane = [&](size_t k, int64_t rows, int64_t row_elements, int64_t pitch) {
    PlaneOf plane{nullptr, rows, row_elements * element, pitch * element};
    plane.data = take(static_cast<size_t>(std::max<int64_t>(plane.bytes(), 1)), kBefore);
    image.data[k] = plane.data;
    is_input ? paint(plane, type == kF32,
                     static_cast<uint32_t>(results_.size() + k + 10 * static_cast<size_t>(&image - params_.input)))
             : results_.push_back(plane);
  };
  const int64_t elements = pixelElements(c_.type, is_input, layout);
  addPlane(0, size.height, width * elements, image.width_stride * elements);
  if (!layout.isFrame()) return image;
  if (layout.third_plane) {
    for (const size_t k : {1u, 2u}) addPlane(k, (size.height + 1) / 2, (width + 1) / 2, image.width_stride / 2);
  } else {
    addPlane(1, size.height / 2, width / 2 * 2, image.width_stride);
  }
  return image;
}

// Input 0 and output 0 of one size, unless the operator has other ideas.
void Call::imagine() {
  TamixParams& p = params_;
  const Layout in = v_.in.value_or(c_.in);
  const Layout out = v_.out.value_or(c_.out);
  const int32_t in_type = type(0, c_.in_type);
  const int32_t out_type = type(typedInputs(c_.type), c_.out_type);
  const Size size = v_.size;
  const Size turned{size.height, size.width};
  addInput(0, in, in_type, size);
  switch (c_.type) {
    case TAMIX_OP_MULTIPLE:
    case TAMIX_OP_DIVIDE:
    case TAMIX_OP_SUBTRACT:
    case TAMIX_OP_ADD:
      addInput(1, in, type(1, c_.in_type), size);
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_BITWISE_AND:
    case TAMIX_OP_BITWISE_OR:
    case TAMIX_OP_BITWISE_XOR:
      addInput(1, in, in_type, size);
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_BITWISE_NOT:
      p.input[1] = p.input[0];  // names the size of a mask that is not there
      p.input[1].type = 0;
      p.input[1].channel =
          pixelElements(c_.type, true, in) == 1 && in.isFrame() && in.channel == 0 ? 2 : pixelElements(c_.type, true, in);
      p.input[1].data[0] = p.input[1].data[1] = p.input[1].data[2] = nullptr;
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_CALC_HIST:
      p.hist_dims = 1;
      p.hist_size[0] = 256;
      p.output[0].data[0] = result<uint32_t>(256);
      return;
    case TAMIX_OP_COUNT_NON_ZERO:
      p.nonzero_count = result<uint32_t>(1);
      return;
    case TAMIX_OP_MEAN_STD:
      p.mean_out = result<float>(4);
      p.std_out = result<float>(4);
      return;
    case TAMIX_OP_GAUSSIAN_FILTER:
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_NORMALIZATION:
      p.mean_value = 100.0f;
      p.std_value = 50.0f;
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_CONVERT_SCALE_ABS:
      p.abs_scale = 0.75;
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_COPY_MAKE_BORDER:
      for (int32_t& border : p.border_params) border = 4;
      return addOutput(0, out, out_type, {size.width + 8, size.height + 8});
    case TAMIX_OP_RECT_CUT:
      p.border_params[1] = size.height - size.height / 4;
      p.border_params[3] = size.width - size.width / 4;
      return addOutput(0, out, out_type, {p.border_params[3], p.border_params[1]});
    case TAMIX_OP_RESIZE_AREA:
    case TAMIX_OP_RESIZE_BILINEAR:
    case TAMIX_OP_RESIZE_NEAREST:
      return addOutput(0, out, out_type, {std::max(size.width * 5 / 8 / 2 * 2, 2), std::max(size.height * 3 / 5 / 2 * 2, 2)});
    case TAMIX_OP_GET_STRUCTURING_ELEMENT:
      p.input[0] = {};
      p.input[0].type = in_type;
      p.input[0].width = p.input[0].height = 1;
      p.input[0].data[0] = take(4, 0);
      p.kernel = result<uint8_t>(31 * 31);
      return;
    case TAMIX_OP_GET_PERSPECTIVE_TRANSFORM:
      for (TamixImage* const points : {&p.input[0], &p.input[1]}) {
        *points = test::imageRecord(in.format, in_type, 4, 1, 2);
        const float shift = points == &p.input[0] ? 0.0f : 0.25f;
        points->data[0] = given<float>({0, 9, 9 + shift, 0});
        points->data[1] = given<float>({0, shift, 7, 7});
      }
      return addOutput(0, out, out_type, {3, 3});
    case TAMIX_OP_TRANSPOSE:
      return addOutput(0, out, out_type, turned);
    case TAMIX_OP_ROTATE:
      return addOutput(0, out, out_type, p.op_mode == 1 ? size : turned);
    case TAMIX_OP_SPLIT:
      for (size_t k = 0; k < 3; ++k) addOutput(k, out, out_type, size);
      if (in == kRgba || in == kBgra) addOutput(3, out, out_type, size);
      return;
    case TAMIX_OP_MERGE:
      for (size_t k = 1; k < 4; ++k) addInput(k, in, in_type, size);
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_THRESHOLD:
      p.thresh = given<double>({100.0});
      p.maxval = 255.0;
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_CONCAT:
      addInput(1, in, in_type, size);
      return addOutput(0, out, out_type,
                       p.op_mode == 1 ? Size{size.width, 2 * size.height} : Size{2 * size.width, size.height});
    case TAMIX_OP_IMAGE_FUSE_OVERLAP:
      addInput(1, in, in_type, size);
      p.fuse_overlap = 2;
      p.fuse_weights = given<float>({0.25f, 0.75f});
      return addOutput(0, out, out_type,
                       p.fuse_direction == 1 ? Size{2 * size.width - 2, size.height} : Size{size.width, 2 * size.height - 2});
    case TAMIX_OP_WARP_AFFINE:
      p.affine_angle = 30.0;
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_WARP_PERSPECTIVE:
      p.input[1] = test::imageRecord(0, kF32, 3, 3, 1);
      p.input[1].data[0] = given<float>({0.9f, 0.1f, 4, -0.1f, 1.1f, 3, 0.001f, 0.002f, 1});
      p.geom_border_value_ptr = given<uint8_t>({10, 20, 30, 40});
      return addOutput(0, out, out_type, size);
    case TAMIX_OP_REMAP: {
      std::vector<float> xs, ys;
      const Size mapped{size.width + v_.growth.width, size.height + v_.growth.height};
      for (int32_t y = 0; y < mapped.height; ++y) {
        for (int32_t x = 0; x < mapped.width; ++x) {
          xs.push_back(static_cast<float>(x) * 1.1f - 2.0f);
          ys.push_back(static_cast<float>(y) * 0.9f + 0.3f);
        }
      }
      for (const size_t slot : {1u, 2u}) {
        p.input[slot] = test::imageRecord(Tamix_GRAY, kF32, mapped.width, mapped.height, 1);
        p.input[slot].data[0] = given(slot == 1 ? xs : ys);
      }
      p.geom_border_value_ptr = given<uint8_t>({10, 20, 30, 40});
      return addOutput(0, out, out_type, size);
    }
    case TAMIX_OP_GUIDED_FILTER:
      addInput(1, in, in_type, size);
      return addOutput(0, out, out_type, size);
    default:
      if (v_.corner_element && isMorphology(c_.type)) {
        std::vector<uint8_t> members(25, 0);
        members[0] = 1;
        p.kernel = given(members);
        p.kernel_size = 5;
      }
      return addOutput(0, out, out_type, size);
  }
}

bool Call::mayShare() const {
  const TamixImage& in = params_.input[v_.in_place];
  const TamixImage& out = params_.output[0];
  for (size_t k = 0; k < 3; ++k) {
    if (out.data[k] != nullptr && (in.data[k] == nullptr || bytesAt(in.data[k]) < bytesAt(out.data[k]))) return false;
  }
  return in.width == out.width && in.height == out.height;
}

void Call::sharePlanes() {
  const TamixImage& in = params_.input[v_.in_place];
  for (size_t k = 0; k < 3; ++k) {
    if (params_.output[0].data[k] == nullptr || in.data[k] == nullptr) continue;
    params_.output[0].data[k] = results_[k].data = static_cast<uint8_t*>(in.data[k]);
  }
}

Call::Call(const Case& probed, const Variation& variation) : c_(probed), v_(variation) {
  initTamixParams(&params_);
  const auto set = [&](const std::vector<Setting>& settings) {
    for (const Setting& setting : settings) params_.*setting.field = setting.value;
  };
  set(c_.settings);
  set(v_.settings);
  imagine();
}

Result Call::run() {
  if (v_.in_place >= 0) sharePlanes();
  const test::RunningOperator running(c_.type);
  const int64_t before = test::memalignedBytes();
  Result result{running.run(params_), false, true, {}, 0};
  result.scratch = test::memalignedBytes() - before;
  for (const PlaneOf& plane : results_) {
    for (int64_t y = 0; y < plane.rows; ++y) {
      const uint8_t* const row = plane.data + y * plane.pitch_bytes;
      result.bytes.insert(result.bytes.end(), row, row + plane.row_bytes);
      if (y + 1 == plane.rows) break;
      result.kept_padding &=
          std::all_of(row + plane.row_bytes, row + plane.pitch_bytes, [](uint8_t b) { return b == kBefore; });
    }
  }
  result.wrote = std::any_of(result.bytes.begin(), result.bytes.end(), [](uint8_t byte) { return byte != kBefore; });
  return result;
}

}  // namespace

bool Layout::isFrame() const { return format == Tamix_NV12 || format == Tamix_NV21 || format == Tamix_I420; }

size_t typedInputs(int32_t operator_type) { return isArithmetic(operator_type) ? 2 : 1; }

bool hasOutputImage(int32_t operator_type) {
  return operator_type != TAMIX_OP_CALC_HIST && operator_type != TAMIX_OP_COUNT_NON_ZERO &&
         operator_type != TAMIX_OP_MEAN_STD && operator_type != TAMIX_OP_GET_STRUCTURING_ELEMENT;
}

bool mayShare(const Case& probed, const Variation& variation) { return Call(probed, variation).mayShare(); }

Result call(const Case& probed, const Variation& variation) { return Call(probed, variation).run(); }

}  // namespace tamix::docs
