// PROJ's database: the texts of its objects and lists of them.
#ifndef OPRJ_ENGINE_PROJ_DATABASE_H
#define OPRJ_ENGINE_PROJ_DATABASE_H

#include <proj.h>

#include <memory>

#include "engine/module.h"

namespace orvik::engine {

struct DestroyContext {
  void operator()(PJ_CONTEXT *context) const { proj_context_destroy(context); }
};
using Context = std::unique_ptr<PJ_CONTEXT, DestroyContext>;

/// A context that writes nothing to standard error.
Context quietContext();

char *textOf(Stored kind, int32_t code, Oerr_Report **err);
int32_t forEach(Stored kind, void (*add)(void *context, int32_t code, const char *name),
                void *context, Oerr_Report **err);

}  // namespace orvik::engine

#endif
