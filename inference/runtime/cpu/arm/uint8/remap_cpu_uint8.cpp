#include "inference/runtime/cpu/arm/uint8/remap_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/sample_bicubic.h"
#include "inference/runtime/cpu/arm/common/sample_bilinear.h"
#include "inference/runtime/cpu/arm/common/sample_nearest.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// Rounded map values of a strip.
void roundMap(const float* map, int32_t n, int32_t* out) {
  walkRow<float>(static_cast<size_t>(n), [&](auto d, size_t i) {
    hn::StoreU(roundToInt32(d, hn::LoadU(d, map + i)), hn::RebindToSigned<decltype(d)>(), out + i);
  });
}

// The map values of a block in the block's layout. Entries beyond the destination repeat its last column or row.
template <Layout kLayout>
void copyMap(Plane<const float> map, const BlockArea& area, float* out) {
  constexpr int32_t kColumns = groupColumns(kLayout);
  for (int32_t r = 0; r < blockRows(kLayout); ++r) {
    const float* const row = map.row(ptrdiff_t{area.y} + std::min(r, area.rows - 1)) + area.x;
    float* first = out + entryOf(kLayout, r, 0);
    int32_t c = 0;
    for (; c + kColumns <= area.columns; c += kColumns, first += kGroup) std::memcpy(first, row + c, kColumns * sizeof(float));
    if (c == area.columns) continue;
    for (int32_t k = 0; k < kColumns; ++k) first[k] = row[std::min(c + k, area.columns - 1)];
  }
}

BlockTarget target(Plane<uint8_t> dst, const BlockArea& area, int32_t channels) {
  return {dst.row(area.y) + ptrdiff_t{area.x} * channels, dst.pitch, area.columns, area.rows};
}

struct Maps {
  Plane<const float> x;
  Plane<const float> y;
};

void remapNearest(const SourceImage& src, Plane<uint8_t> dst, int32_t width, int32_t height, const Maps& maps,
                  const uint8_t* border) {
  WholePositions at;
  forEachBlock(Layout::kStrip, width, height, [&](const BlockArea& area) {
    roundMap(maps.x.row(area.y) + area.x, area.columns, at.x);
    roundMap(maps.y.row(area.y) + area.x, area.columns, at.y);
    const BlockTarget out = target(dst, area, src.channels);
    return border != nullptr ? remapNearestNeighborConst_(src, at, out, border) : remapNearestNeighborReplicate_(src, at, out);
  });
}

template <Layout kLayout>
void remapLinear(const SourceImage& src, Plane<uint8_t> dst, int32_t width, int32_t height, const Maps& maps,
                 const uint8_t* border) {
  FloatPositions at;
  forEachBlock(kLayout, width, height, [&](const BlockArea& area) {
    copyMap<kLayout>(maps.x, area, at.x);
    copyMap<kLayout>(maps.y, area, at.y);
    const BlockTarget out = target(dst, area, src.channels);
    return border != nullptr ? remapLinearConst_(src, at, area, out, border) : remapLinearReplicate_(src, at, area, out);
  });
}

// How the four combinations of interpolation and border name themselves in refusals.
struct Path {
  const char* params;
  const char* channels;
};
constexpr Path kPaths[2][2] = {{{"remapNearestNeighborConst", "remapNearestConstCPUUINT8"},
                                {"remapNearestNeighborReplicate", "remapNearestReplicateCPUUINT8"}},
                               {{"remapLinearConstCPUUINT8", "remapLinearConstCPUUINT8"},
                                {"remapLinearReplicateCPUUINT8", "remapLinearReplicateCPUUINT8"}}};

bool servesChannels(bool linear, bool constant, int32_t channels) {
  if (channels == 1 || channels == 3) return true;
  return !linear && (!constant || channels == 4);
}

}  // namespace

bool remapNearestNeighborReplicate_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst) {
  switch (src.channels) {
    case 1:
      sampleNearest<1, false>(src, at, dst.data, dst.columns, nullptr);
      return true;
    case 2:
      sampleNearest<2, false>(src, at, dst.data, dst.columns, nullptr);
      return true;
    case 3:
      sampleNearest<3, false>(src, at, dst.data, dst.columns, nullptr);
      return true;
    case 4:
      sampleNearest<4, false>(src, at, dst.data, dst.columns, nullptr);
      return true;
    default:
      return true;  // no bytes in a pixel
  }
}

bool remapNearestNeighborConst_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst,
                                const uint8_t* border) {
  switch (src.channels) {
    case 1:
      sampleNearest<1, true>(src, at, dst.data, dst.columns, border);
      return true;
    case 3:
      sampleNearest<3, true>(src, at, dst.data, dst.columns, border);
      return true;
    case 4:
      sampleNearest<4, true>(src, at, dst.data, dst.columns, border);
      return true;
    default:
      TAMIX_ERROR("remapNearestNeighborConst dosen't support channel = %d \n", src.channels);
      return false;
  }
}

bool remapLinearReplicate_(const SourceImage& src, FloatPositions& at, const BlockArea& area, const BlockTarget& dst) {
  switch (src.channels) {
    case 1:
      sampleBilinearGray<BlendRounding::kDown>(src, at, area, dst, nullptr);
      return true;
    case 3:
      sampleBilinearRgb<BlendRounding::kDown>(src, at, area, dst, nullptr);
      return true;
    default:
      TAMIX_ERROR("remapLinearReplicate dosen't support channel = %d \n", src.channels);
      return false;
  }
}

bool remapLinearConst_(const SourceImage& src, FloatPositions& at, const BlockArea& area, const BlockTarget& dst,
                       const uint8_t* border) {
  switch (src.channels) {
    case 1:
      sampleBilinearGray<BlendRounding::kNearestEven>(src, at, area, dst, border);
      return true;
    case 3:
      sampleBilinearRgb<BlendRounding::kNearestEven>(src, at, area, dst, border);
      return true;
    default:
      TAMIX_ERROR("remapLinearConst dosen't support channel = %d \n", src.channels);
      return false;
  }
}

bool remapBicubicConst_(const SourceImage& src, const WholePositions& at, const BlockTarget& dst, const uint8_t* border) {
  switch (src.channels) {
    case 1:
      sampleBicubic<1>(src, at, dst.data, dst.columns, border);
      return true;
    case 3:
      sampleBicubic<3>(src, at, dst.data, dst.columns, border);
      return true;
    default:
      TAMIX_ERROR("remapBicubicConst dosen't support channel = %d \n", src.channels);
      return false;
  }
}

int32_t remapCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t src_width, int32_t src_height, int64_t src_pitch,
                      int32_t dst_width, int32_t dst_height, int64_t dst_pitch, int32_t channels, const float* x_map,
                      const float* y_map, int32_t x_map_stride, int32_t y_map_stride, int32_t interpolation,
                      int32_t border_type, const uint8_t* border_value, int32_t /*num_threads*/) {
  const bool linear = interpolation == TAMIX_INTERPOLATION_BILINEAR;
  const bool constant = border_type == TAMIX_BORDER_CONSTANT;
  TAMIX_REQUIRE(linear || interpolation == TAMIX_INTERPOLATION_NEAREST, TAMIX_ERR_UNSUPPORTED,
                "remapCPUINT8 unsupported interpolation type: %d", interpolation);
  TAMIX_REQUIRE(constant || border_type == TAMIX_BORDER_REPLICATE, TAMIX_ERR_UNSUPPORTED,
                "remapCPUINT8 %s unsupported borderType type: %d", linear ? "LINEAR" : "NEAREST", border_type);
  const Path& path = kPaths[linear][!constant];
  if (anyNull(src, dst) || src_width > src_pitch || dst_width > dst_pitch || channels > 4 || dst_width > x_map_stride ||
      (constant && border_value == nullptr)) {
    TAMIX_ERROR("%s params error! \n", path.params);
    TAMIX_ERROR(
        " src: %p, src_width: %d, src_height: %d, src_stride %d,dst: %p, dst_width: %d, dst_height: %d ,dst_stride %d, "
        "channels: %d \n",
        static_cast<const void*>(src), src_width, src_height, static_cast<int32_t>(src_pitch), static_cast<const void*>(dst),
        dst_width, dst_height, static_cast<int32_t>(dst_pitch), channels);
    return TAMIX_ERR_UNSUPPORTED;
  }
  TAMIX_REQUIRE(servesChannels(linear, constant, channels), TAMIX_ERR_UNSUPPORTED, "%s dosen't support channel = %d \n",
                path.channels, channels);
  const SourceImage source{src, src_width, src_height, src_pitch, channels};
  if (source.empty()) return TAMIX_OK;
  const Plane<uint8_t> out{dst, dst_pitch};
  const Maps maps{{x_map, x_map_stride}, {y_map, y_map_stride}};
  const uint8_t* const border = constant ? border_value : nullptr;
  const auto run = !linear                                      ? remapNearest
                   : bilinearLayout(channels) == Layout::kTiles ? remapLinear<Layout::kTiles>
                                                                : remapLinear<Layout::kStrip>;
  run(source, out, dst_width, dst_height, maps, border);
  return TAMIX_OK;
}

}  // namespace tamix
