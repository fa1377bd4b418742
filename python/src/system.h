// A coordinate system, as CRS holds it. It never changes; any number of threads may use it.
#ifndef OPRJ_PYTHON_SYSTEM_H
#define OPRJ_PYTHON_SYSTEM_H

#include "failure.h"

namespace oprj_python {

/// The library's record, with the reference data loaded. Throws Failure when they are not there.
Oint_Toolkit *toolkit();

class System {
 public:
  /// Throws Failure.
  explicit System(const std::string &written);

  const Oprj_ProParameters &record() const { return *system_->record; }
  std::string description() const { return system_->description; }
  std::string name() const;
  const char *unitName() const { return system_->unit->name; }
  const Ocvt_Unit *unit() const { return system_->unit; }
  bool isGeographic() const { return system_->unit->kind == OCVT_KIND_ANGLE; }
  /// A program or a plug-in that the system names computes it.
  bool isExternal() const { return record().proType == OPRJ_EXTERNAL; }
  std::string datum() const;
  std::string spheroid() const;
  /// The file of a datum that is shifted by a grid; else empty.
  std::string grid() const;
  /// The text of the Projection Engine, and the one of text.h. Throw Failure when there is none.
  std::string toWkt() const;
  std::string toText() const;
  /// Kinds and texts.
  std::vector<std::pair<int32_t, std::string>> notes() const;
  /// The grid of its datum cannot be opened: it can be shifted to no other datum.
  bool lacksGrid() const;
  bool equals(const System &other) const;

 private:
  Owned<Oprj_System, oprj_SystemFree> system_;
};

/// The texts of a list, which is freed.
std::vector<std::string> textsOf(Oprj_Note *list);

}  // namespace oprj_python

#endif
