// Names of the reference tables as users write them: any case, aliases, the nearest candidates for
// a name that is not there. All throw Stop with kUnusable.
#ifndef OPRJ_APPS_NAMES_H
#define OPRJ_APPS_NAMES_H

#include "program.h"

namespace program {

/// The message, with the names nearest to `query` when there are any.
std::string withNearest(const std::string &message, std::string_view query,
                        const std::vector<std::string> &names);

/// A projection of the dictionary by name or number.
const Oprj_Query &findProjection(const Oprj_InitData &data, const std::string &name);

/// The exact name of a spheroid written in any case or by an alias.
std::string findSpheroid(const Oprj_InitData &data, const std::string &name);

/// A datum written in any case, with the spheroid that it belongs to.
struct FoundDatum {
  std::string spheroid, datum;
};
FoundDatum findDatum(const Oprj_InitData &data, const std::string &name);

/// The North American Datums by which State Plane zones are told apart.
struct NadDatum {
  int32_t code;  ///< as slot 0 of a State Plane record
  const char *key, *datum, *spheroid;
};
inline constexpr NadDatum kNadDatums[] = {{1, "27", "NAD27", "Clarke 1866"},
                                          {2, "83", "NAD83", "GRS 1980"},
                                          {3, "harn", "HARN", "GRS 1980"}};
/// The value of the key `nad`.
const NadDatum &findNad(const std::string &value);
/// The one that a datum is, or is a variant of ("NAD27 (CONUS)"); null for all other datums.
const NadDatum *nadOfDatum(std::string_view datumName);

/// A State Plane zone by number, FIPS code, or state and zone name.
int32_t findZone(Oint_Toolkit *toolkit, const Oprj_InitData &data, const std::string &text,
                 const NadDatum &nad);

}  // namespace program

#endif
