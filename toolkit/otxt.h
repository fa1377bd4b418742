/* Texts in UTF-8 and UTF-16. Texts that are no UTF-8 come through UTF-16 and back byte for byte: a
   byte that belongs to no character is the lone unit U+DC00 + byte. */
#ifndef OPRJ_OTXT_H
#define OPRJ_OTXT_H

#include "obase.h"
#include "oerr.h"

#if !defined(__cplusplus)
#include <uchar.h>
#endif

OPRJ_BEGIN_C

/** The text in UTF-16: new text (omsc_HeapFree). Null with 1 "Invalid input text", 2 "Out of
    memory". */
OPRJ_API char16_t *otxt_Text_Ascii2Unicode(const char *text, Oerr_Report **err);

/** The text in UTF-8: new text (omsc_HeapFree). Null with 1 and 2 as above, 3 "Half of a surrogate
    pair: U+%04X": a unit that stands neither for a character nor for a byte. */
OPRJ_API char *otxt_Text_Unicode2Ascii(const char16_t *text, Oerr_Report **err);

OPRJ_END_C

#endif
