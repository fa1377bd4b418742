// Two systems with points on their way between them, as Transformer holds them. Threads may share
// one.
#ifndef OPRJ_PYTHON_PAIR_H
#define OPRJ_PYTHON_PAIR_H

#include <array>
#include <functional>
#include <mutex>

#include "arrays.h"
#include "system.h"

namespace oprj_python {

/// How points are to be projected.
struct Wishes {
  bool inverse = false;
  int32_t threads = 1;
  double verify = 0;           ///< metres; 0: not at all
  bool keepUncovered = false;  ///< points that no grid covers stay
  bool stopAtBad = false;      ///< end at the first bad point
};

/// What became of an array of points.
struct Outcome {
  std::array<int64_t, OPRJ_POINT_REASONS> counts{};  ///< by reason
  int64_t firstBad = -1;
};

/// A step of the chain (chain.h), as values.
struct Step {
  int32_t kind, formula;
  std::string from, to, fromSpheroid, toSpheroid;
  int32_t fromType, toType, moved, tried;
  double least, median, greatest;
  std::string trouble;
};

class Pair {
 public:
  /// Throws Failure, also when the shift between the datums cannot be made at all.
  Pair(std::shared_ptr<const System> source, std::shared_ptr<const System> target);

  /// A program computes one of the systems, for one thread at a time.
  bool waits() const { return external_; }
  /// One point, in the systems' units.
  Oprj_PointReason point(Oprj_Point &point, const Wishes &wishes) const;

  /// `count` points; `reasons` may be null. `pause` is called every few milliseconds by the calling
  /// thread alone, and what it throws ends the call. Throws Failure.
  Outcome run(const Coordinates &in, const Coordinates &out, Oprj_PointReason *reasons,
              int64_t count, const Wishes &wishes, const std::function<void()> &pause) const;

  /// What the library reports of a point that has no result; nothing of one that it lets pass.
  std::vector<Report> reportsAt(const Oprj_Point &point, bool inverse) const;

  std::vector<Step> steps() const;
  std::vector<std::string> cautions() const;

 private:
  using OwnedPair = Owned<Oprj_ProjectionPair, oprj_ProjectionPairFree>;
  /// What the coordinates of a system are.
  struct Side {
    const Ocvt_Unit *unit;  ///< as they are handed in and out
    const Ocvt_Unit *own;   ///< as the projection has them: radians or metres
    double limit;           ///< of y, in the first: no place lies beyond
    Oprj_PointReason beyond;
    const char *nameUnlessOwn() const { return unit == own ? nullptr : unit->name; }
  };
  struct Direction {
    std::vector<OwnedPair> pairs;  ///< one after another
    Side in, out;
    bool straight;  ///< one pair of the library's own, which looks for places by itself
  };
  class Job;
  Direction between(const System &from, const System &to) const;
  static Side sideOf(const System &system);
  static Oprj_ProjectOptions optionsOf(const Direction &way, const Wishes &wishes);
  const Direction &direction(bool inverse) const { return inverse ? back_ : forth_; }
  /// Projects points where they are; `beyond`: one of them lies beyond the limit. Returns how many
  /// are good.
  static int64_t project(const Direction &way, const Wishes &wishes, Oprj_Point *points,
                         bool beyond, Oprj_PointReason *reasons, int64_t count, Oerr_Report **err);
  /// Results that are good and yet no places have none; returns how many there are.
  static int64_t refuseBeyond(const Direction &way, Oprj_Point *points, Oprj_PointReason *reasons,
                              int64_t count);
  static bool refuse(const Direction &way, Oprj_Point &point, Oprj_PointReason &reason);

  std::shared_ptr<const System> source_, target_;
  Direction forth_, back_;
  bool external_;                  ///< a program computes one of them, for one thread at a time
  mutable std::mutex oneAtATime_;  ///< then
};

}  // namespace oprj_python

#endif
