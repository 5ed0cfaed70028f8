// A plausible call of every operator, one property of which can be varied: what the capability matrix is probed with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "tamix/tamix.h"

namespace tamix::docs {

// How the pixels of an image are laid out.
struct Layout {
  const char* name;
  int32_t format;
  int32_t channel = 0;       // 0: as the format says
  bool third_plane = false;  // of I420

  bool isFrame() const;
  bool operator==(const Layout& other) const { return name == other.name; }
};

inline constexpr Layout kGray{"GRAY", Tamix_GRAY};
inline constexpr Layout kRgb{"RGB", Tamix_RGB};
inline constexpr Layout kBgr{"BGR", Tamix_BGR};
inline constexpr Layout kRgba{"RGBA", Tamix_RGBA};
inline constexpr Layout kBgra{"BGRA", Tamix_BGRA};
inline constexpr Layout kLab{"LAB", Tamix_LAB, 3};
inline constexpr Layout kNv12{"NV12", Tamix_NV12};
inline constexpr Layout kNv21{"NV21", Tamix_NV21};
inline constexpr Layout kI420{"I420", Tamix_I420, 0, true};
inline constexpr Layout kI420Pairs{"I420 in two planes", Tamix_I420};
inline constexpr Layout kLuma{"luma of a frame", Tamix_NV21, 1};
inline constexpr std::array kLayouts = {kGray, kRgb, kBgr, kRgba, kBgra, kLab, kNv12, kNv21, kI420, kI420Pairs, kLuma};

struct Size {
  int32_t width;
  int32_t height;

  bool operator==(const Size&) const = default;
};

// A field of the record, and what stands in it.
using Field = int32_t TamixParams::*;
struct Setting {
  Field field;
  int32_t value;
};

// A setting of which all values are tried.
struct Sweep {
  const char* name;
  Field field;
  std::vector<std::pair<int32_t, const char*>> values;
};

// An operator, or one of its modes.
struct Case {
  int32_t type;
  const char* name;       // the tool's
  const char* mode = "";  // what sets this one apart from the operator's other ones
  Layout in = kRgb;
  Layout out = kRgb;
  std::vector<Setting> settings = {};
  int32_t in_type = Tamix_UINT8;
  int32_t out_type = Tamix_UINT8;
  std::vector<Sweep> sweeps = {};

  Case& layouts(const Layout& from, const Layout& to) {
    in = from;
    out = to;
    return *this;
  }
  Case& types(int32_t from, int32_t to) {
    in_type = from;
    out_type = to;
    return *this;
  }
  Case& with(Field field, int32_t value) {
    settings.push_back({field, value});
    return *this;
  }
  Case& over(std::vector<Sweep> all) {
    sweeps = std::move(all);
    return *this;
  }
};

const std::vector<Case>& cases();

// What differs from the plausible call.
struct Variation {
  std::optional<Layout> in = {};
  std::optional<Layout> out = {};
  std::vector<int32_t> types = {};  // of the input images that have one, then of the output
  Size size = {48, 20};             // of input 0
  Size growth = {0, 0};             // of the output
  int32_t in_padding = 0;           // pixels behind each row
  int32_t out_padding = 0;
  int32_t in_place = -1;  // the input whose planes the output shares
  std::vector<Setting> settings = {};
  bool corner_element = false;  // morphology by a 5x5 element with one member, which tells all borders apart
};

// What came of a call.
struct Result {
  int32_t status;
  bool wrote;                  // something besides what was there before
  bool kept_padding;           // everything between the output's rows
  std::vector<uint8_t> bytes;  // the pixels of the outputs, row by row, and the numbers that settings point to
  int64_t scratch;             // bytes of scratch memory asked for

  bool served() const { return status == TAMIX_OK && wrote; }
};

// Images of the inputs that a variation's types stand for.
size_t typedInputs(int32_t operator_type);
bool hasOutputImage(int32_t operator_type);

// True where the output's planes fit into those of the input that is to be shared, and both images have one size.
bool mayShare(const Case& probed, const Variation& variation);
Result call(const Case& probed, const Variation& variation);

}  // namespace tamix::docs
