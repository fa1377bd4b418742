// Projection pairs: an input and an output handle.
#include <oprj/projection.h>

#include "pipeline/function_sets.h"
#include "pipeline/upward.h"

using namespace orvik::oprj;

using PairOwner = Owner<Oprj_ProjectionPair, oprj_ProjectionPairFree>;

Oprj_ProjectionPair *oprj_ProjectionPairCreate(Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairCreate", err);
  auto *pair = allocateRecord<Oprj_ProjectionPair>();
  if (!pair) return e.fail(1, "Error allocating Projection Pair");
  return pair;
}

Oprj_ProjectionPair *oprj_ProjectionPairInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *in,
                                             const Oprj_ProParameters *out, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairInit", err);
  PairOwner pair(oprj_ProjectionPairCreate(e.cause()));
  if (!pair) return e.fail(1, "Error returned from oprj_ProjectionPairCreate");
  if (!oprj_ProjectionInit(toolkit, in, &pair->in, e.cause()))
    return e.fail(2, "Error returned from oprj_ProjectionInit");
  if (!oprj_ProjectionInit(toolkit, out, &pair->out, e.cause()))
    return e.fail(3, "Error returned from oprj_ProjectionInit");
  return pair.release();
}

Oprj_ProjectionPair *oprj_ProjectionPairGet(Oint_Toolkit *toolkit, const Oprj_MapInfo *inMapInfo,
                                            const Oprj_ProParameters *in,
                                            const Oprj_MapInfo *outMapInfo,
                                            const Oprj_ProParameters *out, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairGet", err);
  const int32_t equal = oprj_ProjectionsEqual(inMapInfo, in, outMapInfo, out, e.cause());
  if (e.calleeFailed()) return e.fail(1, "Error returned from oprj_ProjectionsEqual");
  if (equal) return nullptr;
  if (!in || !out) return e.fail(2, "Not enough information to do projection");
  auto *pair = oprj_ProjectionPairInit(toolkit, in, out, e.cause());
  if (!pair) return e.fail(3, "Error returned from oprj_ProjectionPairInit");
  return pair;
}

Oprj_ProjectionPair *oprj_ProjectionPairCopy(const Oprj_ProjectionPair *source,
                                             Oprj_ProjectionPair *target, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_ProjectionPair");
  OwnedHandle in(source->in ? oprj_ProjectionCopy(source->in, nullptr, e.cause()) : nullptr);
  if (source->in && !in) return e.fail(2, "Error returned from oprj_ProjectionCopy");
  OwnedHandle out(source->out ? oprj_ProjectionCopy(source->out, nullptr, e.cause()) : nullptr);
  if (source->out && !out) return e.fail(3, "Error returned from oprj_ProjectionCopy");
  if (!target) target = oprj_ProjectionPairCreate(e.cause());
  if (!target) return e.fail(4, "Error returned from oprj_ProjectionPairCreate");
  oprj_ProjectionFree(&target->in);
  oprj_ProjectionFree(&target->out);
  target->in = in.release();
  target->out = out.release();
  return target;
}

int32_t oprj_ProjectionPairQuit(Oprj_ProjectionPair *pair, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairQuit", err);
  if (!pair) return e.fail(3, "Invalid input Oprj_ProjectionPair");
  // Both are quit even when the input fails; its report then stays.
  if (!oprj_ProjectionQuit(pair->in, e.cause()))
    e.fail(1, "Error returned from oprj_ProjectionQuit for the input projection");
  if (!oprj_ProjectionQuit(pair->out, e.cause()) && !e.failed())
    e.fail(2, "Error returned from oprj_ProjectionQuit for the output projection");
  return !e.failed();
}

void oprj_ProjectionPairFree(Oprj_ProjectionPair **pair) {
  if (!pair || !*pair) return;
  oprj_ProjectionFree(&(*pair)->in);
  oprj_ProjectionFree(&(*pair)->out);
  omsc_HeapFree(*pair);
  *pair = nullptr;
}
