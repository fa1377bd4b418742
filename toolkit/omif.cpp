// Dictionaries of designs and their text form.
//
//   dictionary = { definition } "."
//   definition = "{" { item } "}" design-name ","
//   item       = count ":" [ "*" | "p" ] kind item-name ","
//   kind       = letter | "e" n ":" n * ( value-name "," ) | "o" design-name "," | "x" definition
//
// Dictionaries are shared by threads and grow late: they are searched and changed inside the guard.
//
// Design and item names hold letters, digits and "_". Value names of dictionaries written elsewhere
// also hold blanks and dashes, so the reader takes every printable byte that the grammar leaves.
#include <oprj/omif.h>
#include <oprj/othr.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>
#include <unordered_set>

#include "toolkit/design.h"
#include "toolkit/error_scope.h"
#include "toolkit/mif_plan.h"

using namespace orvik::toolkit;
using namespace orvik::toolkit::mif;

namespace {

constexpr int64_t kMostValues = 65536;     // an enumeration is stored as an unsigned 16-bit index
constexpr size_t kLongestText = 16 << 20;  // a dictionary takes 30 times the memory of its text
constexpr std::string_view kPlainKinds = "124cCsStlLfdmMb";

using DesignOwner = std::unique_ptr<Omif_Design>;

}  // namespace

// ---- Designs

Item::Item(const Item &other)
    : name(other.name),
      count(other.count),
      pointer(other.pointer),
      kind(other.kind),
      offset(other.offset),
      design(other.design),
      values(other.values),
      inPlace(other.inPlace ? std::make_unique<Omif_Design>(*other.inPlace) : nullptr) {}

bool Item::operator==(const Item &other) const {
  if (name != other.name || count != other.count || pointer != other.pointer || kind != other.kind)
    return false;
  if (design != other.design || values != other.values || !inPlace != !other.inPlace) return false;
  return !inPlace || *inPlace == *other.inPlace;
}

Omif_ItemInfo Item::info() const {
  const char *itsDesign = inPlace ? inPlace->name.c_str() : kind == 'o' ? design.c_str() : nullptr;
  return {.name = name.c_str(),
          .kind = kind,
          .pointer = pointer,
          .count = count,
          .design = itsDesign,
          .valueNames = kind == 'e' ? valueNames.data() : nullptr,
          .inPlace = inPlace.get(),
          .offset = offset};
}

Omif_Design::Omif_Design(const Omif_Design &other)
    : HeapRecord(),
      name(other.name),
      items(other.items),
      depth(other.depth),
      hostSize(other.hostSize) {
  seal();
}

Omif_Design::~Omif_Design() { forgetWhatIsKept(); }

void Omif_Design::seal() {
  for (Item &item : items) {
    if (item.inPlace) depth = std::max(depth, item.inPlace->depth + 1);
    if (item.kind != 'e') continue;
    item.valueNames.clear();
    for (const HeapText &value : item.values) item.valueNames.push_back(value.c_str());
    item.valueNames.push_back(nullptr);
  }
}

namespace {

/// A design whose names are being gone through.
struct Open {
  const Omif_Design *design;
  HeapVector<const HeapText *> named;
  size_t next = 0;
};

void collectNames(const Omif_Design &design, HeapVector<const HeapText *> &names) {
  for (const Item &item : design.items) {
    if (item.kind == 'o') names.push_back(&item.design);
    if (item.inPlace) collectNames(*item.inPlace, names);
  }
}

}  // namespace

std::unique_ptr<Omif_Dictionary> orvik::toolkit::mif::companionsOf(const Omif_Design &design) {
  const Omif_Dictionary *dictionary = design.names();
  if (!dictionary) return nullptr;
  const Guard guard;
  auto made = std::make_unique<Omif_Dictionary>();
  std::unordered_set<const Omif_Design *, std::hash<const Omif_Design *>, std::equal_to<>,
                     HeapAllocator<const Omif_Design *>>
      seen{&design};
  // A list of its own instead of calls: chains of names may be as long as a dictionary.
  HeapVector<Open> open;
  const auto enter = [&](const Omif_Design *entered) {
    open.push_back({entered, {}});
    collectNames(*entered, open.back().named);
  };
  enter(&design);
  while (!open.empty()) {
    Open &current = open.back();
    if (current.next < current.named.size()) {
      const Omif_Design *named = dictionary->find(*current.named[current.next++]);
      if (named && seen.insert(named).second) enter(named);
      continue;
    }
    if (current.design != &design) {
      auto copy = std::make_unique<Omif_Design>(*current.design);
      made->adopt(copy);
    }
    open.pop_back();
  }
  return made->designs.empty() ? nullptr : std::move(made);
}

namespace {

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isName(const char *text) {
  const std::string_view name(text ? text : "");
  return !name.empty() && std::all_of(name.begin(), name.end(), isNameCharacter);
}

bool isValueNameCharacter(char c) {
  return static_cast<unsigned char>(c) >= ' ' && c != '\x7F' && c != ',' && c != '{' && c != '}';
}

// ---- From text

/// Where and why a text is no dictionary.
struct SyntaxError {
  size_t position;
  const char *problem;
};

class Decoder {
 public:
  explicit Decoder(std::string_view text) : text_(text) {}

  std::unique_ptr<Omif_Dictionary> decode() {
    dictionary_ = std::make_unique<Omif_Dictionary>();
    while (!take('.')) {
      const size_t start = at_;
      if (!take('{')) fail("expected \"{\" or the final \".\"");
      DesignOwner design = definition(1);
      const Omif_Design *known = dictionary_->find(design->name);
      if (!known) {
        dictionary_->adopt(design);
      } else if (*known != *design) {
        throw SyntaxError{start, "a different design of this name is defined earlier"};
      }
    }
    if (at_ != text_.size()) fail("text behind the final \".\"");
    return std::move(dictionary_);
  }

 private:
  [[noreturn]] void fail(const char *problem) const { throw SyntaxError{at_, problem}; }

  bool take(char c) {
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  void expect(char c, const char *problem) {
    if (!take(c)) fail(problem);
  }
  int32_t number(const char *problem) {
    const size_t start = at_;
    int64_t value = 0;
    while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9') {
      value = value * 10 + (text_[at_++] - '0');
      if (value > INT32_MAX) throw SyntaxError{start, "number above 2147483647"};
    }
    if (at_ == start) fail(problem);
    return static_cast<int32_t>(value);
  }
  std::string_view text(bool (*belongs)(char), const char *problem) {
    const size_t start = at_;
    while (at_ < text_.size() && belongs(text_[at_])) ++at_;
    if (at_ == start) fail(problem);
    return text_.substr(start, at_ - start);
  }

  /// A definition behind its "{".
  DesignOwner definition(int depth) {
    if (depth > kDeepest) {
      --at_;
      fail("designs nested deeper than 64");
    }
    auto design = std::make_unique<Omif_Design>();
    while (!take('}')) design->items.push_back(item(depth));
    design->name = text(isNameCharacter, "expected a design name");
    expect(',', "expected \",\" behind a design name");
    design->seal();
    return design;
  }

  Item item(int depth) {
    Item item;
    item.count = number("expected an item's count or \"}\"");
    expect(':', "expected \":\" behind an item's count");
    if (take('*')) item.pointer = '*';
    else if (take('p')) item.pointer = 'p';
    if (at_ == text_.size()) fail("expected an item's kind");
    item.kind = text_[at_++];
    if (item.kind == 'e') {
      enumeration(item);
    } else if (item.kind == 'o') {
      const size_t start = at_;
      item.design = text(isNameCharacter, "expected a design name");
      if (!dictionary_->find(item.design))
        throw SyntaxError{start, "no design of this name is defined earlier"};
      expect(',', "expected \",\" behind a design name");
    } else if (item.kind == 'x') {
      expect('{', "expected \"{\"");
      item.inPlace = definition(depth + 1);
    } else if (kPlainKinds.find(item.kind) == std::string_view::npos) {
      --at_;
      fail("unknown kind of item");
    }
    item.name = text(isNameCharacter, "expected an item name");
    expect(',', "expected \",\" behind an item name");
    return item;
  }

  void enumeration(Item &item) {
    const size_t start = at_;
    const int64_t count = number("expected the number of values");
    if (count < 1 || count > kMostValues)
      throw SyntaxError{start, "an enumeration needs 1 to 65536 values"};
    expect(':', "expected \":\" behind the number of values");
    for (int64_t i = 0; i < count; ++i) {
      item.values.emplace_back(text(isValueNameCharacter, "expected a value name"));
      expect(',', "expected \",\" behind a value name");
    }
  }

  std::string_view text_;
  size_t at_ = 0;
  std::unique_ptr<Omif_Dictionary> dictionary_;
};

// ---- To text

void appendNumber(HeapText &text, size_t number) {
  char digits[24];
  text.append(digits, static_cast<size_t>(std::snprintf(digits, sizeof digits, "%zu:", number)));
}

void appendDefinition(HeapText &text, const Omif_Design &design) {
  text += '{';
  for (const Item &item : design.items) {
    appendNumber(text, static_cast<size_t>(item.count));
    if (item.pointer) text += item.pointer;
    text += item.kind;
    if (item.kind == 'e') {
      appendNumber(text, item.values.size());
      for (const HeapText &value : item.values) (text += value) += ',';
    } else if (item.kind == 'o') {
      (text += item.design) += ',';
    } else if (item.kind == 'x') {
      appendDefinition(text, *item.inPlace);
    }
    (text += item.name) += ',';
  }
  (text += '}') += design.name;
  text += ',';
}

/// The first item, in place ones included, that names a design which does not stand before `place`;
/// null when a reader would find them all.
const Item *findForwardReference(const Omif_Dictionary &dictionary, const Omif_Design &design,
                                 size_t place) {
  for (const Item &item : design.items) {
    if (item.kind == 'o') {
      const size_t target = dictionary.placeOf(item.design);
      if (target >= place) return &item;
    }
    if (!item.inPlace) continue;
    if (const Item *found = findForwardReference(dictionary, *item.inPlace, place)) return found;
  }
  return nullptr;
}

// ---- From code

/// How the items of omif_DesignCreate are written.
struct ItemForm {
  int32_t kindCode;
  int32_t count;
  char pointer;
  char kind;
};
constexpr ItemForm kForms[] = {
    {OMIF_EMBEDDED, 1, 0, 'x'},  {OMIF_ENUMERATION, 1, 0, 'e'}, {OMIF_INT32, 1, 0, 'l'},
    {OMIF_DOUBLE, 1, 0, 'd'},    {OMIF_BYTES, 0, 'p', 'C'},     {OMIF_STRING, 0, 'p', 'c'},
    {OMIF_DOUBLES, 0, 'p', 'd'}, {OMIF_POINTER, 1, '*', 'o'},
};

/// Null for an unknown kind.
const ItemForm *formOf(int32_t kindCode) {
  const auto *form = std::find_if(std::begin(kForms), std::end(kForms),
                                  [&](const ItemForm &f) { return f.kindCode == kindCode; });
  return form == std::end(kForms) ? nullptr : form;
}

/// What makes a design says of an item.
struct GivenItem {
  Omif_Item item;
  const Omif_Design *embedded;
};

/// The items of a variable argument list, one after the other.
class ListedItems {
 public:
  explicit ListedItems(va_list *arguments) : arguments_(arguments) {}

  /// False at the end. An unknown kind ends reading: who knows what follows.
  bool next(GivenItem &given) {
    given = {};
    given.item.kind = va_arg(*arguments_, int);
    if (given.item.kind == OMIF_END || !formOf(given.item.kind)) return given.item.kind != OMIF_END;
    given.item.name = va_arg(*arguments_, const char *);
    if (given.item.kind == OMIF_POINTER) given.item.target = va_arg(*arguments_, const char *);
    if (given.item.kind == OMIF_EMBEDDED) given.embedded = va_arg(*arguments_, const Omif_Design *);
    if (given.item.kind == OMIF_ENUMERATION) {
      values_.clear();
      do values_.push_back(va_arg(*arguments_, const char *));
      while (values_.back());
      given.item.values = values_.data();
    }
    return true;
  }
  static constexpr bool kHasOffsets = false;

 private:
  va_list *arguments_;
  HeapVector<const char *> values_;
};

/// The items of a table.
class TabledItems {
 public:
  TabledItems(const Omif_Item *items, const Omif_Design *const *embedded)
      : item_(items), embedded_(embedded) {}

  bool next(GivenItem &given) {
    if (item_->kind == OMIF_END) return false;
    given = {*item_++, nullptr};
    if (given.item.kind == OMIF_EMBEDDED && embedded_) given.embedded = *embedded_++;
    return true;
  }
  static constexpr bool kHasOffsets = true;

 private:
  const Omif_Item *item_;
  const Omif_Design *const *embedded_;
};

/// Fills `item`; false with a report.
bool makeItem(Item &item, const GivenItem &given, const char *designName, ErrorScope &e) {
  const ItemForm *form = formOf(given.item.kind);
  if (!form)
    return e.fail(2, "Unknown item kind 0x%03X in design \"%s\"",
                  static_cast<unsigned>(given.item.kind), designName);
  item.count = form->count;
  item.pointer = form->pointer;
  item.kind = form->kind;
  const char *name = given.item.name;
  if (!isName(name))
    return e.fail(3, "Invalid item name \"%s\" in design \"%s\"", name ? name : "", designName);
  item.name = name;
  switch (item.kind) {
    case 'e':
      for (const char *const *value = given.item.values; value && *value; ++value) {
        if (!isName(*value))
          return e.fail(4, "Invalid value name \"%s\" of item \"%s\" in design \"%s\"", *value,
                        name, designName);
        item.values.emplace_back(*value);
      }
      if (item.values.empty() || item.values.size() > kMostValues)
        return e.fail(5, "Item \"%s\" in design \"%s\" needs 1 to 65536 value names", name,
                      designName);
      break;
    case 'x':
      if (!given.embedded)
        return e.fail(6, "No embedded design for item \"%s\" in design \"%s\"", name, designName);
      if (given.embedded->depth >= kDeepest)
        return e.fail(7, "Designs nested deeper than 64 at item \"%s\" in design \"%s\"", name,
                      designName);
      item.inPlace = std::make_unique<Omif_Design>(*given.embedded);
      break;
    case 'o':
      if (!isName(given.item.target))
        return e.fail(8, "Invalid design name \"%s\" of item \"%s\" in design \"%s\"",
                      given.item.target ? given.item.target : "", name, designName);
      item.design = given.item.target;
      break;
    default:
      break;
  }
  return true;
}

/// A design of the given items, in the dictionary when there is one.
template <class Items>
Omif_Design *createDesign(Omif_Dictionary *dictionary, const char *name, Items items,
                          ErrorScope &e) {
  if (!isName(name)) return e.fail(1, "Invalid input design name \"%s\"", name ? name : "");
  return guarded(e, 10, [&]() -> Omif_Design * {
    auto design = std::make_unique<Omif_Design>();
    design->name = name;
    for (GivenItem given; items.next(given);) {
      Item item;
      if (!makeItem(item, given, name, e)) return nullptr;
      if (Items::kHasOffsets) item.offset = static_cast<int64_t>(given.item.offset);
      design->items.push_back(std::move(item));
    }
    design->seal();
    if (!dictionary) return design.release();
    const Guard guard;
    Omif_Design *known = dictionary->find(name);
    if (!known) return dictionary->adopt(design);
    if (*known == *design) return known;
    return e.fail(9, "A different design \"%s\" is in the dictionary", name);
  });
}

}  // namespace

Omif_Dictionary *omif_NewDictionary(Oerr_Report **err) {
  ErrorScope e("omif_NewDictionary", err);
  return guarded(e, 1, [] { return std::make_unique<Omif_Dictionary>().release(); });
}

void omif_DictionaryFree(Omif_Dictionary **dictionary) {
  if (!dictionary) return;
  delete std::exchange(*dictionary, nullptr);
}

Omif_Design *omif_DesignCreate(Omif_Dictionary *dictionary, const char *name, Oerr_Report **err,
                               ...) {
  ErrorScope e("omif_DesignCreate", err);
  va_list arguments;
  va_start(arguments, err);
  Omif_Design *design = createDesign(dictionary, name, ListedItems(&arguments), e);
  va_end(arguments);
  return design;
}

Omif_Design *omif_DesignFromTable(Omif_Dictionary *dictionary, const char *name,
                                  const Omif_Item *items, const Omif_Design *const *embedded,
                                  Oerr_Report **err) {
  ErrorScope e("omif_DesignCreate", err);
  static constexpr Omif_Item kNone[] = {{}};
  return createDesign(dictionary, name, TabledItems(items ? items : kNone, embedded), e);
}

void omif_DesignFree(Omif_Design **design) {
  if (!design) return;
  Omif_Design *done = std::exchange(*design, nullptr);
  if (done && !done->owner) delete done;
}

Omif_Design *omif_DesignCopy(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DesignCopy", err);
  if (!design) return e.fail(1, "Invalid input design");
  return guarded(e, 2, [&] {
    auto copy = std::make_unique<Omif_Design>(*design);
    copy->companions = companionsOf(*design);
    // Who frees objects by the copy must not need memory for that.
    if (design->plan.load(std::memory_order_acquire)) planOf(*copy);
    return copy.release();
  });
}

int32_t omif_DesignsEqual(const Omif_Design *first, const Omif_Design *second) {
  if (!first || !second) return first == second;
  return *first == *second;
}

int32_t omif_AddDesignToDictionary(Omif_Dictionary *dictionary, Omif_Design *design,
                                   Oerr_Report **err) {
  ErrorScope e("omif_AddDesignToDictionary", err);
  if (!dictionary) return e.fail(1, "Invalid input dictionary");
  if (!design) return e.fail(2, "Invalid input design");
  if (design->owner == dictionary) return 1;
  if (design->owner)
    return e.fail(3, "Design \"%s\" belongs to another dictionary", design->name.c_str());
  const Guard guard;
  const Omif_Design *known = dictionary->find(design->name);
  if (known && *known != *design)
    return e.fail(4, "A different design \"%s\" is in the dictionary", design->name.c_str());
  return guarded(e, 5, [&]() -> int32_t {
    DesignOwner given(design);
    if (known) return 1;  // `design` is freed
    try {
      dictionary->adopt(given);
    } catch (const std::bad_alloc &) {
      static_cast<void>(given.release());  // stays the caller's
      throw;
    }
    return 1;
  });
}

const Omif_Design *omif_DictionaryAddDesign(Omif_Dictionary *dictionary, const Omif_Design *design,
                                            Oerr_Report **err) {
  ErrorScope e("omif_DictionaryAddDesign", err);
  if (!dictionary) return e.fail(1, "Invalid input dictionary");
  if (!design) return e.fail(2, "Invalid input design");
  const Guard guard;
  if (const Omif_Design *known = dictionary->find(design->name)) {
    if (*known == *design) return known;
    return e.fail(3, "A different design \"%s\" is in the dictionary", design->name.c_str());
  }
  return guarded(e, 4, [&]() -> const Omif_Design * {
    auto copy = std::make_unique<Omif_Design>(*design);
    return dictionary->adopt(copy);
  });
}

const Omif_Design *omif_DictionarySearchByName(const Omif_Dictionary *dictionary, const char *name,
                                               Oerr_Report **err) {
  ErrorScope e("omif_DictionarySearchByName", err);
  if (!dictionary) return e.fail(1, "Invalid input dictionary");
  if (!name) return e.fail(2, "Invalid input design name");
  const Guard guard;
  return dictionary->find(name);
}

int32_t omif_DictionaryDesignCount(const Omif_Dictionary *dictionary) {
  return dictionary ? static_cast<int32_t>(dictionary->designs.size()) : 0;
}

const Omif_Design *omif_DictionaryDesign(const Omif_Dictionary *dictionary, int32_t index) {
  if (index < 0 || index >= omif_DictionaryDesignCount(dictionary)) return nullptr;
  return dictionary->designs[static_cast<size_t>(index)].get();
}

const char *omif_DesignName(const Omif_Design *design) {
  return design ? design->name.c_str() : "";
}

int32_t omif_DesignItemCount(const Omif_Design *design) {
  return design ? static_cast<int32_t>(design->items.size()) : 0;
}

int32_t omif_DesignItem(const Omif_Design *design, int32_t index, Omif_ItemInfo *info) {
  if (!info || index < 0 || index >= omif_DesignItemCount(design)) return 0;
  *info = design->items[static_cast<size_t>(index)].info();
  return 1;
}

char *omif_DictionaryEncodeToString(const Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("omif_DictionaryEncodeToString", err);
  if (!dictionary) return e.fail(1, "Invalid input dictionary");
  return guarded(e, 3, [&]() -> char * {
    HeapText text;
    for (size_t place = 0; place < dictionary->designs.size(); ++place) {
      const Omif_Design &design = *dictionary->designs[place];
      if (const Item *item = findForwardReference(*dictionary, design, place))
        return e.fail(2, "Item \"%s\" of design \"%s\" names \"%s\", which no earlier design bears",
                      item->name.c_str(), design.name.c_str(), item->design.c_str());
      appendDefinition(text, design);
    }
    text += '.';
    auto copy = heapCopy(text);
    if (!copy) throw std::bad_alloc();
    return copy.release();
  });
}

Omif_Dictionary *omif_DictionaryDecodeFromString(const char *text, Oerr_Report **err) {
  ErrorScope e("omif_DictionaryDecodeFromString", err);
  if (!text) return e.fail(1, "Invalid input dictionary text");
  if (std::strlen(text) > kLongestText)
    return e.fail(4, "Dictionary text longer than 16777216 bytes");
  return guarded(e, 3, [&]() -> Omif_Dictionary * {
    try {
      return Decoder(text).decode().release();
    } catch (const SyntaxError &error) {
      return e.fail(2, "Invalid dictionary text at byte %zu: %s", error.position, error.problem);
    }
  });
}
