// The class interface exports both constructors of its abstract classes, but Clang emits no complete-object constructor (C1)
// for an abstract class: there it becomes a second name of the base-object constructor (C2), as GCC makes it.
#ifndef INFERENCE_CORE_ABSTRACT_CONSTRUCTOR_H_
#define INFERENCE_CORE_ABSTRACT_CONSTRUCTOR_H_

#include "tamix/tamix.h"

#ifdef __clang__
#define TAMIX_ABSTRACT_CONSTRUCTOR(name, complete, base) \
  extern "C" TAMIX_API __attribute__((alias(base))) void name() __asm__(complete);
#else
#define TAMIX_ABSTRACT_CONSTRUCTOR(name, complete, base)
#endif

#endif  // INFERENCE_CORE_ABSTRACT_CONSTRUCTOR_H_
