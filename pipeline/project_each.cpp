// oprj_ProjectEach: tiles shared out among threads, each tile as way_each.cpp has it.
#include <oprj/project.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "datum/shift/tally.h"
#include "pipeline/way.h"

using namespace orvik::oprj;

namespace {

/// Members that every caller's options have.
constexpr size_t kFirstVersion = sizeof(Oprj_ProjectOptions);
constexpr int64_t kPacked = sizeof(Oprj_Point);
/// More threads than this are a mistake.
constexpr int32_t kMostThreads = 1024;

/// The caller's options, or none. False with a report when they ask for what is not known here.
bool readOptions(ErrorScope &e, const Oprj_ProjectOptions *given, bool inPlace,
                 Oprj_ProjectOptions &options) {
  if (given) {
    if (given->size < kFirstVersion)
      return e.fail(4, "Invalid project options: size %zu", given->size);
    const auto *bytes = reinterpret_cast<const unsigned char *>(given);
    if (std::any_of(bytes + sizeof options, bytes + given->size, [](auto byte) { return byte; }))
      return e.fail(4, "Invalid project options: made for a later version of the library");
    std::memcpy(&options, given, sizeof options);
  }
  for (int64_t *stride : {&options.inStride, &options.outStride}) {
    if (*stride == 0) *stride = kPacked;
    if (*stride < kPacked)
      return e.fail(4, "Invalid project options: stride %lld", static_cast<long long>(*stride));
  }
  if (inPlace && options.inStride != options.outStride)
    return e.fail(4, "Invalid project options: in place with two strides");
  if (options.threads < 0 || options.threads > kMostThreads)
    return e.fail(4, "Invalid project options: %d threads", static_cast<int>(options.threads));
  if (!(options.verify >= 0.0) || std::isinf(options.verify))
    return e.fail(4, "Invalid project options: verify %g", options.verify);
  return true;
}

/// The whole job; its threads take tiles until there are none.
class Job {
 public:
  Job(const Way &way, const Oprj_Point *in, Oprj_Point *out, Oprj_PointReason *reasons,
      const Oprj_ProjectOptions &options, int64_t count)
      : way_(way), in_(in), out_(out), reasons_(reasons), options_(options), count_(count) {}

  /// How many points are good; a failure of the whole call is left in `cause`.
  int64_t run(Oerr_Report **cause) {
    const int64_t share = (count_ + kBlock - 1) / kBlock;
    {
      std::vector<std::jthread> helpers;
      try {
        const int64_t wanted = std::min<int64_t>(options_.threads, share) - 1;
        for (int64_t i = 0; i < wanted; ++i) helpers.emplace_back([this] { help(); });
      } catch (const std::system_error &) {  // then those that could be started do it
      } catch (const std::bad_alloc &) {
      }
      work();
    }
    shiftTally() += tally_;
    *cause = failure_;
    return failure_ ? 0 : good_.load();
  }

 private:
  /// Points that a thread takes at once: enough to make the counter cheap, few enough to end
  /// together.
  static constexpr int64_t kBlock = 16 * int64_t{kTilePoints};

  void work() {
    int64_t good = 0;
    while (!failed_) {
      const int64_t start = next_.fetch_add(kBlock);
      if (start >= count_) break;
      for (int64_t at = start; at < std::min(start + kBlock, count_) && !failed_; at += kTilePoints)
        good += tile(at, static_cast<int32_t>(std::min<int64_t>(kTilePoints, count_ - at)));
    }
    good_ += good;
  }

  /// The work of a helping thread: what its shifts could do no better is the caller's to tell.
  void help() {
    work();
    const std::lock_guard lock(tallying_);
    tally_ += shiftTally();
  }

  int64_t tile(int64_t at, int32_t count) {
    Oprj_Point gathered[kTilePoints], results[kTilePoints];
    Oprj_PointReason own[kTilePoints];
    const Oprj_Point *from = in_ + at;
    Oprj_Point *to = out_ + at;
    if (options_.inStride != kPacked) {
      const auto *bytes = reinterpret_cast<const char *>(in_) + at * options_.inStride;
      for (int32_t i = 0; i < count; ++i, bytes += options_.inStride)
        std::memcpy(gathered + i, bytes, sizeof(Oprj_Point));
      from = gathered;
    }
    if (options_.outStride != kPacked) to = results;
    Oerr_Report *cause = nullptr;
    const int32_t good =
        way_.runEach(from, to, count, reasons_ ? reasons_ + at : own, options_, &cause);
    if (good < 0) {
      fail(cause);
      return 0;
    }
    if (options_.outStride != kPacked) {
      auto *bytes = reinterpret_cast<char *>(out_) + at * options_.outStride;
      for (int32_t i = 0; i < count; ++i, bytes += options_.outStride)
        std::memcpy(bytes, results + i, sizeof(Oprj_Point));
    }
    return good;
  }

  /// The first failure is told and ends the job.
  void fail(Oerr_Report *cause) {
    if (!failed_.exchange(true)) failure_ = cause;
    else oerr_DeleteErrorReport(&cause);
  }

  const Way &way_;
  const Oprj_Point *in_;
  Oprj_Point *out_;
  Oprj_PointReason *reasons_;
  const Oprj_ProjectOptions &options_;
  const int64_t count_;
  std::atomic<int64_t> next_{0}, good_{0};
  std::atomic<bool> failed_{false};
  Oerr_Report *failure_ = nullptr;  ///< read when all threads have ended, as is:
  Oprj_ShiftTally tally_{};         ///< of the threads that helped
  std::mutex tallying_;
};

/// Adds the conversion of a unit that is named; false with a report when the handle cannot tell
/// what kind of unit it takes.
bool isGeographicSystem(ErrorScope &e, const Oprj_MapProjectionEx *handle, const Oprj_Char *unit,
                        bool &geographic) {
  geographic = false;
  if (!unit) return true;
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(handle, OPRJ_TITLE_NATIVE, e.cause()));
  if (!record) return e.fail(4, "OPRJ_PROPARAMETERS_GET failed");
  geographic = isGeographic(*record);
  return true;
}

}  // namespace

int64_t oprj_ProjectEach(const Oprj_ProjectionPair *pair, const Oprj_Point *in, Oprj_Point *out,
                         Oprj_PointReason *reasons, const Oprj_ProjectOptions *options,
                         int64_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectEach", err);
  if (!pair) return e.fail(1, "Invalid input Oprj_ProjectionPair"), 0;
  if (count < 1) return 0;
  if (!in) return e.fail(2, "Invalid input points"), 0;
  if (!out) return e.fail(3, "Invalid output points"), 0;
  Oprj_ProjectOptions chosen = OPRJ_PROJECT_OPTIONS;
  if (!readOptions(e, options, in == out, chosen)) return 0;

  bool inGeographic, outGeographic;
  if (!isGeographicSystem(e, pair->in, chosen.inUnit, inGeographic) ||
      !isGeographicSystem(e, pair->out, chosen.outUnit, outGeographic))
    return 0;
  const Utf8 from(chosen.inUnit, e), to(chosen.outUnit, e);
  if (e.failed()) return 0;
  Way way("oprj_Project");
  way.convertIn({from, inGeographic});
  way.leadBetween(pair->in, pair->out);
  way.convertOut({to, outGeographic});
  if (!way.sound(e, chosen.placesOnly != 0)) return 0;

  Job job(way, in, out, reasons, chosen, count);
  Oerr_Report *cause = nullptr;
  const int64_t good = job.run(&cause);
  if (!cause) return good;
  *e.cause() = cause;
  return e.fail(6, "Error returned from oprj_Project"), 0;
}
