// Self-describing records: nanoseconds for one object.
#include <oprj/mifable.h>
#include <oprj/tables.h>

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
  oprj_ProjectionFree(&handle);
  oprj_ProParametersFree(&record);
}

}  // namespace bench
