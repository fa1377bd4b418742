// Node files: opening, finding, reading and writing many nodes.
#include <oprj/oprj.h>

#include <filesystem>

#include "report.h"

namespace bench {
namespace {

constexpr int kNodes = 100000;       // siblings with a record each
constexpr int kProjections = 10000;  // with their datums

void run(const AddRow &add) {
  namespace fs = std::filesystem;
  const std::string path = (fs::temp_directory_path() / "oprj-bench.nod").string();
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_ProParameters *record = oprj_ProParametersCreateByName(toolkit, "UTM", nullptr);
  const Omif_Design *design = oprj_InitDataGet(toolkit, nullptr)->proParametersDesign;
  Ohfa_File *file = nullptr;

  file = ohfa_FileCreate(path.c_str(), 1, nullptr);
  const double written = milliseconds("writing", [&](Oerr_Report **err) {
    for (int i = 0; i < kNodes; ++i) {
      record->proZone = i;
      if (!ohfa_ObjectWrite(file, "", ("node " + std::to_string(i)).c_str(), design, record,
                            OHFA_NEW, err))
        return false;
    }
    return ohfa_FileClose(&file, err) != 0;
  });
  add("100,000 records written and synced, ms", "", written);
  add("that file opened, ms", "below 5", milliseconds("opening", [&](Oerr_Report **err) {
        return (file = ohfa_FileOpen(path.c_str(), OHFA_READ, err)) != nullptr;
      }));
  const auto seek = [&](const char *node) {
    return milliseconds("seeking",
                        [&](Oerr_Report **err) { return ohfa_PathSeek(file, node, err) != 0; });
  };
  add("the first search among them, ms", "below 40", seek("node 99999"));
  add("another one, ms", "below 0.2", seek("node 54321"));
  const double read = milliseconds("reading", [&](Oerr_Report **err) {
    bool all = ohfa_PathSeek(file, "node 0", err) != 0;
    for (int i = 0; all && i < kNodes; ++i)
      all = ohfa_ObjectRead(file, nullptr, design, OHFA_CURRENT, record, err) != nullptr &&
            record->proZone == i;
    return all;
  });
  add("records read a second, thousands", "500", kNodes / read);
  ohfa_FileDiscard(&file);

  file = ohfa_FileCreate(path.c_str(), 1, nullptr);
  add("10,000 projections with datums written and synced, ms", "below 2000",
      milliseconds("projections", [&](Oerr_Report **err) {
        for (int i = 0; i < kProjections; ++i) {
          const std::string layer = "layer " + std::to_string(i);
          if (!ohfa_NodeCreate(file, "", layer.c_str(), err) ||
              oprj_ProParametersWrite(file, layer.c_str(), record, err))
            return false;
        }
        return ohfa_FileClose(&file, err) != 0;
      }));
  oprj_ProParametersFree(&record);
  fs::remove(path);
}

}  // namespace

void benchNodes(int repetitions) { tellRows("node files", repetitions, run); }

}  // namespace bench
