// The choice of the instruction set (kernels.h).
#include <cstdlib>
#include <cstring>

#include "lanes/kernels.h"

namespace orvik::oprj {
namespace {

constexpr const char *kNames[kInstructionSets] = {"baseline", "avx2", "avx512"};

}  // namespace

int32_t widestInstructionSet() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw"))
    return 2;
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? 1 : 0;
}

namespace {

const char *refused = nullptr;

int32_t firstChoice() {
  const int32_t widest = widestInstructionSet();
  const char *asked = std::getenv("OPRJ_ISA");
  if (!asked || !*asked) return widest;
  for (int32_t set = 0; set < kInstructionSets; ++set) {
    if (std::strcmp(asked, kNames[set]) == 0 && set <= widest) return set;
  }
  refused = asked;
  return widest;
}

int32_t chosen = firstChoice();

}  // namespace

const int32_t &instructionSet = chosen;

const char *instructionSetName(int32_t set) { return kNames[set]; }
const char *refusedInstructionSet() { return refused; }
void chooseInstructionSet(int32_t set) { chosen = set; }

}  // namespace orvik::oprj
