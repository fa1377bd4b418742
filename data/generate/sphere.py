#!/usr/bin/env python3
"""How far spherical projections put points from where an ellipsoidal one would: the figures of
interchange/chain.cpp, in kilometres on the map, WGS 84.

    sphere.py       needs PROJ's program `proj`

Each projection is compared, over its domain, with its own form on the ellipsoid where there is one (PROJ's; the
vertical perspective is worked out here from the geometry). Where there is none, with the sphere that keeps what the
projection keeps: equal-area ones the sphere of equal area with authalic latitudes, all others the sphere whose
meridian is as long, with rectifying latitudes.
"""

import math
import subprocess

A, E2 = 6378137.0, 0.0066943799901413165  # WGS 84
E = math.sqrt(E2)
GEOSTATIONARY = 35786000.0  # metres: the height of the perspective point
FAR = 80  # degrees from the centre, for projections that do not end themselves


def authalic(lat):
    def q(s):
        return (1 - E2) * (s / (1 - E2 * s * s) + math.atanh(E * s) / E)
    return math.degrees(math.asin(max(-1, min(1, q(math.sin(math.radians(lat))) / q(1))))), A * math.sqrt(q(1) / 2)


def meridian(lat, steps=2000):
    """By Simpson's rule, in metres."""
    top = math.radians(lat)
    total = 0.0
    for i in range(steps + 1):
        weight = 1 if i in (0, steps) else 4 if i % 2 else 2
        total += weight / (1 - E2 * math.sin(top * i / steps) ** 2) ** 1.5
    return A * (1 - E2) * total * top / steps / 3


QUARTER = meridian(90)


def rectifying(lat):
    return 90 * meridian(lat) / QUARTER, QUARTER / (math.pi / 2)


def proj(arguments, points):
    text = "".join(f"{lon:.12f} {lat:.12f}\n" for lon, lat in points)
    out = subprocess.run(["proj", "-f", "%.4f", *arguments.split()], input=text, capture_output=True, text=True,
                         check=True).stdout
    return [None if "*" in line else tuple(float(word) for word in line.split()) for line in out.splitlines()]


def away(lat0, lon, lat):
    a, b = math.radians(lat0), math.radians(lat)
    cosine = math.sin(a) * math.sin(b) + math.cos(a) * math.cos(b) * math.cos(math.radians(lon))
    return math.degrees(math.acos(max(-1, min(1, cosine))))


def largest(first, second):
    return max(math.dist(p, q) for p, q in zip(first, second) if p and q) / 1000


def azimuthal(name, reach):
    worst = 0
    for lat0 in range(0, 91, 15):
        points = [(lon, lat) for lon in range(-180, 181, 5) for lat in range(-90, 91, 5) if away(lat0, lon, lat) <= reach]
        worst = max(worst, largest(proj(f"+proj={name} +lat_0={lat0} +ellps=WGS84", points),
                                   proj(f"+proj={name} +lat_0={lat0} +R={A}", points)))
    return worst


WORLD = [(lon, lat) for lon in range(-180, 181, 5) for lat in range(-90, 91, 5)]


def world(name, auxiliary, more="", points=WORLD):
    """Against the same projection of another sphere, at auxiliary latitudes."""
    radius = auxiliary(90)[1]
    moved = {lat: auxiliary(lat)[0] for _, lat in points}
    return largest(proj(f"+proj={name} {more} +R={A}", points),
                   proj(f"+proj={name} {more} +R={radius}", [(lon, moved[lat]) for lon, lat in points]))


def gnomonic():
    worst = 0
    for lat0 in range(0, 91, 15):
        points = [(lon, lat) for lon, lat in WORLD if away(lat0, lon, lat) <= 60]
        worst = max(worst, largest(
            proj(f"+proj=gnom +lat_0={lat0} +R={A}", points),
            proj(f"+proj=gnom +lat_0={rectifying(lat0)[0]} +R={rectifying(90)[1]}",
                 [(lon, rectifying(lat)[0]) for lon, lat in points])))
    return worst


def perspective():
    """A point of the ellipsoid seen from above the centre, on the tangent plane."""
    def place(lat, height):
        n = A / math.sqrt(1 - E2 * math.sin(lat) ** 2)
        return (n + height) * math.cos(lat), (n * (1 - E2) + height) * math.sin(lat)

    worst = 0
    for lat0 in range(0, 91, 15):
        b = math.radians(lat0)
        x0, z0 = place(b, 0)
        points = [(lon, lat) for lon in range(-180, 181, 5) for lat in range(-90, 91, 5) if away(lat0, lon, lat) <= 75]
        seen = []
        for lon, lat in points:
            r, z = place(math.radians(lat), 0)
            x, y = r * math.cos(math.radians(lon)) - x0, r * math.sin(math.radians(lon))
            z -= z0
            north, up = -math.sin(b) * x + math.cos(b) * z, math.cos(b) * x + math.sin(b) * z
            scale = GEOSTATIONARY / (GEOSTATIONARY - up)
            seen.append((scale * y, scale * north))
        worst = max(worst, largest(seen, proj(f"+proj=nsper +h={GEOSTATIONARY} +lat_0={lat0} +R={A}", points)))
    return worst


FIGURES = {
    10: ("stere", lambda: azimuthal("stere", FAR)), 11: ("laea", lambda: azimuthal("laea", FAR)),
    12: ("aeqd", lambda: azimuthal("aeqd", FAR)), 13: ("gnom", gnomonic),
    14: ("ortho", lambda: azimuthal("ortho", 89)), 15: ("nsper", perspective),
    16: ("sinu", lambda: largest(proj("+proj=sinu +ellps=WGS84", WORLD), proj(f"+proj=sinu +R={A}", WORLD))),
    17: ("eqc", lambda: world("eqc", rectifying)), 18: ("mill", lambda: world("mill", rectifying)),
    19: ("vandg", lambda: world("vandg", rectifying)), 24: ("robin", lambda: world("robin", rectifying)),
    27: ("igh", lambda: world("igh", authalic)), 28: ("moll", lambda: world("moll", authalic)),
    29: ("moll", lambda: world("moll", authalic)), 30: ("hammer", lambda: world("hammer", authalic)),
    31: ("wag4", lambda: world("wag4", authalic)), 32: ("wag7", lambda: world("wag7", authalic)),
    33: ("oea", lambda: world("oea", authalic, "+m=1 +n=2", [p for p in WORLD if away(0, *p) <= 120])),
}

for number, (name, figure) in FIGURES.items():
    print(f"{number} {name} {figure():.1f}")
