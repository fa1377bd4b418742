/* The General Cartographic Transformation Package as a peer, one system at a time (its state is
   global). Parameters are its own 15: axes in 0 and 1, angles packed. Results are its status codes,
   0 for success; angles of points are radians. */
#ifndef OPRJ_TESTS_GCTP_PEER_H
#define OPRJ_TESTS_GCTP_PEER_H

#ifdef __cplusplus
extern "C" {
#endif

int gctp_peer_init(int system, const double parameters[15]);
int gctp_peer_forward(int system, double lon, double lat, double *x, double *y);
int gctp_peer_inverse(int system, double x, double y, double *lon, double *lat);

#ifdef __cplusplus
}
#endif

#endif
