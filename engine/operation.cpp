// Definitions of PROJ operations from projected systems. Where PROJ's meaning of a projection is
// another than the engine's, the difference is made here: spheres by the semi-major axis, scales
// that PROJ does not take, negative scales, turned axes.
#include "engine/operation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "engine/tables.h"

namespace orvik::engine {
namespace {

using toolkit::ErrorScope;

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180.0;

/// Names that stand for one parameter, the first one as the table has it.
constexpr std::string_view kSameParameters[][3] = {
    {"Central_Meridian", "Longitude_Of_Center", "Longitude_Of_Origin"},
    {"Latitude_Of_Origin", "Latitude_Of_Center", ""}};

bool sameParameter(std::string_view first, std::string_view second) {
  if (sameName(first, second)) return true;
  for (const auto &group : kSameParameters) {
    const auto in = [&group](std::string_view name) {
      return std::ranges::any_of(group, [name](std::string_view g) { return sameName(g, name); });
    };
    if (in(first) && in(second)) return true;
  }
  return false;
}

const Object *parameterOf(const Object &projcs, std::string_view name) {
  for (const Object *parameter : parametersOf(projcs))
    if (sameParameter(parameter->name, name)) return parameter;
  return nullptr;
}

double valueOf(const Object &projcs, std::string_view name) {
  const Object *parameter = parameterOf(projcs, name);
  return parameter ? parameter->numbers[0] : defaultOf(name);
}

enum class Quantity { kNumber, kLength, kAngle };
Quantity quantityOf(std::string_view name) {
  if (defaultOf(name) == 1.0 || name == "Option" || name == "Auxiliary_Sphere_Type")
    return Quantity::kNumber;
  return name == "Height" ? Quantity::kLength : Quantity::kAngle;
}

/// Degrees of an angle in a unit of so many radians; degrees and grads without rounding.
double degreesOf(double value, double unit) {
  constexpr double kClose = 1e-12;  // texts give units with 15 digits
  if (std::fabs(unit / kDegree - 1.0) < kClose) return value;
  if (std::fabs(unit / (0.9 * kDegree) - 1.0) < kClose) return value * 0.9;
  return value * (unit / kDegree);
}

/// The figure's parameters: the spheroid, or a sphere of its semi-major axis (type 0), semi-minor
/// axis (1) or surface (2); `radius` becomes the sphere's.
bool appendFigure(HeapText &text, const double (&axes)[2], bool sphere, double type,
                  double &radius) {
  const auto [a, rf] = axes;
  radius = a;
  if (sphere && rf != 0.0 && type != 0.0) {
    const double f = 1.0 / rf, e = std::sqrt(f * (2.0 - f));
    if (type == 1.0) radius = a * (1.0 - f);
    else if (type == 2.0) radius = a * std::sqrt(0.5 + (1.0 - e * e) / (2.0 * e) * std::atanh(e));
    else return false;
  }
  text += sphere || rf == 0.0 ? " +R=" : " +a=";
  writeNumber(radius, text);
  if (!sphere && rf != 0.0) {
    text += " +rf=";
    writeNumber(rf, text);
  }
  return true;
}

}  // namespace

std::unique_ptr<Operation> Operation::of(const Object &projcs, Oerr_Report **err) {
  ErrorScope e("engineOperation", err);
  enum { kParameter = 1, kNoFormula };
  const Object *geogcs = partOf(projcs, Kind::kGeogcs);
  const std::string_view name = partOf(projcs, setOf(Kind::kProjection, Kind::kMethod))->name;
  const Object *spheroid = partOf(*partOf(*geogcs, Kind::kDatum), Kind::kSpheroid);
  const double angle = partOf(*geogcs, Kind::kUnit)->numbers[0];
  const double length = partOf(projcs, Kind::kUnit)->numbers[0];
  const ProjectionRow *row = projectionOf(name);
  const auto noFormula = [&](const char *why) {
    e.fail(kNoFormula, "No formula for the projection \"%.60s\"%s", name.data(), why);
    if (err) oerr_KindSet(*err, OAWP_PE_NO_FORMULA);
    return nullptr;
  };
  if (!row || !row->operation) return noFormula("");

  const auto given = parametersOf(projcs);
  for (const Object *parameter : given) {
    bool known =
        sameName(parameter->name, "False_Easting") || sameName(parameter->name, "False_Northing");
    forEachParameter(*row, [&](const ParameterEntry &entry) {
      known = known || sameParameter(entry.name, parameter->name);
    });
    if (!known && parameter->numbers[0] != defaultOf(parameter->name)) {
      e.fail(kParameter, "The projection \"%.60s\" has no parameter \"%.60s\"", row->name,
             parameter->name.c_str());
      return nullptr;
    }
  }

  std::unique_ptr<Operation> made(new Operation);
  std::string_view words = row->operation;
  const double option = valueOf(projcs, "Option");
  if (sameName(name, "Goode_Homolosine")) {
    if (option != 0.0 && option != 1.0 && option != 2.0) return noFormula(" with this Option");
    words = option == 0.0 ? "goode" : option == 1.0 ? "igh" : "igh_o";
  } else if (sameName(name, "Peirce_Quincuncial")) {
    if (option != 0.0 && option != 1.0) return noFormula(" with this Option");
    words = option == 0.0 ? "peirce_q shape=square" : "peirce_q shape=diamond";
  } else if (option != 0.0) {
    return noFormula(" with this Option");
  }
  HeapText &text = made->definition_;
  text = "+proj=";
  for (char c : words) text += c == ' ' ? std::string_view(" +") : std::string_view(&c, 1);
  // Those without a central meridian of their own bring longitudes into reach themselves.
  if (words.starts_with("omerc")) made->reach_ = std::numeric_limits<double>::infinity();
  else text += " +over";
  const bool sphere = row->figure != Figure::kSpheroid;
  if (row->figure == Figure::kOnlySphere && spheroid->numbers[1] != 0.0)
    return noFormula(" on an ellipsoid");
  double radius = 0.0;
  if (!appendFigure(text, spheroid->numbers, sphere, valueOf(projcs, "Auxiliary_Sphere_Type"),
                    radius))
    return noFormula(" with this Auxiliary_Sphere_Type");

  double sign = 1.0, scale = 1.0, azimuth = 0.0;
  bool odd = false;
  const auto append = [&text](std::string_view key, double value) {
    text += " +";
    text += key;
    text += '=';
    writeNumber(value, text);
  };
  forEachParameter(*row, [&](ParameterEntry entry) {
    double value = valueOf(projcs, entry.name);
    switch (quantityOf(entry.name)) {
      case Quantity::kAngle:
        value = degreesOf(value, angle);
        break;
      case Quantity::kLength:
        value *= length;
        break;
      case Quantity::kNumber:
        break;
    }
    // A cone may be given by one parallel, or by its latitude of origin alone.
    if (entry.key == "lat_2" && !parameterOf(projcs, entry.name))
      entry.name = "Standard_Parallel_1";
    if (entry.key == "lat_1" || entry.key == "lat_2") {
      if (!parameterOf(projcs, entry.name) && words == "lcc") entry.name = "Latitude_Of_Origin";
      value = degreesOf(valueOf(projcs, entry.name), angle);
    }
    if (entry.name == "Scale_Factor" && value < 0.0) {
      sign = -1.0;  // PROJ takes positive ones only
      value = -value;
    }
    if (entry.key.empty()) {
      if (sameParameter(entry.name, "Central_Meridian")) made->centralMeridian_ = value * kDegree;
      else if (entry.name == "Scale_Factor") scale = value;
      else if (entry.name == "Azimuth" && sameName(name, "Local")) azimuth = value;
      else if (quantityOf(entry.name) == Quantity::kAngle && value != entry.standard) odd = true;
    } else {
      append(entry.key, value);
      if (entry.key == "alpha" && !parameterOf(projcs, "XY_Plane_Rotation")) append("gamma", value);
      if (entry.key == "lat_ts" && sameName(name, "Polar_Stereographic_Variant_B"))
        append("lat_0", std::copysign(90.0, value));
    }
  });
  if (odd) return noFormula(" with these angles");
  if (words == "nzmg") {  // PROJ fixes its origin on the globe and on the sheet
    constexpr double kOrigin = 173.0 * kDegree, kEast = 2510000.0, kNorth = 6023150.0;
    made->centralMeridian_ -= kOrigin;
    made->origin_ = {kEast, kNorth};
    made->turned_ = true;
  }
  if (words == "cass") made->reach_ = kPi / 2;  // its series mean nothing farther out
  if (sameName(name, "Transverse_Mercator_South_Orientated")) sign = -sign;
  if (sign * scale != 1.0 || azimuth != 0.0) {
    // The second axis points to the azimuth.
    const double c = std::cos(azimuth * kDegree), s = std::sin(azimuth * kDegree), k = sign * scale;
    if (k == 0.0) return noFormula(" with a scale of 0");
    made->turned_ = true;
    made->turn_ = {k * c, -k * s, k * s, k * c};
    made->back_ = {c / k, s / k, -s / k, c / k};
  }
  if (words == "eqc") {
    // x = R cos(phi1) lambda, y = R phi. [Snyder87] 12-1, 12-2.
    const double parallel =
        std::cos(degreesOf(valueOf(projcs, "Standard_Parallel_1"), angle) * kDegree);
    if (!(parallel > 0.0)) return noFormula(" with this Standard_Parallel_1");
    made->perLongitude_ = radius * parallel;
    made->perLatitude_ = radius;
    return made;
  }
  made->module_ = module(e.cause());
  const Taken first = made->module_ ? made->take(e.cause()) : Taken();
  if (!first.operation) {
    e.fail(kNoFormula, "PROJ cannot compute the projection \"%.60s\"", name.data());
    return nullptr;
  }
  made->giveBack(first);
  return made;
}

Operation::~Operation() {
  const auto end = [this](const std::atomic<void *> &place) {
    if (void *operation = place.load(std::memory_order_relaxed))
      module_->operationDelete(operation);
  };
  for (const Owned &place : owned_) end(place.operation);
  for (const auto &place : shared_) end(place);
}

Operation::Taken Operation::take(Oerr_Report **err) const {
  constexpr ptrdiff_t kTried = 4;
  const auto self = static_cast<uintptr_t>(pthread_self());
  const ptrdiff_t start = firstPlace(self) - owned_.data();
  for (ptrdiff_t i = start; i < start + kTried; ++i) {
    Owned &place = owned_[static_cast<size_t>(i) % kPlaces];
    uintptr_t owner = place.owner.load(std::memory_order_relaxed);
    if (owner != self && (owner != 0 || !place.owner.compare_exchange_strong(
                                            owner, self, std::memory_order_relaxed)))
      continue;
    void *operation = place.operation.load(std::memory_order_acquire);
    if (!operation) operation = module_->operationNew(definition_.c_str(), err);
    return {operation, &place};
  }
  return takeShared(err);
}

Operation::Taken Operation::takeShared(Oerr_Report **err) const {
  for (auto &place : shared_)
    if (place.load(std::memory_order_relaxed))
      if (void *operation = place.exchange(nullptr, std::memory_order_acquire))
        return {operation, nullptr};
  return {module_->operationNew(definition_.c_str(), err), nullptr};
}

void Operation::giveBack(Taken taken) const {
  if (taken.place) return taken.place->operation.store(taken.operation, std::memory_order_release);
  for (auto &place : shared_) {
    void *empty = nullptr;
    if (place.compare_exchange_strong(empty, taken.operation, std::memory_order_release,
                                      std::memory_order_relaxed))
      return;
  }
  module_->operationDelete(taken.operation);
}

bool Operation::run(bool forward, double *points, size_t count, Oerr_Report **err) const {
  if (perLatitude_ != 0.0) {
    for (double *p = points; p != points + 2 * count; p += 2) {
      p[0] = forward ? p[0] * perLongitude_ : p[0] / perLongitude_;
      p[1] = forward ? p[1] * perLatitude_ : p[1] / perLatitude_;
    }
    return true;
  }
  const Taken taken = take(err);
  if (!taken.operation) return false;
  const auto &m = forward ? turn_ : back_;
  const auto turn = [&] {
    for (double *p = points; p != points + 2 * count; p += 2) {
      if (!forward) p[0] += origin_[0], p[1] += origin_[1];
      const double x = p[0], y = p[1];
      p[0] = m[0] * x + m[1] * y;
      p[1] = m[2] * x + m[3] * y;
      if (forward) p[0] -= origin_[0], p[1] -= origin_[1];
    }
  };
  if (turned_ && !forward) turn();
  module_->transform(taken.operation, forward, points, count);
  if (turned_ && forward) turn();
  giveBack(taken);
  return true;
}

}  // namespace orvik::engine
