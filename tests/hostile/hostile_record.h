// Records for every operator as a careless or hostile caller might fill them, made from a string of bytes: a plausible call
// first, then a few fields set to anything. The planes hold what the finished record declares, to the byte.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/guarded_buffer.h"

namespace tamix::test {

// Every operator type.
inline constexpr std::array<int32_t, 47> kOperators = {0,  1,  2,  3,  4,  8,  13, 14, 15, 17, 18, 19, 20, 21, 22, 23,
                                                       24, 25, 26, 27, 29, 30, 31, 32, 36, 37, 38, 39, 40, 42, 43, 44,
                                                       45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 61, 68};

// An exported kernel, and how it is called with the record of an operator that resembles it.
struct ExportedKernel {
  const char* name;
  int32_t relative;
  int32_t format;  // what its input or output is a frame of; 0: packed pixels
  bool allocates;
  int32_t (*call)(const TamixParams& params, int32_t num_threads);
};
extern const std::array<ExportedKernel, 17> kExportedKernels;
// Kernel n counts as operator kFirstKernel + n.
inline constexpr int32_t kFirstKernel = 1000;

// Every operator, then every kernel.
std::vector<int32_t> operatorsAndKernels();
std::string nameOf(int32_t type);
// The mean of bytes, as operator and as kernel, is refused in all its forms, sometimes without a word.
bool isMeanFilter(int32_t type);

// Decisions read off a string of bytes; zeros behind its end.
class Choices {
 public:
  explicit Choices(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  // In [0, n), n up to 2^32 - 1.
  uint32_t below(uint32_t n);
  bool oneIn(uint32_t n) { return below(n) == n - 1; }
  int32_t between(int32_t least, int32_t most) {
    return least + static_cast<int32_t>(below(static_cast<uint32_t>(most - least) + 1));
  }
  template <class T>
  T oneOf(std::initializer_list<T> values) {
    return values.begin()[below(static_cast<uint32_t>(values.size()))];
  }

 private:
  uint8_t next() { return at_ < bytes_.size() ? bytes_[at_++] : 0; }

  std::span<const uint8_t> bytes_;
  size_t at_ = 0;
};

// How far a record strays from a plausible call.
enum class Manners { kPlausible, kHostile };

// What a test wants of a record; what it does not say is left to the recipe.
struct Demand {
  int32_t width = 0;
  int32_t height = 0;
  std::optional<Guard> guard = std::nullopt;
  int32_t stride = 0;       // of every image
  bool other_type = false;  // output 0 has the element type that the operator does not give
};

// Rows of elements, `pitch` elements apart.
struct PlaneRows {
  int64_t count = 0;
  int64_t pitch = 0;
  int64_t n = 0;
  int64_t element = 1;
};

// Plane k of an image, or what it holds before it is converted.
struct RecordPlane {
  TamixImage* image;
  int32_t k;
  PlaneRows rows;
};

class HostileRecord {
 public:
  HostileRecord(int32_t operator_type, std::span<const uint8_t> recipe, Manners manners, const Demand& demand = {});

  // Of a kernel: the operator that resembles it.
  int32_t operatorType() const { return operator_type_; }
  // Null for an operator.
  const ExportedKernel* kernel() const { return kernel_; }
  int32_t threadNumber() const { return thread_number_; }
  TamixParams& params() { return params_; }

  // Fills everything that the library may write, but inputs, with a pattern of its own for every seed: 0x00 for 0, 0xFF for 1,
  // noise for others.
  void prefill(uint32_t seed);
  // What the pattern of a seed has at a byte of an output.
  static uint8_t patternAt(uint32_t seed, size_t i);
  // Outputs, plane by plane, and what settings point to.
  const std::vector<std::span<uint8_t>>& outputs() const { return outputs_; }
  // The rows that the images in use declare, as their strides say now.
  std::vector<RecordPlane> planes();
  // True where an output lies in an input's memory.
  bool sharesPlanes() const { return shares_planes_; }
  // The images and the settings that differ from their defaults.
  std::string describe() const;

 private:
  void imagine();
  void fit();
  void describePair(int32_t in_format, int32_t out_format, int32_t channel_in = 0, int32_t channel_out = 0);
  TamixImage image(int32_t format, int32_t type, int32_t width, int32_t height, int32_t channel = 0);
  void settle();
  void spoil();
  void spoilSetting();
  int32_t anything();
  bool resizesPairs() const {
    return kernel_ != nullptr && kernel_->format == Tamix_NV21 && operator_type_ == TAMIX_OP_RESIZE_BILINEAR;
  }
  void completeForKernel();
  void agreeForKernel(const TamixParams& plausible);
  void comply();
  size_t bins() const;
  PlaneRows rowsOf(bool is_input, const TamixImage& image, int32_t k) const;
  void allocate();
  void* inputPlane(size_t size, bool floats);
  float* floats(size_t size);
  void* setting(size_t size);
  GuardedBytes& plane(size_t size);
  void addNoise(std::span<uint8_t> bytes, bool floats);

  const ExportedKernel* kernel_;
  int32_t operator_type_;
  Demand demand_;
  Choices choose_;
  int32_t thread_number_;
  uint32_t noise_;
  int32_t width_ = 0;
  int32_t height_ = 0;
  TamixParams params_;
  std::deque<GuardedBytes> planes_;
  std::vector<std::span<uint8_t>> inputs_;
  std::vector<std::span<uint8_t>> outputs_;
  bool shares_planes_ = false;
};

// An instance that serves records of an operator; a kernel needs none.
class Session {
 public:
  Session(int32_t operator_type, int32_t thread_number, int32_t device = Tamix_ARM_CPU);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Creates the instance and registers the operator, unless that is done, and runs the record. After a failure the next call
  // begins with the step that failed.
  int32_t run(HostileRecord& record);

 private:
  int32_t operator_type_;
  TamixConfig config_;
  TamixHandle handle_ = nullptr;
  bool is_valid_ = false;
  bool is_registered_ = false;
};

// What came of a record.
struct Outcome {
  int32_t status;
  std::vector<std::string> errors;
};

// Runs a record on an instance of its own. Shows it first where the environment has TAMIX_TEST_SHOW.
Outcome run(HostileRecord& record);
// The same on several threads at once: returns the status, and captures no log lines.
int32_t runOnAnyThread(HostileRecord& record);

// Makes a hostile record and runs it: the status.
int32_t runHostile(int32_t type, std::span<const uint8_t> recipe);

// Whether runTamix may return it for a registered operator.
bool isStatusOfRun(int32_t status);

// A recipe of a deterministic series.
std::vector<uint8_t> recipe(int32_t operator_type, uint32_t number);

}  // namespace tamix::test
