// What every operator file uses: kernels, planes, shared refusals, registration.
#pragma once

#include <algorithm>
#include <new>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/cpu_runtime.h"
#include "inference/runtime/cpu/kernel_table.h"
#include "inference/utils/tamix_log.h"
#include "tamix/framework.hpp"

namespace tamix {

// The kernels that a runtime's operators call.
inline const KernelTable& kernels(const Runtime* runtime) {
  return runtime == nullptr || runtime->kernelTable() == nullptr ? kernelTable() : *runtime->kernelTable();
}

// A plane of an image as elements.
template <class T>
T* data(const TamixImage& image, int32_t plane = 0) {
  return static_cast<T*>(image.data[plane]);
}

template <class... Values>
constexpr bool isOneOf(int32_t value, Values... values) {
  return ((value == values) || ...);
}

// True when the plane that dst declares holds that many rows.
inline bool holdsRows(const TamixImage& dst, int32_t height, int32_t width) {
  if (dst.width_stride < 0) return false;
  const int32_t rows = std::max(dst.height, dst.height_stride);
  return planeElements(height, width, dst.width_stride) <= planeElements(rows, dst.width, dst.width_stride);
}

// The same for the plane of chroma pairs.
inline bool holdsPairs(const TamixImage& dst, int32_t height, int32_t width) {
  if (dst.width_stride < 0) return false;
  const int32_t rows = std::max(dst.height, dst.height_stride) / 2;
  return planeElements(height, width, dst.width_stride) <= planeElements(rows, dst.width / 2 * 2, dst.width_stride);
}

// Kernels that take the size of src write its rows.
inline bool holdsRowsOf(const TamixImage& dst, const TamixImage& src) { return holdsRows(dst, src.height, src.width); }

// False for an operator whose set-up failed: its class says so by isComplete().
template <class Class>
bool isUsable(const Class& made) {
  if constexpr (requires { made.isComplete(); }) return made.isComplete();
  return true;
}

inline bool isFrame(const TamixImage& image) { return isOneOf(image.format, Tamix_I420, Tamix_NV12, Tamix_NV21); }

// False where a pixel's channels are spread over planes.
inline bool isOnePlane(const TamixImage& image) { return image.channel <= 1 || !isFrame(image); }

// Registers an operator's creator at load. The instance owns what the creator makes.
template <class Creator>
class OperatorRegistration {
 public:
  explicit OperatorRegistration(int32_t type) { addCPUOperator(type, new Creator); }
};

}  // namespace tamix

// Defines the creator of an operator class and registers it under its type. An operator that is not usable is made all the
// same, but not marked ready.
#define TAMIX_REGISTER_OPERATOR(type, Class, Creator)                  \
  class Creator final : public Runtime::OperatorCreator {              \
   public:                                                             \
    Operator* create(Runtime* runtime) const override {                \
      Class* const made = new (std::nothrow) Class(runtime);           \
      if (made != nullptr && tamix::isUsable(*made)) made->setReady(); \
      return made;                                                     \
    }                                                                  \
  };                                                                   \
  [[maybe_unused]] static const OperatorRegistration<Creator> register##Class(type)

// Refuses images of unequal width or height.
#define TAMIX_REQUIRE_SAME_SIZE(src, dst) \
  TAMIX_REQUIRE_FITTING((src).width == (dst).width && (src).height == (dst).height, src, dst)

// Refuses an output whose declared planes cannot hold what the input makes.
#define TAMIX_REQUIRE_ROOM(src, dst) TAMIX_REQUIRE_FITTING(tamix::holdsRowsOf(dst, src), src, dst)
#define TAMIX_REQUIRE_FITTING(condition, src, dst)                                                                     \
  TAMIX_REQUIRE(condition, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output shape: (%d, %d) and (%d, %d)", \
                (src).height, (src).width, (dst).height, (dst).width)

// Refuses strides below the width.
#define TAMIX_REQUIRE_STRIDES(src, dst)                                                                        \
  TAMIX_REQUIRE((dst).width_stride >= (dst).width && (src).width_stride >= (src).width, TAMIX_ERR_UNSUPPORTED, \
                "Recieve unsupported stride: %d %d", (src).width_stride, (dst).width_stride)

// Refuses images of unequal channel counts.
#define TAMIX_REQUIRE_SAME_CHANNEL(src, dst)                                                                                   \
  TAMIX_REQUIRE((src).channel == (dst).channel, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported input and output channel: %d, %d", \
                (src).channel, (dst).channel)

// Refuses other element types than the given ones.
#define TAMIX_REQUIRE_TYPE(image, ...)                                                                                 \
  TAMIX_REQUIRE(tamix::isOneOf((image).type, __VA_ARGS__), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", \
                (image).type)

// Refuses images whose pixels are spread over several planes: data[0] holds one byte a pixel then, not `channel` of them.
#define TAMIX_REQUIRE_ONE_PLANE(image)                                                                                   \
  TAMIX_REQUIRE(tamix::isOnePlane(image), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data format: %d with %d channels", \
                (image).format, (image).channel)

// Refuses frames of luma and chroma planes where an operator takes pixels of several bytes whatever the format.
#define TAMIX_REQUIRE_PACKED(image) \
  TAMIX_REQUIRE(!tamix::isFrame(image), TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data format: %d", (image).format)

// Refuses a float input of a kernel on bytes, before the framework converts floats that the output does not hold.
#define TAMIX_REQUIRE_NO_FLOAT(image) \
  TAMIX_REQUIRE((image).type != Tamix_FLOAT32, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported data type: %d", (image).type)
