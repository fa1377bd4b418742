// What a projection library holds, and the parts that work on it: reading, writing, systems of
// items, equivalents.
#ifndef OPRJ_INTERCHANGE_PROJECTION_LIBRARY_CONTENT_H
#define OPRJ_INTERCHANGE_PROJECTION_LIBRARY_CONTENT_H

#include <oprj/ocvt.h>
#include <oprj/projection_library.h>
#include <oprj/system.h>

#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "records/records.h"
#include "tables/table_records.h"
#include "toolkit/nearest.h"

namespace orvik::oprj {

/// How deep categories may lie within categories.
inline constexpr int kCategoryDepth = 32;

struct ItemSlot {
  int32_t index;
  double value;  ///< as the record has it
};

}  // namespace orvik::oprj

/// The system of an item: a text of the Projection Engine, or what a parameter record says, its
/// spheroid and datum by name. Texts are the library's; null where there is none.
struct Oprj_ProjectionItemSystem {
  const char *string = nullptr;
  int32_t number = 0;
  const char *executable = nullptr;  ///< of an external projection
  const char *name = nullptr;        ///< null: that of the dictionary
  int32_t zone = 0;
  orvik::toolkit::HeapVector<orvik::oprj::ItemSlot> slots;  ///< by rising index; others are 0
  const char *spheroid = nullptr, *datum = nullptr;
  double a = 0, b = 0;  ///< m; 0: those of the spheroid in the tables
};

namespace orvik::oprj {

using ItemSystem = Oprj_ProjectionItemSystem;

/// The texts of an item besides its system, the library's; null where there is none.
struct ItemTexts {
  const char *title = nullptr, *category = nullptr, *code = nullptr, *unit = nullptr;
  const char *elevation = nullptr;
};

struct LibraryItem {
  ItemTexts told;
  ItemSystem system;
  Oprj_ProjectionItem shown{};             ///< what is lent of it, and its area
  [[no_unique_address]] TextKeeper texts;  ///< of `shown`

  /// Fills the texts that are lent, and the system. To be called when these stand where they will
  /// stay. Throws std::bad_alloc.
  void show();
};

/// A title as a key: ASCII letters in any case.
struct TitleHash {
  size_t operator()(std::string_view title) const;
};
struct SameTitle {
  bool operator()(std::string_view first, std::string_view second) const {
    return toolkit::equalIgnoringCase(first, second);
  }
};

/// What a file holds. Texts lie in `bytes` or each in a block of its own.
struct LibraryContent : toolkit::HeapRecord {
  InnerText bytes;
  std::deque<InnerText, toolkit::HeapAllocator<InnerText>> texts;
  const char *name = "", *description = "";
  const Oprj_Char *shownName = nullptr, *shownDescription = nullptr;  ///< as they are lent
  TextKeeper shownTexts;
  std::deque<LibraryItem, toolkit::HeapAllocator<LibraryItem>> storage;  ///< keeps addresses
  toolkit::HeapVector<LibraryItem *> items;                              ///< in their order
  std::unordered_map<std::string_view, LibraryItem *, TitleHash, SameTitle,
                     toolkit::HeapAllocator<std::pair<const std::string_view, LibraryItem *>>>
      titles;

  /// A copy of its own; null for an empty text. Throws std::bad_alloc.
  const char *keep(std::string_view text);
  /// Makes the name and the description that are lent. Throws std::bad_alloc.
  void show();
};

/// Grammar for olex_Parse; `result` is a LibraryContent.
int64_t libraryGrammar(const char *text, size_t size, void *result, const char **expected);
/// The same for the library's name alone; `result` is a std::string.
int64_t libraryNameGrammar(const char *text, size_t size, void *result, const char **expected);

/// Titles in the items' order.
std::vector<std::string_view> titlesOf(const LibraryContent &content);

/// The file's text of a library.
std::string libraryText(const LibraryContent &content);

/// The end of a node of an engine's text, PROJCS[...]: behind the bracket that closes its first
/// one; null when it is not closed. `words` are the keywords that may begin it.
const char *nodeEnd(const char *begin, const char *end, std::span<const std::string_view> words);
/// The keywords of vertical and of other systems.
inline constexpr std::string_view kVerticalWords[] = {"VERTCS"};
inline constexpr std::string_view kHorizontalWords[] = {"PROJCS", "GEOGCS"};

/// What is wrong with an item: thrown inside of this room, a report at its edge.
struct UnusableItem {
  std::string message;
};

/// Runs a body that may find something unusable: a report of `code`, or of the next one for want of
/// memory.
template <class Body>
auto usingItems(ErrorScope &e, int32_t code, Body body) -> decltype(body()) {
  return toolkit::guarded(e, code + 1, [&]() -> decltype(body()) {
    try {
      return body();
    } catch (const UnusableItem &problem) {
      return e.fail(code, "%s", problem.message.c_str());
    }
  });
}

/// The record of a system. Throws UnusableItem and std::bad_alloc. `loud` tells the message log of
/// a datum that is only a name.
OwnedParameters recordOfSystem(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                               const ItemSystem &system, bool loud);
/// The system of a record, its texts kept by `content`. Throws UnusableItem when none gives the
/// record back.
ItemSystem systemOfRecord(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                          const Oprj_ProParameters &record, LibraryContent &content);

/// Finds the equivalents of systems in a library.
class EquivalentIndex {
 public:
  /// Throws std::bad_alloc.
  EquivalentIndex(Oint_Toolkit *toolkit, const Oprj_InitData &data, const LibraryContent &content);
  ~EquivalentIndex();
  /// The place of the first equivalent item, or -1. `unit` null: metres or degrees. Throws
  /// UnusableItem for an engine's system whose record cannot be projected, and std::bad_alloc.
  int32_t find(const Oprj_MapProjectionEx &projection, const Ocvt_Unit *unit) const;

 private:
  struct Entries;
  std::unique_ptr<Entries> entries_;
};

}  // namespace orvik::oprj

struct Oprj_ProjectionLibrary : orvik::toolkit::HeapRecord {
  std::unique_ptr<orvik::oprj::LibraryContent> content;
  mutable std::mutex making;  ///< of the index
  mutable std::unique_ptr<orvik::oprj::EquivalentIndex> index;
};

namespace orvik::oprj {

using OwnedLibrary = Owner<Oprj_ProjectionLibrary, oprj_ProjectionLibraryFree>;

/// Fills a system of zeros with that of an item, @LIBRARY/TITLE; points of a record without a unit
/// have none. False with a report of `code` that speaks to who wrote it, or of the next one for
/// want of memory.
bool readLibraryPlace(Oint_Toolkit *toolkit, const std::string &place, Oprj_System &system,
                      ErrorScope &e, int32_t code);

}  // namespace orvik::oprj

#endif
