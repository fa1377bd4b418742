// What was decided about the pairs of systems that a thread projected between last: whether they
// are the same, and the shift between them. Calls with few points spend most of their time on that.
//
// A decision is kept with a copy of everything it was made from, and serves again only for systems
// that are the same in all of that, byte for byte. Whose memory they lie in has no part in it: a
// handle that was freed and made anew at its old address, or whose record was changed in place, is
// what its contents are. Kept are only decisions that depend on the two systems alone: no shift
// that looks names up or opens files, no comparison that asks the tables, no system with another
// process behind it.
//
// Threads keep theirs apart, without waiting for each other, in static memory.
#ifndef OPRJ_PIPELINE_RECALL_H
#define OPRJ_PIPELINE_RECALL_H

#include <oprj/projection.h>

#include <optional>

#include "datum/parametric.h"

namespace orvik::oprj {

struct Decision {
  bool equal = false;     ///< the systems are the same
  bool shifts = false;    ///< points are shifted
  ParametricShift shift;  ///< by this, unless a plan of more legs is due
};

/// The decision about two handles; false when none is kept.
bool recall(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
            std::optional<Decision> &decision);
/// Keeps a decision, if it can be kept.
void remember(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
              const Decision &decision);

}  // namespace orvik::oprj

#endif
