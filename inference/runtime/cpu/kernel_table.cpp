#include "inference/runtime/cpu/kernel_table.h"

namespace tamix {
namespace {

constinit const KernelTable tamix_cpu_cv_functions;

}  // namespace

const KernelTable& kernelTable() { return tamix_cpu_cv_functions; }

}  // namespace tamix
