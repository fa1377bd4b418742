// Coordinate systems as the program's user writes them: `NAME; key=value; ...`, texts of the
// Projection Engine, .prj files, codes and names.
#ifndef OPRJ_APPS_SYSTEM_H
#define OPRJ_APPS_SYSTEM_H

#include <cmath>

#include "fields.h"
#include "program.h"

namespace program {

struct DeleteEngineSystem {
  void operator()(Oawp_PE_COORDSYS *system) const { oawp_PE_pe_coordsys_del(system); }
};
using OwnedEngineSystem = std::unique_ptr<Oawp_PE_COORDSYS, DeleteEngineSystem>;
using OwnedNotes = std::unique_ptr<Oprj_Note, FreeBy<Oprj_Note, oprj_NotesFree>>;

struct System {
  OwnedRecord record;
  std::string text;  ///< as it was written, or as its file or code has it
  std::string title;
  std::string unit;       ///< of points: a name of the unit service
  double unitFactor = 1;  ///< to radians or metres
  bool geographic = false;
  /// Why the datum's grid cannot be used, when it cannot: fatal only when a shift needs it.
  std::string gridTrouble;

  /// Degrees may be written with minutes, seconds and the letters of their axis.
  bool inDegrees() const { return geographic && std::fabs(unitFactor - kDegree) < 1e-15; }
  Notation xNotation() const { return inDegrees() ? Notation::kLongitude : Notation::kNumber; }
  Notation yNotation() const { return inDegrees() ? Notation::kLatitude : Notation::kNumber; }
  const char *name() const { return record->proName.data; }
  const Oprj_Spheroid &spheroid() const { return *record->proSpheroid; }
  const char *datumName() const { return record->proSpheroid->datum->datumname.data; }
};

/// What a refused description is told as: the message, the names that could stand instead, where
/// all are listed.
std::string refusalText(const Oerr_Report *report);
/// A name in quotes, with what the tables say of the datum that it names.
std::string choiceText(Oint_Toolkit *toolkit, const char *name);

/// A text as a system of the Projection Engine; null for another.
OwnedEngineSystem readEngineText(const char *text);
bool isEngineText(const std::string &text);
/// The whole content of a file. Throws Stop with kUnusable, also for one without any.
std::string fileText(const std::string &path);

/// Reads a description; unknown names and keys are refused with the nearest candidates. Throws Stop
/// with kUnusable.
System readSystem(Oint_Toolkit *toolkit, const std::string &text, const Console &console);

/// The system of the Projection Engine that a record holds in place of a projection number; null
/// for others.
OwnedEngineSystem engineSystemOf(const Oprj_ProParameters &record);
/// What computes an external system, and where it was found: "the program /usr/bin/x", "the plug-in
/// ./x.so"; why nothing was found. Empty for systems that the library computes.
std::string outsideOf(const Oprj_ProParameters &record);

/// Builds the system's projection. Throws Stop with kUnusable, telling which of the values that
/// were written it cannot have, or what else is amiss, also where the Projection Engine has no
/// formula for it; the chain of reports only with -v.
OwnedHandle requireProjection(Oint_Toolkit *toolkit, const System &system, const Console &console);

/// The help on descriptions.
extern const char *const kSystemHelp;

}  // namespace program

#endif
