// Names of the reference tables as people write them: any case, without regard to blanks and signs,
// common names, the nearest candidates for a name that is not there.
#ifndef OPRJ_INTERCHANGE_TEXT_NAMES_H
#define OPRJ_INTERCHANGE_TEXT_NAMES_H

#include <oprj/text.h>

#include <string>
#include <string_view>
#include <vector>

#include "tables/reference_data.h"

namespace orvik::oprj {

/// Why a text is no system: thrown inside of this room, a report at its edge.
struct TextRefusal {
  int32_t kind;  ///< OPRJ_TEXT_...
  std::string message;
  std::vector<std::string> suggestions = {};  ///< none of them is in the message
  std::string more = {};                      ///< what the message tells behind them
};

/// The notes of a reading, in their order.
class Notes {
 public:
  void add(int32_t kind, std::string text) { notes_.push_back({kind, std::move(text)}); }
  /// The list for a caller; throws std::bad_alloc.
  Oprj_Note *release() const;

 private:
  struct Note {
    int32_t kind;
    std::string text;
  };
  std::vector<Note> notes_;
};

std::string lower(std::string_view text);
std::string_view trimmed(std::string_view text);
/// A number of a zone in arabic digits: "5" for "V"; what is no Roman number stays.
std::string arabic(const std::string &word);
/// `"TEXT"`
inline std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

/// A projection of the dictionary by name or number.
const Oprj_Query &findProjection(const Oprj_InitData &data, const std::string &name);

const Oprj_SpheroidTableEntry &findSpheroid(const Oprj_InitData &data, const std::string &name,
                                            Notes &notes);

/// A datum with the spheroid that it belongs to.
struct FoundDatum {
  const Oprj_SpheroidTableEntry *spheroid = nullptr;
  const Oprj_DatumTableEntry *datum = nullptr;
};
FoundDatum findDatum(const Oprj_InitData &data, const std::string &name, Notes &notes);

/// The value of the key `nad`.
const NadDatum &findNad(const std::string &value);
/// The one that a datum is, or is a variant of ("NAD27 (CONUS)"); null for all other datums.
const NadDatum *nadOfDatum(std::string_view datumName);

/// The number of a State Plane zone by number, FIPS code, or state and zone name.
int32_t findZone(Oint_Toolkit *toolkit, const Oprj_InitData &data, const std::string &text,
                 const NadDatum &nad);

}  // namespace orvik::oprj

#endif
