// Memory that ends for real: malloc itself fails, at the n-th call or from there on, for every n.
// Each attempt is a process of its own, so that it meets the library as unused as a program does.
#include <fcntl.h>
#include <oprj/oprj.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cmath>

#include "tests/tables_support.h"

// The C library's own, which the definitions below stand in front of, for all shared libraries too.
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void *__libc_memalign(size_t, size_t);
}

namespace {

std::atomic<int64_t> made{0}, failFrom{INT64_MAX}, failTo{INT64_MAX};

bool exhausted() {
  const int64_t number = made.fetch_add(1) + 1;
  if (number < failFrom || number > failTo) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {
void *malloc(size_t size) { return exhausted() ? nullptr : __libc_malloc(size); }
void *calloc(size_t n, size_t size) { return exhausted() ? nullptr : __libc_calloc(n, size); }
void *realloc(void *block, size_t size) {
  return exhausted() ? nullptr : __libc_realloc(block, size);
}
void *aligned_alloc(size_t alignment, size_t size) {
  return exhausted() ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void **block, size_t alignment, size_t size) {
  *block = exhausted() ? nullptr : __libc_memalign(alignment, size);
  return *block ? 0 : ENOMEM;
}
}

namespace {

using namespace orvik::test;

// What the steps need, and little else: every allocation costs two processes.
constexpr const char *kDictionary =
    "\"Geographic\" { Internal 0 \"Spheroid\" <spheroid> }"
    "\"UTM\" { Internal 1 \"Spheroid\" <spheroid> \"Zone\" <utmzone>"
    "  \"Hemisphere\" <3:condition> { 0:\"North\" -1:\"South\" } }";
constexpr const char *kSpheroids =
    "\"Clarke 1866\" { 0 6378206.4 6356583.8 alias \"clrk66\" description \"old\""
    "  \"Clarke 1866\" parametric 0 0 0 0 0 0 0 \"NAD27\" parametric -8 160 176 0 0 0 0 }"
    "\"WGS 84\" { 12 6378137 6356752.314245179 \"WGS 84\" parametric 0 0 0 0 0 0 0 }";
constexpr const char *kZones = "\"Alpha\" \"North\" 101 nad27 1 -5101 1 2 3 4 5 6 7 8 9";

ParametersPtr system(const char *projection, const char *spheroid, const char *datum,
                     Oerr_Report **err) {
  ParametersPtr made(oprj_ProParametersCreateByName(toolkit(), projection, err));
  if (!made || !oprj_SpheroidByName(toolkit(), spheroid, made->proSpheroid, err) ||
      !oprj_DatumByName(toolkit(), spheroid, datum, made->proSpheroid->datum, err))
    return nullptr;
  made->proZone = 18;
  return made;
}

constexpr Oprj_Point kWashington = {-1.3445, 0.6787};  // radians

bool logs(Oerr_Report **err) {
  *err = nullptr;
  bool logged = false;
  oerr_LogSinkSet([](const char *, void *seen) { *static_cast<bool *>(seen) = true; }, &logged);
  oerr_LogMessage("%1000d", 1);  // longer than the buffer of short texts
  oerr_LogSinkSet(nullptr, nullptr);
  return logged;
}

bool guards(Oerr_Report **err) {
  *err = nullptr;
  othr_ThreadUnsafeCodeEnter();
  othr_ThreadUnsafeCodeExit();
  return true;
}

bool starts(Oerr_Report **err) {
  if (oprj_Init(nullptr, err)) return false;
  const Oprj_InitData *data = oprj_InitDataGet(toolkit(), err);  // whole, or the start has lied
  return data && data->queryTable->next && data->spheroidTable && data->spheroidTable->next &&
         data->statePlaneTable;
}

bool looksUp(Oerr_Report **err) {
  const auto *zone = oprj_SPEntryByZoneNumber(toolkit(), -5101, 1, err);
  const auto *ball = zone ? oprj_SpheroidEntryByName(toolkit(), "clrk66", err) : nullptr;
  return ball && ball->a == 6378206.4 && ball->datums->next->params[1] == 160;
}

bool projects(Oerr_Report **err) {
  const auto from = system("Geographic", "WGS 84", "WGS 84", err);
  const auto to = from ? system("UTM", "Clarke 1866", "NAD27", err) : nullptr;
  if (!to) return false;
  Oprj_ProjectionPair *pair = oprj_ProjectionPairInit(toolkit(), from.get(), to.get(), err);
  if (!pair) return false;
  Oprj_Point *out = oprj_ProjectPairWithUnits(pair, &kWashington, nullptr, nullptr, "feet", 1, err);
  const bool right = out && std::hypot(out->x - 1062000, out->y - 14118000) < 40000;
  oprj_PointsFree(&out);
  oprj_ProjectionPairFree(&pair);
  return right;
}

bool shifts(Oerr_Report **err) {
  const auto from = system("Geographic", "WGS 84", "WGS 84", err);
  const auto to = from ? system("Geographic", "Clarke 1866", "NAD27", err) : nullptr;
  if (!to) return false;
  Oprj_Point out;
  oprj_DatumShift(&kWashington, from->proSpheroid, &out, to->proSpheroid, 1, err);
  return !*err && out.x != kWashington.x && std::fabs(out.x - kWashington.x) < 1e-5;
}

/// What one attempt found.
enum Outcome { kFine, kUntouched, kSilent, kStaysBroken, kNeedlessFailure };

Outcome attempt(bool (*step)(Oerr_Report **), int64_t nth, bool once) {
  Oerr_Report *report = nullptr;
  made = 0;
  failTo = once ? nth : INT64_MAX;
  failFrom = nth;
  const bool worked = step(&report);
  const bool untouched = made < nth;
  failFrom = INT64_MAX;
  if (worked == (report != nullptr)) return kSilent;
  oerr_DeleteErrorReport(&report);
  if (untouched) return worked ? kUntouched : kNeedlessFailure;
  // Memory has come back: what failed at first use must not stay so.
  if (!step(&report) || report) return kStaysBroken;
  return kFine;
}

TEST(ExhaustedMemory, FirstUseReportsOrSucceedsAndLeavesNothingBroken) {
  const TemporaryDirectory directory;
  directory.write("mapprojections.dat", kDictionary);
  directory.write("spheroid.tab", kSpheroids);
  directory.write("sptable.tab", kZones);
  const ScopedEnvironment projections("ORVIK_PROJECTIONS_PATH", directory.path().c_str()),
      datums("ORVIK_DATUMS_PATH", directory.path().c_str());
  const struct {
    const char *name;
    bool (*step)(Oerr_Report **);
    int64_t fewest;  ///< allocations it must have met, or the test sees nothing
  } steps[] = {{"guard", guards, 0},     {"log", logs, 1},           {"start", starts, 100},
               {"lookup", looksUp, 100}, {"project", projects, 150}, {"shift", shifts, 150}};
  for (const bool once : {false, true}) {
    for (const auto &[name, step, fewest] : steps) {
      int status = 0;
      int64_t nth = 0;
      do {
        const std::string place =
            name + std::string(once ? " but for allocation " : " up to allocation ") +
            std::to_string(++nth);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
          dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
          _exit(attempt(step, nth, once));
        }
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << place << ": ended by signal " << WTERMSIG(status);
        ASSERT_LE(WEXITSTATUS(status), kUntouched) << place;
      } while (WEXITSTATUS(status) != kUntouched);
      EXPECT_GT(nth, fewest) << name;
    }
  }
}

}  // namespace
