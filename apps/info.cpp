// oprj info, check, compact: what a node file holds, whether it is whole, a copy without waste.
#include <cmath>
#include <cstdio>

#include "check.h"
#include "commands.h"
#include "nodes.h"

namespace program {
namespace {

/// Objects as lines of text or as JSON; what goes through them are the functions of a visitor.
class ObjectPrinter {
 public:
  ObjectPrinter(bool json, size_t depth) : json_(json), depth_(depth) {}

  static const Omif_Visitor &visitor() {
    static const Omif_Visitor functions = {objectBegin, objectEnd, absent, text, numbers, table};
    return functions;
  }
  const std::string &out() const { return out_; }

 private:
  static ObjectPrinter &self(void *context) { return *static_cast<ObjectPrinter *>(context); }

  /// The beginning of an item's line.
  void label(const Omif_ItemInfo *item) {
    if (json_) {
      if (!out_.empty() && out_.back() != '{') out_ += ", ";
      out_ += jsonText(item->name) + ": ";
    } else {
      out_ += std::string(2 * depth_, ' ') + printable(item->name) + " = ";
    }
  }
  void value(const Omif_ItemInfo *item, const std::string &words, const std::string &json) {
    label(item);
    out_ += json_ ? json : words + "\n";
  }
  static std::string jsonNumber(double value) {
    return std::isfinite(value) ? numberText(value) : "\"" + numberText(value) + "\"";
  }

  static void objectBegin(void *context, const Omif_ItemInfo *item, const char *design,
                          int64_t index, int64_t count) {
    ObjectPrinter &p = self(context);
    p.open_.push_back(count > 1 && index + 1 == count);
    if (p.json_) {
      if (item && index == 0) p.label(item);
      if (count > 1) p.out_ += index == 0 ? "[" : ", ";
      p.out_ += "{";
    } else if (item) {
      p.out_ += std::string(2 * p.depth_, ' ') + printable(item->name) +
                (count > 1 ? "[" + std::to_string(index) + "]" : "") + ": " + printable(design) +
                "\n";
      ++p.depth_;
    }
  }
  static void objectEnd(void *context) {
    ObjectPrinter &p = self(context);
    const bool last = p.open_.back();
    p.open_.pop_back();
    if (p.json_) p.out_ += last ? "}]" : "}";
    else if (!p.open_.empty()) --p.depth_;
  }
  static void absent(void *context, const Omif_ItemInfo *item) {
    self(context).value(item, "none", "null");
  }
  static void text(void *context, const Omif_ItemInfo *item, const char *text, int64_t length) {
    const std::string_view words(text, static_cast<size_t>(length));
    self(context).value(item, "\"" + printable(words) + "\"", jsonText(words));
  }
  static void numbers(void *context, const Omif_ItemInfo *item, const double *values, int64_t first,
                      int64_t count, int64_t total) {
    constexpr int64_t kShown = 32;  // of a long array, for people
    ObjectPrinter &p = self(context);
    if (first == 0) p.label(item);
    const bool isArray = total > 1 || item->pointer == 'p';
    if (p.json_ && isArray && first == 0) p.out_ += "[";
    for (int64_t i = 0; i < count; ++i) {
      const int64_t place = first + i;
      if (!p.json_ && place >= kShown) {
        if (place == kShown) p.out_ += " ... (" + std::to_string(total) + " values)";
        continue;
      }
      if (place > 0) p.out_ += p.json_ ? ", " : " ";
      const char *name = nameOf(item, values[i]);
      if (name) p.out_ += p.json_ ? jsonText(name) : printable(name);
      else p.out_ += p.json_ ? jsonNumber(values[i]) : numberText(values[i]);
    }
    if (first + count < total) return;
    if (p.json_ && isArray) p.out_ += "]";
    if (!p.json_) p.out_ += "\n";
  }
  /// The name of an enumeration's value; null for other numbers.
  static const char *nameOf(const Omif_ItemInfo *item, double value) {
    if (item->kind != 'e' || !item->valueNames) return nullptr;
    const char *const *name = item->valueNames;
    for (double n = 0; n < value && *name; ++n) ++name;
    return *name;
  }
  static void table(void *context, const Omif_ItemInfo *item, int32_t rows, int32_t columns) {
    const std::string size = std::to_string(rows) + ", \"columns\": " + std::to_string(columns);
    self(context).value(
        item, "table of " + std::to_string(rows) + " rows, " + std::to_string(columns) + " columns",
        "{\"rows\": " + size + "}");
  }

  bool json_;
  size_t depth_;
  std::string out_;
  std::vector<bool> open_;  // objects; whether each is the last of several
};

class TreePrinter {
 public:
  TreePrinter(Ohfa_File *file, bool json) : file_(file), json_(json) {}

  Status print() {
    Status status = kGood;
    size_t depth = 0;
    bool down = true;
    if (json_) std::printf("[");
    while (true) {
      Slot err;
      if (down ? ohfa_EntrySeek(file_, OHFA_CHILD, nullptr, err.get())
               : ohfa_EntrySeek(file_, OHFA_SIBLING, nullptr, err.get())) {
        if (json_ && !down) std::printf("]},");
        depth += down;
        if (!node(depth)) status = kUnusable;
        down = true;
        continue;
      }
      if (err) {
        tell("oprj: " + err.text());
        status = kUnusable;
      }
      if (down) {  // no child: on with the node itself
        down = false;
        if (depth == 0) break;
        continue;
      }
      if (json_) std::printf("]}");
      ohfa_EntrySeek(file_, OHFA_PARENT, nullptr, err.get());
      if (--depth == 0) break;
    }
    if (json_) std::printf("\n]\n");
    return status;
  }

 private:
  /// A node with its object, its children to follow; false when the object cannot be read.
  bool node(size_t depth) {
    Slot err;
    Ohfa_EntryInfo info;
    ohfa_EntryPeek(file_, OHFA_CURRENT, &info, err.get());
    ObjectPrinter object(json_, depth);
    const bool read = ohfa_ObjectVisit(file_, nullptr, OHFA_CURRENT, &ObjectPrinter::visitor(),
                                       &object, err.get());
    const std::string indent(2 * (depth - 1), ' ');
    if (json_) {
      std::printf("\n%s{\"name\": %s, \"design\": %s, \"bytes\": %d, \"time\": %u, ",
                  indent.c_str(), jsonText(info.name).c_str(), jsonText(info.design).c_str(),
                  info.size, info.time);
      if (read && info.design[0]) std::printf("\"object\": %s, ", object.out().c_str());
      if (!read) std::printf("\"problem\": %s, ", jsonText(err.text()).c_str());
      std::printf("\"children\": [");
    } else {
      std::printf("%s%s", indent.c_str(), printable(info.name).c_str());
      if (info.design[0])
        std::printf("  (%s, %d bytes)", printable(info.design).c_str(), info.size);
      std::printf("\n%s", object.out().c_str());
    }
    if (!read) tell("oprj: " + err.text());
    return read;
  }

  Ohfa_File *file_;
  bool json_;
};

Status check(const std::string &path) {
  const OwnedFile file = openNodes(path, OHFA_READ);
  Slot err;
  const auto show = [](void *context, const Ohfa_Finding *finding) {
    const char *path = static_cast<const std::string *>(context)->c_str();
    std::printf("%s: %snode \"%s\", byte %lld: %s\n", path,
                finding->severity == OERR_SEVERITY_ERROR ? "" : "harmless: ",
                printable(finding->node).c_str(), static_cast<long long>(finding->position),
                printable(finding->problem).c_str());
  };
  const bool sound =
      ohfa_FileCheck(file.get(), show, const_cast<std::string *>(&path), err.get()) != 0;
  if (!sound) throw Stop(kUnusable, path + ": " + err.text());
  std::printf("%s: the file is whole\n", path.c_str());
  return kGood;
}

Status compact(const std::string &from, const std::string &to) {
  const OwnedFile file = openNodes(from, OHFA_READ);
  Slot err;
  if (ohfa_FileCopy(file.get(), to.c_str(), err.get())) return kGood;
  const int32_t code = oerr_CodeGet(err.report());
  throw Stop(code == OHFA_DAMAGED || code == OHFA_OBJECT ? kUnusable : kInputOutput, err.text());
}

}  // namespace

void addInfo(CLI::App &app, const Console &console, Action &action) {
  auto path = std::make_shared<std::string>();
  auto output = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  const auto add = [&](const char *name, const char *help) {
    CLI::App *command = app.add_subcommand(name, help);
    command->add_option("file", *path, "Node file")->required()->type_name("FILE");
    return command;
  };
  CLI::App *info = add("info", "Show the nodes of a node file with their objects");
  info->add_flag("--json", *json, "As JSON");
  info->callback([path, json, &action] {
    action = [path, json] { return TreePrinter(openNodes(*path, OHFA_READ).get(), *json).print(); };
  });
  add("check", "Tell what is wrong in a node file, or doubtful in a .prj file")
      ->callback([path, &console, &action] {
        action = [path, &console] {
          return isPrjFile(*path) ? checkPrj(*path, console) : check(*path);
        };
      });
  CLI::App *copy = add("compact", "Copy what is linked in a node file into a new one");
  copy->add_option("-o,--output", *output, "The new file")->required()->type_name("OUT");
  copy->callback(
      [path, output, &action] { action = [path, output] { return compact(*path, *output); }; });
}

}  // namespace program
