/* For programs that compute a projection outside of oPrj (docs/external-projections.md). This one
   header is all that such a program needs: it fills an Oprj_ExternalProjection with its functions
   and calls oprj_ExternalServe from main, in C or C++. Nothing is to be linked.

       static int fromLL(void *self, const double *in, double *out, int32_t count, ...) { ... }
       int main(void) {
         const Oprj_ExternalProjection mine = {"mine", init, fromLL, toLL, quit};
         return oprj_ExternalServe(&mine);
       }

   The program talks over its standard input and output; what it prints meanwhile goes to standard
   error. Points come as pairs of doubles: longitude, latitude in radians, easting, northing in
   metres. */
#ifndef OPRJ_EXTERNAL_H
#define OPRJ_EXTERNAL_H

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <errno.h>
#include <unistd.h>
#endif

/* The commands; there is no command 3. */
enum { OPRJ_X_INIT = 0, OPRJ_X_TOLL = 1, OPRJ_X_FROMLL = 2, OPRJ_X_QUIT = 4 };

/** The system's parameter record. Texts and entries are lent for the call of init. */
typedef struct {
  int32_t type;   /**< 1: external */
  int32_t number; /**< of no meaning to external projections */
  int32_t zone;
  const char *executable; /**< what this program was asked for as */
  const char *name;       /**< of the projection */
  int32_t count;          /**< of the entries */
  const double *entries;  /**< angles in radians, lengths in metres */
  const char *spheroid;   /**< its name; empty when the record has no spheroid */
  double a, b;            /**< axes in metres; 0 without a spheroid, as the next two */
  double eSquared;        /**< eccentricity squared */
  double radius;          /**< of the sphere of equal area, metres */
} Oprj_ExternalRecord;

/** Why something failed; filled by oprj_ExternalFail. */
typedef struct {
  int32_t code;
  char message[512];
} Oprj_ExternalError;

/** What a program serves. Functions return 1, or 0 for a failure of the whole call, which
    oprj_ExternalFail explains. */
typedef struct {
  const char *name; /**< under which failures are reported */
  /** Takes the record; *self (null at first) is handed to the other functions. */
  int (*init)(void **self, const Oprj_ExternalRecord *record, Oprj_ExternalError *error);
  /** `count` pairs of longitude and latitude to as many of easting and northing, and back. `in` and
      `out` may be one array. A point that has no place becomes a pair of NaN. */
  int (*fromLL)(void *self, const double *in, double *out, int32_t count,
                Oprj_ExternalError *error);
  int (*toLL)(void *self, const double *in, double *out, int32_t count, Oprj_ExternalError *error);
  /** Ends with *self; may be null. */
  void (*quit)(void *self);
} Oprj_ExternalProjection;

/** Explains a failure; returns 0. */
static inline int oprj_ExternalFail(Oprj_ExternalError *error, int32_t code, const char *format,
                                    ...) {
  va_list values;
  va_start(values, format);
  error->code = code;
  vsnprintf(error->message, sizeof error->message, format, values);
  va_end(values);
  return 0;
}

/* --- the record's bytes --- */

/* A run of bytes that is read from its front; `left` becomes -1 behind its end. */
typedef struct {
  const uint8_t *all, *at;
  int64_t left;
} Oprj_ExternalBytes;

static inline uint64_t oprj_ExternalTake(Oprj_ExternalBytes *bytes, int width) {
  uint64_t number = 0;
  int i;
  if (bytes->left < width) {
    bytes->left = -1;
    return 0;
  }
  for (i = 0; i < width; ++i) number |= (uint64_t)bytes->at[i] << 8 * i;
  bytes->at += width;
  bytes->left -= width;
  return number;
}

static inline double oprj_ExternalTakeDouble(Oprj_ExternalBytes *bytes) {
  const uint64_t bits = oprj_ExternalTake(bytes, 8);
  double number;
  memcpy(&number, &bits, sizeof number);
  return number;
}

/* The count of what lies elsewhere, `width` bytes each, and the place it lies at: counted from the
   first byte, and in front of what follows here. */
static inline int32_t oprj_ExternalTakeCount(Oprj_ExternalBytes *bytes, int64_t width) {
  const uint64_t count = oprj_ExternalTake(bytes, 4), offset = oprj_ExternalTake(bytes, 4);
  if (count == 0 || bytes->left < 0) return 0;
  if ((int64_t)offset != bytes->at - bytes->all || (int64_t)count > bytes->left / width) {
    bytes->left = -1;
    return 0;
  }
  return (int32_t)count;
}

static inline const char *oprj_ExternalTakeText(Oprj_ExternalBytes *bytes) {
  const int32_t count = oprj_ExternalTakeCount(bytes, 1);
  const char *text = (const char *)bytes->at;
  if (count == 0) return "";
  if (text[count - 1] != '\0') {
    bytes->left = -1;
    return "";
  }
  bytes->at += count;
  bytes->left -= count;
  return text;
}

/** Reads the bytes that come with OPRJ_X_INIT: 1, or 0 when they are damaged or memory lacks. Texts
    lie in the bytes; the entries are to be freed with oprj_ExternalRecordFree. */
static inline int oprj_ExternalRecordRead(const uint8_t *bytes, size_t size,
                                          Oprj_ExternalRecord *record) {
  Oprj_ExternalBytes from;
  double *entries = NULL;
  int32_t i;
  memset(record, 0, sizeof *record);
  record->executable = record->name = record->spheroid = "";
  from.all = from.at = bytes;
  from.left = (int64_t)size;
  record->type = (int32_t)oprj_ExternalTake(&from, 2);
  record->number = (int32_t)oprj_ExternalTake(&from, 4);
  record->executable = oprj_ExternalTakeText(&from);
  record->name = oprj_ExternalTakeText(&from);
  record->zone = (int32_t)oprj_ExternalTake(&from, 4);
  record->count = oprj_ExternalTakeCount(&from, 8);
  if (record->count > 0) {
    entries = (double *)malloc((size_t)record->count * sizeof *entries);
    if (!entries) return 0;
  }
  record->entries = entries;
  for (i = 0; i < record->count; ++i) entries[i] = oprj_ExternalTakeDouble(&from);
  if (oprj_ExternalTakeCount(&from, 1) > 0) {
    record->spheroid = oprj_ExternalTakeText(&from);
    record->a = oprj_ExternalTakeDouble(&from);
    record->b = oprj_ExternalTakeDouble(&from);
    record->eSquared = oprj_ExternalTakeDouble(&from);
    record->radius = oprj_ExternalTakeDouble(&from);
  }
  if (from.left >= 0) return 1;
  free(entries);
  record->entries = NULL;
  record->count = 0;
  return 0;
}

static inline void oprj_ExternalRecordFree(Oprj_ExternalRecord *record) {
  free((void *)record->entries);
  record->entries = NULL;
  record->count = 0;
}

/* --- the pipes --- */

/* All of `size` bytes: 1, or 0 at the end of the stream. */
static inline int oprj_ExternalReadAll(int pipe, void *bytes, size_t size) {
  char *at = (char *)bytes;
  while (size > 0) {
#if defined(_WIN32)
    const int got = _read(pipe, at, size < 0x40000000 ? (unsigned)size : 0x40000000u);
#else
    const ssize_t got = read(pipe, at, size);
    if (got < 0 && errno == EINTR) continue;
#endif
    if (got <= 0) return 0;
    at += got;
    size -= (size_t)got;
  }
  return 1;
}

static inline int oprj_ExternalWriteAll(int pipe, const void *bytes, size_t size) {
  const char *at = (const char *)bytes;
  while (size > 0) {
#if defined(_WIN32)
    const int put = _write(pipe, at, size < 0x40000000 ? (unsigned)size : 0x40000000u);
#else
    const ssize_t put = write(pipe, at, size);
    if (put < 0 && errno == EINTR) continue;
#endif
    if (put <= 0) return 0;
    at += put;
    size -= (size_t)put;
  }
  return 1;
}

/* The descriptor for answers. Standard output becomes standard error, so that nothing that is
   printed gets between them. */
static inline int oprj_ExternalOutput(void) {
#if defined(_WIN32)
  const int output = _dup(1);
  _setmode(0, _O_BINARY);
  if (output >= 0) _setmode(output, _O_BINARY);
  if (output >= 0) _dup2(2, 1);
#else
  const int output = dup(1);
  if (output >= 0 && dup2(2, 1) < 0) return -1;
#endif
  return output;
}

static inline void oprj_ExternalPut(uint8_t *to, uint32_t number) {
  int i;
  for (i = 0; i < 4; ++i) to[i] = (uint8_t)(number >> 8 * i);
}

/** Writes the answer to a command that failed: a status, and the list with its one report. Numbers
    that need more than five characters are cut to what fits, as the texts are. */
static inline int oprj_ExternalAnswerError(int output, const char *name,
                                           const Oprj_ExternalError *error) {
  enum { kHeader = 8, kLeast = -9999, kMost = 99999, kSeverityError = 2 };
  char answer[kHeader + sizeof error->message + 256];
  char *list = answer + kHeader;
  const long code = error->code < kLeast  ? (long)kLeast
                    : error->code > kMost ? (long)kMost
                                          : (long)error->code;
  const int length = snprintf(list, sizeof answer - kHeader, "%5ld%5ld%.100s%5ld%5ld%s     ", code,
                              (long)strlen(name) < 100 ? (long)strlen(name) : 100L, name,
                              (long)kSeverityError, (long)strlen(error->message), error->message);
  oprj_ExternalPut((uint8_t *)answer, 1);
  oprj_ExternalPut((uint8_t *)answer + 4, (uint32_t)length);
  return oprj_ExternalWriteAll(output, answer, kHeader + (size_t)length);
}

/* Does what a command asks for, the points of which lie in `bytes` before and after. */
static inline int oprj_ExternalDo(const Oprj_ExternalProjection *projection, void **self,
                                  int *started, uint32_t command, uint8_t *bytes, uint32_t size,
                                  Oprj_ExternalError *error) {
  enum { kPair = 16 };
  if (command == OPRJ_X_INIT) {
    Oprj_ExternalRecord record;
    int done;
    if (!oprj_ExternalRecordRead(bytes, size, &record))
      return oprj_ExternalFail(error, 1, "the parameter record cannot be read");
    if (*started && projection->quit) projection->quit(*self);
    *self = NULL;
    *started = done = projection->init(self, &record, error) != 0;
    oprj_ExternalRecordFree(&record);
    return done;
  }
  if (command == OPRJ_X_QUIT) return 1;
  if (command != OPRJ_X_TOLL && command != OPRJ_X_FROMLL)
    return oprj_ExternalFail(error, 2, "there is no command %lu", (unsigned long)command);
  if (!*started) return oprj_ExternalFail(error, 3, "points come before the parameter record");
  if (size % kPair != 0 || size / kPair > INT32_MAX)
    return oprj_ExternalFail(error, 4, "%lu bytes are no pairs of doubles", (unsigned long)size);
  return (command == OPRJ_X_FROMLL ? projection->fromLL : projection->toLL)(
      *self, (const double *)bytes, (double *)bytes, (int32_t)(size / kPair), error);
}

/** Serves a projection until the library has no more use for it: the exit status of the program, 0
    after OPRJ_X_QUIT and at the end of the input between two commands. */
static inline int oprj_ExternalServe(const Oprj_ExternalProjection *projection) {
  enum { kHeader = 8 };
  const int output = oprj_ExternalOutput();
  uint8_t header[kHeader], *bytes = NULL;
  uint32_t command = OPRJ_X_INIT, room = 0;
  int started = 0, serving = output >= 0, status = serving ? 0 : 1;
  void *self = NULL;
  while (serving && oprj_ExternalReadAll(0, header, kHeader)) {
    Oprj_ExternalBytes head;
    Oprj_ExternalError error;
    uint32_t size, answer = 0;
    int done;
    error.code = 1;
    strcpy(error.message, "no reason given");
    head.all = head.at = header;
    head.left = kHeader;
    command = (uint32_t)oprj_ExternalTake(&head, 4);
    size = (uint32_t)oprj_ExternalTake(&head, 4);
    if (size > room) {
      free(bytes);
      bytes = (uint8_t *)malloc(size);
      room = bytes ? size : 0;
    }
    if (size > room) {
      uint8_t dropped[4096];
      for (; size > 0 && serving; size -= answer) {
        answer = size < sizeof dropped ? size : (uint32_t)sizeof dropped;
        serving = oprj_ExternalReadAll(0, dropped, answer);
      }
      done = oprj_ExternalFail(&error, 5, "no memory");
    } else {
      serving = oprj_ExternalReadAll(0, bytes, size);
      done = serving && oprj_ExternalDo(projection, &self, &started, command, bytes, size, &error);
    }
    if (!serving) {
      status = 1;
      break;
    }
    answer = done && (command == OPRJ_X_TOLL || command == OPRJ_X_FROMLL) ? size : 0;
    oprj_ExternalPut(header, 0);
    oprj_ExternalPut(header + 4, answer);
    if (done)
      serving = oprj_ExternalWriteAll(output, header, kHeader) &&
                oprj_ExternalWriteAll(output, bytes, answer);
    else serving = oprj_ExternalAnswerError(output, projection->name, &error);
    if (!serving) status = 1;
    if (command == OPRJ_X_QUIT) break;
  }
  if (started && projection->quit) projection->quit(self);
  free(bytes);
  return status;
}

#endif
