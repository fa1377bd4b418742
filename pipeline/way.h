// The way of a call's points: units, inverse of the input system, shift between the geographic
// systems, forward of the output system, units. One list of stages, made once a call.
//
// Documented is that each stage runs over the whole array before the next begins: it decides which
// of several failures is reported and what the output then holds. Tiles that stay in the
// first-level cache are what is fast. A way that may be walked twice is therefore walked by tile,
// and when that fails once more stage by stage (input arrays are never changed), which speaks for
// the call; up to a tile of points the two are one. A leg that may not be repeated (it talks to
// another process) or that is better not cut into tiles has its way walked stage by stage at once.
#ifndef OPRJ_PIPELINE_WAY_H
#define OPRJ_PIPELINE_WAY_H

#include <oprj/ocvt.h>
#include <oprj/point_reason.h>
#include <oprj/project.h>

#include <memory>
#include <optional>

#include "datum/shift_plan.h"
#include "pipeline/function_sets.h"
#include "pipeline/recall.h"
#include "projections/registry.h"

namespace orvik::oprj {

/// 16 KB a tile: input, output and the spare tile fit a first-level cache of 48 KB, and the price
/// of a call through a handle vanishes.
inline constexpr int32_t kTilePoints = 1024;

/// The unit of an array's points: null means the one that the system computes in.
struct PointUnit {
  const char *name;
  bool geographic;
  const char *computed() const { return geographic ? "radians" : "meters"; }
};

class Way {
 public:
  /// Failures between the two units are those of `operation`, whose name they carry.
  explicit Way(const char *operation) : operation_(operation) {}
  ~Way() {
    if (refusal_) oerr_DeleteErrorReport(&refusal_);
  }
  Way(const Way &) = delete;
  Way &operator=(const Way &) = delete;

  // The stages, in this order; a unit without a name is none. What cannot be done becomes a stage
  // too, which fails when its turn comes.
  void convertIn(PointUnit unit);
  void leadBetween(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out);
  void leadToLatLon(const Oprj_MapProjectionEx *handle);
  void leadFromLatLon(const Oprj_MapProjectionEx *handle);
  void convertOut(PointUnit unit);

  /// The two systems are the same: their points are copied.
  bool copies() const { return length_ > 0 && stages_[0].does == Does::kCopy; }

  /// Takes `count` points from `in` to `out`, another array. False with a report of `e`, which
  /// tells the point where there is one.
  bool run(ErrorScope &e, const Oprj_Point *in, Oprj_Point *out, int32_t count);

  /// What is wrong with the way whatever its points are: false with a report of `e`. Makes a sound
  /// way ready for runEach, where `placesOnly` for places alone (project.h).
  bool sound(ErrorScope &e, bool placesOnly);
  /// Takes one tile at most, which may be the same array, and goes on after bad points: they become
  /// NaN, `reasons` tells why. Where `verify` (m) is above 0, each leg's points are projected back
  /// and are bad when they return farther away. Returns how many are good; -1 with a report when
  /// something else fails. On a sound way only; threads may share it.
  int32_t runEach(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
                  const Oprj_ProjectOptions &options, Oerr_Report **err) const;

 private:
  enum class Does : uint8_t {
    kRefuse,
    kTake,  ///< a copy of the input, for the conversion
    kConvertIn,
    kCopy,
    kInverse,
    kShift,
    kTransform,  ///< a foreign set's shift
    kForward,
    kConvertOut
  };
  struct Stage {
    Does does;
    bool ofCaller;  ///< reported under the calling operation's name, not under operation_
    int32_t code;
    const char *message;
  };
  /// A conversion of units; one that cannot be done is told when its turn comes.
  struct Conversion {
    PointUnit unit{};
    const Ocvt_Unit *from = nullptr, *to = nullptr;
    bool usable = false;
    void prepare(PointUnit of, bool input);
    bool apply(Oprj_Point *points, int32_t count, Oerr_Report **err) const;
    bool input = false;
  };

  /// The family's own loop behind a leg, which goes on after bad points; none for other sets.
  struct Loop {
    EachFunction each = nullptr;
    const double *block = nullptr;
  };

  void add(Does does, int32_t code, const char *message) {
    const bool ofCaller =
        does == Does::kTake || does == Does::kConvertIn || does == Does::kConvertOut;
    stages_[length_++] = {does, ofCaller, code, message};
  }
  void refuse(int32_t code, const char *message, Oerr_Report *report = nullptr);
  Oerr_Report *decideShift();
  void report(ErrorScope &e, const Stage &stage, Oerr_Report *cause, const Oprj_Point *in,
              int32_t count);
  const Stage *pass(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_Point *spare,
                    Oerr_Report **err) const;
  bool shift(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_Point *spare,
             Oerr_Report **err) const;
  struct Tile;
  int32_t runStraight(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                      Oprj_PointReason *reasons, Oerr_Report **err) const;
  bool passEach(const Stage &stage, Tile &tile, Oerr_Report **err) const;
  bool verifyEach(Tile &tile, const Oprj_Point *given, double verify, Oerr_Report **err) const;

  static constexpr int kMostStages = 6;

  const char *operation_;
  Stage stages_[kMostStages];
  int length_ = 0;
  bool inTiles_ = true;
  const Oprj_MapProjectionEx *in_ = nullptr, *out_ = nullptr;
  const Oprj_MapProjectionEx *copied_ = nullptr;      ///< of a way that copies
  const void *source_ = nullptr, *target_ = nullptr;  ///< geographic systems
  Conversion inUnit_, outUnit_;
  std::optional<Decision> decision_;  ///< of leadBetween; none: points are not shifted
  const ShiftPlan *plan_ = nullptr;   ///< the shift, unless it is the decision's:
  std::optional<ShiftPlan> own_;      ///< of this call alone, or
  std::unique_ptr<KeptPlan> made_;    ///< meant to be kept, or another's
  Oerr_Report *refusal_ = nullptr;
  Loop toGlobe_, fromGlobe_;                         ///< of a sound way
  EachFunction given_ = nullptr, result_ = nullptr;  ///< what looks for places; null: nothing does
};

}  // namespace orvik::oprj

#endif
