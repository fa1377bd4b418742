// What a row of the families' table cannot go below.
#ifndef OPRJ_BENCH_FLOORS_H
#define OPRJ_BENCH_FLOORS_H

#include <oprj/values.h>

#include <map>
#include <string>

#include "lanes/kernels.h"

namespace orvik::oprj {

/// The point loop without a formula, and with so many divisions or roots a point that do not wait
/// for each other.
struct Floors {
  using Run = void (*)(const Oprj_Point *in, Oprj_Point *out, int32_t count);
  Run nothing, divisions, roots;
};
inline constexpr int kFloorOperations = 16;
OPRJ_KERNELS(Floors, floors)

}  // namespace orvik::oprj

namespace bench {

/// Operations a point that a family's loop holds, in its code for the widest instruction set: those
/// of branches that are seldom taken among them, and those of an iteration once.
struct SlowOperations {
  double divisions = 0, roots = 0;
};
/// By the names of the family's points functions, as "oprj_SinusoidalFromLL"; from this program's
/// disassembly.
std::map<std::string, SlowOperations> slowOperations();

}  // namespace bench

#endif
