/* Objects of designs: their host form is a plain C record, their MIF form a run of bytes that every
   machine reads alike (docs/mif-format.md).

   Host form: items in the order of the design under the platform's natural alignment; 32-bit
   integers and enumerations as int32_t, doubles as double, texts and arrays as { int32_t count; T
   *data; } (absent: 0 and null), pointers as pointers to a record (absent: null), embedded designs
   as nested records. Only the item kinds of omif_DesignCreate have one.

   Codes of all operations that take a design and an error slot: 1 the design is missing, 2 the
   object or its bytes are missing, 3 the design cannot be used (a name that its dictionary lacks,
   references deeper than 64, more than 65536 fixed items, 2^31 bytes and more, no host form), 4 the
   items of two designs do not match, 5 damaged bytes, or a value that has no place, 6 out of
   memory. */
#ifndef OPRJ_OMIF_OBJECT_H
#define OPRJ_OMIF_OBJECT_H

#include "omif.h"

OPRJ_BEGIN_C

/** Texts and bytes of a record: `count` of them (a text's with its terminating zero) at `data`;
    absent: 0 and null. */
typedef struct {
  int32_t count;
  char *data;
} Omif_Text;
typedef struct {
  int32_t count;
  uint8_t *data;
} Omif_Bytes;

/** The record of the design "Omif_String". */
typedef struct {
  Omif_Text string;
} Omif_String;

/** The record of the design "Omif_MIFObject": an object that is carried together with the
    dictionary that describes it. */
typedef struct {
  Omif_String type;        /**< the name of its design */
  Omif_Text MIFDictionary; /**< the dictionary's text */
  Omif_Bytes MIFObject;    /**< the object, its offsets counted from the first of these bytes */
} Omif_MIFObject;

/** Bytes of a record in host form, 0 with a report. */
OPRJ_API size_t omif_DesignHostSize(const Omif_Design *design, Oerr_Report **err);
/** Tells that records of this design take `size` bytes because they have members behind their
    items; copies of the design keep it, its text and equality do not know it. To be said before
    the design's first use: 0 with 7 when it is too late. */
OPRJ_API int32_t omif_DesignHostSizeSet(Omif_Design *design, size_t size, Oerr_Report **err);

/** A new dictionary with copies of what the design's pointers name, depth first, and of the design
    itself last. */
OPRJ_API Omif_Dictionary *omif_DictionaryOfDesign(const Omif_Design *design, Oerr_Report **err);

/** The text of that dictionary, borrowed: it is made once and kept as long as the design, or until
    a dictionary adopts it. Equal texts are of designs that say the same, with all that they name. 1
    "Invalid input design", 3 "omif_DictionaryEncodeToString failed". */
OPRJ_API const char *omif_DesignText(const Omif_Design *design, Oerr_Report **err);

/** A new record of zeros, to be freed by omif_ObjectFree. */
OPRJ_API void *omif_ObjectAllocate(const Omif_Design *design, Oerr_Report **err);
/** Frees a record with what its items own, and nulls the pointer. Members behind the items are not
    known here: what they own must have been released. */
OPRJ_API void omif_ObjectFree(const Omif_Design *design, void **object);
/** A deep copy of the items: a new record, or the items of `target` replaced (unchanged on failure;
    members behind its items stay). */
OPRJ_API void *omif_ObjectCopy(const Omif_Design *design, const void *source, void *target,
                               Oerr_Report **err);
/** A new record of the design `wanted` with the values of `source`, item by name as
    omif_ConvertToHostAs. */
OPRJ_API void *omif_ObjectConvert(const Omif_Design *design, const void *source,
                                  const Omif_Design *wanted, Oerr_Report **err);

/** Bytes of the object's MIF form. */
OPRJ_API int32_t omif_ObjectSize(const Omif_Design *design, const void *object, Oerr_Report **err);
/** Writes the MIF form into `size` bytes; returns how many it took, 0 with a report. Texts end at
    their first zero byte. */
OPRJ_API int32_t omif_ConvertToMIF(const Omif_Design *design, const void *object, uint8_t *bytes,
                                   int32_t size, Oerr_Report **err);
/** The same in the layout of `written`, as another version reads it; items are found by name as in
    omif_ConvertToHostAs. Items that `design` lacks are written as zeros or absent; a value that has
    no place in the layout is refused with 5. */
OPRJ_API int32_t omif_ConvertToMIFAs(const Omif_Design *design, const void *object,
                                     const Omif_Design *written, uint8_t *bytes, int32_t size,
                                     Oerr_Report **err);
/** Reads the MIF form: a new record, or the items of `object` replaced (unchanged on failure;
    members behind its items stay). Every count and offset is checked before anything is
    allocated; bytes behind the object are ignored. */
OPRJ_API void *omif_ConvertToHost(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                                  void *object, Oerr_Report **err);
/** The same for bytes of the design `written`, as another version made them, read into a record of
    `wanted`: items are found by name. Integers and enumerations become 32-bit integers when they
    fit, singles doubles, characters in place a text; enumerations go by number when one list of
    values begins with the other, else by name. Surplus items are skipped, lacking ones are zero. */
OPRJ_API void *omif_ConvertToHostAs(const Omif_Design *written, const uint8_t *bytes, int32_t size,
                                    const Omif_Design *wanted, void *object, Oerr_Report **err);

/** What omif_MIFVisit tells; every function may be null. Items are borrowed for the call. */
typedef struct {
  /** An object of the design `design` begins: number `index` of the `count` elements of `item`,
      which is null for the whole object. */
  void (*objectBegin)(void *context, const Omif_ItemInfo *item, const char *design, int64_t index,
                      int64_t count);
  void (*objectEnd)(void *context);
  /** A pointer, text or array that is not there. */
  void (*absent)(void *context, const Omif_ItemInfo *item);
  /** Characters, up to their first zero byte; not terminated. */
  void (*text)(void *context, const Omif_ItemInfo *item, const char *text, int64_t length);
  /** `count` numbers from number `first` of the item's `total`; complex numbers are pairs and count
      as two. Enumerations come as numbers. */
  void (*numbers)(void *context, const Omif_ItemInfo *item, const double *values, int64_t first,
                  int64_t count, int64_t total);
  /** A table: what follows it in the object is not known. */
  void (*table)(void *context, const Omif_ItemInfo *item, int32_t rows, int32_t columns);
} Omif_Visitor;

/** Goes through the MIF form of an object of any kind of items: 1, or 0 with a report at the first
    damage. */
OPRJ_API int32_t omif_MIFVisit(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                               const Omif_Visitor *visitor, void *context, Oerr_Report **err);

OPRJ_END_C

#endif
