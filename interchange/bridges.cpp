// Bridges to the wide library. Records pass by their portable form: texts are converted here, bytes
// are passed as they are, and either side frees what is a plain block, for there is one heap.
#include <oprj/bridges.h>
#include <oprj/mapinfo.h>
#include <oprj/odll.h>
#include <oprj/otxt.h>
#include <oprj/wrapped.h>

#include <mutex>
#include <utility>

#include "records/records.h"

using namespace orvik::oprj;

namespace {

using orvik::toolkit::HeapBlock;

template <class Unit>
using Text = HeapBlock<Unit>;
using Bytes = HeapBlock<uint8_t>;

/// The wide library while a bridge uses it. It is there for one bridge at a time; closing it does
/// not unload it, because it is linked to stay: handles that it made hold addresses in it.
class WideLibrary {
 public:
  explicit WideLibrary(ErrorScope &e) : turn_(mutex()), library_(open(e)) {
    if (library_ && !agrees()) {
      odll_Close(&library_);
      *e.cause() = oerr_CreateErrorReport(e.operation(), 1, OERR_SEVERITY_ERROR, nullptr,
                                          "oPrjU.dll is of another version, or has narrow texts");
    }
  }
  ~WideLibrary() { odll_Close(&library_); }
  WideLibrary(const WideLibrary &) = delete;
  WideLibrary &operator=(const WideLibrary &) = delete;
  explicit operator bool() const { return library_ != nullptr; }

  /// A function of the library; null when it, or the library, is missing.
  template <class Function>
  Function find(const char *name) const {
    return library_ ? reinterpret_cast<Function>(odll_FindIfPresent(library_, name)) : nullptr;
  }

 private:
  static Odll_Library *open(ErrorScope &e) {
    if (Odll_Library *library = odll_Open("oPrjU.dll", e.cause())) return library;
#if defined(_WIN32)
    return nullptr;
#else
    // installations for users lack the name that programs are linked by
    ErrorScope other(e.operation(), nullptr);
    return odll_Open("liboPrjU.so.0", other.cause());
#endif
  }
  static std::mutex &mutex() {
    static constinit std::mutex one;
    return one;
  }
  bool agrees() const {
    const auto tell = find<decltype(&oprj_BuildGet)>("oprj_BuildGet");
    int32_t version = 0, width = 0, own = 0;
    if (tell) tell(&version, &width);
    oprj_BuildGet(&own, nullptr);
    return version == own && width == sizeof(char16_t);
  }

  std::lock_guard<std::mutex> turn_;
  Odll_Library *library_;
};

/// Dictionary, design name, bytes and their number.
template <class Unit>
struct ObjectParts {
  Text<Unit> dictionary, name;
  Bytes bytes;
  int32_t size = 0;
};
/// A projection in transit.
template <class Unit>
struct ProjectionParts {
  ObjectParts<Unit> wrapper, inner;
  Text<Unit> title;
  int32_t version = 0;
};

/// Takes the address of an owner's pointer for an operation to fill.
template <class T>
class Out {
 public:
  explicit Out(HeapBlock<T> &target) : target_(target) {}
  ~Out() { target_.reset(made_); }
  Out(const Out &) = delete;
  Out &operator=(const Out &) = delete;
  operator T **() { return &made_; }

 private:
  HeapBlock<T> &target_;
  T *made_ = nullptr;
};

template <class Unit, class Handle, class Convert>
bool take(Convert convert, const Handle *handle, ProjectionParts<Unit> &parts, Oerr_Report **err) {
  return convert(handle, Out(parts.wrapper.dictionary), Out(parts.wrapper.name),
                 Out(parts.wrapper.bytes), &parts.wrapper.size, Out(parts.inner.dictionary),
                 Out(parts.inner.name), Out(parts.inner.bytes), &parts.inner.size, Out(parts.title),
                 &parts.version, err) != 0;
}
template <class Unit, class Convert>
auto give(Convert convert, const ProjectionParts<Unit> &parts, Oerr_Report **err) {
  return convert(parts.wrapper.dictionary.get(), parts.wrapper.name.get(),
                 parts.wrapper.bytes.get(), parts.wrapper.size, parts.inner.dictionary.get(),
                 parts.inner.name.get(), parts.inner.bytes.get(), parts.inner.size,
                 parts.title.get(), parts.version, err);
}
template <class Unit, class Info, class Convert>
bool take(Convert convert, const Info *info, ObjectParts<Unit> &parts, Oerr_Report **err) {
  return convert(info, Out(parts.dictionary), Out(parts.name), Out(parts.bytes), &parts.size,
                 err) != 0;
}
template <class Unit, class Convert>
auto give(Convert convert, const ObjectParts<Unit> &parts, Oerr_Report **err) {
  return convert(parts.dictionary.get(), parts.name.get(), parts.bytes.get(), parts.size, err);
}

// What the wide library calls its own functions by.
using ToMIF = int32_t (*)(const Oprj_MapProjectionExU *, char16_t **, char16_t **, uint8_t **,
                          int32_t *, char16_t **, char16_t **, uint8_t **, int32_t *, char16_t **,
                          int32_t *, Oerr_Report **);
using FromMIF = Oprj_MapProjectionExU *(*)(const char16_t *, const char16_t *, const uint8_t *,
                                           int32_t, const char16_t *, const char16_t *,
                                           const uint8_t *, int32_t, const char16_t *, int32_t,
                                           Oerr_Report **);
using InfoToMIF = int32_t (*)(const Oprj_ElevationInfoU *, char16_t **, char16_t **, uint8_t **,
                              int32_t *, Oerr_Report **);
using InfoFromMIF = Oprj_ElevationInfoU *(*)(const char16_t *, const char16_t *, const uint8_t *,
                                             int32_t, Oerr_Report **);

bool convert(const Text<char> &from, Text<char16_t> &to, Oerr_Report **err) {
  to.reset(otxt_Text_Ascii2Unicode(from.get(), err));
  return to != nullptr;
}
bool convert(const Text<char16_t> &from, Text<char> &to, Oerr_Report **err) {
  to.reset(otxt_Text_Unicode2Ascii(from.get(), err));
  return to != nullptr;
}
template <class From, class To>
bool convert(ObjectParts<From> &from, ObjectParts<To> &to, Oerr_Report **err) {
  to.bytes = std::move(from.bytes);
  to.size = from.size;
  return convert(from.dictionary, to.dictionary, err) && convert(from.name, to.name, err);
}
template <class From, class To>
bool convert(ProjectionParts<From> &from, ProjectionParts<To> &to, Oerr_Report **err) {
  to.version = from.version;
  return convert(from.wrapper, to.wrapper, err) && convert(from.inner, to.inner, err) &&
         convert(from.title, to.title, err);
}

}  // namespace

Oprj_MapProjectionExU *oprj_MapProjectionToUNICODE(const Oprj_MapProjectionEx *projection,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionToUNICODE", err);
  if (!projection) return e.fail(1, "Invalid ANSI MapProjection structure");
  ProjectionParts<char> parts;
  if (!take(oprj_ProjectionConvertToMIF, projection, parts, e.cause()))
    return e.fail(2, "oprj_ProjectionConvertToMIF failed");
  const WideLibrary library(e);
  const auto fromMIF = library.find<FromMIF>("oprj_ProjectionConvertFromMIF");
  if (!fromMIF) return e.fail(3, "Failed to retrieve oprj_ProjectionConvertFromMIF from oPrjU.dll");
  ProjectionParts<char16_t> wide;
  if (!convert(parts, wide, e.cause())) return e.fail(4, "otxt_Text_Ascii2Unicode failed");
  auto *made = give(fromMIF, wide, e.cause());
  if (!made) return e.fail(5, "oprj_MapProjectionToUNICODE:ProjectionConvertFromMIFable failed");
  return made;
}

Oprj_MapProjectionEx *oprj_MapProjectionToASCII(const Oprj_MapProjectionExU *projection,
                                                Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionToASCII", err);
  if (!projection) return e.fail(1, "Invalid UNICODE MapProjection structure");
  const WideLibrary library(e);
  if (!library) return e.fail(2, "oprj_MapProjectionToASCII: Failed to load oPrjU.dll");
  const auto toMIF = library.find<ToMIF>("oprj_ProjectionConvertToMIF");
  if (!toMIF)
    return e.fail(3, "Failed to find oprj_ProjectionConvertToMIF function pointer in oPrjU.dll");
  ProjectionParts<char16_t> parts;
  if (!take(toMIF, projection, parts, e.cause()))
    return e.fail(4, "oprj_MapProjectionToASCII:oprj_ProjectionConvertToMIF failed");
  ProjectionParts<char> narrow;
  if (!convert(parts, narrow, e.cause())) return e.fail(5, "otxt_Text_Unicode2Ascii failed");
  auto *made = give(oprj_ProjectionConvertFromMIF, narrow, e.cause());
  if (!made) return e.fail(6, "oprj_ProjectionConvertFromMIF failed");
  return made;
}

Oprj_ElevationInfoU *oprj_ElevationInfoToUNICODE(const Oprj_ElevationInfo *info,
                                                 Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoToUNICODE", err);
  if (!info) return e.fail(1, "Empty input Oprj_ElevationInfoA parameter");
  ObjectParts<char> parts;
  if (!take(oprj_ElevationInfoConvertToMIF, info, parts, e.cause()))
    return e.fail(2, "oprj_ElevationInfoConvertToMIF failed");
  const WideLibrary library(e);
  const auto fromMIF = library.find<InfoFromMIF>("oprj_ElevationInfoConvertFromMIF");
  if (!fromMIF)
    return e.fail(3,
                  "Failed to find oprj_ElevationInfoConvertFromMIF function pointer in oPrjU.dll");
  ObjectParts<char16_t> wide;
  if (!convert(parts, wide, e.cause())) return e.fail(4, "otxt_Text_Ascii2Unicode failed");
  auto *made = give(fromMIF, wide, e.cause());
  if (!made)
    return e.fail(5, "oprj_ElevationInfoToUNICODE:oprj_ElevationInfoConvertFromMIF failed");
  return made;
}

Oprj_ElevationInfo *oprj_ElevationInfoToASCII(const Oprj_ElevationInfoU *info, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoToASCII", err);
  if (!info) return e.fail(1, "Empty input Oprj_ElevationInfoU parameter");
  const WideLibrary library(e);
  const auto toMIF = library.find<InfoToMIF>("oprj_ElevationInfoConvertToMIF");
  if (!toMIF)
    return e.fail(3, "Failed to find oprj_ElevationInfoConvertToMIF function pointer in oPrjU.dll");
  ObjectParts<char16_t> parts;
  if (!take(toMIF, info, parts, e.cause()))
    return e.fail(4, "oprj_ElevationInfoToASCII:oprj_ElevationInfoConvertToMIF failed");
  ObjectParts<char> narrow;
  if (!convert(parts, narrow, e.cause())) return e.fail(5, "otxt_Text_Unicode2Ascii failed");
  auto *made = give(oprj_ElevationInfoConvertFromMIF, narrow, e.cause());
  if (!made) return e.fail(6, "oprj_ElevationInfoConvertFromMIF failed");
  return made;
}

// --- release ---

void oprj_ProjectionFreeU(Oprj_MapProjectionExU **projection) {
  if (!projection || !*projection) return;
  Oerr_Report *report = nullptr;
  {
    ErrorScope e("oprj_ProjectionFreeU", &report);
    const WideLibrary library(e);
    const auto free = library.find<void (*)(Oprj_MapProjectionExU **)>("oprj_ProjectionFree");
    if (free) free(projection);
    else e.fail(1, "Failed to retrieve oprj_ProjectionFree from oPrjU.dll");
  }
  oerr_PrintErrorReport(report);
  oerr_DeleteErrorReport(&report);
}

void oprj_ProParametersFreeU(Oprj_ProParametersU **record) {
  oprj_ProParametersFree(reinterpret_cast<Oprj_ProParameters **>(record));
}
void oprj_DatumFreeU(Oprj_DatumU **datum) {
  oprj_DatumFree(reinterpret_cast<Oprj_Datum **>(datum));
}
void oprj_MapInfoFreeU(Oprj_MapInfoU **record) {
  oprj_MapInfoFree(reinterpret_cast<Oprj_MapInfo **>(record));
}
void oprj_ProjectionPairFreeU(Oprj_ProjectionPairU **pair) {
  oprj_ProjectionPairFree(reinterpret_cast<Oprj_ProjectionPair **>(pair));
}
