#include "codes.h"

#include <algorithm>
#include <cmath>

namespace program {

bool Area::holds(double lon, double lat, double margin) const {
  if (lat < south - margin || lat > north + margin) return false;
  const double width = east < west ? east - west + 360 : east - west;
  double off = std::fmod(lon - west + margin, 360);
  if (off < 0) off += 360;
  return off <= width + 2 * margin;
}

Area areaOf(const Oprj_Code &code) { return {code.west, code.south, code.east, code.north}; }

std::string textOf(const Oprj_Code &code) {
  return std::string(code.authority) + ":" + std::to_string(code.number);
}

std::span<const Oprj_Code> allCodes() {
  int32_t count = 0;
  Slot err;
  const Oprj_Code *codes = oprj_CodesGet(&count, err.get());
  if (!codes) throw Stop(kUnusable, err.text());
  return {codes, static_cast<size_t>(count)};
}

const Oprj_Code *findCode(const std::string &text) {
  Slot err;
  const Oprj_Code *code = oprj_CodeFromText(text.c_str(), err.get());
  if (err) throw Stop(kUnusable, err.text());
  return code;
}

std::vector<const Oprj_Code *> codesWith(const std::vector<std::string> &words) {
  std::vector<const Oprj_Code *> found;
  for (const Oprj_Code &code : allCodes()) {
    const std::string all = lower(textOf(code) + " " + code.name + " " + code.engineName);
    if (std::all_of(words.begin(), words.end(), [&all](const std::string &word) {
          return all.find(lower(word)) != std::string::npos;
        }))
      found.push_back(&code);
  }
  return found;
}

std::string engineTextOf(const Oprj_Code &code) {
  Slot err;
  const OwnedText text(oprj_CodeToPEString(&code, err.get()));
  if (!text) throw Stop(kUnusable, oerr_MessageGet(err.report()));  // which tells the reason
  return text.get();
}

}  // namespace program
