#include "pair.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <string_view>
#include <system_error>
#include <thread>

namespace oprj_python {
namespace {

/// Points that a thread takes at once, and of which several pairs project so many in its nearest
/// cache: reading and writing memory is fast in long runs.
constexpr int64_t kBlock = 16384, kTile = 1024;
/// Results of so many points are stored past the caches.
constexpr int64_t kPastCaches = 100000;
/// How long a call runs between two looks at whether it should go on.
constexpr std::chrono::milliseconds kPause{50};

}  // namespace

Oprj_ProjectOptions Pair::optionsOf(const Direction &way, const Wishes &wishes) {
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.verify = wishes.verify;
  options.keepUncovered = wishes.keepUncovered;
  options.placesOnly = way.straight;
  return options;
}

/// A call, whose threads take blocks until there are none.
class Pair::Job {
 public:
  Job(const Direction &way, const Wishes &wishes, const Coordinates &in, const Coordinates &out,
      Oprj_PointReason *reasons, int64_t count)
      : way_(way),
        wishes_(wishes),
        in_(in),
        out_(out),
        reasons_(reasons),
        count_(count),
        from_(in.packed()),
        to_(out.packed()) {}

  Outcome run(int32_t threads, const std::function<void()> &pause) {
    {
      std::vector<std::jthread> helpers;
      const int64_t wanted = std::min<int64_t>(threads, (count_ + kBlock - 1) / kBlock) - 1;
      try {
        for (int64_t i = 0; i < wanted; ++i) helpers.emplace_back([this] { help(); });
      } catch (const std::system_error &) {  // then those that could be started do it
      }
      try {
        auto last = std::chrono::steady_clock::now();
        work([&] {
          const auto now = std::chrono::steady_clock::now();
          if (now - last < kPause) return;
          pause();
          last = std::chrono::steady_clock::now();
        });
      } catch (...) {
        ended_ = true;
        throw;
      }
    }
    if (exhausted_) throw std::bad_alloc();
    if (failure_) throw *failure_;
    return outcome_;
  }

 private:
  void help() {
    try {
      work([] {});
    } catch (const std::bad_alloc &) {
      exhausted_ = ended_ = true;
    }
  }

  template <class Between>
  void work(Between between) {
    Outcome own;
    std::vector<Oprj_Point> points(needsNoCopy() ? 0
                                                 : static_cast<size_t>(std::min(kBlock, count_)));
    while (!ended_) {
      const int64_t start = next_.fetch_add(kBlock);
      if (start >= count_) break;
      const int64_t taken = std::min(kBlock, count_ - start);
      if (way_.straight) straightBlock(start, taken, points.data(), own);
      else block(start, taken, points.data(), own);
      between();
    }
    Coordinates::endOfScattering();
    const std::lock_guard lock(ending_);
    for (size_t i = 0; i < own.counts.size(); ++i) outcome_.counts[i] += own.counts[i];
    if (own.firstBad >= 0 && (outcome_.firstBad < 0 || own.firstBad < outcome_.firstBad))
      outcome_.firstBad = own.firstBad;
  }

  bool needsNoCopy() const { return way_.straight && from_ && to_; }

  /// A block of a straight way, from where the points are to where the results go when they stand
  /// side by side in both, else by way of `points`.
  void straightBlock(int64_t start, int64_t count, Oprj_Point *points, Outcome &outcome) {
    Oprj_PointReason own[kBlock];
    Oprj_PointReason *const reasons = reasons_ ? reasons_ + start : own;
    const bool between = needsNoCopy();
    if (!between) in_.gather<false>(start, count, 0.0, points);
    Oprj_ProjectOptions options = optionsOf(way_, wishes_);
    options.inUnit = way_.in.nameUnlessOwn();
    options.outUnit = way_.out.nameUnlessOwn();
    Slot err;
    const int64_t good =
        oprj_ProjectEach(way_.pairs.front().get(), between ? from_ + start : points,
                         between ? to_ + start : points, reasons, &options, count, err.get());
    if (err) return fail(err);
    if (!between) out_.scatter<false>(start, count, 0.0, points, count_ >= kPastCaches);
    tally(start, reasons, good, count, outcome);
  }

  void block(int64_t start, int64_t count, Oprj_Point *points, Outcome &outcome) {
    Oprj_PointReason own[kBlock];
    const bool beyond = in_.gather<true>(start, count, way_.in.limit, points);
    Oprj_PointReason *const reasons = reasons_ ? reasons_ + start : own;
    Slot err;
    int64_t good = 0;
    for (int64_t at = 0; at < count && !err; at += kTile)
      good += project(way_, wishes_, points + at, beyond, reasons + at, std::min(kTile, count - at),
                      err.get());
    if (err) return fail(err);
    const bool pastCaches = count_ >= kPastCaches;
    if (out_.scatter<true>(start, count, way_.out.limit, points, pastCaches)) {
      good -= refuseBeyond(way_, points, reasons, count);
      out_.scatter<false>(start, count, 0.0, points, pastCaches);
    }
    tally(start, reasons, good, count, outcome);
  }

  void fail(const Slot &err) {
    const std::lock_guard lock(ending_);
    if (!failure_) failure_ = std::make_unique<Failure>(err.failure());
    ended_ = true;
  }

  void tally(int64_t start, const Oprj_PointReason *reasons, int64_t good, int64_t count,
             Outcome &outcome) {
    if (good == count && !wishes_.keepUncovered) {
      outcome.counts[OPRJ_POINT_GOOD] += count;
      return;
    }
    for (int64_t i = 0; i < count; ++i) ++outcome.counts[reasons[i]];
    if (good == count || outcome.firstBad >= 0) return;
    outcome.firstBad = start + (std::find_if(reasons, reasons + count,
                                             [this](auto reason) { return isBad(reason); }) -
                                reasons);
    if (wishes_.stopAtBad) ended_ = true;
  }

  bool isBad(Oprj_PointReason reason) const {
    return reason != OPRJ_POINT_GOOD &&
           !(wishes_.keepUncovered &&
             (reason == OPRJ_POINT_OUTSIDE_GRID || reason == OPRJ_POINT_OUTSIDE_REGRESSION));
  }
  const Direction &way_;
  const Wishes &wishes_;
  const Coordinates &in_, &out_;
  Oprj_PointReason *const reasons_;
  const int64_t count_;
  const Oprj_Point *const from_;  ///< the points where they stand side by side; else null
  Oprj_Point *const to_;          ///< the results likewise
  std::atomic<int64_t> next_{0};
  std::atomic<bool> ended_{false}, exhausted_{false};
  std::mutex ending_;
  Outcome outcome_;
  std::unique_ptr<Failure> failure_;
};

Pair::Pair(std::shared_ptr<const System> source, std::shared_ptr<const System> target)
    : source_(std::move(source)),
      target_(std::move(target)),
      forth_(between(*source_, *target_)),
      back_(between(*target_, *source_)),
      external_(source_->isExternal() || target_->isExternal()) {
  if (!source_->lacksGrid() && !target_->lacksGrid()) return;
  for (const Step &step : steps()) {
    if (!step.trouble.empty()) throw Failure(Trouble::kSystem, step.trouble);
  }
}

Pair::Direction Pair::between(const System &from, const System &to) const {
  Slot err;
  Oprj_ProjectionPair *made[OPRJ_MOST_PAIRS];
  const int32_t count =
      oprj_ProjectionPairsBetween(toolkit(), &from.record(), &to.record(), made, err.get());
  if (err) throw err.failure(Trouble::kSystem);
  Direction way{{}, sideOf(from), sideOf(to), false};
  for (int32_t i = 0; i < count; ++i) way.pairs.emplace_back(made[i]);
  way.straight = count == 1 && std::string_view(made[0]->in->title) == OPRJ_TITLE_NATIVE &&
                 std::string_view(made[0]->out->title) == OPRJ_TITLE_NATIVE;
  return way;
}

Pair::Side Pair::sideOf(const System &system) {
  constexpr double kPole = 1.5707963267948966 + 1e-10;  // radians, and what rounding does
  if (!system.isGeographic())
    return {system.unit(), ocvt_UnitSetByName("meters", nullptr), DBL_MAX,
            OPRJ_POINT_OUTSIDE_SHEET};
  const Ocvt_Unit *const radians = ocvt_UnitSetByName("radians", nullptr);
  return {system.unit(), radians, ocvt_UnitsConvert(kPole, radians, system.unit(), nullptr),
          OPRJ_POINT_OUTSIDE_DOMAIN};
}

int64_t Pair::project(const Direction &way, const Wishes &wishes, Oprj_Point *points, bool beyond,
                      Oprj_PointReason *reasons, int64_t count, Oerr_Report **err) {
  const auto convert = [&](const Ocvt_Unit *from, const Ocvt_Unit *to) {
    if (from != to)
      ocvt_UnitsConvertArray(&points->x, 2 * static_cast<size_t>(count), from, to, err);
  };
  // Places beyond a pole, which formulas may take all the same: most of all exchanged axes.
  std::vector<int64_t> nowhere;
  for (int64_t i = 0; beyond && i < count; ++i) {
    if (isBeyond(points[i], way.in.limit)) nowhere.push_back(i);
  }
  convert(way.in.unit, way.in.own);
  const Oprj_ProjectOptions options = optionsOf(way, wishes);
  int64_t good = 0;
  std::vector<Oprj_PointReason> later;
  for (const OwnedPair &pair : way.pairs) {
    Oprj_PointReason *told = reasons;
    if (&pair != &way.pairs.front()) {
      later.resize(static_cast<size_t>(count));
      told = later.data();
    }
    good = oprj_ProjectEach(pair.get(), points, points, told, &options, count, err);
    if (*err) return 0;
    // The first reason counts: later pairs see that a point is none.
    for (int64_t i = 0; told != reasons && i < count; ++i)
      reasons[i] = reasons[i] == OPRJ_POINT_GOOD ? told[i] : reasons[i];
  }
  convert(way.out.own, way.out.unit);
  for (const int64_t i : nowhere) good -= refuse(way, points[i], reasons[i]);
  return good;
}

int64_t Pair::refuseBeyond(const Direction &way, Oprj_Point *points, Oprj_PointReason *reasons,
                           int64_t count) {
  int64_t refused = 0;
  for (int64_t i = 0; i < count; ++i) {
    if (isBeyond(points[i], way.out.limit)) refused += refuse(way, points[i], reasons[i]);
  }
  return refused;
}

bool Pair::refuse(const Direction &way, Oprj_Point &point, Oprj_PointReason &reason) {
  if (reason != OPRJ_POINT_GOOD) return false;
  reason = way.in.beyond;
  point = {NAN, NAN};
  return true;
}

Oprj_PointReason Pair::point(Oprj_Point &point, const Wishes &wishes) const {
  const Direction &way = direction(wishes.inverse);
  std::unique_lock lock(oneAtATime_, std::defer_lock);
  if (external_) lock.lock();
  Slot err;
  Oprj_PointReason reason = OPRJ_POINT_GOOD;
  const bool beyond = !way.straight && isBeyond(point, way.in.limit);
  project(way, wishes, &point, beyond, &reason, 1, err.get());
  if (!way.straight) refuseBeyond(way, &point, &reason, 1);
  if (err) throw err.failure();
  return reason;
}

Outcome Pair::run(const Coordinates &in, const Coordinates &out, Oprj_PointReason *reasons,
                  int64_t count, const Wishes &wishes, const std::function<void()> &pause) const {
  const Direction &way = direction(wishes.inverse);
  std::unique_lock lock(oneAtATime_, std::defer_lock);
  if (external_) lock.lock();
  Job job(way, wishes, in, out, reasons, count);
  return job.run(external_ ? 1 : wishes.threads, pause);
}

std::vector<Report> Pair::reportsAt(const Oprj_Point &point, bool inverse) const {
  const Direction &way = direction(inverse);
  Oprj_Point own = point, result;
  Slot err;
  ocvt_UnitsConvertArray(&own.x, 2, way.in.unit, way.in.own, err.get());
  for (const OwnedPair &pair : way.pairs) {
    if (!oprj_ProjectPair(pair.get(), &own, &result, 1, err.get())) break;
    own = result;
  }
  return chainOf(err.report());
}

std::vector<Step> Pair::steps() const {
  const auto text = [](const char *given) { return std::string(given ? given : ""); };
  const std::vector<OwnedPair> &pairs = forth_.pairs;
  // Of several pairs the library's is the one that shifts.
  const auto native = std::ranges::find_if(pairs, [](const OwnedPair &pair) {
    return std::string_view(pair->in->title) == OPRJ_TITLE_NATIVE;
  });
  const OwnedPair &shifting = native == pairs.end() ? pairs.front() : *native;
  std::vector<Step> steps;
  for (const OwnedPair &pair : pairs) {
    Slot err;
    const Owned<Oprj_ChainStep, oprj_ChainStepsFree> list(
        oprj_ProjectionPairExplain(toolkit(), pair.get(), err.get()));
    if (!list) throw err.failure();
    for (const Oprj_ChainStep *step = list.get(); step; step = step->next) {
      const OwnedPair &whose = step->kind == OPRJ_STEP_INVERSE   ? pairs.front()
                               : step->kind == OPRJ_STEP_FORWARD ? pairs.back()
                                                                 : shifting;
      if (whose != pair) continue;
      steps.push_back({step->kind, step->formula, text(step->from), text(step->to),
                       text(step->fromSpheroid), text(step->toSpheroid), step->fromType,
                       step->toType, step->moved, step->tried, step->least, step->median,
                       step->greatest, text(step->trouble)});
    }
  }
  return steps;
}

std::vector<std::string> Pair::cautions() const {
  std::vector<std::string> all;
  for (const OwnedPair &pair : forth_.pairs) {
    Slot err;
    Oprj_Note *notes = nullptr;
    if (!oprj_ProjectionPairCautions(toolkit(), pair.get(), &notes, err.get())) throw err.failure();
    for (std::string &told : textsOf(notes)) all.push_back(std::move(told));
  }
  return all;
}

}  // namespace oprj_python
