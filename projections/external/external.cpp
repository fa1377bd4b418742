// Projections that a program computes: search, start, points, end (external_projections.h).
#include <oprj/external_projections.h>
#include <oprj/ofio.h>
#include <oprj/omif_object.h>
#include <oprj/tables.h>

#include <algorithm>
#include <atomic>

#include "projections/external/connection.h"
#include "projections/external/external.h"
#include "projections/external/shared_block.h"
#include "tables/toolkit_record.h"
#include "toolkit/c_locale.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;
using toolkit::guarded;
using toolkit::HeapText;
using Block = SharedBlock<Connection>;

std::atomic<bool> allowed{true};

// --- search ---

using SearchList = toolkit::Owner<Ofio_SearchList, ofio_SearchListFree>;

constexpr size_t kLongestPlugInName = 256;

/// A path would let a record name any file of the machine.
bool isPath(const char *name) { return std::strpbrk(name, "/\\") || (name[0] && name[1] == ':'); }

/// What a record names.
struct Found {
  toolkit::HeapBlock<char> path;
  bool plugIn = false;
};

/// Looks for the program, then for the plug-in; no path with a report. Throws std::bad_alloc.
Found find(ErrorScope &e, const char *name) {
  Found found;
  const SearchList list(ofio_CreateSLFromEnv("ORVIK_PROJECTIONS_PATH", ".;./bin", e.cause()));
  if (!list) {
    e.fail(4, "ofio_CreateSLFromEnv failed");
    return found;
  }
  const HeapText library = HeapText(name) + ".dll", native = HeapText(name) + ".so";
  const bool named = *name && !isPath(name);
  const bool plugInToo = library.size() <= kLongestPlugInName;
  for (const char *file : {name, library.c_str(), native.c_str()}) {
    found.plugIn = file != name;
    if (!named || (found.plugIn && !plugInToo)) continue;
    char *path = nullptr;
    ofio_SearchListOpen(list.get(), file, &path, e.cause());
    if (e.calleeFailed()) {
      e.fail(5, "ofio_SearchListOpen failed");
      return found;
    }
    found.path.reset(path);
    if (path) return found;
  }
  e.fail(8, "Unable to find executable %s or dll %s", name, library.c_str());
  return found;
}

// --- start ---

/// The record as bytes; texts are counted anew, because some records count theirs without the zero.
bool encode(ErrorScope &e, const Oprj_InitData &data, const Oprj_ProParameters &record,
            toolkit::HeapVector<uint8_t> &bytes) {
  Oprj_ProParameters sent = record;
  for (Oprj_CharStr *text : {&sent.proExeName, &sent.proName})
    text->count = text->data ? static_cast<int32_t>(lengthOf(text->data)) + 1 : 0;
  const ToolkitRecord plain(data.proParametersDesign, &sent, e.cause());
  const int32_t size =
      plain ? omif_ObjectSize(data.proParametersDesign, plain.get(), e.cause()) : 0;
  if (e.calleeFailed()) return e.fail(3, "omif_ObjectSize failed");
  try {
    bytes.resize(static_cast<size_t>(size));
  } catch (const std::bad_alloc &) {
    return e.fail(4, "No memory");
  }
  if (omif_ConvertToMIF(data.proParametersDesign, plain.get(), bytes.data(), size, e.cause()) !=
      size)
    return e.fail(5, "omif_ConvertToMIF failed");
  return true;
}

/// Turns what became of an exchange into a report; true when nothing is wrong with it but,
/// possibly, the size of the answer. `write`, `write` + 1, `refused`: the codes; `message`: the
/// last one's.
bool passed(ErrorScope &e, const Connection::Outcome &outcome, int32_t write, int32_t refused,
            const char *message) {
  using Step = Connection::Step;
  switch (outcome.step) {
    case Step::kWriteFailed:
      return e.fail(write, "pipe write failed: %s", outcome.reason);
    case Step::kReadFailed:
      return e.fail(write + 1, "pipe read failed: %s", outcome.reason);
    case Step::kRefused:
      *e.cause() = outcome.reports;
      return e.fail(refused, "%s", message);
    case Step::kDone:
    case Step::kOtherSize:
      return true;
  }
  return true;
}

Oprj_MapProjection *initializeExternalExecutable(const Oprj_InitData &data,
                                                 const Oprj_ProParameters *record, const char *path,
                                                 Oerr_Report **err) {
  ErrorScope e("initializeExternalExecutable", err);
  constexpr const char *kNoBlock = "Error returned from oprj_ParametersCreate";
  toolkit::HeapBlock<double> block(oprj_ParametersCreate(Block::kWords, e.cause()));
  if (!block) return e.fail(1, kNoBlock);
  std::unique_ptr<Connection> connection;
  try {
    connection = std::make_unique<Connection>();
  } catch (const std::bad_alloc &) {
    return e.fail(1, kNoBlock);
  }
  toolkit::HeapVector<uint8_t> bytes;
  if (!encode(e, data, *record, bytes)) return nullptr;
  if (const int error = connection->start(path, textOf(record->proExeName))) {
    *e.cause() = oerr_CreateErrorReport("start", error, OERR_SEVERITY_ERROR, nullptr, "%s",
                                        toolkit::systemReason(error));
    return e.fail(2, "Error executing external projection executable");
  }
  const auto outcome = connection->exchange(Command::kInit, bytes, {});
  if (!passed(e, outcome, 6, 8, "Error returned from OPRJ_X_INIT command")) return nullptr;
  if (outcome.size != 0) return e.fail(9, "Byte count of data returned is not 0");
  Block::fill(block.get(), connection.get());
  auto *object = objectOutside(
      e, 10, record, block.get(),
      {oprj_ExternalFromLL, oprj_ExternalToLL, oprj_ExternalCopyParameters, oprj_ExternalQuit});
  if (!object) return nullptr;
  block.release();
  connection.release();
  return object;
}

// --- points ---

template <bool kForward>
void exchangePoints(const char *operation, const Oprj_Point *in, const double *block,
                    Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e(operation, err);
  constexpr const char *kBadConnection = "Bad connection";
  constexpr const char *kRefused = kForward ? "Error returned from OPRJ_X_FROMLL command"
                                            : "Error returned from OPRJ_X_TOLL command";
  constexpr const char *kNothing = kForward ? "No data returned from OPRJ_X_FROMLL command"
                                            : "No data returned from OPRJ_X_TOLL command";
  constexpr int32_t kMostPoints = 1 << 27;  // of one command: their bytes are counted in 32 bits
  Connection *connection = Block::forPoints(e, in, block, out, count, kBadConnection);
  if (!connection) return;
  guarded(e, 11, [&]() -> bool {
    const NotNumbers notNumbers(in, count);
    const std::lock_guard<std::mutex> turn(connection->turn);
    for (int32_t done = 0, points; done < count; done += points) {
      if (!connection->open()) return e.fail(5, kBadConnection);
      points = std::min(count - done, kMostPoints);
      const size_t bytes = static_cast<size_t>(points) * sizeof(Oprj_Point);
      const auto outcome =
          connection->exchange(kForward ? Command::kFromLL : Command::kToLL,
                               {reinterpret_cast<const uint8_t *>(in + done), bytes},
                               {reinterpret_cast<uint8_t *>(out + done), bytes});
      if (!passed(e, outcome, 6, 8, kRefused)) return false;
      if (outcome.size == 0) return e.fail(9, "%s", kNothing);
      if (outcome.size != bytes)
        return e.fail(10, "Byte count of data returned is not %ld", static_cast<long>(bytes));
    }
    notNumbers.put(out);
    return true;
  });
}

/// Says goodbye to the child, if it listens, and waits for its end.
void endConnection(ErrorScope &e, Connection &connection) {
  if (connection.open())
    passed(e, connection.exchange(Command::kQuit, {}, {}), 2, 4,
           "Error returned from OPRJ_X_QUIT command");
  if (!connection.close() && !e.failed()) e.fail(5, "oprj_ExternalQuit failed");
}

}  // namespace

Oprj_MapProjection *objectOutside(ErrorScope &e, int32_t code, const Oprj_ProParameters *record,
                                  double *block, const OutsideFunctions &functions) {
  OwnedParameters copy(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!copy) return e.fail(code, "oprj_ProParametersCopy failed");
  Oprj_MapProjection *object = oprj_ProjectionCreate(e.cause());
  if (!object) return e.fail(code + 1, "oprj_ProjectionCreate failed");
  object->proParameters = copy.release();
  object->parameters = block;
  object->fromLL = functions.fromLL;
  object->toLL = functions.toLL;
  object->copyParameters = functions.copy;
  object->quit = functions.quit;
  return object;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_MapProjection *oprj_ExternalInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                      Oerr_Report **err) {
  ErrorScope e("oprj_ExternalInit", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (!toolkit) return e.fail(2, "Toolkit has not been initialized");
  const Utf8 name(unitsOf(record->proExeName), e);
  if (e.failed()) return nullptr;
  if (!allowed) return e.fail(9, "External projections are switched off: %s", name.c_str());
  const Oprj_InitData *data = oprj_InitDataGet(toolkit, e.cause());
  if (!data) return e.fail(3, "oprj_Init failed");
  return guarded(e, 10, [&]() -> Oprj_MapProjection * {
    const Found found = find(e, name);
    if (!found.path) return nullptr;
    const char *path = found.path.get();
    Oprj_MapProjection *object = found.plugIn
                                     ? initializePlugIn(record, path, e.cause())
                                     : initializeExternalExecutable(*data, record, path, e.cause());
    if (object) return object;
    if (found.plugIn) return e.fail(7, "Initialization of projection %s failed", path);
    return e.fail(6, "Initialization of external process %s failed", path);
  });
}

Oprj_Char *oprj_ExternalFind(const Oprj_ProParameters *record, int32_t *isPlugIn,
                             Oerr_Report **err) {
  ErrorScope e("oprj_ExternalFind", err);
  if (isPlugIn) *isPlugIn = 0;
  if (!record) return e.fail(1, "Invalid projection parameters");
  return guarded(e, 10, [&]() -> Oprj_Char * {
    Found found = find(e, textOf(record->proExeName));
    if (isPlugIn) *isPlugIn = found.path && found.plugIn;
    if (!found.path) return nullptr;
    OwnedText path(handOut(found.path.release()));
    if (!path) throw std::bad_alloc();
    return path.release();
  });
}

void oprj_ExternalAllow(int32_t allow) { allowed = allow != 0; }

void oprj_ExternalFromLL(const Oprj_Point *geog, const double *block, Oprj_Point *proj,
                         int32_t count, Oerr_Report **err) {
  exchangePoints<true>("oprj_ExternalFromLL", geog, block, proj, count, err);
}

void oprj_ExternalToLL(const Oprj_Point *proj, const double *block, Oprj_Point *geog, int32_t count,
                       Oerr_Report **err) {
  exchangePoints<false>("oprj_ExternalToLL", proj, block, geog, count, err);
}

double *oprj_ExternalCopyParameters(const double *block, double *old, Oerr_Report **err) {
  return Block::copy("oprj_ExternalCopyParameters", block, old, err, [](Connection &connection) {
    ErrorScope dropped("oprj_ExternalQuit", nullptr);
    endConnection(dropped, connection);
  });
}

void oprj_ExternalQuit(Oprj_MapProjection *projection, Oerr_Report **err) {
  ErrorScope e("oprj_ExternalQuit", err);
  if (!projection || !Block::is(projection->parameters))
    return void(e.fail(1, "Invalid input parameters"));
  if (const auto connection = Block::take(projection->parameters)) endConnection(e, *connection);
}
