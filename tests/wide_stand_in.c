/* Stands in for the wide library: of another version (VERSION_OFF 1), or without its functions. */
#include <oprj/values.h>

void oprj_BuildGet(int32_t *version, int32_t *textWidth) {
  *version = OPRJ_VERSION + VERSION_OFF;
  *textWidth = 2;
}
