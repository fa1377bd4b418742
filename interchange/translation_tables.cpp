#include "interchange/translation_tables.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace orvik::oprj {
namespace {

#include "interchange/translation_tables.inc"

constexpr char folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

/// A name without "D_", which marks datums in some texts and not in others.
constexpr std::string_view bare(std::string_view name) {
  const bool marked = name.size() > 2 && folded(name[0]) == 'd' && name[1] == '_';
  return name.substr(marked ? 2 : 0);
}

/// The order of the tables: letters in any case.
constexpr bool before(std::string_view first, std::string_view second) {
  first = bare(first);
  second = bare(second);
  return std::lexicographical_compare(
      first.begin(), first.end(), second.begin(), second.end(), [](char one, char other) {
        return static_cast<unsigned char>(folded(one)) < static_cast<unsigned char>(folded(other));
      });
}
constexpr bool beforeExactly(std::string_view first, std::string_view second) {
  return first < second;
}

constexpr auto kName = &NamedRow::name;
static_assert(std::ranges::is_sorted(kParameterNames, before, kName));
static_assert(std::ranges::is_sorted(kProjectionNames, before, kName));
static_assert(std::ranges::is_sorted(kDatums, before, &DatumRow::engine));
static_assert(std::ranges::is_sorted(kDatumsWritten, beforeExactly, kName));
static_assert(std::ranges::is_sorted(kSpheroids, before, &SpheroidRow::engine));
static_assert(std::ranges::is_sorted(kSpheroidsWritten, beforeExactly, kName));

template <class Table, class Order, class Name>
auto rowsOf(const Table &table, std::string_view name, Order order, Name member) {
  // Not equal_range, whose result is a range that clang 14 cannot read.
  return std::span(std::ranges::lower_bound(table, name, order, member),
                   std::ranges::upper_bound(table, name, order, member));
}
template <class Table, class Order, class Name>
auto rowOf(const Table &table, std::string_view name, Order order, Name member) {
  const auto found = rowsOf(table, name, order, member);
  return found.empty() ? nullptr : found.data();
}

}  // namespace

int parameterNumber(std::string_view name) {
  const NamedRow *found = rowOf(kParameterNames, name, before, kName);
  return found ? found->row : -1;
}
const ParameterRow &parameterRow(int number) { return kParameters[number]; }

std::span<const ProjectionRow> projectionRows() { return kProjections; }
std::span<const NamedRow> projectionsNamed(std::string_view name) {
  return rowsOf(kProjectionNames, name, before, kName);
}
std::span<const Binding> bindingsOf(const ProjectionRow &row) {
  return std::span(kBindings).subspan(row.first, row.count);
}

const DatumRow *engineDatum(std::string_view name) {
  if (const DatumRow *row = rowOf(kDatums, name, before, &DatumRow::engine)) return row;
  std::string blank(bare(name));
  std::replace(blank.begin(), blank.end(), '_', ' ');
  const NamedRow *ours = rowOf(kDatumsWritten, blank, beforeExactly, kName);
  return ours ? &kDatums[ours->row] : nullptr;
}

const char *engineDatumOf(std::string_view name) {
  for (size_t end = name.size(); end != std::string_view::npos && end > 0;
       end = name.rfind(" (", end - 1)) {
    if (const NamedRow *row = rowOf(kDatumsWritten, name.substr(0, end), beforeExactly, kName))
      return kDatums[row->row].engine;
  }
  return nullptr;
}

const SpheroidRow *engineSpheroid(std::string_view name) {
  return rowOf(kSpheroids, name, before, &SpheroidRow::engine);
}
const SpheroidRow *engineSpheroidOf(std::string_view name) {
  const NamedRow *row = rowOf(kSpheroidsWritten, name, beforeExactly, kName);
  return row ? &kSpheroids[row->row] : nullptr;
}

const Ocvt_Unit *unitOfFactor(int32_t kind, double factor) {
  for (int32_t i = 0; const Ocvt_Unit *unit = ocvt_UnitByIndex(i); ++i) {
    if (unit->kind == kind && sameFactor(unit->factor, factor)) return unit;
  }
  return nullptr;
}

}  // namespace orvik::oprj
