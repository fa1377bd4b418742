// Projections that a plug-in library computes: opening, points, end (external_projections.h). What
// a plug-in throws ends here.
#include <oprj/external_projections.h>
#include <oprj/odll.h>
#include <oprj/othr.h>
#include <oprj/plugin.h>

#include <atomic>
#include <exception>

#include "projections/external/external.h"
#include "projections/external/shared_block.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;
using toolkit::Guard;
using Library = toolkit::Owner<Odll_Library, odll_Close>;

/// Calls a plug-in: what it answers, or nothing when it throws, told as its report then.
template <class Result, class Call>
Result survive(ErrorScope &e, Call call) {
  Oerr_Report **report = e.cause();
  const auto thrown = [&](const char *what) {
    oerr_DeleteErrorReport(report);
    *report = oerr_CreateErrorReport("plug-in", 1, OERR_SEVERITY_ERROR, nullptr,
                                     "an exception was thrown: %s", what);
    return Result{};
  };
  try {
    return call(report);
  } catch (const std::exception &problem) {
    return thrown(problem.what());
  } catch (...) {
    return thrown("of an unknown type");
  }
}

/// An instance of a plug-in with the library that it comes from.
struct Instance : toolkit::HeapRecord {
  /// Its block's first word: "oPrj dll".
  static constexpr uint64_t kTag = 0x6C6C64206A72506F;

  std::atomic<int> sharers{1};
  Odll_Library *library = nullptr;
  const Oprj_ProjectionPlugIn *table = nullptr;
  void *self = nullptr;
  Instance *next = nullptr;

  ~Instance();
};

using Block = SharedBlock<Instance>;

/// The libraries of all instances, under the toolkit's guard; a library stays in the list as long
/// as there are instances of it.
struct {
  Odlm_List *libraries = nullptr;
  Instance *instances = nullptr;
} opened;

/// The list of opened libraries, made when there is none. Null with a report.
Odlm_List *DLLInfoInit(Oerr_Report **err) {
  if (!opened.libraries) opened.libraries = odlm_NewList(err);
  return opened.libraries;
}

/// The list goes when it lists nothing.
void DLLInfoFree() {
  if (!opened.instances) odlm_ListFree(&opened.libraries);
}

Instance::~Instance() {
  if (self) {
    ErrorScope dropped("plug-in", nullptr);
    survive<int>(dropped, [this](Oerr_Report **) { return table->destroy(self), 0; });
  }
  const Guard guard;
  bool others = false;
  for (Instance **link = &opened.instances; *link;) {
    if (*link == this) {
      *link = next;
      continue;
    }
    others = others || (*link)->library == library;
    link = &(*link)->next;
  }
  if (library && !others) odlm_Remove(opened.libraries, library);
  odll_Close(&library);
  DLLInfoFree();
}

/// What a library's table lacks; null: nothing.
const char *missingIn(const Oprj_ProjectionPlugIn *table) {
  if (!table) return "no table of this version";
  if (table->version != OPRJ_PROJECTION_PLUGIN_VERSION) return "a table of another version";
  if (table->size < sizeof *table) return "a table that is too small";
  if (!table->name) return "no name";
  if (!table->create) return "no function create";
  if (!table->init) return "no function init";
  if (!table->fromLL) return "no function fromLL";
  if (!table->toLL) return "no function toLL";
  if (!table->destroy) return "no function destroy";
  return nullptr;
}

/// An instance of nothing yet, listed with its library.
std::unique_ptr<Instance> ProjectionInstanceCreate(Library &library, Oerr_Report **err) {
  ErrorScope e("ProjectionInstanceCreate", err);
  return std::unique_ptr<Instance>(toolkit::guarded(e, 1, [&] {
    auto made = std::make_unique<Instance>();
    made->library = library.release();
    made->next = opened.instances;
    opened.instances = made.get();
    return made.release();
  }));
}

/// An instance of the library at `path` with a whole table; null with a report.
std::unique_ptr<Instance> ProjectionInstanceOpen(const char *path, Oerr_Report **err) {
  ErrorScope e("ProjectionInstanceOpen", err);
  const auto refuse = [](toolkit::Failed) { return std::unique_ptr<Instance>(); };
  const Guard guard;
  struct Tidy {  // behind what is opened and refused
    ~Tidy() { DLLInfoFree(); }
  } const tidy;
  Odlm_List *list = DLLInfoInit(e.cause());
  if (!list) return refuse(e.fail(1, "Error returned from odlm_NewList"));
  Library library(odlm_Element(list, path, e.cause()));
  if (e.calleeFailed()) return refuse(e.fail(2, "Error returned from odlm_Element"));
  if (!library) {
    library.reset(odll_Open(path, e.cause()));
    if (!library) return refuse(e.fail(3, "Error returned from odll_Open"));
  }
  Odll_Library *opening = library.get();
  std::unique_ptr<Instance> made = ProjectionInstanceCreate(library, e.cause());
  if (!made) return refuse(e.fail(4, "Error returned from ProjectionInstanceCreate"));
  if (!odlm_Add(list, opening, e.cause())) return refuse(e.fail(5, "Error returned from odlm_Add"));
  const auto get = reinterpret_cast<Oprj_ProjectionPlugInGetter>(
      odll_FindIfPresent(opening, OPRJ_PROJECTION_PLUGIN_ENTRY));
  if (!get) return refuse(e.fail(6, "%s does not export " OPRJ_PROJECTION_PLUGIN_ENTRY, path));
  const auto *table = survive<const Oprj_ProjectionPlugIn *>(
      e, [get](Oerr_Report **) { return get(OPRJ_PROJECTION_PLUGIN_VERSION); });
  if (const char *missing = missingIn(table))
    return refuse(e.fail(7, "%s has %s (version %d is asked for)", path, missing,
                         static_cast<int>(OPRJ_PROJECTION_PLUGIN_VERSION)));
  made->table = table;
  return made;
}

/// Makes the instance itself.
bool ProjectionInstanceInit(ErrorScope &e, Instance &instance) {
  instance.self =
      survive<void *>(e, [&](Oerr_Report **report) { return instance.table->create(report); });
  return instance.self;
}

template <bool kForward>
void pointsThrough(const char *operation, const Oprj_Point *in, const double *block,
                   Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e(operation, err);
  const Instance *instance = Block::forPoints(e, in, block, out, count, "Bad DLL instance");
  if (!instance) return;
  const auto run = kForward ? instance->table->fromLL : instance->table->toLL;
  const bool done = survive<int32_t>(
      e, [&](Oerr_Report **report) { return run(instance->self, in, out, count, report); });
  if (!done) e.fail(6, kForward ? "fromLL failed" : "toLL failed");
}

}  // namespace

Oprj_MapProjection *initializePlugIn(const Oprj_ProParameters *record, const char *path,
                                     Oerr_Report **err) {
  ErrorScope e("initializeExternalDLL", err);
#if defined(OPRJ_WIDE)  // plug-ins read the texts of records as bytes
  return e.fail(1, "DLL open failed: the wide library runs no plug-ins (%s)", path);
#endif
  std::unique_ptr<Instance> instance = ProjectionInstanceOpen(path, e.cause());
  if (!instance) return e.fail(1, "DLL open failed");
  toolkit::HeapBlock<double> block(oprj_ParametersCreate(Block::kWords, e.cause()));
  if (!block) return e.fail(2, "oprj_ParametersCreate failed");
  if (!ProjectionInstanceInit(e, *instance)) return e.fail(3, "ProjectionInstanceInit failed");
  const bool taken = survive<int32_t>(e, [&](Oerr_Report **report) {
    return instance->table->init(instance->self, record, report);
  });
  if (!taken) return e.fail(4, "init failed for %s", shown(record->proExeName).c_str());
  Block::fill(block.get(), instance.get());
  auto *object =
      objectOutside(e, 5, record, block.get(),
                    {oprj_DLLFromLL, oprj_DLLToLL, oprj_DLLCopyParameters, oprj_DLLQuit});
  if (!object) return nullptr;
  block.release();
  instance.release();
  return object;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

void oprj_DLLFromLL(const Oprj_Point *geog, const double *block, Oprj_Point *proj, int32_t count,
                    Oerr_Report **err) {
  pointsThrough<true>("oprj_DLLFromLL", geog, block, proj, count, err);
}

void oprj_DLLToLL(const Oprj_Point *proj, const double *block, Oprj_Point *geog, int32_t count,
                  Oerr_Report **err) {
  pointsThrough<false>("oprj_DLLToLL", proj, block, geog, count, err);
}

double *oprj_DLLCopyParameters(const double *block, double *old, Oerr_Report **err) {
  return Block::copy("oprj_DLLCopyParameters", block, old, err, [](Instance &) {});
}

void oprj_DLLQuit(Oprj_MapProjection *projection, Oerr_Report **err) {
  ErrorScope e("oprj_DLLQuit", err);
  if (!projection || !Block::is(projection->parameters))
    return void(e.fail(1, "Invalid input parameters"));
  Block::take(projection->parameters);
}
