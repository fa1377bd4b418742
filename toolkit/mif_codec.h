// Objects in files: the operations of omif_object.h for bytes that begin at any position, since
// offsets inside of them count from the beginning of what holds them, and with the binding of two
// versions of a design made once for many objects.
#ifndef OPRJ_TOOLKIT_MIF_CODEC_H
#define OPRJ_TOOLKIT_MIF_CODEC_H

#include <oprj/omif_object.h>

#include "toolkit/mif_plan.h"

namespace orvik::toolkit::mif {

/// How records of `host` are kept in the layout of `written` (the same design, or a file's of that
/// name); both must live as long. Null with a report (1, 3, 4, 6).
std::unique_ptr<Codec> codecOf(const Omif_Design *host, const Omif_Design *written,
                               Oerr_Report **err);

/// Bytes of the record's MIF form in the written layout; a value that has no place there is refused
/// (5).
int32_t objectSize(const Codec &codec, const void *object, Oerr_Report **err);
/// Writes it for the position `base`; returns the bytes taken.
int32_t encodeObject(const Codec &codec, const void *object, uint8_t *bytes, int32_t size,
                     uint32_t base, Oerr_Report **err);
/// Reads bytes that stand at the position `base`: a new record, or the items of `object` replaced.
void *decodeObject(const Codec &codec, const uint8_t *bytes, int32_t size, uint32_t base,
                   void *object, Oerr_Report **err);
/// Turns the offsets of an object that stands at the position `from` into those that it has at
/// `to`. Refuses one whose end is not known, because a table is in it (5).
int32_t moveObject(const Omif_Design *design, uint8_t *bytes, int32_t size, uint32_t from,
                   uint32_t to, Oerr_Report **err);
int32_t visitObject(const Omif_Design *design, const uint8_t *bytes, int32_t size, uint32_t base,
                    const Omif_Visitor *visitor, void *context, Oerr_Report **err);

}  // namespace orvik::toolkit::mif

#endif
