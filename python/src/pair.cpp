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

/// Points that a thread takes at once: in its nearest cache, or, where each call of the library
/// looks grids up, so many that this does not count.
constexpr int64_t kBlock = 4096, kLongBlock = 32768;
/// How long a call runs between two looks at whether it should go on.
constexpr std::chrono::milliseconds kPause{50};

/// Whether a point is none, or beyond the limit: no comparison with NaN is true.
bool isBeyond(const Oprj_Point &p, double limit) {
  return !((std::fabs(p.x) <= DBL_MAX) & (std::fabs(p.y) <= limit));
}

/// Whether any of them is. This passes over every block: in vectors, and by the bits, whose order
/// is that of positive numbers with NaN behind them all, so that a difference tells by its sign.
bool anyBeyond(const Oprj_Point *points, int64_t count, double limit) {
  using Two = int64_t __attribute__((vector_size(16), aligned(8), may_alias));
  constexpr int64_t kWithoutSign = INT64_MAX;
  const Two limits{std::bit_cast<int64_t>(DBL_MAX), std::bit_cast<int64_t>(limit)};
  Two found{};
  for (int64_t i = 0; i < count; ++i)
    found |= limits - (*reinterpret_cast<const Two *>(points + i) & kWithoutSign);
  return (found[0] | found[1]) < 0;
}

bool shiftsByParameters(const System &system) {
  const int32_t type = system.record().proSpheroid->datum->type;
  return type == OPRJ_DATUM_PARAMETRIC || type == OPRJ_DATUM_NONE;
}

}  // namespace

/// A call, whose threads take blocks until there are none.
class Pair::Job {
 public:
  Job(const Direction &way, const Wishes &wishes, const Coordinates &in, const Coordinates &out,
      Oprj_PointReason *reasons, int64_t count, int64_t block)
      : way_(way),
        wishes_(wishes),
        in_(in),
        out_(out),
        reasons_(reasons),
        count_(count),
        block_(block),
        paired_(in.arePairs() && out.arePairs()) {}

  Outcome run(int32_t threads, const std::function<void()> &pause) {
    {
      std::vector<std::jthread> helpers;
      const int64_t wanted = std::min<int64_t>(threads, (count_ + block_ - 1) / block_) - 1;
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
    std::vector<Oprj_Point> gathered;
    std::vector<Oprj_PointReason> reasons;
    while (!ended_) {
      const int64_t start = next_.fetch_add(block_);
      if (start >= count_) break;
      block(start, std::min(block_, count_ - start), gathered, reasons, own);
      between();
    }
    const std::lock_guard lock(ending_);
    for (size_t i = 0; i < own.counts.size(); ++i) outcome_.counts[i] += own.counts[i];
    if (own.firstBad >= 0 && (outcome_.firstBad < 0 || own.firstBad < outcome_.firstBad))
      outcome_.firstBad = own.firstBad;
  }

  void block(int64_t start, int64_t count, std::vector<Oprj_Point> &gathered,
             std::vector<Oprj_PointReason> &own, Outcome &outcome) {
    const Oprj_Point *from = in_.pairs() + start;
    Oprj_Point *to = out_.pairs() + start;
    if (!paired_) {
      gathered.resize(static_cast<size_t>(count));
      from = to = gathered.data();
      in_.gather(start, count, to);
    }
    own.resize(static_cast<size_t>(count));
    Oprj_PointReason *const reasons = reasons_ ? reasons_ + start : own.data();
    Slot err;
    const int64_t good = project(way_, wishes_, from, to, reasons, count, err.get());
    if (err) {
      const std::lock_guard lock(ending_);
      if (!failure_) failure_ = std::make_unique<Failure>(err.failure());
      ended_ = true;
      return;
    }
    if (!paired_) out_.scatter(start, count, gathered.data());
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
  const int64_t block_;
  const bool paired_;  ///< nothing is gathered: the library reads and writes the arrays
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
      block_(shiftsByParameters(*source_) && shiftsByParameters(*target_) ? kBlock : kLongBlock),
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
  Direction way{{}, sideOf(from), sideOf(to)};
  for (int32_t i = 0; i < count; ++i) way.pairs.emplace_back(made[i]);
  return way;
}

Pair::Side Pair::sideOf(const System &system) {
  constexpr double kPole = 1.5707963267948966 + 1e-10;  // radians, and what rounding does
  if (system.isGeographic())
    return {system.unit(), ocvt_UnitSetByName("radians", nullptr), kPole,
            OPRJ_POINT_OUTSIDE_DOMAIN};
  return {system.unit(), ocvt_UnitSetByName("meters", nullptr), DBL_MAX, OPRJ_POINT_OUTSIDE_SHEET};
}

int64_t Pair::project(const Direction &way, const Wishes &wishes, const Oprj_Point *in,
                      Oprj_Point *out, Oprj_PointReason *reasons, int64_t count,
                      Oerr_Report **err) {
  const auto convert = [&](const Ocvt_Unit *from, const Ocvt_Unit *to) {
    if (from != to) ocvt_UnitsConvertArray(&out->x, 2 * static_cast<size_t>(count), from, to, err);
  };
  if (way.in.unit != way.in.own) {
    if (in != out) std::copy_n(in, count, out);
    in = out;
    convert(way.in.unit, way.in.own);
  }
  // Places beyond a pole, which formulas may take all the same: most of all exchanged axes.
  std::vector<int64_t> nowhere;
  if (anyBeyond(in, count, way.in.limit)) {
    for (int64_t i = 0; i < count; ++i) {
      if (isBeyond(in[i], way.in.limit)) nowhere.push_back(i);
    }
  }
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.verify = wishes.verify;
  options.keepUncovered = wishes.keepUncovered;
  int64_t good = 0;
  std::vector<Oprj_PointReason> later;
  for (const OwnedPair &pair : way.pairs) {
    Oprj_PointReason *told = reasons;
    if (&pair != &way.pairs.front()) {
      later.resize(static_cast<size_t>(count));
      told = later.data();
    }
    good = oprj_ProjectEach(pair.get(), in, out, told, &options, count, err);
    if (*err) return 0;
    in = out;
    // The first reason counts: later pairs see that a point is none.
    for (int64_t i = 0; told != reasons && i < count; ++i)
      reasons[i] = reasons[i] == OPRJ_POINT_GOOD ? told[i] : reasons[i];
  }
  const auto refuse = [&](int64_t i) {
    if (reasons[i] != OPRJ_POINT_GOOD) return;
    reasons[i] = way.in.beyond;
    out[i] = {NAN, NAN};
    --good;
  };
  for (const int64_t i : nowhere) refuse(i);
  if (anyBeyond(out, count, way.out.limit)) {
    for (int64_t i = 0; i < count; ++i) {
      if (isBeyond(out[i], way.out.limit)) refuse(i);
    }
  }
  convert(way.out.own, way.out.unit);
  return good;
}

Oprj_PointReason Pair::point(Oprj_Point &point, const Wishes &wishes) const {
  const Direction &way = direction(wishes.inverse);
  std::unique_lock lock(oneAtATime_, std::defer_lock);
  if (external_) lock.lock();
  Slot err;
  Oprj_PointReason reason = OPRJ_POINT_GOOD;
  project(way, wishes, &point, &point, &reason, 1, err.get());
  if (err) throw err.failure();
  return reason;
}

Outcome Pair::run(const Coordinates &in, const Coordinates &out, Oprj_PointReason *reasons,
                  int64_t count, const Wishes &wishes, const std::function<void()> &pause) const {
  const Direction &way = direction(wishes.inverse);
  std::unique_lock lock(oneAtATime_, std::defer_lock);
  if (external_) lock.lock();
  Job job(way, wishes, in, out, reasons, count, block_);
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
