// Handles: making, copying, converting and releasing them, and the operations that go through their
// function set.
#include <oprj/families.h>

#include <utility>

#include "pipeline/function_sets.h"

using namespace orvik::oprj;

namespace {

struct TitledSet {
  const char *title;
  const Oprj_MapProjectionFunctions *functions;
};

constexpr TitledSet kSets[] = {{OPRJ_TITLE_NATIVE, &kNativeSet},
                               {OPRJ_TITLE_PE, &kEngineSet.functions}};

const TitledSet *setOf(const char *title) {
  for (const auto &set : kSets)
    if (sameTitle(set.title, title)) return &set;
  return nullptr;
}

const char *printable(const char *title) { return title ? title : "(null)"; }

/// Frees data through its set. Nobody is left to hear of a failure: it is printed.
void freeData(const Oprj_MapProjectionFunctions *functions, void *data) {
  if (!functions || !functions->free || !data) return;
  Oerr_Report *report = nullptr;
  functions->free(data, &report);
  if (!report) return;
  oerr_PrintErrorReport(report);
  oerr_DeleteErrorReport(&report);
}

/// What both conversions of a handle share; `convert` makes the new data.
template <class Convert>
int32_t convertHandle(ErrorScope &e, Oprj_MapProjectionEx *handle, const char *title,
                      Convert convert) {
  if (!handle || !title) return e.fail(1, "Args");
  if (sameTitle(handle->title, title)) return 1;
  if (!oprj_MapProjectionConvertPossible(handle, title))
    return e.fail(2, "Cannot convert projection to type %s", title);
  const auto *oldSet = handle->functions;
  void *oldData = handle->ownedData;
  // Data converted for an unknown title could not be freed: such a title is refused beforehand.
  void *data = setOf(title) ? convert(*oldSet, oldData, e.cause()) : nullptr;
  if (!data && setOf(title)) return e.fail(3, "ProjectionConvert failed");
  if (!oprj_ProjectionSet(handle, title, data, e.cause()))
    return e.fail(4, "oprj_ProjectionSet failed");
  freeData(oldSet, oldData);
  return 1;
}

}  // namespace

const Oprj_MapProjectionFunctions *orvik::oprj::functionsFromTitle(const char *title) {
  const auto *set = setOf(title);
  return set ? set->functions : nullptr;
}

bool orvik::oprj::asksForEngine(const Oprj_ProParameters &record) {
  const auto &text = record.proExeName;
  return record.proType == OPRJ_INTERNAL && text.data &&
         (text.count >= 2 || (text.count == 1 && *text.data));
}

bool orvik::oprj::holdsGeographicText(const Oprj_ProParameters &record) {
  // The first word in front of a bracket, or the one behind it when that is of a compound system.
  constexpr size_t kLongest = 9;  // a longer word is neither
  bool quoted = false;
  std::string word;
  for (const Oprj_Char *at = unitsOf(record.proExeName); *at; ++at) {
    const Oprj_Char c = *at;
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '[' || c == '(') {
      if (word != "COMPD_CS") break;
      word.clear();
    } else if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_') {
      if (word.size() < kLongest) word += static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    }
  }
  return word == "GEOGCS";
}

// --- making and releasing ---

int32_t oprj_ProjectionInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                            Oprj_MapProjectionEx **handle, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionInit", err);
  if (handle) *handle = nullptr;
  if (!record || !handle) return e.fail(1574, "Args");

  const char *title = OPRJ_TITLE_NATIVE;
  void *data = nullptr;
  const auto *functions = &kNativeSet;
  if (asksForEngine(*record)) {
    const OwnedText text(oprj_CharStrToString(&record->proExeName));
    const Utf8 string(text.get(), e);
    if (e.failed()) return 0;
    data = string ? kEngineSet.fromString(string, e.cause()) : nullptr;
    if (!data) return e.fail(1599, "pe_coordsys_from_string failed");
    title = OPRJ_TITLE_PE;
    functions = &kEngineSet.functions;
  } else {
    data = oprj_ProjectionPre842Init(toolkit, record, e.cause());
    if (!data) return e.fail(1609, "oprj_ProjectionPre842Init failed");
  }
  *handle = oprj_ProjectionInitInternal(title, data, e.cause());
  if (!*handle) {
    freeData(functions, data);
    return e.fail(1616, "oprj_ProjectionInitInternal failed");
  }
  return 1;
}

Oprj_MapProjectionEx *oprj_ProjectionInitInternal(const char *title, void *data,
                                                  Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionInitInternal", err);
  OwnedHandle handle(allocateRecord<Oprj_MapProjectionEx>());
  if (!handle) return e.fail(1517, "Insufficient memory");
  if (!oprj_ProjectionSet(handle.get(), title, data, e.cause()))
    return e.fail(1520, "oprj_ProjectionSet failed");
  return handle.release();
}

int32_t oprj_ProjectionSet(Oprj_MapProjectionEx *handle, const char *title, void *data,
                           Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionSet", err);
  const auto *set = setOf(title);
  if (!set) return e.fail(1500, "Cannot initialize projection of type %s", printable(title));
  if (!handle) return e.fail(1501, "Args");
  *handle = {.data = data,
             .applyInverse = set->functions->applyInverse,
             .apply = set->functions->apply,
             .functions = set->functions,
             .title = set->title,
             .ownedData = data};
  return 1;
}

Oprj_MapProjectionEx *oprj_ProjectionCopy(const Oprj_MapProjectionEx *source,
                                          Oprj_MapProjectionEx *old, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionCopy", err);
  if (!source) return e.fail(1783, "Args");
  if (!source->functions || !source->functions->copy)
    return e.fail(1787, "ProjectionCopy not implemented by %s", printable(source->title));
  void *data = source->functions->copy(source->ownedData, e.cause());
  if (!data) return e.fail(1791, "ProjectionCopy failed");
  auto *copy = oprj_ProjectionInitInternal(source->title, data, e.cause());
  if (!copy) {
    freeData(source->functions, data);
    return e.fail(1795, "oprj_ProjectionInitInternal failed");
  }
  oprj_ProjectionFree(&old);
  return copy;
}

int32_t oprj_ProjectionQuit(Oprj_MapProjectionEx *handle, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionQuit", err);
  if (!handle || !sameTitle(handle->title, OPRJ_TITLE_NATIVE)) return 1;
  if (!oprj_ProjectionPre842Quit(static_cast<Oprj_MapProjection *>(handle->ownedData), e.cause()))
    return e.fail(1887, "oprj_ProjectionPre842Quit failed");
  return 1;
}

void oprj_ProjectionFree(Oprj_MapProjectionEx **handle) {
  if (!handle || !*handle) return;
  freeData((*handle)->functions, (*handle)->ownedData);
  omsc_HeapFree(std::exchange(*handle, nullptr));
}

// --- operations of the set ---

int32_t oprj_MapProjectionEqual(const Oprj_MapProjectionEx *first,
                                const Oprj_MapProjectionEx *second, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionEqual", err);
  if (first == second) return 1;
  if (!first || !second || !sameTitle(first->title, second->title)) return 0;
  if (!first->functions || !first->functions->equal)
    return e.fail(1, "ProjectionEqual not implemented by %s", printable(first->title));
  const int32_t equal = first->functions->equal(first->ownedData, second->ownedData, e.cause());
  if (e.calleeFailed()) return e.fail(2, "ProjectionEqual failed");
  return equal;
}

Oprj_Char *oprj_MapProjectionName(const Oprj_MapProjectionEx *handle, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionName", err);
  if (!handle || !handle->functions || !handle->functions->name) return nullptr;
  Oprj_Char *name = handle->functions->name(handle->ownedData, e.cause());
  if (e.calleeFailed()) return e.fail(1, "ProjectionName failed");
  return name;
}

int32_t oprj_MapProjectionConvertPossible(const Oprj_MapProjectionEx *handle, const char *title) {
  if (!handle || !title) return 0;
  if (sameTitle(handle->title, title)) return 1;
  if (!handle->functions || !handle->functions->convertPossible) return 0;
  ErrorScope e("oprj_MapProjectionConvertPossible", nullptr);
  const int32_t possible = handle->functions->convertPossible(handle->ownedData, title, e.cause());
  if (!e.calleeFailed()) return possible;
  e.printCause();
  return 0;
}

int32_t oprj_MapProjectionConvert(Oprj_MapProjectionEx *handle, const char *title,
                                  Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionConvert", err);
  return convertHandle(e, handle, title, [&](const auto &set, void *data, Oerr_Report **cause) {
    return set.convert ? set.convert(data, title, cause) : nullptr;
  });
}

int32_t oprj_MapProjectionConvertWithUnits(Oprj_MapProjectionEx *handle, const char *title,
                                           Oprj_Char **unitName, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionConvertWithUnits", err);
  return convertHandle(e, handle, title, [&](const auto &set, void *data, Oerr_Report **cause) {
    return set.convertWithUnits ? set.convertWithUnits(data, title, unitName, cause) : nullptr;
  });
}

void *oprj_MapProjectionCSRGet(const Oprj_MapProjectionEx *handle, const char *title,
                               Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionCSRGet", err);
  if (!handle || !handle->functions || !handle->functions->csrGet) return e.fail(1, "Args");
  void *system = handle->functions->csrGet(handle->ownedData, title, e.cause());
  if (e.calleeFailed()) return e.fail(2, "ProjectionCSRGet failed");
  return system;
}

void *oprj_MapProjectionPCSRGet(const Oprj_MapProjectionEx *handle, const char *title,
                                Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionPCSRGet", err);
  if (!handle || !handle->functions || !handle->functions->pcsrGet) return e.fail(1, "Args");
  void *system = handle->functions->pcsrGet(handle->ownedData, title, e.cause());
  if (e.calleeFailed()) return e.fail(2, "ProjectionPCSRGet failed");
  return system;
}

const void *oprj_MapProjectionGCSRGet(const Oprj_MapProjectionEx *handle, const char *title,
                                      Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionGCSRGet", err);
  if (!handle || !handle->functions || !handle->functions->gcsrGet) return e.fail(1, "Args");
  const void *system = handle->functions->gcsrGet(handle->ownedData, title, e.cause());
  if (e.calleeFailed()) return e.fail(2, "ProjectionGCSRGet failed");
  return system;
}

void oprj_MapProjectionApply3D(const Oprj_MapProjectionEx *handle, const Oprj_Point3D *in,
                               Oprj_Point3D *out, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionApply3D", err);
  if (!handle || !handle->functions || !handle->functions->apply3D) {
    e.fail(1, "Args");
    return;
  }
  handle->functions->apply3D(handle->ownedData, in, out, count, e.cause());
  if (e.calleeFailed()) e.fail(2, "ProjectionApply3D failed");
}

void oprj_MapProjectionApplyInverse3D(const Oprj_MapProjectionEx *handle, const Oprj_Point3D *in,
                                      Oprj_Point3D *out, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionApplyInverse3D", err);
  if (!handle || !handle->functions || !handle->functions->applyInverse3D) {
    e.fail(1, "Args");
    return;
  }
  handle->functions->applyInverse3D(handle->ownedData, in, out, count, e.cause());
  if (e.calleeFailed()) e.fail(2, "ProjectionApplyInverse3D failed");
}
