// The table of common names (names.tab): what datums and spheroids of the reference tables are
// called elsewhere.
#ifndef OPRJ_INTERCHANGE_COMMON_NAMES_H
#define OPRJ_INTERCHANGE_COMMON_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::oprj {

enum : int32_t { kDatumNames, kSpheroidNames };

/// The table names that a common name, of letters and digits alone, stands for; none when there is
/// no table. The file is read for each question: one is asked only for names that are not there.
std::vector<std::string> commonNames(int32_t kind, std::string_view name);

}  // namespace orvik::oprj

#endif
