#include "inference/utils/tamix_log.h"

#include "tamix/framework.hpp"

namespace tamix {

int32_t& getLogLevel() {
  static constinit int32_t level = 0;
  return level;
}

bool logsBelow(int32_t level) { return __atomic_load_n(&getLogLevel(), __ATOMIC_RELAXED) < level; }

void setLogLevel(int32_t level) { __atomic_store_n(&getLogLevel(), level, __ATOMIC_RELAXED); }

}  // namespace tamix
