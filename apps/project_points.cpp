#include "project_points.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <functional>

#include "shift.h"

namespace program {
namespace {

constexpr int64_t kReasonsShown = 20;
constexpr size_t kCausesKept = 100;  // memory stays bounded should messages differ by the point

/// Beyond this distance from the central meridian the series of Transverse Mercator are told: they
/// are meant for a zone, 0.4 m off at 10 degrees and soon kilometres.
constexpr double kFarDegrees = 10;

}  // namespace

void Tally::addFailure(const std::string &place, const Told::Line &failure) {
  auto found = causes_.find(failure.cause);
  if (found == causes_.end())
    found =
        causes_.try_emplace(causes_.size() < kCausesKept ? failure.cause : "other causes").first;
  ++found->second;
  if (failed_++ >= kReasonsShown) return;
  tell(place + std::to_string(failure.line) + ":" + std::to_string(failure.column) + ": " +
       failure.cause);
}

void Tally::add(const std::string &file, const Told &part) {
  const std::string place = file + (part.inBytes ? ":byte " : ":");
  for (const Told::Line &failure : part.failures) addFailure(place, failure);
  for (int64_t Told::*count :
       {&Told::points, &Told::comments, &Told::blanks, &Told::headers, &Told::pointsInComments,
        &Told::outsideGrid, &Told::outsideRegression})
    sums_.*count += part.*count;
  sums_.far.resize(std::max(sums_.far.size(), part.far.size()));
  std::transform(part.far.begin(), part.far.end(), sums_.far.begin(), sums_.far.begin(),
                 std::plus<>());
}

void Tally::printSummary() const {
  if (failed_ <= kReasonsShown) return;
  tell("oprj: " + std::to_string(failed_) + " of " + std::to_string(sums_.points) +
       " points failed:");
  for (const auto &[cause, count] : causes_) tell("  " + std::to_string(count) + ": " + cause);
}

std::string Tally::report(const std::string &end, Status status) const {
  std::string causes, warnings;
  for (const auto &[cause, count] : causes_)
    causes += (causes.empty() ? "" : ", ") + jsonText(cause) + ": " + std::to_string(count);
  for (const std::string &warning : console_.warnings)
    warnings += (warnings.empty() ? "" : ", ") + jsonText(warning);
  const auto count = [](const char *name, int64_t value) {
    return std::string("  \"") + name + "\": " + std::to_string(value) + ",\n";
  };
  return "{\n" + count("points", sums_.points) + count("failed", failed_) + "  \"causes\": {" +
         causes + "},\n" + count("comments", sums_.comments) +
         count("points_in_comments", sums_.pointsInComments) + count("blank_lines", sums_.blanks) +
         count("headers", sums_.headers) + count("outside_grid", sums_.outsideGrid) +
         count("outside_regression", sums_.outsideRegression) + "  \"warnings\": [" + warnings +
         "],\n" + (end.empty() ? "" : "  \"error\": " + jsonText(end) + ",\n") +
         "  \"status\": " + std::to_string(status) + "\n}\n";
}

Projector::Projector(Oint_Toolkit *toolkit, const System &from, const System &to,
                     const Console &console, double verify, bool strict)
    : console_(console),
      pairs_(makePairs(toolkit, from, to, console)),
      inFactor_(from.unitFactor),
      outFactor_(to.unitFactor),
      toGeographic_(to.geographic),
      largestX_(to.geographic ? kLargestLongitude : DBL_MAX),
      largestY_(to.geographic ? kLargestLatitude : DBL_MAX),
      verify_(verify),
      strict_(strict) {
  const bool equal =
      pairs_.size() == 1 && oprj_MapProjectionEqual(pairs_[0]->in, pairs_[0]->out, err_.get()) != 0;
  identity_ = pairs_.empty() || (equal && inFactor_ == outFactor_);
  if (equal) return;
  watch(toolkit, from, to, true);
  watch(toolkit, to, from, false);
}

void Projector::watch(Oint_Toolkit *toolkit, const System &system, const System &other,
                      bool isInput) {
  const Oprj_ProParameters *record = system.record.get();
  if (record->proType != OPRJ_INTERNAL || system.spheroid().a == system.spheroid().b) return;
  const OwnedRecord details(record->proNumber == 1 ? oprj_UTMDetailsGet(toolkit, record, err_.get())
                            : record->proNumber == 2
                                ? oprj_StatePlaneDetailsGet(toolkit, record, err_.get())
                                : nullptr);
  if (details) record = details.get();
  if (record->proNumber != 9) return;  // Transverse Mercator
  const double *slots = record->proParams.data;
  const double radius = slots[2] * record->proSpheroid->a;
  constexpr double kBeyondThePole = 1.005 * M_PI / 2;  // the quarter of a sphere, and some
  meridians_.push_back({.name = system.name(),
                        .isInput = isInput,
                        .longitude = other.geographic ? slots[4] : NAN,
                        .east = slots[6],
                        .north = slots[7] - radius * slots[5],
                        .eastLimit = radius * kFarDegrees * kDegree,
                        .northLimit = radius * kBeyondThePole});
}

/// Far by the longitude, when there is one; by an easting that is far already at the equator; or by
/// a northing beyond the pole.
int64_t Projector::Meridian::count(const Oprj_Point *own, const Oprj_Point *other,
                                   int32_t count) const {
  constexpr double kLimit = kFarDegrees * kDegree;
  int32_t found = 0;
  for (int32_t i = 0; i < count; ++i) {
    const double turn = std::fabs(other[i].x - longitude);
    const bool isFar = ((turn > kLimit) & (std::fabs(turn - 2 * M_PI) > kLimit)) |
                       (std::fabs(own[i].x - east) > eastLimit) |
                       (std::fabs(own[i].y - north) > northLimit);
    found += isFar & !std::isunordered(own[i].x, other[i].x);  // those that failed are told already
  }
  return found;
}

void Projector::warnOfFarPoints(const std::vector<int64_t> &far) const {
  for (size_t i = 0; i < far.size(); ++i) {
    if (far[i] == 0) continue;
    console_.warn(pointsThat(far[i], "lies", "lie") + " more than " + numberText(kFarDegrees) +
                  " degrees beside the central meridian of \"" + meridians_[i].name +
                  "\": its formulas are meant for a zone, and lose metres to kilometres there" +
                  (verify_ > 0 ? "" : "; --verify marks the points that do not return"));
  }
}

void Projector::project(Oprj_Point *points, int32_t count, Work &work, Told &told,
                        int32_t threads) const {
  std::vector<Failure> &failures = work.failures;
  std::vector<Oprj_Point> &results = work.results;
  std::vector<Oprj_PointReason> &reasons = work.reasons;
  failures.clear();
  if (identity_ || count == 0) return;  // bit for bit
  results.resize(std::max(results.size(), static_cast<size_t>(count)));
  reasons.resize(results.size());
  for (int32_t i = 0; i < count; ++i)
    points[i] = {points[i].x * inFactor_, points[i].y * inFactor_};
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.threads = threads;
  options.verify = verify_;
  options.keepUncovered = strict_ ? 0 : 1;
  Slot err;
  const Oprj_Point *from = points;
  int64_t good = 0;
  std::vector<Oprj_PointReason> earlier;
  for (const OwnedPair &pair : pairs_) {
    good = oprj_ProjectEach(pair.get(), from, results.data(), reasons.data(), &options, count,
                            err.get());
    if (err) throw Stop(kUnusable, err.text());
    for (size_t i = 0; i < earlier.size(); ++i) {  // NaN that a pair before has made
      if (reasons[i] == OPRJ_POINT_GOOD || reasons[i] == OPRJ_POINT_NOT_A_NUMBER)
        reasons[i] = earlier[i];
    }
    from = results.data();
    if (pairs_.size() > 1) earlier.assign(reasons.begin(), reasons.begin() + count);
  }
  // a formula far outside of its domain may give a result that is no place
  const auto isPlace = [this](Oprj_Point p) {
    return (std::fabs(p.x) <= largestX_) & (std::fabs(p.y) <= largestY_);
  };
  bool all = good == count;
  for (int32_t i = 0; i < count; ++i) all &= isPlace(results[static_cast<size_t>(i)]);
  for (int32_t i = 0; !all && i < count; ++i) {
    Oprj_Point &result = results[static_cast<size_t>(i)];
    if (isPlace(result)) continue;
    const Oprj_PointReason reason = reasons[static_cast<size_t>(i)];
    if (reason != OPRJ_POINT_GOOD && reason != OPRJ_POINT_NOT_A_NUMBER)
      failures.push_back({i, oprj_PointReasonText(reason)});
    else if (!std::isnan(points[i].x) && !std::isnan(points[i].y))
      failures.push_back({i, toGeographic_ && std::isfinite(result.x + result.y)
                                 ? "the result is no place on the globe"
                                 : "the result is not a finite number"});
    result = {NAN, NAN};
  }
  if (!strict_) {
    const auto uncovered = [&](Oprj_PointReason reason) {
      return std::count(reasons.begin(), reasons.begin() + count, reason);
    };
    told.outsideGrid += uncovered(OPRJ_POINT_OUTSIDE_GRID);
    told.outsideRegression += uncovered(OPRJ_POINT_OUTSIDE_REGRESSION);
  }
  told.far.resize(meridians_.size());
  for (size_t i = 0; i < meridians_.size(); ++i) {
    const bool isInput = meridians_[i].isInput;
    told.far[i] += meridians_[i].count(isInput ? points : results.data(),
                                       isInput ? results.data() : points, count);
  }
  for (int32_t i = 0; i < count; ++i) {
    const Oprj_Point result = results[static_cast<size_t>(i)];
    points[i] = {result.x / outFactor_, result.y / outFactor_};
  }
}

}  // namespace program
