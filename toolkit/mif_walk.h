// Walking objects by their plans, from bytes and to bytes:
//
//   object        = { item }                              in the order of the design
//   item          = element * count                       in place
//                 | count u32, offset u32, element * count    behind "*" and "p"; absent: 0, 0
//   offset        position of the byte behind it, counted from the beginning of the whole
//
// All numbers are little-endian, nothing is aligned.
#ifndef OPRJ_TOOLKIT_MIF_WALK_H
#define OPRJ_TOOLKIT_MIF_WALK_H

#include <oprj/omif_object.h>

#include "toolkit/mif_plan.h"

namespace orvik::toolkit::mif {

// All refuse with kDamaged (and throw std::bad_alloc). `base` is the position of the first byte.

/// Bytes that a record takes.
int32_t sizeOf(const Binding &binding, const void *object);
/// Writes a record; returns the bytes taken.
int32_t encode(const Binding &binding, const void *object, uint8_t *bytes, int32_t size,
               uint32_t base);
/// A new record, or the items of `object` replaced.
void *decode(const Binding &binding, const uint8_t *bytes, int32_t size, uint32_t base,
             void *object);
/// Turns offsets that count from `from` into those from `to`.
void move(const Plan &plan, uint8_t *bytes, int32_t size, uint32_t from, uint32_t to);
void visit(const Plan &plan, const uint8_t *bytes, int32_t size, uint32_t base,
           const Omif_Visitor &visitor, void *context);

}  // namespace orvik::toolkit::mif

#endif
