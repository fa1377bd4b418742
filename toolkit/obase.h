/* What every public header of the toolkit and of oPrj starts from: visibility and linkage. */
#ifndef OPRJ_OBASE_H
#define OPRJ_OBASE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define OPRJ_API __declspec(dllexport)
#else
#define OPRJ_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
/** Lets the compiler check a printf-style format at argument `fmt`, values from argument `args` on.
 */
#define OPRJ_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define OPRJ_PRINTF(fmt, args)
#endif

#if defined(__cplusplus)
#define OPRJ_BEGIN_C extern "C" {
#define OPRJ_END_C }
#else
#define OPRJ_BEGIN_C
#define OPRJ_END_C
#endif

#endif
