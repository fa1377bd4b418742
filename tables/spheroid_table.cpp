// The spheroid table: one per process, shared by all reference data that use it.
#include <oprj/olex.h>
#include <oprj/othr.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "tables/table_records.h"
#include "tables/upward.h"
#include "toolkit/lasting.h"

namespace orvik::oprj {

namespace {

/// A name as the records have it.
using Name = std::basic_string_view<Oprj_Char>;

/// Takes the record behind a link out of its list.
template <class Record>
Record *unlink(Record **link) {
  Record *taken = *link;
  *link = std::exchange(taken->next, nullptr);
  return taken;
}

void freeDatums(Oprj_DatumTableEntry *list) {
  while (list) {
    Oprj_DatumTableEntry *datum = unlink(&list);
    omsc_HeapFree(datum->name);
    omsc_HeapFree(datum->gridname);
    omsc_HeapFree(datum->description);
    if (const Oprj_SurfaceSource *source = datum->surface) {
      omsc_HeapFree(source->longitudeFile);
      omsc_HeapFree(source->latitudeFile);
      omsc_HeapFree(source->baseDatum);
      omsc_HeapFree(datum->surface);
    }
    omsc_HeapFree(datum);
  }
}

void freeAliases(Oprj_SpheroidAlias *list) {
  while (list) {
    Oprj_SpheroidAlias *alias = unlink(&list);
    omsc_HeapFree(alias->name);
    omsc_HeapFree(alias);
  }
}

/// Equal texts; none equals none only.
bool same(const Oprj_Char *first, const Oprj_Char *second) {
  return first && second ? Name(first) == second : first == second;
}

bool same(const Oprj_SurfaceSource *first, const Oprj_SurfaceSource *second) {
  if (!first || !second) return first == second;
  return first->kind == second->kind && first->longitudeShift == second->longitudeShift &&
         first->latitudeShift == second->latitudeShift &&
         same(first->longitudeFile, second->longitudeFile) &&
         same(first->latitudeFile, second->latitudeFile) && first->bilinear == second->bilinear &&
         first->hasNodata == second->hasNodata && first->nodata == second->nodata &&
         same(first->baseDatum, second->baseDatum) && first->baseIsGrid == second->baseIsGrid &&
         first->fromDatum == second->fromDatum;
}

/// Two datums of one name define the same shift; descriptions may differ.
bool same(const Oprj_DatumTableEntry &first, const Oprj_DatumTableEntry &second) {
  return first.type == second.type && std::ranges::equal(first.params, second.params) &&
         same(first.gridname, second.gridname) && same(first.surface, second.surface);
}

/// The spheroid table map: all spheroids that the process knows, in the order they were read, with
/// indexes of their names and of all datums' names. It counts who uses its list and empties when
/// nobody does, so that a reload starts afresh. Every member is called under the toolkit's guard.
class SpheroidTableMap {
 public:
  /// The process's map.
  static SpheroidTableMap &get() {
    static toolkit::Lasting<SpheroidTableMap> map;
    return *map;
  }

  /// Takes over the entries of a file, *list being what is left when memory runs out (bad_alloc). A
  /// spheroid that is known keeps its axes and number; a datum that is known, under whichever
  /// spheroid, is not loaded. What is left out, or cannot be found, is told, unless it equals what
  /// is known.
  void add(Oprj_SpheroidTableEntry **list) {
    while (Oprj_SpheroidTableEntry *entry = *list) {
      const auto [place, isNew] = spheroids_.try_emplace(entry->name);
      Spheroid &known = place->second;
      unlink(list);
      Oprj_SpheroidAlias *aliases = std::exchange(entry->aliases, nullptr);
      Oprj_DatumTableEntry *datums = std::exchange(entry->datums, nullptr);
      if (isNew) {
        known = {entry, &entry->aliases, &entry->datums};
        append(tail_, entry);
      }
      *known.aliases = aliases;
      *known.datums = datums;
      try {
        if (isNew) {
          indexNumber(entry);
          indexName(entry->name, entry);
        } else {
          const Oprj_SpheroidTableEntry &home = *known.entry;
          if (entry->a != home.a || entry->b != home.b || entry->number != home.number)
            oerr_LogMessage("%s keeps the number and the axes that were read first",
                            textOf(home.name).c_str());
          freeSpheroidEntries(entry);
        }
        indexAliases(known.aliases, known.entry);
        indexDatums(known.datums, known.entry);
      } catch (const std::bad_alloc &) {  // what is not indexed is not kept
        freeAliases(std::exchange(*known.aliases, nullptr));
        freeDatums(std::exchange(*known.datums, nullptr));
        throw;
      }
    }
  }

  bool isList(const Oprj_SpheroidTableEntry *list) const { return list && list == list_; }

  /// The whole list, used once more until it is released.
  Oprj_SpheroidTableEntry *use() {
    if (list_) ++users_;
    return list_;
  }
  void release() {
    if (users_ > 0) --users_;
    emptyIfUnused();
  }
  void emptyIfUnused() {
    if (users_ > 0) return;
    spheroids_.clear();
    numbers_.clear();
    names_.clear();
    datums_.clear();
    freeSpheroidEntries(std::exchange(list_, nullptr));
    tail_ = &list_;
  }

 private:
  /// A spheroid with the last links of its lists.
  struct Spheroid {
    Oprj_SpheroidTableEntry *entry;
    Oprj_SpheroidAlias **aliases;
    Oprj_DatumTableEntry **datums;
  };
  struct Datum {
    const Oprj_DatumTableEntry *entry;
    const Oprj_SpheroidTableEntry *home;
  };

  void indexNumber(const Oprj_SpheroidTableEntry *entry) {
    const auto [first, isNew] = numbers_.try_emplace(entry->number, entry);
    if (!isNew)
      oerr_LogMessage("The spheroid number %ld finds %s, not %s, which was read later",
                      static_cast<long>(entry->number), textOf(first->second->name).c_str(),
                      textOf(entry->name).c_str());
  }
  /// False when the name leads to another spheroid already.
  bool indexName(const Oprj_Char *name, const Oprj_SpheroidTableEntry *entry) {
    const auto [first, isNew] = names_.try_emplace(name, entry);
    if (first->second == entry) return isNew;
    oerr_LogMessage("The spheroid name %s finds %s, not %s, which was read later",
                    textOf(name).c_str(), textOf(first->second->name).c_str(),
                    textOf(entry->name).c_str());
    return false;
  }

  /// Indexes the aliases behind the link `last`, which moves on, and drops those that find nothing
  /// new.
  void indexAliases(Oprj_SpheroidAlias **&last, const Oprj_SpheroidTableEntry *entry) {
    while (Oprj_SpheroidAlias *alias = *last) {
      if (indexName(alias->name, entry)) {
        last = &alias->next;
      } else {
        freeAliases(unlink(last));
      }
    }
  }
  /// The same for datums; those whose scale no datum has are refused.
  void indexDatums(Oprj_DatumTableEntry **&last, const Oprj_SpheroidTableEntry *home) {
    while (Oprj_DatumTableEntry *datum = *last) {
      if (!(std::fabs(datum->params[6]) <= kLargestScaleDifference)) {
        oerr_LogMessage(
            "%s is not loaded because its scale difference %g does not lie between %g and %g",
            textOf(datum->name).c_str(), datum->params[6], -kLargestScaleDifference,
            kLargestScaleDifference);
        freeDatums(unlink(last));
        continue;
      }
      const auto [known, isNew] = datums_.try_emplace(datum->name, Datum{datum, home});
      if (isNew) {
        last = &datum->next;
        continue;
      }
      if (known->second.home != home || !same(*known->second.entry, *datum))
        oerr_LogMessage("%s is not loaded because the datum with same name already exists",
                        textOf(datum->name).c_str());
      freeDatums(unlink(last));
    }
  }

  Oprj_SpheroidTableEntry *list_ = nullptr;
  Oprj_SpheroidTableEntry **tail_ = &list_;
  int64_t users_ = 0;
  // The first that bears a name or number; the keys lie in the records.
  std::unordered_map<Name, Spheroid> spheroids_;
  std::unordered_map<int32_t, const Oprj_SpheroidTableEntry *> numbers_;
  std::unordered_map<Name, const Oprj_SpheroidTableEntry *> names_;
  std::unordered_map<Name, Datum> datums_;
};

/// What kept a callee from reading a source.
enum class Problem { kSyntax, kFile, kMemory };

Problem problemOf(const Oerr_Report *report) {
  switch (oerr_KindGet(oerr_RootCauseGet(report))) {
    case OLEX_SYNTAX:
      return Problem::kSyntax;
    case OFIO_FILE_PROBLEM:
      return Problem::kFile;
    default:
      return Problem::kMemory;
  }
}

/// Parses one source and joins what it holds to the map. A syntax error is printed and what came
/// before it stays; so is the problem of a file that only was `listed` in a directory. All else
/// fails.
bool addSource(const char *text, const Ofio_SearchList *list, const char *name, bool listed,
               ErrorScope &e) {
  Oprj_SpheroidTableEntry *entries = nullptr;
  if (!olex_Parse(text, list, name, spheroidGrammar, &entries, e.cause())) {
    const Problem problem = problemOf(e.causeReport());
    if (problem == Problem::kMemory || (problem == Problem::kFile && !listed)) {
      freeSpheroidEntries(entries);
      return e.fail(2, "Error returned from olex_Parse");
    }
    e.printCause();
  }
  try {
    SpheroidTableMap::get().add(&entries);
    return true;
  } catch (const std::bad_alloc &) {
    freeSpheroidEntries(entries);
    return e.fail(3, "Error allocating spheroid table map");
  }
}

/// A file is taken as its name stands, else where the datum directories have it.
bool addFile(const char *name, ErrorScope &e) {
  const InnerText here{ofio_Which(nullptr, name, e.cause())};
  if (here) return addSource(nullptr, nullptr, name, false, e);
  if (problemOf(e.causeReport()) == Problem::kMemory)
    return e.fail(6, "Error returned from ofio_Which");
  const OwnedSearchList list{OrvikDatum::DatumManagerGetConfigurationSearchList(e.cause())};
  if (!list) return e.fail(1, "DatumManagerGetConfigurationSearchList failed");
  return addSource(nullptr, list.get(), name, false, e);
}

/// What a walk over the datum directories met.
struct Walk {
  int32_t files = 0;
  bool whole = true;  ///< no file was left out for lack of memory
  toolkit::HeapVector<Ofio_FileStamp> met;

  /// A file that several directories lead to is read once: again it would define what is known.
  /// What cannot be asked is new, for its reader to tell why. May throw std::bad_alloc.
  bool isNew(const char *path) {
    Ofio_FileStamp stamp;
    if (!ofio_FileStampGet(path, &stamp, nullptr)) return true;
    const bool known = std::ranges::any_of(met, [&](const Ofio_FileStamp &other) {
      return other.device == stamp.device && other.inode == stamp.inode;
    });
    if (!known) met.push_back(stamp);
    return !known;
  }
};

/// Adds the tables of one directory to the map.
bool addDirectory(const char *directory, Walk &walk, ErrorScope &e) {
  int32_t count = 0;
  char **names = ofio_DirectoryList(directory, "spheroid*.tab", &count, e.cause());
  if (!names) {
    if (problemOf(e.causeReport()) == Problem::kMemory)
      return e.fail(4, "Error returned from ofio_DirectoryList");
    e.printCause();
  }
  bool added = true;
  for (int32_t i = 0; added && i < count; ++i) {
    Oerr_Report *problem = nullptr;
    const InnerText path{ofnp_FileNameSet(directory, names[i], &problem)};
    if (path) {
      try {
        added = !walk.isNew(path.get()) || addSource(nullptr, nullptr, path.get(), true, e);
      } catch (const std::bad_alloc &) {
        added = e.fail(3, "Error allocating spheroid table map");
      }
    } else {
      walk.whole = false;
      problem = oerr_CreateErrorReport(e.operation(), 5, OERR_SEVERITY_ERROR, problem,
                                       "ofnp_FileNameSet fail");
      oerr_PrintErrorReport(problem);
      oerr_DeleteErrorReport(&problem);
    }
  }
  walk.files += count;
  ofio_NamesFree(&names);
  return added;
}

bool addDirectories(ErrorScope &e) {
  const OwnedSearchList list{OrvikDatum::DatumManagerGetConfigurationSearchList(e.cause())};
  if (!list) return e.fail(1, "DatumManagerGetConfigurationSearchList failed");
  const int32_t count = ofio_SearchListCount(list.get());
  Walk walk;
  for (int32_t i = 0; i < count; ++i)
    if (!addDirectory(ofio_SearchListElement(list.get(), i), walk, e)) return false;
  // A table that lacks a file would stay as it is for the life of the process.
  if (!walk.whole) return e.fail(5, "ofnp_FileNameSet fail");
  // Not a failure, but every later lookup of a spheroid will be one.
  if (count == 0)
    oerr_LogMessage("ORVIK_DATUMS_PATH names no directory to read spheroid*.tab from");
  for (int32_t i = 0; walk.files == 0 && i < count; ++i)
    oerr_LogMessage("No spheroid*.tab in \"%s\"", ofio_SearchListElement(list.get(), i));
  return true;
}

}  // namespace

void freeSpheroidEntries(Oprj_SpheroidTableEntry *list) {
  while (list) {
    Oprj_SpheroidTableEntry *entry = unlink(&list);
    freeAliases(entry->aliases);
    freeDatums(entry->datums);
    omsc_HeapFree(entry->name);
    omsc_HeapFree(entry->description);
    omsc_HeapFree(entry);
  }
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_SpheroidTableEntry *oprj_SpheroidTableParse(const Oprj_Char *text, const Oprj_Char *fileName,
                                                 Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidTableParse", err);
  const Utf8 source(text, e), file(fileName, e);
  if (e.failed()) return nullptr;
  const orvik::toolkit::Guard guard;
  auto &map = SpheroidTableMap::get();
  const bool added = source ? addSource(source, nullptr, nullptr, false, e)
                     : file ? addFile(file, e)
                            : addDirectories(e);
  if (added) return map.use();
  map.emptyIfUnused();
  return nullptr;
}

Oprj_SpheroidTableEntry *oprj_SpheroidTableRead(Oprj_InitData *data, const Oprj_Char *fileName,
                                                Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidTableRead", err);
  if (!data) return e.fail(1, "Invalid input InitData");
  Oprj_SpheroidTableEntry *entries = oprj_SpheroidTableParse(nullptr, fileName, e.cause());
  if (e.calleeFailed()) return e.fail(2, "Error returned from oprj_SpheroidTableParse");
  if (data->spheroidTable == entries) {
    oprj_SpheroidTableEntryFree(&entries);  // used by this reference data already
  } else {
    data->spheroidTable = oprj_SpheroidTableEntryList(data->spheroidTable, entries, nullptr);
  }
  return data->spheroidTable;
}

Oprj_SpheroidTableEntry *oprj_SpheroidTableEntryList(Oprj_SpheroidTableEntry *list,
                                                     Oprj_SpheroidTableEntry *entries,
                                                     Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidTableEntryList", err);
  const orvik::toolkit::Guard guard;
  // A list that holds an entry holds all behind it too, for an entry has one successor. So the
  // lists share their ends, as long as these are alike, and only what is in front is to be joined.
  const auto length = [](const Oprj_SpheroidTableEntry *entry) {
    int64_t count = 0;
    for (; entry; entry = entry->next) ++count;
    return count;
  };
  Oprj_SpheroidTableEntry **end = &entries;
  const Oprj_SpheroidTableEntry *listed = list;
  int64_t surplus = length(entries) - length(list);
  for (; surplus > 0; --surplus) end = &(*end)->next;
  for (; surplus < 0; ++surplus) listed = listed->next;
  for (; *end != listed; listed = listed->next) end = &(*end)->next;
  *end = nullptr;
  *tailOf(&list) = entries;
  return list;
}

void oprj_SpheroidTableEntryFree(Oprj_SpheroidTableEntry **list) {
  if (!list) return;
  const orvik::toolkit::Guard guard;
  auto &map = SpheroidTableMap::get();
  // Entries in front of the map's list are the caller's own; the map's are freed with its last use.
  while (*list && !map.isList(*list)) freeSpheroidEntries(unlink(list));
  if (*list) map.release();
  *list = nullptr;
}
