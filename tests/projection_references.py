#!/usr/bin/env python3
"""Makes projection_references.csv: points of projections 34 to 66 from the defining equations, evaluated with 50 digits.

    projection_references.py > projection_references.csv      needs mpmath

Every formula stands here as its source prints it, solved by bisection or quadrature where it is implicit: nothing is
shared with the library. Angles of a row are doubles in radians, distances metres. The double nearest to pi/2 stands for
the pole, and latitudes next to it count from there.
"""

import math

from mpmath import asin, atan, atan2, atanh, cos, cot, exp, findroot, log, mp, mpf, nstr, pi, quad, sin, sqrt, tan

mp.dps = 50

GRS80 = (6378137.0, 6356752.314140356)
BESSEL = (6377397.155, 6356078.962818189)
SPHERE = (6371000.0, 6371000.0)
DEGREE = math.pi / 180


def solve(f, low, high):
    """The root of a rising function between low and high."""
    if f(low) >= 0:
        return low
    if f(high) <= 0:
        return high
    for _ in range(30):
        middle = (low + high) / 2
        low, high = (low, middle) if f(middle) > 0 else (middle, high)
    return findroot(f, (low, high), solver="anderson", tol=mpf(10) ** -80, verify=False)


class Globe:
    def __init__(self, axes):
        self.a, b = mpf(axes[0]), mpf(axes[1])
        self.es = (self.a - b) * (self.a + b) / self.a ** 2
        self.e = sqrt(self.es)

    def nu(self, phi):
        return self.a / sqrt(1 - self.es * sin(phi) ** 2)

    def rho(self, phi):
        return self.nu(phi) ** 3 * (1 - self.es) / self.a ** 2

    def meridian(self, phi):
        return quad(self.rho, [0, phi / 2, phi])

    def isometric(self, phi):
        return atanh(sin(phi)) - self.e * atanh(self.e * sin(phi))

    def conformal(self, phi):
        return 2 * atan(exp(self.isometric(phi))) - pi / 2


def odd(f):
    """A function of northern latitudes, mirrored for the y of southern ones."""
    def both(lam, phi, *rest):
        x, y = f(lam, abs(phi), *rest)
        return x, (y if phi >= 0 else -y)
    return both


# --- the sphere of radius 1: functions of (longitude from the central meridian, latitude, standard parallel) ---

@odd
def eckert6(lam, phi, _):  # [Snyder87] p. 253-258
    theta = solve(lambda t: t + sin(t) - (1 + pi / 2) * sin(phi), mpf(0), pi / 2)
    return lam * (1 + cos(theta)) / sqrt(2 + pi), 2 * theta / sqrt(2 + pi)


@odd
def eckert4(lam, phi, _):
    if phi == pi / 2:
        theta = phi
    else:
        theta = solve(lambda t: t + sin(t) * cos(t) + 2 * sin(t) - (2 + pi / 2) * sin(phi), mpf(0), pi / 2)
    return 2 / sqrt(pi * (4 + pi)) * lam * (1 + cos(theta)), 2 * sqrt(pi / (4 + pi)) * sin(theta)


@odd
def winkel2(lam, phi, phi1):  # [SnyderVoxland89], with Mollweide's angle
    theta = phi if phi == pi / 2 else solve(lambda t: 2 * t + sin(2 * t) - pi * sin(phi), mpf(0), pi / 2)
    return lam * (cos(phi1) + cos(theta)) / 2, pi * (sin(theta) + 2 * phi / pi) / 4


@odd
def flat_polar_quartic(lam, phi, _):
    theta = solve(lambda t: sin(t / 2) + sin(t) - (1 + sqrt(2) / 2) * sin(phi), mpf(0), pi / 2)
    return (lam * (1 + 2 * cos(theta) / cos(theta / 2)) / sqrt(3 * sqrt(2) + 6),
            2 * sqrt(3) * sin(theta / 2) / sqrt(2 + sqrt(2)))


@odd
def eckert2(lam, phi, _):
    s = sqrt(4 - 3 * sin(phi))
    return 2 * lam * s / sqrt(6 * pi), sqrt(2 * pi / 3) * (2 - s)


def loximuthal(lam, phi, phi1):
    if phi == phi1:
        return lam * cos(phi1), mpf(0)
    if abs(phi) == pi / 2:
        return mpf(0), phi - phi1
    return lam * (phi - phi1) / (atanh(sin(phi)) - atanh(sin(phi1))), phi - phi1


def aitoff(lam, phi, _=0):
    c = atan2(sqrt((cos(phi) * sin(lam / 2)) ** 2 + sin(phi) ** 2), cos(phi) * cos(lam / 2))
    k = c / sin(c) if c else mpf(1)
    return 2 * k * cos(phi) * sin(lam / 2), k * sin(phi)


def winkel_tripel(lam, phi, phi1):
    x, y = aitoff(lam, phi)
    return (lam * cos(phi1) + x) / 2, (phi + y) / 2


def hammer(lam, phi, _):
    d = sqrt(1 + cos(phi) * cos(lam / 2))
    return 2 * sqrt(2) * cos(phi) * sin(lam / 2) / d, sqrt(2) * sin(phi) / d


ON_UNIT_SPHERE = {
    34: lambda lam, phi, _: (lam, phi),
    35: lambda lam, phi, phi1: (lam * cos(phi1), phi),
    37: eckert6,
    38: lambda lam, phi, _: (lam * (1 + cos(phi)) / sqrt(2 + pi), 2 * phi / sqrt(2 + pi)),
    39: eckert4,
    40: lambda lam, phi, _: (2 / sqrt(pi * (4 + pi)) * lam * (1 + sqrt(1 - 4 * (phi / pi) ** 2)),
                             4 / sqrt(pi * (4 + pi)) * phi),
    41: eckert2,
    42: lambda lam, phi, _: (2 * sqrt(2 / (3 * pi)) * lam * (1 - abs(phi) / pi), 2 * sqrt(2 / (3 * pi)) * phi),
    43: lambda lam, phi, _: (lam / sqrt(2), (1 + sqrt(2) / 2) * tan(phi / 2)),
    44: lambda lam, phi, _: (lam * cos(pi / 6), sin(phi) / cos(pi / 6)),
    45: lambda lam, phi, phi1: (lam * (cos(phi1) + cos(phi)) / 2, phi),
    46: winkel2,
    47: lambda lam, phi, _: (lam * cos(phi) / cos(phi / 2), 2 * sin(phi / 2)),
    48: loximuthal,
    56: aitoff,
    57: lambda lam, phi, _: (sqrt(3 / pi) * lam * (2 * cos(2 * phi / 3) - 1), sqrt(3 * pi) * sin(phi / 3)),
    59: flat_polar_quartic,
    60: lambda lam, phi, _: (lam * (mpf("0.74482") - mpf("0.34588") * sin(pi / 4 * tan(phi / 2)) ** 2),
                             mpf("1.70711") * tan(phi / 2)),
    61: winkel_tripel,
    62: hammer,
}


# --- the others: functions of (globe, entries by index, longitude from entry 4, latitude), metres ---

def gauss_kruger(g, p, lam, phi):
    """Conformal, with the true meridian as real part: its series of sixth order, coefficients by quadrature."""
    def coefficient(j):  # of the rectifying latitude by the conformal one, through phi
        def part(t):
            chi = g.conformal(t)
            return (pi / 2 * g.meridian(t) / quarter - chi) * sin(2 * j * chi) * (
                cos(chi) / cos(t) * (1 - g.es) / (1 - g.es * sin(t) ** 2))
        return 4 / pi * quad(part, [0, pi / 6, pi / 3, pi / 2 - mpf(10) ** -40])
    quarter = g.meridian(pi / 2)
    if "alpha" not in g.__dict__:
        mp.dps = 30
        g.alpha = [coefficient(j) for j in range(1, 7)]
        mp.dps = 50
    chi = g.conformal(phi)
    zeta = mp.mpc(atan2(sin(chi), cos(chi) * cos(lam)), atanh(cos(chi) * sin(lam)))
    zeta += sum(a * mp.sin(2 * (j + 1) * zeta) for j, a in enumerate(g.alpha))
    radius = p[2] * quarter * 2 / pi
    return radius * zeta.imag, radius * zeta.real - p[2] * g.meridian(p[5])


def bonne(g, p, lam, phi):  # [Snyder87] 19-1 to 19-4, 19-8 to 19-14
    start = g.nu(p[5]) * cot(p[5])
    radius = start + g.meridian(p[5]) - g.meridian(phi)
    angle = g.nu(phi) * cos(phi) * lam / radius if radius else mpf(0)
    return radius * sin(angle), start - radius * cos(angle)


def cassini(g, p, lam, phi):  # [EPSG7-2], Cassini-Soldner
    if not g.es:
        return (p[2] * g.a * asin(cos(phi) * sin(lam)), p[2] * g.a * (atan2(sin(phi), cos(phi) * cos(lam)) - p[5]))
    big_a, t, c = lam * cos(phi), tan(phi) ** 2, g.es * cos(phi) ** 2 / (1 - g.es)
    x = g.nu(phi) * (big_a - t * big_a ** 3 / 6 - (8 - t + 8 * c) * t * big_a ** 5 / 120)
    m = g.meridian(phi) - g.meridian(p[5])
    return p[2] * x, p[2] * (m + g.nu(phi) * tan(phi) * (big_a ** 2 / 2 + (5 - t + 6 * c) * big_a ** 4 / 24))


def on_sphere_stereographic(radius, chi0, chi, lam):
    k = 2 * radius / (1 + sin(chi0) * sin(chi) + cos(chi0) * cos(chi) * cos(lam))
    return k * cos(chi) * sin(lam), k * (cos(chi0) * sin(chi) - sin(chi0) * cos(chi) * cos(lam))


def stereographic(g, p, lam, phi):  # [Snyder87] 21-24 to 21-27, 21-33
    if abs(p[5]) == pi / 2:
        t = exp(-abs(g.isometric(phi)) if phi * p[5] > 0 else abs(g.isometric(phi)))
        if abs(phi) == pi / 2:
            t = mpf(0)
        rho = 2 * g.a * p[2] * t / sqrt((1 + g.e) ** (1 + g.e) * (1 - g.e) ** (1 - g.e))
        return rho * sin(lam), -rho * cos(lam) * (1 if p[5] > 0 else -1)
    chi0 = g.conformal(p[5])
    radius = p[2] * g.nu(p[5]) * cos(p[5]) / cos(chi0)
    return on_sphere_stereographic(radius, chi0, g.conformal(phi), lam)


def gauss_sphere(g, phi0):  # [EPSG7-2], Oblique Stereographic: exponent, latitude and longitude on the conformal sphere
    n = sqrt(1 + g.es * cos(phi0) ** 4 / (1 - g.es))
    chi0 = asin(sin(phi0) / n)
    k = atanh(sin(chi0)) - n * g.isometric(phi0)
    return n, chi0, lambda phi: 2 * atan(exp(n * g.isometric(phi) + k)) - pi / 2


def double_stereographic(g, p, lam, phi):
    n, chi0, latitude = gauss_sphere(g, p[5])
    return on_sphere_stereographic(p[2] * sqrt(g.rho(p[5]) * g.nu(p[5])), chi0, latitude(phi), n * lam)


def krovak(g, p, lam, phi):  # [EPSG7-2], Krovak
    b, _, latitude = gauss_sphere(g, p[5])
    u, v = latitude(phi), -b * lam
    t = asin(cos(p[3]) * sin(u) + sin(p[3]) * cos(u) * cos(v))
    d = asin(cos(u) * sin(v) / cos(t))
    n = sin(p[8])
    r = (p[2] * sqrt(g.rho(p[5]) * g.nu(p[5])) / tan(p[8]) *
         (tan(pi / 4 + p[8] / 2) / tan(pi / 4 + t / 2)) ** n)
    x, y = p[9] * r * cos(n * d), p[10] * r * sin(n * d)
    return x * cos(p[11]) - y * sin(p[11]), x * sin(p[11]) + y * cos(p[11])


def cylindrical_equal_area(g, p, lam, phi):  # [Snyder87] 10-1 to 10-5, 10-13 to 10-15, 3-12
    s, k = sin(phi), g.nu(p[5]) * cos(p[5]) / g.a
    q = (1 - g.es) * (s / (1 - g.es * s * s) + atanh(g.e * s) / g.e) if g.es else 2 * s
    return g.a * k * lam, g.a * q / (2 * k)


def two_point(g, p, lon, phi):
    """[SnyderVoxland89]: distances from two points are true; the first is west of the origin."""
    def unit(l, f):
        return mp.matrix([cos(f) * cos(l), cos(f) * sin(l), sin(f)])

    def dot(u, v):
        return sum(u[i] * v[i] for i in range(3))

    def cross(u, v):
        return mp.matrix([u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]])

    def angle(u, v):
        return atan2(sqrt(dot(cross(u, v), cross(u, v))), dot(u, v))
    one, other, at = unit(p[8], p[9]), unit(p[10], p[11]), unit(lon, phi)
    z1, z2, z = angle(one, at), angle(other, at), angle(one, other)
    x = (z1 ** 2 - z2 ** 2) / (2 * z)
    y = sqrt(max(z1 ** 2 - (x + z / 2) ** 2, mpf(0)))
    return g.a * x, g.a * (y if dot(cross(one, other), at) >= 0 else -y)


def perspective(g, p, lam, phi):  # [Snyder87] 23-3, 22-4, 22-5, 5-3
    big_p = 1 + p[2] / g.a
    cosine = sin(p[5]) * sin(phi) + cos(p[5]) * cos(phi) * cos(lam)
    k = g.a * (big_p - 1) / (big_p - cosine)
    return k * cos(phi) * sin(lam), k * (cos(p[5]) * sin(phi) - sin(p[5]) * cos(phi) * cos(lam))


def oblique_mercator(g, p, lon, phi, number):  # [Snyder87] 9-11 to 9-24; t by 9-13
    def t(f):
        return exp(-g.isometric(f))
    phi0 = p[5]
    b = sqrt(1 + g.es * cos(phi0) ** 4 / (1 - g.es))
    a = g.a * b * p[2] * sqrt(1 - g.es) / (1 - g.es * sin(phi0) ** 2)
    d = b * sqrt(1 - g.es) / (cos(phi0) * sqrt(1 - g.es * sin(phi0) ** 2))
    root = sqrt(max(d * d - 1, mpf(0))) * (1 if phi0 >= 0 else -1)
    e = (d + root) * t(phi0) ** b
    if number == 64:
        alpha = p[3]
        gamma = asin(sin(alpha) / d)
        f = d + root
        lon0 = p[4] - asin((f - 1 / f) / 2 * tan(gamma)) / b
    else:
        lon1, lon2 = p[8], p[10]
        h, l = t(p[9]) ** b, t(p[11]) ** b
        j, quotient = (e * e - l * h) / (e * e + l * h), (l - h) / (l + h)
        lon0 = (lon1 + lon2) / 2 - atan(j / quotient * tan(b * (lon1 - lon2) / 2)) / b
        at, power = (lon1, h) if p[9] else (lon2, l)
        gamma = atan(sin(b * (at - lon0)) / ((e / power - power / e) / 2))
        alpha = asin(d * sin(gamma))
    centre = a / b * atan2(sqrt(d * d - 1), cos(alpha)) * (1 if phi0 >= 0 else -1) if number != 66 else mpf(0)
    q = e / t(phi) ** b
    s, big_t, v = (q - 1 / q) / 2, (q + 1 / q) / 2, sin(b * (lon - lon0))
    u = (s * sin(gamma) - v * cos(gamma)) / big_t
    across = a / (2 * b) * log((1 - u) / (1 + u))
    along = a / b * atan2(s * cos(gamma) + v * sin(gamma), cos(b * (lon - lon0))) - centre
    return across * cos(alpha) + along * sin(alpha), along * cos(alpha) - across * sin(alpha)


ON_GLOBE = {36: gauss_kruger, 49: bonne, 50: stereographic, 51: cassini, 54: krovak, 55: double_stereographic,
            58: cylindrical_equal_area, 63: perspective}

# --- what is computed: number, axes, entries in degrees (2, 9 and 10 of 54 plain), longitudes and latitudes in degrees ---

LATITUDES = (0, 1e-7, 12.3, -33.3, -66.6, 89, -89.9999, 90 - 1e-7, -90)
LONGITUDES = (1e-7, 33, -179.999999)
GLOBE = (LONGITUDES, LATITUDES)


def around(width, *latitudes):
    return (0, 1e-7, 0.37 * width, -width), latitudes


CASES = (
    *((number, SPHERE, {4: 11}, GLOBE) for number in (34, 37, 38, 39, 40, 41, 42, 43, 44, 47, 56, 57, 59, 60, 62)),
    *((number, SPHERE, {4: -100, 5: parallel}, GLOBE)
      for number, parallel in ((35, 60), (45, 50.45977625218981), (46, 50.45977625218981), (46, 0), (48, 40),
                               (48, -12.3), (61, 50.467), (61, 0), (61, 80))),
    (36, GRS80, {2: 0.9996, 4: 15, 5: 10}, around(40, 0, 1e-7, 33, -45, 75, 89.99, -90)),
    *((49, axes, {4: 10, 5: parallel}, GLOBE) for axes, parallel in
      ((GRS80, 60), (GRS80, -20), (GRS80, 90), (SPHERE, 45))),
    (50, GRS80, {2: 0.994, 4: 10, 5: 52}, around(120, 0, 33, 52, -20, 89.99, 90)),
    (50, GRS80, {2: 1, 4: 10, 5: -90}, around(179, 0, -33, -80, 10, -89.99, -90)),
    (51, GRS80, {2: 0.9999, 4: -61, 5: 10}, around(30, 0, 1e-7, 33, -45, 75, 89.99, -90)),
    (51, SPHERE, {2: 1, 4: -61, 5: 10}, around(80, 0, 1e-7, 33, -45, 75, 89.99, -90)),
    (52, SPHERE, {8: 0, 9: 10, 10: 60, 11: 60}, GLOBE),
    (52, SPHERE, {8: -100, 9: -30, 10: 170, 11: 20}, GLOBE),
    (54, BESSEL, {2: 0.9999, 3: 30.28813975277778, 4: 24.83333333333333, 5: 49.5, 8: 78.5, 9: -1, 10: 1, 11: 90},
     around(15, 45, 49.5, 52, 55)),
    (54, GRS80, {2: 1, 3: 25, 4: 10, 5: 40, 8: 70, 9: 1, 10: -1, 11: 30}, around(15, 20, 40, 44)),
    (55, BESSEL, {2: 0.9999079, 4: 5.387638889, 5: 52.15616056}, around(60, 0, 33, 52, -20, 89.99, 90)),
    *((58, axes, {4: 10, 5: 30}, GLOBE) for axes in (GRS80, SPHERE)),
    (63, SPHERE, {2: 35800000, 4: 10, 5: 30}, around(40, 0, 30, -20, 70)),
    *((64, GRS80, {2: 0.9996, 3: azimuth, 4: 115, 5: 4}, around(8, -2, 4, 9)) for azimuth in (53.31582047, 337.25556)),
    *((number, GRS80, {2: 1, 5: 40, 8: 0, 9: lat1, 10: 60, 11: 60}, around(20, 5, 40, 70))
      for number in (65, 66) for lat1 in (0, 10)),
)


def main():
    print("# number, semi-axes, entries, longitude, latitude, x, y; made by projection_references.py")
    for number, axes, degrees, (longitudes, latitudes) in CASES:
        plain = {2} | ({9, 10} if number == 54 else set())
        entries = {i: float(v) if i in plain else v * DEGREE for i, v in degrees.items()}
        # from the double that stands for the pole
        p = {i: mpf(v) if abs(v) != math.pi / 2 else mp.sign(v) * pi / 2 for i, v in entries.items()}
        globe = Globe(axes)
        for step in longitudes:
            for degree in latitudes:
                lon, lat = (degrees.get(4, 0) + step) * DEGREE, degree * DEGREE
                phi = mpf(lat)
                if abs(lat) > 1:
                    phi = mp.sign(phi) * (pi / 2 - (mpf(math.pi / 2) - abs(phi)))
                lam = mpf(lon) - p.get(4, 0)
                lam = lam - 2 * pi if lam > pi else lam
                if number in ON_UNIT_SPHERE:
                    x, y = (globe.a * c for c in ON_UNIT_SPHERE[number](lam, phi, p.get(5, mpf(0))))
                elif number == 52:
                    x, y = two_point(globe, p, mpf(lon), phi)
                elif number >= 64:
                    x, y = oblique_mercator(globe, p, mpf(lon), phi, number)
                else:
                    if abs(lat) == math.pi / 2 and number == 49:
                        x, y = bonne(globe, p, mpf(0), phi)
                    else:
                        x, y = ON_GLOBE[number](globe, p, lam, phi)
                named = " ".join(f"{i}={v!r}" for i, v in entries.items())
                print(number, *map(repr, axes), named, repr(lon), repr(lat), nstr(x, 25), nstr(y, 25), sep=",")


main()
