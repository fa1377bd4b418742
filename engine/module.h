// What the engine takes from PROJ: its mathematics and its database. They come with a module that
// is opened when they are first needed (engine/proj/), so that programs that only handle texts and
// objects load neither.
#ifndef OPRJ_ENGINE_MODULE_H
#define OPRJ_ENGINE_MODULE_H

#include <oprj/oerr.h>

#include <cstddef>
#include <cstdint>

namespace orvik::engine {

/// Kinds of objects in the database.
enum class Stored : int32_t {
  kPrimem,
  kSpheroid,
  kGeogcs,
  kProjcs,
  kVertcs,
  kDatum,
  kVdatum,
  kGeogtran
};

/// A point, longitude first.
struct Pair {
  double x, y;
};

/// The functions of the module; any thread may call them.
struct Module {
  /// A PROJ operation (`+proj=... ...`, radians to metres); it serves one thread at a time. Null
  /// with a report: 1 what PROJ says of the definition.
  void *(*operationNew)(const char *definition, Oerr_Report **err);
  void (*operationDelete)(void *operation);
  /// Sends `count` points (x, y pairs) through it in place. What cannot be computed becomes
  /// infinite.
  void (*transform)(void *operation, bool forward, double *points, size_t count);
  /// The same for one point, which stays in registers.
  Pair (*transformOne)(void *operation, bool forward, double x, double y);

  /// The text of a stored object of EPSG, else of ESRI, as new text of the heap, in the engine's
  /// language. Null without a report: there is none. Null with one: 1 the database cannot be used,
  /// 2 the object cannot be written.
  char *(*textOf)(Stored kind, int32_t code, Oerr_Report **err);
  /// Calls `add` with the code of every stored object of a kind and the name that ESRI gave it
  /// (null: none). 1, or 0 with a report: 1 the database cannot be used.
  int32_t (*forEach)(Stored kind, void (*add)(void *context, int32_t code, const char *name),
                     void *context, Oerr_Report **err);
};

/// The module, opened once; null with a report.
const Module *module(Oerr_Report **err);

/// What the module exports.
inline constexpr const char *kModuleSymbol = "oprj_EngineModule";

}  // namespace orvik::engine

#endif
