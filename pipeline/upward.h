// What the pipeline needs from the room above it: declared here, defined there (also kEngineSet in
// function_sets.h). The layer test holds the list of all such symbols (tests/upward_symbols.txt).
#ifndef OPRJ_PIPELINE_UPWARD_H
#define OPRJ_PIPELINE_UPWARD_H

#include <oprj/projection.h>

// interchange/mapinfo.h
extern "C" int32_t oprj_ProjectionsEqual(const Oprj_MapInfo *firstMapInfo,
                                         const Oprj_ProParameters *first,
                                         const Oprj_MapInfo *secondMapInfo,
                                         const Oprj_ProParameters *second, Oerr_Report **err);

#endif
