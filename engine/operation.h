// A projected system as PROJ computes it: the definition of its operation, and what stays around
// it.
#ifndef OPRJ_ENGINE_OPERATION_H
#define OPRJ_ENGINE_OPERATION_H

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

  /// Computes points (radians or metres, as pairs) in place; what has no result becomes infinite.
  /// False with a report when the operation cannot be made.
  bool run(bool forward, double *points, size_t count, Oerr_Report **err) const;

 private:
  Operation() = default;
  /// An operation of the module that no other thread has, and the place that it goes back to.
  struct Taken {
    void *operation = nullptr;
    size_t place = 0;
  };
  /// A new one when all are taken; null with a report.
  Taken take(Oerr_Report **err) const;
  void giveBack(Taken taken) const;

  const Module *module_ = nullptr;
  HeapText definition_;
  double centralMeridian_ = 0.0;
  double reach_ = std::numbers::pi;
  /// Where PROJ's formula is a product, it is made here: metres a radian. 0: PROJ makes it.
  double perLongitude_ = 0.0, perLatitude_ = 0.0;
  /// The sheet's axes, from PROJ's: rows of a matrix with its inverse.
  std::array<double, 4> turn_{1.0, 0.0, 0.0, 1.0}, back_{1.0, 0.0, 0.0, 1.0};
  std::array<double, 2> origin_{};     ///< what PROJ's coordinates are farther than ours: m
  bool turned_ = false;                ///< turn_ or origin_ change something
  static constexpr size_t kKept = 16;  ///< operations that wait for the next call
  mutable std::array<std::atomic<void *>, kKept> kept_{};
  mutable std::atomic<size_t> made_{0};  ///< operations, those that are not kept among them
};

}  // namespace orvik::engine

#endif
