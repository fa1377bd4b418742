/* What happens to a point between two systems, told step by step, and what a careful user should
   know of the systems and of the way between them. */
#ifndef OPRJ_CHAIN_H
#define OPRJ_CHAIN_H

#include "projection.h"
#include "text.h"

OPRJ_BEGIN_C

/** The pairs that points go through from one system to another, one after another. Most often there
    is one. Where one system is the library's and the other the Projection Engine's, or both are the
    engine's on different datums, the way is by longitudes and latitudes, with the library's shift
    between them: up to OPRJ_MOST_PAIRS of them. Stores new pairs in `pairs` and returns their
   number; 0 with 1 "Args", 2 "Error returned from oprj_ProjectionInit", 3 "Error returned from
   pe_geog_to_proj" (the engine has no formula), 4 memory. */
enum { OPRJ_MOST_PAIRS = 3 };
OPRJ_API int32_t oprj_ProjectionPairsBetween(Oint_Toolkit *toolkit, const Oprj_ProParameters *from,
                                             const Oprj_ProParameters *to,
                                             Oprj_ProjectionPair **pairs, Oerr_Report **err);

/** kind of Oprj_ChainStep. */
enum { OPRJ_STEP_COPY = 0, OPRJ_STEP_INVERSE = 1, OPRJ_STEP_SHIFT = 2, OPRJ_STEP_FORWARD = 3 };

/** formula of Oprj_ChainStep: what a step computes. */
enum {
  OPRJ_FORMULA_NOTHING = 0,          /**< equal systems, geographic ones */
  OPRJ_FORMULA_PROJECTION = 1,       /**< the system's projection */
  OPRJ_FORMULA_NO_DATUM = 2,         /**< nothing: a datum is undefined */
  OPRJ_FORMULA_SAME_DATUM = 3,       /**< nothing: both datums have one name */
  OPRJ_FORMULA_MOLODENSKY = 4,       /**< standard Molodensky, geocentric near the poles */
  OPRJ_FORMULA_SEVEN_PARAMETERS = 5, /**< geocentric, with rotations and scale */
  OPRJ_FORMULA_ROUTE = 6             /**< grids, regressions, surfaces: by the datums' types */
};

/** A step. Texts are the step's own. */
typedef struct Oprj_ChainStep Oprj_ChainStep;
struct Oprj_ChainStep {
  Oprj_ChainStep *next;
  int32_t kind;
  int32_t formula;
  Oprj_Char *from, *to;                 /**< systems by their titles, or for a shift the datums */
  Oprj_Char *fromSpheroid, *toSpheroid; /**< one spheroid but for a shift */
  int32_t fromType, toType;             /**< of a shift: the types of the datums */
  /** A shift at places inside the sub-grids of a grid datum or the extent of a surface, else over a
      lattice of 15 degrees: the points that it moved, of how many, and by how many metres on the
     source spheroid. */
  int32_t moved, tried;
  double least, median, greatest;
  Oprj_Char *trouble; /**< why no point at all can be shifted; null when some can */
};

/** The steps between the systems of a pair, in their order: a new list, free with
    oprj_ChainStepsFree; null with a report. Systems of the Projection Engine are told by their
    names; where a pair cannot shift between its datums, as two handles of the engine with different
    ones, or handles of two sets, the shift's trouble says so. */
OPRJ_API Oprj_ChainStep *oprj_ProjectionPairExplain(Oint_Toolkit *toolkit,
                                                    const Oprj_ProjectionPair *pair,
                                                    Oerr_Report **err);
OPRJ_API void oprj_ChainStepsFree(Oprj_ChainStep **list);

/** kind of the notes that tell cautions. */
enum {
  OPRJ_NOTE_NAMED_DATUM = 16,    /**< a shift that is zero by definition, not by measurement */
  OPRJ_NOTE_POLE_ORIGIN = 17,    /**< Transverse Mercator from a pole */
  OPRJ_NOTE_NEGATIVE_SCALE = 18, /**< a map turned by a negative scale factor */
  OPRJ_NOTE_CENTRE_MISSED = 19,  /**< Oblique Mercator whose line never reaches its centre */
  OPRJ_NOTE_SPHERE = 20,         /**< computed on a sphere although the spheroid is flattened */
  OPRJ_NOTE_EQUAL_THOUGH = 21    /**< systems that count as equal although entries differ */
};

/** What a careful user should know of a system: *notes (nulled first) becomes a new list, null for
    nothing. 1, or 0 with a report. */
OPRJ_API int32_t oprj_ProParametersCautions(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            Oprj_Note **notes, Oerr_Report **err);
/** The same for both systems of a pair and the shift between them; each told once. */
OPRJ_API int32_t oprj_ProjectionPairCautions(Oint_Toolkit *toolkit, const Oprj_ProjectionPair *pair,
                                             Oprj_Note **notes, Oerr_Report **err);

OPRJ_END_C

#endif
