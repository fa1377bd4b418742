// The reasons in words.
#include <oprj/point_reason.h>

#include <iterator>

namespace {

constexpr const char *kTexts[] = {
    // as the enumerators follow each other
    "good",
    "not a number",
    "outside the projection's domain",
    "no convergence",
    "outside the sheet",
    "outside the grid",
    "outside the regression's area",
    "datum shift failed",
    "inaccurate",
};
static_assert(std::size(kTexts) == OPRJ_POINT_REASONS);

}  // namespace

const char *oprj_PointReasonText(Oprj_PointReason reason) {
  return reason < OPRJ_POINT_REASONS ? kTexts[reason] : "unknown";
}
