#include "project_points.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>

namespace program {
namespace {

constexpr int64_t kReasonsShown = 20;
constexpr size_t kCausesKept = 100;  // memory stays bounded should messages differ by the point

/// Beyond this distance from the central meridian the series of Transverse Mercator are told: they
/// are meant for a zone, 0.4 m off at 10 degrees and soon kilometres.
constexpr double kFarDegrees = 10;

}  // namespace

void Tally::addFailure(const std::string &file, int64_t line, int64_t column,
                       std::string_view cause, const std::string &chain) {
  auto found = causes_.find(cause);
  if (found == causes_.end())
    found = causes_.try_emplace(causes_.size() < kCausesKept ? std::string(cause) : "other causes")
                .first;
  ++found->second;
  if (failed_++ >= kReasonsShown) return;
  std::fprintf(stderr, "%s:%lld:%lld: %.*s\n", file.c_str(), static_cast<long long>(line),
               static_cast<long long>(column), static_cast<int>(cause.size()), cause.data());
  if (!chain.empty()) console_.detail("  " + chain);
}

void Tally::printSummary() const {
  if (failed_ <= kReasonsShown) return;
  std::fprintf(stderr, "oprj: %lld of %lld points failed:\n", static_cast<long long>(failed_),
               static_cast<long long>(points_));
  for (const auto &[cause, count] : causes_)
    std::fprintf(stderr, "  %lld: %s\n", static_cast<long long>(count), cause.c_str());
}

void Tally::printJson() const {
  std::string causes;
  for (const auto &[cause, count] : causes_)
    causes += (causes.empty() ? "" : ", ") + jsonText(cause) + ": " + std::to_string(count);
  std::fprintf(stderr, "{\"points\": %lld, \"failed\": %lld, \"causes\": {%s}}\n",
               static_cast<long long>(points_), static_cast<long long>(failed_), causes.c_str());
}

Projector::Projector(Oint_Toolkit *toolkit, const System &from, const System &to,
                     const Console &console)
    : console_(console),
      pair_(oprj_ProjectionPairInit(toolkit, from.record.get(), to.record.get(), err_.get())),
      inFactor_(from.unitFactor),
      outFactor_(to.unitFactor),
      toGeographic_(to.geographic),
      largestX_(to.geographic ? kLargestLongitude : DBL_MAX),
      largestY_(to.geographic ? kLargestLatitude : DBL_MAX) {
  if (!pair_) throw Stop(kUnusable, err_.text());
  const bool equal = oprj_MapProjectionEqual(pair_->in, pair_->out, err_.get()) != 0;
  identity_ = equal && inFactor_ == outFactor_;
  // Some entries are never compared: told, as points are copied.
  if (equal && !oprj_DblArraysEqual(&from.record->proParams, &to.record->proParams, err_.get()))
    console.warn(
        "both systems count as equal although their parameters differ: the points are copied");
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
void Projector::Meridian::count(const Oprj_Point *own, const Oprj_Point *other, int32_t count) {
  constexpr double kLimit = kFarDegrees * kDegree;
  int32_t found = 0;
  for (int32_t i = 0; i < count; ++i) {
    const double turn = std::fabs(other[i].x - longitude);
    const bool isFar = ((turn > kLimit) & (std::fabs(turn - 2 * M_PI) > kLimit)) |
                       (std::fabs(own[i].x - east) > eastLimit) |
                       (std::fabs(own[i].y - north) > northLimit);
    found += isFar & !std::isunordered(own[i].x, other[i].x);  // those that failed are told already
  }
  far += found;
}

void Projector::warnOfFarPoints() const {
  for (const Meridian &meridian : meridians_) {
    if (meridian.far == 0) continue;
    console_.warn(std::to_string(meridian.far) + " points lie more than " +
                  numberText(kFarDegrees) + " degrees beside the central meridian of \"" +
                  meridian.name +
                  "\": its formulas are meant for a zone, and lose metres to kilometres there");
  }
}

const std::vector<Failure> &Projector::project(Oprj_Point *points, int32_t count) {
  failures_.clear();
  if (identity_) return failures_;  // bit for bit
  for (int32_t i = 0; i < count; ++i)
    points[i] = {points[i].x * inFactor_, points[i].y * inFactor_};
  projectRange(points, 0, count);
  checkResults(points, count);
  for (Meridian &meridian : meridians_) {
    const bool isInput = meridian.isInput;
    meridian.count(isInput ? points : results_, isInput ? results_ : points, count);
  }
  for (int32_t i = 0; i < count; ++i)
    points[i] = {results_[i].x / outFactor_, results_[i].y / outFactor_};
  return failures_;
}

/// A failure names its point. What stands before it is projected again, because the results hold
/// only the stage that failed; behind it the steps begin small, and grow while all goes well.
void Projector::projectRange(const Oprj_Point *points, int32_t first, int32_t count) {
  const int32_t end = first + count;
  int32_t step = count;
  while (first < end) {
    step = std::min(step, end - first);
    if (oprj_ProjectPair(pair_.get(), points + first, results_ + first, step, err_.get())) {
      first += step;
      step *= 2;
      continue;
    }
    int64_t named = 0;
    if (!oerr_PointGet(err_.report(), &named, nullptr, nullptr) || named < 0 || named >= step) {
      if (step > 1) {
        step = 1;
        continue;
      }
      named = 0;
    }
    const auto before = static_cast<int32_t>(named);
    Failure failure{first + before, err_.rootMessage(), console_.verbose ? err_.text() : ""};
    projectRange(points, first, before);
    results_[first + before] = {NAN, NAN};
    failures_.push_back(std::move(failure));
    first += before + 1;
    step = before + 1;
  }
}

/// A formula far outside of its domain may give a result that is no place, without a report.
void Projector::checkResults(const Oprj_Point *points, int32_t count) {
  const auto isResult = [this](Oprj_Point p) {
    return (std::fabs(p.x) <= largestX_) & (std::fabs(p.y) <= largestY_);
  };
  bool all = true;
  for (int32_t i = 0; i < count; ++i) all &= isResult(results_[i]);
  if (all) return;
  const size_t reported = failures_.size();
  size_t next = 0;
  for (int32_t i = 0; i < count; ++i) {
    if (isResult(results_[i])) continue;
    const bool isReported = next < reported && failures_[next].index == i;
    if (isReported) ++next;
    else if (!std::isnan(points[i].x) && !std::isnan(points[i].y))
      failures_.push_back({i,
                           toGeographic_ && std::isfinite(results_[i].x + results_[i].y)
                               ? "the result is no place on the globe"
                               : "the result is not a finite number",
                           ""});
    results_[i] = {NAN, NAN};
  }
  std::inplace_merge(failures_.begin(), failures_.begin() + static_cast<std::ptrdiff_t>(reported),
                     failures_.end(),
                     [](const Failure &a, const Failure &b) { return a.index < b.index; });
}

}  // namespace program
