// Entry points in any order, on instances that are missing, valid or left invalid, with settings nobody would want. Every call
// must return what a small model of the instances expects.
#include <sched.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <set>

#include "tamix/tamix.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/hostile/hostile_record.h"
#include "tests/support/log_capture.h"

namespace tamix::test {
namespace {

enum Entry : size_t { kInit, kRegister, kRun, kAffinity, kRequest, kReleaseMemory, kRelease, kDefaults };
constexpr std::array kNames = {"initTamix",          "registTamixOperator", "runTamix",     "setTamixCPUAffinity",
                               "requestTamixMemory", "releaseTamixMemory",  "releaseTamix", "initTamixConfig"};

// Puts the thread back on the cores it came from.
class KeptAffinity {
 public:
  KeptAffinity() { sched_getaffinity(0, sizeof(set_), &set_); }
  ~KeptAffinity() { sched_setaffinity(0, sizeof(set_), &set_); }
  KeptAffinity(const KeptAffinity&) = delete;
  KeptAffinity& operator=(const KeptAffinity&) = delete;

 private:
  cpu_set_t set_;
};

struct Slot {
  TamixHandle handle = nullptr;
  std::set<int32_t> registered;
};

class Sequence {
 public:
  Sequence(size_t favourite, std::span<const uint8_t> recipe) : favourite_(favourite), choose_(recipe) {}
  ~Sequence() {
    for (Slot& slot : slots_) {
      if (slot.handle != nullptr) releaseTamix(&slot.handle);
    }
  }
  Sequence(const Sequence&) = delete;
  Sequence& operator=(const Sequence&) = delete;

  // True when a call of the favourite entry point succeeded.
  bool run();

 private:
  int32_t anything();
  TamixConfig config();
  bool init(Slot& slot);
  bool registerOperator(Slot& slot);
  bool runOperator(Slot& slot);
  bool setAffinity(const Slot& slot);
  bool request(const Slot& slot);
  bool release(Slot& slot);
  bool writeDefaults();
  bool call(Entry entry, Slot& slot);

  size_t favourite_;
  Choices choose_;
  std::array<Slot, 3> slots_;
};

int32_t Sequence::anything() {
  return choose_.oneOf({-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 64, 1025, std::numeric_limits<int32_t>::max(),
                        std::numeric_limits<int32_t>::min(), choose_.between(0, 100)});
}

TamixConfig Sequence::config() {
  TamixConfig config;
  std::memset(&config, static_cast<int>(choose_.below(256)), sizeof(config));
  initTamixConfig(&config);
  static constexpr int32_t TamixConfig::*kFields[] = {&TamixConfig::runtime,       &TamixConfig::perf_level,
                                                      &TamixConfig::device_option, &TamixConfig::log_level,
                                                      &TamixConfig::num_threads,   &TamixConfig::use_intermediate_buffer,
                                                      &TamixConfig::gpu_prior,     &TamixConfig::device_flag};
  for (uint32_t i = choose_.below(4); i > 0; --i) config.*kFields[choose_.below(std::size(kFields))] = anything();
  for (uint32_t i = choose_.below(3); i > 0; --i) config.device_settings[choose_.below(24)] = anything();
  return config;
}

bool Sequence::init(Slot& slot) {
  if (slot.handle != nullptr) return false;
  const TamixConfig made = config();
  if (choose_.oneIn(8)) {
    require(initTamix(nullptr, &made) == TAMIX_ERR_INVALID_ARGUMENT, "initTamix takes no handle");
    require(initTamix(&slot.handle, nullptr) == TAMIX_ERR_INVALID_ARGUMENT, "initTamix takes no configuration");
    return false;
  }
  const int32_t status = initTamix(&slot.handle, &made);
  const bool is_valid = made.runtime < 7 && made.gpu_prior < 3 && made.perf_level >= -1 && made.perf_level <= 2;
  require(status == (is_valid ? TAMIX_OK : TAMIX_ERR_INVALID_ARGUMENT), "initTamix checks the configuration");
  require((slot.handle != nullptr) == is_valid, "initTamix gives a handle where it succeeds");
  return is_valid;
}

bool Sequence::registerOperator(Slot& slot) {
  const int32_t type = choose_.oneIn(6) ? anything() : kOperators[choose_.below(kOperators.size())];
  const int32_t status = registTamixOperator(slot.handle, type);
  int32_t expected = TAMIX_OK;
  if (slot.handle == nullptr) {
    expected = TAMIX_ERR_INVALID_HANDLE;
  } else if (slot.registered.contains(type)) {
    expected = TAMIX_ERR_INVALID_ARGUMENT;
  } else if (std::ranges::find(kOperators, type) == kOperators.end()) {
    expected = TAMIX_ERR_CREATE_OPERATOR;
    slot.registered.clear();
  } else {
    slot.registered.insert(type);
  }
  require(status == expected, "registTamixOperator");
  return status == TAMIX_OK;
}

bool Sequence::runOperator(Slot& slot) {
  int32_t type = kOperators[choose_.below(kOperators.size())];
  if (!slot.registered.empty() && !choose_.oneIn(8)) {
    type = *std::next(slot.registered.begin(), choose_.between(0, static_cast<int32_t>(slot.registered.size()) - 1));
  }
  HostileRecord record(type, recipe(type, choose_.below(200)), Manners::kHostile);
  record.prefill(1);
  TamixParams* const params = choose_.oneIn(16) ? nullptr : &record.params();
  const int32_t status = runTamix(slot.handle, type, params);
  if (slot.handle == nullptr) {
    require(status == TAMIX_ERR_INVALID_HANDLE, "runTamix takes no handle");
  } else if (params == nullptr) {
    require(status == TAMIX_ERR_INVALID_ARGUMENT, "runTamix takes no record");
  } else if (!slot.registered.contains(type)) {
    require(status == TAMIX_ERR_INVALID_CALL, "runTamix runs what is not registered");
  } else {
    require(isStatusOfRun(status), "runTamix returns an unknown status");
  }
  return status == TAMIX_OK;
}

bool Sequence::setAffinity(const Slot& slot) {
  const int32_t num_threads = anything();
  const int32_t threads = setTamixCPUAffinity(slot.handle, anything(), num_threads);
  require(threads >= 1 && threads <= std::max(1, num_threads), "setTamixCPUAffinity gives 1 to num_threads");
  return true;
}

bool Sequence::request(const Slot& slot) {
  constexpr uint32_t kMost = 0xFFFFFFFF;
  const uint32_t size = choose_.oneIn(8) ? choose_.oneOf({0u, 1u, kMost, kMost - 15, 1u << 31}) : choose_.below(5000);
  const int32_t mode = choose_.oneIn(6) ? anything() : choose_.between(0, 2);
  auto* const block = static_cast<uint8_t*>(requestTamixMemory(slot.handle, size, mode));
  const bool is_known = slot.handle != nullptr && mode >= 0 && mode <= 2;
  require(is_known || block == nullptr, "requestTamixMemory gives memory of no mode");
  require(!is_known || size >= 5000 || block != nullptr, "requestTamixMemory gives none");
  if (block == nullptr) return false;
  require(reinterpret_cast<uintptr_t>(block) % (mode == 1 ? 4096 : 16) == 0, "requestTamixMemory aligns");
  if (size > 0) block[0] = block[size - 1] = 1;
  return true;
}

bool Sequence::release(Slot& slot) {
  if (choose_.oneIn(8)) {
    require(releaseTamix(nullptr) == TAMIX_ERR_INVALID_ARGUMENT, "releaseTamix takes no handle");
    return false;
  }
  const int32_t expected = slot.handle == nullptr ? TAMIX_ERR_INVALID_HANDLE : TAMIX_OK;
  const int32_t status = releaseTamix(&slot.handle);
  require(status == expected && slot.handle == nullptr, "releaseTamix empties the handle");
  slot.registered.clear();
  return status == TAMIX_OK;
}

bool Sequence::writeDefaults() {
  TamixConfig config;
  initTamixConfig(choose_.oneIn(4) ? nullptr : &config);
  TamixParams params;
  initTamixParams(choose_.oneIn(4) ? nullptr : &params);
  require(reservedTamixSetting() == TAMIX_ERR_INVALID_CALL, "reservedTamixSetting does something");
  require(shareTamixMemblocks(0, nullptr, nullptr, nullptr, 0) == TAMIX_ERR_INVALID_CALL, "shareTamixMemblocks does something");
  return std::strlen(getTamixVersion()) > 0;
}

bool Sequence::call(Entry entry, Slot& slot) {
  switch (entry) {
    case kInit:
      return init(slot);
    case kRegister:
      return registerOperator(slot);
    case kRun:
      return runOperator(slot);
    case kAffinity:
      return setAffinity(slot);
    case kRequest:
      return request(slot);
    case kReleaseMemory:
      releaseTamixMemory(slot.handle);
      return slot.handle != nullptr;
    case kRelease:
      return release(slot);
    default:
      return writeDefaults();
  }
}

bool Sequence::run() {
  bool has_succeeded = false;
  for (int32_t left = choose_.between(4, 24); left > 0; --left) {
    Slot& slot = slots_[choose_.oneOf({0u, 0u, 1u, 2u})];
    size_t entry = choose_.oneIn(2) ? favourite_ : choose_.below(kNames.size());
    if (slot.handle == nullptr && !choose_.oneIn(4)) entry = kInit;
    if (call(static_cast<Entry>(entry), slot) && entry == favourite_) has_succeeded = true;
  }
  return has_succeeded;
}

}  // namespace

const size_t kFuzzKinds = kNames.size();

std::string fuzzKindName(size_t kind) { return kNames[kind]; }

bool fuzzOne(size_t kind, std::span<const uint8_t> recipe) {
  const KeptAffinity affinity;
  const LogCapture log(4);
  return Sequence(kind, recipe).run();
}

}  // namespace tamix::test
