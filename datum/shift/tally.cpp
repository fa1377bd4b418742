#include "datum/shift/tally.h"

namespace orvik::oprj {

namespace {

// Reserved when the thread begins: made on first use, it could fail.
[[gnu::tls_model("initial-exec")]] constinit thread_local Oprj_ShiftTally tallyOfThread{};

}  // namespace

Oprj_ShiftTally &shiftTally() { return tallyOfThread; }

}  // namespace orvik::oprj

void oprj_ShiftTallyGet(Oprj_ShiftTally *tally) {
  if (tally) *tally = orvik::oprj::shiftTally();
}
