#include "inference/runtime/cpu/cpu_thread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <numeric>
#include <span>
#include <utility>

#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// A CPU set of the affinity call, as the kernel reads it.
constexpr int32_t kSetBits = 1024;
constexpr int32_t kWordBits = 8 * sizeof(unsigned long);
struct CpuSet {
  unsigned long words[kSetBits / kWordBits] = {};
};
static_assert(sizeof(CpuSet) == 128);

struct FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

File openForReading(const char* path) { return File(std::fopen(path, "r")); }

// A file whose path depends on a processor number.
File openForCPU(const char* pattern, int32_t id) {
  char path[128];
  std::snprintf(path, sizeof(path), pattern, id);
  return openForReading(path);
}

// Processors of /proc/cpuinfo; -1 when unknown. More than an affinity set can name are not counted.
int32_t checkCPUCount() {
  const File file = openForReading("/proc/cpuinfo");
  TAMIX_REQUIRE(file != nullptr, -1, "Unable to open /proc/cpuinfo, check failed!");
  int32_t count = 0;
  char line[1024];
  while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
    if (std::strncmp(line, "processor", 9) == 0) ++count;
  }
  return count > 0 ? std::min(count, kSetBits) : -1;
}

const int32_t global_cpu_count = checkCPUCount();

// What getNumThreads found out, once.
struct Topology {
  std::mutex mutex;
  std::array<int32_t, kSetBits> ids;
  std::span<const int32_t> sorted_cpu_ids;  // of ids, fastest first; empty until discovered
  int32_t little_cluster_offset = 0;        // first core of the slowest cluster; 0: all cores are equal
};
Topology topology;

// The largest frequency of a "frequency time" table.
int32_t maxTableFreqKHZ(FILE* file) {
  int32_t max_khz = 0;
  int32_t khz = 0;
  while (std::fscanf(file, "%d %*d", &khz) == 1) max_khz = std::max(max_khz, khz);
  return max_khz;
}

// The highest frequency of a processor in kHz; -1 when unknown.
int32_t getMaxFreqKHZ(int32_t id) {
  if (const File file = openForCPU("/sys/devices/system/cpu/cpufreq/stats/cpu%d/time_in_state", id)) {
    return maxTableFreqKHZ(file.get());
  }
  if (const File file = openForCPU("/sys/devices/system/cpu/cpu%d/cpufreq/stats/time_in_state", id)) {
    return maxTableFreqKHZ(file.get());
  }
  const File file = openForCPU("/sys/devices/system/cpu/cpu%d/cpufreq/cpuinfo_max_freq", id);
  if (file == nullptr) return -1;
  int32_t khz = -1;
  TAMIX_REQUIRE(std::fscanf(file.get(), "%d", &khz) == 1, -1, "Unable to get cpuinfo_max_freq!");
  return khz;
}

// Sorts both by frequency, highest first. The exchange sort decides the order of equal cores.
void sortByFreq(std::span<int32_t> ids, std::span<int32_t> khz) {
  for (size_t i = 0; i + 1 < ids.size(); ++i) {
    for (size_t j = i + 1; j < ids.size(); ++j) {
      if (khz[i] >= khz[j]) continue;
      std::swap(ids[i], ids[j]);
      std::swap(khz[i], khz[j]);
    }
  }
}

// The first core of the slowest cluster; 0 when all cores are equal.
int32_t findLittleCluster(std::span<const int32_t> khz) {
  const auto ghz = [](int32_t value) { return value / 1000000.0; };
  const int32_t count = static_cast<int32_t>(khz.size());
  const int32_t slowest = khz.back();
  if (khz.front() == slowest) {
    TAMIX_DEBUG(" %d cores : %0.2f GHz\n", count, ghz(slowest));
    return 0;
  }
  const int32_t offset = static_cast<int32_t>(std::ranges::find_if(khz, [&](int32_t f) { return f <= slowest; }) - khz.begin());
  if (khz[0] == khz[1]) {
    TAMIX_DEBUG(" %d big cores : %0.2f GHz\n %d little cores : %0.2fGhz", offset, ghz(khz[0]), count - offset, ghz(slowest));
  } else {
    TAMIX_DEBUG(" %d big cores : %0.2f GHz\n %d mid cores : %0.2f GHz\n %d little cores : %0.2fGhz", 1, ghz(khz[0]), offset - 1,
                ghz(khz[1]), count - offset, ghz(slowest));
  }
  return offset;
}

// Finds out how fast each of the processors is.
void discover(Topology& result) {
  const auto count = static_cast<size_t>(global_cpu_count);
  const std::span<int32_t> ids(result.ids.data(), count);
  std::iota(ids.begin(), ids.end(), 0);
  std::array<int32_t, kSetBits> frequencies;
  const std::span<int32_t> khz(frequencies.data(), count);
  std::ranges::transform(ids, khz.begin(), getMaxFreqKHZ);
  sortByFreq(ids, khz);
  result.little_cluster_offset = findLittleCluster(khz);
  result.sorted_cpu_ids = ids;
  TAMIX_DEBUG("little_cluster_offset : %d", result.little_cluster_offset);
}

// Binds the calling thread to the processors; false (and an error line) when the system refuses.
bool setSchedAffinity(std::span<const int32_t> ids) {
  CpuSet set;
  for (const int32_t id : ids) set.words[id / kWordBits] |= 1UL << (id % kWordBits);
  const int32_t result = static_cast<int32_t>(syscall(SYS_sched_setaffinity, gettid(), sizeof(set), &set));
  TAMIX_REQUIRE(result == 0, false, "syscall error %d\n", result);
  return true;
}

}  // namespace

int32_t getNumThreads(int32_t power_mode, int32_t num_threads) {
  if (power_mode == -1) return num_threads;
  const std::lock_guard lock(topology.mutex);
  if (topology.sorted_cpu_ids.empty()) {
    TAMIX_REQUIRE(global_cpu_count > 0, -1, "global_cpu_count is less than 1");
    discover(topology);
  }

  const std::span<const int32_t> all = topology.sorted_cpu_ids;
  const size_t offset = static_cast<size_t>(topology.little_cluster_offset);
  TAMIX_REQUIRE(power_mode == 0 || offset != 0, global_cpu_count, "SMP cpu power_mode not supported \n");
  std::span<const int32_t> selected;
  switch (power_mode) {
    case 0:
      selected = all;
      break;
    case 1:
      selected = all.subspan(offset);
      break;
    case 2:
    case 3:
      selected = all.first(offset);
      break;
    default:
      TAMIX_ERROR("power_mode %d not supported\n", power_mode);
      return -1;
  }
  if (!setSchedAffinity(selected)) return -1;
  return static_cast<int32_t>(selected.size()) - (power_mode == 3 ? 1 : 0);
}

}  // namespace tamix
