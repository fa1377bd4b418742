// Projection Engine strings and .prj files.
#include <oprj/engine_strings.h>
#include <oprj/ofio.h>
#include <oprj/ostr.h>
#include <oprj/translation.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "pipeline/function_sets.h"
#include "toolkit/c_locale.h"

namespace {

using namespace orvik::oprj;
using orvik::toolkit::systemReason;

/// Kept: strings of files have fewer bytes than this, with their terminator; longer ones are cut
/// when they are read and refused when they are written.
constexpr size_t kStringSize = 1024;

using OwnedSystem =
    std::unique_ptr<Oawp_PE_COORDSYS,
                    decltype([](Oawp_PE_COORDSYS *system) { oawp_PE_pe_coordsys_del(system); })>;

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Reports over what the engine's last function reported.
Failed failOver(ErrorScope &e, int32_t code, const char *message) {
  oawp_PE_ReportTake(e.cause());
  return e.fail(code, "%s", message);
}

/// A copy of a native handle's record.
OwnedParameters recordOf(ErrorScope &e, const Oprj_MapProjectionEx *projection, int32_t code,
                         const char *copyFailed) {
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(projection, OPRJ_TITLE_NATIVE, e.cause()));
  OwnedParameters copy;
  if (!record) e.fail(code, "OPRJ_PROPARAMETERS_GET failed");
  else if (copy.reset(oprj_ProParametersCopy(record, nullptr, e.cause())); !copy)
    e.fail(code + 1, "%s", copyFailed);
  return copy;
}

}  // namespace

int32_t oprj_PEPrjStringGet(const Oprj_Char *name, Oprj_Char **string, Oerr_Report **err) {
  ErrorScope e("oprj_PEPrjStringGet", err);
  if (!string) return e.fail(1, "Invalid location to return the PRJ String");
  *string = nullptr;
  const Utf8 fileName(name, e);
  if (e.failed()) return 0;
  struct stat status;
  if (!fileName || stat(fileName, &status) != 0 || S_ISDIR(status.st_mode))
    return e.fail(2, "PRJ file does not exist");
  const File file(std::fopen(fileName, "re"));
  if (!file) return e.fail(3, "Cannot open %s: %s", fileName.c_str(), systemReason(errno));
  // Kept: the byte 255 ends the file, and nothing is read behind the last byte that has room.
  constexpr int kEnd = 255;
  char text[kStringSize] = {};
  size_t length = 0;
  for (int c; length < kStringSize - 1 && (c = std::getc(file.get())) != EOF && c != kEnd;)
    if (c != '\r' && c != '\n' && c != '\0') text[length++] = static_cast<char>(c);
  if (std::ferror(file.get()))
    return e.fail(3, "Cannot read %s: %s", fileName.c_str(), systemReason(errno));
  while (length > 1 && text[length - 1] == ' ') --length;
  if (length == 0) return 1;
  *string = newText({text, length}).release();
  if (!*string) return e.fail(4, "ostr_Duplicate failed");
  return 1;
}

Oprj_ProParameters *oprj_PEPrjRead(const Oprj_Char *fileName, Oprj_MapInfo *mapInfo,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_PEPrjRead", err);
  if (!mapInfo) return e.fail(1, "Invalid input MapInfo");
  Oprj_Char *found = nullptr;
  if (!oprj_PEPrjStringGet(fileName, &found, e.cause()))
    return e.fail(2, "Failed to read PE string from %s",
                  fileName ? shown(fileName).c_str() : "(null)");
  const OwnedText owned(found);
  const Utf8 string(found, e);
  if (e.failed()) return nullptr;
  const OwnedSystem system(oawp_PE_pe_coordsys_from_string(string));
  if (!system) return failOver(e, 3, "Fail to convert string to coordsys obj.");
  Oprj_Char *unitName = nullptr;
  const OwnedHandle projection(oprj_COORDSYSToMapProjection(system.get(), &unitName, e.cause()));
  const OwnedText unit(unitName);
  if (e.calleeFailed()) return e.fail(4, "Error returned from oprj_COORDSYSToMapProjection.");
  if (!projection) return e.fail(5, "Failed to translate PE coordsys to Orvik map projection.");
  OwnedParameters record =
      recordOf(e, projection.get(), 6, "Error returned from oprj_ProParametersCopy.");
  if (!record) return nullptr;
  Oprj_CharStr name{}, units{};  // both, before either of the caller's changes
  if (!oprj_CharStrCopy(&record->proName, &name, e.cause()))
    return e.fail(8, "Error returned from oprj_CharStrCopy.");
  if (!oprj_CharStrCreate(unit.get(), &units, e.cause())) {
    oprj_CharStrFree(&name);
    return e.fail(9, "Error returned from oprj_CharStrCreate.");
  }
  std::swap(mapInfo->proName, name);
  std::swap(mapInfo->units, units);
  oprj_CharStrFree(&name);
  oprj_CharStrFree(&units);
  return record.release();
}

int32_t oprj_PEPrjWrite(const Oprj_Char *name, const Oprj_ProParameters *record,
                        const Oprj_MapInfo *mapInfo, Oerr_Report **err) {
  ErrorScope e("oprj_PEPrjWrite", err);
  if (!mapInfo) return e.fail(1, "Invalid input MapInfo");
  const Utf8 fileName(name, e);
  if (e.failed()) return 0;
  // Kept: the file is emptied before the system is translated.
  File file(fileName ? std::fopen(fileName, "w+e") : nullptr);
  if (!file)
    return e.fail(2, "Fail to create projection file %s.", fileName ? fileName.c_str() : "(null)");
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(nullptr, record, &made, e.cause());
  const OwnedHandle projection(made);
  if (!projection) return e.fail(3, "Fail to init mapProjection with parameters.");
  Oawp_PE_GEOGTRAN *shift = nullptr;
  const OwnedSystem system(oprj_MapProjectionToCOORDSYS(
      projection.get(), isBlank(mapInfo->units) ? nullptr : mapInfo->units.data, &shift,
      e.cause()));
  oawp_PE_pe_geogtran_del(shift);
  if (e.calleeFailed()) return e.fail(4, "Error returned from oprj_MapProjectionToCOORDSYS.");
  if (!system) return e.fail(5, "Faled to translate orvik map projection to PE coordsys.");
  char text[kStringSize] = {};
  oawp_PE_pe_coordsys_to_string(system.get(), text, sizeof text);
  if (!*text) return failOver(e, 6, "Empty PE projection string buffer.");
  const bool written = std::fputs(text, file.get()) >= 0;
  if (std::fclose(file.release()) != 0 || !written)
    return e.fail(7, "Error writing string to projection file.");
  return 1;
}

// Kept: the two operations on handles report under one name.
static constexpr const char *kStringContext = "oprj_MapProjectionInitFromPEString";

int32_t oprj_MapProjectionFromPEString(const Oprj_Char *string, Oprj_MapProjectionEx **projection,
                                       Oprj_Char **unitName, Oerr_Report **err) {
  ErrorScope e(kStringContext, err);
  if (projection) *projection = nullptr;
  if (unitName) *unitName = nullptr;
  if (!string || !projection) return e.fail(1, "Args");
  const Utf8 text(string, e);
  if (e.failed()) return 0;
  OwnedSystem system(oawp_PE_pe_coordsys_from_string(text));
  if (!system) return failOver(e, 2, "OAWP_FCLL_PE(pe_coordsys_from_string) failed");
  OwnedText name;
  if (unitName) {
    const Oawp_PE_UNIT *unit = oawp_PE_pe_projcs_p(system.get())
                                   ? oawp_PE_pe_projcs_unit(system.get())
                                   : oawp_PE_pe_geogcs_unit(system.get());
    if (*oawp_PE_pe_unit_name(unit)) {
      name = newText(oawp_PE_pe_unit_name(unit));
      if (!name) return e.fail(4, "ostr_Duplicate failed");
    } else {
      name.reset(handOut(oawp_PE_pe_unit_to_string(unit, nullptr, 0)));
      if (!name) return failOver(e, 3, "OAWP_FCLL_PE(pe_unit_to_string) failed");
    }
  }
  *projection = oprj_ProjectionInitInternal(OPRJ_TITLE_PE, system.get(), e.cause());
  if (!*projection) return e.fail(5, "oprj_ProjectionInitInternal failed");
  system.release();
  if (unitName) *unitName = name.release();
  return 1;
}

int32_t oprj_MapProjectionToPEString(Oprj_Char **string, const Oprj_MapProjectionEx *projection,
                                     const Oprj_Char *unitName, Oerr_Report **err) {
  ErrorScope e(kStringContext, err);
  if (string) *string = nullptr;
  if (!string || !projection) return e.fail(1, "Args");
  const OwnedHandle copy(oprj_ProjectionCopy(projection, nullptr, e.cause()));
  if (!copy) return e.fail(2, "oprj_ProjectionCopy failed");
  if (!oprj_MapProjectionConvert(copy.get(), OPRJ_TITLE_PE, e.cause()))
    return e.fail(3, "oprj_MapProjectionConvert failed");
  const auto *system = static_cast<const Oawp_PE_COORDSYS *>(
      oprj_MapProjectionCSRGet(copy.get(), OPRJ_TITLE_PE, e.cause()));
  if (!system) return e.fail(4, "oprj_MapProjectionCSRGet failed");
  OwnedSystem changed;
  if (unitName) {
    changed.reset(oprj_COORDSYSUnitChange(system, unitName, e.cause()));
    if (!changed) return e.fail(5, "oprj_COORDSYSUnitChange failed");
    system = changed.get();
  }
  *string = handOut(oawp_PE_pe_coordsys_to_string(system, nullptr, 0));
  if (!*string) return failOver(e, 6, "OAWP_FCLL_PE(pe_coordsys_to_string) failed");
  return 1;
}

int32_t oprj_ProParametersToPEString(Oprj_Char **string, const Oprj_ProParameters *record,
                                     const Oprj_Char *unitName, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersToPEString", err);
  if (string) *string = nullptr;
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(nullptr, record, &made, e.cause());
  const OwnedHandle projection(made);
  if (!projection) return e.fail(1, "oprj_ProjectionInit failed");
  if (!oprj_MapProjectionToPEString(string, projection.get(), unitName, e.cause()))
    return e.fail(2, "oprj_MapProjectionToPEString failed");
  return 1;
}

Oprj_ProParameters *oprj_ProParametersFromPEString(const Oprj_Char *string, Oprj_Char **unitName,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersFromPEString", err);
  if (unitName) *unitName = nullptr;
  if (!string) return e.fail(1, "Invalid argument");
  const Utf8 text(string, e);
  if (e.failed()) return nullptr;
  const OwnedSystem system(oawp_PE_pe_coordsys_from_string(text));
  if (!system) return failOver(e, 2, "pe_coordsys_from_string failed");
  Oprj_Char *name = nullptr;
  const OwnedHandle projection(oprj_COORDSYSToMapProjection(system.get(), &name, e.cause()));
  OwnedText unit(name);
  if (!projection) return e.fail(3, "Error returned from oprj_COORDSYSToMapProjection");
  OwnedParameters record =
      recordOf(e, projection.get(), 4, "Error returned from oprj_ProParametersCopy");
  if (record && unitName) *unitName = unit.release();
  return record.release();
}
