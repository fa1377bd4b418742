#include "program.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "fields.h"

namespace program {

namespace {

/// How many bytes of well-formed UTF-8 begin the text, at most a character; 0: none.
size_t characterLength(std::string_view text) {
  const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  const size_t length = first < 0x80                    ? 1
                        : first >= 0xC2 && first < 0xE0 ? 2
                        : first >= 0xE0 && first < 0xF0 ? 3
                        : first >= 0xF0 && first < 0xF5 ? 4
                                                        : 0;
  if (length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // longer than needed, a half of a UTF-16 pair, beyond the last character
  const bool excluded =
      length > 2 && ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) >= 0xA0) ||
                     (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90));
  return excluded ? 0 : length;
}

/// Calls `character(bytes)` for each character and `stray(byte)` for each byte that belongs to
/// none.
template <class Character, class Stray>
void forEachCharacter(std::string_view text, Character character, Stray stray) {
  while (!text.empty()) {
    const size_t length = characterLength(text);
    if (length > 0) character(text.substr(0, length));
    else stray(static_cast<unsigned char>(text.front()));
    text.remove_prefix(std::max<size_t>(length, 1));
  }
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  const auto escape = [&](unsigned code) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02x", code);
    result += escaped;
  };
  forEachCharacter(
      text,
      [&](std::string_view character) {
        const auto first = static_cast<unsigned char>(character[0]);
        const auto last = static_cast<unsigned char>(character.back());
        if (character == "\n") result += "\\n";
        else if (character == "\t") result += "\\t";
        else if (first < 0x20 || first == 0x7F) escape(first);
        else if (first == 0xC2 && last < 0xA0) escape(last);  // of Latin-1
        else result += character;
      },
      escape);
  return result;
}

void tell(const std::string &line) { std::fprintf(stderr, "%s\n", printable(line).c_str()); }

void Console::warn(const std::string &text) const {
  warnings.push_back(text);
  if (!quiet) tell("oprj: warning: " + text);
}

void Console::detail(const std::string &text) const {
  if (verbose) tell("oprj: " + text);
}

std::string Slot::text() const {
  std::string all;
  for (const Oerr_Report *report = report_; report; report = oerr_CauseGet(report))
    all += (all.empty() ? "" : ": ") + std::string(oerr_MessageGet(report));
  return all;
}

std::string Slot::rootMessage() const { return oerr_MessageGet(oerr_RootCauseGet(report_)); }

namespace {

namespace fs = std::filesystem;

/// Where reference data lies that no variable names: beside the program, installed or built.
fs::path dataFolder() {
  std::error_code ignored;
  const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
  return program.parent_path().parent_path() / OPRJ_INSTALL_DATA;
}

/// Where a variable leads, for what is told when nothing is there.
std::string placeOf(const char *variable) {
  const char *value = std::getenv(variable);
  return value && *value ? std::string(variable) + "=" + value
                         : std::string(variable) + " is not set, and \"" + dataFolder().string() +
                               "\" is not there";
}

/// A table that stayed empty: every lookup would fail without telling why.
Stop emptyTable(const char *table, const char *variable) {
  return {kUnusable, std::string("there is no ") + table + ": " + placeOf(variable)};
}

}  // namespace

void logTo(const Console &console) {
  oerr_LogSinkSet(
      [](const char *line, void *context) { static_cast<const Console *>(context)->warn(line); },
      const_cast<Console *>(&console));
}

Oint_Toolkit *startLibrary(const Console &console) {
  logTo(console);
  std::error_code ignored;
  const fs::path folder = dataFolder();
  const bool found = fs::is_regular_file(folder / "mapprojections.dat", ignored);
  for (const char *variable : {"ORVIK_PROJECTIONS_PATH", "ORVIK_DATUMS_PATH"}) {
    const char *value = std::getenv(variable);
    const bool isSet = value && *value;
    // A folder of one's own datums and grids adds to the installed ones and wins over them.
    const bool adds = isSet && std::string_view(variable) == "ORVIK_DATUMS_PATH";
    if (!found || (isSet && !adds)) continue;
    setenv(variable, adds ? (std::string(value) + ";" + folder.string()).c_str() : folder.c_str(),
           1);
    if (!isSet) console.detail(std::string(variable) + " is not set; using " + folder.string());
  }
  oprj_ExternalAllow(console.allowExternal);
  Slot err;
  Oint_Toolkit *toolkit = oint_InitToolkit(err.get());
  if (!toolkit) throw Stop(kUnusable, "the library cannot start: " + err.text());
  const Oprj_InitData *data = oprj_InitDataGet(toolkit, err.get());
  if (data && !data->queryTable)
    throw emptyTable("projection dictionary (mapprojections.dat)", "ORVIK_PROJECTIONS_PATH");
  if (data && !data->spheroidTable)
    throw emptyTable("table of spheroids (spheroid*.tab)", "ORVIK_DATUMS_PATH");
  if (!data)
    throw Stop(kUnusable, "the reference data cannot be loaded (" +
                              placeOf("ORVIK_PROJECTIONS_PATH") + "): " + err.rootMessage());
  return toolkit;
}

const Oprj_InitData &referenceData(Oint_Toolkit *toolkit) {
  Slot err;
  const Oprj_InitData *data = oprj_InitDataGet(toolkit, err.get());
  if (!data) throw Stop(kUnusable, "the reference data cannot be loaded: " + err.text());
  return *data;
}

std::string referenceFile(const char *name) {
  Slot err;
  Ofio_SearchList *list = ofio_CreateSLFromEnv("ORVIK_PROJECTIONS_PATH", nullptr, err.get());
  if (!list) throw Stop(kUnusable, err.text());
  const OwnedText found(ofio_Which(list, name, err.get()));
  ofio_SearchListFree(&list);
  if (found) return found.get();
  std::error_code ignored;
  if (const fs::path beside = dataFolder() / name; fs::is_regular_file(beside, ignored))
    return beside;
  throw Stop(kUnusable, "a file of the reference data is missing: " + err.text());
}

std::string numberText(double value, int digits) {
  char text[kLongestNumber];
  return {text, digits < 0 ? writeShortest(text, value) : writeFixed(text, value, digits)};
}

std::string pointsThat(int64_t count, const char *verb, const char *verbOfMany) {
  return std::to_string(count) + (count == 1 ? " point " : " points ") +
         (count == 1 ? verb : verbOfMany);
}

std::string lower(std::string_view text) {
  std::string result(text);
  for (char &c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::string nearest(std::string_view query, const std::vector<std::string> &names) {
  if (names.empty()) return {};
  std::vector<const char *> texts;
  for (const std::string &name : names) texts.push_back(name.c_str());
  const char *found[3];
  const int32_t count = ostr_NearestNames(std::string(query).c_str(), texts.data(),
                                          static_cast<int32_t>(texts.size()), found);
  std::string text;
  for (int32_t i = 0; i < count; ++i)
    text += (i == 0 ? "\"" : ", \"") + std::string(found[i]) + "\"";
  return text;
}

std::string jsonText(std::string_view text) {
  std::string result = "\"";
  forEachCharacter(
      text,
      [&](std::string_view character) {
        if (character == "\"" || character == "\\") {
          result += '\\';
        } else if (const auto code = static_cast<unsigned char>(character[0]); code < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", code);
          result += escaped;
          return;
        }
        result += character;
      },
      [&](unsigned) { result += "\xEF\xBF\xBD"; });  // U+FFFD
  return result + "\"";
}

}  // namespace program
