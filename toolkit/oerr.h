/* Error reports. A report names the operation that failed, a code distinct per place of failure, a
   severity and a message, and owns the report of the callee that caused it: a chain that ends at
   the root cause. A null report is success. Reports do not come from the counted heap of omsc.h, so
   that running out of memory can be reported; when even that fails, one static report says so. */
#ifndef OPRJ_OERR_H
#define OPRJ_OERR_H

#include <stdarg.h>

#include "obase.h"

OPRJ_BEGIN_C

typedef struct Oerr_Report Oerr_Report;

enum { OERR_SEVERITY_INFORMATION = 0, OERR_SEVERITY_WARNING = 1, OERR_SEVERITY_ERROR = 2 };

/** Makes a report; takes ownership of `cause` (null: none). Never returns null. Texts are copied.
 */
OPRJ_API Oerr_Report *oerr_CreateErrorReport(const char *function, int32_t code, int32_t severity,
                                             Oerr_Report *cause, const char *format, ...)
    OPRJ_PRINTF(5, 6);
/** The same with the values as a list, which stays usable. */
OPRJ_API Oerr_Report *oerr_CreateErrorReportV(const char *function, int32_t code, int32_t severity,
                                              Oerr_Report *cause, const char *format,
                                              va_list values) OPRJ_PRINTF(5, 0);

/** Deletes a report with its whole chain and nulls the pointer; null and *null are accepted. */
OPRJ_API void oerr_DeleteErrorReport(Oerr_Report **report);

/** Writes the chain to standard error, a line a report: `function: message (code N, severity N)`,
    causes below, indented, the root cause last. Null writes nothing. */
OPRJ_API void oerr_PrintErrorReport(const Oerr_Report *report);

/** The text that oerr_PrintErrorReport writes: new text of the heap (omsc_HeapFree), null when
   there is no memory. */
OPRJ_API char *oerr_ErrorReportToString(const Oerr_Report *report);

/* Parts of a report; texts are borrowed. A null report: "", 0, 0, null. */
OPRJ_API const char *oerr_FunctionGet(const Oerr_Report *report);
OPRJ_API int32_t oerr_CodeGet(const Oerr_Report *report);
OPRJ_API int32_t oerr_SeverityGet(const Oerr_Report *report);
OPRJ_API const char *oerr_MessageGet(const Oerr_Report *report);
OPRJ_API const Oerr_Report *oerr_CauseGet(const Oerr_Report *report);

/** The last report of the chain: what went wrong first. Borrowed; null for null. */
OPRJ_API const Oerr_Report *oerr_RootCauseGet(const Oerr_Report *report);

/** Records which point of an array a report speaks of: its index from 0 and both coordinates as the
    caller gave them. */
OPRJ_API void oerr_PointSet(Oerr_Report *report, int64_t index, double x, double y);

/** Returns 1 and fills the outputs (null ones are skipped) when a report of the chain carries a
    point, outermost first; else returns 0. */
OPRJ_API int32_t oerr_PointGet(const Oerr_Report *report, int64_t *index, double *x, double *y);

/** What kind of failure a report tells of, for callers that act on it: the header of the reporting
    operation lists its kinds. Messages are for people alone. */
OPRJ_API void oerr_KindSet(Oerr_Report *report, int32_t kind);

/** The kind of the outermost report of the chain that has one, else 0. */
OPRJ_API int32_t oerr_KindGet(const Oerr_Report *report);

/** Adds a text that could stand instead of one that was refused (copied; dropped without memory).
 */
OPRJ_API void oerr_SuggestionAdd(Oerr_Report *report, const char *text);

/** Suggestion number `index`, from 0, of the outermost report of the chain that has any: borrowed;
    null behind the last. */
OPRJ_API const char *oerr_SuggestionGet(const Oerr_Report *report, int32_t index);

/** Receives a line of the message log, without line end. */
typedef void (*Oerr_LogSink)(const char *line, void *context);

/** Sends the message log to `sink` (null: back to standard error). Process-wide. */
OPRJ_API void oerr_LogSinkSet(Oerr_LogSink sink, void *context);

/** Writes a line to the message log. */
OPRJ_API void oerr_LogMessage(const char *format, ...) OPRJ_PRINTF(1, 2);

OPRJ_END_C

#endif
