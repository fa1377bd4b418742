// What the point loop costs without a formula: reading and writing the points.
#include <oprj/values.h>

#include "lanes/point_runner.h"

namespace orvik::oprj::OPRJ_SET {

struct Copy {
  using Block = double;
  static constexpr PointFault kElsewhere = PointFault::kNone;
  static const StopText *point(const Block &, Oprj_Point in, Oprj_Point *out) {
    *out = in;
    return nullptr;
  }
  OPRJ_INLINE static Odd group(const Block &, Lanes x, Lanes y, Lanes &u, Lanes &v) {
    u = x;
    v = y;
    return {never<Lanes>()};
  }
};

void copyPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  PointRun how;
  runPoints<Copy>(0.0, in, out, count, how);
}

}  // namespace orvik::oprj::OPRJ_SET

#if OPRJ_FLAT
#include "report.h"

#define OPRJ_DECLARE_COPY(SET, ...)                                      \
  namespace orvik::oprj::SET {                                           \
  void copyPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count); \
  }
OPRJ_SETS(OPRJ_DECLARE_COPY, )

void bench::copyPoints(int set, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
#define OPRJ_RUN_COPY(SET, INDEX, ...) \
  if (set == INDEX) return orvik::oprj::SET::copyPoints(in, out, count);
  OPRJ_SETS(OPRJ_RUN_COPY, )
}
#endif
