// The processor family of this build. Its header lists the instruction sets and, for sources with
// lanes, defines the native vectors; the compiler's flags stand beside it in a .cmake file.
#ifndef OPRJ_PROCESSOR_H
#define OPRJ_PROCESSOR_H

#if defined(__x86_64__)
#include "lanes/x86_64.h"
#else
#error "no file of lanes/ describes this processor"
#endif

#endif
