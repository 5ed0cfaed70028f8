/*
 * The exported kernels of Tamix Camera: plain pointers in, status out, no instance needed. C99 and C++11.
 *
 * Every kernel checks its pointers first ("Recieved null data pointer", TAMIX_ERR_INVALID_IMAGE). Sizes are in pixels. A
 * plane of h rows is (h - 1) * pitch + row bytes long; padding is neither read nor written. Empty sizes do nothing.
 */
#ifndef TAMIX_KERNELS_H_
#define TAMIX_KERNELS_H_

#include "tamix/tamix.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* TAMIX_KERNELS_H_ */
