// The plane transform that takes four points to four others.
#pragma once

#include <cstdint>

namespace tamix {

// Writes the nine floats m0..m8 (m8 = 1) of the matrix with u = (m0 x + m1 y + m2) / W, v = (m3 x + m4 y + m5) / W and
// W = m6 x + m7 y + 1 for the four source points (x, y) and destination points (u, v). Points that determine no such matrix
// (three on a line, for instance) are no error: the first eight floats are then whatever the elimination has reached.
// TAMIX_ERR_INVALID_CALL for null pointers.
int32_t getPerspectiveTransformCPUFLOAT32(const float* src_data_x, const float* src_data_y, const float* dst_data_x,
                                          const float* dst_data_y, float* data_out, int32_t num_threads);

}  // namespace tamix
