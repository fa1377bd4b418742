#include "tables/toolkit_record.h"

#include <oprj/tables.h>

#if defined(OPRJ_WIDE)

namespace orvik::oprj {
namespace {

const Omif_Design *namedDesign(const char *name) {
  const auto *data = oprj_InitDataGet(oint_InitToolkit(nullptr), nullptr);
  const auto *design =
      data ? omif_DictionarySearchByName(data->dictionary, name, nullptr) : nullptr;
  if (!design) throw std::bad_alloc();  // the library's own designs are all there
  return design;
}

/// Hands the texts of a record, and the records that it points to, to two visitors.
template <class OnText, class OnRecord>
void walk(const Omif_Design *design, char *record, OnText onText, OnRecord onRecord) {
  Omif_ItemInfo item;
  for (int32_t i = 0; omif_DesignItem(design, i, &item); ++i) {
    char *const at = record + item.offset;
    if (item.inPlace) {
      walk(item.inPlace, at, onText, onRecord);
    } else if (item.kind == 'c' && item.pointer == 'p') {
      onText(*reinterpret_cast<Omif_Text *>(at));
    } else if (item.kind == 'o' && item.pointer == '*') {
      if (void *&below = *reinterpret_cast<void **>(at)) onRecord(namedDesign(item.design), below);
    }
  }
}

/// A text of the library in the place of one of the toolkit.
struct NoText {};

}  // namespace

ToolkitRecord::ToolkitRecord(const Omif_Design *design, const void *record, Oerr_Report **err) {
  ErrorScope e("ToolkitRecord", err);
  record_ = toolkit::guarded(e, 1, [&]() -> const void * {
    try {
      return mirror(design, record);
    } catch (const NoText &) {
      return e.fail(2, "A text is no UTF-16");
    }
  });
}

ToolkitRecord::~ToolkitRecord() {
  for (void *block : blocks_) omsc_HeapFree(block);
}

void *ToolkitRecord::hold(void *block) {
  if (!block) throw std::bad_alloc();
  toolkit::HeapBlock<void> owned(block);
  blocks_.push_back(block);
  return owned.release();
}

void *ToolkitRecord::mirror(const Omif_Design *design, const void *record) {
  const size_t size = omif_DesignHostSize(design, nullptr);
  if (size == 0) throw std::bad_alloc();
  auto *copy = static_cast<char *>(hold(omsc_HeapMalloc(size)));
  std::memcpy(copy, record, size);
  walk(
      design, copy,
      [this](Omif_Text &text) {
        if (!text.data) return;
        const Utf8 plain(reinterpret_cast<const Oprj_Char *>(text.data));
        if (!plain.wellFormed()) throw NoText{};
        auto *bytes = static_cast<char *>(hold(toolkit::heapCopy(plain.view()).release()));
        text = {static_cast<int32_t>(plain.view().size() + 1), bytes};
      },
      [this](const Omif_Design *of, void *&below) { below = mirror(of, below); });
  return copy;
}

bool takeTexts(const Omif_Design *design, void *record, Oerr_Report **err) {
  ErrorScope e("takeTexts", err);
  const auto take = [](const auto &self, const Omif_Design *of, void *from) -> void {
    walk(
        of, static_cast<char *>(from),
        [](Omif_Text &text) {
          if (!text.data) return;
          // Not newText, which undoes what the library wrote: these bytes are anybody's.
          const size_t size = std::strlen(text.data);
          OwnedText made(static_cast<Oprj_Char *>(omsc_HeapCalloc(size + 1, sizeof(Oprj_Char))));
          if (!made) throw std::bad_alloc();
          toolkit::toUtf16(text.data, size, made.get(), false);
          omsc_HeapFree(text.data);
          text = {static_cast<int32_t>(lengthOf(made.get()) + 1),
                  reinterpret_cast<char *>(made.release())};
        },
        [&](const Omif_Design *below, void *&inner) { self(self, below, inner); });
  };
  return toolkit::guarded(e, 1, [&] {
    take(take, design, record);
    return true;
  });
}

}  // namespace orvik::oprj

#endif
