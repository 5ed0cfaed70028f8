#include "tests/fuzz/fuzz_target.h"

#include <sys/time.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>
#include <vector>

// A quarantine that stays in the cache, short traces of allocations, and no memory for sizes that nothing small needs: null
// where the library asks by itself, a finding where it comes to `new`.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=2:thread_local_quarantine_size_kb=64:malloc_context_size=4:allocator_may_return_null=1:"
         "max_allocation_size_mb=256";
}

// Provided by the sanitizers.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace tamix::test {
namespace {

struct Count {
  uint64_t calls = 0;
  uint64_t successes = 0;

  // A kind that never succeeds gets ten times the calls of others, not all of them.
  uint64_t share() const { return std::max(successes, calls / 10); }
};

class Tally {
 public:
  Tally() = default;
  Tally(const Tally&) = delete;
  Tally& operator=(const Tally&) = delete;
  ~Tally() {
    const char* const path = std::getenv("TAMIX_FUZZ_TALLY");
    FILE* const file = path == nullptr ? nullptr : std::fopen(path, "a");
    if (file == nullptr) return;
    for (size_t kind = 0; kind < kFuzzKinds; ++kind) {
      const auto& [calls, successes] = counts_[kind];
      std::fprintf(file, "%s %llu %llu\n", fuzzKindName(kind).c_str(), static_cast<unsigned long long>(calls),
                   static_cast<unsigned long long>(successes));
    }
    std::fclose(file);
  }

  void add(size_t kind, bool success) {
    ++counts_[kind].calls;
    counts_[kind].successes += success ? 1 : 0;
  }
  size_t leastSuccessful() const {
    const auto least = std::min_element(counts_.begin(), counts_.begin() + static_cast<ptrdiff_t>(kFuzzKinds),
                                        [](const Count& a, const Count& b) { return a.share() < b.share(); });
    return static_cast<size_t>(least - counts_.begin());
  }

 private:
  std::array<Count, 256> counts_;
};

Tally tally;

void runInput(const uint8_t* bytes, size_t size) {
  if (size < 2) return;
  const size_t kind = bytes[0] % kFuzzKinds;
  tally.add(kind, fuzzOne(kind, {bytes + 1, size - 1}));
}

// A plain series of inputs.
class Series {
 public:
  explicit Series(uint64_t seed) : seed_(seed), random_(seed) {}

  // Every other input goes to the kinds in turn, the others to the kind with the fewest successes.
  void run(uint64_t count) {
    current = this;
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(save);
    for (number_ = 0; number_ < count; ++number_) {
      for (uint64_t& word : words_) word = random_();
      bytes()[0] = static_cast<uint8_t>(number_ % 2 == 0 ? number_ / 2 % kFuzzKinds : tally.leastSuccessful());
      limitTime();
      runInput(bytes(), sizeof(words_));
    }
    current = nullptr;
  }

  // Writes the input that is being run to a file.
  static void save() {
    if (current == nullptr) return;
    char path[80];
    std::snprintf(path, sizeof(path), "crash-series-%llu-%llu", static_cast<unsigned long long>(current->seed_),
                  static_cast<unsigned long long>(current->number_));
    if (FILE* const file = std::fopen(path, "wb"); file != nullptr) {
      std::fwrite(current->bytes(), 1, sizeof(current->words_), file);
      std::fclose(file);
    }
  }

 private:
  uint8_t* bytes() { return reinterpret_cast<uint8_t*>(words_.data()); }

  // Seconds of processor time for an input: 5, which the sanitizers make ten times as long.
  static void limitTime() {
    constexpr itimerval kLimit = {{0, 0}, {50, 0}};
    std::signal(SIGPROF, [](int) { require(false, "an input is done within its time"); });
    setitimer(ITIMER_PROF, &kLimit, nullptr);
  }

  static Series* current;

  uint64_t seed_;
  std::mt19937_64 random_;
  std::array<uint64_t, 24> words_;
  uint64_t number_ = 0;
};

Series* Series::current = nullptr;

}  // namespace

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "ERROR: does not hold: %s\n", what);
  Series::save();
  std::abort();
}

}  // namespace tamix::test

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  tamix::test::runInput(bytes, size);
  return 0;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  uint64_t series = 0;
  uint64_t seed = 1;
  const auto read = [](std::string_view argument, std::string_view name, uint64_t& value) {
    if (argument.starts_with(name)) value = std::strtoull(argument.data() + name.size(), nullptr, 10);
  };
  for (int i = 1; i < *argc; ++i) {
    read((*argv)[i], "-series=", series);
    read((*argv)[i], "-series_seed=", seed);
  }
  if (series == 0) return 0;
  tamix::test::Series(seed).run(series);
  std::exit(0);
}

// Guided mutation favours the kinds with the most branches: every other input goes to the kinds in turn.
// Provided by libFuzzer.
extern "C" __attribute__((weak)) size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t max_size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* bytes, size_t size, size_t max_size, unsigned seed) {
  static size_t turn = 0;
  const size_t mutated = LLVMFuzzerMutate(bytes, size, max_size);
  if (mutated > 0 && seed % 2 == 0) bytes[0] = static_cast<uint8_t>(turn++ % tamix::test::kFuzzKinds);
  return mutated;
}
