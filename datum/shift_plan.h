// The dispatcher of datum shifts: the route from one datum type to another, prepared once and run
// over any number of points.
//
//   ShiftPlan plan;
//   if (!plan.prepare(source, destination, e.cause())) return e.fail(...);
//   for (each tile)
//     if (!plan.run(in, out, count, nullptr, e.cause())) return e.fail(...);
//
// Preparing and one run do exactly what oprj_DatumShift does, reports included; oprj_DatumShift is
// the two together. Between two parametric datums preparing allocates nothing and takes some tens
// of nanoseconds; other routes look names up and open grids. A prepared plan never changes: threads
// may run it at once, and it may be kept as long as isCurrent() says that it would be prepared
// alike.
#ifndef OPRJ_DATUM_SHIFT_PLAN_H
#define OPRJ_DATUM_SHIFT_PLAN_H

#include <oprj/oint.h>

#include <optional>

#include "datum/grids/grid_data.h"
#include "datum/parametric.h"
#include "datum/shift/leg_steps.h"
#include "records/records.h"

namespace orvik::oprj {

/// Where plans get their records and legs from: the library, or a test. A maker answers null when
/// there is no memory.
struct ShiftSources {
  Oprj_Spheroid *(*spheroidByName)(Oint_Toolkit *, const Oprj_Char *, Oprj_Spheroid *,
                                   Oerr_Report **);
  Oprj_Datum *(*datumByName)(Oint_Toolkit *, const Oprj_Char *, const Oprj_Char *, Oprj_Datum *,
                             Oerr_Report **);
  SharedLeg (*grid)(const Oprj_Datum *source, const Oprj_Datum *destination);
  /// Between the datum of that name, which has equations, and WGS 84.
  SharedLeg (*regression)(const char *datumName, bool forward);
  /// A surface datum on one side at least, else a parametric one.
  SharedLeg (*surface)(const Oprj_Spheroid *source, const Oprj_Spheroid *destination);
};
extern const ShiftSources kShiftSources;

class ShiftPlan final : public ShiftLeg {
 public:
  explicit ShiftPlan(const ShiftSources &sources = kShiftSources) : sources_(sources) {}
  ShiftPlan(const ShiftPlan &) = delete;
  ShiftPlan &operator=(const ShiftPlan &) = delete;

  /// Chooses the route and makes its legs; the spheroids are not needed afterwards. False with the
  /// report of oprj_DatumShift; then the plan cannot be run. Once a plan.
  bool prepare(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, Oerr_Report **err);
  /// The same for oprj_DatumShiftNew.
  bool prepareNew(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, Oerr_Report **err);

  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override;

  /// Whether the names of its grid files lead to what it has open: looks all of them up again. Says
  /// nothing of surfaces.
  bool isCurrent() const;
  /// What it has open under the name of a grid file; null for other names.
  SharedImage imageOf(const Oprj_Char *file) const;

  /// The shift that is all of the plan and cannot fail; null when there is more to it.
  const ParametricShift *soleParametric() const {
    return stepCount_ == 1 && parametric_ && parametric_->cannotFail() ? &*parametric_ : nullptr;
  }

 private:
  struct Ends;
  struct Leg;
  struct Route;
  static const Route kRoutes[4][4], kNewRoutes[2][2];

  bool follow(const Route &route, Ends &ends, ErrorScope &e);
  bool prepareNew(Ends &ends, ErrorScope &e);
  SharedLeg make(const Leg &leg, const Oprj_Spheroid *from, const Oprj_Spheroid *to);

  static constexpr int kEnds = 5;  ///< of the legs of all routes

  const ShiftSources &sources_;
  const char *operation_ = "";
  int32_t stepCount_ = 0;
  LegStep steps_[3];
  OwnedSpheroid fetched_[kEnds];  ///< from the tables; with them the grid files stay open
  /// In the plan itself: no route has more than one such leg.
  std::optional<ParametricShift> parametric_;
};

}  // namespace orvik::oprj

#endif
