// Map info records: equality of the systems that two images are in.
#include <oprj/mapinfo.h>
#include <oprj/projection.h>

#include "toolkit/error_scope.h"

using orvik::toolkit::ErrorScope;

int32_t oprj_ProjectionsEqual(const Oprj_MapInfo *firstMapInfo, const Oprj_ProParameters *first,
                              const Oprj_MapInfo *secondMapInfo, const Oprj_ProParameters *second,
                              Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionsEqual", err);
  const bool compared = first && second;
  if (compared && !oprj_ProParametersEqual(first, second, e.cause())) {
    if (e.calleeFailed()) return e.fail(1, "Error returned from oprj_ProParametersEqual");
    return 0;
  }
  if (!firstMapInfo || !secondMapInfo) return firstMapInfo == secondMapInfo;

  const auto equal = [&](const Oprj_CharStr &text, const Oprj_CharStr &other) -> int32_t {
    const int32_t same = oprj_CharStrsEqual(&text, &other, e.cause());
    if (e.calleeFailed()) return e.fail(2, "Error returned from oprj_CharStrsEqual");
    return same;
  };
  // Names stand in for parameters only where there are none to compare.
  return (compared || equal(firstMapInfo->proName, secondMapInfo->proName)) &&
         equal(firstMapInfo->units, secondMapInfo->units);
}
