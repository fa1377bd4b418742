// Projections in their portable forms: the native set's object and the wrapper of any set's object.
#include <oprj/engine.h>
#include <oprj/families.h>
#include <oprj/mifable.h>
#include <oprj/oint.h>
#include <oprj/tables.h>

#include <cmath>
#include <cstring>

#include "interchange/engine_portable.h"
#include "interchange/portable_object.h"
#include "interchange/shared_designs.h"
#include "interchange/stored_datum.h"
#include "pipeline/function_sets.h"

using namespace orvik::oprj;

namespace orvik::oprj {
namespace {

// ---- The native set

/// An internal projection has no module; a name that it carries is told and left out.
Oprj_CharStr moduleOf(const char *operation, int32_t proType, const Oprj_CharStr &name) {
  if (proType != OPRJ_INTERNAL) return name;
  if (!isBlank(name)) {
    Oerr_Report *warning =
        oerr_CreateErrorReport(operation, 1, OERR_SEVERITY_WARNING, nullptr,
                               "Ignoring proExeName.data in internal projection");
    oerr_PrintErrorReport(warning);
    oerr_DeleteErrorReport(&warning);
  }
  return {};
}

/// The tables know a spheroid of that name and these axes (metres).
bool isListed(Oint_Toolkit *toolkit, const Oprj_Spheroid &spheroid) {
  constexpr double kAxesTolerance = 1e-5;  // as of oprj_GetSpheroidNameByAxes
  const auto *entry = oprj_SpheroidEntryByName(toolkit, spheroid.sphereName.data, nullptr);
  return entry && within(entry->a, spheroid.a, kAxesTolerance) &&
         within(entry->b, spheroid.b, kAxesTolerance);
}

/// Gives a spheroid that was stored the name under which the tables list its axes, and its datum
/// what is not stored with it. False with a report.
bool completeSpheroid(Oint_Toolkit *toolkit, Oprj_Spheroid &spheroid, ErrorScope &e) {
  if (axesUsable(spheroid.a, spheroid.b)) setAxes(spheroid, spheroid.a, spheroid.b);
  if (!isListed(toolkit, spheroid)) {
    const OwnedText listed(oprj_GetSpheroidNameByAxes(toolkit, spheroid.a, spheroid.b, nullptr));
    if (listed && !oprj_CharStrCreate(listed.get(), &spheroid.sphereName, e.cause()))
      return e.fail(7, "Error returned from oprj_CharStrCreate");
  }
  Oprj_Datum &datum = *spheroid.datum;
  if (!isSurface(toolkit, spheroid.sphereName.data, datum)) return true;
  // Without its surface the projection itself still works.
  OwnedDatum listed;
  Oprj_Datum *made = nullptr;
  if (oprj_DatumInit(&made, nullptr)) listed.reset(made);
  if (listed)
    oprj_DatumByName(toolkit, spheroid.sphereName.data, datum.datumname.data, made, nullptr);
  datum.type = OPRJ_DATUM_SURFACE;
  if (listed) std::swap(datum.shiftSurface, listed->shiftSurface);
  return true;
}

}  // namespace

bool isSurface(Oint_Toolkit *toolkit, const Oprj_Char *spheroidName, const Oprj_Datum &datum) {
  if (datum.type == OPRJ_DATUM_SURFACE) return true;
  if (datum.type != OPRJ_DATUM_NONE || isUndefined(&datum)) return false;
  const auto *entry = oprj_SpheroidEntryByName(toolkit, spheroidName, nullptr);
  for (const auto *listed = entry ? entry->datums : nullptr; listed; listed = listed->next)
    if (sameText(listed->name, datum.datumname.data)) return listed->type == OPRJ_DATUM_SURFACE;
  return false;
}

void *nativeProjectionConvertToMIFable(const void *data, const Omif_Design **design,
                                       Oerr_Report **err) {
  ErrorScope e("nativeProjectionConvertToMIFable", err);
  const auto *projection = static_cast<const Oprj_MapProjection *>(data);
  const auto *record = projection ? projection->proParameters : nullptr;
  if (!record || !design) return e.fail(2, "Invalid input Map Projection structure");
  const auto *own = referenceDesign(mapProjection830Design, e.cause());
  if (!own) return e.fail(3, "OMIF_DESIGN_FETCH failed");
  // The copy takes the items alone from these borrowed parts.
  Oprj_ProjectionObject830 parameters{
      record->proType,
      record->proNumber,
      moduleOf("nativeProjectionConvertToMIFable", record->proType, record->proExeName),
      record->proName,
      record->proZone,
      record->proParams};
  Oprj_EarthModel830 earth{record->proSpheroid,
                           record->proSpheroid ? record->proSpheroid->datum : nullptr};
  const Oprj_MapProjection830 whole{&parameters, &earth};
  const ToolkitRecord plain(own, &whole, e.cause());
  void *object = plain ? omif_ObjectCopy(own, plain.get(), nullptr, e.cause()) : nullptr;
  if (!object) return e.fail(4, "omif_ObjectCopy failed");
  *design = own;
  return object;
}

void *nativeProjectionConvertFromMIFable(const void *object, const Omif_Design *design,
                                         Oerr_Report **err) {
  ErrorScope e("nativeProjectionConvertFromMIFable", err);
  if (!design || !bears(design, "Oprj_MapProjection830"))
    return e.fail(1, "Unrecognized design name");
  const auto *own = referenceDesign(mapProjection830Design, e.cause());
  if (!own) return e.fail(2, "OMIF_DESIGN_FETCH failed");
  auto converted = asOwn(object, design, own, e.cause());
  if (!converted || !takeTexts(own, converted.record(), e.cause()))
    return e.fail(3, "omif_ObjectConvert failed");
  const auto *stored = static_cast<const Oprj_MapProjection830 *>(converted.get());
  if (!stored->projectionObject) return e.fail(4, "Invalid projectionObject");

  // A record of borrowed parts, copied as records are.
  const auto &parameters = *stored->projectionObject;
  const Oprj_EarthModel830 earth = stored->earthModel ? *stored->earthModel : Oprj_EarthModel830{};
  Oprj_Spheroid spheroid = earth.proSpheroid ? *earth.proSpheroid : Oprj_Spheroid{};
  spheroid.datum = earth.datum;
  const Oprj_ProParameters parts{
      parameters.proType,
      parameters.proNumber,
      moduleOf("nativeProjectionConvertFromMIFable", parameters.proType, parameters.proExeName),
      parameters.proName,
      parameters.proZone,
      parameters.proParams,
      &spheroid};
  const OwnedParameters record(oprj_ProParametersCopy(&parts, nullptr, e.cause()));
  if (!record) return e.fail(5, "Error returned from oprj_ProParametersCopy");
  Oint_Toolkit *toolkit = oint_InitToolkit(e.cause());
  if (!completeSpheroid(toolkit, *record->proSpheroid, e)) return nullptr;
  auto *projection = oprj_ProjectionPre842Init(toolkit, record.get(), e.cause());
  if (!projection) return e.fail(6, "oprj_ProjectionPre842Init failed");
  return projection;
}

// ---- The Projection Engine's set

namespace {

/// The item that holds a system's text: "coordSys", else the first text. False when there is none.
bool textItem(const Omif_Design *design, Omif_ItemInfo &found) {
  Omif_ItemInfo item, first{};
  for (int32_t i = 0; omif_DesignItem(design, i, &item); ++i) {
    if (std::strcmp(item.name, "coordSys") == 0) {
      found = item;
      return true;
    }
    if (!first.name && item.kind == 'c' && item.pointer == 'p') first = item;
  }
  found = first;
  return first.name != nullptr;
}

/// A design of one text under a name of an item, in a dictionary of its own.
OwnedDictionary designOfText(const char *item, Oerr_Report **err) {
  OwnedDictionary dictionary(omif_NewDictionary(err));
  if (dictionary && !omif_DesignCreate(dictionary.get(), "Text", err, OMIF_STRING, item, OMIF_END))
    dictionary.reset();
  return dictionary;
}

}  // namespace

void *peProjectionConvertToMIFable(const void *data, const Omif_Design **design,
                                   Oerr_Report **err) {
  ErrorScope e("peProjectionConvertToMIFable", err);
  const InnerText text(
      oawp_PE_pe_coordsys_to_string(static_cast<const Oawp_PE_COORDSYS *>(data), nullptr, 0));
  if (!text) {
    oawp_PE_ReportTake(e.cause());
    return e.fail(1, "OAWP_FCLL_PE(pe_coordsys_to_string) failed");
  }
  const auto *own = referenceDesign(peCoordsysDesign, e.cause());
  if (!own) return e.fail(2, "OMIF_DESIGN_FETCH failed");
  const Oprj_PECoordsys whole{{borrowed(text.get())}};
  void *object = omif_ObjectCopy(own, &whole, nullptr, e.cause());
  if (!object) return e.fail(3, "omif_ObjectCopy failed");
  *design = own;
  return object;
}

void *peProjectionConvertFromMIFable(const void *object, const Omif_Design *design,
                                     Oerr_Report **err) {
  ErrorScope e("peProjectionConvertFromMIFable", err);
  if (!design || !(bears(design, "PE_COORDSYS") || bears(design, "PE_PROJCS")))
    return e.fail(1, "Unrecognized design name");
  Omif_ItemInfo item;
  if (!textItem(design, item)) return e.fail(2, "No text in design %s", omif_DesignName(design));
  // As the library's own design has it, or as a text that is an item itself.
  OwnedDictionary dictionary;
  const Omif_Design *wanted = nullptr;
  if (item.kind == 'c') {
    dictionary = designOfText(item.name, e.cause());
    wanted = dictionary ? omif_DictionaryDesign(dictionary.get(), 0) : nullptr;
  } else {
    wanted = referenceDesign(peCoordsysDesign, e.cause());
  }
  if (!wanted) return e.fail(3, "OMIF_DESIGN_FETCH failed");
  const auto converted = asOwn(object, design, wanted, e.cause());
  if (!converted) return e.fail(4, "omif_ObjectConvert failed");
  const auto *stored = static_cast<const Omif_String *>(converted.get());
  Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(charsOf(stored->string));
  if (!system) {
    oawp_PE_ReportTake(e.cause());
    return e.fail(5, "OAWP_FCLL_PE(pe_coordsys_from_string) failed");
  }
  return system;
}

// ---- Any set

namespace {

constexpr const char *kToMIFable = "oprj_ProjectionConvertToMIFable";

/// The library's own design of that name among those that function sets read, else null; the
/// Projection Engine's projected systems are laid out as all of its systems are.
const Omif_Design *ownDesignOf(const char *name, Oerr_Report **err) {
  if (std::strcmp(name, "Oprj_MapProjection830") == 0)
    return referenceDesign(mapProjection830Design, err);
  if (std::strcmp(name, "PE_COORDSYS") == 0) return referenceDesign(peCoordsysDesign, err);
  return nullptr;
}

/// The design that the wrapped object was written in: `own`, or the one in `dictionary`, where the
/// wrapper's is read to then. Null with a report of 3 to 5.
const Omif_Design *writtenDesign(const Omif_MIFObject &wrapped, const Omif_Design *own,
                                 OwnedDictionary &dictionary, ErrorScope &e) {
  const char *text = charsOf(wrapped.MIFDictionary), *name = charsOf(wrapped.type.string);
  if (isTextOf(own, text)) return own;
  dictionary.reset(omif_DictionaryDecodeFromString(text, e.cause()));
  if (!dictionary) return e.fail(3, "omif_DictionaryDecodeFromString failed");
  const auto *written = omif_DictionarySearchByName(dictionary.get(), name, e.cause());
  if (e.calleeFailed()) return e.fail(4, "omif_DictionarySearchByName failed");
  if (!written) return e.fail(5, "Design %s not found in dictionary", name);
  return written;
}

/// The wrapped object, as a record of the library's own design where it has one; else of the
/// design in `dictionary`. Empty with a report.
PortableObject unwrap(const Omif_MIFObject &wrapped, OwnedDictionary &dictionary, ErrorScope &e) {
  const auto *own = ownDesignOf(charsOf(wrapped.type.string), e.cause());
  if (e.calleeFailed()) return e.fail(6, "omif_ObjectAllocate failed");
  const auto *written = writtenDesign(wrapped, own, dictionary, e);
  if (!written) return {};
  const auto *wanted = own ? own : written;
  PortableObject object(wanted, omif_ObjectAllocate(wanted, e.cause()));
  if (!object) return e.fail(6, "omif_ObjectAllocate failed");
  if (!omif_ConvertToHostAs(written, wrapped.MIFObject.data, wrapped.MIFObject.count, wanted,
                            object.record(), e.cause()))
    return e.fail(7, "omif_ConvertToHost failed");
  return object;
}

}  // namespace
}  // namespace orvik::oprj

PortableObject orvik::oprj::wrappedProjection(const Oprj_MapProjectionEx *projection,
                                              Oerr_Report **err) {
  ErrorScope e(kToMIFable, err);
  if (!projection || !projection->functions || !projection->functions->convertToMIFable)
    return e.fail(1, "Args");
  const Omif_Design *inner = nullptr;
  void *made = projection->functions->convertToMIFable(projection->ownedData, &inner, e.cause());
  const PortableObject wrapped(inner, made);
  if (!wrapped) return e.fail(2, "ProjectionConvertToMIFable failed");

  const char *text = omif_DesignText(inner, e.cause());
  if (!text) return e.fail(4, "omif_DesignText failed");
  const int32_t size = omif_ObjectSize(inner, wrapped.get(), e.cause());
  const orvik::toolkit::HeapBlock<uint8_t> bytes(
      static_cast<uint8_t *>(omsc_HeapMalloc(static_cast<size_t>(size))));
  if (e.calleeFailed() || !bytes ||
      omif_ConvertToMIF(inner, wrapped.get(), bytes.get(), size, e.cause()) != size)
    return e.fail(5, "omif_ConvertToMIF failed");

  const auto *own = referenceDesign(mapProjection842Design, e.cause());
  if (!own) return e.fail(6, "OMIF_DESIGN_FETCH failed");
  const Oprj_MapProjection842 whole{
      {{borrowed(omif_DesignName(inner))}, borrowed(text), {size, bytes.get()}},
      {borrowed(projection->title)}};
  PortableObject result(own, omif_ObjectCopy(own, &whole, nullptr, e.cause()));
  if (!result) return e.fail(7, "omif_ObjectCopy failed");
  return result;
}

int32_t oprj_ProjectionConvertToMIFable(const Oprj_MapProjectionEx *projection, void **object,
                                        Omif_Design **design, Oerr_Report **err) {
  ErrorScope e(kToMIFable, err);
  if (object) *object = nullptr;
  if (design) *design = nullptr;
  if (!object || !design) return e.fail(1, "Args");
  PortableObject wrapped = wrappedProjection(projection, err);
  if (!wrapped) return 0;
  *design = omif_DesignCopy(wrapped.design(), e.cause());
  if (!*design) return e.fail(8, "omif_DesignCopy failed");
  *object = wrapped.release();
  return 1;
}

Oprj_MapProjectionEx *oprj_ProjectionConvertFromMIFable(const void *object,
                                                        const Omif_Design *design,
                                                        Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionConvertFromMIFable", err);
  if (!design) return e.fail(1, "NULL design");
  if (!object) return e.fail(11, "NULL object");
  const char *title = OPRJ_TITLE_NATIVE;
  OwnedDictionary dictionary;  // outlives what its designs free
  PortableObject wrapper, unwrapped;
  if (bears(design, "Oprj_MapProjection842")) {
    const auto *own = referenceDesign(mapProjection842Design, e.cause());
    if (design != own) {
      if (own) wrapper = asOwn(object, design, own, e.cause());
      if (!wrapper) return e.fail(12, "omif_ObjectConvert failed");
      object = wrapper.get();
    }
    const auto *whole = static_cast<const Oprj_MapProjection842 *>(object);
    unwrapped = unwrap(whole->projection, dictionary, e);
    if (!unwrapped) return nullptr;
    title = charsOf(whole->title.string);
    object = unwrapped.get();
    design = unwrapped.design();
  } else if (!bears(design, "Oprj_MapProjection830")) {
    return e.fail(2, "Don't know how to convert from %s", omif_DesignName(design));
  }
  const auto *functions = functionsFromTitle(title);
  if (!functions) return e.fail(8, "MapProjectionFunctionsFromTitle failed");
  void *data = functions->convertFromMIFable(object, design, e.cause());
  if (!data) return e.fail(9, "ProjectionConvertFromMIFable failed");
  auto *handle = oprj_ProjectionInitInternal(title, data, e.cause());
  if (!handle) {
    functions->free(data, nullptr);
    return e.fail(10, "oprj_ProjectionInitInternal failed");
  }
  return handle;
}
