// The private block of an object that something outside computes. It is an array of doubles to
// everybody else and to itself four words: a tag, the address of what computes, which the blocks of
// copies share, and two that are spare. An address of null: this block has given up its share.
#ifndef OPRJ_PROJECTIONS_EXTERNAL_SHARED_BLOCK_H
#define OPRJ_PROJECTIONS_EXTERNAL_SHARED_BLOCK_H

#include <oprj/families.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "records/records.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

/// `Target` has a tag, kTag, and counts its `sharers`.
template <class Target>
class SharedBlock {
 public:
  static constexpr int32_t kWords = 4;

  /// Whether a block is of this kind.
  static bool is(const double *block) {
    return block && std::memcmp(block, &Target::kTag, sizeof Target::kTag) == 0;
  }
  static Target *target(const double *block) {
    Target *found;
    std::memcpy(&found, block + 1, sizeof found);
    return found;
  }
  /// Marks a new block; the share is the caller's until then.
  static void fill(double *block, Target *target) {
    std::memcpy(block, &Target::kTag, sizeof Target::kTag);
    std::memcpy(block + 1, &target, sizeof target);
  }
  /// Takes the share out of a block: the target, when it was the last one, to be ended by the
  /// caller; else null.
  static std::unique_ptr<Target> take(double *block) {
    Target *held = target(block);
    fill(block, nullptr);
    const bool last = held && held->sharers.fetch_sub(1) == 1;
    return std::unique_ptr<Target>(last ? held : nullptr);
  }

  /// The copier of a kind; `end` ends a target whose last share went with `old`.
  template <class End>
  static double *copy(const char *operation, const double *block, double *old, Oerr_Report **err,
                      End end) {
    toolkit::ErrorScope e(operation, err);
    if (!block) return e.fail(1, "Invalid input parameters");
    if (!is(block)) return e.fail(2, "Bad interface alert; fix oprj");
    double *made = oprj_ParametersCreate(kWords, e.cause());
    if (!made) return e.fail(3, "oprj_ParametersCreate failed");
    Target *shared = target(block);
    if (shared) ++shared->sharers;
    fill(made, shared);
    if (is(old))
      if (const auto ended = take(old)) end(*ended);
    omsc_HeapFree(old);
    return made;
  }

  /// The checks that point functions begin with: the target, or null with a report, of which
  /// `missing` (5) says that there is no target.
  static Target *forPoints(toolkit::ErrorScope &e, const Oprj_Point *in, const double *block,
                           const Oprj_Point *out, int32_t count, const char *missing) {
    constexpr const char *kNoPoints = "Invalid input geog points";
    if (!is(block)) return e.fail(1, "Invalid input parameters");
    if (!in) return e.fail(2, kNoPoints);
    if (!out) return e.fail(3, kNoPoints);
    if (count < 1) return e.fail(4, "Bad point count");
    Target *found = target(block);
    if (!found) return e.fail(5, "%s", missing);
    return found;
  }
};

/// Which points of an array are no numbers: whoever computes them, they stay so.
class NotNumbers {
 public:
  /// Throws std::bad_alloc.
  NotNumbers(const Oprj_Point *points, int32_t count) {
    for (int32_t i = 0; i < count; ++i)
      if (std::isnan(points[i].x) || std::isnan(points[i].y)) places_.push_back(i);
  }
  void put(Oprj_Point *points) const {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    for (const int32_t place : places_) points[place] = {kNaN, kNaN};
  }

 private:
  toolkit::HeapVector<int32_t> places_;
};

}  // namespace orvik::oprj

#endif
