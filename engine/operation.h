// A projected system as PROJ computes it: the definition of its operation, and what stays around
// it.
#ifndef OPRJ_ENGINE_OPERATION_H
#define OPRJ_ENGINE_OPERATION_H

#include <pthread.h>

#include <array>
#include <atomic>
#include <limits>
#include <numbers>

#include "engine/module.h"
#include "engine/object.h"

namespace orvik::engine {

/// What a system's points are computed with, in metres and radians: the part of a projected system
/// that is told by its projection, parameters and spheroid. Offsets, units and the prime meridian
/// are left to the caller.
class Operation {
 public:
  /// The operation of a PROJCS. Null with a report: 1 a parameter that the projection does not
  /// have, named; 2 no formula (kind OAWP_PE_NO_FORMULA) or the callees' reasons.
  static std::unique_ptr<Operation> of(const Object &projcs, Oerr_Report **err);
  ~Operation();
  Operation(const Operation &) = delete;
  Operation &operator=(const Operation &) = delete;

  /// Radians east of the system's prime meridian: points are given and come back relative to it.
  double centralMeridian() const { return centralMeridian_; }
  /// Longitudes farther from the central meridian are no points of the map: rad. Infinite for
  /// projections that bring them into reach themselves.
  double reach() const { return reach_; }
  /// PROJ's formula computes it as it is.
  bool plain() const { return !turned_ && perLatitude_ == 0.0; }

  /// Computes points (radians or metres, as pairs) in place; what has no result becomes infinite.
  /// False with a report when the operation cannot be made.
  bool run(bool forward, double *points, size_t count, Oerr_Report **err) const;
  /// The same for one point. False where there is more to it: then run has to tell.
  bool runOne(bool forward, double &x, double &y) const;

 private:
  Operation() = default;
  /// An operation of the module that serves one thread: the first that takes the place, and those
  /// that come to stand at the same address after it.
  struct alignas(64) Owned {  // a cache line, which no other thread writes
    std::atomic<uintptr_t> owner{0};
    std::atomic<void *> operation{nullptr};
  };
  /// An operation that no other thread has, and whose it is; null: it is shared.
  struct Taken {
    void *operation = nullptr;
    Owned *place = nullptr;
  };
  /// Where a thread looks for its own first.
  Owned *firstPlace(uintptr_t thread) const;
  /// A new one when all are taken; null with a report.
  Taken take(Oerr_Report **err) const;
  Taken takeShared(Oerr_Report **err) const;
  void giveBack(Taken taken) const;

  const Module *module_ = nullptr;
  HeapText definition_;
  double centralMeridian_ = 0.0;
  double reach_ = std::numbers::pi;
  /// Where PROJ's formula is a product, it is made here: metres a radian. 0: PROJ makes it.
  double perLongitude_ = 0.0, perLatitude_ = 0.0;
  /// The sheet's axes, from PROJ's: rows of a matrix with its inverse.
  std::array<double, 4> turn_{1.0, 0.0, 0.0, 1.0}, back_{1.0, 0.0, 0.0, 1.0};
  std::array<double, 2> origin_{};  ///< what PROJ's coordinates are farther than ours: m
  bool turned_ = false;             ///< turn_ or origin_ change something
  static constexpr size_t kPlaceBits = 4, kPlaces = size_t{1} << kPlaceBits;
  /// Taken without a locked instruction, which would keep the processor from beginning a call
  /// before the one before it has ended.
  mutable std::array<Owned, kPlaces> owned_{};
  /// What waits for threads that find the places owned.
  mutable std::array<std::atomic<void *>, kPlaces> shared_{};
};

inline Operation::Owned *Operation::firstPlace(uintptr_t thread) const {
  constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;  // 2^64 over the golden ratio
  return &owned_[thread * kSpread >> (64 - kPlaceBits)];
}

inline bool Operation::runOne(bool forward, double &x, double &y) const {
  if (perLatitude_ != 0.0) {
    x = forward ? x * perLongitude_ : x / perLongitude_;
    y = forward ? y * perLatitude_ : y / perLatitude_;
    return true;
  }
  const auto self = static_cast<uintptr_t>(pthread_self());
  Owned &place = *firstPlace(self);
  if (turned_ || place.owner.load(std::memory_order_relaxed) != self) return false;
  void *const operation = place.operation.load(std::memory_order_acquire);
  if (!operation) return false;
  const Pair made = module_->transformOne(operation, forward, x, y);
  place.operation.store(operation, std::memory_order_release);
  x = made.x;
  y = made.y;
  return true;
}

}  // namespace orvik::engine

#endif
