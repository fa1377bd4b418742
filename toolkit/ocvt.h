/* Units of length and angle, and packed degrees-minutes-seconds. */
#ifndef OPRJ_OCVT_H
#define OPRJ_OCVT_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

enum { OCVT_KIND_DISTANCE = 0, OCVT_KIND_ANGLE = 1, OCVT_KIND_NONE = 2 };

/** A unit: borrowed for the life of the process. `factor` is metres or
   radians per unit (0 for the units without a factor: "other", "unknown", "pixels", "dms").
   `numerator` and `denominator` give the factor as an exact quotient where the definition has one
   (metres for distances, half turns of pi radians for angles), else both are 0. */
typedef struct {
  const char *name;
  const char *const *aliases; /**< ended by null */
  int32_t kind;
  double factor;
  double numerator;
  double denominator;
  const char *source; /**< where the factor comes from */
} Ocvt_Unit;

/** The unit of that name or alias, ASCII letters in any case, "_", "-" and blank alike; also a unit
   that a text UNIT["50_Kilometers",50000.0] defines (metres; radians for ANGUNIT), which then lasts
   as long as the process. Null with a report for an unknown name, the nearest names suggested; a
   null name is refused. */
OPRJ_API const Ocvt_Unit *ocvt_UnitSetByName(const char *name, Oerr_Report **err);

/** Unit number `index` of the table, null when out of range: for listings. */
OPRJ_API const Ocvt_Unit *ocvt_UnitByIndex(int32_t index);

/** Converts `value` between two units of one kind; the same unit, whichever it is, gives the value
    back bit for bit. Between units that are exact quotients it multiplies once and divides once.
    Different kinds and units without a factor are refused: 0.0 with a report. */
OPRJ_API double ocvt_UnitsConvert(double value, const Ocvt_Unit *from, const Ocvt_Unit *to,
                                  Oerr_Report **err);

/** ocvt_UnitsConvert of `count` values in place: the same results. 1, or 0 with a report and the
    values unchanged. */
OPRJ_API int32_t ocvt_UnitsConvertArray(double *values, size_t count, const Ocvt_Unit *from,
                                        const Ocvt_Unit *to, Oerr_Report **err);

/** ocvt_UnitsConvert by the units' names. */
OPRJ_API double ocvt_UnitsConvertByName(double value, const char *from, const char *to,
                                        Oerr_Report **err);

/** Packed DDDMMMSSS.SS (degrees x 1000000 + minutes x 1000 + seconds, the sign in front of the
   whole) to radians. Degrees above 360, minutes above 60, seconds above 60 and values that are not
   finite are refused: 0.0 with a report. */
OPRJ_API double ocvt_GCTPPackedDMS2Radians(double packed, Oerr_Report **err);

/** Radians to packed DDDMMMSSS.SS; seconds within 5e-10 of 60 become the next minute, minute 60 the
   next degree. Above 360 degrees and not finite: 0.0 with a report. */
OPRJ_API double ocvt_Radians2GCTPPackedDMS(double radians, Oerr_Report **err);

/** Reads an angle in degrees written as a decimal number or as d:m:s (also d m s with the signs for
    degree, minute and second), with a sign in front or N, S, E, W behind: returns 1 and stores
   decimal degrees, else 0. Minutes and seconds must lie in [0, 60). */
OPRJ_API int32_t ocvt_AngleParse(const char *text, double *degrees);

OPRJ_END_C

#endif
