// Zones behind plain projections: systems are State Plane or UTM by their parameters, never by
// name.
#include <oprj/families.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "interchange/translation_parts.h"
#include "interchange/transverse_mercator.h"
#include "tables/table_records.h"
#include "toolkit/nearest.h"

namespace orvik::oprj {
namespace {

// Texts have fifteen digits at least; the tables of zones have the exact fractions.
constexpr double kAngle = 1e-9 * kRadiansPerDegree;
constexpr double kScale = 1e-9;
constexpr double kLength = 1e-3;  // m

bool near(double first, double second, double tolerance) {
  return std::fabs(first - second) <= tolerance;
}

/// What zones are told by: the entries of the projection below, and which constant of the zone's
/// row is its false easting.
struct ZoneKind {
  int32_t number, kind;
  bool parallels, scale, azimuth;
  int32_t falseEasting;
};
constexpr ZoneKind kKinds[] = {{9, 1, false, true, false, 7},
                               {4, 2, true, false, false, 7},
                               {7, 3, false, false, false, 4},
                               {64, 4, false, true, true, 7}};

/// The datum generation as slot 0 of a State Plane record has it; 0 for other datums.
int32_t generationOf(std::string_view engineDatum) {
  std::string name = lower(engineDatum);
  if (name.starts_with("d_")) name.erase(0, 2);
  if (name == "north_american_1927") return 1;
  if (!name.starts_with("north_american_1983") && !name.starts_with("nad_1983")) return 0;
  return name.find("harn") != std::string::npos ? 3 : 2;
}

bool sameEntries(const ZoneKind &kind, const double *zone, const double *record) {
  const bool crossed = near(zone[2], record[3], kAngle) && near(zone[3], record[2], kAngle);
  const bool straight = near(zone[2], record[2], kAngle) && near(zone[3], record[3], kAngle);
  return (!kind.parallels || straight || crossed) &&
         (!kind.scale || near(zone[2], record[2], kScale)) &&
         (!kind.azimuth || near(zone[3], record[3], kAngle)) && near(zone[4], record[4], kAngle) &&
         near(zone[5], record[5], kAngle) && near(zone[6], record[6], kLength) &&
         near(zone[7], record[7], kLength);
}

/// Gives a record the number and the entries of a system of zones.
void makeZone(const Tables &tables, int32_t number, int32_t zone, Oprj_ProParameters &record) {
  setNumber(tables, number, record);
  record.proZone = zone;
  std::fill_n(record.proParams.data, record.proParams.count, 0.0);
}

bool narrowToStatePlane(const Tables &tables, std::string_view engineDatum, std::string_view system,
                        Oprj_ProParameters &record) {
  const auto kind = std::ranges::find(kKinds, record.proNumber, &ZoneKind::number);
  const int32_t generation = generationOf(engineDatum), table = generation == 1 ? 1 : 2;
  if (kind == std::end(kKinds) || generation == 0) return false;
  const Oprj_Spheroid &spheroid = *record.proSpheroid;
  const double *slots = record.proParams.data;

  OwnedParameters probe(tables.need(oprj_ProParametersCreate(tables.e.cause())));
  const auto entriesOf = [&](const Oprj_SPTableEntry &entry) {
    if (probe->proNumber != 2) {
      tables.need(oprj_DblArrayCreate(1, &probe->proParams, tables.e.cause()));
      probe->proNumber = 2;
      probe->proParams.data[0] = generation;
    }
    probe->proZone = entry.zoneNumber;
    return OwnedParameters(
        tables.need(oprj_StatePlaneDetailsGet(tables.toolkit, probe.get(), tables.e.cause())));
  };
  std::vector<const Oprj_SPTableEntry *> found;
  for (const auto *entry = tables.data.statePlaneTable; entry; entry = entry->next) {
    const double *constants = entry->parameters.data;
    if (entry->nadCode != table || entry->projectionNumber != kind->kind ||
        entry->parameters.count < kZoneConstants || !near(constants[0], spheroid.a, kLength) ||
        !near(constants[1], spheroid.b, kLength) ||
        !near(constants[kind->falseEasting], slots[6], kLength) ||
        !near(ocvt_GCTPPackedDMS2Radians(constants[2], nullptr), slots[4], kAngle))
      continue;
    if (sameEntries(*kind, entriesOf(*entry)->proParams.data, slots)) found.push_back(entry);
  }
  if (found.empty()) return false;
  // Two zones may be one system (New Jersey and New York East since NAD83): the name may tell
  // which.
  const auto named = std::ranges::find_if(found, [system](const Oprj_SPTableEntry *entry) {
    std::string code = std::to_string(-entry->fipsCode);
    code.insert(0, code.size() < 4 ? 4 - code.size() : 0, '0');
    return system.find(code) != std::string_view::npos;
  });
  makeZone(tables, 2, (named == found.end() ? found.front() : *named)->zoneNumber, record);
  record.proParams.data[0] = generation;
  return true;
}

void narrowToUTM(const Tables &tables, Oprj_ProParameters &record) {
  const double *slots = record.proParams.data;
  if (record.proNumber != 9) return;
  const auto zone = utmZoneOf({slots[4], slots[5], slots[2], slots[6], slots[7]});
  if (!zone) return;
  makeZone(tables, 1, zone->number, record);
  record.proParams.data[3] = zone->south ? -1.0 : 0.0;
}

}  // namespace

void setNumber(const Tables &tables, int32_t number, Oprj_ProParameters &record) {
  const Oprj_Query *query =
      tables.need(oprj_QueryByNumber(tables.toolkit, number, tables.e.cause()));
  if (!setProjection(record, *query)) throw std::bad_alloc();
}

void narrowToZone(const Tables &tables, std::string_view engineDatum, std::string_view system,
                  Oprj_ProParameters &record) {
  if (!narrowToStatePlane(tables, engineDatum, system, record)) narrowToUTM(tables, record);
}

void moveOffsets(double sign, const Oprj_Spheroid &spheroid, double *slots) {
  const double a = spheroid.a, es = 1 - spheroid.b * spheroid.b / (a * a);
  const double scale = slots[2], azimuth = slots[3], phi = slots[5];
  const double sine = std::sin(phi), cosine = std::cos(phi);
  // [Snyder87] 9-11, 9-12, 9-13 and 9-39.
  const double w = 1 - es * sine * sine;
  const double B = std::sqrt(1 + es * cosine * cosine * cosine * cosine / (1 - es));
  const double A = a * B * scale * std::sqrt(1 - es) / w;
  const double D = B * std::sqrt(1 - es) / (cosine * std::sqrt(w));
  const double u = std::copysign(A / B, phi) *
                   std::atan(std::sqrt(std::max(D * D - 1, 0.0)) / std::cos(azimuth));
  slots[6] += sign * u * std::sin(azimuth);
  slots[7] += sign * u * std::cos(azimuth);
}

}  // namespace orvik::oprj
