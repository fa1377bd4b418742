// The operations on objects: checks and reports around the walks.
#include <oprj/omif_object.h>
#include <oprj/othr.h>

#include "toolkit/mif_codec.h"
#include "toolkit/mif_record.h"
#include "toolkit/mif_walk.h"

namespace orvik::toolkit::mif {

namespace {

int32_t givenSize(const uint8_t *bytes, int32_t size) {
  if (size < 0 || (!bytes && size > 0)) refuse(kNoObject, "Invalid input bytes");
  return size;
}

const Omif_Design &given(const Omif_Design *design) {
  if (!design) refuse(kNoDesign, "Invalid input design");
  return *design;
}

int32_t visitAs(ErrorScope &e, const Omif_Design *design, const uint8_t *bytes, int32_t size,
                uint32_t base, const Omif_Visitor *visitor, void *context) {
  return attempt(e, [&]() -> int32_t {
    const Plan &plan = planOf(given(design));
    if (!visitor) refuse(kNoObject, "Invalid input visitor");
    visit(plan, bytes, givenSize(bytes, size), base, *visitor, context);
    return 1;
  });
}

}  // namespace

std::unique_ptr<Codec> codecOf(const Omif_Design *host, const Omif_Design *written,
                               Oerr_Report **err) {
  ErrorScope e("omif_DesignBind", err);
  return std::unique_ptr<Codec>(
      attempt(e, [&]() -> Codec * { return new Codec(given(host), given(written)); }));
}

int32_t objectSize(const Codec &codec, const void *object, Oerr_Report **err) {
  ErrorScope e("omif_ObjectSize", err);
  return attempt(e, [&] { return sizeOf(codec.binding(), object); });
}

int32_t encodeObject(const Codec &codec, const void *object, uint8_t *bytes, int32_t size,
                     uint32_t base, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIF", err);
  return attempt(e, [&] { return encode(codec.binding(), object, bytes, size, base); });
}

void *decodeObject(const Codec &codec, const uint8_t *bytes, int32_t size, uint32_t base,
                   void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHost", err);
  return attempt(e, [&] { return decode(codec.binding(), bytes, size, base, object); });
}

int32_t moveObject(const Omif_Design *design, uint8_t *bytes, int32_t size, uint32_t from,
                   uint32_t to, Oerr_Report **err) {
  ErrorScope e("moveObject", err);
  return attempt(e, [&]() -> int32_t {
    move(planOf(given(design)), bytes, size, from, to);
    return 1;
  });
}

int32_t visitObject(const Omif_Design *design, const uint8_t *bytes, int32_t size, uint32_t base,
                    const Omif_Visitor *visitor, void *context, Oerr_Report **err) {
  ErrorScope e("omif_MIFVisit", err);
  return visitAs(e, design, bytes, size, base, visitor, context);
}

}  // namespace orvik::toolkit::mif

using namespace orvik::toolkit;
using namespace orvik::toolkit::mif;

namespace {

/// The binding of a design to itself.
const Binding &ownBinding(const Omif_Design *design) { return hostPlanOf(given(design)).self; }

template <class T>
T *givenObject(T *object) {
  if (!object) refuse(kNoObject, "Invalid input object");
  return object;
}

}  // namespace

size_t omif_DesignHostSize(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DesignHostSize", err);
  size_t size = 0;
  attempt(e, [&] {
    size = hostPlanOf(given(design)).hostSize;
    return 1;
  });
  return size;
}

int32_t omif_DesignHostSizeSet(Omif_Design *design, size_t size, Oerr_Report **err) {
  ErrorScope e("omif_DesignHostSizeSet", err);
  if (!design) return e.fail(kNoDesign, "Invalid input design");
  if (design->hostSize == size) return 1;
  if (design->plan.load(std::memory_order_acquire))
    return e.fail(kTooLate, "Design \"%s\" is in use", design->name.c_str());
  design->hostSize = size;
  return 1;
}

Omif_Dictionary *omif_DictionaryOfDesign(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DictionaryOfDesign", err);
  return attempt(e, [&]() -> Omif_Dictionary * {
    auto dictionary = companionsOf(given(design));
    if (!dictionary) dictionary = std::make_unique<Omif_Dictionary>();
    auto copy = std::make_unique<Omif_Design>(*design);
    dictionary->adopt(copy);
    return dictionary.release();
  });
}

const char *omif_DesignText(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DesignText", err);
  if (!design) return e.fail(kNoDesign, "Invalid input design");
  if (const char *known = design->text.load(std::memory_order_acquire)) return known;
  const Guard guard;
  if (const char *known = design->text.load(std::memory_order_acquire)) return known;
  const Owner<Omif_Dictionary, omif_DictionaryFree> dictionary(
      omif_DictionaryOfDesign(design, e.cause()));
  char *made = dictionary ? omif_DictionaryEncodeToString(dictionary.get(), e.cause()) : nullptr;
  if (!made) return e.fail(kUnusable, "omif_DictionaryEncodeToString failed");
  design->text.store(made, std::memory_order_release);
  return made;
}

void *omif_ObjectAllocate(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_ObjectAllocate", err);
  return attempt(e, [&] { return NewRecord(hostPlanOf(given(design))).give(nullptr); });
}

void omif_ObjectFree(const Omif_Design *design, void **object) {
  if (!object || !*object) return;
  ErrorScope e("omif_ObjectFree", nullptr);
  attempt(e, [&] {
    // The plan is there: the object was made by it.
    freeItems(hostPlanOf(given(design)), static_cast<char *>(*object));
    omsc_HeapFree(std::exchange(*object, nullptr));
    return 1;
  });
}

void *omif_ObjectCopy(const Omif_Design *design, const void *source, void *target,
                      Oerr_Report **err) {
  ErrorScope e("omif_ObjectCopy", err);
  return attempt(e, [&] {
    NewRecord copy(hostPlanOf(given(design)));
    copyItems(hostPlanOf(*design), static_cast<const char *>(givenObject(source)), copy.get());
    return copy.give(target);
  });
}

void *omif_ObjectConvert(const Omif_Design *design, const void *source, const Omif_Design *wanted,
                         Oerr_Report **err) {
  ErrorScope e("omif_ObjectConvert", err);
  return attempt(e, [&] {
    const Binding &own = ownBinding(design);
    const Codec codec(given(wanted), *design);
    HeapVector<uint8_t> bytes(static_cast<size_t>(sizeOf(own, givenObject(source))));
    const auto size = static_cast<int32_t>(bytes.size());
    encode(own, source, bytes.data(), size, 0);
    return decode(codec.binding(), bytes.data(), size, 0, nullptr);
  });
}

int32_t omif_ObjectSize(const Omif_Design *design, const void *object, Oerr_Report **err) {
  ErrorScope e("omif_ObjectSize", err);
  return attempt(e, [&] { return sizeOf(ownBinding(design), givenObject(object)); });
}

int32_t omif_ConvertToMIF(const Omif_Design *design, const void *object, uint8_t *bytes,
                          int32_t size, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIF", err);
  return attempt(e, [&] {
    return encode(ownBinding(design), givenObject(object), bytes, givenSize(bytes, size), 0);
  });
}

int32_t omif_ConvertToMIFAs(const Omif_Design *design, const void *object,
                            const Omif_Design *written, uint8_t *bytes, int32_t size,
                            Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIFAs", err);
  return attempt(e, [&] {
    const Codec codec(given(design), given(written));
    return encode(codec.binding(), givenObject(object), bytes, givenSize(bytes, size), 0);
  });
}

void *omif_ConvertToHost(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                         void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHost", err);
  return attempt(
      e, [&] { return decode(ownBinding(design), bytes, givenSize(bytes, size), 0, object); });
}

void *omif_ConvertToHostAs(const Omif_Design *written, const uint8_t *bytes, int32_t size,
                           const Omif_Design *wanted, void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHostAs", err);
  return attempt(e, [&] {
    const Codec codec(given(wanted), given(written));
    return decode(codec.binding(), bytes, givenSize(bytes, size), 0, object);
  });
}

int32_t omif_MIFVisit(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                      const Omif_Visitor *visitor, void *context, Oerr_Report **err) {
  ErrorScope e("omif_MIFVisit", err);
  return visitAs(e, design, bytes, size, 0, visitor, context);
}
