// What crosses between the instruction sets: plain data and pointers, nothing else.
#ifndef OPRJ_KERNELS_H
#define OPRJ_KERNELS_H

#include <cstdint>

namespace orvik::oprj {

/// Why a point has no place, as it is reported: code and text (with "point # %ld:  %lf, %lf" where
/// the text tells the point) and, for a solver's failure, the solver's own report as its cause.
struct StopText {
  int32_t code;
  const char *text;
  const char *solver = nullptr;
  int32_t iterations = 0;
};

/// Where a run over points ended: `index` of the point that stopped it, -1 when all are done.
struct PointStop {
  int32_t index = -1;
  const StopText *why = nullptr;
};

/// Index of the instruction set in use: 0 baseline, 1 AVX2 with FMA, 2 AVX-512. Chosen once when
/// the library is loaded: the widest that the processor has, or what the environment variable
/// OPRJ_ISA
/// ("baseline", "avx2", "avx512") asks for if the processor has it.
extern const int32_t &instructionSet;
inline constexpr int32_t kInstructionSets = 3;
/// The widest set of this processor; and, for tests and benchmarks, another choice (not while
/// points are being projected).
int32_t widestInstructionSet();
void chooseInstructionSet(int32_t set);
/// As OPRJ_ISA spells it.
const char *instructionSetName(int32_t set);
/// What OPRJ_ISA asked for in vain; null when it did not.
const char *refusedInstructionSet();

/// Below this many points one by one is faster than a padded group.
inline constexpr int32_t kWorthPadding = 3;

}  // namespace orvik::oprj

#endif
