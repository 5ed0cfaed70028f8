// CPU topology and affinity on made-up processors. The topology is found out once per process, so each processor is a run of
// this program of its own: the environment variable TAMIX_TEST_PROCESSOR names it, and only the case of that name does
// anything.
#include "inference/runtime/cpu/cpu_thread.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/log_capture.h"

namespace {

using Files = std::map<std::string, std::string>;

std::string maxFreqPath(int id) { return "/sys/devices/system/cpu/cpu" + std::to_string(id) + "/cpufreq/cpuinfo_max_freq"; }
std::string statsPath(int id) { return "/sys/devices/system/cpu/cpu" + std::to_string(id) + "/cpufreq/stats/time_in_state"; }
std::string globalStatsPath(int id) {
  return "/sys/devices/system/cpu/cpufreq/stats/cpu" + std::to_string(id) + "/time_in_state";
}

std::string cpuinfo(int count) {
  std::string text = "Hardware : board\n";
  for (int i = 0; i < count; ++i) text += "processor\t: " + std::to_string(i) + "\nmodel name : core\n\n";
  return text + " processor is not at the start of this line\n";
}

Files processor(const std::string& name) {
  Files files;
  if (name == "EightCores") {
    files["/proc/cpuinfo"] = cpuinfo(8);
    const int khz[8] = {1800000, 1800000, 1800000, 1800000, 2400000, 2400000, 2400000, 2800000};
    // All three sources of a frequency; the tables are neither sorted nor complete in the last line.
    for (int i = 0; i < 8; ++i) {
      const std::string top = std::to_string(khz[i]);
      if (i < 3) files[globalStatsPath(i)] = "300000 7\n" + top + " 12\n600000 9\n";
      if (i >= 3 && i < 6) files[statsPath(i)] = top + " 1\n600000";
      if (i >= 6) files[maxFreqPath(i)] = top + "\n";
    }
    files[maxFreqPath(0)] = "9900000\n";  // never asked: the tables come first
  } else if (name == "FourEqualCores") {
    files["/proc/cpuinfo"] = cpuinfo(4);
    for (int i = 0; i < 4; ++i) files[maxFreqPath(i)] = "2000000\n";
  } else if (name == "TwoClusters" || name == "AffinityRefused") {
    files["/proc/cpuinfo"] = cpuinfo(4);
    for (int i = 0; i < 4; ++i) files[maxFreqPath(i)] = i < 2 ? "1000000" : "2500000";
  } else if (name == "OfflineCores") {  // two cores without files, one with an unreadable number, one with an empty table
    files["/proc/cpuinfo"] = cpuinfo(5);
    files[maxFreqPath(0)] = "2000000";
    files[maxFreqPath(1)] = "offline";
    files[statsPath(2)] = "";
  } else if (name == "NoProcessors") {
    files["/proc/cpuinfo"] = "nothing of interest\n";
  } else if (name == "HugeCpuinfo") {  // long lines, more processors than a CPU set has bits
    files["/proc/cpuinfo"] = std::string(5000, 'x') + "\n" + cpuinfo(3000);
  }
  if (name == "EmptyFiles") {
    files["/proc/cpuinfo"] = "";
    files[maxFreqPath(0)] = "";
  } else if (name == "TruncatedFiles") {  // the last line of each ends too early
    files["/proc/cpuinfo"] = cpuinfo(3) + "processor\t: 3\nproces";
    files[statsPath(0)] = "1000000 5\n2000000";
    files[globalStatsPath(1)] = "9";
    files[maxFreqPath(2)] = "";
  } else if (name == "BinaryFiles") {
    std::string noise;
    for (uint32_t i = 0; i < 100000; ++i) noise += static_cast<char>((i * 0x9E3779B1u) >> 24);
    files["/proc/cpuinfo"] = noise + std::string(1, '\0') + "\n" + cpuinfo(3) + noise;
    files[globalStatsPath(0)] = files[statsPath(1)] = files[maxFreqPath(2)] = "\xff" + noise;
  } else if (name == "HugeFiles") {
    files["/proc/cpuinfo"] = cpuinfo(3) + std::string(10000000, 'p');
    for (int i = 0; i < 200000; ++i) files[globalStatsPath(0)] += std::to_string(1000000 + i) + " 99999999999999999999\n";
    files[maxFreqPath(1)] = std::string(1000000, '9');
    files[maxFreqPath(2)] = std::string(1000000, '0') + "500000";
  }
  return files;  // NoCpuinfo: no file at all
}

std::vector<std::vector<int>> bound_sets;  // arguments of the affinity calls

bool playing(const char* name) {
  const char* const wanted = std::getenv("TAMIX_TEST_PROCESSOR");
  return wanted != nullptr && std::strcmp(wanted, name) == 0;
}

template <class F>
F* next(const char* name) {
  return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The library's way to the system's files ends here.
extern "C" FILE* fopen(const char* path, const char* mode) {
  const char* const name = std::getenv("TAMIX_TEST_PROCESSOR");
  if (name == nullptr || (std::strncmp(path, "/proc/cpuinfo", 13) != 0 && std::strncmp(path, "/sys/", 5) != 0)) {
    return next<FILE*(const char*, const char*)>("fopen")(path, mode);
  }
  static const Files files = processor(name);
  const auto found = files.find(path);
  if (found == files.end()) return nullptr;
  FILE* const file = std::tmpfile();
  std::fwrite(found->second.data(), 1, found->second.size(), file);
  std::rewind(file);
  return file;
}

// Reads six arguments whatever was passed, as the C library's own does.
extern "C" __attribute__((no_sanitize("address"))) long syscall(long number, ...) noexcept {
  long a[6];
  va_list arguments;
  va_start(arguments, number);
  for (long& argument : a) argument = va_arg(arguments, long);
  va_end(arguments);
  if (number != SYS_sched_setaffinity) {
    return next<long(long, ...)>("syscall")(number, a[0], a[1], a[2], a[3], a[4], a[5]);
  }
  const auto* const words = reinterpret_cast<const unsigned long*>(a[2]);
  std::vector<int> ids;
  for (int id = 0; id < static_cast<int>(8 * a[1]); ++id) {
    if ((words[id / 64] >> (id % 64) & 1) != 0) ids.push_back(id);
  }
  bound_sets.push_back(ids);
  return playing("AffinityRefused") ? -1 : 0;
}

namespace tamix::test {
namespace {

using Lines = std::vector<std::string>;
using Ids = std::vector<int>;
const std::string kFile = "runtime/cpu/cpu_thread.cpp";

#define PLAY_ONLY(name) \
  if (!playing(name)) GTEST_SKIP() << "played by a run of its own"

TEST(Topology, EightCores) {
  PLAY_ONLY("EightCores");
  LogCapture log;
  EXPECT_EQ(getNumThreads(2, 1), 4);
  EXPECT_EQ(getNumThreads(3, 1), 3);
  EXPECT_EQ(getNumThreads(1, 1), 4);
  EXPECT_EQ(getNumThreads(0, 1), 8);
  EXPECT_EQ(getNumThreads(5, 1), -1);
  EXPECT_EQ(getNumThreads(-1, 6), 6);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{4, 5, 6, 7}, {4, 5, 6, 7}, {0, 1, 2, 3}, {0, 1, 2, 3, 4, 5, 6, 7}}));
  EXPECT_EQ(log.messages(), (Lines{" 1 big cores : 2.80 GHz\n 3 mid cores : 2.40 GHz\n 4 little cores : 1.80Ghz",
                                   "little_cluster_offset : 4"}));
  EXPECT_EQ(log.errors(), Lines{errorLine(kFile, "getNumThreads", "power_mode 5 not supported\n")});
}

TEST(Topology, FourEqualCores) {
  PLAY_ONLY("FourEqualCores");
  LogCapture log;
  EXPECT_EQ(getNumThreads(0, 1), 4);
  EXPECT_EQ(getNumThreads(2, 1), 4);
  EXPECT_EQ(getNumThreads(7, 1), 4);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{0, 1, 2, 3}}));
  EXPECT_EQ(log.messages(), (Lines{" 4 cores : 2.00 GHz\n", "little_cluster_offset : 0"}));
  const std::string refusal = errorLine(kFile, "getNumThreads", "SMP cpu power_mode not supported \n");
  EXPECT_EQ(log.errors(), (Lines{refusal, refusal}));
}

TEST(Topology, TwoClusters) {
  PLAY_ONLY("TwoClusters");
  LogCapture log;
  TamixConfig config;
  initTamixConfig(&config);
  config.log_level = 0;
  config.num_threads = 8;
  TamixHandle handle = nullptr;
  ASSERT_EQ(initTamix(&handle, &config), TAMIX_OK);  // binds to the big cores
  EXPECT_EQ(setTamixCPUAffinity(handle, 1, 1), 1);   // binds to the little cores
  EXPECT_EQ(releaseTamix(&handle), TAMIX_OK);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{2, 3}, {0, 1}}));
  EXPECT_EQ(setTamixCPUAffinity(nullptr, 3, 8), 1);
  EXPECT_EQ(log.messages()[2], " 2 big cores : 2.50 GHz\n 2 little cores : 1.00Ghz");
}

TEST(Topology, AffinityRefused) {
  PLAY_ONLY("AffinityRefused");
  LogCapture log;
  EXPECT_EQ(getNumThreads(2, 1), -1);
  EXPECT_EQ(log.errors(), Lines{errorLine(kFile, "setSchedAffinity", "syscall error -1\n")});
  EXPECT_EQ(setTamixCPUAffinity(nullptr, 2, 4), 1);
}

TEST(Topology, OfflineCores) {
  PLAY_ONLY("OfflineCores");
  LogCapture log;
  EXPECT_EQ(getNumThreads(1, 1), 3);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{1, 3, 4}}));
  EXPECT_EQ(log.errors(), Lines{errorLine(kFile, "getMaxFreqKHZ", "Unable to get cpuinfo_max_freq!")});
  EXPECT_EQ(log.messages().back(), "little_cluster_offset : 2");
}

TEST(Topology, UnknownProcessors) {
  if (!playing("NoCpuinfo") && !playing("NoProcessors") && !playing("EmptyFiles")) GTEST_SKIP() << "played by a run of its own";
  LogCapture log;
  EXPECT_EQ(getNumThreads(0, 4), -1);
  EXPECT_EQ(getNumThreads(2, 4), -1);
  EXPECT_EQ(getNumThreads(-1, 6), 6);
  EXPECT_EQ(log.errors(), Lines(2, errorLine(kFile, "getNumThreads", "global_cpu_count is less than 1")));
  EXPECT_TRUE(bound_sets.empty());
}

// What cannot be read is slow; what can be counts.
TEST(Topology, TruncatedFiles) {
  PLAY_ONLY("TruncatedFiles");
  LogCapture log;
  EXPECT_EQ(getNumThreads(2, 1), 2);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{0, 1}}));
  EXPECT_EQ(log.errors(), Lines{errorLine(kFile, "getMaxFreqKHZ", "Unable to get cpuinfo_max_freq!")});
}

TEST(Topology, BinaryFiles) {
  PLAY_ONLY("BinaryFiles");
  LogCapture log;
  EXPECT_EQ(getNumThreads(0, 1), 3);
  EXPECT_EQ(bound_sets, (std::vector<Ids>{{0, 1, 2}}));
  EXPECT_EQ(log.errors(), Lines{errorLine(kFile, "getMaxFreqKHZ", "Unable to get cpuinfo_max_freq!")});
}

TEST(Topology, HugeFiles) {
  PLAY_ONLY("HugeFiles");
  EXPECT_EQ(getNumThreads(0, 1), 3);
  EXPECT_EQ(getNumThreads(1, 1), 1);
  EXPECT_EQ(bound_sets[1].size(), 1u);
}

TEST(Topology, HugeCpuinfo) {
  PLAY_ONLY("HugeCpuinfo");
  EXPECT_EQ(getNumThreads(0, 4), 1024);
  ASSERT_EQ(bound_sets.size(), 1u);
  EXPECT_EQ(bound_sets[0].size(), 1024u);
}

}  // namespace
}  // namespace tamix::test
