// Coordinate systems as the program's user writes them: `NAME; key=value; ...`.
#ifndef OPRJ_APPS_SYSTEM_H
#define OPRJ_APPS_SYSTEM_H

#include "program.h"

namespace program {

struct System {
  OwnedRecord record;
  std::string unit;  ///< of points: a name of the unit service
  bool geographic = false;
  /// Why the datum's grid cannot be used, when it cannot: fatal only when a shift needs it.
  std::string gridTrouble;

  const char *name() const { return record->proName.data; }
  const Oprj_Spheroid &spheroid() const { return *record->proSpheroid; }
  const char *datumName() const { return record->proSpheroid->datum->datumname.data; }
};

/// Reads a description; unknown names and keys are refused with the nearest candidates. Throws Stop
/// with kUnusable.
System readSystem(Oint_Toolkit *toolkit, const std::string &text, const Console &console);

/// A question of the dictionary about one slot of proParams, branches included.
struct Question {
  int32_t slot;
  int32_t kind;
  std::string prompt;
};
std::vector<Question> questionsOf(const Oprj_Query &query);

/// The help on descriptions.
extern const char *const kSystemHelp;

}  // namespace program

#endif
