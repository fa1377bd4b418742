// A program that is not linked with PROJ: prints whether libproj is in its memory after it read,
// wrote and translated a text, what the database says, and whether it is there then.
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

}  // namespace

int main(int, char **arguments) {
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
