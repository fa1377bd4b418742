// A program that is not linked with PROJ. `engine_program TEXT` prints whether libproj is in its
// memory after it read, wrote and translated a text, what the database says, and whether it is
// there then; `engine_program EPSG:2154` what the code means, and whether libproj is there.
#include <oprj/oprj.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool mapped(const char *library) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (line.find(library) != std::string::npos) return true;
  return false;
}

int tellCode(const char *written) {
  Oerr_Report *report = nullptr;
  const Oprj_Code *code = oprj_CodeFromText(written, &report);
  char *text = code ? oprj_CodeToPEString(code, &report) : nullptr;
  std::printf("%s\n%d\n", text ? text : oerr_MessageGet(oerr_RootCauseGet(report)),
              mapped("libproj"));
  omsc_HeapFree(text);
  oerr_DeleteErrorReport(&report);
  return 0;
}

}  // namespace

int main(int, char **arguments) {
  if (std::string(arguments[1]).starts_with("EPSG:")) return tellCode(arguments[1]);
  char *text = nullptr, *unit = nullptr;
  Oprj_ProParameters *record = oprj_ProParametersFromPEString(arguments[1], &unit, nullptr);
  const bool written = record && oprj_ProParametersToPEString(&text, record, unit, nullptr);
  std::printf("%d %d\n", written, mapped("libproj"));
  void *object = oawp_PE_pe_factory(4326);
  Oerr_Report *report = nullptr;
  oawp_PE_ReportTake(&report);
  std::printf("%s\n", object ? "made" : oerr_MessageGet(oerr_RootCauseGet(report)));
  std::printf("%d\n", mapped("libproj"));
  oerr_DeleteErrorReport(&report);
  oawp_PE_pe_coordsys_del(static_cast<Oawp_PE_COORDSYS *>(object));
  oprj_ProParametersFree(&record);
  omsc_HeapFree(text);
  omsc_HeapFree(unit);
}
