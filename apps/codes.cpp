#include "codes.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

#include "names.h"

namespace program {
namespace {

/// Letters and digits alone, small ones.
std::string bare(std::string_view name) {
  std::string made;
  for (const char c : lower(name)) {
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<signed char>(c) < 0)
      made += c;
  }
  return made;
}

/// The next field of a line: a word, or a text in quotes.
std::string takeField(std::string_view &line) {
  const bool quoted = line.starts_with('"');
  if (quoted) line.remove_prefix(1);
  const size_t end = std::min(line.find(quoted ? '"' : ' '), line.size());
  std::string field(line.substr(0, end));
  line.remove_prefix(std::min(end + 1, line.size()));
  if (quoted && line.starts_with(' ')) line.remove_prefix(1);
  return field;
}

Code readCode(std::string_view line) {
  Code code;
  const auto number = [&line] { return std::stod(takeField(line)); };
  code.authority = takeField(line);
  code.number = std::stoi(takeField(line));
  code.projected = takeField(line) == "projected";
  code.area.west = number();
  code.area.south = number();
  code.area.east = number();
  code.area.north = number();
  code.name = takeField(line);
  code.engineName = takeField(line);
  code.deprecated = takeField(line) == "deprecated";
  return code;
}

struct DeleteObject {
  void operator()(Oawp_PE_Object *object) const { oawp_PE_pe_coordsys_del(object); }
};
using Engine = std::unique_ptr<Oawp_PE_Object, DeleteObject>;

/// The object of that code in a list of all of its kind, which is freed.
Engine listed(Oawp_PE_Object **list, int32_t count, int32_t number) {
  Engine found;
  for (int32_t i = 0; i < count && !found; ++i) {
    if (oawp_PE_pe_factory_code(list[i]) == number) found.reset(oawp_PE_pe_coordsys_clone(list[i]));
  }
  oawp_PE_pe_table_del(reinterpret_cast<void **>(list));
  return found;
}

}  // namespace

bool Area::holds(double lon, double lat, double margin) const {
  if (lat < south - margin || lat > north + margin) return false;
  const double width = east < west ? east - west + 360 : east - west;
  double off = std::fmod(lon - west + margin, 360);
  if (off < 0) off += 360;
  return off <= width + 2 * margin;
}

const std::vector<Code> &allCodes() {
  static const std::vector<Code> codes = [] {
    const std::string path = referenceFile("codes.tab");
    std::ifstream file(path);
    std::vector<Code> read;
    size_t number = 0;
    for (std::string line; std::getline(file, line);) {
      ++number;
      if (line.empty() || line[0] == '#') continue;
      try {
        read.push_back(readCode(line));
      } catch (const std::exception &) {
        throw Stop(kUnusable, path + ":" + std::to_string(number) + ": not a line of codes");
      }
    }
    if (read.empty()) throw Stop(kUnusable, "cannot read " + path);
    return read;
  }();
  return codes;
}

std::optional<Code> findCode(const std::string &text) {
  const size_t colon = text.find(':');
  const std::string authority = lower(trimmed(text.substr(0, colon)));
  if (colon != std::string::npos && (authority == "epsg" || authority == "esri")) {
    const std::string_view digits = trimmed(std::string_view(text).substr(colon + 1));
    int32_t number = 0;
    const auto [end, problem] = std::from_chars(digits.begin(), digits.end(), number);
    if (problem != std::errc() || end != digits.end())
      throw Stop(kUnusable, "\"" + text + "\": a code is a number, as in EPSG:32618");
    std::vector<std::string> numbers;
    for (const Code &code : allCodes()) {
      if (lower(code.authority) != authority) continue;
      if (code.number == number) return code;
      numbers.push_back(code.text());
    }
    throw Stop(kUnusable, withNearest("there is no coordinate system " + text, text, numbers) +
                              "; `oprj list codes WORDS` finds them");
  }
  const std::string wanted = bare(text);
  const Code *found = nullptr;
  if (wanted.empty()) return {};
  for (const Code &code : allCodes()) {
    if ((bare(code.name) == wanted || bare(code.engineName) == wanted) &&
        (!found || (found->deprecated && !code.deprecated)))
      found = &code;
  }
  return found ? std::optional<Code>(*found) : std::nullopt;
}

std::vector<const Code *> codesWith(const std::vector<std::string> &words) {
  std::vector<const Code *> found;
  for (const Code &code : allCodes()) {
    const std::string all = lower(code.text() + " " + code.name + " " + code.engineName);
    if (std::all_of(words.begin(), words.end(), [&all](const std::string &word) {
          return all.find(lower(word)) != std::string::npos;
        }))
      found.push_back(&code);
  }
  return found;
}

std::string engineTextOf(const Code &code) {
  const auto isKind = code.projected ? oawp_PE_pe_projcs_p : oawp_PE_pe_geogcs_p;
  // A number may be that of objects of several kinds.
  Engine object(static_cast<Oawp_PE_Object *>(oawp_PE_pe_factory(code.number)));
  if (object && !isKind(object.get())) {
    int32_t count = 0;
    const auto list = code.projected ? oawp_PE_pe_predefined_projcs(&count)
                                     : oawp_PE_pe_predefined_geogcs(&count);
    object = listed(list, list ? count : 0, code.number);
  }
  Slot err;
  oawp_PE_ReportTake(err.get());
  if (!object) throw Stop(kUnusable, code.text() + " (" + code.name + "): " + err.rootMessage());
  const OwnedText text(oawp_PE_pe_coordsys_to_string(object.get(), nullptr, 0));
  if (!text) throw Stop(kUnusable, code.text() + ": its text cannot be made");
  return text.get();
}

}  // namespace program
