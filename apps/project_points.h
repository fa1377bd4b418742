// What happens to the points of `oprj project`: projected in batches, and counted when they fail.
#ifndef OPRJ_APPS_PROJECT_POINTS_H
#define OPRJ_APPS_PROJECT_POINTS_H

#include <cmath>
#include <map>

#include "system.h"

namespace program {

inline constexpr int32_t kBatch = 2048;  // points a call: stays in cache

// Places on the globe, in radians, with room for rounding.
inline constexpr double kLargestLongitude = 360 * kDegree + 1e-10;
inline constexpr double kLargestLatitude = 90 * kDegree + 1e-10;

/// What makes an input point none: not a number, or no place on the globe.
struct Doubt {
  const char *reason = nullptr;  ///< null: it is one
  bool ofY = false;              ///< which coordinate
};
inline Doubt implausible(Oprj_Point p, bool geographic, double unitFactor) {
  constexpr const char *kNoNumber = "a coordinate is not a number";
  if (!std::isfinite(p.x)) return {kNoNumber, false};
  if (!std::isfinite(p.y)) return {kNoNumber, true};
  if (!geographic) return {};
  if (std::fabs(p.y * unitFactor) > kLargestLatitude) return {"latitude beyond 90 degrees", true};
  if (std::fabs(p.x * unitFactor) > kLargestLongitude)
    return {"longitude beyond 360 degrees", false};
  return {};
}

/// A point that the library refused, or that came out as no place.
struct Failure {
  int32_t index;  ///< in its batch
  const char *cause;
};

/// What is told of a part of a file.
struct Told {
  struct Line {
    int64_t line, column;
    std::string cause;
  };
  int64_t points = 0, comments = 0, blanks = 0, headers = 0;
  int64_t pointsInComments = 0;   ///< comments that could be read as points
  int64_t outsideGrid = 0;        ///< points that no grid covers, which pass unshifted
  int64_t outsideRegression = 0;  ///< points shifted outside of a regression's area
  std::vector<int64_t> far;       ///< beside the meridians of the projector
  std::vector<Line> failures;
  bool inBytes = false;  ///< a failure's line is told by its first byte, counted from 1
};

/// The count of points, and of those that failed: the first reasons as they come, then a count by
/// cause.
class Tally {
 public:
  explicit Tally(const Console &console) : console_(console) {}
  void add(const std::string &file, const Told &part);
  const Told &sums() const { return sums_; }  ///< without failures
  int64_t failed() const { return failed_; }
  /// The count by cause, when not every reason was told.
  void printSummary() const;
  /// As JSON: everything that was told.
  std::string report(const std::string &end, Status status) const;

 private:
  void addFailure(const std::string &place, const Told::Line &failure);
  const Console &console_;
  Told sums_;
  int64_t failed_ = 0;
  std::map<std::string, int64_t, std::less<>> causes_;
};

/// Points through a pair of systems. Any number of threads may project at once.
class Projector {
 public:
  /// With `verify` above 0 points fail that return farther away than so many metres; `strict`:
  /// those too that the datum shift does not cover.
  Projector(Oint_Toolkit *toolkit, const System &from, const System &to, const Console &console,
            double verify, bool strict);

  /// What one call works with, as large as the largest so far, and the points that failed in it,
  /// first ones first.
  class Work {
   public:
    std::vector<Failure> failures;

   private:
    friend class Projector;
    std::vector<Oprj_Point> results;
    std::vector<Oprj_PointReason> reasons;
  };
  /// Projects points in place, shared among `threads`. Those that fail become NaN and are told in
  /// `work.failures`; those that are NaN stay so and are not spoken of. `told` counts the points
  /// far beside each meridian and those that the datum shift does not cover. Throws Stop when none
  /// can be projected.
  void project(Oprj_Point *points, int32_t count, Work &work, Told &told,
               int32_t threads = 1) const;

  const std::vector<OwnedPair> &pairs() const { return pairs_; }
  /// Points far beside the central meridian of a Transverse Mercator.
  void warnOfFarPoints(const std::vector<int64_t> &far) const;

 private:
  /// A Transverse Mercator of the pair: which coordinates lie far beside its central meridian.
  struct Meridian {
    const char *name;
    bool isInput;
    double longitude;  ///< NaN: the other system has none
    double east, north, eastLimit, northLimit;
    int64_t count(const Oprj_Point *own, const Oprj_Point *other, int32_t count) const;
  };
  void watch(Oint_Toolkit *toolkit, const System &system, const System &other, bool isInput);

  const Console &console_;
  Slot err_;
  std::vector<OwnedPair> pairs_;
  double inFactor_, outFactor_;
  bool identity_, toGeographic_;
  double largestX_, largestY_;  ///< of results
  double verify_;
  bool strict_;
  std::vector<Meridian> meridians_;
};

}  // namespace program

#endif
