/* Projects one point from longitude and latitude on WGS 84 to UTM zone 18: the whole flat interface
   in C. Set ORVIK_PROJECTIONS_PATH and ORVIK_DATUMS_PATH to the folder of the reference data first.
 */
#include <oprj/oprj.h>
#include <stdio.h>

static Oprj_ProParameters *describe(Oint_Toolkit *toolkit, const char *projection,
                                    Oerr_Report **err) {
  Oprj_ProParameters *record = oprj_ProParametersCreateByName(toolkit, projection, err);
  if (record && oprj_SpheroidByName(toolkit, "WGS 84", record->proSpheroid, err) &&
      oprj_DatumByName(toolkit, "WGS 84", "WGS 84", record->proSpheroid->datum, err))
    return record;
  oprj_ProParametersFree(&record);
  return NULL;
}

int main(void) {
  const double degree = 3.14159265358979323846 / 180;
  Oerr_Report *err = NULL;
  Oint_Toolkit *toolkit = oint_InitToolkit(&err);
  Oprj_ProParameters *geographic = NULL, *utm = NULL;
  Oprj_ProjectionPair *pair = NULL;
  int status = 1;

  geographic = err ? NULL : describe(toolkit, "Geographic", &err);
  utm = err ? NULL : describe(toolkit, "UTM", &err);
  if (utm) {
    utm->proZone = 18;
    pair = oprj_ProjectionPairInit(toolkit, geographic, utm, &err);
  }
  if (pair) {
    const Oprj_Point washingtonMonument = {-77.03524 * degree, 38.889468 * degree};
    Oprj_Point projected;
    if (oprj_ProjectPair(pair, &washingtonMonument, &projected, 1, &err)) {
      printf("%.3f %.3f\n", projected.x, projected.y);
      status = 0;
    }
  }
  oerr_PrintErrorReport(err);
  oerr_DeleteErrorReport(&err);
  oprj_ProjectionPairFree(&pair);
  oprj_ProParametersFree(&utm);
  oprj_ProParametersFree(&geographic);
  return status;
}
