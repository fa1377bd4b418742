// The choice of the instruction set (kernels.h).
#include <cstdlib>
#include <cstring>

#include "lanes/kernels.h"

namespace orvik::oprj {
namespace {

#define OPRJ_SET_NAME(SET, INDEX, ...) names[INDEX] = #SET;
struct Names {
  const char *names[kInstructionSets] = {};
  constexpr Names() { OPRJ_SETS(OPRJ_SET_NAME, ) }
};
#undef OPRJ_SET_NAME
constexpr Names kNames;

const char *refused = nullptr;

int32_t firstChoice() {
  const int32_t widest = widestInstructionSet();
  const char *asked = std::getenv("OPRJ_ISA");
  if (!asked || !*asked) return widest;
  for (int32_t set = 0; set <= widest; ++set) {
    if (std::strcmp(asked, kNames.names[set]) == 0) return set;
  }
  refused = asked;
  return widest;
}

int32_t chosen = firstChoice();

}  // namespace

const int32_t &instructionSet = chosen;

const char *instructionSetName(int32_t set) { return kNames.names[set]; }
const char *refusedInstructionSet() { return refused; }
void chooseInstructionSet(int32_t set) { chosen = set; }

}  // namespace orvik::oprj
