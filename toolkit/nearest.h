// Suggestions for a name that was not found: the candidates nearest to it.
#ifndef OPRJ_TOOLKIT_NEAREST_H
#define OPRJ_TOOLKIT_NEAREST_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

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

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }
/// Bytes of other alphabets count as letters.
inline bool isLetter(char c) {
  return (lowerAscii(c) >= 'a' && lowerAscii(c) <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}

inline bool isLetterOrDigit(char c) { return isLetter(c) || isDigit(c); }

/// A short text that is put together byte by byte.
class Letters {
 public:
  void add(char c) {
    if (size_ < text_.size()) text_[size_++] = c;
  }
  operator std::string_view() const { return {text_.data(), size_}; }

 private:
  std::array<char, kLongestCandidate> text_;
  size_t size_ = 0;
};

/// A name without what separates its words, all letters small; and what may stand for it: its
/// letters, the initials of its words, its digits.
struct Squeezed {
  Letters all, letters, initials, digits;
  explicit Squeezed(std::string_view name) {
    for (size_t i = 0; i < name.size(); ++i) {
      const char c = name[i];
      if (!isLetterOrDigit(c)) continue;
      all.add(lowerAscii(c));
      (isDigit(c) ? digits : letters).add(lowerAscii(c));
      const bool begins = isLetter(c) && (i == 0 || !isLetter(name[i - 1]));
      if (begins && !isSmallWord(name.substr(i))) initials.add(lowerAscii(c));
    }
  }

 private:
  static bool isSmallWord(std::string_view rest) {
    return rest.starts_with("of ") || rest.starts_with("and ") || rest.starts_with("the ");
  }
};

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

/// The edits between two squeezed names when they may be typing errors, as many as a third of the
/// candidate's length; else kFar.
inline size_t typingErrors(std::string_view query, std::string_view candidate, size_t length) {
  const size_t tolerated = std::max<size_t>(1, length / 3);
  const size_t longer = std::max(query.size(), candidate.size());
  const size_t shorter = std::min(query.size(), candidate.size());
  if (longer - shorter > tolerated) return kFar;
  const size_t distance = editDistance(query, candidate);
  return distance <= tolerated && distance < shorter ? distance : kFar;
}

/// "80" for 1980, "1927" for 27.
inline bool sameYear(std::string_view first, std::string_view second) {
  if (first.size() > second.size()) std::swap(first, second);
  return first == second || (first.size() >= 2 && second.ends_with(first));
}

/// "grs80" for GRS 1980.
inline bool sameButForTheCentury(const Squeezed &query, const Squeezed &name) {
  const std::string_view letters = query.letters;
  return letters.size() >= 2 && letters == name.letters && sameYear(query.digits, name.digits);
}

/// "lcc" for Lambert Conformal Conic, "ED50" (European Datum) for European 1950.
inline bool abbreviates(const Squeezed &query, const Squeezed &name) {
  const std::string_view letters = query.letters, initials = name.initials;
  if (!sameYear(query.digits, name.digits) || letters.size() < 2) return false;
  return letters == initials ||
         (letters.ends_with('d') && !std::string_view(query.digits).empty() &&
          letters.substr(0, letters.size() - 1) == initials);
}

/// Smaller is nearer; kFar: no suggestion. Names that are equal but for what separates their words
/// or for the variant that was left out ("Tokyo (Mean)") come first, then those of the same letters
/// and year ("nad 1927"); then typing errors where the years agree, and where they do not; the same
/// in names without their variant; abbreviations; at last names of which only a word was given.
inline size_t badness(std::string_view query, std::string_view candidate) {
  constexpr size_t kStep = kLongestCandidate;  // more than the edits of any typing error
  if (query.empty() || query.size() > kLongestCandidate || candidate.empty() ||
      candidate.size() > kLongestCandidate)
    return kFar;
  const std::string_view head = candidate.substr(0, candidate.find(" ("));
  const Squeezed asked(query), whole(candidate), name(head);
  const std::string_view bare = asked.all;
  const bool yearsAgree = sameYear(asked.digits, name.digits);
  if (bare == whole.all) return 0;
  if (bare == name.all) return 1;
  if (sameButForTheCentury(asked, name)) return 2;
  if (const size_t errors = typingErrors(bare, whole.all, candidate.size()); errors != kFar)
    return (yearsAgree ? 1 : 2) * kStep + errors;
  if (const size_t errors = typingErrors(bare, name.all, head.size()); errors != kFar)
    return (yearsAgree ? 3 : 4) * kStep + errors;
  if (abbreviates(asked, name)) return 5 * kStep;
  return query.size() >= 3 && beginsAWord(query, candidate)
             ? 6 * kStep + std::max(query.size(), candidate.size())
             : kFar;
}

}  // namespace nearest_detail

/// Up to three candidates (a range of texts; null pointers are passed over) nearest to `query`,
/// ASCII letters in any case; equally near ones in the order given, no text twice. None that is far
/// off. Does not allocate.
template <class Candidates>
NearestNames nearestNames(std::string_view query, const Candidates &candidates) {
  using namespace nearest_detail;
  NearestNames found;
  std::array<size_t, NearestNames::kMost> scores{};
  for (const auto &element : candidates) {
    if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(element)>>) {
      if (!element) continue;
    }
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
