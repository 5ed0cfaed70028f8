/// @file
/// The class interface of Tamix Camera: runtimes, their creators, and operators. Layouts and virtual slots are fixed.
#ifndef TAMIX_FRAMEWORK_HPP_
#define TAMIX_FRAMEWORK_HPP_

#include <cstdint>
#include <memory>

#include "tamix/tamix.h"

namespace tamix {

struct KernelTable;
class Operator;

/// Scratch memory that operators borrow during one run.
class TAMIX_API IntermediateBuffer {
 public:
  virtual ~IntermediateBuffer() = default;
  /// A block for this run; null without memory.
  virtual void* requestMemoryBuffer(int32_t size) = 0;
  /// Alignment of the blocks to come: modes of requestTamixMemory.
  virtual void setMemoryType(int32_t mode) = 0;
  /// A run begins: all blocks are free.
  virtual void beginRequest(TamixParams* params) = 0;
  /// The run ends.
  virtual void endRequest() = 0;
  /// Frees all blocks.
  virtual void releaseMemory() = 0;
};

/// What a runtime is made from. Only the power mode, the thread number and the intermediate buffer matter to the CPU runtime.
struct RuntimeConfig {
  /// As setTamixCPUAffinity takes it.
  int32_t power_mode;
  /// TamixConfig::device_option.
  int32_t device_option;
  /// For other devices.
  bool device_flag_0;
  /// For other devices.
  bool device_flag_1;
  /// For other devices.
  bool device_flag_2;
  /// Upper bound of the thread number.
  int32_t num_threads;
  /// TamixConfig::use_intermediate_buffer.
  bool use_intermediate_buffer;
  /// TamixConfig::gpu_prior.
  int32_t gpu_prior;
  /// TamixConfig::device_flag.
  bool device_flag;
  /// TamixConfig::device_handle.
  void* device_handle;
  /// Of TamixConfig::device_settings.
  int32_t device_settings_0[4];
  /// Of TamixConfig::device_settings.
  int32_t device_settings_1[2];
};

/// The device-specific half of an instance: creates operators, knows its thread number, owns scratch memory.
class TAMIX_API Runtime {
 public:
  /// Makes operators of one type.
  class TAMIX_API OperatorCreator {
   public:
    virtual ~OperatorCreator() = default;
    /// A new operator on the runtime, owned by the caller; null on failure.
    virtual Operator* create(Runtime* runtime) const = 0;
  };

  /// Takes the kernel table; init() does the rest.
  explicit Runtime(RuntimeConfig& config);
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;
  virtual ~Runtime();

  /// Makes the runtime ready; false on failure.
  virtual bool init() = 0;
  /// At least 1.
  virtual int32_t getThreadNumber() { return 1; }
  /// As setTamixCPUAffinity: the thread number.
  virtual int32_t setAffinity(int32_t /*power_mode*/, int32_t /*num_threads*/) { return 0; }
  /// Frees the scratch memory.
  virtual void releaseIntermediateBuffer() {}
  /// A new operator, owned by the caller; null for an unknown type.
  virtual Operator* createOperator(int32_t type) = 0;
  /// Runs an operator of the runtime's own.
  virtual int32_t runOperator(int32_t type, TamixParams* params) = 0;

  /// Calls runOperator().
  int32_t forwardRutime(int32_t type, TamixParams* params);

  /// What operators call.
  const KernelTable* kernelTable() const { return kernel_table_; }
  /// Scratch memory of runs; may be null.
  IntermediateBuffer* intermediateBuffer() const { return intermediate_buffer_.get(); }
  /// RuntimeConfig::device_flag_0.
  bool deviceFlag0() const { return device_flag_0_; }
  /// RuntimeConfig::device_flag_1.
  bool deviceFlag1() const { return device_flag_1_; }

 protected:
  const KernelTable* kernel_table_;
  std::unique_ptr<IntermediateBuffer> intermediate_buffer_;
  bool device_flag_0_;
  bool device_flag_1_;
  bool ready_ = false;
  int32_t thread_number_ = 1;
};

/// Makes runtimes of one device.
class TAMIX_API RuntimeCreator {
 public:
  virtual ~RuntimeCreator() = default;
  /// A new runtime, owned by the caller; null on failure.
  virtual Runtime* create(RuntimeConfig& config) const = 0;
};

/// Registers a creator that lives for the whole process. False when it is null or the device has one already.
TAMIX_API bool insertTamixRuntimeCreator(TamixDeviceType type, const RuntimeCreator* creator);

/// The process-wide log level, 0 to 5: errors are printed below 5, infos below 3, debug lines below 2.
TAMIX_API int32_t& getLogLevel();

/// Base of every operator: checks and completes the record, runs the operator, adapts the outputs' element types.
class TAMIX_API Operator {
 public:
  /// Takes what it needs of the runtime, which may be null.
  explicit Operator(Runtime* runtime);
  Operator(const Operator&) = delete;
  Operator& operator=(const Operator&) = delete;
  virtual ~Operator() = default;
  /// Nothing to request here: TAMIX_OK.
  virtual int32_t requestIntermediateBuffer();
  /// The operator's own checks, then its kernel.
  virtual int32_t forward(TamixParams* params) = 0;

  /// Everything that runTamix does with a record.
  int32_t forwardCV(TamixParams* params);
  /// Converts each output in place from input 0's element type to its own, unless `forward` has already done so.
  int32_t dataTypeConvert(TamixParams* params);
  /// Converts one image between Tamix_UINT8 and Tamix_FLOAT32, with dst's sizes and pitch; force_copy works from a private
  /// copy.
  int32_t dataTypeInputToOutput(TamixImage& src, TamixDataType src_type, TamixImage& dst, TamixDataType dst_type,
                                bool force_copy);
  /// Interleaved channels of a format; 1 for unknown ones.
  int32_t parseFormatToChannel(TamixDataFormat format);

  /// Whether it can be registered.
  bool ready() const { return ready_; }
  /// Makes it ready().
  void setReady() { ready_ = true; }

 protected:
  /// Of the runtime, when the operator was made.
  int32_t threadNumber() const { return thread_number_; }
  /// Tells forwardCV that `forward` has written the outputs in their declared element types.
  void setConverted() { converted_ = true; }

  IntermediateBuffer* intermediate_buffer_ = nullptr;
  Runtime* runtime_;
  int32_t thread_number_ = 4;
  bool ready_ = false;
  bool converted_ = false;
  bool device_flag_0_ = false;
  bool device_flag_1_ = false;
};

}  // namespace tamix

#endif  // TAMIX_FRAMEWORK_HPP_
