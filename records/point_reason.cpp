// The reasons in words.
#include <oprj/point_reason.h>

#include <iterator>

namespace {

constexpr const char *kTexts[] = {
    "good",           "not a number",     "outside the projection's domain", "outside the sheet",
    "no convergence", "outside the grid", "outside the regression's area",   "datum shift failed",
    "inaccurate",
};
static_assert(std::size(kTexts) == OPRJ_POINT_REASONS);

}  // namespace

const char *oprj_PointReasonText(Oprj_PointReason reason) {
  return reason < OPRJ_POINT_REASONS ? kTexts[reason] : "unknown";
}
