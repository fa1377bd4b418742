// The registry: which initialiser stands behind each projection number. What a family compares and
// how many entries it needs stands in its own source.
#include <oprj/families.h>
#include <oprj/tables.h>

#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

using Initialiser = Oprj_MapProjection *(*)(Oint_Toolkit *, const Oprj_ProParameters *,
                                            Oerr_Report **);

constexpr Initialiser kFamilies[] = {
    oprj_GeographicInit,                           //  0
    oprj_UTMInit,                                  //  1
    oprj_StatePlaneInit,                           //  2
    oprj_AlbersConicalEqualAreaInit,               //  3
    oprj_LambertConformalConicInit,                //  4
    oprj_MercatorInit,                             //  5
    oprj_PolarStereographicInit,                   //  6
    oprj_PolyconicInit,                            //  7
    oprj_EquidistantConicInit,                     //  8
    oprj_TransverseMercatorInit,                   //  9
    oprj_StereographicInit,                        // 10
    oprj_LambertAzimuthalEqual_AreaInit,           // 11
    oprj_AzimuthalEquidistantInit,                 // 12
    oprj_GnomonicInit,                             // 13
    oprj_OrthographicInit,                         // 14
    oprj_GeneralVerticalNear_SidePerspectiveInit,  // 15
    oprj_SinusoidalInit,                           // 16
    oprj_EquirectangularInit,                      // 17
    oprj_MillerCylindricalInit,                    // 18
    oprj_VanderGrintenIInit,                       // 19
    oprj_ObliqueMercatorInit,                      // 20
    oprj_SOMInit,                                  // 21
    oprj_MTMInit,                                  // 22
    oprj_ESOMInit,                                 // 23
    oprj_ROBINInit,                                // 24
    oprj_SOMGenericInit,                           // 25
    oprj_AlaskaConformalInit,                      // 26
    oprj_InterruptedGoodeInit,                     // 27
    oprj_MollweideInit,                            // 28
    oprj_InterruptedMollweideInit,                 // 29
    oprj_HammerInit,                               // 30
    oprj_WagnerIVInit,                             // 31
    oprj_WagnerVIIInit,                            // 32
    oprj_OblatedEqualAreaInit,                     // 33
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 34 to 37
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 38 to 41
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 42 to 45
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 46 to 49
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 50 to 52
    oprj_AnchoredLSRInit,   // 53
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 54 to 57
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,  // 58 to 61
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,
    oprj_PEAdditionalInit,              // 62 to 65
    oprj_PEAdditionalInit,              // 66
    oprj_LambertConformalConicSSPInit,  // 67
    oprj_PseudoMercatorInit,            // 68
    oprj_MercatorVariantAInit,          // 69
};
constexpr int32_t kHighestNumber = 69;
static_assert(sizeof(kFamilies) / sizeof(kFamilies[0]) == kHighestNumber + 1);

Oprj_MapProjection *externalInit(Oint_Toolkit *, const Oprj_ProParameters *record,
                                 Oerr_Report **err) {
  toolkit::ErrorScope e("oprj_ExternalInit", err);
  return e.fail(1,
                "External projection \"%s\" cannot be run: external projections are not built in",
                record->proExeName.data ? record->proExeName.data : "");
}

bool holdsText(const Oprj_CharStr &text) { return text.count > 0 && text.data && text.data[0]; }

}  // namespace
}  // namespace orvik::oprj

Oprj_MapProjection *oprj_ProjectionPre842Init(Oint_Toolkit *toolkit,
                                              const Oprj_ProParameters *record, Oerr_Report **err) {
  using namespace orvik::oprj;
  orvik::toolkit::ErrorScope e("oprj_ProjectionPre842Init", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (!toolkit) {
    toolkit = oint_InitToolkit(e.cause());
    if (!toolkit) return e.fail(2, "InternalInit failed; Failed to initialize oprj package.");
  }
  if (!oprj_InitDataGet(toolkit, e.cause()))
    return e.fail(2, "InternalInit failed; Failed to initialize oprj package.");
  if (record->proType == OPRJ_EXTERNAL) {
    Oprj_MapProjection *object = externalInit(toolkit, record, e.cause());
    if (!object) return e.fail(3, "Error returned from external projection initialization");
    return object;
  }
  if (record->proType != OPRJ_INTERNAL) return e.fail(4, "Invalid projection type");
  if (holdsText(record->proExeName)) {
    Oerr_Report *note =
        oerr_CreateErrorReport("oprj_ProjectionPre842Init", 5, OERR_SEVERITY_WARNING, nullptr,
                               "proExeName.data will be ignored");
    oerr_PrintErrorReport(note);
    oerr_DeleteErrorReport(&note);
  }
  if (record->proNumber < 0 || record->proNumber > kHighestNumber)
    return e.fail(6, "Invalid projection number");
  Oprj_MapProjection *object = kFamilies[record->proNumber](toolkit, record, e.cause());
  if (!object) return e.fail(7, "Error returned from projection initialization");
  return object;
}

Oprj_MapProjection *oprj_PEAdditionalInit(Oint_Toolkit *, const Oprj_ProParameters *record,
                                          Oerr_Report **err) {
  orvik::toolkit::ErrorScope e("oprj_PEAdditionalInit", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  return e.fail(2, "Projection number %ld needs the Projection Engine, which is not built in",
                static_cast<long>(record->proNumber));
}
