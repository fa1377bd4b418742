// The language of projection libraries, in the terms that all reference tables share:
//
//   library = "library" name ["description" text] {entry}
//   entry   = "category" name "{" {entry} "}" | item
//   item    = "item" title "{" ["code" text] ["units" text] ["area" west south east north]
//             ["elevation" VERTCS-text] system "}"
//   system  = PROJCS- or GEOGCS-text | record
//   record  = (number | "external" text) ["name" text] ["zone" number] {"p" index value ["d"]}
//             ["spheroid" text] ["datum" text] ["axes" a b]
//
// Texts of the Projection Engine stand as they are and end with their bracket.
#include "interchange/number_text.h"
#include "interchange/projection_library_content.h"
#include "tables/table_grammar.h"

namespace orvik::oprj {

void LibraryItem::show() {
  const auto lent = [this](const char *text) { return text ? texts.keep(text) : nullptr; };
  shown.title = lent(told.title);
  shown.category = lent(told.category);
  shown.code = lent(told.code);
  shown.unit = lent(told.unit);
  shown.elevation = lent(told.elevation);
  shown.system = &system;
  shown.string = lent(system.string);
}

void LibraryContent::show() {
  shownName = shownTexts.keep(name);
  shownDescription = shownTexts.keep(description);
}

namespace grammar {
namespace {

/// A node of an engine's text by its keyword.
struct EngineNode : x3::parser<EngineNode> {
  using attribute_type = Lexeme;
  static bool const has_attribute = true;

  constexpr explicit EngineNode(std::span<const std::string_view> keywords) : words(keywords) {}

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context, RContext &,
             Attribute &attribute) const {
    x3::skip_over(first, last, context);
    // Numbers and other keywords stand here far more often.
    if (first == last || !((*first | 0x20) >= 'a' && (*first | 0x20) <= 'z')) return false;
    bool begins = false;
    for (const std::string_view word : words)
      begins = begins || beginsWith({first, static_cast<size_t>(last - first)}, word);
    if (!begins) return false;
    const char *end = nodeEnd(first, last, words);
    if (!end) throw SyntaxStop{last, "a bracket that closes the text"};
    x3::traits::move_to(Lexeme{first, static_cast<size_t>(end - first)}, attribute);
    first = end;
    return true;
  }

  static bool beginsWith(std::string_view text, std::string_view word) {
    if (text.size() <= word.size() ||
        !toolkit::equalIgnoringCase(text.substr(0, word.size()), word))
      return false;
    const char next = text[word.size()];
    return next == '[' || next == '(' || next == ' ';
  }

  std::span<const std::string_view> words;
};

/// A slot's index, with its place.
struct SlotIndex : x3::parser<SlotIndex> {
  using attribute_type = Lexeme;
  static bool const has_attribute = true;

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context,
             RContext &rcontext, Attribute &attribute) const {
    x3::skip_over(first, last, context);
    const char *begin = first;
    int32_t index = 0;
    if (!Number<int32_t>(0, kLastSlot).parse(first, last, context, rcontext, index)) return false;
    x3::traits::move_to(Lexeme{begin, static_cast<size_t>(index)}, attribute);
    return true;
  }
};

/// Builds a library over a copy of the file, in which texts are ended where they stand.
class LibraryBuilder {
 public:
  LibraryBuilder(LibraryContent &content, char *bytes) : content_(content), bytes_(bytes) {}

  void libraryName(Lexeme text) { content_.name = lend(checked(text)); }
  void description(Lexeme text) { content_.description = lend(text); }

  void category(Lexeme text) {
    if (depth_ == kCategoryDepth) throw SyntaxStop{text.data, "categories nested less deeply"};
    std::string path = depth_ > 0 ? levels_[depth_ - 1] : "";
    if (depth_ > 0) path += '/';
    path += std::string_view(text.data, checked(text).size);
    levels_[depth_++] = content_.keep(path);
  }
  void categoryEnd() { --depth_; }

  void title(Lexeme text) {
    if (content_.titles.contains({text.data, text.size}))
      throw SyntaxStop{text.data, "a title that no other item has"};
    item_ = &content_.storage.emplace_back();
    item_->told.title = lend(text);
    item_->told.category = depth_ > 0 ? levels_[depth_ - 1] : nullptr;
    sides_ = 0;
  }
  void code(Lexeme text) { item_->told.code = lend(text); }
  void unit(Lexeme text) { item_->told.unit = lend(text); }
  void side(double degrees) {
    double *const sides[] = {&item_->shown.west, &item_->shown.south, &item_->shown.east,
                             &item_->shown.north};
    *sides[sides_++] = degrees;
    item_->shown.hasArea = 1;
    if (sides_ == 4 && item_->shown.south > item_->shown.north)
      throw SyntaxStop{item_->told.title, "an item whose area has its south below its north"};
  }
  void elevation(Lexeme text) {
    // What follows may begin at once: there is no room for an end.
    item_->told.elevation = content_.keep({text.data, text.size});
  }
  void string(Lexeme text) { string_ = text; }
  void number(int32_t number) { item_->system.number = number; }
  void executable(Lexeme text) { item_->system.executable = lend(text); }
  void name(Lexeme text) { item_->system.name = lend(text); }
  void zone(int32_t zone) { item_->system.zone = zone; }
  void slot(Lexeme index) {
    auto &slots = item_->system.slots;
    const auto number = static_cast<int32_t>(index.size);
    if (!slots.empty() && slots.back().index >= number)
      throw SyntaxStop{index.data, "an index above the one before"};
    slots.push_back({number, 0.0});
  }
  void value(double value) { item_->system.slots.back().value = value; }
  void degrees() { item_->system.slots.back().value *= kRadiansPerDegree; }
  void spheroid(Lexeme text) { item_->system.spheroid = lend(text); }
  void datum(Lexeme text) { item_->system.datum = lend(text); }
  void semiMajor(double metres) { item_->system.a = metres; }
  void semiMinor(double metres) { item_->system.b = metres; }
  void itemEnd() {
    if (string_.data) item_->system.string = lend(string_);
    string_ = {};
    item_->show();
    content_.items.push_back(item_);
    content_.titles.emplace(item_->told.title, item_);
  }

 private:
  /// Ends a text behind its last byte, which has been read.
  const char *lend(Lexeme text) {
    char *begin = bytes_ + (text.data - bytes_);
    begin[text.size] = '\0';
    return begin;
  }
  /// Names between which "/" stands.
  static Lexeme checked(Lexeme name) {
    if (const void *slash = std::memchr(name.data, '/', name.size))
      throw SyntaxStop{static_cast<const char *>(slash), "a name without \"/\""};
    return name;
  }

  LibraryContent &content_;
  char *bytes_;
  const char *levels_[kCategoryDepth] = {};  ///< the paths of the categories that are open
  int depth_ = 0;
  LibraryItem *item_ = nullptr;
  Lexeme string_;
  int sides_ = 0;
};

using B = LibraryBuilder;

const auto open = need('{', "\"{\"");
const Number<double> longitude{-180, 180}, latitude{-90, 90};
const Number<double> axis{std::numeric_limits<double>::min(), std::numeric_limits<double>::max()};
const EngineNode vertical{kVerticalWords};
const EngineNode horizontal{kHorizontalWords};

const auto longitudeNeeded =
    need(longitude, "a longitude from -180 to 180 degrees")[action<&B::side>];
const auto latitudeNeeded = need(latitude, "a latitude from -90 to 90 degrees")[action<&B::side>];
const auto axisNeeded = need(axis, "the length of an axis, above 0");

const auto slot = word("p") >>
                  need(SlotIndex{}, "the index of a slot (0 to 9999)")[action<&B::slot>] >>
                  need(number, "a number")[action<&B::value>] >> -word("d")[action<&B::degrees>];

const auto record =
    (integer[action<&B::number>] |
     word("external") >> need(named, "an executable's name in quotes")[action<&B::executable>]) >>
    -(word("name") >> need(named, "a projection's name in quotes")[action<&B::name>]) >>
    -(word("zone") >> need(integer, "a zone number")[action<&B::zone>]) >> *slot >>
    -(word("spheroid") >> need(named, "a spheroid's name in quotes")[action<&B::spheroid>]) >>
    -(word("datum") >> need(named, "a datum's name in quotes")[action<&B::datum>]) >>
    -(word("axes") >> axisNeeded[action<&B::semiMajor>] >> axisNeeded[action<&B::semiMinor>]);

const auto item = word("item") >> need(named, "a title in quotes")[action<&B::title>] >> open >>
                  -(word("code") >> need(quoted, "a code in quotes")[action<&B::code>]) >>
                  -(word("units") >> need(named, "a unit's name in quotes")[action<&B::unit>]) >>
                  -(word("area") >> longitudeNeeded >> latitudeNeeded >> longitudeNeeded >>
                    latitudeNeeded) >>
                  -(word("elevation") >> need(vertical, "VERTCS[...]")[action<&B::elevation>]) >>
                  need(horizontal[action<&B::string>] | record,
                       "a projection number, external, PROJCS[...] or GEOGCS[...]") >>
                  need('}', "\"}\"") >> x3::eps[action<&B::itemEnd>];

const x3::rule<class CategoryRule> category{"category"};
const auto category_def = word("category") >>
                          need(named, "a category's name in quotes")[action<&B::category>] >> open
                          >> *(item | category) >>
                          need('}', "item, category or \"}\"") >> x3::eps[action<&B::categoryEnd>];
BOOST_SPIRIT_DEFINE(category)

const auto head = need(word("library"), "library") >>
                  need(named, "a name in quotes")[action<&B::libraryName>];

const auto library = head >> -(word("description") >>
                               need(quoted, "a description in quotes")[action<&B::description>]) >>
                     *(item | category) >> need(x3::eoi, "item, category or the end of the file");

/// Runs a grammar over a copy that the content keeps.
template <class Parser>
int64_t runOver(const Parser &parser, LibraryContent &content, const char *text, size_t size,
                const char **expected) {
  content.bytes = toolkit::heapCopy({text, size});
  if (!content.bytes) return -2;
  LibraryBuilder builder(content, content.bytes.get());
  return run(parser, builder, content.bytes.get(), size, expected);
}

}  // namespace
}  // namespace grammar

size_t TitleHash::operator()(std::string_view title) const {
  size_t hash = 5381;
  for (const char c : title) hash = hash * 33 ^ static_cast<unsigned char>(toolkit::lowerAscii(c));
  return hash;
}

const char *LibraryContent::keep(std::string_view text) {
  if (text.empty()) return nullptr;
  texts.push_back(toolkit::heapCopy(text));
  if (!texts.back()) throw std::bad_alloc();
  return texts.back().get();
}

const char *nodeEnd(const char *begin, const char *end, std::span<const std::string_view> words) {
  const std::string_view text(begin, static_cast<size_t>(end - begin));
  const bool known = std::any_of(words.begin(), words.end(), [&](std::string_view word) {
    return grammar::EngineNode::beginsWith(text, word);
  });
  int64_t depth = 0;
  for (const char *at = begin; known && at != end && *at; ++at) {
    if (*at == '"') {
      do ++at;
      while (at != end && *at && *at != '"');
      if (at == end || !*at) return nullptr;
    } else if (*at == '[' || *at == '(') {
      ++depth;
    } else if ((*at == ']' || *at == ')') && --depth <= 0) {
      return depth == 0 ? at + 1 : nullptr;
    }
  }
  return nullptr;
}

int64_t libraryGrammar(const char *text, size_t size, void *result, const char **expected) {
  return grammar::runOver(grammar::library, *static_cast<LibraryContent *>(result), text, size,
                          expected);
}

int64_t libraryNameGrammar(const char *text, size_t size, void *result, const char **expected) {
  LibraryContent content;
  const int64_t stop = grammar::runOver(grammar::head, content, text, size, expected);
  if (stop == -1) static_cast<std::string *>(result)->assign(content.name);
  return stop;
}

}  // namespace orvik::oprj
