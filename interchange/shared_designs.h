// The versioned designs and the designs that wrap objects: made once, on first use, in the shared
// dictionary, and kept as long as the process. Each returns the design (borrowed), or null with a
// report under the design's name and "_Design": 1 "Dictionary create fail", 2 "Design create
// failed", 3 when the fetch of a design that it embeds failed.
#ifndef OPRJ_INTERCHANGE_SHARED_DESIGNS_H
#define OPRJ_INTERCHANGE_SHARED_DESIGNS_H

#include <oprj/omif.h>

namespace orvik::oprj {

const Omif_Design *omifStringDesign(Oerr_Report **err);
const Omif_Design *omifMIFObjectDesign(Oerr_Report **err);
const Omif_Design *elevationInfoDesign(Oerr_Report **err);
const Omif_Design *projectionObject830Design(Oerr_Report **err);
const Omif_Design *earthModel830Design(Oerr_Report **err);
const Omif_Design *mapProjection830Design(Oerr_Report **err);
const Omif_Design *mapProjection842Design(Oerr_Report **err);
const Omif_Design *peCoordsysDesign(Oerr_Report **err);
const Omif_Design *coordinateSystemDesign(Oerr_Report **err);

/// The design that one of these fetches, in the dictionary of the reference data, where all that it
/// names is too: what was fetched before the start lies elsewhere. For walking objects. Starts the
/// library; null with a report.
const Omif_Design *referenceDesign(const Omif_Design *(*fetch)(Oerr_Report **), Oerr_Report **err);

}  // namespace orvik::oprj

#endif
