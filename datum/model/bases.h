// The datums above a surface datum: its base, the base's base, up to one that is no surface datum.
#ifndef OPRJ_DATUM_MODEL_BASES_H
#define OPRJ_DATUM_MODEL_BASES_H

#include "datum/model/surface_record.h"
#include "records/records.h"

namespace orvik::oprj {

/// Looks datums up for an operation, in whose scope it reports, and keeps what it made. May throw
/// std::bad_alloc.
class Bases {
 public:
  /// Codes of the reports; all operations with surfaces share them.
  enum Code : int32_t { kWrongTypes = 2, kNoSpace = 3, kNoDatum = 4, kNoSpheroid = 8 };

  /// A datum and all above it, itself first; the last one has no base.
  using Levels = toolkit::HeapVector<const Oprj_Spheroid *>;
  /// How many levels up, and then down, lead from one datum to another. Both ways end at one datum
  /// when it is shared, else at the last ones.
  struct Way {
    size_t up, down;
    bool shared;
  };

  explicit Bases(ErrorScope &e) : e_(e) {}

  /// A datum by its name (the program's own, else the tables'), on its own spheroid. Null after
  /// "Cannot get datum by name" or "Cannot get spheroid by name".
  const Oprj_Spheroid *fetch(const char *name);
  /// False after a report: also when a surface is not a vertical one as wanted, when a base is of
  /// another type than its surface says, or when there are so many that it must be a loop.
  bool climb(const Oprj_Spheroid &from, bool vertical, Levels &levels);
  static Way join(const Levels &up, const Levels &down);

  bool wrongTypes() { return e_.fail(kWrongTypes, "Wrong datum types."); }

 private:
  ErrorScope &e_;
  toolkit::HeapVector<OwnedSpheroid> fetched_;
};

inline int32_t typeOf(const Oprj_Spheroid &spheroid) {
  return spheroid.datum ? spheroid.datum->type : OPRJ_DATUM_NONE;
}
inline Utf8 nameOf(const Oprj_Spheroid &spheroid) {
  return spheroid.datum ? textOf(spheroid.datum->datumname) : textOf("");
}
bool sameDatum(const Oprj_Spheroid &first, const Oprj_Spheroid &second);
inline const Oprj_ShiftSurface &surfaceOf(const Oprj_Spheroid &spheroid) {
  return *spheroid.datum->shiftSurface;
}

}  // namespace orvik::oprj

#endif
