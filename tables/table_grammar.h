// What the three table languages share: white space, texts, numbers, keywords, and how a syntax
// error stops a grammar. Included by the grammar sources only (it brings in Boost.Spirit X3).
//
// White space, commas and comments (# to the end of the line) separate; texts stand in double
// quotes, without escapes or line breaks; a text that is a name is not empty and does not end in a
// blank; numbers are decimal with sign and exponent.
//
// Semantic actions build the records while the text is read, so nothing is copied but the texts
// that stay. Nothing backtracks over more than one token: once a construct has begun, what must
// follow is wrapped in need(), which stops the grammar where it does not.
#ifndef OPRJ_TABLES_TABLE_GRAMMAR_H
#define OPRJ_TABLES_TABLE_GRAMMAR_H

#include <boost/spirit/home/x3.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <string_view>

#include "records/records.h"

namespace orvik::oprj::grammar {

namespace x3 = boost::spirit::x3;

/// Where a grammar could not go on, and what it expected there (static text).
struct SyntaxStop {
  const char *at;
  const char *expected;
};

/// A token that keeps its place in the source.
struct Lexeme {
  const char *data = nullptr;
  size_t size = 0;
};

/// White space, commas and comments, all that there is at once.
struct Blanks : x3::parser<Blanks> {
  using attribute_type = x3::unused_type;
  static bool const has_attribute = false;

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &, RContext &,
             Attribute &) const {
    const char *at = first;
    for (; at != last; ++at) {
      if (*at == '#') {
        while (at != last && *at != '\n' && *at != '\r') ++at;
        if (at == last) break;
      } else if (*at != ' ' && *at != ',' && (*at < '\t' || *at > '\r')) {
        break;
      }
    }
    const bool some = at != first;
    first = at;
    return some;
  }
};

/// A text in double quotes; its attribute is what stands between them.
struct Quoted : x3::parser<Quoted> {
  using attribute_type = Lexeme;
  static bool const has_attribute = true;

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context, RContext &,
             Attribute &attribute) const {
    x3::skip_over(first, last, context);
    if (first == last || *first != '"') return false;
    const char *begin = first + 1;
    const char *end = begin;
    while (end != last && *end != '"' && *end != '\n' && *end != '\r' && *end != '\0') ++end;
    if (end == last || *end != '"') throw SyntaxStop{end, "a closing quote"};
    first = end + 1;
    x3::traits::move_to(Lexeme{begin, static_cast<size_t>(end - begin)}, attribute);
    return true;
  }
};

/// A name: texts that lookups compare with names, from which records drop the blanks at the end.
struct Named : x3::parser<Named> {
  using attribute_type = Lexeme;
  static bool const has_attribute = true;

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context,
             RContext &rcontext, Attribute &attribute) const {
    Lexeme name;
    if (!Quoted().parse(first, last, context, rcontext, name)) return false;
    if (name.size == 0) throw SyntaxStop{name.data, "a name between the quotes"};
    const char *end = name.data + name.size - 1;
    if (*end == ' ' || *end == '\t') throw SyntaxStop{end, "a name that does not end in a blank"};
    x3::traits::move_to(name, attribute);
    return true;
  }
};

/// A keyword, exactly so and not part of a longer word.
struct Word : x3::parser<Word> {
  using attribute_type = x3::unused_type;
  static bool const has_attribute = false;

  constexpr explicit Word(std::string_view keyword) : word(keyword) {}

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context, RContext &,
             Attribute &) const {
    x3::skip_over(first, last, context);
    const auto left = static_cast<size_t>(last - first);
    if (left < word.size() || std::memcmp(first, word.data(), word.size()) != 0) return false;
    if (left > word.size() && continues(first[word.size()])) return false;
    first += word.size();
    return true;
  }

  /// Whether a word or a number would go on with `c`.
  static bool continues(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '+' || c == '-';
  }

  std::string_view word;
};

inline constexpr double kUnbounded = std::numeric_limits<double>::infinity();

/// A decimal number between two bounds; whole ones are truncated toward zero first. What would
/// go on a number or a word must not follow at once.
template <class Value>
struct Number : x3::parser<Number<Value>> {
  using attribute_type = Value;
  static bool const has_attribute = true;

  constexpr Number(double lowest, double highest) : low(lowest), high(highest) {}

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context, RContext &,
             Attribute &attribute) const {
    x3::skip_over(first, last, context);
    const char *at = first;
    if (at != last && *at == '+') ++at;
    const char *digits = at;
    if (digits == at && digits != last && *digits == '-' && *first != '+') ++digits;
    // from_chars would read "inf" and "nan" as numbers.
    if (digits == last || (*digits != '.' && (*digits < '0' || *digits > '9'))) return false;
    double value = 0.0;
    const auto read = std::from_chars(at, last, value);
    if (read.ec != std::errc() || (read.ptr != last && Word::continues(*read.ptr))) return false;
    if constexpr (std::is_integral_v<Value>) value = std::trunc(value);
    if (!(value >= low && value <= high)) return false;
    first = read.ptr;
    x3::traits::move_to(static_cast<Value>(value), attribute);
    return true;
  }

  double low, high;
};

/// What must come now: where it does not, the grammar stops.
template <class Subject>
struct Needed : x3::unary_parser<Subject, Needed<Subject>> {
  using Base = x3::unary_parser<Subject, Needed<Subject>>;
  static bool const is_pass_through_unary = true;

  constexpr Needed(const Subject &subject, const char *what) : Base(subject), expected(what) {}

  template <class Context, class RContext, class Attribute>
  bool parse(const char *&first, const char *const &last, const Context &context,
             RContext &rcontext, Attribute &attribute) const {
    if (this->subject.parse(first, last, context, rcontext, attribute)) return true;
    x3::skip_over(first, last, context);
    throw SyntaxStop{first, expected};
  }

  const char *expected;
};

template <class Subject>
constexpr auto need(const Subject &subject, const char *expected) {
  return Needed<typename x3::extension::as_parser<Subject>::value_type>(x3::as_parser(subject),
                                                                        expected);
}

inline const Quoted quoted{};
inline const Named named{};
inline const Number<double> number{-kUnbounded, kUnbounded};
inline const Number<int32_t> integer{std::numeric_limits<int32_t>::min(),
                                     std::numeric_limits<int32_t>::max()};
inline Word word(std::string_view keyword) { return Word(keyword); }

/// The key of the record builder in a grammar's context.
struct BuilderKey;

/// Wraps a builder's member function as a semantic action: it is handed the parsed token.
template <auto Member>
struct Action;
template <class Builder, class Token, void (Builder::*Member)(Token)>
struct Action<Member> {
  template <class Context>
  void operator()(const Context &context) const {
    Builder &builder = x3::get<BuilderKey>(context);
    (builder.*Member)(x3::_attr(context));
  }
};
template <class Builder, void (Builder::*Member)()>
struct Action<Member> {
  template <class Context>
  void operator()(const Context &context) const {
    Builder &builder = x3::get<BuilderKey>(context);
    (builder.*Member)();
  }
};
template <auto Member>
inline constexpr Action<Member> action{};

/// A zeroed record of the toolkit's heap; throws without memory.
template <class Record>
Record *newRecord() {
  auto *record = allocateRecord<Record>();
  if (!record) throw std::bad_alloc();
  return record;
}
/// A text of its own; throws without memory.
inline Oprj_Char *newText(Lexeme text) {
  Oprj_Char *copy = oprj::newText({text.data, text.size}).release();
  if (!copy) throw std::bad_alloc();
  return copy;
}

/// Runs a grammar over a whole text, as Olex_Grammar is to.
template <class Parser, class Builder>
int64_t run(const Parser &parser, Builder &builder, const char *text, size_t size,
            const char **expected) {
  const char *at = text;
  try {
    const auto whole = x3::with<BuilderKey>(std::ref(builder))[parser];
    x3::phrase_parse(at, text + size, whole, Blanks{});
    return -1;
  } catch (const SyntaxStop &stop) {
    *expected = stop.expected;
    return stop.at - text;
  } catch (const std::bad_alloc &) {
    return -2;
  }
}

}  // namespace orvik::oprj::grammar

#endif
