// The entry points. Nothing thrown inside the library leaves them.
#include <algorithm>
#include <cstring>
#include <new>

#include "inference/core/tamix_instance.h"
#include "inference/runtime/cpu/cpu_thread.h"
#include "inference/utils/tamix_log.h"

namespace {

constexpr char kVersion[] = "SHARED 2.0.1.0_6d0e91a2f4b8c7350e12d9a4b6f0c8e7d5a3b219";

// Defaults of the 24 words of device settings. Words 1 and 19 stay as the caller had them.
constexpr int32_t kDeviceSettings[24] = {4, 0, 0, 0, 0, 0, 4, 1, 0, 0, 0, 0, 4, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr size_t kUntouchedSettings[] = {1, 19};

tamix::RuntimeRequest runtimeRequest(const TamixConfig& config) {
  tamix::RuntimeRequest request{};
  request.device_type = config.runtime;
  request.log_level = std::clamp(config.log_level, 0, 5);
  request.config.power_mode = config.perf_level;
  request.config.device_option = config.device_option;
  request.config.num_threads = config.num_threads;
  request.config.use_intermediate_buffer = config.use_intermediate_buffer > 0;
  request.config.gpu_prior = config.gpu_prior;
  request.config.device_flag = config.device_flag > 0;
  request.config.device_handle = config.device_handle;
  std::copy_n(config.device_settings + 8, 4, request.config.device_settings_0);
  std::copy_n(config.device_settings + 12, 2, request.config.device_settings_1);
  return request;
}

}  // namespace

int32_t initTamix(TamixHandle* handle, const TamixConfig* config) {
  TAMIX_REQUIRE(handle != nullptr, TAMIX_ERR_INVALID_ARGUMENT, "input tamix_handle is null");
  *handle = nullptr;
  TAMIX_REQUIRE(config != nullptr, TAMIX_ERR_INVALID_ARGUMENT, "recieved null config %p", static_cast<const void*>(config));
  TAMIX_REQUIRE(config->runtime < 7, TAMIX_ERR_INVALID_ARGUMENT, "runtime is not supported. runtime:%d", config->runtime);
  TAMIX_REQUIRE(config->gpu_prior < 3, TAMIX_ERR_INVALID_ARGUMENT, "GPU prior is wrong. prior:%d", config->gpu_prior);
  TAMIX_REQUIRE(config->perf_level >= -1 && config->perf_level <= 2, TAMIX_ERR_INVALID_ARGUMENT,
                "Power level is wrong. perflevel:%d", config->perf_level);
  if (config->log_level < 0 || config->log_level > 5) {
    TAMIX_ERROR("log_level con not greater than 5 or less than 0!");
  }
  const tamix::RuntimeRequest request = runtimeRequest(*config);
  tamix::setLogLevel(request.log_level);
  TAMIX_INFO("Tamix version: %s", kVersion);

  try {
    *handle = new (std::nothrow) TamixInstance(config->runtime);
    TAMIX_REQUIRE(*handle != nullptr, TAMIX_ERR_INVALID_HANDLE, "failed to allocate the instance");
    return (*handle)->init(request);
  } catch (const std::bad_alloc&) {
    TAMIX_ERROR("failed to allocate memory");
    return TAMIX_ERR_RUNTIME;
  }
}

void initTamixConfig(TamixConfig* config) {
  if (config == nullptr) {
    TAMIX_ERROR("recieved null config %p", static_cast<void*>(config));
    return;
  }
  config->runtime = Tamix_ARM_CPU;
  config->perf_level = 2;
  config->device_option = 3;
  config->log_level = 2;
  config->reserved_0[0] = 0;
  config->reserved_0[1] = 0;
  config->use_intermediate_buffer = 1;
  config->num_threads = 2;
  config->gpu_prior = 1;
  config->device_flag = 1;
  config->device_handle = nullptr;
  for (size_t i = 0; i < std::size(kDeviceSettings); ++i) {
    if (std::ranges::count(kUntouchedSettings, i) == 0) config->device_settings[i] = kDeviceSettings[i];
  }
}

void initTamixParams(TamixParams* params) {
  if (params == nullptr) {
    TAMIX_ERROR("recieved null params %p", static_cast<void*>(params));
    return;
  }
  const auto setAllBits = [](auto& field) { std::memset(&field, 0xFF, sizeof(field)); };
  std::memset(params, 0, sizeof(*params));
  params->op_mode = -1;
  setAllBits(params->reserved_1);
  params->interpolation = -1;
  params->geom_border_type = -1;
  params->geom_border_value = -1;
  params->reserved_4[0] = -1;
  params->kernel_size = -1;
  params->kernel_height = -1;
  params->kernel_width = -1;
  params->morph_shape = -1;
  params->morph_type = -1;
  params->border_type = -1;
  params->iterations = 1;
  setAllBits(params->reserved_5);
  setAllBits(params->reserved_6);
  setAllBits(params->reserved_11);
  params->affine_scale = 1.0;
  params->reserved_12 = -1;
  setAllBits(params->reserved_14[0]);
  params->reserved_15[0] = 1;
  for (int32_t i = 0; i < 4; ++i) {
    params->hist_channels[i] = i;
    params->hrange_max[i] = 255;
  }
  params->maxval = -1.0;
  params->thresh_type = -1;
  setAllBits(params->reserved_19);
  setAllBits(params->reserved_21);
  params->reserved_22[0] = -1;
  setAllBits(params->reserved_23[1]);
  setAllBits(params->reserved_23[2]);
  setAllBits(params->reserved_23[3]);
}

int32_t registTamixOperator(TamixHandle handle, int32_t type) {
  TAMIX_REQUIRE(handle != nullptr, TAMIX_ERR_INVALID_HANDLE, "recieved illegal handel %ld", 0L);
  try {
    return handle->registCVFunction(type);
  } catch (const std::bad_alloc&) {
    TAMIX_ERROR("failed to allocate memory");
    return TAMIX_ERR_NO_MEMORY;
  }
}

int32_t runTamix(TamixHandle handle, int32_t type, TamixParams* params) {
  TAMIX_REQUIRE(handle != nullptr, TAMIX_ERR_INVALID_HANDLE, "recieved illegal handel %ld", 0L);
  try {
    return handle->runTamix(type, params);
  } catch (const std::bad_alloc&) {
    TAMIX_ERROR("failed to allocate memory");
    return TAMIX_ERR_NO_MEMORY;
  }
}

int32_t setTamixCPUAffinity(TamixHandle handle, int32_t power_mode, int32_t num_threads) {
  if (handle != nullptr && handle->runtime() != nullptr) return handle->runtime()->setAffinity(power_mode, num_threads);
  TAMIX_DEBUG("set CPU affinity outside Tamix");
  return std::max(1, std::min(tamix::getNumThreads(power_mode, num_threads), num_threads));
}

void* requestTamixMemory(TamixHandle handle, uint32_t size, int32_t mode) {
  TAMIX_REQUIRE(handle != nullptr, nullptr, "recieved illegal handel %ld", 0L);
  void* block = nullptr;
  try {
    block = handle->requestMemoryBuffer(size, mode);
  } catch (const std::bad_alloc&) {
    TAMIX_ERROR("failed to allocate memory");
  }
  TAMIX_REQUIRE(block != nullptr, nullptr, "memory requestion failed");
  return block;
}

void releaseTamixMemory(TamixHandle handle) {
  if (handle == nullptr) {
    TAMIX_ERROR("recieved illegal handel %ld", 0L);
    return;
  }
  handle->releaseMemory();
}

const char* getTamixVersion() { return kVersion; }

int32_t releaseTamix(TamixHandle* handle) {
  TAMIX_REQUIRE(handle != nullptr, TAMIX_ERR_INVALID_ARGUMENT, "input tamix_handle is null");
  TAMIX_REQUIRE(*handle != nullptr, TAMIX_ERR_INVALID_HANDLE, "recieved illegal handel %ld", 0L);
  delete *handle;
  *handle = nullptr;
  return TAMIX_OK;
}

int32_t shareTamixMemblocks(long, void**, void*, long*, long) { return TAMIX_ERR_INVALID_CALL; }

int32_t reservedTamixSetting() { return TAMIX_ERR_INVALID_CALL; }
