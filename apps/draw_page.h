// A page to draw on.
#ifndef OPRJ_APPS_DRAW_PAGE_H
#define OPRJ_APPS_DRAW_PAGE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "draw_clip.h"

namespace program::draw {

/// 0xRRGGBB.
enum class Colour : uint32_t {};

/// White paper. Sizes and places are pixels, y downwards. Operations throw Stop at the latest when
/// the page is finished.
class Page {
 public:
  static constexpr int kMostHeight = 32767;  ///< of a cairo image
  /// Of a PNG: 64 MB, and some seconds when they are full of lines.
  static constexpr int64_t kMostPixels = 16'000'000;

  virtual ~Page() = default;
  /// Rings of one area (even-odd).
  virtual void fill(const std::vector<Line> &rings, Colour ink) = 0;
  virtual void stroke(const std::vector<Line> &lines, Colour ink, double width) = 0;
  /// From the left end of its base line.
  virtual void text(const std::string &text, Oprj_Point at, double size, bool bold, Colour ink) = 0;
  /// The pieces in as few lines as are no wider than `width`, with the separator between those of
  /// a line; the lines are about as long as each other, so that none is left with a single word.
  virtual std::vector<std::string> wrapped(const std::vector<std::string> &pieces,
                                           const std::string &separator, double size, bool bold,
                                           double width) = 0;
  /// The file.
  virtual std::string finish() = 0;
};

/// A page of cairo, SVG or PNG. The module with cairo is loaded here and not before: its many
/// libraries would double the time in which the program starts. Throws Stop.
std::unique_ptr<Page> makePage(bool svg, int width, int height);

/// What the module exports for makePage, under this name.
using PageMaker = Page *(bool svg, int width, int height);
inline constexpr const char *kPageModule = "liboPrjPage.so";
inline constexpr const char *kPageMaker = "oprj_PageMake";

}  // namespace program::draw

#endif
