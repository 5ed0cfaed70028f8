// Prints what every operator serves, found out by calling it: docs/capabilities.md, or with --pages the part of it that stands
// in each operator's page. scripts/docs.py compares both with what is committed.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <iostream>
#include <sstream>

#include "tests/docs/plausible_call.h"

namespace tamix::docs {
namespace {

using Words = std::vector<std::string>;

std::string joined(const Words& words, const char* between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

bool isColourConversion(int32_t type) { return type >= TAMIX_OP_COLOR_TO_HSV && type <= TAMIX_OP_YUV_TO_COLOR; }
bool isSolve(int32_t type) { return type == TAMIX_OP_GET_PERSPECTIVE_TRANSFORM; }
bool hasPixels(int32_t type) { return type != TAMIX_OP_GET_STRUCTURING_ELEMENT && !isSolve(type); }
// The number of channels of one side is another one's image count.
bool keepsInput(int32_t type) { return type == TAMIX_OP_MERGE; }
bool keepsOutput(int32_t type) { return type == TAMIX_OP_SPLIT || type == TAMIX_OP_COLOR_TO_GRAY; }

// True where a pair says nothing that the frame of the luma plane, or the operator's other mode, does not say.
bool isLeftOut(const Case& c, const Layout& in, const Layout& out) {
  if (c.type == TAMIX_OP_RESIZE_BILINEAR && (in == out) != (c.in == c.out)) return true;
  return (in == kLuma || out == kLuma) && (!(in == out) || isColourConversion(c.type));
}

bool haveEqualChannels(const Layout& in, const Layout& out) {
  const auto channels = [](const Layout& layout) { return layout == kGray ? 1 : layout == kRgba || layout == kBgra ? 4 : 3; };
  return channels(in) == channels(out);
}

// What is served of pairs of layouts; inputs with the same outputs share a line.
std::string formats(const Case& c) {
  if (!hasPixels(c.type)) return "not read";
  Words equal;
  std::vector<std::pair<Words, Words>> groups;
  bool goes_by_channels = true;
  bool goes_by_formats = true;
  for (const Layout& in : kLayouts) {
    if (!hasOutputImage(c.type)) {
      if (call(c, {.in = in}).served()) equal.push_back(in.name);
      continue;
    }
    Words outs;
    size_t packed = 0;
    for (const Layout& out : kLayouts) {
      if (isLeftOut(c, in, out)) continue;
      const bool served = call(c, {.in = in, .out = out}).served();
      if (served) (in == out ? equal : outs).push_back(out.name);
      if (served && in == out) outs.push_back(out.name);
      if (in == out) continue;
      goes_by_formats &= !served;
      if (in.isFrame() || out.isFrame()) continue;
      goes_by_channels &= served == (call(c, {.in = in, .out = in}).served() && haveEqualChannels(in, out));
      packed += served ? 1 : 0;
    }
    if (outs.empty()) continue;
    if (packed == 5 && outs.size() == 6) outs = {"any packed one"};
    const auto same = std::ranges::find_if(groups, [&](const auto& group) { return group.second == outs; });
    same == groups.end() ? groups.push_back({{in.name}, outs}) : same->first.push_back(in.name);
  }
  if (goes_by_formats) return joined(equal, ", ");
  if (goes_by_channels && !equal.empty())
    return joined(equal, ", ") + "; packed ones also to one another where channels are equal";
  Words lines;
  for (const auto& [ins, outs] : groups) {
    lines.push_back((ins.size() == 6 && outs.size() == 1 ? "any packed one" : joined(ins, ", ")) + " to " + joined(outs, ", "));
  }
  return joined(lines, "; ");
}

std::string channels(const Case& c) {
  if (!hasPixels(c.type)) return "";
  if (isColourConversion(c.type) || (c.type == TAMIX_OP_RESIZE_BILINEAR && !(c.in == c.out))) return "by format";
  Words served;
  constexpr int32_t kMost = 6;
  for (int32_t channel = 1; channel <= kMost; ++channel) {
    const Layout layout{"", Tamix_GRAY, channel};
    Variation v{.in = layout, .out = layout};
    if (keepsInput(c.type)) v.in = c.in;
    if (keepsOutput(c.type)) v.out = c.out;
    if (call(c, v).served()) served.push_back(std::to_string(channel));
  }
  return served.size() == kMost ? "any" : joined(served, ", ");
}

std::string typeName(int32_t type) { return type == Tamix_UINT8 ? "u8" : "f32"; }

// Calls visit(types) for every combination.
void forEachTypes(const Case& c, const std::function<void(const std::vector<int32_t>&)>& visit) {
  const size_t n = typedInputs(c.type) + (hasOutputImage(c.type) ? 1 : 0);
  for (size_t bits = 0; bits < size_t{1} << n; ++bits) {
    std::vector<int32_t> types;
    for (size_t k = 0; k < n; ++k) types.push_back((bits >> (n - 1 - k) & 1) == 0 ? Tamix_UINT8 : Tamix_FLOAT32);
    visit(types);
  }
}

std::string types(const Case& c) {
  if (c.type == TAMIX_OP_GET_STRUCTURING_ELEMENT) return "u8 (settings)";
  Words served;
  forEachTypes(c, [&](const std::vector<int32_t>& of) {
    if (!call(c, {.types = of}).served()) return;
    Words inputs;
    for (size_t k = 0; k < typedInputs(c.type); ++k) inputs.push_back(typeName(of[k]));
    served.push_back(joined(inputs, ", ") + (hasOutputImage(c.type) ? " → " + typeName(of.back()) : ""));
  });
  return joined(served, "; ");
}

// The least size from which on every one is served, in one direction.
std::string smallest(const Case& c) {
  if (!hasPixels(c.type)) return "";
  constexpr int32_t kEnough = 24;
  const int32_t step = c.in.isFrame() || c.out.isFrame() ? 2 : 1;
  const auto least = [&](const auto& sizeOf) {
    int32_t n = kEnough;
    while (n > step && call(c, {.size = sizeOf(n - step)}).served()) n -= step;
    return std::to_string(n);
  };
  return least([](int32_t n) { return Size{n, 20}; }) + " x " + least([](int32_t n) { return Size{48, n}; });
}

std::string outputSize(const Case& c) {
  if (!hasOutputImage(c.type)) return "no output image";
  const bool larger = call(c, {.growth = {2, 2}}).served();
  const bool smaller = call(c, {.growth = {-2, -2}}).served();
  return larger && smaller ? "any" : larger ? "as given or larger" : "as given";
}

// Images of padded rows against packed ones.
std::string rowPadding(const Case& c) {
  if (!hasPixels(c.type)) return "packed";
  const Result packed = call(c, {});
  const auto outcome = [&](int32_t in, int32_t out) -> std::string {
    const Result padded = call(c, {.in_padding = in, .out_padding = out});
    if (padded.status != TAMIX_OK) return "refused";
    return padded.bytes == packed.bytes && padded.kept_padding ? "honoured" : "not heeded";
  };
  const std::string in = outcome(8, 0);
  if (!hasOutputImage(c.type)) return in;
  const std::string out = outcome(0, 8);
  const std::string both = outcome(8, 8);
  if (in == out && in == both) return in;
  return "of the input " + in + ", of the output " + out + ", equal in both " + both;
}

// Where an input's size and element size are the output's, its planes may be the output's.
std::string inPlace(const Case& c) {
  if (!hasOutputImage(c.type) || !hasPixels(c.type) || c.type == TAMIX_OP_SPLIT) return "no";
  const size_t images = c.type == TAMIX_OP_ADD || c.type == TAMIX_OP_SUBTRACT || c.type == TAMIX_OP_MULTIPLE ||
                                c.type == TAMIX_OP_DIVIDE || c.type == TAMIX_OP_GUIDED_FILTER ||
                                (c.type >= TAMIX_OP_BITWISE_AND && c.type < TAMIX_OP_BITWISE_NOT)
                            ? 2
                            : 1;
  bool all = true;
  bool any = false;
  forEachTypes(c, [&](const std::vector<int32_t>& of) {
    if (std::ranges::any_of(of, [&](int32_t type) { return type != of[0]; })) return;
    for (const Size& size : {Size{48, 20}, Size{130, 38}}) {
      const Result apart = call(c, {.types = of, .size = size});
      if (!apart.served()) continue;
      any = true;
      for (size_t k = 0; k < images && all; ++k) {
        const Variation v{.types = of, .size = size, .in_place = static_cast<int32_t>(k)};
        all = mayShare(c, v) && call(c, v).bytes == apart.bytes;
      }
    }
  });
  return any && all ? "yes" : "no";
}

// A round number above.
std::string upTo(int64_t bytes) {
  int64_t bound = 1024;
  while (bound < bytes) bound *= 2;
  return bound < 1 << 20 ? std::to_string(bound / 1024) + " KiB" : std::to_string(bound / (1 << 20)) + " MiB";
}

std::string scratch(const Case& c) {
  const int64_t bytes = call(c, {.size = {640, 480}}).scratch;
  const auto exceeds = [&](int64_t other) { return other * 2 > bytes * 3; };
  const auto amount = [&](const Variation& v) -> std::string {
    const int64_t least = call(c, v).scratch;
    if (least == 0) return "none";
    const auto grows = [&](Size size) {
      Variation larger = v;
      larger.size = size;
      return call(c, larger).scratch * 2 > least * 3;
    };
    return upTo(least) + (grows({640, 960}) ? ", grows with the image" : grows({1280, 480}) ? ", grows with the width" : "");
  };
  std::string text = amount({.size = {640, 480}});
  if (inPlace(c) != "yes") return text;
  const std::vector<int32_t> floats(typedInputs(c.type) + 1, Tamix_FLOAT32);
  Variation shared{.size = {640, 480}, .in_place = 0};
  if (c.out_type == Tamix_FLOAT32) shared.types = floats;
  if (exceeds(call(c, shared).scratch)) text += "; in place " + amount(shared);
  return text;
}

// What the values of a setting come to.
struct Swept {
  Words served;
  Words refused;
  std::string by_default;
};

Swept sweep(const Case& c, const Sweep& s) {
  Swept swept;
  const auto with = [&](int32_t value, std::vector<Setting> more = {}) {
    more.push_back({s.field, value});
    return call(c, {.settings = std::move(more), .corner_element = s.field == &TamixParams::border_type});
  };
  const bool has_default = std::strcmp(s.values[0].second, "default") == 0;
  for (const auto& [value, name] : s.values) {
    if (value == -1 && has_default) continue;
    (with(value).served() ? swept.served : swept.refused).push_back(name);
  }
  if (!has_default) {
    swept.by_default = "itself";
    return swept;
  }
  const Result by_default = with(-1);
  if (!by_default.served()) {
    swept.by_default = "none: it must be set";
    return swept;
  }
  for (const auto& [value, name] : s.values) {
    if (value == -1) continue;
    for (const int32_t border_value : {0, 255}) {
      const Result other = with(value, {{&TamixParams::border_value, border_value}});
      if (!swept.by_default.empty() || !other.served() || other.bytes != by_default.bytes) continue;
      swept.by_default = name + std::string(border_value == 255 ? " of 255" : "");
    }
  }
  return swept;
}

std::string linkTo(const Case& c) {
  return "[" + std::string(c.name) + "](operators/" + c.name + ".md)" + (*c.mode == '\0' ? "" : std::string(", ") + c.mode);
}

void printRow(const Words& cells) { std::cout << "| " << joined(cells, " | ") << " |\n"; }
void printHead(const Words& cells) {
  printRow(cells);
  printRow(Words(cells.size(), "---"));
}

using Property = std::pair<const char*, std::string (*)(const Case&)>;
constexpr Property kLayoutProperties[] = {{"Formats", formats}, {"Channels", channels}, {"Element types", types}};
constexpr Property kMemoryProperties[] = {{"Least size", smallest},
                                          {"Output size", outputSize},
                                          {"Row padding", rowPadding},
                                          {"In place", inPlace},
                                          {"Scratch memory", scratch}};

template <size_t kCount>
void printTable(const Property (&properties)[kCount]) {
  Words head = {"Operator"};
  for (const auto& [name, find] : properties) head.push_back(name);
  printHead(head);
  for (const Case& c : cases()) {
    Words cells = {linkTo(c)};
    for (const auto& [name, find] : properties) cells.push_back(find(c));
    printRow(cells);
  }
}

void printSweeps(const Case& c, const std::string& name) {
  for (const Sweep& s : c.sweeps) {
    const Swept swept = sweep(c, s);
    Words cells = {"`" + std::string(s.name) + "`", joined(swept.served, ", "), joined(swept.refused, ", "), swept.by_default};
    if (!name.empty()) cells.insert(cells.begin(), name);
    printRow(cells);
  }
}

void printMatrix() {
  std::cout << R"(# Capabilities

Found out by calling every operator; the test command fails where this page and the library differ. What the words mean:

- **Formats**: of input 0 and output 0, with `channel` 0 (Lab: 3). A list stands for equal formats on both sides. "luma of a
  frame" is a frame with `channel` 1; "I420 in two planes" is one without `data[2]`.
- **Channels**: of a packed image whose `channel` is set, out of 1 to 6.
- **Element types**: of the images to be combined → of the output. u8: `Tamix_UINT8`, f32: `Tamix_FLOAT32`.
- **Least size**: width x height from which on everything is served, for the formats of the operator's first test.
- **Output size**: "as given": the one that follows from inputs and settings.
- **Row padding**: of images whose `width_stride` is larger than their width. "not heeded": rows are taken as packed, or with
  another image's stride.
- **In place**: the output's plane may be the plane of an image to be combined, with equal element sizes and strides.
- **Scratch memory**: asked for by one run at 640x480, rounded up to a power of two.

The largest size is what 32-bit fields can say: products of sizes have 64 bits.

## Formats and types

)";
  printTable(kLayoutProperties);
  std::cout << "\n## Sizes and memory\n\n";
  printTable(kMemoryProperties);
  std::cout << "\n## Settings\n\nValues that were tried, one at a time.\n\n";
  printHead({"Operator", "Setting", "Served", "Refused or left alone", "-1 stands for"});
  for (const Case& c : cases()) printSweeps(c, linkTo(c));
}

// For each operator a line "@ NAME", then a table with a column for each of its modes, and one of the settings.
void printPages() {
  const auto& all = cases();
  for (auto first = all.begin(); first != all.end();) {
    const auto end = std::find_if(first, all.end(), [&](const Case& c) { return c.type != first->type; });
    std::cout << "@ " << first->name << "\n";
    Words head = {""};
    for (auto c = first; c != end; ++c) head.push_back(*c->mode == '\0' ? "" : c->mode);
    printHead(head);
    const auto printRows = [&](const auto& properties) {
      for (const auto& [name, find] : properties) {
        Words cells = {name};
        for (auto c = first; c != end; ++c) cells.push_back(find(*c));
        if (std::any_of(cells.begin() + 1, cells.end(), [](const std::string& cell) { return !cell.empty(); })) printRow(cells);
      }
    };
    printRows(kLayoutProperties);
    printRows(kMemoryProperties);
    if (std::any_of(first, end, [](const Case& c) { return !c.sweeps.empty(); })) {
      const bool has_modes = end - first > 1;
      std::cout << "\n";
      Words titles = {"Setting", "Served", "Refused or left alone", "-1 stands for"};
      if (has_modes) titles.insert(titles.begin(), "");
      printHead(titles);
      for (auto c = first; c != end; ++c) printSweeps(*c, has_modes ? c->mode : "");
    }
    first = end;
  }
}

}  // namespace
}  // namespace tamix::docs

int main(int argc, char** argv) {
  const bool pages = argc > 1 && std::string(argv[1]) == "--pages";
  pages ? tamix::docs::printPages() : tamix::docs::printMatrix();
}
