// Projection libraries: finding and opening them, their items, searching.
#include <oprj/ofio.h>
#include <oprj/olex.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>

#include "datum/grids/grid_output.h"
#include "interchange/projection_library_content.h"
#include "interchange/text_slots.h"
#include "tables/reference_data.h"

namespace orvik::oprj {

std::vector<std::string_view> titlesOf(const LibraryContent &content) {
  std::vector<std::string_view> titles;
  for (const LibraryItem *item : content.items) titles.emplace_back(item->told.title);
  return titles;
}

namespace {

constexpr std::string_view kEnding = ".plib";
constexpr Oprj_Char kNoText[1] = {};

OwnedLibrary newLibrary() {
  OwnedLibrary library(new Oprj_ProjectionLibrary);
  library->content = std::make_unique<LibraryContent>();
  return library;
}

bool isFileName(std::string_view name) {
  return name.size() > kEnding.size() &&
         toolkit::equalIgnoringCase(name.substr(name.size() - kEnding.size()), kEnding);
}

/// Reads the name of a library's file. What is wrong with the file is told to the message log.
bool readName(const char *path, std::string &name) {
  Oerr_Report *report = nullptr;
  if (olex_Parse(nullptr, nullptr, path, libraryNameGrammar, &name, &report)) return true;
  const Oerr_Report *root = oerr_RootCauseGet(report);
  const bool ofFile =
      oerr_KindGet(report) == OLEX_SYNTAX || oerr_KindGet(root) == OFIO_FILE_PROBLEM;
  if (ofFile) oerr_LogMessage("%s", oerr_MessageGet(root));
  oerr_DeleteErrorReport(&report);
  if (!ofFile) throw std::bad_alloc();
  return false;
}

/// The library files of a directory; none of one that cannot be read.
struct LibraryFiles {
  char **names = nullptr;
  int32_t count = 0;
  explicit LibraryFiles(const char *directory) {
    Oerr_Report *report = nullptr;
    names = ofio_DirectoryList(directory, "*.plib", &count, &report);
    const bool ofFile = names || oerr_KindGet(report) == OFIO_FILE_PROBLEM;
    oerr_DeleteErrorReport(&report);
    if (!ofFile) throw std::bad_alloc();
  }
  ~LibraryFiles() { ofio_NamesFree(&names); }
  LibraryFiles(const LibraryFiles &) = delete;
  LibraryFiles &operator=(const LibraryFiles &) = delete;
};

struct Found {
  std::string name, path;
};
const Found *findLibrary(const std::vector<Found> &libraries, std::string_view name) {
  const auto found = std::find_if(libraries.begin(), libraries.end(), [name](const Found &each) {
    return toolkit::equalIgnoringCase(each.name, name);
  });
  return found == libraries.end() ? nullptr : &*found;
}

/// The libraries along a search list, the first of each name.
std::vector<Found> librariesOf(const Ofio_SearchList &list) {
  std::vector<Found> found;
  for (int32_t i = 0; i < ofio_SearchListCount(&list); ++i) {
    const char *directory = ofio_SearchListElement(&list, i);
    const LibraryFiles files(directory);
    for (int32_t n = 0; n < files.count; ++n) {
      const InnerText path(ofnp_FileNameSet(directory, files.names[n], nullptr));
      if (!path) throw std::bad_alloc();
      std::string name;
      if (readName(path.get(), name) && !findLibrary(found, name))
        found.push_back({std::move(name), path.get()});
    }
  }
  return found;
}

/// Adds what stands nearest to a name to a report.
template <class Names>
Failed failUnknown(ErrorScope &e, Oerr_Report **slot, int32_t code, const char *what,
                   const char *name, const Names &names) {
  const auto near = toolkit::nearestNames(name, names);
  const Failed failed = e.fail(code, "There is no %s \"%s\"%s", what, name,
                               toolkit::nearestHint(name, names).c_str());
  if (slot)
    for (const std::string_view each : near) oerr_SuggestionAdd(*slot, std::string(each).c_str());
  return failed;
}

bool containsIgnoringCase(std::string_view text, std::string_view word) {
  return std::search(text.begin(), text.end(), word.begin(), word.end(), [](char a, char b) {
           return toolkit::lowerAscii(a) == toolkit::lowerAscii(b);
         }) != text.end();
}

/// Each word of `words` is in a text of the item.
bool hasWords(const ItemTexts &item, std::string_view words) {
  while (!(words = trimmed(words)).empty()) {
    const size_t end = std::min(words.find_first_of(" \t\r\n"), words.size());
    const std::string_view word = words.substr(0, end);
    if (!containsIgnoringCase(item.title, word) &&
        !containsIgnoringCase(orEmpty(item.code), word) &&
        !containsIgnoringCase(orEmpty(item.category), word))
      return false;
    words.remove_prefix(end);
  }
  return true;
}

bool isIn(const ItemTexts &item, std::string_view category) {
  return category.empty() || containsIgnoringCase("/" + std::string(orEmpty(item.category)) + "/",
                                                  "/" + std::string(category) + "/");
}

/// Degrees eastwards from the west of an area; its width is that of its east.
double eastOf(const Oprj_ProjectionItem &item, double longitude) {
  const double off = std::fmod(longitude - item.west, 360);
  return off < 0 ? off + 360 : off;
}
double widthOf(const Oprj_ProjectionItem &item) {
  return item.east - item.west + (item.east < item.west ? 360 : 0);
}
bool covers(const Oprj_ProjectionItem &item, const Oprj_Coordinate &place) {
  return item.hasArea && place.y >= item.south && place.y <= item.north &&
         eastOf(item, place.x) <= widthOf(item);
}
/// On the unit sphere.
double areaOf(const Oprj_ProjectionItem &item) {
  return widthOf(item) *
         (std::sin(item.north * kRadiansPerDegree) - std::sin(item.south * kRadiansPerDegree));
}

/// A text that a file can hold between quotes; `name`: as a name.
const char *heldWords(std::string_view words, const char *what, bool name,
                      LibraryContent &content) {
  if (words.find_first_of("\"\r\n") != words.npos ||
      (name && (words.ends_with(' ') || words.ends_with('\t'))))
    throw UnusableItem{std::string("the ") + what + " cannot be written: " + inQuotes(words)};
  return content.keep(words);
}

/// A caller's text as its bytes in a file.
class GivenText {
 public:
  explicit GivenText(const Oprj_Char *text) : text_(textOf(text)) {
    if (!text_.wellFormed()) throw UnusableItem{"A text is no UTF-16"};
  }
  operator std::string_view() const { return text_.view(); }

 private:
  const Utf8 text_;
};

const char *heldText(const Oprj_Char *text, const char *what, bool name, LibraryContent &content) {
  return heldWords(GivenText(text), what, name, content);
}

/// A node of an engine's text, whole.
const char *heldNode(std::string_view text, std::span<const std::string_view> words,
                     LibraryContent &content) {
  const std::string_view node = trimmed(text);
  if (!node.empty() &&
      nodeEnd(node.data(), node.data() + node.size(), words) != node.data() + node.size())
    throw UnusableItem{"not a text of " + std::string(words[0]) + "[...]: " + std::string(node)};
  return content.keep(node);
}

bool isArea(const Oprj_ProjectionItem &item) {
  return std::fabs(item.west) <= 180 && std::fabs(item.east) <= 180 && item.south <= item.north &&
         item.south >= -90 && item.north <= 90;
}

/// A copy of an item, its texts kept by `content`.
LibraryItem copyOf(const Oprj_ProjectionItem &item, LibraryContent &content) {
  LibraryItem copy;
  copy.told.title = heldText(item.title, "title", true, content);
  const GivenText category(item.category);
  const std::string_view path = category;
  if (path.starts_with('/') || path.ends_with('/') || path.find("//") != path.npos ||
      std::count(path.begin(), path.end(), '/') >= kCategoryDepth)
    throw UnusableItem{"the category cannot be written: " + inQuotes(path)};
  for (size_t at = 0; at < path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    heldWords(path.substr(at, end - at), "category", true, content);
    at = end + 1;
  }
  copy.told.category = heldWords(path, "category", true, content);
  copy.told.code = heldText(item.code, "code", false, content);
  copy.told.unit = heldText(item.unit, "unit", true, content);
  if (item.hasArea && !isArea(item)) throw UnusableItem{"the area is none"};
  copy.shown.hasArea = item.hasArea;
  copy.shown.west = item.west;
  copy.shown.south = item.south;
  copy.shown.east = item.east;
  copy.shown.north = item.north;
  copy.told.elevation = heldNode(GivenText(item.elevation), kVerticalWords, content);
  if (const ItemSystem *system = item.system) {
    copy.system = *system;
    for (const char **text : {&copy.system.string, &copy.system.executable, &copy.system.name,
                              &copy.system.spheroid, &copy.system.datum})
      *text = content.keep(orEmpty(*text));
  } else if (!isBlank(item.string)) {
    copy.system.string = heldNode(GivenText(item.string), kHorizontalWords, content);
  } else {
    Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
    const Oprj_InitData *data = oprj_InitDataGet(toolkit, nullptr);
    if (!data) throw UnusableItem{"the reference data cannot be loaded"};
    copy.system = systemOfRecord(toolkit, *data, *item.record, content);
    if (copy.system.string)
      copy.system.string = heldNode(copy.system.string, kHorizontalWords, content);
  }
  return copy;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;
using orvik::toolkit::guarded;

Oprj_Char **oprj_ProjectionLibraryNames(Oint_Toolkit *, int32_t *count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryNames", err);
  if (!count) return e.fail(1, "Invalid output count");
  *count = 0;
  const OwnedSearchList list(ofio_CreateSLFromEnv(kProjectionsPath, ".", e.cause()));
  if (!list) return e.fail(2, "Error returned from ofio_CreateSLFromEnv");
  return guarded(e, 3, [&]() -> Oprj_Char ** {
    const std::vector<Found> found = librariesOf(*list);
    // Ended by a null, as ofio_NamesFree wants it.
    auto **names = static_cast<Oprj_Char **>(omsc_HeapCalloc(found.size() + 1, sizeof(void *)));
    if (!names) throw std::bad_alloc();
    for (size_t i = 0; i < found.size(); ++i) {
      names[i] = newText(found[i].name).release();
      if (names[i]) continue;
      oprj_ProjectionLibraryNamesFree(&names);
      throw std::bad_alloc();
    }
    *count = static_cast<int32_t>(found.size());
    return names;
  });
}

void oprj_ProjectionLibraryNamesFree(Oprj_Char ***names) {
  if (!names || !*names) return;
  for (Oprj_Char **name = *names; *name; ++name) omsc_HeapFree(*name);
  omsc_HeapFree(*names);
  *names = nullptr;
}

Oprj_ProjectionLibrary *oprj_ProjectionLibraryOpen(Oint_Toolkit *, const Oprj_Char *given,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryOpen", err);
  if (isBlank(given)) return e.fail(1, "Invalid input library name");
  const OwnedSearchList list(ofio_CreateSLFromEnv(kProjectionsPath, ".", e.cause()));
  if (!list) return e.fail(2, "Error returned from ofio_CreateSLFromEnv");
  return guarded(e, 5, [&]() -> Oprj_ProjectionLibrary * {
    const Utf8 nameOrFile(given);
    std::string path = nameOrFile.str();
    bool asItStands = true;
    if (isFileName(path)) {
      Ofio_FileStamp stamp;
      asItStands = ofio_FileStampGet(nameOrFile, &stamp, nullptr) != 0;
    } else {
      const std::vector<Found> all = librariesOf(*list);
      const Found *found = findLibrary(all, nameOrFile.view());
      if (!found) {
        std::vector<std::string> names;
        for (const Found &each : all) names.push_back(each.name);
        return failUnknown(e, err, 3, "projection library", nameOrFile, names);
      }
      path = found->path;
    }
    OwnedLibrary library = newLibrary();
    if (!olex_Parse(nullptr, asItStands ? nullptr : list.get(), path.c_str(), libraryGrammar,
                    library->content.get(), e.cause()))
      return e.fail(4, "Error returned from olex_Parse");
    library->content->show();
    return library.release();
  });
}

Oprj_ProjectionLibrary *oprj_ProjectionLibraryCreate(const Oprj_Char *name, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryCreate", err);
  if (isBlank(name) || std::find(name, name + lengthOf(name), '/') != name + lengthOf(name))
    return e.fail(1, "Invalid input library name");
  return usingItems(e, 1, [&]() -> Oprj_ProjectionLibrary * {
    OwnedLibrary library = newLibrary();
    library->content->name = heldText(name, "library's name", true, *library->content);
    library->content->show();
    return library.release();
  });
}

int32_t oprj_ProjectionLibraryWrite(const Oprj_ProjectionLibrary *library,
                                    const Oprj_Char *fileName, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryWrite", err);
  if (!library) return e.fail(1, "Invalid input Oprj_ProjectionLibrary");
  if (isBlank(fileName)) return e.fail(2, "Invalid input file name");
  return guarded(e, 4, [&]() -> int32_t {
    const Utf8 file(fileName);
    const std::string text = libraryText(*library->content);
    GridOutput output(file.str());
    output.bytes(text.data(), text.size());
    if (!output.finish()) return e.fail(3, "%s: %s", file.c_str(), output.reason().c_str());
    return 1;
  });
}

void oprj_ProjectionLibraryFree(Oprj_ProjectionLibrary **library) {
  if (!library) return;
  delete *library;
  *library = nullptr;
}

const Oprj_Char *oprj_ProjectionLibraryName(const Oprj_ProjectionLibrary *library) {
  return library ? library->content->shownName : kNoText;
}
const Oprj_Char *oprj_ProjectionLibraryDescription(const Oprj_ProjectionLibrary *library) {
  return library ? library->content->shownDescription : kNoText;
}

int32_t oprj_ProjectionLibraryCount(const Oprj_ProjectionLibrary *library) {
  return library ? static_cast<int32_t>(library->content->items.size()) : 0;
}

const Oprj_ProjectionItem *oprj_ProjectionLibraryItem(const Oprj_ProjectionLibrary *library,
                                                      int32_t index) {
  if (index < 0 || index >= oprj_ProjectionLibraryCount(library)) return nullptr;
  return &library->content->items[static_cast<size_t>(index)]->shown;
}

const Oprj_ProjectionItem *oprj_ProjectionLibraryFind(const Oprj_ProjectionLibrary *library,
                                                      const Oprj_Char *title) {
  ErrorScope e("oprj_ProjectionLibraryFind", nullptr);
  const Utf8 name(title, e);
  if (e.failed()) oerr_LogMessage("oprj_ProjectionLibraryFind: Out of memory");
  if (!library || !name || e.failed()) return nullptr;
  const auto found = library->content->titles.find(name.view());
  return found == library->content->titles.end() ? nullptr : &found->second->shown;
}

int32_t oprj_ProjectionLibraryAdd(Oprj_ProjectionLibrary *library, const Oprj_ProjectionItem *item,
                                  Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryAdd", err);
  if (!library) return e.fail(1, "Invalid input Oprj_ProjectionLibrary");
  if (!item || isBlank(item->title) || (!item->system && !item->record && isBlank(item->string)))
    return e.fail(2, "Invalid input Oprj_ProjectionItem");
  return usingItems(e, 4, [&]() -> int32_t {
    LibraryContent &content = *library->content;
    if (const Utf8 title(item->title); content.titles.contains(title.view()))
      return e.fail(3, "The title \"%s\" is taken", title.c_str());
    const size_t texts = content.texts.size();
    const size_t count = content.items.size();
    LibraryItem *made = nullptr;
    try {
      made = &content.storage.emplace_back(copyOf(*item, content));
      made->show();
      content.items.push_back(made);
      content.titles.emplace(made->told.title, made);
    } catch (...) {  // nothing of it stays
      content.items.resize(count);
      if (made) content.storage.pop_back();
      content.texts.resize(texts);
      throw;
    }
    library->index.reset();
    return 1;
  });
}

int32_t oprj_ProjectionLibraryRemove(Oprj_ProjectionLibrary *library, const Oprj_Char *given,
                                     Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryRemove", err);
  if (!library) return e.fail(1, "Invalid input Oprj_ProjectionLibrary");
  return guarded(e, 3, [&]() -> int32_t {
    LibraryContent &content = *library->content;
    const Utf8 title = textOf(given);
    const auto found = content.titles.find(title.view());
    if (found == content.titles.end())
      return failUnknown(e, err, 2, "item", title, titlesOf(content));
    std::erase(content.items, found->second);
    content.titles.erase(found);
    library->index.reset();
    return 1;
  });
}

int32_t *oprj_ProjectionLibrarySearch(const Oprj_ProjectionLibrary *library, const Oprj_Char *words,
                                      const Oprj_Char *category, const Oprj_Coordinate *place,
                                      int32_t *count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibrarySearch", err);
  if (!library) return e.fail(1, "Invalid input Oprj_ProjectionLibrary");
  if (!count) return e.fail(2, "Invalid output count");
  *count = 0;
  return guarded(e, 3, [&]() -> int32_t * {
    const auto &items = library->content->items;
    const Utf8 wanted = textOf(words), within = textOf(category);
    std::vector<int32_t> found;
    for (size_t i = 0; i < items.size(); ++i) {
      const LibraryItem &item = *items[i];
      if (hasWords(item.told, wanted.view()) && isIn(item.told, within.view()) &&
          (!place || covers(item.shown, *place)))
        found.push_back(static_cast<int32_t>(i));
    }
    if (place) {
      const auto area = [&items](int32_t i) {
        return areaOf(items[static_cast<size_t>(i)]->shown);
      };
      std::stable_sort(found.begin(), found.end(),
                       [&area](int32_t one, int32_t other) { return area(one) < area(other); });
    }
    auto *result = static_cast<int32_t *>(omsc_HeapCalloc(found.size() + 1, sizeof(int32_t)));
    if (!result) throw std::bad_alloc();
    std::copy(found.begin(), found.end(), result);
    *count = static_cast<int32_t>(found.size());
    return result;
  });
}

int32_t oprj_ProjectionItemInit(Oint_Toolkit *toolkit, const Oprj_ProjectionItem *item,
                                Oprj_MapProjectionEx **handle, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionItemInit", err);
  if (handle) *handle = nullptr;
  if (!item || !handle || (!item->system && !item->record && isBlank(item->string)))
    return e.fail(1, "Args");
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  const Oprj_InitData *data = loadedData(toolkit, e.cause());
  if (!data) return e.fail(2, "Error returned from oprj_Init");
  OwnedParameters record;
  const bool made = usingItems(e, 3, [&]() -> bool {
    const Utf8 string(item->string);
    ItemSystem text;
    text.string = string;
    if (item->system || !isBlank(item->string))
      record = recordOfSystem(toolkit, *data, item->system ? *item->system : text, true);
    return true;
  });
  if (!made) return 0;
  if (!oprj_ProjectionInit(toolkit, record ? record.get() : item->record, handle, e.cause()))
    return e.fail(5, "Error returned from oprj_ProjectionInit");
  return 1;
}
