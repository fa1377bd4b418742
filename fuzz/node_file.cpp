// Whole node files: every node is visited, shown and read, and the file is checked and copied.
#include <oprj/ohfa.h>
#include <oprj/omsc.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct Record {
  int32_t number;
  struct {
    int32_t count;
    char *data;
  } text;
};

const Omif_Design *designNamed(const char *name) {
  static const Omif_Item kItems[] = {
      {OMIF_INT32, "number", offsetof(Record, number), nullptr, nullptr},
      {OMIF_STRING, "text", offsetof(Record, text), nullptr, nullptr},
      {}};
  static Omif_Dictionary *const dictionary = omif_NewDictionary(nullptr);
  return omif_DesignFromTable(dictionary, name, kItems, nullptr, nullptr);
}

void walk(Ohfa_File *file) {
  const Omif_Visitor visitor = {};
  static const Omif_Design *const design = designNamed("Note");
  Ohfa_EntryInfo info;
  ohfa_PathSeek(file, "", nullptr);
  for (bool down = true;;) {
    if (ohfa_EntrySeek(file, down ? OHFA_CHILD : OHFA_SIBLING, nullptr, nullptr)) {
      ohfa_EntryPeek(file, OHFA_CURRENT, &info, nullptr);
      ohfa_ObjectVisit(file, nullptr, OHFA_CURRENT, &visitor, nullptr, nullptr);
      void *record = ohfa_ObjectRead(file, nullptr, design, OHFA_SOUGHT, nullptr, nullptr);
      omif_ObjectFree(design, &record);
      down = true;
    } else if (down) {
      down = false;
    } else if (!ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr)) {
      return;
    }
  }
}

void fuzz(const std::string &path) {
  Ohfa_File *file = ohfa_FileOpen(path.c_str(), OHFA_UPDATE, nullptr);
  if (!file) return;
  walk(file);
  const bool sound = ohfa_FileCheck(file, nullptr, nullptr, nullptr);
  const std::string copy = "/dev/shm/fuzz_node_file-" + std::to_string(getpid());
  std::remove(copy.c_str());
  ohfa_FileCopy(file, copy.c_str(), nullptr);
  std::remove(copy.c_str());
  // A change; afterwards a file that was sound still is, and holds it.
  const Record record = {7, {0, nullptr}};
  const Omif_Design *design = designNamed("Fuzz");
  if (ohfa_ObjectWrite(file, "", "new", design, &record, OHFA_NEW, nullptr) &&
      ohfa_FileClose(&file, nullptr) && sound) {
    file = ohfa_FileOpen(path.c_str(), OHFA_READ, nullptr);
    void *read = ohfa_ObjectRead(file, "new", design, OHFA_CURRENT, nullptr, nullptr);
    if (!read || !ohfa_FileCheck(file, nullptr, nullptr, nullptr)) std::abort();
    omif_ObjectFree(design, &read);
  }
  ohfa_FileDiscard(&file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const int image = memfd_create("fuzzed", 0);
  if (image < 0 || write(image, data, size) != static_cast<ssize_t>(size)) std::abort();
  fuzz("/proc/self/fd/" + std::to_string(image));
  close(image);
  return 0;
}
