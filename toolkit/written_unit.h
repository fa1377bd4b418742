// Units that carry their own definition: UNIT["50_Kilometers",50000.0].
#ifndef OPRJ_TOOLKIT_WRITTEN_UNIT_H
#define OPRJ_TOOLKIT_WRITTEN_UNIT_H

#include <oprj/ocvt.h>

namespace orvik::toolkit {

/// The unit that a text of the form UNIT["NAME",FACTOR] defines: metres for UNIT and LINUNIT,
/// radians for ANGUNIT. The same text gives the same unit, which lasts as long as the process. Null
/// for every other text and for factors that are not finite and above 0. Throws std::bad_alloc.
const Ocvt_Unit *writtenUnit(const char *text);

}  // namespace orvik::toolkit

#endif
