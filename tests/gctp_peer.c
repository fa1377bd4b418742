/* The General Cartographic Transformation Package as a peer: its prototypes need C. */
#include "gctp_peer.h"

#include <stdio.h>
#include <string.h>

#include <gctp/cproj.h>

static long (*forward_functions[MAXPROJ + 1])();
static long (*inverse_functions[MAXPROJ + 1])();

int gctp_peer_init(int system, const double parameters[15]) {
  double forward[15], inverse[15];
  long flag = 0;
  memcpy(forward, parameters, sizeof forward);
  memcpy(inverse, parameters, sizeof inverse);
  for_init(system, 0, forward, -1, "", "", &flag, forward_functions);
  if (flag != 0) return (int)flag;
  inv_init(system, 0, inverse, -1, "", "", &flag, inverse_functions);
  return (int)flag;
}

int gctp_peer_forward(int system, double lon, double lat, double *x, double *y) {
  return (int)forward_functions[system](lon, lat, x, y);
}

int gctp_peer_inverse(int system, double x, double y, double *lon, double *lat) {
  return (int)inverse_functions[system](x, y, lon, lat);
}
