// The refusal of borders that cannot be made.
#pragma once

#include <cstdint>

namespace tamix {

// TAMIX_OK for a border that copyMakeBorderCPUUINT8 can make, otherwise its refusal, logged in its name.
int32_t checkBorder(int32_t border_type, int32_t border_value, int32_t num_threads);

}  // namespace tamix
