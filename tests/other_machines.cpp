// other_machines write FILE | change FILE | show FILE: node files with the toolkit alone, so that
// it can be built for another processor and its files compared with those of this one
// (other_machines.sh).
#include <oprj/ohfa.h>
#include <oprj/omsc.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Inner {
  double value;
  int32_t number;
};
struct Record {
  int32_t number, kind;
  double value;
  Omif_Text text;
  Omif_Bytes bytes;
  struct {
    int32_t count;
    double *data;
  } values;
  Inner *pointed;
  Inner inPlace;
};

const Omif_Design *recordDesign() {
  static const char *const kKinds[] = {"small", "large", nullptr};
  static const Omif_Item kInner[] = {
      {OMIF_DOUBLE, "value", offsetof(Inner, value), nullptr, nullptr},
      {OMIF_INT32, "number", offsetof(Inner, number), nullptr, nullptr},
      {}};
  static const Omif_Item kRecord[] = {
      {OMIF_INT32, "number", offsetof(Record, number), nullptr, nullptr},
      {OMIF_ENUMERATION, "kind", offsetof(Record, kind), nullptr, kKinds},
      {OMIF_DOUBLE, "value", offsetof(Record, value), nullptr, nullptr},
      {OMIF_STRING, "text", offsetof(Record, text), nullptr, nullptr},
      {OMIF_BYTES, "bytes", offsetof(Record, bytes), nullptr, nullptr},
      {OMIF_DOUBLES, "values", offsetof(Record, values), nullptr, nullptr},
      {OMIF_POINTER, "pointed", offsetof(Record, pointed), "Inner", nullptr},
      {OMIF_EMBEDDED, "inPlace", offsetof(Record, inPlace), "Inner", nullptr},
      {}};
  static Omif_Dictionary *const dictionary = omif_NewDictionary(nullptr);
  static const Omif_Design *const inner =
      omif_DesignFromTable(dictionary, "Inner", kInner, nullptr, nullptr);
  static const Omif_Design *const record =
      omif_DesignFromTable(dictionary, "Record", kRecord, &inner, nullptr);
  return record;
}

/// Prints the report with its causes; the program's status.
int failed(const char *what, const Oerr_Report *report) {
  char *text = oerr_ErrorReportToString(report);
  std::fprintf(stderr, "%s: %s\n", what, text);
  omsc_HeapFree(text);
  return 1;
}

/// One object whose every item depends on `number`; the values are exact, with any registers.
int32_t put(Ohfa_File *file, const char *parent, const char *name, int32_t number,
            Oerr_Report **err) {
  std::string text = "number " + std::to_string(number) + " \xC3\xA9";
  uint8_t bytes[] = {0, 255, static_cast<uint8_t>(number)};
  std::vector<double> values;
  for (int i = 0; i < number % 5; ++i) values.push_back(number / 4.0 - i);
  Inner inner = {std::ldexp(-number, -1000), ~number};
  const Record record = {
      number,
      number & 1,
      std::ldexp(number + 0.25, 60),
      {static_cast<int32_t>(text.size() + 1), text.data()},
      {3, bytes},
      {static_cast<int32_t>(values.size()), values.empty() ? nullptr : values.data()},
      number % 3 ? &inner : nullptr,
      inner};
  return ohfa_ObjectWrite(file, parent, name, recordDesign(), &record, OHFA_NEW, err);
}

int change(const char *path, bool create) {
  Oerr_Report *report = nullptr;
  Ohfa_File *file =
      create ? ohfa_FileCreate(path, 0, &report) : ohfa_FileOpen(path, OHFA_UPDATE, &report);
  if (!file) return failed(path, report);
  const char *const parent = create ? "first" : "second";
  if (!ohfa_NodeCreate(file, "", parent, &report)) return failed(parent, report);
  for (int32_t number = -3; number < 30; ++number)
    if (!put(file, parent, ("n" + std::to_string(number)).c_str(), number, &report))
      return failed("object", report);
  if (!create && !ohfa_NodeRemove(file, "first:n7", &report)) return failed("first:n7", report);
  return ohfa_FileClose(&file, &report) ? 0 : failed(path, report);
}

const Omif_Visitor kPrinter = {
    [](void *, const Omif_ItemInfo *item, const char *design, int64_t index, int64_t count) {
      std::printf(" %s:%s[%" PRId64 "/%" PRId64 "](", item ? item->name : "", design, index, count);
    },
    [](void *) { std::printf(" )"); },
    [](void *, const Omif_ItemInfo *item) { std::printf(" %s absent", item->name); },
    [](void *, const Omif_ItemInfo *item, const char *text, int64_t length) {
      std::printf(" %s '%.*s'", item->name, static_cast<int>(length), text);
    },
    [](void *, const Omif_ItemInfo *item, const double *values, int64_t first, int64_t count,
       int64_t) {
      std::printf(" %s@%" PRId64, item->name, first);
      for (int64_t i = 0; i < count; ++i) std::printf(" %a", values[i]);
    },
    nullptr};

/// Every node with the place of its entry and object, visited and read as a record.
int show(const char *path) {
  Oerr_Report *report = nullptr;
  Ohfa_File *file = ohfa_FileOpen(path, OHFA_READ, &report);
  if (!file || !ohfa_FileCheck(file, nullptr, nullptr, &report)) return failed(path, report);
  for (bool down = true;;) {
    if (ohfa_EntrySeek(file, down ? OHFA_CHILD : OHFA_SIBLING, nullptr, &report)) {
      Ohfa_EntryInfo info;
      if (!ohfa_EntryPeek(file, OHFA_CURRENT, &info, &report)) return failed("entry", report);
      std::printf("%s %s %" PRId64 " %" PRId64 " %d", info.name, info.design, info.entry, info.data,
                  info.size);
      if (!ohfa_ObjectVisit(file, nullptr, OHFA_CURRENT, &kPrinter, nullptr, &report))
        return failed(info.name, report);
      if (*info.design) {
        void *object =
            ohfa_ObjectRead(file, nullptr, recordDesign(), OHFA_SOUGHT, nullptr, &report);
        if (!object) return failed(info.name, report);
        const auto *record = static_cast<const Record *>(object);
        std::printf(" = %d %d %a %s %d %d", record->number, record->kind, record->value,
                    record->text.data, record->bytes.data[2], record->values.count);
        for (int32_t i = 0; i < record->values.count; ++i)
          std::printf(" %a", record->values.data[i]);
        for (const Inner *inner : {static_cast<const Inner *>(record->pointed), &record->inPlace})
          if (inner) std::printf(" %a %d", inner->value, inner->number);
        omif_ObjectFree(recordDesign(), &object);
      }
      std::printf("\n");
      down = true;
    } else if (report) {
      return failed("seek", report);
    } else if (down) {
      down = false;
    } else if (!ohfa_EntrySeek(file, OHFA_PARENT, nullptr, &report)) {
      ohfa_FileDiscard(&file);
      return report ? failed("seek", report) : 0;
    }
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  const std::string what = argv[1];
  return what == "show" ? show(argv[2]) : change(argv[2], what == "write");
}
