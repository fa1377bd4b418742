// Units, parameters, projections and methods of the engine. Codes and names are those that its
// maker publishes; units and methods have the codes of [EPSG].
#include "engine/tables.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "engine/object.h"

namespace orvik::engine {
namespace {

/// Factors as texts give them: 16 digits.
constexpr UnitRow kUnits[] = {
    {9001, false, "Meter", 1.0},
    {9002, false, "Foot", 0.3048},
    {9003, false, "Foot_US", 0.3048006096012192},
    {9005, false, "Foot_Clarke", 0.3047972654},
    {9014, false, "Fathom", 1.8288},
    {9030, false, "Nautical_Mile", 1852.0},
    {9031, false, "Meter_German", 1.0000135965},
    {9033, false, "Chain_US", 20.11684023368047},
    {9034, false, "Link_US", 0.2011684023368047},
    {9035, false, "Mile_US", 1609.347218694437},
    {9036, false, "Kilometer", 1000.0},
    {9037, false, "Yard_Clarke", 0.9143917962},
    {9038, false, "Chain_Clarke", 20.1166195164},
    {9039, false, "Link_Clarke", 0.201166195164},
    {9040, false, "Yard_Sears", 0.9143984146160287},
    {9041, false, "Foot_Sears", 0.3047994715386762},
    {9042, false, "Chain_Sears", 20.11676512155263},
    {9043, false, "Link_Sears", 0.2011676512155263},
    {9050, false, "Yard_Benoit_1895_A", 0.9143992},
    {9051, false, "Foot_Benoit_1895_A", 0.3047997333333333},
    {9052, false, "Chain_Benoit_1895_A", 20.1167824},
    {9053, false, "Link_Benoit_1895_A", 0.201167824},
    {9060, false, "Yard_Benoit_1895_B", 0.9143992042898124},
    {9061, false, "Foot_Benoit_1895_B", 0.3047997347632708},
    {9062, false, "Chain_Benoit_1895_B", 20.11678249437587},
    {9063, false, "Link_Benoit_1895_B", 0.2011678249437587},
    {9070, false, "Foot_1865", 0.3048008333333333},
    {9080, false, "Foot_Indian", 0.3047995102481469},
    {9081, false, "Foot_Indian_1937", 0.30479841},
    {9082, false, "Foot_Indian_1962", 0.3047996},
    {9083, false, "Foot_Indian_1975", 0.3047995},
    {9084, false, "Yard_Indian", 0.9143985307444408},
    {9085, false, "Yard_Indian_1937", 0.91439523},
    {9086, false, "Yard_Indian_1962", 0.9143988},
    {9087, false, "Yard_Indian_1975", 0.9143985},
    {9093, false, "Statute_Mile", 1609.344},
    {9094, false, "Foot_Gold_Coast", 0.3047997101815088},
    {9095, false, "Foot_British_1936", 0.3048007491},
    {9096, false, "Yard", 0.9144},
    {9097, false, "Chain", 20.1168},
    {9098, false, "Link", 0.201168},
    {9099, false, "Yard_Sears_1922_Truncated", 0.914398},
    {9300, false, "Foot_Sears_1922_Truncated", 0.3047993333333333},
    {9301, false, "Chain_Sears_1922_Truncated", 20.116756},
    {9302, false, "Link_Sears_1922_Truncated", 0.20116756},
    {1033, false, "Centimeter", 0.01},
    {1025, false, "Millimeter", 0.001},
    {9101, true, "Radian", 1.0},
    {9102, true, "Degree", 0.0174532925199433},
    {9103, true, "Minute", 0.0002908882086657216},
    {9104, true, "Second", 4.84813681109536e-06},
    {9105, true, "Grad", 0.01570796326794897},
    {9106, true, "Gon", 0.01570796326794897},
    {9109, true, "Microradian", 1e-06},
    {9112, true, "Minute_Centesimal", 0.0001570796326794897},
    {9113, true, "Second_Centesimal", 1.570796326794897e-06},
    {9114, true, "Mil_6400", 0.0009817477042468104},
};

constexpr NameRow kParameters[] = {
    {100001, "False_Easting"},
    {100002, "False_Northing"},
    {100003, "Scale_Factor"},
    {100004, "Azimuth"},
    {100010, "Central_Meridian"},
    {100011, "Longitude_Of_Origin"},
    {100012, "Longitude_Of_Center"},
    {100013, "Longitude_Of_1st_Point"},
    {100014, "Longitude_Of_2nd_Point"},
    {100020, "Central_Parallel"},
    {100021, "Latitude_Of_Origin"},
    {100022, "Latitude_Of_Center"},
    {100023, "Latitude_Of_1st_Point"},
    {100024, "Latitude_Of_2nd_Point"},
    {100025, "Standard_Parallel_1"},
    {100026, "Standard_Parallel_2"},
    {100027, "Pseudo_Standard_Parallel_1"},
    {100036, "Option"},
    {100037, "X_Scale"},
    {100038, "Y_Scale"},
    {100039, "XY_Plane_Rotation"},
    {100040, "X_Axis_Translation"},
    {100041, "Y_Axis_Translation"},
    {100042, "Z_Axis_Translation"},
    {100043, "X_Axis_Rotation"},
    {100044, "Y_Axis_Rotation"},
    {100045, "Z_Axis_Rotation"},
    {100046, "Scale_Difference"},
    {100047, "Name_Dataset"},
    {100048, "X_Coordinate_Of_Rotation_Origin"},
    {100049, "Y_Coordinate_Of_Rotation_Origin"},
    {100050, "Z_Coordinate_Of_Rotation_Origin"},
};

constexpr NameRow kMethods[] = {
    {9601, "Longitude_Rotation"},
    {9603, "Geocentric_Translation"},
    {9604, "Molodensky"},
    {9605, "Molodensky_Abridged"},
    {9606, "Position_Vector"},
    {9607, "Coordinate_Frame"},
    {9613, "NADCON"},
    {9614, "NTv1"},
    {9615, "NTv2"},
    {9619, "Geographic_2D_Offset"},
    {9636, "Molodensky_Badekas"},
};

using enum Figure;

constexpr ProjectionRow kProjections[] = {
    {43001, "Plate_Carree", kSphere, "eqc", "Central_Meridian"},
    {43002, "Equidistant_Cylindrical", kSphere, "eqc",
     "Central_Meridian Standard_Parallel_1:lat_ts=60"},
    {43003, "Miller_Cylindrical", kSphere, "mill", "Central_Meridian"},
    {43004, "Mercator", kSpheroid, "merc", "Central_Meridian Standard_Parallel_1:lat_ts"},
    {43005, "Gauss_Kruger", kSpheroid, "tmerc",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {43006, "Transverse_Mercator", kSpheroid, "tmerc",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {43007, "Albers", kSpheroid, "aea",
     "Central_Meridian Standard_Parallel_1:lat_1=60 Standard_Parallel_2:lat_2=60 "
     "Latitude_Of_Origin:lat_0"},
    {43008, "Sinusoidal", kSpheroid, "sinu", "Central_Meridian"},
    {43009, "Mollweide", kSphere, "moll", "Central_Meridian"},
    {43010, "Eckert_VI", kSphere, "eck6", "Central_Meridian"},
    {43011, "Eckert_V", kSphere, "eck5", "Central_Meridian"},
    {43012, "Eckert_IV", kSphere, "eck4", "Central_Meridian"},
    {43013, "Eckert_III", kSphere, "eck3", "Central_Meridian"},
    {43014, "Eckert_II", kSphere, "eck2", "Central_Meridian"},
    {43015, "Eckert_I", kSphere, "eck1", "Central_Meridian"},
    {43016, "Gall_Stereographic", kSphere, "gall", "Central_Meridian"},
    {43017, "Behrmann", kSphere, "cea lat_ts=30", "Central_Meridian"},
    {43018, "Winkel_I", kSphere, "wink1",
     "Central_Meridian Standard_Parallel_1:lat_ts=50.45977625218981"},
    {43019, "Winkel_II", kSphere, "wink2",
     "Central_Meridian Standard_Parallel_1:lat_1=50.45977625218981"},
    {43020, "Lambert_Conformal_Conic", kSpheroid, "lcc",
     "Central_Meridian Standard_Parallel_1:lat_1=60 Standard_Parallel_2:lat_2=60 Scale_Factor:k_0 "
     "Latitude_Of_Origin:lat_0"},
    {43021, "Polyconic", kSpheroid, "poly", "Central_Meridian Latitude_Of_Origin:lat_0"},
    {43022, "Quartic_Authalic", kSphere, "qua_aut", "Central_Meridian"},
    {43023, "Loximuthal", kSphere, "loxim", "Central_Meridian Central_Parallel:lat_1=40"},
    {43024, "Bonne", kSpheroid, "bonne", "Central_Meridian Standard_Parallel_1:lat_1=60"},
    {43025, "Hotine_Oblique_Mercator_Two_Point_Natural_Origin", kSpheroid, nullptr,
     "Latitude_Of_1st_Point Latitude_Of_2nd_Point=60 Scale_Factor Longitude_Of_1st_Point "
     "Longitude_Of_2nd_Point=60 Latitude_Of_Center=40"},
    {43026, "Stereographic", kSpheroid, "stere",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {43027, "Equidistant_Conic", kSpheroid, "eqdc",
     "Central_Meridian Standard_Parallel_1:lat_1=60 Standard_Parallel_2:lat_2=60 "
     "Latitude_Of_Origin:lat_0"},
    {43028, "Cassini", kSpheroid, "cass", "Central_Meridian Scale_Factor Latitude_Of_Origin:lat_0"},
    {43029, "Van_der_Grinten_I", kSphere, "vandg", "Central_Meridian"},
    {43030, "Robinson", kSphere, "robin", "Central_Meridian"},
    {43031, "Two_Point_Equidistant", kSphere, nullptr,
     "Latitude_Of_1st_Point:lat_1 Latitude_Of_2nd_Point:lat_2=60 Longitude_Of_1st_Point:lon_1 "
     "Longitude_Of_2nd_Point:lon_2=60"},
    {43032, "Azimuthal_Equidistant", kSpheroid, "aeqd",
     "Central_Meridian Latitude_Of_Origin:lat_0"},
    {43033, "Lambert_Azimuthal_Equal_Area", kSpheroid, "laea",
     "Central_Meridian Latitude_Of_Origin:lat_0"},
    {43034, "Cylindrical_Equal_Area", kSpheroid, "cea",
     "Central_Meridian Standard_Parallel_1:lat_ts"},
    {43035, "Hotine_Oblique_Mercator_Two_Point_Center", kSpheroid, nullptr,
     "Latitude_Of_1st_Point Latitude_Of_2nd_Point=60 Scale_Factor Longitude_Of_1st_Point "
     "Longitude_Of_2nd_Point=60 Latitude_Of_Center=40"},
    {43036, "Hotine_Oblique_Mercator_Azimuth_Natural_Origin", kSpheroid, "omerc no_uoff",
     "Scale_Factor:k Azimuth:alpha=45 Longitude_Of_Center Latitude_Of_Center:lat_0=40"},
    {43037, "Hotine_Oblique_Mercator_Azimuth_Center", kSpheroid, "omerc",
     "Scale_Factor:k Azimuth:alpha=45 Longitude_Of_Center Latitude_Of_Center:lat_0=40"},
    {43038, "Double_Stereographic", kSpheroid, "sterea",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {43039, "Krovak", kSpheroid, nullptr,
     "Pseudo_Standard_Parallel_1=78.5 Scale_Factor=0.9999 Azimuth=30.28813975277778 "
     "Longitude_Of_Center=24.83333333333333 Latitude_Of_Center=49.5 X_Scale Y_Scale "
     "XY_Plane_Rotation"},
    {43040, "New_Zealand_Map_Grid", kSpheroid, "nzmg",
     "Longitude_Of_Origin=173 Latitude_Of_Origin:lat_0=-41"},
    {43041, "Orthographic", kSphere, "ortho", "Longitude_Of_Center Latitude_Of_Center:lat_0"},
    {43042, "Winkel_Tripel", kSphere, "wintri",
     "Central_Meridian Standard_Parallel_1:lat_1=50.467"},
    {43043, "Aitoff", kSphere, "aitoff", "Central_Meridian"},
    {43044, "Hammer_Aitoff", kSphere, nullptr, "Central_Meridian"},
    {43045, "Flat_Polar_Quartic", kSphere, "mbtfpq", "Central_Meridian"},
    {43046, "Craster_Parabolic", kSphere, "crast", "Central_Meridian"},
    {43047, "Gnomonic", kSphere, "gnom", "Longitude_Of_Center Latitude_Of_Center:lat_0"},
    {43048, "Times", kSphere, "times", "Central_Meridian"},
    {43049, "Vertical_Near_Side_Perspective", kSphere, "nsper",
     "Longitude_Of_Center Latitude_Of_Center:lat_0 Height:h=35800000"},
    {43050, "Stereographic_North_Pole", kSpheroid, "stere lat_0=90",
     "Central_Meridian Standard_Parallel_1:lat_ts=60"},
    {43051, "Stereographic_South_Pole", kSpheroid, "stere lat_0=-90",
     "Central_Meridian Standard_Parallel_1:lat_ts=-60"},
    {43052, "Fuller", kSphere, nullptr, "Option"},
    {43053, "Rectified_Skew_Orthomorphic_Natural_Origin", kSpheroid, "omerc no_uoff",
     "Scale_Factor:k Azimuth:alpha=45 Longitude_Of_Center Latitude_Of_Center:lat_0=40 "
     "XY_Plane_Rotation:gamma=45"},
    {43054, "Rectified_Skew_Orthomorphic_Center", kSpheroid, "omerc",
     "Scale_Factor:k Azimuth:alpha=45 Longitude_Of_Center Latitude_Of_Center:lat_0=40 "
     "XY_Plane_Rotation:gamma=45"},
    {43055, "Cube", kSphere, nullptr, "Central_Meridian Option"},
    {43056, "Transverse_Mercator_Complex", kSpheroid, "tmerc",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {43058, "Local", kSpheroid, "ortho",
     "Scale_Factor Azimuth Longitude_Of_Center Latitude_Of_Center:lat_0"},
    {43059, "Goode_Homolosine", kSphere, "goode", "Central_Meridian Option"},
    {0, "Mercator_Auxiliary_Sphere", kSphere, "merc",
     "Central_Meridian Standard_Parallel_1:lat_ts Auxiliary_Sphere_Type"},
    {0, "Mercator_Variant_A", kSpheroid, "merc",
     "Scale_Factor:k Central_Meridian Latitude_Of_Origin"},
    {0, "Equal_Earth", kSpheroid, "eqearth", "Central_Meridian"},
    {0, "Natural_Earth", kSphere, "natearth", "Central_Meridian"},
    {0, "Natural_Earth_II", kSphere, "natearth2", "Central_Meridian"},
    {0, "Patterson", kSphere, "patterson", "Central_Meridian"},
    {0, "Compact_Miller", kSphere, "comill", "Central_Meridian"},
    {0, "Wagner_IV", kSphere, "wag4", "Central_Meridian Latitude_Of_Origin"},
    {0, "Wagner_V", kSphere, "wag5", "Central_Meridian"},
    {0, "Wagner_VII", kSphere, nullptr, "Central_Meridian Latitude_Of_Origin"},
    {0, "Geostationary_Satellite", kSpheroid, "geos",
     "Longitude_Of_Center Height:h=35785831 Option"},
    {0, "Transverse_Cylindrical_Equal_Area", kSphere, "tcea",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {0, "Adams_Square_II", kSphere, "adams_ws2",
     "Scale_Factor Azimuth Longitude_Of_Center Latitude_Of_Center XY_Plane_Rotation"},
    {0, "Peirce_Quincuncial", kSphere, "peirce_q",
     "Central_Meridian Scale_Factor Latitude_Of_Origin:lat_0=90 Option"},
    {0, "IGAC_Plano_Cartesiano", kSpheroid, "col_urban",
     "Longitude_Of_Center Latitude_Of_Center:lat_0 Height:h_0"},
    {0, "Laborde_Oblique_Mercator", kSpheroid, "labrd",
     "Scale_Factor:k Azimuth:azi Longitude_Of_Center Latitude_Of_Center:lat_0"},
    {0, "Equidistant_Cylindrical_Ellipsoidal", kOnlySphere, "eqc",
     "Central_Meridian Standard_Parallel_1:lat_ts"},
    {0, "Lambert_Conformal_Conic_1SP", kSpheroid, "lcc",
     "Central_Meridian Scale_Factor:k_0 Standard_Parallel_1:lat_1 Latitude_Of_Origin:lat_0"},
    {0, "Lambert_Conformal_Conic_2SP", kSpheroid, "lcc",
     "Central_Meridian Standard_Parallel_1:lat_1=60 Standard_Parallel_2:lat_2=60 "
     "Latitude_Of_Origin:lat_0"},
    {0, "Mercator_1SP", kSpheroid, "merc", "Central_Meridian Scale_Factor:k Latitude_Of_Origin"},
    {0, "Mercator_2SP", kSpheroid, "merc", "Standard_Parallel_1:lat_ts Central_Meridian"},
    {0, "Transverse_Mercator_South_Orientated", kSpheroid, "tmerc",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {0, "Oblique_Stereographic", kSpheroid, "sterea",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {0, "Polar_Stereographic_Variant_A", kSpheroid, "stere",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0"},
    {0, "Polar_Stereographic_Variant_B", kSpheroid, "stere",
     "Central_Meridian Standard_Parallel_1:lat_ts"},
    {0, "Stereographic_Auxiliary_Sphere", kSphere, "stere",
     "Central_Meridian Scale_Factor:k Latitude_Of_Origin:lat_0 Auxiliary_Sphere_Type"},
    {0, "Lambert_Azimuthal_Equal_Area_Auxiliary_Sphere", kSphere, "laea",
     "Central_Meridian Latitude_Of_Origin:lat_0 Auxiliary_Sphere_Type"},
    {0, "Azimuthal_Equidistant_Auxiliary_Sphere", kSphere, "aeqd",
     "Central_Meridian Latitude_Of_Origin:lat_0 Auxiliary_Sphere_Type"},
    {0, "Berghaus_Star", kSphere, nullptr,
     "Central_Meridian Latitude_Of_Origin=90 XY_Plane_Rotation"},
    {0, "Tobler_Cylindrical_I", kSphere, nullptr, "Central_Meridian"},
    {0, "Tobler_Cylindrical_II", kSphere, nullptr, "Central_Meridian"},
};

}  // namespace

std::span<const UnitRow> unitTable() { return kUnits; }
std::span<const NameRow> parameterTable() { return kParameters; }
std::span<const NameRow> methodTable() { return kMethods; }
std::span<const ProjectionRow> projectionTable() { return kProjections; }

bool nextParameter(std::string_view &parameters, ParameterEntry &entry) {
  if (parameters.empty()) return false;
  const std::string_view whole = parameters.substr(0, parameters.find(' '));
  parameters.remove_prefix(std::min(whole.size() + 1, parameters.size()));
  const std::string_view names = whole.substr(0, whole.find('='));
  entry.name = names.substr(0, names.find(':'));
  entry.key = names.substr(std::min(entry.name.size() + 1, names.size()));
  entry.standard = defaultOf(entry.name);
  if (names.size() < whole.size())
    std::from_chars(whole.data() + names.size() + 1, whole.data() + whole.size(), entry.standard);
  return true;
}

const UnitRow *unitOfFactor(bool isAngle, double factor) {
  constexpr double kClose = 1e-12;  // relative; the database has 15 digits
  const auto found = std::ranges::find_if(kUnits, [&](const UnitRow &row) {
    return row.isAngle == isAngle && std::fabs(row.factor - factor) <= kClose * factor;
  });
  return found == std::end(kUnits) ? nullptr : found;
}

const ProjectionRow *projectionOf(std::string_view name) {
  const auto found = std::ranges::find_if(
      kProjections, [name](const ProjectionRow &row) { return sameName(row.name, name); });
  return found == std::end(kProjections) ? nullptr : found;
}

}  // namespace orvik::engine
