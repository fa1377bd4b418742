/* The objects of the ESRI Projection Engine: coordinate systems and their parts, as the engine's
   texts (PROJCS["…",GEOGCS[…],…]) describe them. Objects keep every name, the order of their parts
   and parts that are not known, so that a text that was read is written as it was;
   docs/engine-strings.md describes texts and rules.

   Rules of all functions here. A null object, or one of another kind, gives null, 0 or "". Objects
   that are returned without const belong to the caller and end with the del function of their kind;
   const ones are lent by the object that they are part of, and deleting those does nothing. Any
   threads may read an object; oawp_PE_pe_parameter_value_set writes and belongs before sharing.
   Functions that read, make, write or compute keep a report of their failure for the thread
   (oawp_PE_ReportTake). A coordinate system with a vertical part is projected or geographic as its
   horizontal part is, and every function of those kinds takes it. */
#ifndef OPRJ_ENGINE_H
#define OPRJ_ENGINE_H

#include "oerr.h"

OPRJ_BEGIN_C

/** The name of an engine function as its callers write it: OAWP_FCLL_PE(pe_unit_new)("Meter", 1.0).
 */
#define OAWP_FCLL_PE(function) oawp_PE_##function

typedef struct Oawp_PE_Object Oawp_PE_Object;
typedef Oawp_PE_Object Oawp_PE_COORDSYS;   /* a PROJCS or a GEOGCS, also with a vertical part */
typedef Oawp_PE_Object Oawp_PE_HVCOORDSYS; /* a COORDSYS and a VERTCS */
typedef Oawp_PE_Object Oawp_PE_PROJCS;
typedef Oawp_PE_Object Oawp_PE_GEOGCS;
typedef Oawp_PE_Object Oawp_PE_VERTCS;
typedef Oawp_PE_Object Oawp_PE_DATUM;
typedef Oawp_PE_Object Oawp_PE_VDATUM;
typedef Oawp_PE_Object Oawp_PE_SPHEROID;
typedef Oawp_PE_Object Oawp_PE_PRIMEM;
typedef Oawp_PE_Object Oawp_PE_PROJECTION;
typedef Oawp_PE_Object Oawp_PE_METHOD;
typedef Oawp_PE_Object Oawp_PE_PARAMETER;
typedef Oawp_PE_Object Oawp_PE_UNIT;
typedef Oawp_PE_Object Oawp_PE_GEOGTRAN;

/** Kinds of reports (oerr_KindGet): the text is not of the language; the projection has no formula
    here; the database cannot be used. */
enum { OAWP_PE_SYNTAX = 301, OAWP_PE_NO_FORMULA = 302, OAWP_PE_NO_DATABASE = 303 };

/** Hands over the report of the thread's last engine function that can fail: null when it
   succeeded. The caller deletes it (or chains it). */
OPRJ_API void oawp_PE_ReportTake(Oerr_Report **report);

/* --- texts --- */

/** Reads a text, or null with a report that tells the byte (from 1) and what was expected there: 1
    "Args", 2 the text is not of the language, 3 memory. A coordinate system is a PROJCS or a
   GEOGCS, which a VERTCS may follow behind a comma, or a COMPD_CS of both; a HVCOORDSYS must have
   both. */
OPRJ_API Oawp_PE_COORDSYS *oawp_PE_pe_coordsys_from_string(const char *text);
OPRJ_API Oawp_PE_HVCOORDSYS *oawp_PE_pe_hvcoordsys_from_string(const char *text);
OPRJ_API Oawp_PE_DATUM *oawp_PE_pe_datum_from_string(const char *text);
OPRJ_API Oawp_PE_SPHEROID *oawp_PE_pe_spheroid_from_string(const char *text);
OPRJ_API Oawp_PE_PROJECTION *oawp_PE_pe_projection_from_string(const char *text);
OPRJ_API Oawp_PE_UNIT *oawp_PE_pe_unit_from_string(const char *text);

/** Writes an object into `buffer` of `size` bytes, terminator included, and returns the buffer; a
   null buffer: returns new text (omsc_HeapFree). Null with a report: 1 "Args", 2 the buffer has no
   room (it is then empty), 3 memory. */
OPRJ_API char *oawp_PE_pe_coordsys_to_string(const Oawp_PE_COORDSYS *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_hvcoordsys_to_string(const Oawp_PE_HVCOORDSYS *, char *buffer,
                                               size_t size);
OPRJ_API char *oawp_PE_pe_projcs_to_string(const Oawp_PE_PROJCS *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_geogcs_to_string(const Oawp_PE_GEOGCS *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_datum_to_string(const Oawp_PE_DATUM *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_spheroid_to_string(const Oawp_PE_SPHEROID *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_primem_to_string(const Oawp_PE_PRIMEM *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_projection_to_string(const Oawp_PE_PROJECTION *, char *buffer,
                                               size_t size);
OPRJ_API char *oawp_PE_pe_method_to_string(const Oawp_PE_METHOD *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_parameter_to_string(const Oawp_PE_PARAMETER *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_unit_to_string(const Oawp_PE_UNIT *, char *buffer, size_t size);
OPRJ_API char *oawp_PE_pe_geogtran_to_string(const Oawp_PE_GEOGTRAN *, char *buffer, size_t size);

/* --- copies, ends, comparison --- */

/** A new object of its own, or null with a report: 1 "Args", 2 memory. */
OPRJ_API Oawp_PE_COORDSYS *oawp_PE_pe_coordsys_clone(const Oawp_PE_COORDSYS *);
OPRJ_API Oawp_PE_PROJCS *oawp_PE_pe_projcs_clone(const Oawp_PE_PROJCS *);
OPRJ_API Oawp_PE_GEOGCS *oawp_PE_pe_geogcs_clone(const Oawp_PE_GEOGCS *);
OPRJ_API Oawp_PE_DATUM *oawp_PE_pe_datum_clone(const Oawp_PE_DATUM *);
OPRJ_API Oawp_PE_PROJECTION *oawp_PE_pe_projection_clone(const Oawp_PE_PROJECTION *);
OPRJ_API Oawp_PE_PARAMETER *oawp_PE_pe_parameter_clone(const Oawp_PE_PARAMETER *);
OPRJ_API Oawp_PE_UNIT *oawp_PE_pe_unit_clone(const Oawp_PE_UNIT *);
OPRJ_API Oawp_PE_VERTCS *oawp_PE_VertcsClone(const Oawp_PE_VERTCS *);
OPRJ_API Oawp_PE_HVCOORDSYS *oawp_PE_HVCoordsysClone(const Oawp_PE_HVCOORDSYS *);

/** Ends an object with its parts. Null, an object of another kind and one that is part of another
   are left alone. */
OPRJ_API void oawp_PE_pe_coordsys_del(Oawp_PE_COORDSYS *);
OPRJ_API void oawp_PE_pe_hvcoordsys_del(Oawp_PE_HVCOORDSYS *);
OPRJ_API void oawp_PE_pe_projcs_del(Oawp_PE_PROJCS *);
OPRJ_API void oawp_PE_pe_geogcs_del(Oawp_PE_GEOGCS *);
OPRJ_API void oawp_PE_pe_vertcs_del(Oawp_PE_VERTCS *);
OPRJ_API void oawp_PE_pe_datum_del(Oawp_PE_DATUM *);
OPRJ_API void oawp_PE_pe_spheroid_del(Oawp_PE_SPHEROID *);
OPRJ_API void oawp_PE_pe_primem_del(Oawp_PE_PRIMEM *);
OPRJ_API void oawp_PE_pe_projection_del(Oawp_PE_PROJECTION *);
OPRJ_API void oawp_PE_pe_method_del(Oawp_PE_METHOD *);
OPRJ_API void oawp_PE_pe_parameter_del(Oawp_PE_PARAMETER *);
OPRJ_API void oawp_PE_pe_unit_del(Oawp_PE_UNIT *);
OPRJ_API void oawp_PE_pe_geogtran_del(Oawp_PE_GEOGTRAN *);

/** 1 when both are of one kind and mean the same: numbers within 1e-12 relative; the names of
    projection, parameter, datum and spheroid in any case; parameters in any order, a missing one as
    1 (scales) or 0. Other names, parts that are not known and a vertical part do not count. */
OPRJ_API int32_t oawp_PE_pe_coordsys_eq(const Oawp_PE_COORDSYS *, const Oawp_PE_COORDSYS *);
OPRJ_API int32_t oawp_PE_pe_parameter_eq(const Oawp_PE_PARAMETER *, const Oawp_PE_PARAMETER *);
OPRJ_API int32_t oawp_PE_pe_unit_eq(const Oawp_PE_UNIT *, const Oawp_PE_UNIT *);

/* --- what an object is and holds --- */

/** 1 when the object is of that kind. */
OPRJ_API int32_t oawp_PE_pe_hvcoordsys_p(const void *object);
OPRJ_API int32_t oawp_PE_pe_projcs_p(const void *object);
OPRJ_API int32_t oawp_PE_pe_geogcs_p(const void *object);
OPRJ_API int32_t oawp_PE_pe_vertcs_p(const void *object);
OPRJ_API int32_t oawp_PE_pe_datum_p(const void *object);

/** Names, lent. */
OPRJ_API const char *oawp_PE_pe_projcs_name(const Oawp_PE_PROJCS *);
OPRJ_API const char *oawp_PE_pe_geogcs_name(const Oawp_PE_GEOGCS *);
OPRJ_API const char *oawp_PE_pe_vdatum_name(const Oawp_PE_VDATUM *);
OPRJ_API const char *oawp_PE_pe_datum_name(const Oawp_PE_DATUM *);
OPRJ_API const char *oawp_PE_pe_spheroid_name(const Oawp_PE_SPHEROID *);
OPRJ_API const char *oawp_PE_pe_primem_name(const Oawp_PE_PRIMEM *);
OPRJ_API const char *oawp_PE_pe_projection_name(const Oawp_PE_PROJECTION *);
OPRJ_API const char *oawp_PE_pe_parameter_name(const Oawp_PE_PARAMETER *);
OPRJ_API const char *oawp_PE_pe_unit_name(const Oawp_PE_UNIT *);
OPRJ_API const char *oawp_PE_pe_geogtran_name(const Oawp_PE_GEOGTRAN *);
OPRJ_API const char *oawp_PE_VertcsName(const Oawp_PE_VERTCS *);

/** Parts, lent. The datum of a vertical system is a VDATUM or a DATUM. */
OPRJ_API const Oawp_PE_GEOGCS *oawp_PE_pe_projcs_geogcs(const Oawp_PE_PROJCS *);
OPRJ_API const Oawp_PE_PROJECTION *oawp_PE_pe_projcs_projection(const Oawp_PE_PROJCS *);
OPRJ_API const Oawp_PE_UNIT *oawp_PE_pe_projcs_unit(const Oawp_PE_PROJCS *);
OPRJ_API const Oawp_PE_DATUM *oawp_PE_pe_geogcs_datum(const Oawp_PE_GEOGCS *);
OPRJ_API const Oawp_PE_PRIMEM *oawp_PE_pe_geogcs_primem(const Oawp_PE_GEOGCS *);
OPRJ_API const Oawp_PE_UNIT *oawp_PE_pe_geogcs_unit(const Oawp_PE_GEOGCS *);
OPRJ_API const Oawp_PE_SPHEROID *oawp_PE_pe_datum_spheroid(const Oawp_PE_DATUM *);
OPRJ_API const Oawp_PE_Object *oawp_PE_pe_vertcs_hvdatum(const Oawp_PE_VERTCS *);
OPRJ_API const Oawp_PE_UNIT *oawp_PE_pe_vertcs_unit(const Oawp_PE_VERTCS *);
OPRJ_API const Oawp_PE_COORDSYS *oawp_PE_pe_hvcoordsys_coordsys(const Oawp_PE_HVCOORDSYS *);
OPRJ_API const Oawp_PE_VERTCS *oawp_PE_pe_hvcoordsys_vertcs(const Oawp_PE_HVCOORDSYS *);

/** The parameters in the order of the text, ended by null; lent. */
OPRJ_API const Oawp_PE_PARAMETER *const *oawp_PE_pe_projcs_parameters(const Oawp_PE_PROJCS *);
OPRJ_API const Oawp_PE_PARAMETER *const *oawp_PE_pe_vertcs_parameters(const Oawp_PE_VERTCS *);

/** Numbers: degrees east of Greenwich; the value as the text has it (in the system's units); metres
   or radians a unit. */
OPRJ_API double oawp_PE_pe_primem_longitude(const Oawp_PE_PRIMEM *);
OPRJ_API double oawp_PE_pe_parameter_value(const Oawp_PE_PARAMETER *);
OPRJ_API double oawp_PE_pe_unit_factor(const Oawp_PE_UNIT *);
/** Stores the semi-major axis in metres and 1/f (0: a sphere), where asked for; 1, or 0. */
OPRJ_API int32_t oawp_PE_SpheroidAxes(const Oawp_PE_SPHEROID *, double *a, double *rf);
/** Changes the value of a parameter; a value that is not finite is refused with a report. */
OPRJ_API void oawp_PE_pe_parameter_value_set(Oawp_PE_PARAMETER *, double value);

/* --- making objects --- */

/** New objects. Parts become the new object's on success (lists of parameters end with null or are
    null, and stay the caller's themselves); on failure they stay the caller's. Null with a report:
   1 "Args" (a missing name or part, a part of the wrong kind, one that is part of another object or
    given twice), 2 "Invalid value" (numbers that a text could not hold either), 3 memory. */
OPRJ_API Oawp_PE_PROJCS *oawp_PE_pe_projcs_new(const char *name, Oawp_PE_GEOGCS *,
                                               Oawp_PE_PROJECTION *, Oawp_PE_PARAMETER **,
                                               Oawp_PE_UNIT *);
OPRJ_API Oawp_PE_GEOGCS *oawp_PE_pe_geogcs_new(const char *name, Oawp_PE_DATUM *, Oawp_PE_PRIMEM *,
                                               Oawp_PE_UNIT *);
OPRJ_API Oawp_PE_DATUM *oawp_PE_pe_datum_new(const char *name, Oawp_PE_SPHEROID *);
/** Semi-major axis in metres, 1/f (0: a sphere). */
OPRJ_API Oawp_PE_SPHEROID *oawp_PE_pe_spheroid_new(const char *name, double a, double rf);
OPRJ_API Oawp_PE_PRIMEM *oawp_PE_pe_primem_new(const char *name, double degrees);
/** Metres or radians a unit. */
OPRJ_API Oawp_PE_UNIT *oawp_PE_pe_unit_new(const char *name, double factor);
OPRJ_API Oawp_PE_PARAMETER *oawp_PE_pe_parameter_new(const char *name, double value);
/** `hvdatum` is a VDATUM or a DATUM. */
OPRJ_API Oawp_PE_VERTCS *oawp_PE_pe_vertcs_new(const char *name, void *hvdatum,
                                               Oawp_PE_PARAMETER **, Oawp_PE_UNIT *);
OPRJ_API Oawp_PE_HVCOORDSYS *oawp_PE_pe_hvcoordsys_new(Oawp_PE_COORDSYS *, Oawp_PE_VERTCS *);
OPRJ_API Oawp_PE_GEOGTRAN *oawp_PE_pe_geogtran_new(const char *name, Oawp_PE_GEOGCS *from,
                                                   Oawp_PE_GEOGCS *to, Oawp_PE_METHOD *,
                                                   Oawp_PE_PARAMETER **);
/** New parameters of a projection with their default values, ended by null (oawp_PE_pe_table_del).
 */
OPRJ_API Oawp_PE_PARAMETER **oawp_PE_pe_parameter_projection_defaults(const Oawp_PE_PROJECTION *);

/* --- predefined objects --- */

/** A new predefined object by its code, whatever its kind (where codes of several kinds meet:
    projection, parameter, unit, prime meridian, spheroid, geographic, projected, vertical system,
    datum, transformation; EPSG before ESRI); or of one kind. Null with a report: 1 no object of
   that code, 2 the database cannot be used, 3 memory. */
OPRJ_API void *oawp_PE_pe_factory(int32_t code);
OPRJ_API Oawp_PE_DATUM *oawp_PE_pe_factory_datum(int32_t code);
OPRJ_API Oawp_PE_PARAMETER *oawp_PE_pe_factory_parameter(int32_t code);
OPRJ_API Oawp_PE_VDATUM *oawp_PE_pe_factory_vdatum(int32_t code);
/** The code of a predefined object; 0 for others. */
OPRJ_API int32_t oawp_PE_pe_factory_code(const void *object);

/** All predefined objects of a kind, ended by null, their number in *count (may be null). They know
    their code and name; what else they hold is made when it is first looked at. Null with a report
    as above. End with oawp_PE_pe_table_del. */
OPRJ_API Oawp_PE_UNIT **oawp_PE_pe_predefined_angular_unit(int32_t *count);
OPRJ_API Oawp_PE_DATUM **oawp_PE_pe_predefined_datum(int32_t *count);
OPRJ_API Oawp_PE_GEOGCS **oawp_PE_pe_predefined_geogcs(int32_t *count);
OPRJ_API Oawp_PE_GEOGTRAN **oawp_PE_pe_predefined_geogtran(int32_t *count);
OPRJ_API Oawp_PE_UNIT **oawp_PE_pe_predefined_linear_unit(int32_t *count);
OPRJ_API Oawp_PE_METHOD **oawp_PE_pe_predefined_method(int32_t *count);
OPRJ_API Oawp_PE_PARAMETER **oawp_PE_pe_predefined_parameter(int32_t *count);
OPRJ_API Oawp_PE_PRIMEM **oawp_PE_pe_predefined_primem(int32_t *count);
OPRJ_API Oawp_PE_PROJCS **oawp_PE_pe_predefined_projcs(int32_t *count);
OPRJ_API Oawp_PE_PROJECTION **oawp_PE_pe_predefined_projection(int32_t *count);
OPRJ_API Oawp_PE_SPHEROID **oawp_PE_pe_predefined_spheroid(int32_t *count);
OPRJ_API Oawp_PE_VDATUM **oawp_PE_pe_predefined_vdatum(int32_t *count);
/** Ends a list of this header with its objects but those that became part of others. */
OPRJ_API void oawp_PE_pe_table_del(void **table);

OPRJ_END_C

#endif
