/* The reference data: projection dictionary, spheroid and datum tables, State Plane zones and the
   dictionary of record designs, with their loading, lookups, printers and the interactive query.
   The languages of the files are described in docs/reference-files.md. */
#ifndef OPRJ_TABLES_H
#define OPRJ_TABLES_H

#include "oint.h"
#include "omif.h"
#include "parameters.h"

OPRJ_BEGIN_C

/** kind of Oprj_QueryEntry. */
enum {
  OPRJ_QUERY_SPHEROID = 0,
  OPRJ_QUERY_SPHEROID_BY_NAME = 1,
  OPRJ_QUERY_UTM_ZONE = 2,
  OPRJ_QUERY_STATE_PLANE_ZONE = 3,
  OPRJ_QUERY_NUMBER = 4,
  OPRJ_QUERY_ANGLE = 5,
  OPRJ_QUERY_DISTANCE = 6,
  OPRJ_QUERY_NAD_CODE = 7,
  OPRJ_QUERY_CONDITION = 8,
  OPRJ_QUERY_INTEGER = 9
};

/** unit of Oprj_QueryEntry. */
enum {
  OPRJ_QUERY_UNIT_DD = 0,
  OPRJ_QUERY_UNIT_RADIANS = 1,
  OPRJ_QUERY_UNIT_FEET = 2,
  OPRJ_QUERY_UNIT_METERS = 3,
  OPRJ_QUERY_UNIT_NONE = 4
};

typedef struct Oprj_QueryEntry Oprj_QueryEntry;
typedef struct Oprj_CondQueryEntry Oprj_CondQueryEntry;
typedef struct Oprj_Query Oprj_Query;
typedef struct Oprj_SPTableEntry Oprj_SPTableEntry;
typedef struct Oprj_DatumTableEntry Oprj_DatumTableEntry;
typedef struct Oprj_SpheroidTableEntry Oprj_SpheroidTableEntry;
typedef struct Oprj_SpheroidAlias Oprj_SpheroidAlias;

/** A question that fills a field or a slot of proParams. */
struct Oprj_QueryEntry {
  Oprj_QueryEntry *next;
  Oprj_Char *prompt;
  int32_t index;
  int32_t kind;
  int32_t unit;
  Oprj_CondQueryEntry *conditionalList;
  /** Working space of the dialogue; kind 1 keeps its spheroid's name here (owned). */
  union {
    int32_t words[4];
    Oprj_Char *spheroidName;
  } valueArea;
  /* How texts (text.h) answer the question. */
  Oprj_Char *key;      /**< its short name ("lon_0"); null: the slot's number alone */
  int32_t needed;      /**< 1: it has no natural answer and must be given */
  double defaultValue; /**< the answer when it is left out, in the question's unit (degrees, ...) */
  Oprj_Char *defaultKey; /**< the key whose answer is taken instead of defaultValue; may be null */
};

/** A branch of a condition: chosen by `value`, it asks `queryEntryList` (may be null). */
struct Oprj_CondQueryEntry {
  Oprj_CondQueryEntry *next;
  double value;
  Oprj_Char *label;
  Oprj_QueryEntry *queryEntryList;
};

/** A projection of the dictionary. */
struct Oprj_Query {
  Oprj_Query *next;
  Oprj_Char *name;
  int32_t type; /**< 0 internal, 1 external */
  union {
    int32_t number;        /**< internal */
    Oprj_Char *executable; /**< external */
  };
  Oprj_QueryEntry *paramsQuerylist;
  Oprj_QueryEntry *proParamsQuerylist;
};

/** A State Plane zone. */
struct Oprj_SPTableEntry {
  Oprj_SPTableEntry *next;
  Oprj_Char *stateName;
  Oprj_Char *zoneName;
  int32_t zoneNumber;
  int32_t nadCode; /**< 1 NAD27, 2 NAD83 */
  int32_t
      projectionNumber; /**< 1 Transverse Mercator, 2 Lambert, 3 Polyconic, 4 Oblique Mercator */
  int32_t fipsCode;     /**< negated */
  Oprj_DblArray parameters; /**< nine */
};

struct Oprj_SpheroidAlias {
  Oprj_SpheroidAlias *next;
  Oprj_Char *name;
};

/** What the shifts of a surface datum are read from. */
typedef struct {
  int32_t kind;                         /**< 0 constant, 1 raster, 2 vector */
  double longitudeShift, latitudeShift; /**< constant: arc-seconds, east and north positive */
  Oprj_Char *longitudeFile;             /**< raster; vector: its file */
  Oprj_Char *latitudeFile;              /**< raster */
  int32_t bilinear;                     /**< resample or interpolation "bilinear" */
  int32_t hasNodata;
  double nodata;
  Oprj_Char *baseDatum;
  int32_t baseIsGrid; /**< keyword "gridbasedatum" */
  int32_t fromDatum;  /**< keyword "fromdatum" */
} Oprj_SurfaceSource;

/** A datum of a spheroid's table entry. */
struct Oprj_DatumTableEntry {
  Oprj_DatumTableEntry *next;
  Oprj_Char *name;
  int32_t type;
  double params[7];
  Oprj_Char *gridname;
  Oprj_SurfaceSource *surface; /**< owned; only for the surface type */
  Oprj_Char *description;
};

/** A spheroid with its datums. */
struct Oprj_SpheroidTableEntry {
  Oprj_SpheroidTableEntry *next;
  Oprj_Char *name;
  int32_t number;
  double a, b;
  Oprj_SpheroidAlias *aliases;
  Oprj_Char *description;
  Oprj_DatumTableEntry *datums;
};

/** The projection reference data: read once, then only read. */
typedef struct {
  Oprj_Query *queryTable;
  Oprj_SpheroidTableEntry *spheroidTable;
  Oprj_SPTableEntry *statePlaneTable;
  Omif_Dictionary *dictionary; /**< lives as long as the process */
  void *reserved;
  const Omif_Design *datumDesign;
  const Omif_Design *proParametersDesign;
  const Omif_Design *elevationInfoDesign;
  const Omif_Design *mapInfoDesign;
} Oprj_InitData;

/* --- start --- */

/* oprj_Init, oprj_InitDataFree, oprj_InitProjectionData, the Read operations and whatever parses,
   joins or frees spheroid tables change live tables (the process has one table of spheroids): no
   other thread may look up meanwhile, and after oprj_Init and the Free operations entries that were
   looked up before are gone. Lookups may be called from any thread; the first ones of several
   threads load once. */

/** Loads the reference data anew into the toolkit's record (null: the process's own). Fails with 1
   "Failed to initialize toolkit", and the next lookup tries again. Returns the report in the slot,
   or null; without a slot the report is the caller's to delete. */
OPRJ_API Oerr_Report *oprj_Init(Oint_Toolkit *toolkit, Oerr_Report **err);

/** The loaded reference data of the toolkit's record (borrowed), loading it when the slot is empty;
   null with 1 "Toolkit has not been initialized" or 2 "Error returned from oprj_Init". */
OPRJ_API const Oprj_InitData *oprj_InitDataGet(Oint_Toolkit *toolkit, Oerr_Report **err);

/** New reference data from files (null: the default ones). A table that cannot be read stays empty:
   the data is returned all the same, beside the report of the last step that failed. */
OPRJ_API Oprj_InitData *oprj_InitProjectionData(const Oprj_Char *dictionaryFile,
                                                const Oprj_Char *spheroidFile,
                                                const Oprj_Char *statePlaneFile, Oerr_Report **err);
/** New reference data without tables; null with 1 "Error allocating InitData". */
OPRJ_API Oprj_InitData *oprj_InitDataCreate(Oerr_Report **err);
/** Frees the data with its tables (the dictionary of designs lives on) and nulls the pointer; null
   and *null are accepted. */
OPRJ_API void oprj_InitDataFree(Oprj_InitData **data);

/* --- files to lists: Parse takes a text or else a file (both null: the default files) and returns
   a new list; Read appends it to the data's table and returns that. Parse fails with 1 (the search
   list cannot be made) or 2 "Error returned from olex_Parse" (file, memory, syntax); Read with 1
   "Invalid input InitData" or 2 "Error returned from oprj_...Parse", the table as before. --- */

/** Appends the projections of a dictionary (null: "mapprojections.dat"). */
OPRJ_API Oprj_Query *oprj_QueryTableRead(Oprj_InitData *data, const Oprj_Char *fileName,
                                         Oerr_Report **err);
/** The projections of a dictionary; free with oprj_QueryFree. */
OPRJ_API Oprj_Query *oprj_QueryTableParse(const Oprj_Char *text, const Oprj_Char *fileName,
                                          Oerr_Report **err);
/** Joins the spheroids of a table (null: every "spheroid*.tab") to the data's. */
OPRJ_API Oprj_SpheroidTableEntry *oprj_SpheroidTableRead(Oprj_InitData *data,
                                                         const Oprj_Char *fileName,
                                                         Oerr_Report **err);
/** The list is the process's one table of all spheroids read so far, and the caller one more user
   of it: release it with oprj_SpheroidTableEntryFree. Syntax errors are printed, and what was read
   before them stays; so are files of a directory that cannot be read. 1
   "DatumManagerGetConfigurationSearchList failed", 2 "Error returned from olex_Parse", and for
   lack of memory 3 "Error allocating spheroid table map", 4 "Error returned from
   ofio_DirectoryList", 5 "ofnp_FileNameSet fail", 6 "Error returned from ofio_Which". */
OPRJ_API Oprj_SpheroidTableEntry *oprj_SpheroidTableParse(const Oprj_Char *text,
                                                          const Oprj_Char *fileName,
                                                          Oerr_Report **err);
/** Appends the State Plane zones of a table (null: "sptable.tab"). */
OPRJ_API Oprj_SPTableEntry *oprj_SPTableRead(Oprj_InitData *data, const Oprj_Char *fileName,
                                             Oerr_Report **err);
/** The State Plane zones of a table; free with oprj_SPTableEntryFree. */
OPRJ_API Oprj_SPTableEntry *oprj_SPTableParse(const Oprj_Char *text, const Oprj_Char *fileName,
                                              Oerr_Report **err);

/* --- records of the tables: creators copy texts (null: the empty one) and adopt lists only on
   success; they fail with 1 "Error allocating ..." --- */

/** A projection: `number` of an internal, `executable` of an external one; "Error allocating
   Query". */
OPRJ_API Oprj_Query *oprj_QueryCreate(const Oprj_Char *name, int32_t type, int32_t number,
                                      const Oprj_Char *executable, Oprj_QueryEntry *paramsQuerylist,
                                      Oprj_QueryEntry *proParamsQuerylist, Oerr_Report **err);
/** A question of any kind but the spheroid by name; "Error allocating Query Entry". */
OPRJ_API Oprj_QueryEntry *oprj_QueryEntryCreate(const Oprj_Char *prompt, int32_t index,
                                                int32_t kind, int32_t unit,
                                                Oprj_CondQueryEntry *conditionalList,
                                                Oerr_Report **err);
/** The question for a datum of a spheroid that is given; "Error allocating Query Entry". */
OPRJ_API Oprj_QueryEntry *oprj_QueryEntryCreateSpheroidByName(const Oprj_Char *prompt,
                                                              const Oprj_Char *spheroidName,
                                                              Oerr_Report **err);
/** A branch of a condition; "Error allocating Conditional Query Entry". */
OPRJ_API Oprj_CondQueryEntry *oprj_CondQueryEntryCreate(double value, const Oprj_Char *label,
                                                        Oprj_QueryEntry *queryEntryList,
                                                        Oerr_Report **err);
/** An empty zone of NAD27; "Error allocating SPTableEntry". */
OPRJ_API Oprj_SPTableEntry *oprj_SPTableEntryCreate(Oerr_Report **err);

/** Links `entry` behind the last element of `list`; either may be null. Returns the head. */
OPRJ_API Oprj_Query *oprj_QueryList(Oprj_Query *list, Oprj_Query *entry, Oerr_Report **err);
/** Joins to `list` those entries of `entries` that it does not hold yet. Returns the head. */
OPRJ_API Oprj_SpheroidTableEntry *oprj_SpheroidTableEntryList(Oprj_SpheroidTableEntry *list,
                                                              Oprj_SpheroidTableEntry *entries,
                                                              Oerr_Report **err);

/* Each frees a whole list with what its elements hold and nulls the pointer; null and *null are
   accepted. */
OPRJ_API void oprj_QueryFree(Oprj_Query **list);
OPRJ_API void oprj_QueryEntryFree(Oprj_QueryEntry **list);
OPRJ_API void oprj_CondQueryEntryFree(Oprj_CondQueryEntry **list);
OPRJ_API void oprj_SPTableEntryFree(Oprj_SPTableEntry **list);
/** Releases the process's table of spheroids (entries of one's own in front are freed), which
 * empties with its last user. */
OPRJ_API void oprj_SpheroidTableEntryFree(Oprj_SpheroidTableEntry **list);

/* Printers write the files' own language to standard output: projections, questions, branches. */
OPRJ_API void oprj_QueryListPrint(const Oprj_Query *list);
OPRJ_API void oprj_QueryEntryListPrint(const Oprj_QueryEntry *list);
OPRJ_API void oprj_CondQueryEntryListPrint(const Oprj_CondQueryEntry *list);

/* --- lookups: entries are borrowed and stay as long as the loaded data. Each takes the toolkit's
   record first and loads the reference tables when that has not happened: 1 "Toolkit has not been
   initialized", 2 "Error returned from oprj_Init". Names are compared exactly unless any case is
   said. --- */

/** The first spheroid with that name or alias: 3 "Invalid input spheroid name", 4 "Spheroid number
   not found in Spheroid table". */
OPRJ_API const Oprj_SpheroidTableEntry *oprj_SpheroidEntryByName(Oint_Toolkit *toolkit,
                                                                 const Oprj_Char *name,
                                                                 Oerr_Report **err);
/** The first spheroid with that number: 3 "Spheroid number not found in Spheroid table". */
OPRJ_API const Oprj_SpheroidTableEntry *oprj_SpheroidEntryByNumber(Oint_Toolkit *toolkit,
                                                                   int32_t number,
                                                                   Oerr_Report **err);
/** The projection of that name: 2 "oprj_Init failed", 3 "Projection name not found in query
   list". */
OPRJ_API const Oprj_Query *oprj_QueryByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                            Oerr_Report **err);
/** The first internal projection with that number: 3 "Projection number not found in query
   list". */
OPRJ_API const Oprj_Query *oprj_QueryByNumber(Oint_Toolkit *toolkit, int32_t number,
                                              Oerr_Report **err);
/** The projection of a record's number or executable, one with its name (any case) before others:
   3 "Invalid input Oprj_ProParameters", 4 "Projection number not found in query list", 5
   "Projection name not found in query list". */
OPRJ_API const Oprj_Query *oprj_QueryByExample(Oint_Toolkit *toolkit,
                                               const Oprj_ProParameters *record, Oerr_Report **err);
/** Stores the name of an internal projection in `target` and returns it: 3 "Invalid output
   Oprj_CharStrPtr", 4 "Error returned from oprj_QueryByNumber", 5 "Error returned from
   oprj_CharStrCreate". */
OPRJ_API Oprj_CharStr *oprj_ProjName(Oint_Toolkit *toolkit, int32_t number, Oprj_CharStr *target,
                                     Oerr_Report **err);
/** The zone of a state by name (both in any case) and NAD code (1 or 2): 3 "State name and Zone
   name not found in State Plane table". */
OPRJ_API const Oprj_SPTableEntry *oprj_SPEntryByNames(Oint_Toolkit *toolkit,
                                                      const Oprj_Char *stateName,
                                                      const Oprj_Char *zoneName, int32_t nadCode,
                                                      Oerr_Report **err);
/** `zone` below 0 is compared with the stored (negated) FIPS code, else with the zone number: 3
   "Zone number not found in State Plane table". */
OPRJ_API const Oprj_SPTableEntry *oprj_SPEntryByZoneNumber(Oint_Toolkit *toolkit, int32_t zone,
                                                           int32_t nadCode, Oerr_Report **err);

/* --- spheroid and datum lookups: they start as the others do; a target that cannot be filled
   stays as it was unless more is said --- */

/** Fills name and axes of `target` (its datum stays) and returns it: 3 "Invalid spheroid name", 4
   "Invalid output Oprj_Spheroid", 5 "Error returned from oprj_SpheroidEntryByName", 6 "Error
   returned from oprj_CharStrCreate". */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                            Oprj_Spheroid *target, Oerr_Report **err);
/** The same by number: 3 "Invalid output Oprj_Spheroid", 4 "Error returned from
   oprj_SpheroidEntryByNumber", 5 "Error returned from oprj_CharStrCreate". */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByNum(Oint_Toolkit *toolkit, int32_t number,
                                           Oprj_Spheroid *target, Oerr_Report **err);
/** Stores the axes (metres, finite and above 0) with e² and the authalic radius; name and datum
   stay: 3 "Invalid output Oprj_Spheroid", 4 "Invalid spheroid axes". */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByAxes(Oint_Toolkit *toolkit, double a, double b,
                                            Oprj_Spheroid *target, Oerr_Report **err);
/** From a 15-element parameter array: element 0 a spheroid number, or negative with axes (metres)
   in 13 and 14 (0 or below: a sphere), then named "Unknown"; the datum becomes "Undefined". 3
   "Invalid input Oprj_DblArrayPtr", 4 "Invalid output Oprj_Spheroid", 5 "Insufficient projection
   parameters", 6 "Invalid spheroid number", 7 "Invalid spheroid axes", 8 to 11 callees. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByParms(Oint_Toolkit *toolkit, const Oprj_DblArray *params,
                                             Oprj_Spheroid *target, Oerr_Report **err);
/** The number of a spheroid; 0, which may be a number too, with 3 "Error returned from
   oprj_SpheroidEntryByName". */
OPRJ_API int32_t oprj_SpheroidNumberByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                           Oerr_Report **err);
/** Fills `target` (reset first) with a datum of the spheroid's table entry; an empty name or
   "Undefined" leaves it undefined. A grid datum's file is opened: when that fails the datum keeps
   its name, type and grid name. 3 "Invalid output Oprj_Datum", 5 "Error returned from
   oprj_SpheroidEntryByName", 6 "Datum name not found in Spheroid table", 10 "Error returned from
   datafileOpen", 11 "Error returned from oprj_ShiftSurfaceDuplicate"; 4 and 7 to 9 memory. */
OPRJ_API Oprj_Datum *oprj_DatumByName(Oint_Toolkit *toolkit, const Oprj_Char *spheroidName,
                                      const Oprj_Char *datumName, Oprj_Datum *target,
                                      Oerr_Report **err);
/** New text: the first spheroid whose axes differ from `a` and `b` (metres) by less than 1e-5 m;
   null with 3 "Error returned from oprj_GetSpheroidNameByAxesWithTolerance". */
OPRJ_API Oprj_Char *oprj_GetSpheroidNameByAxes(Oint_Toolkit *toolkit, double a, double b,
                                               Oerr_Report **err);
/** The same with `tolerance` metres: 3 "Spheroid name not found in Spheroid table", 4 "Error
   allocating spheroid name". */
OPRJ_API Oprj_Char *oprj_GetSpheroidNameByAxesWithTolerance(Oint_Toolkit *toolkit, double a,
                                                            double b, double tolerance,
                                                            Oerr_Report **err);
/** New text: the spheroid that a datum lies on; 3 "The input datum name is not valid", 4 "Spheroid
   name not found based on the given datum name", 5 "Error allocating spheroid name". */
OPRJ_API Oprj_Char *oprj_GetSpheroidNameByDatumName(Oint_Toolkit *toolkit,
                                                    const Oprj_Char *datumName, Oerr_Report **err);

/** A new record from the dictionary entry of that name (any case): parameters all zero, spheroid
    "Clarke 1866" with its datum of the same name. 3 "Invalid Projection Name", 4 to 8 callees. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCreateByName(Oint_Toolkit *toolkit,
                                                            const Oprj_Char *name,
                                                            Oerr_Report **err);
/** New text: "UTM, Zone 17" and the like, else the projection's name; 1 "Toolkit has not been
   initialized", 3 "Invalid input Oprj_ProParameters", 4 "Error allocating projection
   description". */
OPRJ_API Oprj_Char *oprj_ProjectionDescribe(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            Oerr_Report **err);
/* --- dialogue on standard input and output --- */

/** Asks for a spheroid and a datum until they are known, and fills `target`: 3 "Invalid output
   Oprj_Spheroid", 4 "End of input", 5 to 7 callees. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidSelect(Oint_Toolkit *toolkit, Oprj_Spheroid *target,
                                            Oerr_Report **err);
/** Asks for a projection until it is known: borrowed; 3 "End of input". */
OPRJ_API const Oprj_Query *oprj_QuerySelect(Oint_Toolkit *toolkit, Oerr_Report **err);
/** Asks the entry's questions and fills `record` (null: a new one). When a datum's grid file is not
    installed, the record is returned complete and the report stands beside it (12). 3 "Invalid
    input Oprj_Query", 9 "Invalid data type", 10 "End of input", 13 "Invalid parameter index"; 4 to
    8 and 11 callees and memory. A record of the caller's changes on success alone. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersQuery(Oint_Toolkit *toolkit, const Oprj_Query *query,
                                                     Oprj_ProParameters *record, Oerr_Report **err);

OPRJ_END_C

#endif
