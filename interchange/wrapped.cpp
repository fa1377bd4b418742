// Whole coordinate systems as portable objects, and what passes between libraries in transit.
#include <oprj/wrapped.h>

#include <oprj/ostr.h>
#include <oprj/tables.h>

#include "interchange/portable_object.h"
#include "interchange/shared_designs.h"
#include "interchange/stored_datum.h"
#include "pipeline/function_sets.h"

using namespace orvik::oprj;

namespace orvik::oprj {
namespace {

using OwnedElevation = Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;
using OwnedBytes = toolkit::HeapBlock<uint8_t>;

constexpr const char *kProjection830 = "Oprj_MapProjection830";
constexpr const char *kElevationInfo = "Oprj_ElevationInfo";
constexpr const char *kCoordinateSystem = "Oprj_CoordinateSystem";
constexpr int32_t kTransitVersion = 1;

/// A copy of a part of an object, with a copy of the part's design; false with a report of `code`
/// or of the one behind the unit's.
bool copyPart(ErrorScope &e, int32_t code, const void *part, const Omif_Design *own, void **object,
              OwnedDesign &design) {
  PortableObject copy(own, omif_ObjectCopy(own, part, nullptr, e.cause()));
  if (!copy) return e.fail(code, "omif_ObjectCopy failed");
  design.reset(omif_DesignCopy(own, e.cause()));
  if (!design) return e.fail(code + 2, "omif_DesignCopy failed");
  *object = copy.release();
  return true;
}

/// What is not stored of a vertical datum. Without its surface it is still looked up by its name.
bool completeDatum(Oprj_Datum &datum, Oerr_Report **err) {
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  const OwnedText home(oprj_GetSpheroidNameByDatumName(toolkit, datum.datumname.data, nullptr));
  if (!isSurface(toolkit, home.get(), datum)) return true;
  Oprj_Datum *listed = nullptr;
  if (!oprj_DatumInit(&listed, err)) return false;
  const OwnedDatum owned(listed);
  oprj_DatumByName(toolkit, home.get(), datum.datumname.data, listed, nullptr);
  datum.type = OPRJ_DATUM_SURFACE;
  std::swap(datum.shiftSurface, listed->shiftSurface);
  return true;
}

/// A portable object as dictionary, design name and bytes.
struct Transit {
  OwnedText dictionary, designName;
  OwnedBytes bytes;
  int32_t size = 0;

  /// False with a report of 4 to 6.
  bool take(ErrorScope &e, const void *object, const Omif_Design *design) {
    const char *text = omif_DesignText(design, e.cause());
    if (!text) return e.fail(4, "omif_DesignText failed");
    size = omif_ObjectSize(design, object, e.cause());
    if (!e.calleeFailed())
      bytes.reset(static_cast<uint8_t *>(omsc_HeapMalloc(static_cast<size_t>(size))));
    if (!bytes || omif_ConvertToMIF(design, object, bytes.get(), size, e.cause()) != size)
      return e.fail(5, "omif_ConvertToMIF failed");
    dictionary = newText(text);
    designName = newText(omif_DesignName(design));
    if (!dictionary || !designName) return e.fail(6, "ostr_Duplicate failed");
    return true;
  }
};

}  // namespace
}  // namespace orvik::oprj

// --- whole systems ---

int32_t oprj_ProjectionConvertToMIFable830(const Oprj_MapProjectionEx *projection, void **object,
                                           Omif_Design **design, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionConvertToMIFable830", err);
  if (object) *object = nullptr;
  if (design) *design = nullptr;
  if (!projection || !object || !design) return e.fail(1, "Args");
  OwnedHandle native;
  if (!sameTitle(projection->title, OPRJ_TITLE_NATIVE)) {
    native.reset(oprj_ProjectionCopy(projection, nullptr, e.cause()));
    if (!native) return e.fail(2, "oprj_ProjectionCopy failed");
    if (!oprj_MapProjectionConvert(native.get(), OPRJ_TITLE_NATIVE, e.cause()))
      return e.fail(3, "oprj_MapProjectionConvert failed");
    projection = native.get();
  }
  const Omif_Design *own = nullptr;
  void *made = nativeProjectionConvertToMIFable(projection->ownedData, &own, e.cause());
  PortableObject owned(own, made);
  if (!owned) return e.fail(4, "ProjectionConvertToMIFable failed");
  *design = omif_DesignCopy(own, e.cause());
  if (!*design) return e.fail(5, "omif_DesignCopy failed");
  *object = owned.release();
  return 1;
}

int32_t oprj_MIFableCoordinateSystemWrap(const void *projection,
                                         const Omif_Design *projectionDesign, const Oprj_Char *unit,
                                         const void *elevation, const Omif_Design *elevationDesign,
                                         void **object, Omif_Design **design, Oerr_Report **err) {
  ErrorScope e("oprj_MIFableCoordinateSystemWrap", err);
  if (object) *object = nullptr;
  if (design) *design = nullptr;
  if (!object || !design) return e.fail(10, "Args");
  if (!oprj_InitDataGet(oint_InitToolkit(e.cause()), e.cause()))
    return e.fail(1, "InternalInit failed; Failed to initialize oprj package.");
  if (!projectionDesign)
    return e.fail(2, "oprj_MIFableCoordinateSystemWrap: Invalid input Projection design");
  if (!bears(projectionDesign, kProjection830)) return e.fail(3, "Unrecognized projection design");
  const bool hasElevation = elevation || elevationDesign;
  if (hasElevation && !bears(elevationDesign, kElevationInfo))
    return e.fail(4, "Unrecognized elevation info design");

  const auto *own = referenceDesign(coordinateSystemDesign, e.cause());
  const auto *own830 = own ? referenceDesign(mapProjection830Design, e.cause()) : nullptr;
  const auto *ownElevation = own830 ? referenceDesign(elevationInfoDesign, e.cause()) : nullptr;
  if (!ownElevation) return e.fail(5, "OMIF_DESIGN_FETCH failed");
  PortableObject whole(own, omif_ObjectAllocate(own, e.cause()));
  if (!whole) return e.fail(6, "omsc_New failed");
  auto &system = *static_cast<Oprj_CoordinateSystem *>(whole.record());
  system.projectionObject = static_cast<Oprj_MapProjection830 *>(
      asOwn(projection, projectionDesign, own830, e.cause()).release());
  if (!system.projectionObject) return e.fail(7, "omif_ObjectCopy failed");
  if (hasElevation) {
    system.verticalCSObject = static_cast<Oprj_ElevationInfo *>(
        asOwn(elevation, elevationDesign, ownElevation, e.cause()).release());
    if (!system.verticalCSObject) return e.fail(7, "omif_ObjectCopy failed");
  }
  if (unit) {
    const Utf8 name(unit, e);
    if (e.failed()) return 0;
    char *const text = ostr_Duplicate(name);  // UTF-8, whatever the library's own records hold
    if (!text) return e.fail(8, "ostr_Duplicate failed");
    system.horizontalUnits = {borrowed(text).count, reinterpret_cast<Oprj_Char *>(text)};
  }
  *design = omif_DesignCopy(own, e.cause());
  if (!*design) return e.fail(9, "omif_DesignCopy failed");
  *object = whole.release();
  return 1;
}

int32_t oprj_MIFableCoordinateSystemUnwrap(const void *object, const Omif_Design *design,
                                           void **projection, Omif_Design **projectionDesign,
                                           Oprj_Char **unit, void **elevation,
                                           Omif_Design **elevationDesign, Oerr_Report **err) {
  ErrorScope e("oprj_MIFableCoordinateSystemUnwrap", err);
  if (projection) *projection = nullptr;
  if (projectionDesign) *projectionDesign = nullptr;
  if (unit) *unit = nullptr;
  if (elevation) *elevation = nullptr;
  if (elevationDesign) *elevationDesign = nullptr;
  if (!object || !projection || !projectionDesign || !unit || !elevation || !elevationDesign)
    return e.fail(1, "Args");
  if (!bears(design, kCoordinateSystem)) return e.fail(2, "Unrecognized coordinate system design");
  const auto *own = referenceDesign(coordinateSystemDesign, e.cause());
  const auto *own830 = own ? referenceDesign(mapProjection830Design, e.cause()) : nullptr;
  const auto *ownElevation = own830 ? referenceDesign(elevationInfoDesign, e.cause()) : nullptr;
  if (!ownElevation) return e.fail(3, "OMIF_DESIGN_FETCH failed");
  const auto whole = asOwn(object, design, own, e.cause());
  if (!whole) return e.fail(4, "omif_ObjectCopy failed");

  const auto &system = *static_cast<const Oprj_CoordinateSystem *>(whole.get());
  OwnedText name;
  const auto *text = reinterpret_cast<const char *>(system.horizontalUnits.data);
  if (text && !(name = newText(text))) return e.fail(5, "ostr_Duplicate failed");
  OwnedDesign designOfProjection, designOfElevation;  // outlive what they free
  PortableObject madeProjection, madeElevation;
  void *made = nullptr;
  if (!copyPart(e, 4, system.projectionObject, own830, &made, designOfProjection)) return 0;
  madeProjection = {designOfProjection.get(), made};
  if (system.verticalCSObject) {
    if (!copyPart(e, 4, system.verticalCSObject, ownElevation, &made, designOfElevation)) return 0;
    madeElevation = {designOfElevation.get(), made};
  }
  *projection = madeProjection.release();
  *projectionDesign = designOfProjection.release();
  *unit = name.release();
  *elevation = madeElevation.release();
  *elevationDesign = designOfElevation.release();
  return 1;
}

int32_t oprj_MIFableCoordinateSystemToOPRJ(const void *object, const Omif_Design *design,
                                           Oprj_MapProjectionEx **projection, Oprj_Char **unit,
                                           Oprj_ElevationInfo **elevation, Oerr_Report **err) {
  // Kept: the reports bear the wrapping operation's name.
  ErrorScope e("oprj_MIFableCoordinateSystemWrap", err);
  if (projection) *projection = nullptr;
  if (unit) *unit = nullptr;
  if (elevation) *elevation = nullptr;
  if (!projection || !unit || !elevation) return e.fail(1, "Args");
  void *parts[2] = {};
  Omif_Design *designs[2] = {};
  Oprj_Char *name = nullptr;
  const bool unwrapped = oprj_MIFableCoordinateSystemUnwrap(
      object, design, &parts[0], &designs[0], &name, &parts[1], &designs[1], e.cause());
  const OwnedDesign designOfProjection(designs[0]), designOfElevation(designs[1]);
  const PortableObject ofProjection(designs[0], parts[0]), ofElevation(designs[1], parts[1]);
  OwnedText ownedName(name);
  if (!unwrapped) return e.fail(2, "oprj_MIFableCoordinateSystemUnwrap failed");
  OwnedHandle handle(oprj_ProjectionConvertFromMIFable(parts[0], designs[0], e.cause()));
  if (!handle) return e.fail(3, "oprj_ProjectionConvertFromMIFable failed");
  OwnedElevation info;
  if (parts[1]) {
    info.reset(oprj_ElevationInfoConvertFromMIFable(parts[1], designs[1], e.cause()));
    if (!info) return e.fail(4, "oprj_ElevationInfoConvertFromMIFable failed");
  }
  *projection = handle.release();
  *unit = ownedName.release();
  *elevation = info.release();
  return 1;
}

// --- elevation infos ---

int32_t oprj_ElevationInfoConvertToMIFable(const Oprj_ElevationInfo *info, void **object,
                                           Omif_Design **design, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoConvertToMIFable", err);
  if (object) *object = nullptr;
  if (design) *design = nullptr;
  if (!object || !design) return e.fail(1, "Args!");
  if (!info) return e.fail(2, "Invalid input Oprj_ElevationInfo");
  const auto *own = referenceDesign(elevationInfoDesign, e.cause());
  if (!own) return e.fail(3, "Error returned from oprj_Init");
  const ToolkitRecord plain(own, info, e.cause());
  PortableObject copy(own, plain ? omif_ObjectCopy(own, plain.get(), nullptr, e.cause()) : nullptr);
  if (!copy) return e.fail(4, "omif_ObjectCopy failed");
  *design = omif_DesignCopy(own, e.cause());
  if (!*design) return e.fail(5, "omif_DesignCopy failed");
  *object = copy.release();
  return 1;
}

Oprj_ElevationInfo *oprj_ElevationInfoConvertFromMIFable(const void *object,
                                                         const Omif_Design *design,
                                                         Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoConvertFromMIFable", err);
  if (!bears(design, kElevationInfo))
    return e.fail(1, "Can't create an Oprj_ElevationInfo from a %s object",
                  design ? omif_DesignName(design) : "(null)");
  if (!object) return nullptr;
  const auto *own = referenceDesign(elevationInfoDesign, e.cause());
  if (!own) return e.fail(2, "Error returned from oprj_Init");
  auto made = asOwn(object, design, own, e.cause());
  if (!made || !takeTexts(own, made.record(), e.cause()))
    return e.fail(3, "omif_ObjectConvert failed");
  OwnedElevation info(static_cast<Oprj_ElevationInfo *>(made.release()));
  if (!(info->verticalDatum ? completeDatum(*info->verticalDatum, e.cause())
                            : oprj_DatumInit(&info->verticalDatum, e.cause()) != nullptr))
    return e.fail(4, "Error returned from oprj_DatumInit");
  return info.release();
}

// --- in transit ---

int32_t oprj_ProjectionConvertToMIF(const Oprj_MapProjectionEx *projection, Oprj_Char **dictionary,
                                    Oprj_Char **designName, uint8_t **object, int32_t *size,
                                    Oprj_Char **innerDictionary, Oprj_Char **innerName,
                                    uint8_t **innerObject, int32_t *innerSize, Oprj_Char **title,
                                    int32_t *version, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionConvertToMIF", err);
  Oprj_Char **const texts[] = {dictionary, designName, innerDictionary, innerName, title};
  uint8_t **const blocks[] = {object, innerObject};
  int32_t *const numbers[] = {size, innerSize, version};
  bool whole = projection != nullptr;
  const auto clear = [&whole](const auto &outputs) {
    for (auto *output : outputs) {
      if (output) *output = {};
      else whole = false;
    }
  };
  clear(texts);
  clear(blocks);
  clear(numbers);
  if (!whole) return e.fail(1, "Args");

  PortableObject wrapper = wrappedProjection(projection, e.cause());
  if (!wrapper) return e.fail(2, "oprj_ProjectionConvertToMIFable failed");
  Transit transit;
  if (!transit.take(e, wrapper.get(), wrapper.design())) return 0;
  auto &inner = static_cast<Oprj_MapProjection842 *>(wrapper.record())->projection;
  OwnedText dictionaryText = newText(charsOf(inner.MIFDictionary)),
            nameText = newText(charsOf(inner.type.string)), titleText = newText(projection->title);
  if (!dictionaryText || !nameText || !titleText) return e.fail(6, "ostr_Duplicate failed");

  *dictionary = transit.dictionary.release();
  *designName = transit.designName.release();
  *object = transit.bytes.release();
  *size = transit.size;
  *innerDictionary = dictionaryText.release();
  *innerName = nameText.release();
  *innerSize = std::exchange(inner.MIFObject.count, 0);
  *innerObject = std::exchange(inner.MIFObject.data, nullptr);
  *title = titleText.release();
  *version = kTransitVersion;
  return 1;
}

Oprj_MapProjectionEx *oprj_ProjectionConvertFromMIF(
    const Oprj_Char *, const Oprj_Char *, const uint8_t *, int32_t,
    const Oprj_Char *innerDictionary, const Oprj_Char *innerName, const uint8_t *innerObject,
    int32_t innerSize, const Oprj_Char *title, int32_t version, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionConvertFromMIF", err);
  if (!innerDictionary || !innerName || !innerObject || innerSize < 0 || !title)
    return e.fail(1, "Args");
  if (version != kTransitVersion) return e.fail(2, "Unknown version %d of the form", version);
  const auto *own = referenceDesign(mapProjection842Design, e.cause());
  if (!own) return e.fail(3, "OMIF_DESIGN_FETCH failed");
  const Utf8 dictionary(innerDictionary, e), name(innerName, e), set(title, e);
  if (e.failed()) return nullptr;
  const Oprj_MapProjection842 whole{
      {{borrowed(name)}, borrowed(dictionary), {innerSize, const_cast<uint8_t *>(innerObject)}},
      {borrowed(set)}};
  auto *handle = oprj_ProjectionConvertFromMIFable(&whole, own, e.cause());
  if (!handle) return e.fail(4, "oprj_ProjectionConvertFromMIFable failed");
  return handle;
}

int32_t oprj_ElevationInfoConvertToMIF(const Oprj_ElevationInfo *info, Oprj_Char **dictionary,
                                       Oprj_Char **designName, uint8_t **object, int32_t *size,
                                       Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoConvertToMIF", err);
  if (dictionary) *dictionary = nullptr;
  if (designName) *designName = nullptr;
  if (object) *object = nullptr;
  if (size) *size = 0;
  if (!info || !dictionary || !designName || !object || !size) return e.fail(1, "Args");
  Omif_Design *madeDesign = nullptr;
  void *made = nullptr;
  oprj_ElevationInfoConvertToMIFable(info, &made, &madeDesign, e.cause());
  const OwnedDesign design(madeDesign);
  const PortableObject portable(madeDesign, made);
  if (!portable) return e.fail(2, "oprj_ElevationInfoConvertToMIFable failed");
  Transit transit;
  if (!transit.take(e, portable.get(), design.get())) return 0;
  *dictionary = transit.dictionary.release();
  *designName = transit.designName.release();
  *object = transit.bytes.release();
  *size = transit.size;
  return 1;
}

Oprj_ElevationInfo *oprj_ElevationInfoConvertFromMIF(const Oprj_Char *dictionary,
                                                     const Oprj_Char *designName,
                                                     const uint8_t *object, int32_t size,
                                                     Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoConvertFromMIF", err);
  if (!dictionary || !designName || !object || size < 0) return e.fail(1, "Args");
  const Utf8 text(dictionary, e), name(designName, e);
  if (e.failed()) return nullptr;
  OwnedDictionary designs;  // outlives what its designs free
  const auto *written = referenceDesign(elevationInfoDesign, e.cause());
  if (name.view() != kElevationInfo || !isTextOf(written, text)) {
    designs.reset(omif_DictionaryDecodeFromString(text, e.cause()));
    if (!designs) return e.fail(2, "omif_DictionaryDecodeFromString failed");
    written = omif_DictionarySearchByName(designs.get(), name, e.cause());
    if (!written) return e.fail(3, "Design %s not found in dictionary", name.c_str());
  }
  const PortableObject host(written, omif_ConvertToHost(written, object, size, nullptr, e.cause()));
  if (!host) return e.fail(4, "omif_ConvertToHost failed");
  auto *info = oprj_ElevationInfoConvertFromMIFable(host.get(), written, e.cause());
  if (!info) return e.fail(5, "oprj_ElevationInfoConvertFromMIFable failed");
  return info;
}
