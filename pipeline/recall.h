// What was decided about the pairs of systems that a thread projected between last: whether they
// are the same, and the shift between them. Calls with few points spend most of their time on that.
//
// A decision is kept with a copy of everything it was made from, and serves again only for systems
// that are the same in all of that, byte for byte. Whose memory they lie in has no part in it: a
// handle that was freed and made anew at its old address, or whose record was changed in place, is
// what its contents are. Kept are only decisions that depend on the two systems alone: no shift
// that looks names up or opens files, no comparison that asks the tables, no system with another
// process behind it. Threads keep theirs apart, without waiting for each other, in static memory.
//
// A shift by grid files is kept likewise, but with the handle whose datum has one, until that is
// freed, and for all threads: it holds the files open. It depends on them, on where they are found
// and on the tables, which all are looked up again where that was last done more than kLookAgain
// ago.
#ifndef OPRJ_PIPELINE_RECALL_H
#define OPRJ_PIPELINE_RECALL_H

#include <oprj/projection.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

#include "datum/grids/grid_data.h"
#include "datum/shift_plan.h"

namespace orvik::oprj {

struct Decision {
  bool equal = false;     ///< the systems are the same
  bool shifts = false;    ///< points are shifted
  ParametricShift shift;  ///< by this, unless a plan of more legs is due
};

/// A shift by grid files, between two systems of certain contents.
class KeptPlan final : public Prepared {
 public:
  /// A file that is replaced, or put where it is found before another, serves no later than this
  /// afterwards; looking it up takes as long as a thousandth of this.
  static constexpr std::chrono::milliseconds kLookAgain{10};

  /// One to prepare a plan in. Null for a pair whose shift cannot be kept, or without memory.
  static std::unique_ptr<KeptPlan> make(const Oprj_MapProjectionEx *in,
                                        const Oprj_MapProjectionEx *out);
  /// Leaves a prepared one with its handle, which owns it then, unless that has too many: they are
  /// of other partners, and of files that were replaced.
  static void keep(std::unique_ptr<KeptPlan> &made, const Oprj_MapProjectionEx *in,
                   const Oprj_MapProjectionEx *out);
  /// The one that two handles of the native set have; null without any that is current.
  static const ShiftPlan *find(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out);

  ~KeptPlan() override;
  ShiftPlan plan;

 private:
  struct Ends;
  KeptPlan();
  bool isCurrent(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out) const;

  std::unique_ptr<Ends> ends_;
  mutable std::atomic<std::chrono::steady_clock::time_point> lookedUp_;
};

/// The decision about two handles; false when none is kept. `plan` is the shift where it is one of
/// grid files: it lives as long as the handles are what they are.
bool recall(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
            std::optional<Decision> &decision, const ShiftPlan *&plan);
/// Keeps a decision, if it can be kept.
void remember(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
              const Decision &decision);

}  // namespace orvik::oprj

#endif
