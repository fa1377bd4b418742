// The installed tables with some surface datums, for tests of what stands on them.
#ifndef OPRJ_TESTS_SURFACES_SUPPORT_H
#define OPRJ_TESTS_SURFACES_SUPPORT_H

#include <oprj/datum_model.h>

#include <string>

#include "tests/datum_support.h"
#include "tests/loaded_tables.h"
#include "tests/tables_support.h"

namespace orvik::test {

inline constexpr double kDegree = M_PI / 180;
inline const std::string kData = OPRJ_SOURCE_DIR "/data",
                         kPlugIn = OPRJ_BINARY_DIR "/lib/libshift_plugin.so",
                         kNoEntry = OPRJ_BINARY_DIR "/lib/libshift_plugin_without_entry.so";

inline constexpr const char *kTable = R"tab(spheroidfile "surfaces"
"Clarke 1866" { 0 6378206.4 6356583.8
  "Moved" surface constant longitude 1.5 latitude -2 basedatum "NAD27 (CONUS)"
  "Moved from" surface constant longitude 1.5 latitude -2 basedatum "NAD27 (CONUS)" fromdatum
  "On grid" surface constant longitude 0.5 latitude 0.25 gridbasedatum "NAD27"
  "Second" surface constant longitude 3 latitude 4 basedatum "Moved"
  "Third" surface constant longitude 1 latitude 1 basedatum "Second" fromdatum
  "Drawn" surface vector "drawn.txt" basedatum "NAD27 (CONUS)"
  "Rastered" surface raster longitude "nad27.dat" latitude "nad27.dat" basedatum "NAD83 (DMA)"
  "Loop" surface constant longitude 1 latitude 1 basedatum "Loop too"
  "Loop too" surface constant longitude 1 latitude 1 basedatum "Loop"
  "Orphan" surface constant longitude 1 latitude 1 basedatum "Nowhere"
  "Grid that is none" surface constant longitude 1 latitude 1 gridbasedatum "NAD27 (CONUS)"
  "Grid unsaid" surface constant longitude 1 latitude 1 basedatum "NAD27"
  "On regression" surface constant longitude 1 latitude 1 basedatum "NAD27 (CONUS) (MRE)"
  "No file" surface raster longitude "none.gsb" latitude "none.gsb" basedatum "NAD27 (CONUS)"
  "On no file" surface constant longitude 1 latitude 1 basedatum "No file"
  "Geoid" surface raster longitude "egm96_15.gtx" latitude "egm96_15.gtx" basedatum "WGS 84"
  "On geoid" surface constant longitude 1 latitude 1 basedatum "Geoid"
  "Bad vectors" surface vector "bad.txt" basedatum "NAD27 (CONUS)"
})tab";

/// The installed tables and some surface datums.
class Surfaces : public testing::Test {
 protected:
  Surfaces()
      : projections_("ORVIK_PROJECTIONS_PATH", kData.c_str()),
        datums_("ORVIK_DATUMS_PATH", (folder_.path() + ":/usr/share/proj:" + kData).c_str()) {
    folder_.write("spheroid-surfaces.tab", kTable);
    folder_.write("drawn.txt",
                  "# a square\n-101 39 1 0\n-99 39 1 2\n\n-99 41 3 4 # corner\n-101 41 3 2\n");
    folder_.write("bad.txt", "1 2 3\n");
    oprj_Init(nullptr, nullptr);
  }

  static SpheroidPtr spheroid(const char *datum, Oerr_Report **err) {
    SpheroidPtr made(oprj_SpheroidCreate(nullptr));
    const TextPtr home(oprj_GetSpheroidNameByDatumName(toolkit(), datum, err));
    if (!home || !oprj_SpheroidByName(toolkit(), home.get(), made.get(), err) ||
        !oprj_DatumByName(toolkit(), home.get(), datum, made->datum, err))
      return nullptr;
    return made;
  }

  using Shift4 = decltype(oprj_DatumShift4EllipsoidSurfaceDatum);
  static Points shifted(Shift4 shift, const std::string &from, const std::string &to,
                        const Points &in, Oerr_Report **err) {
    const SpheroidPtr source = spheroid(from.c_str(), err), destination = spheroid(to.c_str(), err);
    Points out(in.size());
    shift(in.data(), source.get(), out.data(), destination.get(), static_cast<int32_t>(in.size()),
          err);
    return out;
  }
  static void anyShift(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                       const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
    oprj_DatumShift(in, source, out, destination, count, err);
  }

  TemporaryDirectory folder_;

 private:
  ScopedEnvironment projections_, datums_;
};

}  // namespace orvik::test

#endif
