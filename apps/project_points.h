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

/// What makes an input point none: not a number, or no place on the globe. Null when it is one.
inline const char *implausible(Oprj_Point p, bool geographic, double unitFactor) {
  if (!std::isfinite(p.x) || !std::isfinite(p.y)) return "a coordinate is not a number";
  if (!geographic) return nullptr;
  if (std::fabs(p.y * unitFactor) > kLargestLatitude) return "latitude beyond 90 degrees";
  if (std::fabs(p.x * unitFactor) > kLargestLongitude) return "longitude beyond 360 degrees";
  return nullptr;
}

/// A point that the library refused, or that came out as no place.
struct Failure {
  int32_t index;      ///< in its batch
  std::string cause;  ///< the message of the root cause
  std::string chain;  ///< all messages; only with -v
};

/// The count of points, and of those that failed: the first reasons as they come, then a count by
/// cause.
class Tally {
 public:
  explicit Tally(const Console &console) : console_(console) {}
  void addPoints(int64_t count) { points_ += count; }
  void addFailure(const std::string &file, int64_t line, int64_t column, std::string_view cause,
                  const std::string &chain = "");
  int64_t points() const { return points_; }
  int64_t failed() const { return failed_; }
  /// The count by cause, when not every reason was told.
  void printSummary() const;
  void printJson() const;

 private:
  const Console &console_;
  int64_t points_ = 0, failed_ = 0;
  std::map<std::string, int64_t, std::less<>> causes_;
};

/// Batches of points through a pair of systems.
class Projector {
 public:
  Projector(Oint_Toolkit *toolkit, const System &from, const System &to, const Console &console);

  /// Projects up to kBatch points in place. Those that fail become NaN and are returned, first ones
  /// first, until the next call; those that are NaN stay so and are not spoken of.
  const std::vector<Failure> &project(Oprj_Point *points, int32_t count);

  /// Points far beside the central meridian of a Transverse Mercator: told once, with their count.
  void warnOfFarPoints() const;

 private:
  /// A Transverse Mercator of the pair: which coordinates lie far beside its central meridian.
  struct Meridian {
    const char *name;
    bool isInput;
    double longitude;  ///< NaN: the other system has none
    double east, north, eastLimit, northLimit;
    int64_t far = 0;
    void count(const Oprj_Point *own, const Oprj_Point *other, int32_t count);
  };
  void watch(Oint_Toolkit *toolkit, const System &system, const System &other, bool isInput);
  void projectRange(const Oprj_Point *points, int32_t first, int32_t count);
  void checkResults(const Oprj_Point *points, int32_t count);

  const Console &console_;
  Slot err_;
  OwnedPair pair_;
  double inFactor_, outFactor_;
  bool identity_, toGeographic_;
  double largestX_, largestY_;  ///< of results
  std::vector<Meridian> meridians_;
  std::vector<Failure> failures_;
  Oprj_Point results_[kBatch];
};

}  // namespace program

#endif
