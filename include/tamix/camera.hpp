/// @file
/// The C interface in C++20: an instance that releases itself, views of images, settings by name, statuses with names. A header
/// only, without exceptions; everything it does goes through tamix.h.
///
/// @code
///   namespace camera = tamix::camera;
///   camera::Instance instance;
///   camera::Status status = instance.run(TAMIX_OP_GAUSSIAN_FILTER, {camera::packed(pixels, Tamix_RGB, width, height)},
///                                        {camera::packed(blurred, Tamix_RGB, width, height)},
///                                        {.kernel_size = 5, .border_type = TAMIX_BORDER_REFLECT_101});
///   if (!status) std::puts(status.name());
/// @endcode
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "tamix/tamix.h"

namespace tamix::camera {

/// What a call returned.
class [[nodiscard]] Status {
 public:
  /// From a TamixStatus.
  constexpr Status(int32_t code = TAMIX_OK) : code_(code) {}

  /// True for success.
  constexpr explicit operator bool() const { return code_ == TAMIX_OK; }
  /// The TamixStatus.
  constexpr int32_t code() const { return code_; }
  /// Such as "TAMIX_ERR_UNSUPPORTED".
  const char* name() const { return tamix_status_name(code_); }
  /// Equal codes.
  friend constexpr bool operator==(Status, Status) = default;

 private:
  int32_t code_;
};

/// An image that is read; the caller keeps the planes alive while it runs operators on it.
class ConstView {
 public:
  /// An unused slot.
  ConstView() = default;
  /// Of a record's image.
  explicit ConstView(const TamixImage& image) : image_(image) {}
  /// The image as a record has it.
  const TamixImage& image() const { return image_; }

 protected:
  TamixImage image_{};
};

/// An image that may be written, and read as well.
class View : public ConstView {
 public:
  using ConstView::ConstView;
};

template <class T>
concept Element = std::is_same_v<std::remove_const_t<T>, uint8_t> || std::is_same_v < std::remove_const_t<T>,
float > ;

/// The view of planes of T: of constants, only to be read.
template <class T>
using ViewOf = std::conditional_t<std::is_const_v<T>, ConstView, View>;

/// Channels of a pixel of a packed format: 1 of formats that do not say.
constexpr int32_t channelsOf(int32_t format) {
  switch (format) {
    case Tamix_BGR:
    case Tamix_RGB:
    case Tamix_LAB:
      return 3;
    case Tamix_BGRA:
    case Tamix_RGBA:
      return 4;
    default:
      return 1;
  }
}

/// Elements of a plane of rows of `n` elements that begin `pitch` elements apart; the last one is not padded.
constexpr size_t planeElements(int32_t rows, int64_t pitch, int64_t n) {
  return rows < 1 || pitch < n || n < 1 ? 0
                                        : static_cast<size_t>(rows - 1) * static_cast<size_t>(pitch) + static_cast<size_t>(n);
}

/// An interleaved image. Rows begin `width_stride` pixels apart, 0: one behind the other. `channel` 0: as the format says.
template <Element T>
ViewOf<T> packed(T* pixels, int32_t format, int32_t width, int32_t height, int32_t width_stride = 0, int32_t channel = 0) {
  TamixImage image{};
  image.format = format;
  image.type = std::is_same_v<std::remove_const_t<T>, uint8_t> ? Tamix_UINT8 : Tamix_FLOAT32;
  image.width = width;
  image.width_stride = width_stride;
  image.height = height;
  image.channel = channel == 0 ? channelsOf(format) : channel;
  image.data[0] = const_cast<std::remove_const_t<T>*>(pixels);
  return ViewOf<T>(image);
}

/// The same of a span. Operators refuse it (TAMIX_ERR_INVALID_IMAGE) where the span is too short for the image.
template <Element T>
ViewOf<T> packed(std::span<T> pixels, int32_t format, int32_t width, int32_t height, int32_t width_stride = 0,
                 int32_t channel = 0) {
  const int64_t n = channel == 0 ? channelsOf(format) : channel;
  const int64_t stride = width_stride == 0 ? width : width_stride;
  const size_t elements = planeElements(height, stride * n, width * n);
  return packed(elements <= pixels.size() ? pixels.data() : nullptr, format, width, height, width_stride, channel);
}

/// The same of a vector.
template <Element T>
View packed(std::vector<T>& pixels, int32_t format, int32_t width, int32_t height, int32_t width_stride = 0,
            int32_t channel = 0) {
  return packed(std::span<T>(pixels), format, width, height, width_stride, channel);
}

/// The same of a vector that is only read.
template <Element T>
ConstView packed(const std::vector<T>& pixels, int32_t format, int32_t width, int32_t height, int32_t width_stride = 0,
                 int32_t channel = 0) {
  return packed(std::span<const T>(pixels), format, width, height, width_stride, channel);
}

/// A YUV 4:2:0 frame of two planes, Tamix_NV12 or Tamix_NV21. Both planes' rows begin `width_stride` bytes apart.
template <Element T>
ViewOf<T> biplanar(T* luma, T* chroma, int32_t format, int32_t width, int32_t height, int32_t width_stride = 0) {
  TamixImage image = packed(luma, format, width, height, width_stride).image();
  image.data[1] = const_cast<std::remove_const_t<T>*>(chroma);
  return ViewOf<T>(image);
}

/// An I420 frame. The rows of Y begin `width_stride` bytes apart, those of U and V half of it.
template <Element T>
ViewOf<T> i420(T* y, T* u, T* v, int32_t width, int32_t height, int32_t width_stride = 0) {
  TamixImage image = packed(y, Tamix_I420, width, height, width_stride).image();
  image.data[1] = const_cast<std::remove_const_t<T>*>(u);
  image.data[2] = const_cast<std::remove_const_t<T>*>(v);
  return ViewOf<T>(image);
}

/// Settings of a run, with the defaults of initTamixParams. TamixParams says what they mean.
struct Settings {
  ///@{
  /// As in TamixParams.
  int32_t op_mode = -1;
  std::array<int32_t, 4> border_params{};
  int32_t interpolation = -1;
  int32_t geom_border_type = -1;
  int32_t geom_border_value = -1;
  const uint8_t* geom_border_value_ptr = nullptr;
  uint32_t* nonzero_count = nullptr;
  int32_t kernel_size = -1;
  int32_t kernel_height = -1;
  int32_t kernel_width = -1;
  int32_t morph_shape = -1;
  int32_t morph_type = -1;
  int32_t border_type = -1;
  int32_t border_value = 0;
  int32_t iterations = 1;
  int32_t abs_output = 0;
  double scale = 0;
  double delta = 0;
  uint8_t* kernel = nullptr;
  float* mean_out = nullptr;
  float* std_out = nullptr;
  float mean_value = 0;
  float std_value = 0;
  const float* mean = nullptr;
  const float* std = nullptr;
  int32_t reorder = 0;
  double affine_angle = 0;
  double affine_scale = 1;
  double abs_scale = 0;
  double offset = 0;
  int32_t hist_dims = 0;
  std::array<int32_t, 4> hist_size{};
  std::array<int32_t, 4> hist_channels{0, 1, 2, 3};
  std::array<int32_t, 4> hrange_max{255, 255, 255, 255};
  std::array<int32_t, 4> hrange_min{};
  double* thresh = nullptr;
  double maxval = -1;
  int32_t thresh_type = -1;
  int32_t fuse_overlap = 0;
  int32_t fuse_direction = 0;
  const float* fuse_weights = nullptr;
  ///@}

  /// Writes all of them into a record.
  void writeTo(TamixParams& params) const;
};

/// Configuration of an instance. Unlike the C interface's default, the calling thread stays on the cores it runs on; perf_level
/// 2 binds it to the big ones.
struct Config {
  ///@{
  /// As in TamixConfig.
  int32_t perf_level = -1;
  int32_t num_threads = 2;
  int32_t log_level = 2;
  ///@}
};

/// An instance of the library. One thread at a time may use it.
class Instance {
 public:
  /// Creates it; status() says whether that worked.
  explicit Instance(const Config& config = {});
  ~Instance() { release(); }
  /// What was moved from has no instance any more: its runs return TAMIX_ERR_INVALID_HANDLE.
  Instance(Instance&& other) noexcept { swap(other); }
  /// The same.
  Instance& operator=(Instance&& other) noexcept {
    Instance taken(std::move(other));
    swap(taken);
    return *this;
  }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  /// What became of its creation. Runs of an instance that could not be created return it.
  Status status() const { return status_; }
  /// For the C interface; the instance keeps it.
  TamixHandle handle() const { return handle_; }

  /// Makes an operator ready; run() does so the first time.
  Status prepare(int32_t operator_type);
  /// Runs an operator on up to four inputs and outputs.
  Status run(int32_t operator_type, std::initializer_list<ConstView> inputs, std::initializer_list<View> outputs,
             const Settings& settings = {});
  /// Runs an operator on a whole record, in which it leaves completed strides and the size of a fused image.
  Status run(int32_t operator_type, TamixParams& params);

 private:
  void release() {
    if (handle_ != nullptr) releaseTamix(&handle_);
  }
  void swap(Instance& other) {
    std::swap(handle_, other.handle_);
    std::swap(status_, other.status_);
    std::swap(ready_, other.ready_);
  }

  TamixHandle handle_ = nullptr;
  Status status_ = TAMIX_ERR_INVALID_HANDLE;
  uint64_t ready_[2] = {};  // a bit for each operator type
};

inline void Settings::writeTo(TamixParams& params) const {
  params.op_mode = op_mode;
  std::copy(border_params.begin(), border_params.end(), params.border_params);
  params.interpolation = interpolation;
  params.geom_border_type = geom_border_type;
  params.geom_border_value = geom_border_value;
  params.geom_border_value_ptr = const_cast<uint8_t*>(geom_border_value_ptr);
  params.nonzero_count = nonzero_count;
  params.kernel_size = kernel_size;
  params.kernel_height = kernel_height;
  params.kernel_width = kernel_width;
  params.morph_shape = morph_shape;
  params.morph_type = morph_type;
  params.border_type = border_type;
  params.border_value = border_value;
  params.iterations = iterations;
  params.abs_output = abs_output;
  params.scale = scale;
  params.delta = delta;
  params.kernel = kernel;
  params.mean_out = mean_out;
  params.std_out = std_out;
  params.mean_value = mean_value;
  params.std_value = std_value;
  params.mean = const_cast<float*>(mean);
  params.std = const_cast<float*>(std);
  params.reorder = reorder;
  params.affine_angle = affine_angle;
  params.affine_scale = affine_scale;
  params.abs_scale = abs_scale;
  params.offset = offset;
  params.hist_dims = hist_dims;
  std::copy(hist_size.begin(), hist_size.end(), params.hist_size);
  std::copy(hist_channels.begin(), hist_channels.end(), params.hist_channels);
  std::copy(hrange_max.begin(), hrange_max.end(), params.hrange_max);
  std::copy(hrange_min.begin(), hrange_min.end(), params.hrange_min);
  params.thresh = thresh;
  params.maxval = maxval;
  params.thresh_type = thresh_type;
  params.fuse_overlap = fuse_overlap;
  params.fuse_direction = fuse_direction;
  params.fuse_weights = const_cast<float*>(fuse_weights);
}

inline Instance::Instance(const Config& config) {
  TamixConfig record;
  initTamixConfig(&record);
  record.perf_level = config.perf_level;
  record.num_threads = config.num_threads;
  record.log_level = config.log_level;
  status_ = initTamix(&handle_, &record);
}

inline Status Instance::prepare(int32_t operator_type) {
  if (!status_) return status_;
  const bool is_known = operator_type >= 0 && operator_type < 128;
  const uint64_t bit = uint64_t{1} << (operator_type & 63);
  if (is_known && (ready_[operator_type / 64] & bit) != 0) return TAMIX_OK;
  Status status = registTamixOperator(handle_, operator_type);
  if (status == TAMIX_ERR_CREATE_OPERATOR) ready_[0] = ready_[1] = 0;  // that dropped the operators registered before
  if (status == TAMIX_ERR_INVALID_ARGUMENT) status = TAMIX_OK;         // the caller registered it through handle()
  if (status && is_known) ready_[operator_type / 64] |= bit;
  return status;
}

inline Status Instance::run(int32_t operator_type, std::initializer_list<ConstView> inputs, std::initializer_list<View> outputs,
                            const Settings& settings) {
  TamixParams params;
  initTamixParams(&params);
  if (inputs.size() > std::size(params.input) || outputs.size() > std::size(params.output)) return TAMIX_ERR_INVALID_ARGUMENT;
  std::transform(inputs.begin(), inputs.end(), params.input, [](const ConstView& view) { return view.image(); });
  std::transform(outputs.begin(), outputs.end(), params.output, [](const View& view) { return view.image(); });
  settings.writeTo(params);
  return run(operator_type, params);
}

inline Status Instance::run(int32_t operator_type, TamixParams& params) {
  const Status status = prepare(operator_type);
  return status ? Status(runTamix(handle_, operator_type, &params)) : status;
}

}  // namespace tamix::camera
