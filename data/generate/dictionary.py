"""The projection dictionary as data: what each projection asks, and which slot each answer fills.

A question is (ending, prompt, answer) or, for a choice, (ending, prompt, branches) with branches
(value, label, questions).  The ending is the text that the dictionary file carries between "<" and
">"; where it starts with a number, that number is the slot of the projection parameter array.
Answers are decimal degrees and metres; the library keeps radians and metres.  The answer is what the
file carries behind ">": the key that stands for the question in texts, and what holds when it is left
out: NEEDED, a number, another key, or by default 0.
"""

# --- the kinds of question -------------------------------------------------------------------


NEEDED = object()


def answer(key, otherwise):
    if key is None:
        return ""
    if otherwise is NEEDED:
        return f' key "{key}" needed'
    if isinstance(otherwise, str):
        return f' key "{key}" default "{otherwise}"'
    return f' key "{key}"' + (f" default {otherwise}" if otherwise else "")


def angle(slot, prompt, key=None, otherwise=0):
    return (f"{slot}:angle:dd", prompt, answer(key, otherwise))


def metres(slot, prompt, key=None, otherwise=0):
    return (f"{slot}:distance:meters", prompt, answer(key, otherwise))


def number(slot, prompt, key=None, otherwise=0):
    return (f"{slot}:number", prompt, answer(key, otherwise))


def scale(slot, place):
    return number(slot, f"Scale factor {place}", "k_0", 1)


def integer(slot, prompt, key=None, otherwise=0):
    return (f"{slot}:integer", prompt, answer(key, otherwise))


def choice(slot, prompt, *branches):
    return (f"{slot}:condition", prompt, branches)


def reserved(slot):
    """A slot that no formula reads, asked because the array must be long enough to hold it."""
    return number(slot, "Reserved (enter 0)")


# --- questions that many projections share ---------------------------------------------------

SPHEROID = ("spheroid", "Spheroid", "")
OFFSETS = (metres(6, "False easting", "x_0"), metres(7, "False northing", "y_0"))

MERIDIAN = angle(4, "Longitude of the central meridian", "lon_0")
ORIGIN = angle(5, "Latitude of the origin", "lat_0")
CENTRE = (angle(4, "Longitude of the centre", "lon_0"), angle(5, "Latitude of the centre", "lat_0"))
TRUE_SCALE = angle(5, "Latitude of true scale", "lat_ts")
STANDARD_PARALLEL = angle(5, "Standard parallel", "lat_ts")
TWO_PARALLELS = (angle(2, "First standard parallel", "lat_1", NEEDED),
                 angle(3, "Second standard parallel", "lat_2", "lat_1"))
SCALE_ON_MERIDIAN = scale(2, "on the central meridian")
SCALE_AT_CENTRE = scale(2, "at the centre")
AZIMUTH = angle(3, "Azimuth of the central line, east of north", "azimuth")
TWO_POINTS = (angle(8, "Longitude of the first point", "lon_1"),
              angle(9, "Latitude of the first point", "lat_1"),
              angle(10, "Longitude of the second point", "lon_2"),
              angle(11, "Latitude of the second point", "lat_2"))


def landsat(satellite, path):
    return (integer(satellite, "Landsat satellite number", "satellite", NEEDED),
            integer(path, "Path number", "path", NEEDED))


FIXED = (SPHEROID,)
WORLD_MAP = (SPHEROID, MERIDIAN, *OFFSETS)
AZIMUTHAL = (SPHEROID, *CENTRE, *OFFSETS)
CONIC = (SPHEROID, *TWO_PARALLELS, MERIDIAN, ORIGIN, *OFFSETS)
TRANSVERSE = (SPHEROID, SCALE_ON_MERIDIAN, MERIDIAN, ORIGIN, *OFFSETS)
ON_PARALLEL = (SPHEROID, MERIDIAN, STANDARD_PARALLEL, *OFFSETS)
ON_TRUE_SCALE = (SPHEROID, MERIDIAN, TRUE_SCALE, *OFFSETS)
PERSPECTIVE = (SPHEROID, metres(2, "Height of the perspective point", "h", NEEDED), *CENTRE,
               *OFFSETS)
TWO_POINT_OBLIQUE = (SPHEROID, SCALE_AT_CENTRE, ORIGIN, *TWO_POINTS, *OFFSETS)

# --- the projections by number; a heading becomes a comment before its number ----------------

HEADINGS = {
    0: "Geographic coordinates and the two systems of zones",
    3: "The classic projections",
    21: "Satellite tracks, world maps and other particular ones",
    34: "Computed by the projection engine",
    53: "Local east, north, up",
    54: "Computed by the projection engine",
    67: "Variants",
}

PROJECTIONS = {
    0: ("Geographic", FIXED),
    1: ("UTM", (
        SPHEROID, ("utmzone", "UTM zone", ""),
        choice(3, "Hemisphere", (0, "North", ()), (-1, "South", ())))),
    2: ("State Plane", (("spzone", "State Plane zone", ""), ("0:nadcode", "North American Datum", ""))),
    3: ("Albers Conical Equal Area", CONIC),
    4: ("Lambert Conformal Conic", CONIC),
    5: ("Mercator", ON_TRUE_SCALE),
    6: ("Polar Stereographic", (
        SPHEROID, MERIDIAN, angle(5, "Latitude of true scale (its sign picks the pole)", "lat_ts", NEEDED),
        *OFFSETS)),
    7: ("Polyconic", (SPHEROID, MERIDIAN, ORIGIN, *OFFSETS)),
    8: ("Equidistant Conic", (
        SPHEROID,
        choice(8, "Number of standard parallels",
               (0, "One standard parallel", (angle(2, "Standard parallel", "lat_1", NEEDED),)),
               (1, "Two standard parallels", TWO_PARALLELS)),
        MERIDIAN, ORIGIN, *OFFSETS)),
    9: ("Transverse Mercator", TRANSVERSE),
    10: ("Stereographic", (*AZIMUTHAL, reserved(9))),
    11: ("Lambert Azimuthal Equal-area", (*AZIMUTHAL, reserved(8))),
    12: ("Azimuthal Equidistant", AZIMUTHAL),
    13: ("Gnomonic", AZIMUTHAL),
    14: ("Orthographic", AZIMUTHAL),
    15: ("General Vertical Near-side Perspective", PERSPECTIVE),
    16: ("Sinusoidal", WORLD_MAP),
    17: ("Equirectangular", ON_TRUE_SCALE),
    18: ("Miller Cylindrical", WORLD_MAP),
    19: ("Van der Grinten I", WORLD_MAP),
    20: ("Oblique Mercator (Hotine)", (
        SPHEROID, SCALE_AT_CENTRE, angle(5, "Latitude of the centre", "lat_0"),
        choice(12, "Central line given by",
               (0, "Two points on it", TWO_POINTS),
               (1, "Its azimuth at the centre",
                (AZIMUTH, angle(4, "Longitude of the centre", "lon_0")))),
        *OFFSETS)),
    21: ("Space Oblique Mercator", (SPHEROID, *landsat(4, 5), *OFFSETS)),
    22: ("Modified Transverse Mercator", (SPHEROID, reserved(3))),
    23: ("ESOM", (SPHEROID, *landsat(4, 5), *OFFSETS)),
    24: ("Robinson", WORLD_MAP),
    25: ("SOM (generic)", (
        SPHEROID,
        choice(12, "Orbit given by",
               (0, "Its elements",
                (angle(3, "Inclination of the orbit", "inclination", NEEDED),
                 angle(4, "Longitude of the ascending node", "lon_0"),
                 number(8, "Period of the satellite in minutes", "period", NEEDED),
                 integer(10, "End of the path (0 start, 1 end)"))),
               (1, "Landsat satellite and path", landsat(2, 3))),
        *OFFSETS)),
    26: ("Alaska Conformal", (SPHEROID, *OFFSETS)),
    27: ("Interrupted Goode Homolosine", FIXED),
    28: ("Mollweide", WORLD_MAP),
    29: ("Interrupted Mollweide", FIXED),
    30: ("Hammer", WORLD_MAP),
    31: ("Wagner IV", WORLD_MAP),
    32: ("Wagner VII", WORLD_MAP),
    33: ("Oblated Equal Area", (
        SPHEROID, number(2, "Shape parameter m", "m", NEEDED),
        number(3, "Shape parameter n", "n", NEEDED), *CENTRE,
        angle(8, "Rotation of the oval", "rotation"), *OFFSETS)),
    34: ("Plate Carree", WORLD_MAP),
    35: ("Equidistant Cylindrical", ON_PARALLEL),
    36: ("Gauss Kruger", TRANSVERSE),
    37: ("Eckert VI", WORLD_MAP),
    38: ("Eckert V", WORLD_MAP),
    39: ("Eckert IV", WORLD_MAP),
    40: ("Eckert III", WORLD_MAP),
    41: ("Eckert II", WORLD_MAP),
    42: ("Eckert I", WORLD_MAP),
    43: ("Gall Stereographic", WORLD_MAP),
    44: ("Behrmann", WORLD_MAP),
    45: ("Winkel I", ON_PARALLEL),
    46: ("Winkel II", ON_PARALLEL),
    47: ("Quartic Authalic", WORLD_MAP),
    48: ("Loximuthal", (SPHEROID, MERIDIAN, angle(5, "Central parallel", "lat_0"), *OFFSETS)),
    49: ("Bonne", (SPHEROID, MERIDIAN, angle(5, "Standard parallel", "lat_0", NEEDED), *OFFSETS)),
    50: ("Stereographic (ellipsoidal)", (SPHEROID, SCALE_AT_CENTRE, *CENTRE, *OFFSETS)),
    51: ("Cassini", TRANSVERSE),
    52: ("Two-point Equidistant", (SPHEROID, *TWO_POINTS, *OFFSETS)),
    53: ("Anchored LSR", (
        SPHEROID, angle(4, "Longitude of the anchor", "lon_0"),
        angle(5, "Latitude of the anchor", "lat_0"),
        *OFFSETS)),
    54: ("Krovak", (
        SPHEROID, scale(2, "on the pseudo standard parallel"),
        angle(3, "Azimuth of the cone axis", "azimuth"), *CENTRE,
        angle(8, "Pseudo standard parallel", "lat_1", NEEDED),
        number(9, "Factor of x (usually 1 or -1)", "x_scale", 1),
        number(10, "Factor of y (usually 1)", "y_scale", 1),
        angle(11, "Rotation of the plane", "rotation"), *OFFSETS)),
    55: ("Double Stereographic", (SPHEROID, SCALE_AT_CENTRE, *CENTRE, *OFFSETS)),
    56: ("Aitoff", WORLD_MAP),
    57: ("Craster Parabolic", WORLD_MAP),
    58: ("Cylindrical Equal Area", ON_PARALLEL),
    59: ("Flat Polar Quartic", WORLD_MAP),
    60: ("Times", WORLD_MAP),
    61: ("Winkel Tripel", (SPHEROID, MERIDIAN, angle(5, "Standard parallel", "lat_0"), *OFFSETS)),
    62: ("Hammer-Aitoff", WORLD_MAP),
    63: ("Vertical Near-side Perspective", PERSPECTIVE),
    64: ("Hotine Oblique Mercator (azimuth, centre)", (
        SPHEROID, SCALE_AT_CENTRE, AZIMUTH, *CENTRE, *OFFSETS)),
    65: ("Hotine Oblique Mercator (two points, centre)", TWO_POINT_OBLIQUE),
    66: ("Hotine Oblique Mercator (two points, natural origin)", TWO_POINT_OBLIQUE),
    67: ("Lambert Conformal Conic (single standard parallel)", (
        SPHEROID, angle(2, "Latitude of natural origin", "lat_0"),
        angle(3, "Longitude of natural origin", "lon_0"), scale(4, "at natural origin"),
        metres(5, "False easting", "x_0"), metres(6, "False northing", "y_0"))),
    68: ("Pseudo Mercator", WORLD_MAP),
    69: ("Mercator (variant A)", (
        SPHEROID, scale(2, "on the equator"), MERIDIAN, *OFFSETS)),
}
