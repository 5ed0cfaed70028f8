#include "tools/tamix/compare.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <ostream>
#include <stdexcept>

#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

// Where a channel's values are: every step-th element from the first one on.
struct Channel {
  std::string name;
  size_t first;
  size_t step;
  Size size;
};

std::string_view channelNames(int32_t format) {
  switch (format) {
    case Tamix_RGB:
      return "R G B";
    case Tamix_BGR:
      return "B G R";
    case Tamix_RGBA:
      return "R G B A";
    case Tamix_BGRA:
      return "B G R A";
    case Tamix_LAB:
      return "L a b";
    default:
      return "gray";
  }
}

std::vector<Channel> channelsOf(const Picture& picture) {
  const Size size = picture.size();
  const Size half{size.width / 2, size.height / 2};
  const size_t luma = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
  switch (picture.format()) {
    case Tamix_I420:
      return {{"Y", 0, 1, size}, {"U", luma, 1, half}, {"V", luma + luma / 4, 1, half}};
    case Tamix_NV12:
      return {{"Y", 0, 1, size}, {"U", luma, 2, half}, {"V", luma + 1, 2, half}};
    case Tamix_NV21:
      return {{"Y", 0, 1, size}, {"U", luma + 1, 2, half}, {"V", luma, 2, half}};
    default:
      break;
  }
  std::vector<Channel> channels;
  const std::vector<std::string_view> names = words(channelNames(picture.format()));
  for (size_t c = 0; c < names.size(); ++c) channels.push_back({std::string(names[c]), c, names.size(), size});
  return channels;
}

double valueAt(const Picture& picture, size_t i) {
  if (picture.type() == Tamix_UINT8) return picture.bytes()[i];
  float value;
  std::memcpy(&value, picture.bytes().data() + i * sizeof(value), sizeof(value));
  return static_cast<double>(value);
}

double distance(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
  const double d = std::abs(a - b);
  return std::isnan(d) ? std::numeric_limits<double>::infinity() : d;
}

Difference differenceOf(const Picture& a, const Picture& b, const Channel& channel) {
  Difference difference{.channel = channel.name};
  size_t i = channel.first;
  for (int32_t y = 0; y < channel.size.height; ++y) {
    for (int32_t x = 0; x < channel.size.width; ++x, i += channel.step) {
      const double d = distance(valueAt(a, i), valueAt(b, i));
      ++difference.values;
      if (d == 0) continue;
      ++difference.differing;
      difference.squares += d * d;
      if (d <= difference.largest) continue;
      difference.largest = d;
      difference.x = x;
      difference.y = y;
    }
  }
  return difference;
}

Difference sumOf(const std::vector<Difference>& channels) {
  Difference all{.channel = "all"};
  for (const Difference& one : channels) {
    all.differing += one.differing;
    all.values += one.values;
    all.squares += one.squares;
    if (one.largest <= all.largest) continue;
    all.largest = one.largest;
    all.x = one.x;
    all.y = one.y;
  }
  return all;
}

}  // namespace

double Difference::psnr(double peak) const { return 10 * std::log10(peak * peak / (squares / static_cast<double>(values))); }

std::vector<Difference> compare(const Picture& a, const Picture& b) {
  if (a.size().width != b.size().width || a.size().height != b.size().height || a.format() != b.format() ||
      a.type() != b.type()) {
    throw std::runtime_error("cannot compare " + a.describe() + " with " + b.describe() +
                             "; --format reads PNG and JPEG files alike");
  }
  std::vector<Difference> differences;
  for (const Channel& channel : channelsOf(a)) differences.push_back(differenceOf(a, b, channel));
  differences.push_back(sumOf(differences));
  return differences;
}

void printTable(std::ostream& out, const std::vector<Difference>& differences, double peak) {
  char line[128];
  std::snprintf(line, sizeof(line), "%-8s %12s %14s %12s %10s\n", "channel", "largest", "at x,y", "differing", "PSNR dB");
  out << line;
  for (const Difference& one : differences) {
    const std::string place = one.differing == 0 ? "-" : std::to_string(one.x) + "," + std::to_string(one.y);
    std::snprintf(line, sizeof(line), "%-8s %12.9g %14s %12llu %10.2f\n", one.channel.c_str(), one.largest, place.c_str(),
                  static_cast<unsigned long long>(one.differing), one.psnr(peak));
    out << line;
  }
}

void printJSON(std::ostream& out, const std::vector<Difference>& differences, double peak) {
  out << "[";
  for (const Difference& one : differences) {
    out << (&one == differences.data() ? "\n" : ",\n") << "  {\"channel\": " << jsonText(one.channel)
        << ", \"largest\": " << numberText(one.largest) << ", \"x\": " << one.x << ", \"y\": " << one.y
        << ", \"differing\": " << one.differing << ", \"values\": " << one.values
        << ", \"psnr\": " << numberText(one.psnr(peak)) << "}";
  }
  out << "\n]\n";
}

}  // namespace tamix::tool
