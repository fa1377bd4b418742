#include <oprj/ofio.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "toolkit/c_locale.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

using namespace orvik::toolkit;

struct Ofio_SearchList : HeapRecord {
  HeapText variable;
  HeapVector<HeapText> directories;
  HeapVector<HeapText> dropped;  // elements that name an undefined variable, as they were written
};

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isNameCharacter(char c) { return isLetter(c) || c == '_' || (c >= '0' && c <= '9'); }
bool isSlash(char c) { return c == '/' || c == '\\'; }

/// "C:/" or "C:\": a drive, so that its colon separates nothing.
bool startsWithDrive(std::string_view text) {
  return text.size() >= 3 && isLetter(text[0]) && text[1] == ':' && isSlash(text[2]);
}

/// Cuts the first element off a list.
std::string_view nextElement(std::string_view &list) {
  const size_t from = startsWithDrive(list) ? 2 : 0;
  const size_t length = std::min(list.find_first_of(";:", from), list.size());
  const std::string_view element = list.substr(0, length);
  list.remove_prefix(std::min(list.size(), length + 1));
  return element;
}

/// Replaces "$NAME" and "${NAME}"; false when a variable is undefined. A "$" without a name stands
/// for itself.
bool expandVariables(std::string_view element, HeapText &expanded) {
  while (!element.empty()) {
    const size_t dollar = std::min(element.find('$'), element.size());
    expanded += element.substr(0, dollar);
    element.remove_prefix(dollar);
    if (element.empty()) break;
    const bool braced = element.size() > 1 && element[1] == '{';
    const std::string_view behind = element.substr(braced ? 2 : 1);
    const auto nameEnd = std::find_if_not(behind.begin(), behind.end(), isNameCharacter);
    const auto length = static_cast<size_t>(nameEnd - behind.begin());
    if (length == 0 || (braced && !behind.substr(length).starts_with('}'))) {
      expanded += '$';
      element.remove_prefix(1);
      continue;
    }
    const char *value = std::getenv(HeapText(behind.substr(0, length)).c_str());
    if (!value) return false;
    expanded += value;
    element = behind.substr(length + (braced ? 1 : 0));
  }
  return true;
}

HeapText joined(std::string_view directory, std::string_view name) {
  HeapText path(directory);
  if (!path.empty() && !isSlash(path.back())) path += '/';
  path += name;
  return path;
}

/// 0 for a regular file, else the errno value that says why it is none.
int regularFileProblem(const char *path) {
  struct stat status;
  if (stat(path, &status) != 0) return errno;
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

/// Gives the report of a failure in the caller's slot, if he has one, its kind.
orvik::toolkit::Failed ofFile(orvik::toolkit::Failed failed, Oerr_Report **err) {
  if (err) oerr_KindSet(*err, OFIO_FILE_PROBLEM);
  return failed;
}

/// What the system could not do for lack of memory is told as all lack of memory is.
void throwIfNoMemory(int error) {
  if (error == ENOMEM) throw std::bad_alloc();
}

const char *fileProblem(int error) {
  return error == EINVAL ? "Not a regular file" : systemReason(error);
}

/// The path of the first regular file of that name along a list, empty when there is none;
/// `problems` holds why the directories before have none.
HeapText firstAlong(const Ofio_SearchList &list, const char *name, HeapVector<int> &problems) {
  for (const HeapText &directory : list.directories) {
    HeapText path = joined(directory, name);
    problems.push_back(regularFileProblem(path.c_str()));
    if (problems.back() == 0) return path;
  }
  return {};
}

/// The places of a list as the end of a message; `problems` holds why the file was not taken there.
HeapText placesSearched(const Ofio_SearchList &list, const HeapVector<int> &problems) {
  HeapText places(" (");
  places += list.variable;
  places += "):";
  for (size_t i = 0; i < list.directories.size(); ++i) {
    places += i == 0 ? " \"" : ", \"";
    places += list.directories[i];
    places += '"';
    if (problems[i] != ENOENT) {
      places += " [";
      places += fileProblem(problems[i]);
      places += ']';
    }
  }
  if (list.directories.empty()) places += " no directory";
  for (const HeapText &element : list.dropped) {
    places += "; left out, undefined variable: \"";
    places += element;
    places += '"';
  }
  return places;
}

/// Whether a name matches a pattern of "*" (any text) and "?" (any byte).
bool matches(std::string_view pattern, std::string_view name) {
  size_t p = 0, n = 0, star = std::string_view::npos, starred = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starred = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (star != std::string_view::npos) {  // let the last star take one byte more
      p = star + 1;
      n = ++starred;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

struct CloseDirectory {
  void operator()(DIR *directory) const { closedir(directory); }
};

struct Descriptor {
  int number;
  ~Descriptor() {
    if (number >= 0) close(number);
  }
};

}  // namespace

Ofio_SearchList *ofio_CreateSLFromEnv(const char *variable, const char *defaultList,
                                      Oerr_Report **err) {
  ErrorScope e("ofio_CreateSLFromEnv", err);
  if (!variable) return e.fail(1, "Invalid input variable name");
  try {
    auto list = std::make_unique<Ofio_SearchList>();
    list->variable = variable;
    const char *value = std::getenv(variable);
    if (!value || !*value) value = defaultList ? defaultList : "";
    std::string_view rest(value);
    while (!rest.empty()) {
      const std::string_view element = nextElement(rest);
      HeapText directory;
      if (!expandVariables(element, directory)) {
        list->dropped.emplace_back(element);
      } else if (!directory.empty()) {
        list->directories.push_back(std::move(directory));
      }
    }
    return list.release();
  } catch (const std::bad_alloc &) {
    return e.fail(2, "Error allocating SearchList");
  }
}

void ofio_SearchListFree(Ofio_SearchList **list) {
  if (!list) return;
  delete std::exchange(*list, nullptr);
}

int32_t ofio_SearchListCount(const Ofio_SearchList *list) {
  return list ? static_cast<int32_t>(list->directories.size()) : 0;
}

const char *ofio_SearchListElement(const Ofio_SearchList *list, int32_t index) {
  if (index < 0 || index >= ofio_SearchListCount(list)) return nullptr;
  return list->directories[static_cast<size_t>(index)].c_str();
}

char *ofio_Which(const Ofio_SearchList *list, const char *name, Oerr_Report **err) {
  ErrorScope e("ofio_Which", err);
  if (!name || !*name) return e.fail(1, "Invalid input file name");
  return guarded(e, 3, [&]() -> char * {
    HeapText found;
    if (!list || ofnp_IsRooted(name)) {
      if (const int problem = regularFileProblem(name))
        return ofFile(e.fail(2, "File \"%s\" not found: %s", name, fileProblem(problem)), err);
      found = name;
    } else {
      HeapVector<int> problems;
      found = firstAlong(*list, name, problems);
      if (found.empty())
        return ofFile(e.fail(2, "File \"%s\" not found; searched%s", name,
                             placesSearched(*list, problems).c_str()),
                      err);
    }
    auto path = heapCopy(found);
    if (!path) throw std::bad_alloc();
    return path.release();
  });
}

int32_t ofio_SearchListOpen(const Ofio_SearchList *list, const char *name, char **path,
                            Oerr_Report **err) {
  ErrorScope e("ofio_SearchListOpen", err);
  if (path) *path = nullptr;
  if (!list || !path) return e.fail(1, "Invalid input search list");
  return guarded(e, 2, [&]() -> int32_t {
    HeapVector<int> problems;
    const HeapText found = name && *name ? firstAlong(*list, name, problems) : HeapText();
    if (found.empty()) return 0;
    *path = heapCopy(found).release();
    if (!*path) throw std::bad_alloc();
    return 1;
  });
}

char **ofio_DirectoryList(const char *directory, const char *pattern, int32_t *count,
                          Oerr_Report **err) {
  ErrorScope e("ofio_DirectoryList", err);
  if (count) *count = 0;
  if (!directory || !*directory) return e.fail(1, "Invalid input directory");
  if (!pattern) return e.fail(2, "Invalid input pattern");
  return guarded(e, 4, [&]() -> char ** {
    const std::unique_ptr<DIR, CloseDirectory> stream(opendir(directory));
    if (!stream) {
      throwIfNoMemory(errno);
      return ofFile(
          e.fail(3, "Directory \"%s\" cannot be read: %s", directory, systemReason(errno)), err);
    }
    HeapVector<HeapText> found;
    for (;;) {
      errno = 0;
      const dirent *entry = readdir(stream.get());
      if (!entry && errno != 0)
        return ofFile(
            e.fail(3, "Directory \"%s\" cannot be read: %s", directory, systemReason(errno)), err);
      if (!entry) break;
      if (!matches(pattern, entry->d_name)) continue;
      // Only what is certainly no file is left out: reading the others tells what is wrong.
      const int problem = regularFileProblem(joined(directory, entry->d_name).c_str());
      if (problem == EISDIR || problem == EINVAL || problem == ENOENT) continue;
      found.emplace_back(entry->d_name);
    }
    std::sort(found.begin(), found.end());  // char_traits compares as unsigned bytes
    auto *names = static_cast<char **>(omsc_HeapCalloc(found.size() + 1, sizeof(char *)));
    for (size_t i = 0; names && i < found.size(); ++i) {
      names[i] = heapCopy(found[i]).release();
      if (!names[i]) ofio_NamesFree(&names);
    }
    if (!names) throw std::bad_alloc();
    if (count) *count = static_cast<int32_t>(found.size());
    return names;
  });
}

void ofio_NamesFree(char ***names) {
  if (!names || !*names) return;
  for (char **name = *names; *name; ++name) omsc_HeapFree(*name);
  omsc_HeapFree(std::exchange(*names, nullptr));
}

char *ofio_FileRead(const char *path, size_t *size, Oerr_Report **err) {
  ErrorScope e("ofio_FileRead", err);
  if (size) *size = 0;
  if (!path || !*path) return e.fail(1, "Invalid input file name");
  // Not blocking: opening a pipe must not wait for its writer. It makes no difference to files.
  const Descriptor file{open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  struct stat status;
  if (file.number < 0 || fstat(file.number, &status) != 0)
    return ofFile(e.fail(2, "File \"%s\" cannot be opened: %s", path, systemReason(errno)), err);
  if (!S_ISREG(status.st_mode))
    return ofFile(e.fail(3, "File \"%s\" cannot be read: %s", path,
                         fileProblem(S_ISDIR(status.st_mode) ? EISDIR : EINVAL)),
                  err);

  // The announced size is a hint only: a file may grow or shrink meanwhile, and some announce 0.
  constexpr size_t kSmallest = 4096;
  size_t capacity = std::max(static_cast<size_t>(status.st_size), kSmallest);
  HeapBlock<char> content;
  size_t used = 0;
  for (;;) {
    // One byte more than announced, to meet the end without growing, and the zero behind it.
    HeapBlock<char> larger;
    if (capacity < PTRDIFF_MAX - 2)
      larger.reset(static_cast<char *>(omsc_HeapMalloc(capacity + 2)));
    if (!larger) return e.fail(4, "File \"%s\" does not fit into memory", path);
    if (used > 0) std::memcpy(larger.get(), content.get(), used);
    content = std::move(larger);
    while (used <= capacity) {
      const ssize_t got = read(file.number, content.get() + used, capacity + 1 - used);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0)
        return ofFile(e.fail(5, "File \"%s\" cannot be read: %s", path, systemReason(errno)), err);
      if (got == 0) {
        content.get()[used] = '\0';
        if (size) *size = used;
        return content.release();
      }
      used += static_cast<size_t>(got);
    }
    capacity = used + used / 2;
  }
}

int32_t ofio_FileStampGet(const char *path, Ofio_FileStamp *stamp, Oerr_Report **err) {
  ErrorScope e("ofio_FileStampGet", err);
  if (!path || !*path || !stamp) return e.fail(1, "Invalid input file name");
  struct stat status;
  if (stat(path, &status) != 0)
    return e.fail(2, "File \"%s\" cannot be opened: %s", path, systemReason(errno));
  if (!S_ISREG(status.st_mode))
    return e.fail(3, "File \"%s\" cannot be read: %s", path,
                  fileProblem(S_ISDIR(status.st_mode) ? EISDIR : EINVAL));
  *stamp = {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec};
  return 1;
}

const void *ofio_FileMap(const char *path, size_t *size, Oerr_Report **err) {
  ErrorScope e("ofio_FileMap", err);
  Ofio_FileStamp stamp;
  if (!size) return e.fail(1, "Invalid input file size");
  *size = 0;
  if (!ofio_FileStampGet(path, &stamp, e.cause()))
    return e.fail(2, "Error returned from ofio_FileStampGet");
  const Descriptor file{open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  struct stat status;
  if (file.number < 0 || fstat(file.number, &status) != 0)
    return e.fail(3, "File \"%s\" cannot be opened: %s", path, systemReason(errno));
  const auto bytes = static_cast<size_t>(status.st_size);
  void *content = mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE, file.number, 0);
  if (content == MAP_FAILED)  // an empty file is refused here
    return e.fail(4, "File \"%s\" cannot be read: %s", path, systemReason(errno));
  *size = bytes;
  return content;
}

void ofio_FileUnmap(const void *content, size_t size) {
  if (content) munmap(const_cast<void *>(content), size);
}

char *ofnp_FileNameSet(const char *directory, const char *name, Oerr_Report **err) {
  ErrorScope e("ofnp_FileNameSet", err);
  if (!name || !*name) return e.fail(1, "Invalid input file name");
  try {
    const bool alone = !directory || !*directory || ofnp_IsRooted(name);
    if (auto path = heapCopy(alone ? HeapText(name) : joined(directory, name)))
      return path.release();
  } catch (const std::bad_alloc &) {
    // told below
  }
  return e.fail(2, "Error allocating file name");
}

int32_t ofnp_IsRooted(const char *name) {
  return name && (name[0] == '/' || startsWithDrive(name)) ? 1 : 0;
}
