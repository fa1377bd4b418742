// A datum of the program's own whose shifts a plug-in supplies:
//   shift_by_plugin ./affine_shift.so
#include <oprj/datum_model.h>

#include <cstdio>

using namespace OrvikDatum;

namespace {

int failed(Oerr_Report *report) {
  oerr_PrintErrorReport(report);
  oerr_DeleteErrorReport(&report);
  return 1;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s PLUGIN\n", argv[0]), 2;
  Oerr_Report *err = nullptr;
  const auto surface = PlugInShiftSurface::Make(argv[1], "8.5 47.4 0.5 1.2 -0.8 0.05 0.02", &err);
  if (!surface) return failed(err);
  const auto town = SurfaceDatum::Make("Town", "Bessel 1841", "fitted to the town's points",
                                       surface, "WGS 84", false, false, &err);
  if (!town || !DatumManager::Instance().AddDatum(town, &err)) return failed(err);

  Oprj_Spheroid *from = oprj_SpheroidCreate(&err), *to = oprj_SpheroidCreate(&err);
  const auto wgs84 = DatumManager::Instance().GetDatum("WGS 84", &err);
  if (!wgs84 || !town->FillSpheroid(from, &err) || !wgs84->FillSpheroid(to, &err))
    return failed(err);
  const double degree = 3.14159265358979323846 / 180;
  Oprj_Point point = {8.7 * degree, 47.3 * degree};
  oprj_DatumShift(&point, from, &point, to, 1, &err);
  oprj_SpheroidFree(&from);
  oprj_SpheroidFree(&to);
  if (err) return failed(err);
  std::printf("%.9f %.9f\n", point.x / degree, point.y / degree);
}
