#include "accuracy.h"

#include <oprj/datum_model.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace program {
namespace {

/// The text in the quotes that `line` begins with, which is taken off; nothing when there are none.
bool takeQuoted(std::string_view &line, std::string &text) {
  line = trimmed(line);
  const size_t end = line.starts_with('"') ? line.find('"', 1) : line.npos;
  if (end == line.npos) return false;
  text = line.substr(1, end - 1);
  line.remove_prefix(end + 1);
  return true;
}

/// `"sub-grid" METRES "source"`.
bool readLine(std::string_view line, Accuracies &accuracies) {
  std::string name, source;
  if (!takeQuoted(line, name)) return false;
  const size_t quote = line.find('"');
  const std::string number(trimmed(line.substr(0, quote)));
  char *end = nullptr;
  const double metres = std::strtod(number.c_str(), &end);
  if (number.empty() || *end || !std::isfinite(metres) || metres < 0) return false;
  line = quote == line.npos ? std::string_view() : line.substr(quote);
  if (!line.empty() && (!takeQuoted(line, source) || !trimmed(line).empty())) return false;
  accuracies.insert_or_assign(name, Accuracy{metres, source});
  return true;
}

}  // namespace

Accuracies accuraciesBeside(const std::string &gridPath, const Console &console) {
  const std::string path = std::filesystem::path(gridPath).replace_extension(".info").string();
  Accuracies accuracies;
  std::ifstream file(path);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (const auto text = trimmed(line); text.empty() || text.starts_with('#')) continue;
    if (!readLine(line, accuracies))
      console.warn(path + ":" + std::to_string(number) +
                   ": not an accuracy (\"sub-grid\" METRES \"source\")");
  }
  return accuracies;
}

std::string accuracyText(const Accuracies &accuracies, const std::string &subGrid) {
  const auto found = accuracies.find(subGrid);
  if (found == accuracies.end()) return "unknown";
  const Accuracy &accuracy = found->second;
  return numberText(accuracy.metres) + " m" +
         (accuracy.source.empty() ? "" : " (" + accuracy.source + ")");
}

std::string accuracyText(const Accuracies &accuracies) {
  if (accuracies.empty()) return "unknown";
  const auto [least, most] = std::minmax_element(
      accuracies.begin(), accuracies.end(),
      [](const auto &a, const auto &b) { return a.second.metres < b.second.metres; });
  const std::string from = numberText(least->second.metres), to = numberText(most->second.metres);
  return (from == to ? from : from + " to " + to) + " m";
}

std::string publishedAccuracy(const std::string &datumName) {
  Slot err;
  const auto datum = OrvikDatum::DatumManager::Instance().GetDatum(datumName.c_str(), err.get());
  std::istringstream parts(datum ? datum->GetDescription() : "");
  std::string first, part;
  std::getline(parts, first, ';');
  while (std::getline(parts, part, ';')) {
    constexpr std::string_view kAccuracy = "accuracy ", kSigma = "sigma ";
    std::string_view text = trimmed(part);
    if (text.starts_with(kAccuracy)) text.remove_prefix(kAccuracy.size());
    else if (!text.starts_with(kSigma)) continue;
    return std::string(text) + " (" + first + ")";
  }
  return "";
}

std::string gridPathOf(const char *gridName) {
  Slot err;
  Ofio_SearchList *places = ofio_CreateSLFromEnv("ORVIK_DATUMS_PATH", "", err.get());
  const OwnedText path(places && gridName ? ofio_Which(places, gridName, err.get()) : nullptr);
  ofio_SearchListFree(&places);
  return path ? path.get() : "";
}

}  // namespace program
