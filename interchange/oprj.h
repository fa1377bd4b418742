/* oPrj: map projections and geodetic datum shifts. This header brings in the whole flat interface.
 */
#ifndef OPRJ_OPRJ_H
#define OPRJ_OPRJ_H

#include "ocvt.h"
#include "odll.h"
#include "oerr.h"
#include "ofga.h"
#include "ofio.h"
#include "ohfa.h"
#include "oint.h"
#include "olex.h"
#include "omif.h"
#include "omif_object.h"
#include "omsc.h"
#include "ostr.h"
#include "othr.h"

#include "chain.h"
#include "codes.h"
#include "datum_shift.h"
#include "designs.h"
#include "elevation.h"
#include "elevation_info.h"
#include "engine.h"
#include "engine_points.h"
#include "engine_strings.h"
#include "families.h"
#include "geodetic.h"
#include "mapinfo.h"
#include "mifable.h"
#include "nodes.h"
#include "parameters.h"
#include "plugin.h"
#include "project.h"
#include "projection.h"
#include "system.h"
#include "tables.h"
#include "text.h"
#include "translation.h"
#include "values.h"

#endif
