// Reads the engine's texts:
//
//   text = node { "," node }                        node = word open item { "," item } close
//   item = '"' bytes '"' | number | node | word     open = "[" | "("     close = the same kind
//
// Nodes of the language have their shape (object.h); others may hold anything, words too, and are
// kept as text. Blanks may stand between all of these. One pass, no recursion.
#include <algorithm>
#include <charconv>

#include "engine/object.h"

namespace orvik::engine {
namespace {

constexpr size_t kLongestText = size_t{1} << 20;  // bytes
constexpr size_t kMostNodes = 65536;
constexpr size_t kMostLevels = 32;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

class Reader {
 public:
  Reader(std::string_view text, Kinds roots, toolkit::ErrorScope &e, int32_t code)
      : text_(text), roots_(roots), e_(e), code_(code) {}

  OwnedObject read() { return readAll() ? whole() : nullptr; }

 private:
  bool readAll() {
    if (text_.size() > kLongestText) return refuse(kLongestText, "no more than 1048576 bytes");
    if (const size_t zero = text_.find('\0'); zero != text_.npos)
      return refuse(zero, "no zero byte");
    if (text_.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
    for (;;) {
      const size_t around = level_;
      if (!readItem()) return false;
      if (level_ > around) continue;  // it opened a node, whose first item is next
      for (skipBlanks(); level_ > 0 && isClosing(); skipBlanks())
        if (!closeNode()) return false;
      if (level_ == 0 && at_ == text_.size()) return true;
      if (level_ == 0 && !mayGoOn()) return refuse(at_, "the end");
      if (!take(',')) return refuse(at_, level_ == 0 ? "\",\" or the end" : "\",\" or a bracket");
      if (level_ > 0 && top().object->kind == Kind::kOther) top().object->name += ',';
    }
  }

  /// A node that is open. Nodes inside of one that is not known write into its text.
  struct Level {
    Object *object;
    char closing;
    bool named;
    uint32_t numbers;  ///< read so far
  };

  bool refuse(size_t place, const char *expected) {
    if (place >= text_.size()) {
      e_.fail(code_, "Byte %zu: expected %s, found the end", place + 1, expected);
    } else if (const char c = text_[place]; c > ' ' && c < '\x7F') {
      e_.fail(code_, "Byte %zu: expected %s, found '%c'", place + 1, expected, c);
    } else {
      e_.fail(code_, "Byte %zu: expected %s, found 0x%02X", place + 1, expected,
              static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return false;
  }

  void skipBlanks() {
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
  }
  char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool take(char c) {
    if (next() != c) return false;
    ++at_;
    return true;
  }
  Level &top() { return levels_[level_ - 1]; }
  bool isClosing() const { return next() == ']' || next() == ')'; }

  /// A vertical system may follow a coordinate system where one is asked for.
  bool mayGoOn() const {
    return (roots_ & setOf(Kind::kHvcoordsys)) && !second_ && (kCoordsys & setOf(first_->kind));
  }

  bool readItem() {
    skipBlanks();
    if (level_ == 0) return openRoot();
    Level &level = top();
    if (level.object->kind == Kind::kOther) return readAnything(*level.object);
    if (!level.named) {
      level.named = true;
      return readText(level.object->name, false);
    }
    if (level.numbers < shapeOf(level.object->kind).numbers) return readNumber(level);
    if (level.object->kind == Kind::kVdatum && (isDigit(next()) || next() == '-')) {
      adopt(*level.object, make(Kind::kOther, {}));  // some writers give a datum's type
      return copyNumber(level.object->parts.back()->name);
    }
    return openPart(*level.object);
  }

  bool openRoot() {
    const size_t start = at_;
    const std::string_view word = readWord();
    const Word *known = word.empty() ? nullptr : wordOf(word);
    const Kinds kinds = first_ ? setOf(Kind::kVertcs) : roots_;
    if (!known || !(kinds & setOf(known->kind)))
      return refuse(start, first_ ? "VERTCS" : expectedRoot());
    auto &root = first_ ? second_ : first_;
    root = make(known->kind, {});
    root->word = known;
    return openNode(*root);
  }

  const char *expectedRoot() const {
    if (roots_ & kCoordsys) return "PROJCS or GEOGCS";
    for (auto kind = Kind::kHvcoordsys; kind <= Kind::kGeogtran;
         kind = static_cast<Kind>(static_cast<int>(kind) + 1))
      if (roots_ & setOf(kind)) return wordOf(kind)->text;
    return "a node";
  }

  bool openPart(Object &object) {
    const size_t start = at_;
    const std::string_view word = readWord();
    if (word.empty()) return refuse(start, "a node");
    const Word *known = wordOf(word);
    if (!known) {
      adopt(object, make(Kind::kOther, word));
      return openNode(*object.parts.back());
    }
    const auto parts = shapeOf(object.kind).parts;
    const auto part = std::ranges::find_if(
        parts, [known](const Part &p) { return (p.kinds & setOf(known->kind)) != 0; });
    if (part == parts.end()) return refuse(start, "a node that belongs here");
    if (part->most != UINT32_MAX && countOf(object, part->kinds) == part->most)
      return refuse(start, part->most == 1 ? "a node only once" : "a node only twice");
    adopt(object, make(known->kind, {}));
    object.parts.back()->word = known;
    return openNode(*object.parts.back());
  }

  /// Reads the opening bracket of the node whose word has been read.
  bool openNode(Object &object) {
    skipBlanks();
    const char bracket = next();
    if (bracket != '[' && bracket != '(') return refuse(at_, "\"[\"");
    if (level_ == kMostLevels) return refuse(at_, "no more than 32 levels");
    if (++nodes_ > kMostNodes) return refuse(at_, "no more than 65536 nodes");
    ++at_;
    if (object.kind == Kind::kOther) object.name += '[';
    levels_[level_++] = {&object, bracket == '[' ? ']' : ')', false, 0};
    return true;
  }

  bool closeNode() {
    const Level &level = top();
    Object &object = *level.object;
    if (object.kind == Kind::kOther) {
      if (next() != level.closing) return refuseClosing(level);
      object.name += ']';
    } else {
      if (level.numbers < shapeOf(object.kind).numbers) return refuse(at_, "\",\" and a number");
      for (const Part &part : shapeOf(object.kind).parts)
        if (countOf(object, part.kinds) < part.least) return refuse(at_, part.expected);
      if (next() != level.closing) return refuseClosing(level);
      if (const Object *twice = parameterMetTwice(parametersOf(object))) {
        e_.fail(code_, "Byte %zu: parameter \"%.60s\" stands twice", at_ + 1, twice->name.c_str());
        return false;
      }
    }
    ++at_;
    --level_;
    return true;
  }
  bool refuseClosing(const Level &level) {
    return refuse(at_, level.closing == ']' ? "\"]\"" : "\")\"");
  }

  static uint32_t countOf(const Object &object, Kinds kinds) {
    if (kinds == setOf(Kind::kParameter)) return static_cast<uint32_t>(parametersOf(object).size());
    return static_cast<uint32_t>(std::ranges::count_if(
        object.parts, [kinds](const Object *part) { return (kinds & setOf(part->kind)) != 0; }));
  }

  std::string_view readWord() {
    const size_t start = at_;
    if (isLetter(next()))
      while (isLetter(next()) || isDigit(next())) ++at_;
    return text_.substr(start, at_ - start);
  }

  /// Appends the text in quotes that is due: what it says, or as it stands.
  bool readText(HeapText &into, bool asItStands) {
    if (next() != '"') return refuse(at_, "a text in quotes");
    const size_t opening = at_++;
    for (;;) {
      const size_t quote = text_.find('"', at_);
      if (quote == text_.npos) return refuse(text_.size(), "the end of a text in quotes");
      const bool doubled = quote + 1 < text_.size() && text_[quote + 1] == '"';
      if (!asItStands) into.append(text_, at_, quote - at_ + (doubled ? 1 : 0));
      at_ = quote + (doubled ? 2 : 1);
      if (doubled) continue;
      if (asItStands) into.append(text_, opening, at_ - opening);
      return true;
    }
  }

  /// Reads a decimal number that a double can hold; at_ is then behind it.
  bool readValue(double &value) {
    const size_t start = at_;
    size_t digits = at_;
    if (next() == '+' || next() == '-') ++digits;
    if (digits < text_.size() && text_[digits] == '.') ++digits;
    if (digits == text_.size() || !isDigit(text_[digits])) return refuse(start, "a number");
    const char *first = text_.data() + start + (next() == '+' ? 1 : 0);
    const auto [end, error] = std::from_chars(first, text_.data() + text_.size(), value);
    if (error != std::errc()) return refuse(start, "a number that a double can hold");
    at_ = static_cast<size_t>(end - text_.data());
    return true;
  }

  bool readNumber(Level &level) {
    const size_t start = at_;
    double &value = level.object->numbers[level.numbers];
    if (!readValue(value)) return false;
    if (!validNumber(level.object->kind, level.numbers, value))
      return refuse(start, level.numbers == 0 ? "a number above 0" : "0 or a number above 1");
    ++level.numbers;
    return true;
  }

  bool copyNumber(HeapText &into) {
    const size_t start = at_;
    double value;
    if (!readValue(value)) return false;
    into.append(text_, start, at_ - start);
    return true;
  }

  /// An item of a node that is not known.
  bool readAnything(Object &object) {
    if (next() == '"') return readText(object.name, true);
    const std::string_view word = readWord();
    if (word.empty()) return copyNumber(object.name);
    object.name += word;
    skipBlanks();
    return next() == '[' || next() == '(' ? openNode(object) : true;
  }

  OwnedObject whole() {
    if (!second_) return std::move(first_);
    OwnedObject pair = make(Kind::kHvcoordsys, {});
    pair->word = nullptr;
    adopt(*pair, std::move(first_));
    adopt(*pair, std::move(second_));
    return pair;
  }

  std::string_view text_;
  Kinds roots_;
  toolkit::ErrorScope &e_;
  int32_t code_;
  size_t at_ = 0, nodes_ = 0, level_ = 0;
  Level levels_[kMostLevels];
  OwnedObject first_, second_;
};

}  // namespace

OwnedObject read(std::string_view text, Kinds roots, toolkit::ErrorScope &e, int32_t code) {
  return Reader(text, roots, e, code).read();
}

}  // namespace orvik::engine
