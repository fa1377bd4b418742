/* A plug-in with a surface of its own: shifts that grow evenly from a centre, as a surveyor might
   fit them to the few points of a town. Its argument: "lon lat radius east north perDegreeEast
   perDegreeNorth", degrees and arc-seconds; there is no shift farther than `radius` from the
   centre. */
#include <math.h>
#include <oprj/plugin.h>
#include <stdio.h>
#include <stdlib.h>

OPRJ_API const Oprj_ShiftSurfacePlugIn *oprj_ShiftSurfacePlugInGet(uint32_t version);

typedef struct {
  double lon, lat, radius, east, north, perDegreeEast, perDegreeNorth;
} Affine;

static void *openSurface(const char *argument, char *message, size_t size) {
  Affine *self = malloc(sizeof *self);
  if (!self) {
    snprintf(message, size, "no memory");
    return NULL;
  }
  const int read =
      sscanf(argument, "%lf %lf %lf %lf %lf %lf %lf", &self->lon, &self->lat, &self->radius,
             &self->east, &self->north, &self->perDegreeEast, &self->perDegreeNorth);
  if (read == 7 && self->radius > 0) return self;
  snprintf(message, size, "seven numbers are expected, the third above 0; \"%s\" has %d", argument,
           read);
  free(self);
  return NULL;
}

static int32_t extentOf(void *surface, double bounds[4]) {
  const Affine *self = surface;
  bounds[0] = self->lon - self->radius;
  bounds[1] = self->lat - self->radius;
  bounds[2] = self->lon + self->radius;
  bounds[3] = self->lat + self->radius;
  return 1;
}

static int32_t shiftPoints(void *surface, const double *lonLat, double *seconds, int32_t count) {
  const Affine *self = surface;
  for (int32_t i = 0; i < count; ++i) {
    const double x = lonLat[2 * i] - self->lon, y = lonLat[2 * i + 1] - self->lat;
    const int inside = hypot(x, y) <= self->radius;
    seconds[2 * i] = inside ? self->east + self->perDegreeEast * x : NAN;
    seconds[2 * i + 1] = inside ? self->north + self->perDegreeNorth * y : NAN;
  }
  return 1;
}

const Oprj_ShiftSurfacePlugIn *oprj_ShiftSurfacePlugInGet(uint32_t version) {
  static const Oprj_ShiftSurfacePlugIn table = {OPRJ_SHIFT_SURFACE_PLUGIN_VERSION,
                                                sizeof table,
                                                "affine",
                                                openSurface,
                                                extentOf,
                                                shiftPoints,
                                                free};
  return version == OPRJ_SHIFT_SURFACE_PLUGIN_VERSION ? &table : NULL;
}
