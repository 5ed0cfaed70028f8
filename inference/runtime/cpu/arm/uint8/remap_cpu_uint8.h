// Sampling an image at given positions: the remap kernel, and the block routines that it shares with the perspective warp.
#pragma once

#include "inference/runtime/cpu/arm/common/sample_block.h"

namespace tamix {

// dst(x, y) = src at (x_map(x, y), y_map(x, y)), in single precision. src_pitch and dst_pitch count bytes, the map strides
// floats. interpolation: 0 nearest (ties to even), 1 bilinear; border_type: 0 constant (border_value: one byte per channel),
// 1 replicate. Positions that are NaN or infinite: nearest takes NaN as 0 and infinity as outside, bilinear gives 0. An empty
// source leaves dst untouched. Every refusal is TAMIX_ERR_UNSUPPORTED.
int32_t remapCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_width, int32_t src_height, int64_t src_pitch,
                      int32_t dst_width, int32_t dst_height, int64_t dst_pitch, int32_t channels, const float* x_map,
                      const float* y_map, int32_t x_map_stride, int32_t y_map_stride, int32_t interpolation,
                      int32_t border_type, const uint8_t* border_value, int32_t num_threads);

// Block routines. Each writes one block of the destination, or logs a channel count it does not serve and returns false.
// Nearest: strips; 1 to 4 channels with replicated border, 1, 3 or 4 with constant border.
bool remapNearestNeighborReplicate_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst);
bool remapNearestNeighborConst_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst,
                                const uint8_t* border);
// Bilinear: 1 or 3 channels, in the layout bilinearLayout(channels). The positions are overwritten. The replicated border
// rounds the blend down, the constant border to the nearest, ties to even.
bool remapLinearReplicate_(const SourceImage& src, FloatPositions& at, const BlockArea& area, const BlockTarget& dst);
bool remapLinearConst_(const SourceImage& src, FloatPositions& at, const BlockArea& area, const BlockTarget& dst,
                       const uint8_t* border);
// Bicubic with constant border: strips, 1 or 3 channels, positions in 1/32 pixels.
bool remapBicubicConst_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst, const uint8_t* border);

// One channel samples windows of the source that serve a tile each; three channels fill whole rows.
constexpr Layout bilinearLayout(int32_t channels) { return channels == 1 ? Layout::kTiles : Layout::kStrip; }

}  // namespace tamix
