// A projection plug-in with the fault that the environment variable OPRJ_TEST_PLUGIN names: of its
// table ("version", "size", "null", "hole 0" to "hole 5"), or of a function that fails ("fails
// create"), fails with a report ("tells init") or throws ("throws toLL", "throws a number"). It
// adds 1 forward.
#include <oprj/oerr.h>
#include <oprj/plugin.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

std::string fault() {
  const char *text = std::getenv("OPRJ_TEST_PLUGIN");
  return text ? text : "";
}

bool works(const std::string &function, Oerr_Report **err) {
  if (fault() == "throws " + function) throw std::runtime_error("thrown by " + function);
  if (fault() == "throws a number") throw 5;
  if (fault() == "tells " + function)
    *err = oerr_CreateErrorReport("mine", 17, OERR_SEVERITY_ERROR, nullptr, "%s says so",
                                  function.c_str());
  return fault() != "fails " + function && !*err;
}

int32_t add(double step, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  for (int32_t i = 0; i < count; ++i) out[i] = {in[i].x + step, in[i].y + step};
  return 1;
}

std::atomic<int32_t> open{0};

void *create(Oerr_Report **err) { return works("create", err) ? ++open, &open : nullptr; }
int32_t init(void *, const Oprj_ProParameters *record, Oerr_Report **err) {
  return works("init", err) && record->proType == OPRJ_EXTERNAL;
}
int32_t fromLL(void *, const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  return works("fromLL", err) && add(1, in, out, count);
}
int32_t toLL(void *, const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  return works("toLL", err) && add(-1, in, out, count);
}
void destroy(void *) {
  --open;
  if (fault() == "throws destroy") throw std::runtime_error("too late");
}

}  // namespace

extern "C" OPRJ_API const Oprj_ProjectionPlugIn *oprj_ProjectionPlugInGet(uint32_t version) {
  static Oprj_ProjectionPlugIn table;
  table = {1, sizeof table, "test", create, init, fromLL, toLL, destroy};
  const std::string missing = fault();
  if (missing == "version") table.version = 2;
  if (missing == "size") table.size -= 8;
  if (missing.starts_with("hole "))  // the members from `name` on are pointers
    reinterpret_cast<const void **>(&table.name)[missing.back() - '0'] = nullptr;
  return missing == "null" || version != 1 ? nullptr : &table;
}
extern "C" OPRJ_API int32_t projectionsOpen() { return open; }
