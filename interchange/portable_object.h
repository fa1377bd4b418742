// Portable objects inside: who frees them, and the texts of records on their way into and out of
// the toolkit's objects, which are UTF-8 in both libraries.
#ifndef OPRJ_INTERCHANGE_PORTABLE_OBJECT_H
#define OPRJ_INTERCHANGE_PORTABLE_OBJECT_H

#include <oprj/omif_object.h>
#include <oprj/projection.h>

#include <cstring>
#include <utility>

#include "records/records.h"
#include "tables/toolkit_record.h"

namespace orvik::oprj {

using OwnedDictionary = Owner<Omif_Dictionary, omif_DictionaryFree>;
using OwnedDesign = Owner<Omif_Design, omif_DesignFree>;

/// An object with the design that frees it.
class PortableObject {
 public:
  PortableObject() = default;
  PortableObject(toolkit::Failed) {}
  PortableObject(const Omif_Design *design, void *object) : design_(design), object_(object) {}
  ~PortableObject() { omif_ObjectFree(design_, &object_); }
  PortableObject(PortableObject &&other) noexcept
      : design_(other.design_), object_(std::exchange(other.object_, nullptr)) {}
  PortableObject &operator=(PortableObject &&other) noexcept {
    std::swap(design_, other.design_);
    std::swap(object_, other.object_);
    return *this;
  }
  explicit operator bool() const { return object_ != nullptr; }
  const void *get() const { return object_; }
  void *record() { return object_; }
  const Omif_Design *design() const { return design_; }
  void *release() { return std::exchange(object_, nullptr); }

 private:
  const Omif_Design *design_ = nullptr;
  void *object_ = nullptr;
};

inline bool bears(const Omif_Design *design, const char *name) {
  return design && std::strcmp(omif_DesignName(design), name) == 0;
}

/// The object as a record of the library's own design: what bears the same name elsewhere may be
/// laid out otherwise. Empty with a report.
inline PortableObject asOwn(const void *object, const Omif_Design *design, const Omif_Design *own,
                            Oerr_Report **err) {
  if (object && design == own) return {own, omif_ObjectCopy(own, object, nullptr, err)};
  return {own, omif_ObjectConvert(design, object, own, err)};
}

/// A dictionary that was written from the library's own design says the same as it, byte for byte:
/// `own` reads its objects, and the dictionary need not be read. `own` may be null.
inline bool isTextOf(const Omif_Design *own, const char *dictionary) {
  const char *text = own ? omif_DesignText(own, nullptr) : nullptr;
  return text && std::strcmp(text, dictionary) == 0;
}

/// The Oprj_MapProjection842 that oprj_ProjectionConvertToMIFable makes, with the library's own
/// design instead of a copy. Empty with that operation's report of 1 to 7.
PortableObject wrappedProjection(const Oprj_MapProjectionEx *projection, Oerr_Report **err);

inline const char *charsOf(const Omif_Text &text) { return orEmpty(text.data); }

inline Omif_Text borrowed(const char *text) {
  return {static_cast<int32_t>(std::strlen(text) + 1), const_cast<char *>(text)};
}

}  // namespace orvik::oprj

#endif
