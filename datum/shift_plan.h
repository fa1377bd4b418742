// A datum shift prepared once and run over any number of points.
//
//   ShiftPlan plan;
//   if (!plan.prepare(source, destination, e.cause())) return e.fail(...);   // once a call
//   for (each tile)
//     if (!plan.run(in, out, count, e.cause())) return e.fail(...);
//
// Preparing and one run do exactly what oprj_DatumShift does, reports included (both report under
// that name); oprj_DatumShift is the two together. Between two parametric datums preparing
// allocates nothing and takes some tens of nanoseconds; other routes look names up and open grids.
#ifndef OPRJ_DATUM_SHIFT_PLAN_H
#define OPRJ_DATUM_SHIFT_PLAN_H

#include "records/records.h"
#include "datum/parametric.h"

namespace orvik::oprj {

/// The ends of a leg: the call's own two spheroids and the named ones that join datum types.
enum class ShiftEnd { kSource, kDestination, kNad83, kNad83Dma, kWgs84 };
inline constexpr int kShiftEnds = 5;

/// One specialised shift of a route and what the route says when it fails.
struct ShiftLeg {
  enum Kind { kParametric, kGrid, kForwardRegression, kInverseRegression, kSurface } kind;
  ShiftEnd from, to;
  int32_t code;
  const char *message;
};

/// Up to three legs in their order.
struct ShiftRoute {
  int32_t count;
  ShiftLeg legs[3];
};

class ShiftPlan {
 public:
  ShiftPlan() = default;
  ShiftPlan(const ShiftPlan &) = delete;
  ShiftPlan &operator=(const ShiftPlan &) = delete;

  /// Chooses the route and fetches what it needs. The spheroids must stay as they are while the
  /// plan is used. False with the report of oprj_DatumShift; then the plan cannot be run. Once a
  /// plan.
  bool prepare(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, Oerr_Report **err);
  /// The same for oprj_DatumShiftNew.
  bool prepareNew(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, Oerr_Report **err);

  /// Shifts `count` points; `in` and `out` are the same array or do not overlap. False with a
  /// report.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err);

 private:
  bool takeEnds(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, ErrorScope &e);
  bool fetch(ShiftEnd end, const char *spheroidName, const char *datumName, bool datumFirst,
             ErrorScope &e);
  bool follow(const ShiftRoute &route, ErrorScope &e);
  bool chooseNew(ErrorScope &e);
  bool runRoute(const Oprj_Point *in, Oprj_Point *out, int32_t count, int32_t &settled,
                ErrorScope &e);
  bool runLeg(const ShiftLeg &leg, const Oprj_Point *in, Oprj_Point *out, int32_t count,
              Oerr_Report **err);
  void tellDropped(const Oerr_Report *report);

  const Oprj_Spheroid *&at(ShiftEnd end) { return ends_[static_cast<int>(end)]; }

  const ShiftRoute *route_ = nullptr;
  const Oprj_Spheroid *ends_[kShiftEnds] = {};
  OwnedSpheroid fetched_[kShiftEnds];
  OwnedPoints between_;         ///< points between two legs
  ParametricShift parametric_;  ///< no route has more than one such leg
  bool asNew_ = false;          ///< reports as oprj_DatumShiftNew only
  bool throughNew_ = false;     ///< the dispatcher hands the points to oprj_DatumShiftNew
  bool silent_ = false;         ///< a surface source: failures are told, not reported
  bool told_ = false;
};

}  // namespace orvik::oprj

#endif
