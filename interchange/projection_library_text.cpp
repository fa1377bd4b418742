// Libraries as their file has them, always in the same way.
#include "interchange/number_text.h"
#include "interchange/projection_library_content.h"
#include "interchange/text_names.h"

namespace orvik::oprj {
namespace {

class LibraryWriter {
 public:
  explicit LibraryWriter(const LibraryContent &content) {
    text_ = "library " + inQuotes(content.name);
    if (*content.description) text_ += " description " + inQuotes(content.description);
    text_ += '\n';
    for (const LibraryItem *item : content.items) {
      enter(orEmpty(item->told.category));
      write(*item);
    }
    enter("");
  }
  std::string take() { return std::move(text_); }

 private:
  void line(const std::string &words) {
    text_ += std::string(2 * levels_.size(), ' ') + words + '\n';
  }

  /// Closes and opens categories until those of a path are open.
  void enter(std::string_view path) {
    std::vector<std::string_view> wanted;
    while (!path.empty()) {
      const size_t end = std::min(path.find('/'), path.size());
      wanted.push_back(path.substr(0, end));
      path.remove_prefix(std::min(end + 1, path.size()));
    }
    const auto same = std::mismatch(levels_.begin(), levels_.end(), wanted.begin(), wanted.end());
    for (auto left = levels_.end() - same.first; left > 0; --left) {
      levels_.pop_back();
      line("}");
    }
    for (size_t level = levels_.size(); level < wanted.size(); ++level) {
      line("category " + inQuotes(wanted[level]) + " {");
      levels_.push_back(wanted[level]);
    }
  }

  void write(const LibraryItem &item) {
    const ItemTexts &told = item.told;
    line("item " + inQuotes(told.title) + " {");
    levels_.push_back(told.title);
    std::string head;
    addText(head, "code", told.code);
    addText(head, "units", told.unit);
    if (item.shown.hasArea) {
      add(head, "area");
      const Oprj_ProjectionItem &area = item.shown;
      for (const double side : {area.west, area.south, area.east, area.north})
        add(head, shortest(side));
    }
    if (!head.empty()) line(head);
    if (told.elevation) line(std::string("elevation ") + told.elevation);
    line(item.system.string ? item.system.string : recordOf(item.system));
    levels_.pop_back();
    line("}");
  }

  static std::string recordOf(const ItemSystem &system) {
    std::string words;
    if (system.executable) addText(words, "external", system.executable);
    else words = std::to_string(system.number);
    addText(words, "name", system.name);
    if (system.zone != 0) add(words, "zone " + std::to_string(system.zone));
    for (const ItemSlot &slot : system.slots)
      add(words, "p " + std::to_string(slot.index) + " " + valueOf(slot.value));
    addText(words, "spheroid", system.spheroid);
    addText(words, "datum", system.datum);
    if (system.a > 0) add(words, "axes " + shortest(system.a) + " " + shortest(system.b));
    return words;
  }
  /// The shorter one of the value and of its degrees.
  static std::string valueOf(double value) {
    const std::string plain = shortest(value), degrees = degreesOf(value) + " d";
    return degrees.size() > 2 && degrees.size() < plain.size() ? degrees : plain;
  }

  static void add(std::string &line, const std::string &words) {
    line += (line.empty() ? "" : " ") + words;
  }
  static void addText(std::string &line, const char *key, const char *text) {
    if (text) add(line, std::string(key) + " " + inQuotes(text));
  }

  std::string text_;
  std::vector<std::string_view> levels_;  ///< the braces that are open
};

}  // namespace

std::string libraryText(const LibraryContent &content) { return LibraryWriter(content).take(); }

}  // namespace orvik::oprj
