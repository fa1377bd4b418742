// Which of the sets of x86_64.h the processor has.
#include "lanes/kernels.h"

int32_t orvik::oprj::widestInstructionSet() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw"))
    return 2;
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? 1 : 0;
}
