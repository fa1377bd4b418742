// The parts of a translation: earth (spheroid, datum), zones, numbers. All throw Untranslatable for
// what the other side cannot express, and std::bad_alloc.
#ifndef OPRJ_INTERCHANGE_TRANSLATION_PARTS_H
#define OPRJ_INTERCHANGE_TRANSLATION_PARTS_H

#include <oprj/translation.h>

#include <string>
#include <string_view>

#include "engine/object.h"
#include "interchange/text_slots.h"
#include "interchange/translation_tables.h"

namespace orvik::oprj {

using engine::Kind;
using engine::OwnedObject;
using EngineObject = engine::Object;

struct Untranslatable {
  std::string message;
};

/// Runs a body that may find something untranslatable: a report of `code`, or of the next one for
/// want of memory.
template <class Body>
auto translating(ErrorScope &e, int32_t code, Body body) -> decltype(body()) {
  return toolkit::guarded(e, code + 1, [&]() -> decltype(body()) {
    try {
      return body();
    } catch (const Untranslatable &reason) {
      return e.fail(code, "%s", reason.message.c_str());
    }
  });
}

/// What reading a system stands on. A lookup that must succeed throws when it does not.
struct Tables {
  explicit Tables(ErrorScope &scope, bool opening = false)
      : e(scope),
        opensGrids(opening),
        toolkit(need(oint_InitToolkit(e.cause()))),
        data(*need(oprj_InitDataGet(toolkit, e.cause()))) {}

  ErrorScope &e;
  const bool opensGrids;  ///< to tell of a grid that is not there
  Oint_Toolkit *const toolkit;
  const Oprj_InitData &data;

  template <class T>
  T *need(T *result) const {
    if (!result) throw Untranslatable{oerr_MessageGet(oerr_RootCauseGet(e.causeReport()))};
    return result;
  }
};

/// The projected part of a system, and the geographic one; null when it has none.
inline const EngineObject *projectedOf(const EngineObject &system) {
  return engine::as(&system, engine::setOf(Kind::kProjcs));
}
inline const EngineObject *geographicOf(const EngineObject &system) {
  const EngineObject *projcs = projectedOf(system);
  return projcs ? engine::partOf(*projcs, Kind::kGeogcs)
                : engine::as(&system, engine::setOf(Kind::kGeogcs));
}

/// The text of an engine object.
std::string written(const EngineObject &object);

/// Fills the spheroid and its datum from a GEOGCS.
void readEarth(const Tables &tables, const EngineObject &geogcs, Oprj_Spheroid &spheroid,
               Notes &notes);
/// A GEOGCS on a spheroid and its datum, with the unit for angles.
OwnedObject writeEarth(const Oprj_Spheroid &spheroid, OwnedObject unit);
/// The shift of a parametric datum to WGS 84; null when it has none.
OwnedObject writeTransform(const Oprj_Spheroid &spheroid);

/// A Transverse Mercator, Lambert, Polyconic or oblique Mercator record becomes the State Plane or
/// UTM record of its zone when it is one. `engineDatum` and `system` as the text names them.
void narrowToZone(const Tables &tables, std::string_view engineDatum, std::string_view system,
                  Oprj_ProParameters &record);

/// Gives the record the name and number of a projection of the dictionary.
void setNumber(const Tables &tables, int32_t number, Oprj_ProParameters &record);

/// Moves the offsets of an oblique Mercator from its natural origin to its centre (sign 1), or back
/// (sign -1): EPSG variants A and B.
void moveOffsets(double sign, const Oprj_Spheroid &spheroid, double *slots);

/// A unit as the engine writes it. `text` (of a unit without name here) is read.
OwnedObject engineUnit(const Ocvt_Unit &unit);
/// The name of a unit object as ocvt_UnitSetByName takes it.
std::string unitNameOf(const EngineObject &unit, int32_t kind);
/// Metres or radians a unit: ours when we have it, whose digits are more.
double exactFactor(const EngineObject &unit, int32_t kind);

/// The number that times `factor` gives the very value, the shortest of several; else the nearest.
double quotient(double value, double factor);

}  // namespace orvik::oprj

#endif
