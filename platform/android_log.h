// Android's log function. On Android it comes from liblog; elsewhere the library brings a stand-in.
#pragma once

#ifdef __ANDROID__
#include <android/log.h>
#else
// Prints one line to standard error. Weak, so that a host program's own definition receives every line.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(int priority, const char* tag,
                                                                                                const char* format, ...);
#endif
