// What the two transports of external projections share beside the kind of their blocks.
#ifndef OPRJ_PROJECTIONS_EXTERNAL_EXTERNAL_H
#define OPRJ_PROJECTIONS_EXTERNAL_EXTERNAL_H

#include <oprj/map_projection.h>

#include "toolkit/error_scope.h"

namespace orvik::oprj {

struct OutsideFunctions {
  Oprj_PointFunction fromLL, toLL;
  Oprj_ParametersCopier copy;
  Oprj_ProjectionQuitter quit;
};

/// The object over a block, which it then owns, and a copy of the record. Null with the report
/// `code` or `code` + 1.
Oprj_MapProjection *objectOutside(toolkit::ErrorScope &e, int32_t code,
                                  const Oprj_ProParameters *record, double *block,
                                  const OutsideFunctions &functions);

/// The object of a record whose plug-in lies at `path`; null with a report.
Oprj_MapProjection *initializePlugIn(const Oprj_ProParameters *record, const char *path,
                                     Oerr_Report **err);

}  // namespace orvik::oprj

#endif
