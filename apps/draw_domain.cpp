#include "draw_domain.h"

#include <algorithm>

#include "system.h"

namespace program::draw {
namespace {

/// How the domain of a projection lies on the globe.
enum class Shape {
  kBand,       ///< `width` to either side of the central meridian, latitudes `south` to `north`
  kCone,       ///< all longitudes; from the cone's pole to `width` beyond the standard parallels
  kCap,        ///< `width` around the centre
  kPole,       ///< `width` around the pole that the sign of the latitude names
  kLobes,      ///< the lobes of an interrupted map
  kTrack,      ///< `width` to either side of a satellite's track
  kOblique,    ///< `width` to either side of a central line
  kTwoPoints,  ///< the globe, cut open on the line's far side
  kUTM,
  kStatePlane,
};

/// A row of the table: angles in degrees. A slot of -1 means that the projection is fixed at `lon`,
/// `lat`.
struct Rule {
  int32_t number;
  Shape shape;
  double width;
  double south = -90, north = 90;
  int32_t lonSlot = 4, latSlot = 5;
  double lon = 0, lat = 0;
};

/// Everything else: the whole globe around the meridian in slot 4.
constexpr Rule kWorld{-1, Shape::kBand, 180};

constexpr Rule kRules[] = {
    {0, Shape::kBand, 180, -90, 90, -1, -1},
    {1, Shape::kUTM, 3},
    {2, Shape::kStatePlane, 4},
    {4, Shape::kCone, 75, 0, 0, 4, 2},
    {5, Shape::kBand, 180, -80, 80},
    {6, Shape::kPole, 90},
    {9, Shape::kBand, 40, -85, 85},
    {10, Shape::kCap, 110},
    {11, Shape::kCap, 180},
    {12, Shape::kCap, 180},
    {13, Shape::kCap, 60},
    {14, Shape::kCap, 90},
    {15, Shape::kCap, 90},
    {20, Shape::kOblique, 20},
    {21, Shape::kTrack, 12},
    {22, Shape::kBand, 35, 45, 75, -1, -1, -150},
    {23, Shape::kTrack, 12},
    {25, Shape::kTrack, 12},
    {26, Shape::kCap, 30, 0, 0, -1, -1, -152, 64},
    {27, Shape::kLobes, 0},
    {29, Shape::kLobes, 0},
    {33, Shape::kCap, 100},
    {36, Shape::kBand, 40, -85, 85},
    {50, Shape::kCap, 110},
    {51, Shape::kBand, 30},
    {52, Shape::kTwoPoints, 180},
    {53, Shape::kCap, 90},
    {54, Shape::kCap, 10},  // up to the cone's axis
    {55, Shape::kCap, 110},
    {63, Shape::kCap, 90},
    {64, Shape::kOblique, 20},
    {65, Shape::kOblique, 20},
    {66, Shape::kOblique, 20},
    {67, Shape::kCone, 75, 0, 0, 3, 2},
    {68, Shape::kBand, 180, -85.0511, 85.0511},  // the square that web maps cut it to
    {69, Shape::kBand, 180, -80, 80},
};

/// Caps that the Projection Engine computes, by its names; its others show the whole globe around
/// the central meridian.
constexpr struct {
  std::string_view name;
  double width;  ///< degrees around the centre
} kEngineCaps[] = {
    {"Azimuthal_Equidistant", 179},
    {"Geostationary_Satellite", 80},
    {"IGAC_Plano_Cartesiano", 2},
    {"Laborde_Oblique_Mercator", 10},
    {"Lambert_Azimuthal_Equal_Area", 179},
    {"Peirce_Quincuncial", 180},
    {"Rectified_Skew_Orthomorphic_Center", 20},
    {"Rectified_Skew_Orthomorphic_Natural_Origin", 20},
};

/// Lobes of the interrupted maps, west to east: they meet along the equator.
struct Lobe {
  double west, east;
  bool north;
};
constexpr double kBelowEquator = 1e-7;  // degrees: the equator itself belongs to the north
constexpr Lobe kGoodeLobes[] = {{-180, -40, true},  {-40, 180, true}, {-180, -100, false},
                                {-100, -20, false}, {-20, 80, false}, {80, 180, false}};
constexpr Lobe kMollweideLobes[] = {{20, 110, true},  {110, 260, true},  {260, 380, true},
                                    {20, 140, false}, {140, 290, false}, {290, 380, false}};

Box radians(double west, double south, double east, double north) {
  return {west * kDegree, south * kDegree, east * kDegree, north * kDegree};
}

/// Of the great circle from one point to another, at the first. [Snyder87] eq. 5-4b.
double bearing(Oprj_Point from, Oprj_Point to) {
  const double dLon = to.x - from.x;
  return std::atan2(
      std::sin(dLon) * std::cos(to.y),
      std::cos(from.y) * std::sin(to.y) - std::sin(from.y) * std::cos(to.y) * std::cos(dLon));
}

class Domain {
 public:
  Domain(Oint_Toolkit *toolkit, const Oprj_ProParameters &record, const Sheet &sheet)
      : toolkit_(toolkit), record_(record), sheet_(sheet) {}

  std::vector<Patch> patches() const {
    if (const OwnedEngineSystem engine = engineSystemOf(record_)) return enginePatches(*engine);
    const Rule *rule = std::find_if(std::begin(kRules), std::end(kRules),
                                    [&](const Rule &r) { return r.number == record_.proNumber; });
    return patches(rule == std::end(kRules) ? kWorld : *rule);
  }

 private:
  double slot(int32_t index) const {
    return index >= 0 && index < record_.proParams.count ? record_.proParams.data[index] : 0.0;
  }

  /// Around the central meridian or the centre.
  static std::vector<Patch> enginePatches(const Oawp_PE_COORDSYS &system) {
    const bool projected = oawp_PE_pe_projcs_p(&system) != 0;
    const Oawp_PE_GEOGCS *geogcs = projected ? oawp_PE_pe_projcs_geogcs(&system) : &system;
    const double degree = oawp_PE_pe_unit_factor(oawp_PE_pe_geogcs_unit(geogcs));
    double lat = 0, lon = oawp_PE_pe_primem_longitude(oawp_PE_pe_geogcs_primem(geogcs)) * kDegree;
    if (!projected) return {band(lon, 180, -90, 90)};
    for (const auto *const *list = oawp_PE_pe_projcs_parameters(&system); list && *list; ++list) {
      const std::string name = lower(oawp_PE_pe_parameter_name(*list));
      const double value = oawp_PE_pe_parameter_value(*list) * degree;
      if (name == "central_meridian" || name.starts_with("longitude_of_")) lon += value;
      if (name.starts_with("latitude_of_")) lat = value;
    }
    const std::string name = oawp_PE_pe_projection_name(oawp_PE_pe_projcs_projection(&system));
    for (const auto &[cap, width] : kEngineCaps) {
      if (lower(cap) == lower(name))
        return {Patch::cap(Frame::poleAt({lon, lat}), width * kDegree)};
    }
    return {band(lon, 180, -90, 90)};
  }

  std::vector<Patch> patches(const Rule &rule) const {
    const double lon = rule.lonSlot < 0 ? rule.lon * kDegree : slot(rule.lonSlot);
    const double lat = rule.latSlot < 0 ? rule.lat * kDegree : slot(rule.latSlot);
    switch (rule.shape) {
      case Shape::kBand:
        return {band(lon, rule.width, rule.south, rule.north)};
      case Shape::kCone:
        return {cone(lon, lat, rule.width)};
      case Shape::kCap:
        return {Patch::cap(Frame::poleAt({lon, lat}), rule.width * kDegree)};
      case Shape::kPole:
        return {
            Patch::cap(Frame::poleAt({lon, lat < 0 ? -kPi / 2 : kPi / 2}), rule.width * kDegree)};
      case Shape::kLobes:
        return lobes();
      case Shape::kTrack:
        return {track(rule.width)};
      case Shape::kOblique:
        return {oblique(rule.width)};
      case Shape::kTwoPoints:
        return {twoPoints()};
      case Shape::kUTM:
        return {utm(rule.width)};
      case Shape::kStatePlane:
        return {statePlane(rule.width)};
    }
    return {};
  }

  static Patch band(double lon, double width, double south, double north) {
    return Patch::rectangle(Frame::upright(lon), radians(-width, south, width, north));
  }

  /// `lat` is the first standard parallel; the second is in slot 3 of the two-parallel form.
  Patch cone(double lon, double lat, double reach) const {
    const double second = record_.proNumber == 4 ? slot(3) : lat;
    const double middle = (lat + second) / 2 / kDegree;
    return middle < 0 ? band(lon, 180, -90, std::min(90.0, middle + reach))
                      : band(lon, 180, std::max(-90.0, middle - reach), 90);
  }

  std::vector<Patch> lobes() const {
    std::vector<Patch> patches;
    const auto add = [&](const Lobe &lobe) {
      const double centre = (lobe.west + lobe.east) / 2, half = (lobe.east - lobe.west) / 2;
      patches.push_back(Patch::rectangle(
          Frame::upright(centre * kDegree),
          lobe.north ? radians(-half, 0, half, 90) : radians(-half, -90, half, -kBelowEquator),
          Patch::kWest | Patch::kEast | (lobe.north ? Patch::kNorth : Patch::kSouth)));
    };
    if (record_.proNumber == 27) std::for_each(std::begin(kGoodeLobes), std::end(kGoodeLobes), add);
    else std::for_each(std::begin(kMollweideLobes), std::end(kMollweideLobes), add);
    return patches;
  }

  /// Half a revolution, from pole to pole, beside the sheet's own x axis. It is the one that the
  /// path begins with, southbound; when northern points belong to the path's end, the northbound
  /// one.
  Patch track(double width) const {
    constexpr double kHalfLength = 84;  // degrees along the track
    constexpr int kPoints = 168;
    const bool end = record_.proNumber == 25 && slot(12) == 0 && slot(10) != 0;
    const double a = record_.proSpheroid->a, middle = end ? 2 * kPi : kPi;
    const auto onAxis = [&](double angle) {
      return sheet_.unproject({slot(6) + a * angle, slot(7)});
    };
    Line axis;
    for (int i = -kPoints; i <= kPoints; ++i) {
      if (const auto p = onAxis(middle + kHalfLength * kDegree * i / kPoints)) axis.push_back(*p);
    }
    const auto centre = onAxis(middle), ahead = onAxis(middle + 0.5 * kDegree);
    if (!centre || !ahead || axis.size() < 2)
      throw Stop(kUnusable, "the satellite's track cannot be found on the sheet");
    const double east = std::remainder(ahead->x - centre->x, 2 * kPi) * std::cos(centre->y);
    return Patch::swath(Frame::equatorThrough(*centre, std::atan2(east, ahead->y - centre->y)),
                        axis, width * kDegree);
  }

  /// A central line, given by two points, between which the centre then lies, or by its azimuth at
  /// the centre.
  struct CentralLine {
    Oprj_Point centre;
    double azimuth;
  };
  CentralLine centralLine() const {
    if (record_.proNumber == 64 || (record_.proNumber == 20 && slot(12) != 0))
      return {{slot(4), slot(5)}, slot(3)};
    const Oprj_Point first{slot(8), slot(9)}, second{slot(10), slot(11)};
    const Frame line = Frame::equatorThrough(first, bearing(first, second));
    const Oprj_Point centre = line.toGlobe({line.fromGlobe(second).x / 2, 0});
    return {centre, bearing(centre, second)};
  }
  Patch oblique(double width) const {
    constexpr double kHalfLength = 60;  // degrees along the line
    const CentralLine line = centralLine();
    return Patch::rectangle(Frame::equatorThrough(line.centre, line.azimuth),
                            radians(-kHalfLength, -width, kHalfLength, width));
  }
  /// The frame's antimeridian holds the far side of the line. The sheet is torn along it between
  /// the points opposite to the two.
  Patch twoPoints() const {
    const CentralLine line = centralLine();
    const Oprj_Point first{slot(8), slot(9)}, second{slot(10), slot(11)};
    Patch patch = Patch::rectangle(Frame::equatorThrough(line.centre, line.azimuth + kPi / 2),
                                   radians(-180, -90, 180, 90), Patch::kWest | Patch::kEast);
    const double apart = Frame::equatorThrough(first, bearing(first, second)).fromGlobe(second).x;
    patch.shortenSides(std::fabs(apart) / kPi);
    return patch;
  }

  Patch utm(double width) const {
    Slot err;
    const OwnedRecord zone(oprj_UTMDetailsGet(toolkit_, &record_, err.get()));
    if (!zone) throw Stop(kUnusable, err.text());
    const double *entries = zone->proParams.data;
    return entries[7] == 0 ? band(entries[4], width, 0, 84) : band(entries[4], width, -80, 0);
  }

  /// A window around the zone, whose bounds the tables do not tell: its parallels or its origin do.
  Patch statePlane(double width) const {
    Slot err;
    const OwnedRecord zone(oprj_StatePlaneDetailsGet(toolkit_, &record_, err.get()));
    if (!zone) throw Stop(kUnusable, err.text());
    const auto at = [&](int32_t index) {
      return index < zone->proParams.count ? zone->proParams.data[index] : 0.0;
    };
    double lat = at(5);
    if (zone->proNumber == 4) lat = (at(2) + at(3)) / 2;
    // The origins of Transverse Mercator zones lie at their southern end or beyond.
    if (zone->proNumber == 9) lat += width / 2 * kDegree;
    const double wide = width / std::max(0.2, std::cos(lat));
    return band(at(4), wide, lat / kDegree - width, lat / kDegree + width);
  }

  Oint_Toolkit *toolkit_;
  const Oprj_ProParameters &record_;
  const Sheet &sheet_;
};

}  // namespace

std::vector<Patch> domainOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record,
                            const Sheet &sheet) {
  std::vector<Patch> patches = Domain(toolkit, record, sheet).patches();
  for (Patch &patch : patches) patch.settle(sheet);
  return patches;
}

}  // namespace program::draw
