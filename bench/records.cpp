// Self-describing records: nanoseconds for one object.
#include <oprj/bridges.h>
#include <oprj/mifable.h>
#include <oprj/omsc.h>
#include <oprj/tables.h>
#include <oprj/translation.h>

#include <cstdio>

#include "report.h"

namespace bench {

namespace {

constexpr int kObjects = 1000;  // a run

/// A UTM system with all of a State Plane record's numbers.
Oprj_ProParameters *sample() {
  auto *toolkit = oint_InitToolkit(nullptr);
  auto *record = oprj_ProParametersCreateByName(toolkit, "UTM", nullptr);
  oprj_SpheroidByName(toolkit, "WGS 84", record->proSpheroid, nullptr);
  oprj_DblArrayCreate(15, &record->proParams, nullptr);
  return record;
}

void show(const char *what, const std::function<void()> &once, int repetitions) {
  const Times times = measure({{"oPrj", kObjects,
                                [&] {
                                  for (int i = 0; i < kObjects; ++i) once();
                                }}},
                              repetitions);
  std::printf("| %s | %s |\n", what, nanoseconds(times, "oPrj").c_str());
}

/// Texts of the Projection Engine: to be read in under 20 microseconds, written in under 10.
void benchTranslation(int repetitions) {
  const std::string text =
      R"(PROJCS["NAD_1983_StatePlane_California_V_FIPS_0405",GEOGCS["GCS_North_American_1983",DATUM["D_North_American_1983",SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION["Lambert_Conformal_Conic"],PARAMETER["False_Easting",2000000.0],PARAMETER["False_Northing",500000.0],PARAMETER["Central_Meridian",-118.0],PARAMETER["Standard_Parallel_1",34.03333333333333],PARAMETER["Standard_Parallel_2",35.46666666666667],PARAMETER["Latitude_Of_Origin",33.5],UNIT["Meter",1.0]])";
  Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(text.c_str());
  Oprj_ProParameters *record = oprj_ProParametersFromCOORDSYS(system, nullptr, nullptr, nullptr);
  oawp_PE_pe_coordsys_del(system);
  show(
      "a State Plane text to a handle, freed",
      [&] {
        Oawp_PE_COORDSYS *read = oawp_PE_pe_coordsys_from_string(text.c_str());
        Oprj_MapProjectionEx *handle = oprj_COORDSYSToMapProjection(read, nullptr, nullptr);
        oprj_ProjectionFree(&handle);
        oawp_PE_pe_coordsys_del(read);
      },
      repetitions);
  show(
      "and its record to a text, freed",
      [&] {
        Oawp_PE_COORDSYS *made = oprj_ProParametersToCOORDSYS(record, nullptr, nullptr, nullptr);
        omsc_HeapFree(oawp_PE_pe_coordsys_to_string(made, nullptr, 0));
        oawp_PE_pe_coordsys_del(made);
      },
      repetitions);
  oprj_ProParametersFree(&record);
}

}  // namespace

void benchRecords(int repetitions) {
  auto *toolkit = oint_InitToolkit(nullptr);
  const auto *design = oprj_InitDataGet(toolkit, nullptr)->proParametersDesign;
  Oprj_ProParameters *record = sample();
  std::vector<uint8_t> bytes(static_cast<size_t>(omif_ObjectSize(design, record, nullptr)));
  const auto size = static_cast<int32_t>(bytes.size());
  const auto encode = [&] { omif_ConvertToMIF(design, record, bytes.data(), size, nullptr); };
  const auto decode = [&] {
    void *made = omif_ConvertToHost(design, bytes.data(), size, nullptr, nullptr);
    omif_ObjectFree(design, &made);
  };
  encode();
  std::printf("| object | ns |\n|---|---|\n");
  show("Oprj_ProParameters with spheroid to bytes", encode, repetitions);
  show("and back into a new record, freed", decode, repetitions);
  show(
      "both",
      [&] {
        encode();
        decode();
      },
      repetitions);
  Oprj_MapProjectionEx *handle = nullptr;
  oprj_ProjectionInit(toolkit, record, &handle, nullptr);
  show(
      "a projection wrapped with its dictionary, and read back",
      [&] {
        void *object = nullptr;
        Omif_Design *its = nullptr;
        oprj_ProjectionConvertToMIFable(handle, &object, &its, nullptr);
        auto *read = oprj_ProjectionConvertFromMIFable(object, its, nullptr);
        oprj_ProjectionFree(&read);
        omif_ObjectFree(its, &object);
        omif_DesignFree(&its);
      },
      repetitions);
  show(
      "a projection to the wide library and back, freed: to be under 50 microseconds",
      [&] {
        Oprj_MapProjectionExU *wide = oprj_MapProjectionToUNICODE(handle, nullptr);
        auto *read = oprj_MapProjectionToASCII(wide, nullptr);
        oprj_ProjectionFree(&read);
        oprj_ProjectionFreeU(&wide);
      },
      repetitions);
  oprj_ProjectionFree(&handle);
  oprj_ProParametersFree(&record);
  benchTranslation(repetitions);
}

}  // namespace bench
