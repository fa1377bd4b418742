/* A program that computes a projection for oPrj: it needs the header external.h alone. Beside the
   reference data, or in any folder of ORVIK_PROJECTIONS_PATH, it is found as
   "external natural_earth; ...". */
#include "natural_earth.h"

#include <oprj/external.h>

static int init(void **self, const Oprj_ExternalRecord *record, Oprj_ExternalError *error) {
  static NaturalEarth system; /* a process serves one system */
  *self = &system;
  return naturalEarthInit(&system, record->a, record->entries, record->count) ||
         oprj_ExternalFail(error, 1, "a spheroid and 8 entries are needed, not %d",
                           (int)record->count);
}

static int fromLL(void *self, const double *in, double *out, int32_t count,
                  Oprj_ExternalError *error) {
  (void)error;
  for (int32_t i = 0; i < count; ++i) naturalEarthForward(self, in + 2 * i, out + 2 * i);
  return 1;
}

static int toLL(void *self, const double *in, double *out, int32_t count,
                Oprj_ExternalError *error) {
  (void)error;
  for (int32_t i = 0; i < count; ++i) naturalEarthInverse(self, in + 2 * i, out + 2 * i);
  return 1;
}

int main(void) {
  const Oprj_ExternalProjection projection = {"natural_earth", init, fromLL, toLL, NULL};
  return oprj_ExternalServe(&projection);
}
