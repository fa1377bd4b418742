/* Parsing of the reference table languages: what a grammar is handed and how a syntax error is
 * told. */
#ifndef OPRJ_OLEX_H
#define OPRJ_OLEX_H

#include "obase.h"
#include "oerr.h"
#include "ofio.h"

OPRJ_BEGIN_C

/** Kind of reports (oerr_KindGet): the text is not of the language. */
enum { OLEX_SYNTAX = 201 };

/** A grammar: reads the whole `text` of `size` bytes (a zero byte behind the last; a byte order
   mark has been skipped) into `result`. Returns -1 when it has read everything; otherwise the byte
   offset at which it could not go on, with *expected set to what it expected there (static text).
   -2: it ran out of memory. */
typedef int64_t (*Olex_Grammar)(const char *text, size_t size, void *result, const char **expected);

/** Parses `text` when given, else the file `name` found along `list` (a rooted name, or a null
   list, as it stands), with the grammar. Returns 1, or 0 with a report: the file cannot be found or
   read, memory, or a syntax error told as "NAME:LINE:COLUMN: expected WHAT, found TEXT" (NAME is
   "text" for a text). What the grammar had stored in `result` by then stays there for the caller to
   drop. */
OPRJ_API int32_t olex_Parse(const char *text, const Ofio_SearchList *list, const char *name,
                            Olex_Grammar grammar, void *result, Oerr_Report **err);

OPRJ_END_C

#endif
