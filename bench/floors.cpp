// The floors' loops (floors.h).
#include "floors.h"

#include "lanes/point_runner.h"

namespace orvik::oprj::OPRJ_SET {

struct Nothing {};
struct Division {
  OPRJ_INLINE static Lanes of(Lanes x) { return 1.0 / x; }
};
struct Root {
  OPRJ_INLINE static Lanes of(Lanes x) { return sqrt(x); }
};

template <class Operation>
struct Floor {
  using Block = double;  // none
  static constexpr PointFault kElsewhere = PointFault::kNone;
  static const StopText *point(const Block &, Oprj_Point in, Oprj_Point *out) {
    *out = in;
    return nullptr;
  }
  OPRJ_INLINE static Odd group(const Block &, Lanes x, Lanes y, Lanes &u, Lanes &v) {
    u = x;
    v = y;
    if constexpr (requires { Operation::of(x); }) {
#pragma GCC unroll 16
      for (int i = 0; i < kFloorOperations; ++i) u += Operation::of(x + Lanes(i));
    }
    return {never<Lanes>()};
  }
};

template <class Operation>
static void runFloor(const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  PointRun how;
  runPoints<Floor<Operation>>(0.0, in, out, count, how);
}

const Floors floors = {runFloor<Nothing>, runFloor<Division>, runFloor<Root>};

}  // namespace orvik::oprj::OPRJ_SET
