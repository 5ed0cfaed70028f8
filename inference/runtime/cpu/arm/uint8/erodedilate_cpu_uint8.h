// Erosion and dilation of 3-channel 8-bit images.
#pragma once

#include <cstdint>

#include "inference/runtime/cpu/arm/common/structuring_element.h"
#include "inference/runtime/cpu/arm/common/window_extremum.h"

namespace tamix {

// The minimum over a window of kernel_height x kernel_width pixels, `iterations` times, of each of the 3 channels. The window
// begins kernel_height / 2 rows above and kernel_width / 2 columns left of the pixel. `kernel`: that many bytes, those other
// than 0 taking part; null takes all. A window without members gives 255. `anchor` must be null, unless the kernel is null and
// the window 2x2 or 3x3. In place is fine; fewer than 1 iteration leave dst alone. Windows may be larger than the image: the
// border goes on mirroring or repeating it.
int32_t erodeCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                      int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                      const uint8_t* kernel, const void* anchor, int32_t border_type, int32_t border_value, int32_t iterations,
                      int32_t num_threads);

// The same with maxima; a window without members gives 0.
int32_t dilateCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                       int32_t dst_width_stride, int32_t channel, int32_t kernel_height, int32_t kernel_width,
                       const uint8_t* kernel, const void* anchor, int32_t border_type, int32_t border_value, int32_t iterations,
                       int32_t num_threads);

// What the two kernels and the composite operations share: the arguments of erodeCPUUINT8, as they came.
struct MorphologyArguments {
  const uint8_t* src;
  uint8_t* dst;
  int32_t height;
  int32_t width;
  int32_t src_width_stride;
  int32_t dst_width_stride;
  int32_t channel;
  int32_t kernel_height;
  int32_t kernel_width;
  const uint8_t* kernel;
  const void* anchor;
  int32_t border_type;
  int32_t border_value;
  int32_t iterations;
  int32_t num_threads;
  const StructuringElement* element = nullptr;  // in place of the kernel's bytes

  MorphologyImage image() const;
  // True when an element is processed, rather than refused or left alone.
  bool usesElement() const;
};

// Erosion (kMinimum) or dilation with the checks and messages of its kernel.
int32_t erodeOrDilate(Extremum extremum, const MorphologyArguments& arguments);

}  // namespace tamix
