#include "layout.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <tuple>
#include <utility>

namespace program {
namespace {

using Names = std::vector<std::string>;

using UsualWords = std::vector<const char *>;

/// What coordinate columns are usually called, the more telling names first.
struct UsualNames {
  UsualWords x, y;
};
/// Darwin Core calls them decimalLongitude and decimalLatitude, or as they were found: verbatim.
const UsualNames kGeographicNames = {
    {"longitude", "lon", "long", "lng", "decimallongitude", "longitud", "verbatimlongitude"},
    {"latitude", "lat", "decimallatitude", "latitud", "verbatimlatitude"}};
const UsualNames kPlaneNames = {{"easting", "east", "x", "xcoord", "rechtswert", "este"},
                                {"northing", "north", "y", "ycoord", "hochwert", "norte"}};
/// Names that say nothing when other words stand beside them.
const UsualNames kLetterNames = {{"e"}, {"n"}};
const UsualWords kHeightNames = {
    "height", "elevation", "elev",  "altitude", "alt", "ellipsoidalheight",
    "h",      "z",         "hoehe", "zcoord"};

Names namesOf(std::string_view line, Delimiter delimiter) {
  Names names;
  for (const std::string_view field : splitLine(line, delimiter))
    names.push_back(plainField(field));
  return names;
}

int32_t indexOf(const Names &names, const std::string &wanted) {
  for (size_t i = 0; i < names.size(); ++i) {
    if (ostr_EqualIgnoringCase(names[i].c_str(), wanted.c_str())) return static_cast<int32_t>(i);
  }
  return -1;
}

/// A column that is called one of the names; -1 when there is none.
int32_t called(const Names &names, const UsualWords &usual) {
  for (const char *name : usual) {
    if (const int32_t index = indexOf(names, name); index >= 0) return index;
  }
  return -1;
}

/// Whether one of the names is a word of the text, as in "Longitude (deg)" and "POINT_X"; a text
/// with a number beside it ("x 5") is data.
bool mentions(std::string_view text, const UsualWords &usual) {
  bool found = false;
  std::string word;
  if (text.find_first_of("\",;\t") != std::string_view::npos) return false;  // several fields
  const auto finish = [&] {
    if (!word.empty() && word.find_first_not_of("0123456789") == std::string::npos) return false;
    for (const char *name : usual) {
      const std::string_view whole = name;
      found = found || word == whole || (whole.size() > 5 && word.starts_with(whole));
    }
    word.clear();
    return true;
  };
  for (const char c : lower(text)) {
    if (std::isalnum(static_cast<unsigned char>(c))) word += c;
    else if (!finish()) return false;
  }
  return finish() && found;
}

/// The one column that mentions one of the names; -1 when there is none, or are several.
int32_t mentioned(const Names &names, const UsualWords &usual) {
  int32_t found = -1;
  for (size_t i = 0; i < names.size(); ++i) {
    if (!mentions(names[i], usual)) continue;
    if (found >= 0) return -1;
    found = static_cast<int32_t>(i);
  }
  return found;
}

using Columns = std::optional<std::pair<int32_t, int32_t>>;

/// The columns whose names say that they hold the coordinates of such a system.
Columns usualColumns(const Names &names, bool geographic, bool exactly) {
  const UsualNames *families[] = {&kGeographicNames, &kPlaneNames, &kLetterNames};
  if (!geographic) std::swap(families[0], families[1]);
  std::vector<std::pair<int, int>> pairs = {{0, 0}, {1, 1}, {0, 1}, {1, 0}};
  if (exactly) pairs.emplace_back(2, 2);
  const auto find = exactly ? called : mentioned;
  for (const auto &[xFamily, yFamily] : pairs) {
    const int32_t x = find(names, families[xFamily]->x), y = find(names, families[yFamily]->y);
    if (x >= 0 && y >= 0 && x != y) return {{x, y}};
  }
  return {};
}

bool usualX(const std::string &name) {
  return mentions(name, kGeographicNames.x) || mentions(name, kPlaneNames.x);
}
bool usualY(const std::string &name) {
  return mentions(name, kGeographicNames.y) || mentions(name, kPlaneNames.y);
}

/// Numbers that are none of the coordinates they look like: null, or what is wrong.
const char *misread(std::string_view line, Delimiter delimiter) {
  const std::vector<std::string_view> words = splitLine(line, {' '});
  if (delimiter.character == ',' && words.size() > 1 && hasDecimalComma(words[0]) &&
      hasDecimalComma(words[1]))
    return "the coordinates have a decimal comma (see --decimal-comma)";  // 77,5 38,25
  if (!delimiter.blanks()) return nullptr;
  const auto stands = [&](std::string_view letters) {
    return std::any_of(words.begin(), words.end(), [&](std::string_view word) {
      return word.size() == 1 && letters.find(word[0]) != std::string_view::npos;
    });
  };
  return stands("EWew") && stands("NSns")  // 77 30 00 W 38 15 00 N
             ? "degrees, minutes and seconds apart by blanks need another separator between the "
               "coordinates"
             : nullptr;
}

std::string quoted(std::string_view text) {
  constexpr size_t kShown = 60;
  return "\"" + std::string(text.substr(0, kShown)) + (text.size() > kShown ? "..." : "") + "\"";
}

}  // namespace

void LayoutWishes::readColumns(const std::string &text) {
  if (text.empty()) return;
  const size_t comma = text.find(',');
  if (comma == std::string::npos) throw Stop(kUsage, "--columns takes two columns: X,Y");
  hasColumns = true;
  const std::pair<Column *, std::string_view> parts[] = {
      {&x, trimmed(std::string_view(text).substr(0, comma))},
      {&y, trimmed(std::string_view(text).substr(comma + 1))}};
  for (const auto &[column, part] : parts) {
    constexpr int32_t kMost = 10000;
    column->name = part;
    int32_t number;
    if (part.empty()) throw Stop(kUsage, "--columns takes two columns: X,Y");
    if (!ostr_ToInt32(column->name.c_str(), &number)) continue;
    if (number < 1 || number > kMost) throw Stop(kUsage, "--columns: columns are counted from 1");
    column->number = number - 1;
  }
  if (ostr_EqualIgnoringCase(x.name.c_str(), y.name.c_str()) ||
      (x.number >= 0 && x.number == y.number))
    throw Stop(kUsage, "--columns: the two columns are the same");
  if (byName() && header == "no")
    throw Stop(kUsage, "--columns by name needs a header, and --header no says that there is none");
}

LayoutFinder::LayoutFinder(const LayoutWishes &wishes, const System &from, const Console &console)
    : wishes_(wishes), from_(from), console_(console) {
  if (wishes.decimalComma) layout_.decimalPoint = ',';
  if (wishes.x.number >= 0) layout_.xColumn = wishes.x.number;
  if (wishes.y.number >= 0) layout_.yColumn = wishes.y.number;
  if (wishes.swapped) std::swap(layout_.xColumn, layout_.yColumn);
}

std::vector<Delimiter> LayoutFinder::candidates(std::string_view line) const {
  const std::string &asked = wishes_.delimiter;
  if (asked == "comma") return {{','}};
  if (asked == "semicolon") return {{';'}};
  if (asked == "tab") return {{'\t'}};
  if (asked == "blank") return {{' '}};
  if (separator_) return {{separator_}};
  std::vector<Delimiter> all;
  for (const char c : separatorsIn(line)) {
    if (c != ',' || !wishes_.decimalComma) all.push_back({c});
  }
  return all.empty() ? std::vector<Delimiter>{{' '}} : all;
}

/// "sep=;" in the first line, as spreadsheets write it.
bool LayoutFinder::takeSeparator(std::string_view line) {
  const std::string text = lower(bareField(line));
  if (text.size() != 5 || !text.starts_with("sep=")) return false;
  separator_ = text.back();
  return true;
}

LayoutFinder::Line LayoutFinder::takeLine(const std::string &file, std::string_view line) {
  constexpr int32_t kHeaderLines = 20;  // titles stand above it, but not more
  if (isBlankLine(line)) return Line::kPassedOn;
  const bool first = linesSeen_ == 0;
  if (linesSeen_ < kHeaderLines) ++linesSeen_;
  const bool comment = isComment(line) && wishes_.header != "yes";
  pointInComment_ = comment && takeData(line);
  if (comment || (first && takeSeparator(line))) return Line::kPassedOn;
  layout_.delimiter = candidates(line).front();
  if (wishes_.header != "no" && linesSeen_ < kHeaderLines && takeHeader(file, line)) {
    settled_ = true;
    tell("a header");
    return Line::kHeader;
  }
  settled_ = takeData(line);
  if (settled_) tell("no header");
  else if (!std::exchange(warned_, true) && wishes_.header == "auto")
    warnOfStrangeNames(file, line);
  return settled_ ? Line::kPoint : Line::kUnreadable;
}

/// By names that say which columns hold the coordinates, or because the options say so.
bool LayoutFinder::takeHeader(const std::string &file, std::string_view line) {
  for (const bool exactly : {true, false}) {
    for (const Delimiter delimiter : candidates(line)) {
      if (takeHeaderWith(file, line, delimiter, exactly)) return true;
    }
  }
  if (!wishes_.byName() && wishes_.header == "auto") return false;
  const Names names = namesOf(line, layout_.delimiter);
  for (const LayoutWishes::Column *column : {&wishes_.x, &wishes_.y}) {
    if (!wishes_.hasColumns || column->number >= 0 || indexOf(names, column->name) >= 0) continue;
    const std::string near = nearest(column->name, names);
    throw Stop(kUsage, file + ": --columns: the first line has no column \"" + column->name + "\"" +
                           (near.empty() ? "" : " (did you mean " + near + "?)"));
  }
  throw Stop(kUsage, file + ": the header " + quoted(line) + " has too few columns");
}

/// Whether a header's cell would be a coordinate if it were none.
bool LayoutFinder::holdsNumber(const Names &names, int32_t column, Notation notation) const {
  double ignored;
  return static_cast<size_t>(column) < names.size() &&
         !readNumber(names[static_cast<size_t>(column)], notation, &ignored, layout_.decimalPoint);
}

bool LayoutFinder::takeHeaderWith(const std::string &file, std::string_view line,
                                  Delimiter delimiter, bool exactly) {
  const Names names = namesOf(line, delimiter);
  const auto count = static_cast<int32_t>(names.size());
  const Columns usual = usualColumns(names, from_.geographic, exactly);
  const bool asked = wishes_.header == "yes";
  int32_t x = layout_.xColumn, y = layout_.yColumn;
  if (!wishes_.hasColumns) {
    if (!usual && (!asked || exactly || count < 2)) return false;
    // a row of data may hold such words too ("Long Beach,North Shore")
    const int numbers =
        holdsNumber(names, x, from_.xNotation()) + holdsNumber(names, y, from_.yNotation());
    const bool sure =
        exactly && usual && mentions(names[static_cast<size_t>(usual->first)], kGeographicNames.x);
    if (!asked && numbers > (sure ? 1 : 0)) return false;
    if (usual) std::tie(x, y) = *usual;
    if (usual && wishes_.swapped) std::swap(x, y);
  } else {
    if (wishes_.byName()) {
      const auto find = [&](const LayoutWishes::Column &column) {
        return column.number >= 0 ? column.number : indexOf(names, column.name);
      };
      x = find(wishes_.x), y = find(wishes_.y);
      if (x < 0 || y < 0) return false;
      if (wishes_.swapped) std::swap(x, y);
    }
    if (x >= count || y >= count) {
      if (!usual) return false;
      throw Stop(kUsage, file + ": --columns: the header has no column " +
                             std::to_string(std::max(x, y) + 1));
    }
  }
  const std::string &xName = names[static_cast<size_t>(x)], &yName = names[static_cast<size_t>(y)];
  const bool inOrder = usualX(xName) && usualY(yName), isSwapped = usualY(xName) && usualX(yName);
  if (wishes_.hasColumns && !asked) {
    if (!wishes_.byName() && !inOrder && !isSwapped) return false;
    if (holdsNumber(names, x, from_.xNotation()) || holdsNumber(names, y, from_.yNotation()))
      return false;
  }
  const bool isLatitude = mentions(xName, kGeographicNames.y);
  if (isSwapped && !inOrder && (isLatitude || !wishes_.swapped))
    console_.warn(file + ": " + (wishes_.swapped ? "--swap-in" : "--columns") + " takes " +
                  quoted(xName) + " for x (longitude) and " + quoted(yName) + " for y (latitude)");
  layout_.delimiter = delimiter;
  layout_.xColumn = x;
  layout_.yColumn = y;
  heightColumn_ = called(names, kHeightNames);
  if (heightColumn_ < 0) heightColumn_ = mentioned(names, kHeightNames);
  return true;
}

bool LayoutFinder::takeData(std::string_view line) {
  reason_ = nullptr;
  for (const Delimiter delimiter : candidates(line)) {
    const Coordinates at = findCoordinates(line, delimiter, layout_.xColumn, layout_.yColumn);
    const char *reason = "the line has too few columns";
    double ignored;
    if (at.x.data() && at.y.data()) {
      reason = readNumber(at.x, from_.xNotation(), &ignored, layout_.decimalPoint);
      if (!reason) reason = readNumber(at.y, from_.yNotation(), &ignored, layout_.decimalPoint);
      if (!reason) reason = misread(line, delimiter);
    }
    if (!reason) {
      layout_.delimiter = delimiter;
      return true;
    }
    if (!reason_) reason_ = reason;
  }
  return false;
}

/// A first line of words may be a header whose names say nothing: its order would be taken for
/// longitude first.
void LayoutFinder::warnOfStrangeNames(const std::string &file, std::string_view line) const {
  const Names names = namesOf(line, layout_.delimiter);
  double ignored;
  for (const std::string &name : names) {
    if (!readNumber(name, from_.xNotation(), &ignored) || hasDecimalComma(name)) return;
  }
  if (names.size() < 2 || lower(line).find("nan") != std::string::npos) return;
  console_.warn(file + ": the first line " + quoted(line) +
                " is no header that names the coordinates: it is taken as a point, and column " +
                std::to_string(layout_.xColumn + 1) + " as " +
                (from_.geographic ? "longitude" : "easting") + " (see --header, --columns)");
}

void LayoutFinder::tell(const char *header) const {
  const char c = layout_.delimiter.character;
  console_.detail("delimiter " +
                  (c == ' '    ? "blanks"
                   : c == '\t' ? "tab"
                               : std::string(1, c)) +
                  ", " + header + ", x (or longitude) in column " +
                  std::to_string(layout_.xColumn + 1) + ", y (or latitude) in column " +
                  std::to_string(layout_.yColumn + 1));
}

}  // namespace program
