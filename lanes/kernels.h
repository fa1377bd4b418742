// What crosses between the instruction sets: plain data and pointers, nothing else.
#ifndef OPRJ_KERNELS_H
#define OPRJ_KERNELS_H

#include <cstdint>

#include "lanes/processor.h"

namespace orvik::oprj {

/// Angles beyond this (radians, 167,000 turns) are refused: a double no longer tells 1.5 mm on the
/// ground, and farther out whole turns are guesswork.
inline constexpr double kFarthestAngle = 0x1p20;

/// Why a point came out as NaN where a run goes on after bad points.
enum class PointFault : uint8_t {
  kNone,
  kNotANumber,     ///< it went in as NaN
  kOutsideDomain,  ///< outside of the projection's domain
  kNotConverged,   ///< an iteration ended without a result
  kOutsideSheet,   ///< on no place of the globe
};

/// Why a point has no place, as it is reported: code and text (with "point # %ld:  %lf, %lf" where
/// the text tells the point) and, for a solver's failure, the solver's own report as its cause.
struct StopText {
  int32_t code;
  const char *text;
  const char *solver = nullptr;
  int32_t iterations = 0;  ///< that ended without a result; 0: the point lies where no place is
};

/// How a run over points goes, and how it went. As it stands it ends at the first point that stops,
/// behind which nothing is written.
struct PointRun {
  /// It goes on: points that stop become NaN, and their faults are written to `faults` (one a
  /// point, may be null). Good points leave theirs alone, and so do points that have one already.
  bool goesOn = false;
  PointFault *faults = nullptr;

  int32_t index = -1;             ///< of the point that ended it; -1: all points are done
  const StopText *why = nullptr;  ///< what ended it
  int32_t bad = 0;                ///< points that came out as NaN, where it goes on
};

/// Index of the instruction set in use, in the list of processor.h: the widest that the processor
/// has, or what the environment variable OPRJ_ISA asks for (by its name there) if the processor has
/// it. Chosen once when the library is loaded.
extern const int32_t &instructionSet;
#define OPRJ_COUNT_SET(...) +1
inline constexpr int32_t kInstructionSets = 0 OPRJ_SETS(OPRJ_COUNT_SET, );
#undef OPRJ_COUNT_SET
/// The widest set of this processor; and, for tests and benchmarks, another choice (not while
/// points are being projected).
int32_t widestInstructionSet();
void chooseInstructionSet(int32_t set);
/// As OPRJ_ISA spells it.
const char *instructionSetName(int32_t set);
/// What OPRJ_ISA asked for in vain; null when it did not.
const char *refusedInstructionSet();

/// OPRJ_KERNELS(TYPE, NAME) declares the table NAME of every set, which a source with lanes
/// defines, and NAMEInUse(), that of the set in use.
#define OPRJ_KERNELS(TYPE, NAME)              \
  OPRJ_SETS(OPRJ_DECLARE_KERNELS, TYPE, NAME) \
  inline const TYPE &NAME##InUse() {          \
    const TYPE *found = nullptr;              \
    OPRJ_SETS(OPRJ_PICK_KERNELS, TYPE, NAME)  \
    return *found;                            \
  }
#define OPRJ_DECLARE_KERNELS(SET, INDEX, LEAST, TYPE, NAME) \
  namespace SET {                                           \
  extern const TYPE NAME;                                   \
  }
#define OPRJ_PICK_KERNELS(SET, INDEX, LEAST, TYPE, NAME) \
  if (!found && instructionSet >= INDEX) found = &SET::NAME;

/// Below this many points one by one is faster than a padded group.
inline constexpr int32_t kWorthPadding = 3;

}  // namespace orvik::oprj

#endif
