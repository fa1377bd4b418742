// The module's table, and PROJ's operations: each has a context of its own and so is free of
// threads.
#include <proj.h>

#include <cmath>
#include <new>
#include <string>

#include "engine/proj/database.h"
#include "toolkit/error_scope.h"

namespace orvik::engine {
namespace {

struct Operation {
  Context context = quietContext();
  PJ *transformation = nullptr;
  Operation() = default;
  ~Operation() { proj_destroy(transformation); }
  Operation(const Operation &) = delete;
  Operation &operator=(const Operation &) = delete;
};

void *operationNew(const char *definition, Oerr_Report **err) {
  toolkit::ErrorScope e("projOperation", err);
  return toolkit::guarded(e, 1, [&]() -> void * {
    auto operation = std::make_unique<Operation>();
    if (!operation->context) return e.fail(1, "Out of memory");
    operation->transformation = proj_create(operation->context.get(), definition);
    if (operation->transformation) return operation.release();
    const int fault = proj_context_errno(operation->context.get());
    return e.fail(1, "PROJ refuses \"%s\": %s", definition,
                  proj_context_errno_string(operation->context.get(), fault));
  });
}

void operationDelete(void *operation) { delete static_cast<Operation *>(operation); }

Pair transformOne(void *operation, bool forward, double x, double y) {
  const PJ_COORD made = proj_trans(static_cast<Operation *>(operation)->transformation,
                                   forward ? PJ_FWD : PJ_INV, PJ_COORD{{x, y, 0.0, HUGE_VAL}});
  return {made.v[0], made.v[1]};
}

void transform(void *operation, bool forward, double *points, size_t count) {
  for (double *const end = points + 2 * count; points != end; points += 2) {
    const Pair made = transformOne(operation, forward, points[0], points[1]);
    points[0] = made.x;
    points[1] = made.y;
  }
}

}  // namespace

Context quietContext() {
  Context context(proj_context_create());
  if (context) {
    proj_log_func(context.get(), nullptr, [](void *, int, const char *) {});
    proj_context_set_enable_network(context.get(), 0);
  }
  return context;
}

extern "C" OPRJ_API const Module oprj_EngineModule;
const Module oprj_EngineModule = {operationNew, operationDelete, transform,
                                  transformOne, textOf,          forEach};

}  // namespace orvik::engine
