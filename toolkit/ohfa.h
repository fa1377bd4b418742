/* Node files: trees of named nodes, each of which may hold one object of a named design. The bytes,
   and why a writer that is killed at any moment leaves a whole file, are told in
   docs/node-files.md.

   A path is node names joined by ":". It starts at the root's children; with a leading ":" at those
   of the current entry. Null is the current entry, "" the root. What a reader reaches from the
   current entry is of the same state of the file as that; paths from the root and
   ohfa_EntryPositionSet see what has been committed since. A new name is 1 to 63 bytes without
   ":" and control bytes. One writer and any number of readers may have a file open, in any number
   of processes; a handle serves one thread at a time. Changes stay in their handle, which sees
   them, until ohfa_FileFlush or ohfa_FileClose. Designs given to a handle must live until it is
   closed. */
#ifndef OPRJ_OHFA_H
#define OPRJ_OHFA_H

#include "obase.h"
#include "oerr.h"
#include "omif_object.h"

OPRJ_BEGIN_C

typedef struct Ohfa_File Ohfa_File;
typedef struct Ohfa_Position Ohfa_Position;

/** Codes of the reports of all operations here. */
enum {
  OHFA_INVALID = 1,      /**< an argument is missing or cannot be used */
  OHFA_MEMORY = 2,       /**< no memory */
  OHFA_SYSTEM = 3,       /**< the system refused; the message has its reason */
  OHFA_DAMAGED = 4,      /**< the bytes are no node file's; the message names node or byte */
  OHFA_ABSENT = 5,       /**< no such node */
  OHFA_EXISTS = 6,       /**< the name is taken */
  OHFA_OTHER_DESIGN = 7, /**< the node is of another design, or the dictionary lacks the design */
  OHFA_READ_ONLY = 8,    /**< the file is open for reading */
  OHFA_LOCKED = 9,       /**< another handle has the file open for update */
  OHFA_TOO_LARGE = 10,   /**< the file would grow past 2^32 bytes */
  OHFA_OBJECT = 11       /**< the object could not be converted; the cause tells */
};

/** Where a seek or a read goes to from a node. */
enum {
  OHFA_PARENT = 6,
  OHFA_CHILD = 14,   /**< the first child (of a design, when one is named) */
  OHFA_SIBLING = 15, /**< the next sibling (of a design, when one is named) */
  OHFA_SOUGHT = 17,  /**< where the last seek arrived */
  OHFA_CURRENT = 18  /**< the node itself */
};

/** Mode of ohfa_FileOpen. */
enum { OHFA_READ = 0, OHFA_UPDATE = 1 };
/** Mode of ohfa_ObjectWrite. */
enum { OHFA_REPLACE = 0, OHFA_NEW = 3 };

/* --- files --- */

/** Makes an empty file and opens it for update. A file that is there is replaced when `replace` is
    not 0, unless it is open for update elsewhere; else it is an error (OHFA_EXISTS). Close with
    ohfa_FileClose. */
OPRJ_API Ohfa_File *ohfa_FileCreate(const char *path, int32_t replace, Oerr_Report **err);
/** Opens a file, the current entry at its root. Objects are read when they are asked for. */
OPRJ_API Ohfa_File *ohfa_FileOpen(const char *path, int32_t mode, Oerr_Report **err);
/** Commits the changes: when it returns 1 they are on the medium; 0 with a report, and they are
    still pending. A node and what was changed below it appear together. */
OPRJ_API int32_t ohfa_FileFlush(Ohfa_File *file, Oerr_Report **err);
/** Flushes, closes and nulls the pointer. When the flush fails the handle stays open: try again, or
    ohfa_FileDiscard. */
OPRJ_API int32_t ohfa_FileClose(Ohfa_File **file, Oerr_Report **err);
/** Closes without committing and nulls the pointer; null is accepted. */
OPRJ_API void ohfa_FileDiscard(Ohfa_File **file);
/** 1 when the handle may change the file. */
OPRJ_API int32_t ohfa_FileIsWritable(const Ohfa_File *file);

/** Writes what is linked, pending changes included, into a new file: it has the nodes, their times
    and the dictionary's text, and nothing else. It appears under its name when it is complete.
    OHFA_EXISTS when the name is taken; OHFA_OBJECT, naming the node, for an object whose bytes
    cannot be moved because its design is not known or does not tell its end. */
OPRJ_API int32_t ohfa_FileCopy(Ohfa_File *file, const char *path, Oerr_Report **err);

/** What ohfa_FileCheck found. Texts are borrowed for the call. */
typedef struct {
  int32_t severity; /**< OERR_SEVERITY_ERROR: something cannot be read; OERR_SEVERITY_INFORMATION:
                       harmless, a commit that was interrupted leaves such */
  const char *node; /**< path of the node, "" for the root and the file itself */
  int64_t position; /**< of the bytes at fault */
  const char *problem;
} Ohfa_Finding;
typedef void (*Ohfa_FindingSink)(void *context, const Ohfa_Finding *finding);
/** Reads the whole file as it is stored, every entry and object, and tells what is wrong: 1 when
    nothing is but the harmless, 0 with OHFA_DAMAGED otherwise. `sink` may be null. */
OPRJ_API int32_t ohfa_FileCheck(Ohfa_File *file, Ohfa_FindingSink sink, void *context,
                                Oerr_Report **err);

/* --- dictionary --- */

/** The file's dictionary: borrowed, valid until the handle is closed or a design is added. */
OPRJ_API const Omif_Dictionary *ohfa_DictionaryGet(Ohfa_File *file, Oerr_Report **err);
/** Adds a design, and those that it names before it, where the dictionary lacks them. A different
    design of the same name in the dictionary: OHFA_OTHER_DESIGN. */
OPRJ_API int32_t ohfa_DesignAdd(Ohfa_File *file, const Omif_Design *design, Oerr_Report **err);

/* --- going about --- */

/** Moves to the node that `code` says, of the design `designName` when it is not null: 1; 0 without
    a report when there is none (the current entry stays), 0 with one for damage on the way. */
OPRJ_API int32_t ohfa_EntrySeek(Ohfa_File *file, int32_t code, const char *designName,
                                Oerr_Report **err);
/** The same to the node of a path. */
OPRJ_API int32_t ohfa_PathSeek(Ohfa_File *file, const char *path, Oerr_Report **err);

/** What a node's entry says; zero-terminated texts. */
typedef struct {
  char name[65];
  char design[33]; /**< empty: the node holds no object */
  int64_t entry;   /**< position of the entry in the file, bytes; 0: not written yet */
  int64_t data;    /**< position of the object; 0: none, or not written yet */
  int32_t size;    /**< bytes of the object */
  uint32_t time;   /**< of the last change, seconds since 1970 */
} Ohfa_EntryInfo;

/** Fills *info for the node that `code` says, without moving; 0 without a report when there is
    none. */
OPRJ_API int32_t ohfa_EntryPeek(Ohfa_File *file, int32_t code, Ohfa_EntryInfo *info,
                                Oerr_Report **err);

/** The current entry, to come back to: it keeps the path, so that it outlives replacements. Free
    with ohfa_EntryPositionFree. */
OPRJ_API Ohfa_Position *ohfa_EntryPositionGet(Ohfa_File *file, Oerr_Report **err);
/** Moves there; OHFA_ABSENT when the node is gone. */
OPRJ_API int32_t ohfa_EntryPositionSet(Ohfa_File *file, const Ohfa_Position *position,
                                       Oerr_Report **err);
OPRJ_API void ohfa_EntryPositionFree(Ohfa_Position **position);

/* --- nodes --- */

/** Makes a node without an object, the last child of `parent`. The current entry stays. */
OPRJ_API int32_t ohfa_NodeCreate(Ohfa_File *file, const char *parent, const char *name,
                                 Oerr_Report **err);
/** Gives a node another name, which no sibling may bear. */
OPRJ_API int32_t ohfa_NodeRename(Ohfa_File *file, const char *path, const char *name,
                                 Oerr_Report **err);
/** Removes a node with all below it; a current entry among them moves to the node's parent. */
OPRJ_API int32_t ohfa_NodeRemove(Ohfa_File *file, const char *path, Oerr_Report **err);

/* --- objects --- */

/** Reads the object to which `code` leads from the node of `path`, and moves there; with a null
   path and OHFA_CURRENT to the next node in preorder behind it, so that repeating it reads on. The
   node must be of the design's name (OHFA_CHILD and OHFA_SIBLING look for one); objects in another
    version of the design are read by the names of items. A new record (omif_ObjectFree), or the
    items of `record` replaced, which is unchanged on failure. Null with a report: OHFA_ABSENT,
    OHFA_OTHER_DESIGN, OHFA_OBJECT, ... */
OPRJ_API void *ohfa_ObjectRead(Ohfa_File *file, const char *path, const Omif_Design *design,
                               int32_t code, void *record, Oerr_Report **err);
/** The same into *record (a new one when it is null): 1; 0 without a report when there is no such
    node, *record and the current entry being as before. */
OPRJ_API int32_t ohfa_ObjectReadIfPresent(Ohfa_File *file, const char *path,
                                          const Omif_Design *design, int32_t code, void **record,
                                          Oerr_Report **err);
/** Writes an object and moves to its node. OHFA_NEW: a new node `name`, the last child of `parent`.
    OHFA_REPLACE: the node `name` under `parent` (both null: the current one), which must have the
    design; an equal object changes nothing. In the layout that the file's dictionary has under the
    design's name; a design that it lacks is added. */
OPRJ_API int32_t ohfa_ObjectWrite(Ohfa_File *file, const char *parent, const char *name,
                                  const Omif_Design *design, const void *record, int32_t mode,
                                  Oerr_Report **err);
/** Goes through an object of any design for printing, without moving; a node without an object: 1,
    and nothing is told. */
OPRJ_API int32_t ohfa_ObjectVisit(Ohfa_File *file, const char *path, int32_t code,
                                  const Omif_Visitor *visitor, void *context, Oerr_Report **err);

/** Test hook of the calling thread: sees each write (`count` bytes at `position`) and each sync
    (`bytes` null) of files before it is done. Of a write that many bytes are made that it returns,
    and the rest is dropped as if the process had been killed; a negative number makes a write or
    sync fail. Null: no hook. */
typedef int64_t (*Ohfa_WriteHook)(void *context, int64_t position, const uint8_t *bytes,
                                  int64_t count);
OPRJ_API void ohfa_WriteHookSet(Ohfa_WriteHook hook, void *context);

OPRJ_END_C

#endif
