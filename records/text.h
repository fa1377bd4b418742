// Texts at the edge of the library. Inside, every text is UTF-8; the texts of records, arguments
// and results are of Oprj_Char, which is UTF-8 too, or UTF-16 in the wide library. What lies
// between is here, and costs nothing where both are the same:
//
//   const Utf8 name = textOf(record.proName);             read a record's or caller's text
//   setText(record.proName, "Mercator", e.cause())        store one
//   oprj_QueryByName(toolkit, Flat("Mercator"), ...)      hand one to a flat operation
//   return handOut(ostr_Format(...))                      return one
//
// Sources that have nothing to do with texts are compiled with OPRJ_TEXTLESS, once for both
// libraries: there Oprj_Char is incomplete and none of this is declared.
#ifndef OPRJ_RECORDS_TEXT_H
#define OPRJ_RECORDS_TEXT_H

#include <oprj/omsc.h>
#include <oprj/values.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/heap.h"

#if defined(OPRJ_WIDE)
#include "toolkit/utf16.h"
#endif

#if !defined(OPRJ_TEXTLESS)

#include <oprj/ostr.h>

#include "toolkit/error_scope.h"

namespace orvik::oprj {

/// What the toolkit's record knows the library by: its reference data is of its own texts.
#if defined(OPRJ_WIDE)
inline constexpr const char *kLibrary = "oPrjU";
#else
inline constexpr const char *kLibrary = "oPrj";
#endif

/// The length of a text, in units.
inline size_t lengthOf(const Oprj_Char *text) { return std::char_traits<Oprj_Char>::length(text); }

/// A text of the heap as the flat interface hands it out.
using OwnedText = toolkit::HeapBlock<Oprj_Char>;
/// One of the inside: UTF-8.
using InnerText = toolkit::HeapBlock<char>;

#if defined(OPRJ_WIDE)

/// The code of an operation that has no memory for a text and no code of its own for that
/// (docs/wide-build.md).
constexpr int32_t kNoTextMemory = 9999;
inline void noTextMemory(toolkit::ErrorScope &e) { e.fail(kNoTextMemory, "Out of memory"); }

/// A text of the flat interface in UTF-8, for as long as this lives: keep it as `const Utf8 name`,
/// or let it go with the expression. Null stays null. Texts of more than kNearUnits take memory;
/// without any, this throws std::bad_alloc, for bodies that guarded() runs, or tells the
/// operation's scope and is empty, which is then to be asked by e.failed(), or is cut.
class Utf8 {
 public:
  explicit Utf8(const char16_t *text) : Utf8(text, text ? lengthOf(text) : 0) {}
  explicit Utf8(const char *text) : text_(text) {}
  Utf8(const char16_t *text, size_t units) {
    if (text && !convert(text, units)) throw std::bad_alloc();
  }
  Utf8(const char16_t *text, toolkit::ErrorScope &e) {
    if (!text || convert(text, lengthOf(text))) return;
    text_ = "";
    noTextMemory(e);
  }
  struct Cut {};
  Utf8(const char16_t *text, Cut) {
    const size_t units = lengthOf(text);
    if (!convert(text, units)) convert(text, kNearUnits);
  }
  Utf8(const Utf8 &) = delete;
  Utf8 &operator=(const Utf8 &) = delete;

  operator const char *() const { return text_; }
  const char *c_str() const { return text_; }
  std::string_view view() const { return text_; }
  std::string str() const { return text_; }
  /// Every surrogate has its other half: what is written to files is UTF-8 then.
  bool wellFormed() const { return lone_ == 0; }

 private:
  static constexpr size_t kNearUnits = 255;

  bool convert(const char16_t *text, size_t units) {
    char *room = near_;
    if (units > kNearUnits) {
      far_.reset(static_cast<char *>(omsc_HeapMalloc(toolkit::utf8Room(units) + 1)));
      room = far_.get();
    }
    if (!room) return false;
    *toolkit::toUtf8(text, units, room, &lone_) = '\0';
    text_ = room;
    return true;
  }

  const char *text_ = nullptr;
  char near_[toolkit::utf8Room(kNearUnits) + 1];
  InnerText far_;
  char16_t lone_ = 0;
};

/// Inner text as an argument of a flat operation, for as long as this lives; null stays null.
/// Without memory as Utf8.
class Flat {
 public:
  explicit Flat(const char *text) {
    if (text && !convert(text)) throw std::bad_alloc();
  }
  explicit Flat(const std::string &text) : Flat(text.c_str()) {}
  Flat(const char *text, toolkit::ErrorScope &e) {
    if (!text || convert(text)) return;
    text_ = u"";
    noTextMemory(e);
  }
  Flat(const Flat &) = delete;
  Flat &operator=(const Flat &) = delete;
  operator const char16_t *() const { return text_; }

 private:
  bool convert(const char *text) {
    const size_t size = std::strlen(text);
    char16_t *room = near_;
    if (size >= std::size(near_)) {
      far_.reset(static_cast<char16_t *>(omsc_HeapMalloc((size + 1) * sizeof *room)));
      room = far_.get();
    }
    if (!room) return false;
    *toolkit::toUtf16(text, size, room, true) = 0;
    text_ = room;
    return true;
  }

  const char16_t *text_ = nullptr;
  char16_t near_[256];
  OwnedText far_;
};

/// A text of the tables in UTF-8, to keep while they are used.
using TableText = std::string;

/// Equal texts, case included; the second one may be of ASCII.
template <class Unit>
bool sameUnits(const char16_t *first, const Unit *second) {
  while (*first && *first == static_cast<char16_t>(*second)) ++first, ++second;
  return *first == static_cast<char16_t>(*second);
}
/// Equal but for the case of ASCII letters, as ostr_EqualIgnoringCase has it, without taking
/// memory; a missing text is empty, and the second one may be of ASCII.
template <class Unit>
bool sameIgnoringCase(const char16_t *first, const Unit *second) {
  const auto folded = [](auto unit) {
    return static_cast<char16_t>(unit >= 'A' && unit <= 'Z' ? unit + 'a' - 'A' : unit);
  };
  static constexpr Unit kNone[1] = {};
  if (!first) first = u"";
  if (!second) second = kNone;
  while (*first && folded(*first) == folded(*second)) ++first, ++second;
  return folded(*first) == folded(*second);
}

/// A text of the heap that holds `text`; null without memory.
inline OwnedText newText(std::string_view text) {
  OwnedText made(static_cast<char16_t *>(omsc_HeapCalloc(text.size() + 1, sizeof(char16_t))));
  if (made) toolkit::toUtf16(text.data(), text.size(), made.get(), true);
  return made;
}

/// Gives inner texts that last the form of the flat interface; in the wide library it holds them.
/// Throws std::bad_alloc.
class TextKeeper {
 public:
  const char16_t *keep(const char *text) {
    kept_.push_back(newText(text));
    if (!kept_.back()) throw std::bad_alloc();
    return kept_.back().get();
  }

 private:
  std::vector<OwnedText> kept_;
};

/// A text of the heap, which is taken over, as a result; null for null and without memory.
inline Oprj_Char *handOut(char *text) {
  const toolkit::HeapBlock<char> owned(text);
  return owned ? newText(owned.get()).release() : nullptr;
}

#else

class Utf8 {
 public:
  constexpr explicit Utf8(const char *text) : text_(text) {}
  Utf8(const char *text, toolkit::ErrorScope &) : text_(text) {}
  struct Cut {};
  constexpr Utf8(const char *text, Cut) : text_(text) {}
  Utf8(const Utf8 &) = delete;
  Utf8 &operator=(const Utf8 &) = delete;
  constexpr operator const char *() const { return text_; }
  constexpr const char *c_str() const { return text_; }
  constexpr std::string_view view() const { return text_; }
  std::string str() const { return text_; }
  static constexpr bool wellFormed() { return true; }

 private:
  const char *text_;
};

class Flat {
 public:
  constexpr explicit Flat(const char *text) : text_(text) {}
  explicit Flat(const std::string &text) : text_(text.c_str()) {}
  Flat(const char *text, toolkit::ErrorScope &) : text_(text) {}
  Flat(const Flat &) = delete;
  Flat &operator=(const Flat &) = delete;
  constexpr operator const char *() const { return text_; }

 private:
  const char *text_;
};

inline bool sameUnits(const char *first, const char *second) {
  return std::strcmp(first, second) == 0;
}
inline bool sameIgnoringCase(const char *first, const char *second) {
  return ostr_EqualIgnoringCase(first, second) != 0;
}
using TableText = std::string_view;
class TextKeeper {
 public:
  static const char *keep(const char *text) { return text; }
};
inline OwnedText newText(std::string_view text) { return toolkit::heapCopy(text); }
inline Oprj_Char *handOut(char *text) { return text; }

#endif

/// The units of a record's text; empty for an unset one. The count is not trusted: some records
/// count their text without the terminating zero.
inline const Oprj_Char *unitsOf(const Oprj_CharStr &text) {
  static constexpr Oprj_Char kNone[1] = {};
  return text.data ? text.data : kNone;
}
/// The text of a record; empty for an unset one.
inline Utf8 textOf(const Oprj_CharStr &text) { return Utf8(unitsOf(text)); }
/// The same for a message, where a long one is cut when there is no memory for the whole.
inline Utf8 shown(const Oprj_CharStr &text) { return Utf8(unitsOf(text), Utf8::Cut()); }
inline Utf8 shown(const Oprj_Char *text) {
  return shown(Oprj_CharStr{0, const_cast<Oprj_Char *>(text)});
}
/// A text that may be missing; null is the empty text.
inline const char *orEmpty(const char *text) { return text ? text : ""; }
inline Utf8 textOf(const char *text) { return Utf8(orEmpty(text)); }
#if defined(OPRJ_WIDE)
inline Utf8 textOf(const char16_t *text) { return Utf8(text ? text : u""); }
#endif

/// The text is missing or empty.
inline bool isBlank(const Oprj_Char *text) { return !text || *text == 0; }
inline bool isBlank(const Oprj_CharStr &text) { return isBlank(text.data); }

/// Equal texts, case included; a missing one is empty.
inline bool sameText(const Oprj_Char *first, const Oprj_Char *second) {
  if (!first || !second) return isBlank(first) && isBlank(second);
  return sameUnits(first, second);
}
inline bool sameText(const Oprj_CharStr &first, const Oprj_CharStr &second) {
  return sameUnits(unitsOf(first), unitsOf(second));
}

/// A copy of the text on the heap; null for null and without memory.
inline OwnedText duplicate(const Oprj_Char *text) {
  if (!text) return {};
  const size_t size = (lengthOf(text) + 1) * sizeof(Oprj_Char);
  OwnedText copy(static_cast<Oprj_Char *>(omsc_HeapMalloc(size)));
  if (copy) std::memcpy(copy.get(), text, size);
  return copy;
}

/// The same for what hands out texts or keeps them; of null the empty text.
inline Oprj_Char *copyOf(const Oprj_Char *text) {
  return (text ? duplicate(text) : newText("")).release();
}

/// Stores inner text in a record, as oprj_CharStrCreate does, whose report is in the slot.
inline bool setText(Oprj_CharStr &target, const char *text, Oerr_Report **err) {
  return oprj_CharStrCreate(Flat(text), &target, err) != nullptr;
}

}  // namespace orvik::oprj

#endif
#endif
