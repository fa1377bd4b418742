/* Texts: zero-terminated bytes (UTF-8 by custom), passed through unchanged. New texts come from the
   heap of omsc.h. Nothing here depends on the process's locale. */
#ifndef OPRJ_OSTR_H
#define OPRJ_OSTR_H

#include "obase.h"

OPRJ_BEGIN_C

/** A new copy of `text`, or null when `text` is null or there is no memory. */
OPRJ_API char *ostr_Duplicate(const char *text);

/** A new copy of the first `length` bytes of `text` (fewer when it ends earlier), or null. */
OPRJ_API char *ostr_DuplicateN(const char *text, size_t length);

/** 1 when both texts are equal, ASCII letters in either case; null equals null and "". */
OPRJ_API int32_t ostr_EqualIgnoringCase(const char *first, const char *second);

/** Finds up to three of `count` names that are nearest to `query` (typing errors, abbreviations,
   words of a longer name; ASCII letters in either case, blanks and punctuation do not count; null
   entries are passed over) and stores them, borrowed, in `found`, best first. Returns how many;
   none that is far off. */
OPRJ_API int32_t ostr_NearestNames(const char *query, const char *const *names, int32_t count,
                                   const char *found[3]);

/** A new text in printf style with the C locale's decimal point; null when there is no memory. */
OPRJ_API char *ostr_Format(const char *format, ...) OPRJ_PRINTF(1, 2);

/** Reads a decimal number with optional sign and exponent ("inf" and "nan" are not numbers) that
    makes up the whole text but for surrounding blanks: returns 1 and stores it, else returns 0. */
OPRJ_API int32_t ostr_ToDouble(const char *text, double *value);

/** As ostr_ToDouble for a 32-bit integer in decimal; out of range returns 0. */
OPRJ_API int32_t ostr_ToInt32(const char *text, int32_t *value);

OPRJ_END_C

#endif
