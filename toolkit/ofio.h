/* Files and search lists. A search list is an ordered list of directories. */
#ifndef OPRJ_OFIO_H
#define OPRJ_OFIO_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

/** Kind of reports (oerr_KindGet): the file or directory is not there or cannot be read, whatever
    the memory. */
enum { OFIO_FILE_PROBLEM = 101 };

typedef struct Ofio_SearchList Ofio_SearchList;

/** Makes a search list from the environment variable `variable`; when it is unset or empty, from
    `defaultList`. Elements are separated by ";" and by ":" (unless after a single letter and before
   a slash or backslash: a drive name). "$NAME" and "${NAME}" in an element are replaced by the
    environment variable NAME; an element that names an undefined variable is dropped whole. Empty
    elements are dropped. Null with a report on failure (null variable: 1 "Invalid input variable
   name"; memory: 2 "Error allocating SearchList"). Free with ofio_SearchListFree. */
OPRJ_API Ofio_SearchList *ofio_CreateSLFromEnv(const char *variable, const char *defaultList,
                                               Oerr_Report **err);

OPRJ_API void ofio_SearchListFree(Ofio_SearchList **list);

/** The number of directories, and directory `index` (borrowed; null when out of range). */
OPRJ_API int32_t ofio_SearchListCount(const Ofio_SearchList *list);
OPRJ_API const char *ofio_SearchListElement(const Ofio_SearchList *list, int32_t index);

/** The path of the first regular file called `name` along the list: new text. A rooted name (or a
   null list) is taken as it stands. When there is none: null with a report that names the file and
   every place searched. */
OPRJ_API char *ofio_Which(const Ofio_SearchList *list, const char *name, Oerr_Report **err);

/** The same question where the answer may be no: 1 with the path as new text in *path, or 0 with
    null there and without a report when no directory of the list has such a file. The name is never
    taken as it stands. 0 with a report: 1 "Invalid input search list" (or no place for the path),
    2 "Out of memory". */
OPRJ_API int32_t ofio_SearchListOpen(const Ofio_SearchList *list, const char *name, char **path,
                                     Oerr_Report **err);

/** The files of `directory` that match a pattern with "*" and "?", as a new array of new names
   (without directory), sorted in byte order; *count receives their number. No match: an empty array
   (not null) of count 0. An unreadable directory: null with a report. Free with ofio_NamesFree. */
OPRJ_API char **ofio_DirectoryList(const char *directory, const char *pattern, int32_t *count,
                                   Oerr_Report **err);
OPRJ_API void ofio_NamesFree(char ***names);

/** The whole content of a regular file as a new text of *size bytes, a zero byte behind the last;
   `size` may be null. Null with a report that names the file and the system's reason. */
OPRJ_API char *ofio_FileRead(const char *path, size_t *size, Oerr_Report **err);

/** Tells one content of a file from another: a file that is replaced or written to has another. */
typedef struct {
  uint64_t device, inode;
  int64_t size;                 /**< bytes */
  int64_t seconds, nanoseconds; /**< when it was last written */
} Ofio_FileStamp;

/** The stamp of a regular file. 0 with a report that names the file and the system's reason. */
OPRJ_API int32_t ofio_FileStampGet(const char *path, Ofio_FileStamp *stamp, Oerr_Report **err);

/** The content of a regular file in memory, read when touched; `*size` receives its bytes, at least
   1. Whoever cuts the file short while it is mapped ends the process: files that may be in use are
   to be replaced by renaming. Null with a report that names the file and the system's reason. End
   with ofio_FileUnmap. */
OPRJ_API const void *ofio_FileMap(const char *path, size_t *size, Oerr_Report **err);
OPRJ_API void ofio_FileUnmap(const void *content, size_t size);

/** Joins a directory and a name into a new path; a rooted name stands alone. Null with a report: 1
    "Invalid input file name" for a missing or empty name, 2 "Error allocating file name". */
OPRJ_API char *ofnp_FileNameSet(const char *directory, const char *name, Oerr_Report **err);

/** 1 when the name starts with a slash or with a drive ("C:/", "C:\"). */
OPRJ_API int32_t ofnp_IsRooted(const char *name);

OPRJ_END_C

#endif
