#include "tools/tamix/bench.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <stdexcept>

#include "bench/support/memory_pass.h"
#include "tools/tamix/text.h"

namespace tamix::tool {
namespace {

using Clock = std::chrono::steady_clock;

void setValue(Picture& picture, size_t i, float value) {
  if (picture.type() == Tamix_FLOAT32) {
    picture.floats()[i] = value;
  } else {
    picture.bytes()[i] = static_cast<uint8_t>(value);
  }
}

// A smooth picture under noise.
Picture noisyPicture(int32_t format, int32_t type, Size size) {
  Picture picture(format, type, size);
  const auto row = static_cast<size_t>(size.width);
  const size_t elements = picture.bytes().size() / (type == Tamix_FLOAT32 ? sizeof(float) : 1);
  uint32_t noise = 12345;
  for (size_t i = 0; i < elements; ++i) {
    noise = noise * 1664525u + 1013904223u;
    setValue(picture, i, static_cast<float>((i % row / 8 + i / row + (noise >> 28)) & 255u));
  }
  return picture;
}

// Where each pixel comes from: gentle waves along one axis.
Picture waveMap(Size size, bool along_x) {
  Picture map(Tamix_GRAY, Tamix_FLOAT32, size);
  float* value = map.floats();
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const auto here = static_cast<float>(along_x ? x : y);
      const auto other = static_cast<float>(along_x ? y : x);
      *value++ = here + 8 * std::sin(other / 40);
    }
  }
  return map;
}

std::vector<Picture> sampleInputs(const OperatorEntry& entry, Size size) {
  std::vector<Picture> inputs;
  if (entry.fewest_inputs == 0) return inputs;
  const int32_t format = formatNamed(words(entry.formats).front()).value;
  const int32_t type = entry.elements == "float32" ? Tamix_FLOAT32 : Tamix_UINT8;
  // A concatenation of one image would be a copy.
  const size_t count = entry.type == TAMIX_OP_CONCAT ? 2 : entry.fewest_inputs;
  for (size_t i = 0; i < count; ++i) {
    const bool is_map = entry.type == TAMIX_OP_REMAP && i > 0;
    inputs.push_back(is_map ? waveMap(size, i == 1) : noisyPicture(format, type, size));
  }
  return inputs;
}

size_t bytesOf(const std::vector<Picture>& pictures) {
  size_t bytes = 0;
  for (const Picture& picture : pictures) bytes += picture.bytes().size();
  return bytes;
}

// The time of one run: the median of as many as fit into `budget`, at least three.
double medianSeconds(const Runner& runner, TamixParams& params, double budget) {
  constexpr size_t kFewestRuns = 3;
  constexpr size_t kMostRuns = 100000;
  std::vector<double> times;
  for (double spent = 0; times.size() < kFewestRuns || (spent < budget && times.size() < kMostRuns); spent += times.back()) {
    const auto start = Clock::now();
    const int32_t status = runner.run(params);
    times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    if (status != TAMIX_OK) throw std::runtime_error(std::string("the operator refused: ") + tamix_status_name(status));
  }
  std::ranges::nth_element(times, times.begin() + static_cast<ptrdiff_t>(times.size() / 2));
  return times[times.size() / 2];
}

std::vector<const OperatorEntry*> chosenOperators(const BenchOptions& options) {
  std::vector<const OperatorEntry*> chosen;
  for (const std::string& name : options.operators) chosen.push_back(&operatorNamed(name));
  if (!chosen.empty()) return chosen;
  for (const OperatorEntry& entry : operators()) chosen.push_back(&entry);
  return chosen;
}

template <class Print>
void measureAll(const BenchOptions& options, const Print& print) {
  for (const OperatorEntry* entry : chosenOperators(options)) {
    for (const Size size : options.sizes) {
      print(measure(*entry, size, options.seconds));
      if (entry->most_inputs == 0) break;  // no picture, no size
    }
  }
}

double pixelsOf(const BenchRow& row) { return static_cast<double>(row.size.width) * static_cast<double>(row.size.height); }

std::string sizeText(const BenchRow& row) {
  return row.size.empty() ? "-" : std::to_string(row.size.width) + "x" + std::to_string(row.size.height);
}

}  // namespace

BenchRow measure(const OperatorEntry& entry, Size size, double seconds) {
  const Request request = sampleRequest(entry, size);
  Job job(request, sampleInputs(entry, size));
  planOperator(entry, job);
  const Runner runner(entry.type);
  TamixParams& params = job.completedParams();
  BenchRow row{.name = entry.name};
  if (const int32_t status = runner.run(params); status != TAMIX_OK) {  // also a run to warm up
    throw std::runtime_error(std::string(entry.name) + " refused its sample: " + tamix_status_name(status));
  }
  row.seconds = medianSeconds(runner, params, seconds);
  if (entry.most_inputs == 0) return row;
  const size_t written = bytesOf(job.outputs());
  const size_t read = entry.type == TAMIX_OP_RECT_CUT ? written : bytesOf(job.inputs());
  row.size = size;
  row.bytes = static_cast<double>(read + written);
  row.pass_seconds = bench::memoryPassSeconds(read, written);
  return row;
}

void printBenchTable(std::ostream& out, const BenchOptions& options) {
  char line[160];
  std::snprintf(line, sizeof(line), "%-26s %10s %10s %9s %9s %8s\n", "operator", "size", "ms", "Mpixel/s", "GB/s", "x pass");
  out << line;
  measureAll(options, [&](const BenchRow& row) {
    int length = std::snprintf(line, sizeof(line), "%-26s %10s %10.4f", std::string(row.name).c_str(), sizeText(row).c_str(),
                               row.seconds * 1e3);
    if (!row.size.empty()) {
      std::snprintf(line + length, sizeof(line) - static_cast<size_t>(length), " %9.0f %9.2f %8.2f",
                    pixelsOf(row) / row.seconds / 1e6, row.bytes / row.seconds / 1e9, row.seconds / row.pass_seconds);
    }
    out << line << std::endl;
  });
}

void printBenchJSON(std::ostream& out, const BenchOptions& options) {
  out << "{\"version\": " << jsonText(getTamixVersion()) << ", \"rows\": [";
  const char* separator = "\n";
  measureAll(options, [&](const BenchRow& row) {
    out << separator << "  {\"operator\": " << jsonText(row.name) << ", \"ms\": " << numberText(row.seconds * 1e3);
    if (!row.size.empty()) {
      out << ", \"width\": " << row.size.width << ", \"height\": " << row.size.height
          << ", \"bytes\": " << numberText(row.bytes) << ", \"pass_ms\": " << numberText(row.pass_seconds * 1e3)
          << ", \"x_pass\": " << numberText(row.seconds / row.pass_seconds);
    }
    out << "}" << std::flush;
    separator = ",\n";
  });
  out << "\n]}\n";
}

}  // namespace tamix::tool
