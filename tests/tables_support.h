// Small reference tables and what the tests of the tables do with them.
#ifndef OPRJ_TESTS_TABLES_SUPPORT_H
#define OPRJ_TESTS_TABLES_SUPPORT_H

#include <oprj/tables.h>

#include "tests/support.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::test {

using toolkit::Owner;
using QueryPtr = Owner<Oprj_Query, oprj_QueryFree>;
using ZonePtr = Owner<Oprj_SPTableEntry, oprj_SPTableEntryFree>;
using SpheroidListPtr = Owner<Oprj_SpheroidTableEntry, oprj_SpheroidTableEntryFree>;
using SpheroidPtr = Owner<Oprj_Spheroid, oprj_SpheroidFree>;
using ParametersPtr = Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using InitDataPtr = Owner<Oprj_InitData, oprj_InitDataFree>;
using TextPtr = toolkit::HeapBlock<char>;

/// The process's record.
inline Oint_Toolkit *toolkit() { return oint_InitToolkit(nullptr); }

/// One of each construct, as the printers write it.
inline constexpr const char *kSmallDictionary =
    "\"Geographic\" {\n"
    "\tInternal 0\n"
    "\t\"Spheroid\" <spheroid>\n"
    "}\n"
    "\"Everything\" {\n"
    "\tInternal 41\n"
    "\t\"Spheroid\" <spheroid>\n"
    "\t\"UTM zone\" <utmzone>\n"
    "\t\"State zone\" <spzone>\n"
    "\t\"Scale\" <2:number> key \"k_0\" default 0.5\n"
    "\t\"Latitude\" <3:angle:dd> key \"lat_1\" needed\n"
    "\t\"Azimuth\" <4:angle:radians> key \"lat_2\" default \"lat_1\"\n"
    "\t\"Easting\" <5:distance:feet> key \"x_0\"\n"
    "\t\"Northing\" <6:distance:meters>\n"
    "\t\"Datum\" <0:nadcode>\n"
    "\t\"Form\" <8:condition> {\n"
    "\t\t0:\"One\": {\n"
    "\t\t}\n"
    "\t\t-1.5:\"Two\": {\n"
    "\t\"Path\" <11:integer>\n"
    "\t\"Deeper\" <9:condition> {\n"
    "\t\t1:\"In\": {\n"
    "\t\"Row\" <10:number>\n"
    "\t\t}\n"
    "\t}\n"
    "\t\t}\n"
    "\t}\n"
    "\t\"Count\" <7:integer>\n"
    "}\n"
    "\"Outside\" {\n"
    "\tExternal \"helper\"\n"
    "\t\"Only slot\" <1:number>\n"
    "}\n";

inline constexpr const char *kSmallSpheroids =
    "spheroidfile \"small\"\n"
    "\"Clarke 1866\" { 0 6378206.4 6356583.8 alias \"clrk66\" alias \"C66\" description \"old\"\n"
    "  \"Clarke 1866\" parametric 0 0 0 0 0 0 0\n"
    "  \"Shifted\" parametric -8 160.5 176 1e-6 -2E-6 +3e-6 .5e-6 description \"seven\"\n"
    "  \"Gridded\" grid \"no-such-file.grd\"\n"
    "  \"Regressed\" regression\n"
    "  \"Moved\" surface constant longitude 1.5 latitude -2 basedatum \"Shifted\"\n"
    "  \"Imaged\" surface raster longitude \"a.img\" latitude \"b.img\" resample bilinear nodata "
    "-9\n"
    "            gridbasedatum \"Gridded\" fromdatum\n"
    "  \"Drawn\" surface vector \"v.vec\" interpolation nothing basedatum \"Shifted\" }\n"
    "\"Ball\" { 19 6370997 6370997 }\n"
    "\"Egg\" { -3 6000000 6500000 \"Egg datum\" regression description \"prolate\" }\n";

inline constexpr const char *kSmallZones =
    "\"Alpha\" \"North\" 101 nad27 1 -5101 1 2 3 4 5 6 7 8 9\n"
    "\"Alpha\" \"North\" 101 nad83 2 5101 1,2,3,4,5,6,7,8,-9.5e0\n"
    "\"Beta\" \"---\" 3601.9 nad83 4 3601 1 2 3 4 5 6 7 8 9\n";

/// What an operation writes to standard output.
template <class Operation>
std::string printed(Operation operation) {
  testing::internal::CaptureStdout();
  operation();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
/// What an operation writes to standard error.
template <class Operation>
std::string complained(Operation operation) {
  testing::internal::CaptureStderr();
  operation();
  return testing::internal::GetCapturedStderr();
}

/// Loads the process's reference data from small tables of its own and from the installed ones
/// again afterwards.
class SmallTables : public testing::Test {
 protected:
  SmallTables()
      : projections_("ORVIK_PROJECTIONS_PATH", directory_.path().c_str()),
        datums_("ORVIK_DATUMS_PATH", directory_.path().c_str()) {
    directory_.write("mapprojections.dat", kSmallDictionary);
    directory_.write("spheroid.tab", kSmallSpheroids);
    directory_.write("sptable.tab", kSmallZones);
    reload();
  }

  void reload() {
    Slot slot;
    oprj_Init(toolkit(), slot);
    expectNoReport(slot);
  }
  /// Leaves the toolkit without reference data: the dictionary cannot be read until repair().
  void breakAndUnload() {
    std::filesystem::remove(directory_.path() + "/mapprojections.dat");
    EXPECT_NE(oprj_Init(toolkit(), Slot()), nullptr);
  }
  void repair() { directory_.write("mapprojections.dat", kSmallDictionary); }
  /// Leaves the toolkit without reference data, and so the process without spheroids.
  void unload() {
    breakAndUnload();
    repair();
  }

  TemporaryDirectory directory_;

 private:
  ScopedEnvironment projections_, datums_;
};

}  // namespace orvik::test

#endif
