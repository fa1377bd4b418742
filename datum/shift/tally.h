// What the shifts of this thread could do no better (oprj_ShiftTallyGet).
#ifndef OPRJ_DATUM_TALLY_H
#define OPRJ_DATUM_TALLY_H

#include <oprj/datum_shift.h>

namespace orvik::oprj {

/// This thread's own. Who runs points again sets it back in between, so that they count once.
Oprj_ShiftTally &shiftTally();
/// Adds what the shifts of another thread could do no better.
inline Oprj_ShiftTally &operator+=(Oprj_ShiftTally &tally, const Oprj_ShiftTally &more) {
  tally.unshifted += more.unshifted;
  tally.unconverged += more.unconverged;
  tally.outsideArea += more.outsideArea;
  return tally;
}

}  // namespace orvik::oprj

#endif
