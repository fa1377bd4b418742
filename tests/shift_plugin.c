/* A plug-in with every fault that a test asks for: of its table by the environment variable
   OPRJ_TEST_PLUGIN, of its surfaces by their argument. ENTRY is the name of the function that it
   exports. */
#include <math.h>
#include <oprj/plugin.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

OPRJ_API int32_t surfacesOpen(void);

static int32_t openSurfaces;

int32_t surfacesOpen(void) { return openSurfaces; }

static void *openSurface(const char *argument, char *message, size_t size) {
  if (strcmp(argument, "fails") == 0) {
    memset(message, 'x', size); /* without the zero at the end */
    return NULL;
  }
  char *self = malloc(strlen(argument) + 1);
  if (self) {
    strcpy(self, argument);
    __atomic_add_fetch(&openSurfaces, 1, __ATOMIC_RELAXED);
  }
  return self;
}

/* "bounds W S E N", else none. */
static int32_t extentOf(void *self, double bounds[4]) {
  return sscanf(self, "bounds %lf %lf %lf %lf", &bounds[0], &bounds[1], &bounds[2], &bounds[3]) ==
         4;
}

/* A tenth of the coordinates as arc-seconds; nothing south of the equator. It cannot tell when it
   is asked for what lies outside of its bounds, or for nothing. */
static int32_t shiftPoints(void *self, const double *lonLat, double *seconds, int32_t count) {
  double bounds[4] = {0, 0, 0, 0};
  const int32_t bounded = extentOf(self, bounds);
  if (count < 1) return 0;
  for (int32_t i = 0; i < 2 * count; i += 2) {
    const int32_t east = lonLat[i] >= bounds[0], west = lonLat[i] <= bounds[2];
    if (bounded && (lonLat[i + 1] < bounds[1] || lonLat[i + 1] > bounds[3] ||
                    !(bounds[0] <= bounds[2] ? east && west : east || west)))
      return 0;
    seconds[i] = lonLat[i + 1] < 0 ? NAN : lonLat[i] / 10;
    seconds[i + 1] = lonLat[i + 1] < 0 ? INFINITY : lonLat[i + 1] / 10;
  }
  return strcmp(self, "cannot tell") != 0;
}

static void closeSurface(void *self) {
  __atomic_sub_fetch(&openSurfaces, 1, __ATOMIC_RELAXED);
  free(self);
}

OPRJ_API const Oprj_ShiftSurfacePlugIn *ENTRY(uint32_t version);

const Oprj_ShiftSurfacePlugIn *ENTRY(uint32_t version) {
  static const Oprj_ShiftSurfacePlugIn good = {1,        sizeof good, "test",      openSurface,
                                               extentOf, shiftPoints, closeSurface};
  static Oprj_ShiftSurfacePlugIn bad;
  const char *fault = getenv("OPRJ_TEST_PLUGIN");
  if (!fault) return version == 1 ? &good : NULL;
  bad = good;
  if (strcmp(fault, "version") == 0) bad.version = 2;
  if (strcmp(fault, "size") == 0) bad.size -= 8;
  if (strcmp(fault, "hole") == 0) bad.close = NULL;
  return strcmp(fault, "null") == 0 ? NULL : &bad;
}
