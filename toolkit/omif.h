/* Self-describing records: dictionaries of designs, and their text form.

   A design is a named, ordered list of typed items; a dictionary holds designs under unique names.
   The text form is `{items}Name,{items}Name,.` as docs/mif-format.md describes it. */
#ifndef OPRJ_OMIF_H
#define OPRJ_OMIF_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

typedef struct Omif_Dictionary Omif_Dictionary;
typedef struct Omif_Design Omif_Design;

/** Item kinds of omif_DesignCreate. */
enum {
  OMIF_END = 0,
  OMIF_EMBEDDED = 0x001,    /**< extra argument: const Omif_Design * */
  OMIF_ENUMERATION = 0x003, /**< extra arguments: the value names, then a null */
  OMIF_INT32 = 0x00C,
  OMIF_DOUBLE = 0x00E,
  OMIF_BYTES = 0x207,
  OMIF_STRING = 0x208,
  OMIF_DOUBLES = 0x20E,
  OMIF_POINTER = 0x402 /**< extra argument: the design's name (const char *) */
};

/** One item of a design in a table that OMIF_END ends. */
typedef struct {
  int32_t kind; /**< an item kind of omif_DesignCreate */
  const char *name;
  size_t offset;             /**< where the record in memory keeps it, in bytes */
  const char *target;        /**< OMIF_POINTER, OMIF_EMBEDDED: the design's name */
  const char *const *values; /**< OMIF_ENUMERATION: the value names, ended by null */
} Omif_Item;

/** A new empty dictionary; free with omif_DictionaryFree. Null without memory (1). */
OPRJ_API Omif_Dictionary *omif_NewDictionary(Oerr_Report **err);
/** Frees a dictionary with its designs and nulls the pointer. */
OPRJ_API void omif_DictionaryFree(Omif_Dictionary **dictionary);

/** Makes a design from a list `kind, "itemName"[, extra…], …, OMIF_END` (see the item kinds) and,
   when a dictionary is given, adds it there. A design of that name which the dictionary holds
   already is returned as it is when it is equal; a different one is refused. Names hold letters,
   digits and "_". The dictionary owns the design (without one, the caller does: omif_DesignFree).
   Null with 1 (the name), 2 to 8 (an item), 9 (a different design of that name) or 10 (memory). */
OPRJ_API Omif_Design *omif_DesignCreate(Omif_Dictionary *dictionary, const char *name,
                                        Oerr_Report **err, ...);

/** omif_DesignCreate, as which it reports, from a table: `embedded` holds the designs of the
   embedded items in their order (null: there are none). The design remembers where a record keeps
   each item. */
OPRJ_API Omif_Design *omif_DesignFromTable(Omif_Dictionary *dictionary, const char *name,
                                           const Omif_Item *items,
                                           const Omif_Design *const *embedded, Oerr_Report **err);

/** Frees a design that no dictionary owns, and nulls the pointer. */
OPRJ_API void omif_DesignFree(Omif_Design **design);

/** A new deep copy that no dictionary owns. It carries copies of the designs that its pointers
   name, until a dictionary adopts it. */
OPRJ_API Omif_Design *omif_DesignCopy(const Omif_Design *design, Oerr_Report **err);

/** 1 when names, items, kinds, counts and value names agree in order (embedded designs too). */
OPRJ_API int32_t omif_DesignsEqual(const Omif_Design *first, const Omif_Design *second);

/** Gives `design` to the dictionary, which owns it from then on when the call succeeds (1). A
   design of the same name and content that is there already: success, and `design` is freed (look
   it up by name); a different one of that name: 0 with a report, `design` stays the caller's. */
OPRJ_API int32_t omif_AddDesignToDictionary(Omif_Dictionary *dictionary, Omif_Design *design,
                                            Oerr_Report **err);

/** Adds a copy of `design`; returns the dictionary's own design of that name, or null with a
 * report. */
OPRJ_API const Omif_Design *omif_DictionaryAddDesign(Omif_Dictionary *dictionary,
                                                     const Omif_Design *design, Oerr_Report **err);

/** The design of that name, borrowed, or null without report when the dictionary lacks it. */
OPRJ_API const Omif_Design *omif_DictionarySearchByName(const Omif_Dictionary *dictionary,
                                                        const char *name, Oerr_Report **err);

/** Designs in the order of their definition; out of range: null. */
OPRJ_API int32_t omif_DictionaryDesignCount(const Omif_Dictionary *dictionary);
OPRJ_API const Omif_Design *omif_DictionaryDesign(const Omif_Dictionary *dictionary, int32_t index);

OPRJ_API const char *omif_DesignName(const Omif_Design *design);
OPRJ_API int32_t omif_DesignItemCount(const Omif_Design *design);

/** What a design says of one item; texts and designs are borrowed. `kind` is the kind letter of the
   text form, `pointer` 0, '*' or 'p', `count` the number before the colon, `design` the name of the
   design of an object item, `valueNames` the names of an enumeration ended by null, `offset` where
   a record in memory keeps the item (-1 when the design was not made from a table). */
typedef struct {
  const char *name;
  char kind;
  char pointer;
  int32_t count;
  const char *design;
  const char *const *valueNames;
  const Omif_Design *inPlace;
  int64_t offset;
} Omif_ItemInfo;

/** Fills *info for item `index`; 0 when out of range. */
OPRJ_API int32_t omif_DesignItem(const Omif_Design *design, int32_t index, Omif_ItemInfo *info);

/** The dictionary as text: new text. */
OPRJ_API char *omif_DictionaryEncodeToString(const Omif_Dictionary *dictionary, Oerr_Report **err);

/** Reads the text form: a new dictionary, or null with a report that names the byte position. Every
   kind of the format is accepted, in texts of at most 16 MiB. */
OPRJ_API Omif_Dictionary *omif_DictionaryDecodeFromString(const char *text, Oerr_Report **err);

OPRJ_END_C

#endif
