// Suggestions for a name that was not found: the candidates nearest to it.
#ifndef OPRJ_TOOLKIT_NEAREST_H
#define OPRJ_TOOLKIT_NEAREST_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace orvik::toolkit {

inline char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

inline bool equalIgnoringCase(std::string_view first, std::string_view second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char a, char b) { return lowerAscii(a) == lowerAscii(b); });
}

/// The nearest candidates, best first; they refer to the candidates' own text.
struct NearestNames {
  static constexpr size_t kMost = 3;
  std::array<std::string_view, kMost> names;
  size_t count = 0;
  auto begin() const { return names.begin(); }
  auto end() const { return names.begin() + static_cast<std::ptrdiff_t>(count); }
};

namespace nearest_detail {

constexpr size_t kLongestCandidate = 96;  // longer names are sentences: no typing error is found
constexpr size_t kFar = static_cast<size_t>(-1);

/// Edits (insert, delete, replace, swap of neighbours) that lead from one text to the other.
inline size_t editDistance(std::string_view query, std::string_view candidate) {
  std::array<std::array<size_t, kLongestCandidate + 1>, 3> rows;
  for (size_t j = 0; j <= candidate.size(); ++j) rows[0][j] = j;
  for (size_t i = 1; i <= query.size(); ++i) {
    auto &row = rows[i % 3];
    const auto &above = rows[(i + 2) % 3], &above2 = rows[(i + 1) % 3];
    row[0] = i;
    for (size_t j = 1; j <= candidate.size(); ++j) {
      const char a = lowerAscii(query[i - 1]), b = lowerAscii(candidate[j - 1]);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (a == b ? 0 : 1)});
      if (i > 1 && j > 1 && a == lowerAscii(candidate[j - 2]) && b == lowerAscii(query[i - 2]))
        row[j] = std::min(row[j], above2[j - 2] + 1);
    }
  }
  return rows[query.size() % 3][candidate.size()];
}

/// Whether a word of the candidate begins with the query.
inline bool beginsAWord(std::string_view query, std::string_view candidate) {
  for (size_t at = 0; at + query.size() <= candidate.size(); ++at) {
    const bool wordStart = at == 0 || candidate[at - 1] == ' ' || candidate[at - 1] == '_';
    if (wordStart && equalIgnoringCase(query, candidate.substr(at, query.size()))) return true;
  }
  return false;
}

/// Smaller is nearer; kFar: no suggestion. A typing error in up to a third of the name ranks before
/// a name of which only a word was given.
inline size_t badness(std::string_view query, std::string_view candidate) {
  if (query.empty() || candidate.empty() || candidate.size() > kLongestCandidate) return kFar;
  const size_t tolerated = std::max<size_t>(1, candidate.size() / 3);
  const size_t longer = std::max(query.size(), candidate.size());
  const size_t shorter = std::min(query.size(), candidate.size());
  if (longer - shorter <= tolerated) {
    const size_t distance = editDistance(query, candidate);
    if (distance <= tolerated && distance < shorter) return distance;
  }
  return query.size() >= 3 && beginsAWord(query, candidate) ? kLongestCandidate + longer : kFar;
}

}  // namespace nearest_detail

/// Up to three candidates (a range of texts) nearest to `query`, ASCII letters in any case; equally
/// near ones in the order given, no text twice. None that is far off. Does not allocate.
template <class Candidates>
NearestNames nearestNames(std::string_view query, const Candidates &candidates) {
  using namespace nearest_detail;
  NearestNames found;
  std::array<size_t, NearestNames::kMost> scores{};
  for (const auto &element : candidates) {
    const std::string_view name(element);
    if (std::find(found.begin(), found.end(), name) != found.end()) continue;
    const size_t score = badness(query, name);
    if (score == kFar) continue;
    size_t at = found.count;
    while (at > 0 && scores[at - 1] > score) --at;
    if (at == NearestNames::kMost) continue;
    if (found.count < NearestNames::kMost) ++found.count;
    for (size_t i = found.count - 1; i > at; --i) {
      scores[i] = scores[i - 1];
      found.names[i] = found.names[i - 1];
    }
    scores[at] = score;
    found.names[at] = name;
  }
  return found;
}

/// The suggestions as the end of a message: ` (nearest: "a", "b")`, or nothing.
template <class Candidates>
std::string nearestHint(std::string_view query, const Candidates &candidates) {
  std::string hint;
  for (std::string_view name : nearestNames(query, candidates)) {
    hint += hint.empty() ? " (nearest: \"" : ", \"";
    hint += name;
    hint += '"';
  }
  if (!hint.empty()) hint += ')';
  return hint;
}

}  // namespace orvik::toolkit

#endif
