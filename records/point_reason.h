/* Why a point has no result: what operations that go on after bad points tell for each of them. */
#ifndef OPRJ_POINT_REASON_H
#define OPRJ_POINT_REASON_H

#include "obase.h"

OPRJ_BEGIN_C

/** One of the enumerators below. */
typedef uint8_t Oprj_PointReason;

enum {
  OPRJ_POINT_GOOD = 0,
  OPRJ_POINT_NOT_A_NUMBER,       /**< a coordinate was none */
  OPRJ_POINT_OUTSIDE_DOMAIN,     /**< this place on the globe has none on the sheet */
  OPRJ_POINT_NO_CONVERGENCE,     /**< an iteration did not come to an end */
  OPRJ_POINT_OUTSIDE_SHEET,      /**< this place on the sheet has none on the globe */
  OPRJ_POINT_OUTSIDE_GRID,       /**< no grid of the datum shift covers it */
  OPRJ_POINT_OUTSIDE_REGRESSION, /**< outside the area of the regression equations */
  OPRJ_POINT_SHIFT_FAILED,       /**< the datum shift gave nothing */
  OPRJ_POINT_INACCURATE,         /**< projected back it returned elsewhere */
  OPRJ_POINT_REASONS             /**< how many there are */
};

/** The reason in words, as "outside the projection's domain"; constant. */
OPRJ_API const char *oprj_PointReasonText(Oprj_PointReason reason);

OPRJ_END_C

#endif
