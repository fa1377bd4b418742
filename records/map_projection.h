/* The object that one projection family's initialiser fills: the parameter record, the family's
   private block and its functions. */
#ifndef OPRJ_MAP_PROJECTION_H
#define OPRJ_MAP_PROJECTION_H

#include "parameters.h"

OPRJ_BEGIN_C

typedef struct Oprj_MapProjection Oprj_MapProjection;

/** A family's point function: `in` and `out` hold `count` points and may be the same array. */
typedef void (*Oprj_PointFunction)(const Oprj_Point *in, const double *parameters, Oprj_Point *out,
                                   int32_t count, Oerr_Report **err);
typedef void (*Oprj_PointFunction3D)(const Oprj_Point3D *in, const double *parameters,
                                     Oprj_Point3D *out, int32_t count, Oerr_Report **err);
typedef double *(*Oprj_ParametersCopier)(const double *parameters, double *old, Oerr_Report **err);
typedef int32_t (*Oprj_ParametersTest)(const Oprj_ProParameters *first,
                                       const Oprj_ProParameters *second, Oerr_Report **err);
typedef int32_t (*Oprj_ParametersTest2)(const Oprj_ProParameters *first,
                                        const Oprj_ProParameters *second, int32_t flag,
                                        Oerr_Report **err);
typedef void (*Oprj_ProjectionQuitter)(Oprj_MapProjection *projection, Oerr_Report **err);

/** What one family's initialiser makes. */
struct Oprj_MapProjection {
  Oprj_ProParameters *proParameters;        /**< 1: owned */
  double *parameters;                       /**< 2: the family's block, owned */
  Oprj_PointFunction toLL;                  /**< 3: projected to geographic */
  Oprj_PointFunction fromLL;                /**< 4: geographic to projected */
  Oprj_PointFunction3D toLL3D;              /**< 5 */
  Oprj_PointFunction3D fromLL3D;            /**< 6 */
  Oprj_ParametersCopier copyParameters;     /**< 7 */
  Oprj_ParametersTest proParametersEqual;   /**< 8 */
  Oprj_ProjectionQuitter quit;              /**< 9 */
  Oprj_PointFunction geographic;            /**< 10: only the geographic projection fills it */
  Oprj_ParametersTest2 proParametersEqual2; /**< 11: not carried by copies */
};

/** A new inner object, all slots null; failure: 1 "Error allocating MapProjection". */
OPRJ_API Oprj_MapProjection *oprj_ProjectionCreate(Oerr_Report **err);
/** Copies record, block (through its copier) and slots 3 to 10; slot 11 stays null. */
OPRJ_API Oprj_MapProjection *oprj_ProjectionPre842Copy(const Oprj_MapProjection *projection,
                                                       Oerr_Report **err);
/** Calls the quit function, if any, and nulls its slot; 1, or 0 with its report. */
OPRJ_API int32_t oprj_ProjectionPre842Quit(Oprj_MapProjection *projection, Oerr_Report **err);
/** Frees the object with its record and block; a quit function still set is called first. */
OPRJ_API void oprj_ProjectionPre842Free(Oprj_MapProjection **projection);

OPRJ_END_C

#endif
