#include "tests/hostile/hostile_record.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>

#include "tests/support/color_channels.h"
#include "tests/support/image.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

constexpr int32_t kU8 = Tamix_UINT8;
constexpr int32_t kF32 = Tamix_FLOAT32;
constexpr size_t kLargestPlane = size_t{1} << 20;
// A plane that allocate() is to provide.
void* const kWanted = reinterpret_cast<void*>(1);

bool isPaired(int32_t format) { return format == Tamix_NV12 || format == Tamix_NV21; }

int32_t channelsOf(int32_t format) {
  switch (format) {
    case Tamix_BGR:
    case Tamix_RGB:
      return 3;
    case Tamix_BGRA:
    case Tamix_RGBA:
    case 6:
      return 4;
    case Tamix_I420:
    case Tamix_NV12:
    case Tamix_NV21:
    case 19:
    case 20:
      return 2;
    default:
      if (format >= 4096 && format <= 4351) return 3;
      return format >= 4352 && format <= 8192 ? 2 : 1;
  }
}

// The documented bytes of a plane: the last row is unpadded. Absurd sizes give more than kLargestPlane.
size_t bytesOf(const PlaneRows& rows) {
  if (rows.count < 1 || rows.n < 1 || rows.pitch < 0) return 0;
  const double size = (static_cast<double>(rows.count - 1) * static_cast<double>(rows.pitch) + static_cast<double>(rows.n)) * 4;
  if (size > 4 * static_cast<double>(kLargestPlane)) return kLargestPlane + 1;
  return static_cast<size_t>(((rows.count - 1) * rows.pitch + rows.n) * rows.element);
}

// Images whose rows lie one behind the other whatever their strides say.
bool isPacked(int32_t operator_type, int32_t slot, int32_t type) {
  switch (operator_type) {
    case TAMIX_OP_GET_PERSPECTIVE_TRANSFORM:
      return type == kF32;
    case TAMIX_OP_IMAGE_FUSE_OVERLAP:
      return type == kU8;
    case TAMIX_OP_CONCAT:
    case TAMIX_OP_MEAN_FILTER:
    case TAMIX_OP_WARP_AFFINE:
      return true;
    case TAMIX_OP_BITWISE_NOT:       // the mask
    case TAMIX_OP_WARP_PERSPECTIVE:  // the matrix
      return slot == 1;
    default:
      return false;
  }
}

float oddFloat(uint32_t noise) {
  static constexpr float kInfinity = std::numeric_limits<float>::infinity();
  static constexpr float kOdd[] = {0.0f,     -0.0f,  kInfinity, -kInfinity,    std::numeric_limits<float>::quiet_NaN(),
                                   3e38f,    -3e38f, 1e-40f,    2147483648.0f, -2147483904.0f,
                                   32768.0f, 255.5f, 0.5f,      65536.0f,      1e10f,
                                   -1.5f};
  return kOdd[noise % std::size(kOdd)];
}

// The integers that an operator reads.
std::span<int32_t TamixParams::*const> settingsOf(int32_t operator_type) {
  using P = TamixParams;
  static constexpr int32_t P::*kAll[] = {
      &P::morph_shape, &P::morph_type,   &P::iterations, &P::kernel_size,   &P::kernel_height,    &P::kernel_width,
      &P::border_type, &P::border_value, &P::abs_output, &P::interpolation, &P::geom_border_type, &P::geom_border_value,
      &P::op_mode,     &P::reorder,      &P::hist_dims,  &P::thresh_type,   &P::fuse_overlap,     &P::fuse_direction};
  const std::span all(kAll);
  switch (operator_type) {
    case TAMIX_OP_ERODE:
    case TAMIX_OP_DILATE:
    case TAMIX_OP_MORPHOLOGY_EX:
    case TAMIX_OP_GET_STRUCTURING_ELEMENT:
      return all.subspan(0, 8);
    case TAMIX_OP_GAUSSIAN_FILTER:
    case TAMIX_OP_MEAN_FILTER:
    case TAMIX_OP_LAPLACIAN_FILTER:
    case TAMIX_OP_GUIDED_FILTER:
      return all.subspan(3, 6);
    case TAMIX_OP_WARP_PERSPECTIVE:
    case TAMIX_OP_REMAP:
      return all.subspan(9, 2);
    case TAMIX_OP_COPY_MAKE_BORDER:
      return all.subspan(10, 2);
    case TAMIX_OP_FLIP:
    case TAMIX_OP_ROTATE:
    case TAMIX_OP_CONCAT:
      return all.subspan(12, 1);
    case TAMIX_OP_NORMALIZATION:
      return all.subspan(13, 1);
    case TAMIX_OP_CALC_HIST:
      return all.subspan(14, 1);
    case TAMIX_OP_THRESHOLD:
      return all.subspan(15, 1);
    case TAMIX_OP_IMAGE_FUSE_OVERLAP:
      return all.subspan(16, 2);
    default:
      return {};
  }
}

// What planes are filled with comes in tiles: patterns repeat after as many bytes.
constexpr size_t kTile = 65536;
using Tile = std::array<uint8_t, kTile>;

// The tile from an offset on, over and over.
void repeat(const Tile& tile, size_t offset, std::span<uint8_t> bytes) {
  for (offset %= kTile; !bytes.empty(); offset = 0) {
    const size_t n = std::min(bytes.size(), kTile - offset);
    std::memcpy(bytes.data(), &tile[offset], n);
    bytes = bytes.subspan(n);
  }
}

// Any bytes; floats around the range of bytes, small ones around the sizes of images, some of them odd.
class Noise {
 public:
  static const Tile& bytes() { return all().bytes_; }
  static const Tile& floats() { return all().floats_; }
  static const Tile& smallFloats() { return all().small_floats_; }

 private:
  Noise() {
    std::minstd_rand random(1);
    for (uint8_t& byte : bytes_) byte = static_cast<uint8_t>(random() >> 8);
    for (size_t i = 0; i < kTile; i += sizeof(float)) {
      float value = static_cast<float>(random() % 65536) / 512.0f - 20.0f;
      float large = 3.0f * value;
      if (random() % 24 == 0) value = large = oddFloat(static_cast<uint32_t>(random() >> 8));
      std::memcpy(&small_floats_[i], &value, sizeof(value));
      std::memcpy(&floats_[i], &large, sizeof(large));
    }
  }
  static const Noise& all() {
    static const Noise noise;
    return noise;
  }

  Tile bytes_;
  Tile floats_;
  Tile small_floats_;
};

}  // namespace

std::vector<int32_t> operatorsAndKernels() {
  std::vector<int32_t> types(kOperators.begin(), kOperators.end());
  for (int32_t n = 0; n < static_cast<int32_t>(kExportedKernels.size()); ++n) types.push_back(kFirstKernel + n);
  return types;
}

std::string nameOf(int32_t type) {
  return type < kFirstKernel ? "Operator" + std::to_string(type)
                             : kExportedKernels[static_cast<size_t>(type - kFirstKernel)].name;
}

bool isMeanFilter(int32_t type) { return type == TAMIX_OP_MEAN_FILTER || nameOf(type) == "meanFilterCPUUINT8"; }

uint32_t Choices::below(uint32_t n) {
  uint32_t value = next();
  if (n > 200) value = value << 8 | next();
  if (n > 50000) value = value << 16 | static_cast<uint32_t>(next()) << 8 | next();
  return value % n;
}

HostileRecord::HostileRecord(int32_t operator_type, std::span<const uint8_t> recipe, Manners manners, const Demand& demand)
    : kernel_(operator_type < kFirstKernel ? nullptr : &kExportedKernels[static_cast<size_t>(operator_type - kFirstKernel)]),
      operator_type_(kernel_ == nullptr ? operator_type : kernel_->relative),
      demand_(demand),
      choose_(recipe) {
  initTamixParams(&params_);
  noise_ = choose_.below(0xffffffff);
  thread_number_ = choose_.oneOf({2, 1, 3, 4, 8, 0});
  width_ = choose_.between(1, choose_.oneIn(8) ? 400 : 70);
  height_ = choose_.between(1, choose_.oneIn(8) ? 40 : 9);
  if (choose_.oneIn(16)) (choose_.oneIn(2) ? width_ : height_) = 1;
  if (resizesPairs()) height_ += 8;  // most would be too low
  if (demand.width > 0) width_ = demand.width;
  if (demand.height > 0) height_ = demand.height;
  imagine();
  if (kernel_ != nullptr) completeForKernel();
  comply();
  settle();
  const TamixParams plausible = params_;
  if (manners == Manners::kHostile) spoil();
  if (kernel_ != nullptr) agreeForKernel(plausible);
  allocate();
}

TamixImage HostileRecord::image(int32_t format, int32_t type, int32_t width, int32_t height, int32_t channel) {
  TamixImage made = imageRecord(format, type, width, height, channel);
  if ((isPaired(format) && kernel_ == nullptr) || (format == Tamix_I420 && !choose_.oneIn(4))) {
    made.width = (width + 1) / 2 * 2;
    made.height = (height + 1) / 2 * 2;
  }
  const int32_t padding = choose_.oneOf({0, 0, 1, 2, 6, 16, 33});
  if (padding > 0) made.width_stride = made.width + (channelsOf(format) == 2 ? padding / 2 * 2 : padding);
  made.data[0] = kWanted;
  if (isPaired(format) || format == Tamix_I420) made.data[1] = kWanted;
  if (format == Tamix_I420 && !choose_.oneIn(8)) made.data[2] = kWanted;
  return made;
}

// Input 0 and output 0 of the same size.
void HostileRecord::describePair(int32_t in_format, int32_t out_format, int32_t channel_in, int32_t channel_out) {
  params_.input[0] = image(in_format, kU8, width_, height_, channel_in);
  params_.output[0] = image(out_format, kU8, width_, height_, channel_out);
  params_.input[0].width = params_.output[0].width = std::max(params_.input[0].width, params_.output[0].width);
  params_.input[0].height = params_.output[0].height = std::max(params_.input[0].height, params_.output[0].height);
}

// A call that the operator should serve, most of the time.
void HostileRecord::imagine() {
  TamixParams& p = params_;
  TamixImage& in = p.input[0];
  TamixImage& out = p.output[0];
  const int32_t rgb = choose_.oneOf<int32_t>({Tamix_RGB, Tamix_BGR});
  const int32_t rgba = choose_.oneOf<int32_t>({Tamix_RGBA, Tamix_BGRA});
  int32_t yuv = choose_.oneOf<int32_t>({Tamix_NV21, Tamix_NV12, Tamix_I420});
  const int32_t any = choose_.oneOf<int32_t>({rgb, Tamix_GRAY, rgba});
  int32_t frame = choose_.oneOf({any, any, yuv});
  if (kernel_ != nullptr) yuv = kernel_->format, frame = yuv == 0 ? any : yuv;
  int32_t new_width = choose_.between(1, 90);
  if (demand_.width > 0 && choose_.oneIn(2)) new_width = demand_.width;
  const int32_t new_height = choose_.between(1, 12);
  int32_t window = choose_.oneOf({-1, 3, 5, 1, 7, 9, 2, 15});
  const auto type = [this] { return choose_.oneOf({kU8, kF32}); };

  switch (operator_type_) {
    case TAMIX_OP_DATA_TYPE_CONVERT:
      describePair(frame, frame);
      in.type = type();
      out.type = kU8 + kF32 - in.type;
      break;
    case TAMIX_OP_COUNT_NON_ZERO:
    case TAMIX_OP_CALC_HIST:
    case TAMIX_OP_MEAN_STD:
      describePair(operator_type_ == TAMIX_OP_COUNT_NON_ZERO ? Tamix_GRAY : any, Tamix_GRAY);
      if (choose_.oneIn(2) && operator_type_ != TAMIX_OP_CALC_HIST) out = {};
      if (operator_type_ == TAMIX_OP_CALC_HIST) out.type = type();
      p.hist_dims = choose_.between(0, 4);
      for (int32_t i = 0; i < 4; ++i) {
        p.hist_size[i] = choose_.between(1, 12);
        p.hrange_max[i] = choose_.between(1, 300);
        p.hrange_min[i] = choose_.between(0, 3);
        if (choose_.oneIn(2)) p.hist_channels[i] = choose_.between(0, 3);
      }
      break;
    case TAMIX_OP_GAUSSIAN_FILTER:
    case TAMIX_OP_MEAN_FILTER:
    case TAMIX_OP_LAPLACIAN_FILTER:
      describePair(choose_.oneOf({any, any, any, frame}), any);
      out.format = in.format;
      if (operator_type_ == TAMIX_OP_MEAN_FILTER) {
        in = image(Tamix_GRAY, kF32, width_, height_);
        out = image(Tamix_GRAY, type(), width_, height_);
      }
      p.scale = choose_.oneOf({0.0, 1.0, 0.8, 2.5, 100.0});
      p.delta = choose_.oneOf({0.0, 0.0, 3.5, -7.25});
      p.abs_output = choose_.oneOf({0, 1});
      break;
    case TAMIX_OP_NORMALIZATION:
      describePair(any, any);
      in.type = type();
      out.type = kF32;
      if (!choose_.oneIn(4)) in.width_stride = out.width_stride = 0;
      if (choose_.oneIn(8)) out.format = 0;
      p.reorder = choose_.oneOf({0, 1});
      p.mean_value = 100.5f;
      p.std_value = choose_.oneOf({50.0f, 0.0f, 0.25f});
      break;
    case TAMIX_OP_COPY_MAKE_BORDER: {
      describePair(any, any);
      for (int32_t& border : p.border_params) border = choose_.between(0, choose_.oneIn(4) ? 60 : 9);
      out = image(any, kU8, in.width + p.border_params[2] + p.border_params[3],
                  in.height + p.border_params[0] + p.border_params[1]);
      p.geom_border_value = choose_.between(-1, 255);
      break;
    }
    case TAMIX_OP_RESIZE_AREA:
    case TAMIX_OP_RESIZE_NEAREST:
    case TAMIX_OP_RESIZE_BILINEAR:
      in = image(frame, kU8, width_, height_);
      if (operator_type_ == TAMIX_OP_RESIZE_BILINEAR && choose_.oneIn(3)) in.type = kF32;
      out = image(frame, in.type, new_width, new_height);
      if (isPaired(in.format) && (kernel_ != nullptr || choose_.oneIn(3))) out = image(rgb, kU8, new_width, new_height);
      if (choose_.oneIn(4)) out.width = in.width * 2, out.height = in.height * 2, out.width_stride = 0;
      break;
    case TAMIX_OP_COLOR_TO_HSV:
    case TAMIX_OP_COLOR_TO_GRAY:
      describePair(choose_.oneOf({rgba, operator_type_ == TAMIX_OP_COLOR_TO_GRAY ? rgb : rgba}),
                   operator_type_ == TAMIX_OP_COLOR_TO_GRAY ? Tamix_GRAY : rgb, 0,
                   operator_type_ == TAMIX_OP_COLOR_TO_GRAY ? 1 : 3);
      break;
    case TAMIX_OP_COLOR_TO_YUV:
      describePair(rgb, yuv);
      break;
    case TAMIX_OP_YUV_TO_COLOR:
      describePair(yuv, rgb);
      break;
    case TAMIX_OP_COLOR_TO_LAB:
      describePair(rgb, Tamix_LAB, 0, 3);
      break;
    case TAMIX_OP_LAB_TO_COLOR:
      describePair(Tamix_LAB, rgb, 3, 0);
      break;
    case TAMIX_OP_COLOR3_TO_COLOR4:
      describePair(rgb, rgba);
      break;
    case TAMIX_OP_COLOR4_TO_COLOR3:
      describePair(rgba, rgb);
      break;
    case TAMIX_OP_MULTIPLE:
    case TAMIX_OP_DIVIDE:
    case TAMIX_OP_SUBTRACT:
    case TAMIX_OP_ADD:
    case TAMIX_OP_BITWISE_AND:
    case TAMIX_OP_BITWISE_OR:
    case TAMIX_OP_BITWISE_XOR:
    case TAMIX_OP_BITWISE_NOT:
      describePair(any, any);
      p.input[1] = image(any, kU8, in.width, in.height);
      if (operator_type_ < TAMIX_OP_BITWISE_AND) {
        in.type = type();
        p.input[1].type = type();
        out.type = type();
      } else if (choose_.oneIn(2)) {
        p.input[2] = image(any, kU8, in.width, in.height);
        if (!choose_.oneIn(4)) p.input[2].width_stride = p.input[1].width_stride;
      }
      break;
    case TAMIX_OP_CONVERT_SCALE_ABS:
      describePair(any, any);
      in.type = type();
      out.type = choose_.oneOf({in.type, kU8});
      p.abs_scale = choose_.oneOf({1.0, -0.5, 2.75});
      p.offset = choose_.oneOf({0.0, 10.5, -300.0});
      break;
    case TAMIX_OP_ERODE:
    case TAMIX_OP_DILATE:
    case TAMIX_OP_MORPHOLOGY_EX:
    case TAMIX_OP_GET_STRUCTURING_ELEMENT:
      describePair(rgb, rgb);
      p.morph_shape = choose_.oneOf({0, 1, 2});
      p.morph_type = choose_.oneOf({0, 1, 2, 3});
      p.border_value = choose_.between(0, 255);
      p.iterations = choose_.oneOf({1, 1, 1, 2, 3, 0});
      if (choose_.oneIn(2) || operator_type_ == TAMIX_OP_GET_STRUCTURING_ELEMENT) {
        p.kernel = static_cast<uint8_t*>(kWanted);
        p.kernel_size = 3;
      }
      break;
    case TAMIX_OP_GET_PERSPECTIVE_TRANSFORM:
      in = image(0, kF32, 4, 1, 2);
      p.input[1] = image(0, kF32, 2, 2, 2);
      in.data[1] = p.input[1].data[1] = kWanted;
      out = image(0, type(), 3, 3, 1);
      break;
    case TAMIX_OP_FLIP:
    case TAMIX_OP_ROTATE:
    case TAMIX_OP_TRANSPOSE:
    case TAMIX_OP_WARP_AFFINE:
      describePair(frame, frame);
      if (operator_type_ == TAMIX_OP_FLIP && choose_.oneIn(4)) in.type = out.type = kF32;
      p.op_mode = choose_.oneOf({0, 1, -1, 2, 3});
      if (operator_type_ == TAMIX_OP_TRANSPOSE || (operator_type_ == TAMIX_OP_ROTATE && p.op_mode != 1)) {
        std::swap(out.width, out.height);
        out.width_stride = 0;
      }
      p.affine_angle = choose_.between(-400, 400);
      p.affine_scale = choose_.oneOf({1.0, 2.0, 0.0});
      break;
    case TAMIX_OP_SPLIT:
      in = image(choose_.oneOf({rgb, rgb, rgba}), kU8, width_, height_);
      in.type = type();
      for (TamixImage& plane : p.output) {
        plane = image(Tamix_GRAY, in.type, in.width, in.height);
        plane.width_stride = in.width_stride;
      }
      break;
    case TAMIX_OP_MERGE:
      out = image(choose_.oneOf({rgb, rgb, rgba}), kU8, width_, height_);
      for (TamixImage& plane : p.input) {
        plane = image(Tamix_GRAY, kU8, out.width, out.height);
        plane.width_stride = out.width_stride;
      }
      break;
    case TAMIX_OP_RECT_CUT: {
      in = image(any, type(), width_ + 1, height_ + 1);
      const int32_t top = choose_.between(0, height_);
      const int32_t left = choose_.between(0, width_);
      const int32_t rows = choose_.between(1, height_ + 1 - top);
      const int32_t columns = choose_.between(1, width_ + 1 - left);
      out = image(any, in.type, columns, rows);
      const int32_t rectangle[] = {top, top + rows, left, left + columns};
      std::copy_n(rectangle, 4, p.border_params);
      break;
    }
    case TAMIX_OP_THRESHOLD:
      describePair(choose_.oneOf<int32_t>({Tamix_GRAY, any}), Tamix_GRAY);
      out.format = in.format;
      p.thresh_type = choose_.oneOf({0, 1, 2, 3, 4});
      p.thresh_type |= choose_.oneOf({0, 0, 8, 16});
      p.maxval = choose_.oneOf({255.0, 100.5, -1.0});
      break;
    case TAMIX_OP_CONCAT: {
      p.op_mode = choose_.oneOf({0, 1});
      const int32_t count = choose_.between(1, 4);
      int32_t width = 0;
      int32_t height = 0;
      for (int32_t i = 0; i < count; ++i) {
        p.input[i] =
            image(any, kU8, p.op_mode == 0 ? choose_.between(1, 40) : width_, p.op_mode == 1 ? choose_.between(1, 9) : height_);
        p.input[i].width_stride = 0;
        width += p.input[i].width;
        height += p.input[i].height;
      }
      out = image(any, kU8, p.op_mode == 0 ? width : width_, p.op_mode == 1 ? height : height_);
      break;
    }
    case TAMIX_OP_WARP_PERSPECTIVE:
      in = image(any, kU8, width_, height_);
      p.input[1] = image(0, choose_.oneOf({kF32, kF32, 0}), 3, 3, 1);
      p.input[1].width_stride = 0;
      out = image(any, kU8, new_width, new_height);
      break;
    case TAMIX_OP_REMAP:
      in = image(any, kU8, width_, height_);
      out = image(any, kU8, new_width, new_height);
      p.input[1] = image(Tamix_GRAY, kF32, new_width, new_height);
      p.input[2] = image(Tamix_GRAY, kF32, new_width, new_height);
      break;
    case TAMIX_OP_GUIDED_FILTER:
      describePair(rgb, rgb);
      p.input[1] = image(rgb, kU8, in.width, in.height);
      break;
    case TAMIX_OP_IMAGE_FUSE_OVERLAP: {
      p.fuse_direction = choose_.oneOf({0, 1});
      const bool beside = p.fuse_direction == 1;
      p.fuse_overlap = choose_.between(0, beside ? width_ : height_);
      in = image(rgb, kU8, width_, height_);
      p.input[1] = image(rgb, kU8, beside ? p.fuse_overlap + choose_.between(1, 30) : width_,
                         beside ? height_ : p.fuse_overlap + choose_.between(1, 6));
      in.width_stride = p.input[1].width_stride = 0;
      out = image(rgb, kU8, beside ? width_ + p.input[1].width - p.fuse_overlap : width_,
                  beside ? height_ : height_ + p.input[1].height - p.fuse_overlap);
      break;
    }
    default:
      describePair(any, any);
      break;
  }

  // Settings that several operators read.
  const auto filters = {TAMIX_OP_GAUSSIAN_FILTER, TAMIX_OP_MEAN_FILTER, TAMIX_OP_LAPLACIAN_FILTER};
  if (std::ranges::find(filters, operator_type_) != filters.end() && choose_.oneIn(2)) window = choose_.oneOf({3, 3, 5});
  if (window > 0 && choose_.oneIn(2)) {
    p.kernel_height = window;
    p.kernel_width = choose_.oneIn(3) ? choose_.between(1, 9) : window;
  } else if (window > 0) {
    p.kernel_size = window;
  }
  p.border_type = choose_.oneOf({-1, 0, 1, 2, 3, 4});
  p.geom_border_type = choose_.oneOf({-1, 0, 1, 2, 3, 4});
  p.interpolation = choose_.oneOf({0, 1, 2, 16, 17, 18, -1});
  if (!choose_.oneIn(8)) fit();
}

// What the test wants.
void HostileRecord::comply() {
  if (demand_.other_type) params_.output[0].type = kU8 + kF32 - params_.output[0].type;
  for (int32_t slot = 0; slot < 8; ++slot) {
    TamixImage& image = slot < 4 ? params_.input[slot] : params_.output[slot - 4];
    if (demand_.stride > 0 && image.data[0] != nullptr) image.width_stride = demand_.stride;
  }
}

// Kernels take bytes, and what the framework would complete.
void HostileRecord::completeForKernel() {
  const bool any_channels = kernel_->format == 0 && operator_type_ != TAMIX_OP_GUIDED_FILTER && choose_.oneIn(3);
  const int32_t channel = any_channels ? choose_.between(1, 5) : 0;
  for (TamixImage* image : {&params_.input[0], &params_.input[1], &params_.output[0]}) {
    image->type = kU8;
    if (image->channel == 0) image->channel = channel == 0 ? channelsOf(image->format) : channel;
    if (image->width_stride == 0) image->width_stride = image->width;
  }
  if (resizesPairs()) params_.op_mode = choose_.oneOf({0, 1});
  if (operator_type_ == TAMIX_OP_GAUSSIAN_FILTER) {
    if (!choose_.oneIn(4)) params_.kernel_height = params_.kernel_width = 3;
    if (choose_.oneIn(2)) params_.kernel = static_cast<uint8_t*>(kWanted);
  }
}

// What a kernel cannot compare, because it takes it once or as given.
void HostileRecord::agreeForKernel(const TamixParams& plausible) {
  TamixImage& in = params_.input[0];
  const bool one_size = operator_type_ == TAMIX_OP_YUV_TO_COLOR || operator_type_ == TAMIX_OP_COLOR_TO_YUV ||
                        operator_type_ == TAMIX_OP_GAUSSIAN_FILTER;
  const auto agree = [&](TamixImage& image, const TamixImage& was) {
    image.format = was.format;
    image.type = was.type;
    image.height_stride = 0;
    image.width_stride = std::max(image.width_stride, 0);
    image.channel = kernel_->format == 0 ? in.channel : was.channel;
    if (one_size) image.width = in.width, image.height = in.height;
    // Rows that overlap take little memory, but time.
    if (static_cast<double>(image.width) * image.height > 4.0 * kLargestPlane) image.data[0] = nullptr;
  };
  agree(in, plausible.input[0]);
  agree(params_.input[1], plausible.input[1]);
  agree(params_.output[0], plausible.output[0]);
}

// Settings that an operator serves, where it refuses most.
void HostileRecord::fit() {
  switch (operator_type_) {
    case TAMIX_OP_MEAN_FILTER:
    case TAMIX_OP_GUIDED_FILTER:
      params_.kernel_size = operator_type_ == TAMIX_OP_GUIDED_FILTER ? 5 : choose_.oneOf({3, 5});
      break;
    case TAMIX_OP_LAPLACIAN_FILTER:
      params_.kernel_height = params_.kernel_width = choose_.oneOf({1, 3});
      break;
    case TAMIX_OP_REMAP:
    case TAMIX_OP_WARP_PERSPECTIVE:
      params_.interpolation &= operator_type_ == TAMIX_OP_REMAP ? 1 : 18;
      params_.geom_border_type = choose_.oneOf({0, 0, 1});
      break;
    case TAMIX_OP_COUNT_NON_ZERO:
    case TAMIX_OP_COLOR_TO_HSV:
    case TAMIX_OP_MERGE:
    case TAMIX_OP_NORMALIZATION:
    case TAMIX_OP_SPLIT:
      for (TamixImage& image : params_.input) image.width_stride = 0;
      for (TamixImage& image : params_.output) image.width_stride = 0;
      break;
    default:
      break;
  }
}

// Where the caller gives memory for a setting.
void HostileRecord::settle() {
  shares_planes_ = kernel_ != nullptr && choose_.oneIn(8);
  if (kernel_ != nullptr) return;  // reads none of them
  const bool most = !choose_.oneIn(8);
  params_.nonzero_count = most ? static_cast<uint32_t*>(kWanted) : nullptr;
  params_.mean_out = params_.std_out = most ? static_cast<float*>(kWanted) : nullptr;
  params_.mean = choose_.oneIn(2) ? static_cast<float*>(kWanted) : nullptr;
  params_.std = choose_.oneIn(2) ? static_cast<float*>(kWanted) : nullptr;
  params_.thresh = most ? static_cast<double*>(kWanted) : nullptr;
  params_.fuse_weights = most ? static_cast<float*>(kWanted) : nullptr;
  params_.geom_border_value_ptr = choose_.oneIn(2) ? static_cast<uint8_t*>(kWanted) : nullptr;
  shares_planes_ = choose_.oneIn(8);
}

int32_t HostileRecord::anything() {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  static constexpr int32_t kOdd[] = {0,  -1,  1,     2,     3,     4,      5,         7,          8,       9,     16,     17,
                                     18, 19,  20,    21,    31,    255,    256,       4096,       4352,    8192,  8300,   16385,
                                     -2, -16, 32768, 65535, kMost, kLeast, kMost - 1, kLeast + 1, 1 << 30, 46341, 1 << 24};
  const int32_t small = choose_.between(0, 100);
  const int32_t large = choose_.between(-1, 8300);
  const uint32_t i = choose_.below(static_cast<uint32_t>(std::size(kOdd)) + 2);
  return i < std::size(kOdd) ? kOdd[i] : i == std::size(kOdd) ? small : large;
}

// One of the integers that the operator reads.
void HostileRecord::spoilSetting() {
  static constexpr int32_t(TamixParams::*kLists[])[4] = {&TamixParams::border_params, &TamixParams::hist_size,
                                                         &TamixParams::hist_channels, &TamixParams::hrange_max,
                                                         &TamixParams::hrange_min};
  const std::span settings = settingsOf(operator_type_);
  const bool has_list = operator_type_ == TAMIX_OP_CALC_HIST || operator_type_ == TAMIX_OP_COPY_MAKE_BORDER ||
                        operator_type_ == TAMIX_OP_RECT_CUT;
  if (has_list && (settings.empty() || choose_.oneIn(2))) {
    for (int32_t& value : params_.*kLists[operator_type_ == TAMIX_OP_CALC_HIST ? choose_.between(1, 4) : 0]) {
      if (choose_.oneIn(2)) value = anything();
    }
  } else if (!settings.empty()) {
    params_.*settings[choose_.below(static_cast<uint32_t>(settings.size()))] = anything();
  }
}

// A few fields set to anything.
void HostileRecord::spoil() {
  static constexpr int32_t TamixImage::*kFields[] = {&TamixImage::format,       &TamixImage::type,         &TamixImage::width,
                                                     &TamixImage::height,       &TamixImage::width_stride, &TamixImage::channel,
                                                     &TamixImage::height_stride};
  static constexpr double TamixParams::*kReals[] = {&TamixParams::scale,     &TamixParams::delta,  &TamixParams::affine_angle,
                                                    &TamixParams::abs_scale, &TamixParams::offset, &TamixParams::affine_scale,
                                                    &TamixParams::maxval};
  if (kernel_ != nullptr && choose_.oneIn(8)) thread_number_ = params_.op_mode = anything();
  static constexpr std::initializer_list<uint32_t> kSlots = {0, 4, 0, 4, 1, 2, 3, 5, 6, 7};
  static constexpr std::initializer_list<uint32_t> kKernelSlots = {0, 4, 0, 4, 1};
  const auto index = [this](const auto& list) { return choose_.below(static_cast<uint32_t>(std::size(list))); };
  for (uint32_t i = 1 + choose_.below(3); i > 0; --i) {
    const uint32_t slot = choose_.oneOf<uint32_t>(kernel_ == nullptr ? kSlots : kKernelSlots);
    TamixImage& image = slot < 4 ? params_.input[slot] : params_.output[slot - 4];
    switch (choose_.below(10)) {
      case 0:
      case 1:
      case 2:
        image.*kFields[index(kFields)] = anything();
        break;
      case 3:
        image.data[choose_.below(3)] = choose_.oneIn(2) ? nullptr : kWanted;
        break;
      case 4:
        // Both images of a pair alike, to pass the comparisons.
        params_.input[0].*kFields[slot % 7] = params_.output[0].*kFields[slot % 7] = anything();
        break;
      case 5:
      case 6:
      case 7:
        spoilSetting();
        break;
      case 8:
        params_.*kReals[index(kReals)] = choose_.oneIn(4) ? 1e300 : static_cast<double>(oddFloat(choose_.below(64)));
        break;
      default:
        image.type = choose_.oneOf({0, kF32, kU8, 2, -1, 9});
        break;
    }
  }
}

GuardedBytes& HostileRecord::plane(size_t size) {
  const Guard chosen = choose_.oneIn(4) ? Guard::kBefore : Guard::kBehind;
  return planes_.emplace_back(size, demand_.guard.value_or(chosen));
}

void HostileRecord::addNoise(std::span<uint8_t> bytes, bool floats) {
  std::minstd_rand random(noise_ + static_cast<uint32_t>(inputs_.size()) + 1);
  random.discard(2);
  const bool small = operator_type_ == TAMIX_OP_REMAP || random() % 2 == 0;
  repeat(!floats ? Noise::bytes() : small ? Noise::smallFloats() : Noise::floats(), random() / 4 * 4, bytes);
}

void* HostileRecord::inputPlane(size_t size, bool floats) {
  if (size > kLargestPlane) return nullptr;
  const GuardedBytes& made = plane(size);
  const std::span bytes(static_cast<uint8_t*>(made.data()), size);
  addNoise(bytes, floats);
  inputs_.push_back(bytes);
  return made.data();
}

void* HostileRecord::setting(size_t size) {
  if (size > kLargestPlane) return nullptr;
  const GuardedBytes& made = plane(size);
  outputs_.emplace_back(static_cast<uint8_t*>(made.data()), size);
  return made.data();
}

// Bins of the histogram, as far as they can be had.
size_t HostileRecord::bins() const {
  size_t bins = 1;
  for (int32_t i = 0; i < std::clamp(params_.hist_dims, 0, 4); ++i) {
    bins = std::min(bins * static_cast<size_t>(std::max(params_.hist_size[i], 0)), kLargestPlane);
  }
  return bins;
}

PlaneRows HostileRecord::rowsOf(bool is_input, const TamixImage& image, int32_t k) const {
  const bool is_mask = operator_type_ >= TAMIX_OP_BITWISE_AND && operator_type_ <= TAMIX_OP_BITWISE_NOT;
  const int64_t element = image.type == kU8 || (image.type == 0 && is_mask) ? 1 : 4;
  const int64_t width = image.width;
  const int64_t stride = image.width_stride == 0 ? width : image.width_stride;
  int64_t rows = std::max(image.height, image.height_stride);
  const PlaneRows none;
  if (operator_type_ == TAMIX_OP_GET_PERSPECTIVE_TRANSFORM && is_input) {
    return k < 2 ? PlaneRows{rows, stride, width, element} : none;
  }
  if (image.format == Tamix_I420 && k > 0 && image.data[2] != nullptr) {
    return {(rows + 1) / 2, stride / 2, (width + 1) / 2, element};
  }
  const bool two_planes = channelsOf(image.format) == 2;
  if (kernel_ != nullptr && operator_type_ == TAMIX_OP_COLOR_TO_YUV) rows = rows / 2 * 2;  // an odd last row is left out
  if (k > 0 && !(k == 1 && two_planes)) return none;
  if (k > 0) {
    // Kernels that do not resize take odd sizes, with a pair for each odd end.
    const int64_t odd_rows = kernel_ != nullptr && operator_type_ == TAMIX_OP_YUV_TO_COLOR ? 1 : 0;
    const int64_t odd_columns = kernel_ != nullptr && operator_type_ != TAMIX_OP_RESIZE_BILINEAR ? 1 : 0;
    return {(rows + odd_rows) / 2, stride, (width + odd_columns) / 2 * 2, element};
  }
  if (isPaired(image.format) || image.format == Tamix_I420) return {rows, stride, width, element};
  int64_t channel = image.channel == 0 ? channelsOf(image.format) : image.channel;
  channel = std::max({channel, int64_t{two_planes}, int64_t{colorChannels(operator_type_, is_input, image.format)}});
  // A resize from luma and chroma to colours makes pixels of three bytes.
  const bool makes_colors = operator_type_ == TAMIX_OP_RESIZE_BILINEAR && isPaired(params_.input[0].format);
  if (!is_input && makes_colors && channelsOf(image.format) == 3) channel = std::max<int64_t>(channel, 3);
  return {rows, stride * channel, width * channel, element};
}

std::vector<RecordPlane> HostileRecord::planes() {
  std::vector<RecordPlane> planes;
  for (int32_t slot = 0; slot < 8; ++slot) {
    TamixImage& image = slot < 4 ? params_.input[slot] : params_.output[slot - 4];
    for (int32_t k = 0; k < 3; ++k) {
      if (image.data[k] == nullptr) continue;
      PlaneRows rows = rowsOf(slot < 4, image, k);
      if (isPacked(operator_type_, slot, image.type)) rows.pitch = rows.n;
      if (operator_type_ == TAMIX_OP_CALC_HIST && slot == 4) rows = {1, 0, static_cast<int64_t>(bins()), sizeof(uint32_t)};
      // Floats that take the place of bytes.
      const bool is_converted = demand_.other_type && slot == 4 && image.type == kF32;
      if (is_converted) planes.push_back({&image, k, {rows.count, rows.pitch, rows.n, 1}});
      planes.push_back({&image, k, rows});
    }
  }
  return planes;
}

// Floats, often such as nobody would want: huge, tiny, all alike, a few odd ones, or only odd ones.
float* HostileRecord::floats(size_t size) {
  auto* const made = static_cast<float*>(inputPlane(size, true));
  const uint32_t strain = choose_.below(16);
  if (made == nullptr || strain < 8) return made;
  std::minstd_rand random(noise_ + strain);
  for (size_t i = 0; i < size / sizeof(float); ++i) {
    float value;
    std::memcpy(&value, &made[i], sizeof(value));
    if (strain < 10) value *= strain == 8 ? 1e30f : 1e-30f;
    if (strain == 10) value = i == 8 ? 1.0f : 0.0f;
    if (strain == 11) value = static_cast<float>(i % 3) * (noise_ % 2 == 0 ? 1.0f : 1e4f);  // a matrix of equal rows
    if (strain == 12 || (strain == 13 && i % 4 == noise_ % 4)) value = oddFloat(static_cast<uint32_t>(random() >> 8));
    if (strain == 14) value = std::numeric_limits<float>::quiet_NaN();
    if (strain == 15) value = std::ldexp(random() % 2 == 0 ? 1.0f : -1.0f, static_cast<int>(i % 40));
    std::memcpy(&made[i], &value, sizeof(value));
  }
  return made;
}

// Gives every wanted pointer the memory that the record declares.
void HostileRecord::allocate() {
  TamixParams& p = params_;
  for (int32_t k = 0; k < 3; ++k) {
    for (int32_t i = 0; i < 4; ++i) {
      TamixImage& in = p.input[i];
      TamixImage& out = p.output[i];
      size_t in_size = bytesOf(rowsOf(true, in, k));
      // A matrix has nine elements whatever its stride.
      if (operator_type_ == TAMIX_OP_WARP_PERSPECTIVE && i == 1 && k == 0) in_size = std::max(in_size, 9 * sizeof(float));
      size_t out_size = bytesOf(rowsOf(false, out, k));
      // The histogram has its own size.
      if (operator_type_ == TAMIX_OP_CALC_HIST && i == 0 && k == 0)
        out_size = std::max((out_size + 3) / 4 * 4, bins() * sizeof(uint32_t));
      const size_t at = choose_.oneOf<size_t>({0, 0, 4, 64, in_size / 8 * 4});
      const bool shared = shares_planes_ && i == 0 && in.data[k] == kWanted && out.data[k] == kWanted &&
                          in_size <= kLargestPlane && std::max(in_size, at + out_size) <= kLargestPlane - 4;
      if (shared) {
        const size_t size = (std::max(in_size, at + out_size) + 3) / 4 * 4;
        auto* const memory = static_cast<uint8_t*>(inputPlane(size, in.type == kF32));
        in.data[k] = memory;
        out.data[k] = memory + at;
        continue;
      }
      if (in.data[k] == kWanted) in.data[k] = in.type == kU8 ? inputPlane(in_size, false) : floats(in_size);
      if (out.data[k] == kWanted) out.data[k] = setting(out_size);
    }
  }
  const size_t channels =
      static_cast<size_t>(std::max(p.input[0].channel == 0 ? channelsOf(p.input[0].format) : p.input[0].channel, 0));
  if (p.nonzero_count != nullptr) p.nonzero_count = static_cast<uint32_t*>(setting(sizeof(uint32_t)));
  if (p.mean_out != nullptr) p.mean_out = static_cast<float*>(setting(channels * sizeof(float)));
  if (p.std_out != nullptr) p.std_out = static_cast<float*>(setting(channels * sizeof(float)));
  if (p.mean != nullptr) p.mean = floats(channels * sizeof(float));
  if (p.std != nullptr) p.std = floats(channels * sizeof(float));
  if (p.geom_border_value_ptr != nullptr) p.geom_border_value_ptr = static_cast<uint8_t*>(inputPlane(channels, false));
  if (p.fuse_weights != nullptr) {
    p.fuse_weights = floats(bytesOf({1, 0, p.fuse_overlap, sizeof(float)}));
  }
  if (p.thresh != nullptr) {
    p.thresh = static_cast<double*>(inputPlane(sizeof(double), false));
    if (p.thresh != nullptr)
      *p.thresh = choose_.oneIn(4) ? static_cast<double>(oddFloat(choose_.below(16))) : choose_.between(0, 2600) / 10.0;
  }
  if (p.kernel != nullptr && kernel_ != nullptr) {
    float* const weights = floats(9 * sizeof(float));
    for (size_t i = 0; i < 9; ++i) weights[i] *= 0.01f;
    p.kernel = reinterpret_cast<uint8_t*>(weights);
  } else if (p.kernel != nullptr) {
    const bool both = p.kernel_height != -1 && p.kernel_width != -1;
    const int64_t rows = both ? p.kernel_height : std::max(p.kernel_size, 3);
    const int64_t columns = both ? p.kernel_width : std::max(p.kernel_size, 3);
    const size_t size = rows < 1 || columns < 1 ? 0 : bytesOf({rows, columns, columns, 1});
    const bool is_output = operator_type_ == TAMIX_OP_GET_STRUCTURING_ELEMENT;
    p.kernel = static_cast<uint8_t*>(is_output ? setting(size) : inputPlane(size, false));
    const uint8_t mask = noise_ % 8 == 0 ? 0 : noise_ % 3 == 0 ? 1 : 0xff;
    for (size_t i = 0; !is_output && p.kernel != nullptr && i < size; ++i) p.kernel[i] &= mask;
  }
}

uint8_t HostileRecord::patternAt(uint32_t seed, size_t i) {
  if (seed < 2) return seed == 0 ? 0 : 0xFF;
  i %= kTile;
  return static_cast<uint8_t>((seed * 0x9e + i * 31 + (i >> 8)) ^ seed >> 8);
}

void HostileRecord::prefill(uint32_t seed) {
  thread_local Tile pattern;
  thread_local int64_t pattern_seed = -1;
  if (pattern_seed != seed) {
    for (size_t i = 0; i < kTile; ++i) pattern[i] = patternAt(seed, i);
    pattern_seed = seed;
  }
  for (const std::span<uint8_t> bytes : outputs_) repeat(pattern, 0, bytes);
}

std::string HostileRecord::describe() const {
  std::ostringstream text;
  text << (kernel_ == nullptr ? nameOf(operator_type_) : kernel_->name) << (shares_planes_ ? ", sharing planes" : "");
  for (int32_t i = 0; i < 8; ++i) {
    const TamixImage& image = i < 4 ? params_.input[i] : params_.output[i - 4];
    if (image.data[0] == nullptr && image.width == 0) continue;
    text << "\n"
         << (i < 4 ? "input " : "output ") << i % 4 << ": format " << image.format << ", type " << image.type << ", "
         << image.width << "x" << image.height << ", strides " << image.width_stride << " and " << image.height_stride
         << ", channel " << image.channel << ", planes " << image.data[0] << " " << image.data[1] << " " << image.data[2];
  }
  TamixParams defaults;
  initTamixParams(&defaults);
  text << "\nsettings";
  const auto* const words = reinterpret_cast<const int32_t*>(&params_);
  const auto* const usual = reinterpret_cast<const int32_t*>(&defaults);
  for (size_t i = sizeof(TamixImage) * 8 / sizeof(int32_t); i < sizeof(TamixParams) / sizeof(int32_t); ++i) {
    if (words[i] != usual[i]) text << " +" << i * sizeof(int32_t) - 576 << ": " << words[i];
  }
  return text.str();
}

Session::Session(int32_t operator_type, int32_t thread_number, int32_t device) : operator_type_(operator_type) {
  initTamixConfig(&config_);
  config_.runtime = device;
  config_.perf_level = -1;  // leave the affinity of the test alone
  config_.log_level = 4;
  config_.num_threads = thread_number;
}

Session::~Session() {
  if (handle_ != nullptr) releaseTamix(&handle_);
}

int32_t Session::run(HostileRecord& record) {
  if (record.kernel() != nullptr) return record.kernel()->call(record.params(), record.threadNumber());
  if (!is_valid_) {
    if (handle_ != nullptr) releaseTamix(&handle_);
    if (const int32_t status = initTamix(&handle_, &config_); status != TAMIX_OK) return status;
    is_valid_ = true;
  }
  if (!is_registered_) {
    if (const int32_t status = registTamixOperator(handle_, operator_type_); status != TAMIX_OK) return status;
    is_registered_ = true;
  }
  return runTamix(handle_, operator_type_, &record.params());
}

int32_t runOnAnyThread(HostileRecord& record) {
  if (std::getenv("TAMIX_TEST_SHOW") != nullptr) std::cerr << record.describe() << '\n';
  return Session(record.operatorType(), record.threadNumber()).run(record);
}

Outcome run(HostileRecord& record) {
  const LogCapture log(4);
  const int32_t status = runOnAnyThread(record);
  return {status, log.errors()};
}

int32_t runHostile(int32_t type, std::span<const uint8_t> recipe) {
  HostileRecord record(type, recipe, Manners::kHostile);
  record.prefill(1);
  return run(record).status;
}

bool isStatusOfRun(int32_t status) {
  const auto known = {0, -1, -2, -3, -4, -13, -14, -15, 100};
  return std::find(known.begin(), known.end(), status) != known.end();
}

std::vector<uint8_t> recipe(int32_t operator_type, uint32_t number) {
  std::minstd_rand random(static_cast<uint32_t>(operator_type) * 1000003 + number + 1);
  random.discard(8);
  std::vector<uint8_t> bytes(160);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 12);
  return bytes;
}

}  // namespace tamix::test
