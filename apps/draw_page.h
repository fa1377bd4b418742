// A page to draw on: cairo's SVG and PNG surfaces.
#ifndef OPRJ_APPS_DRAW_PAGE_H
#define OPRJ_APPS_DRAW_PAGE_H

#include <cairo.h>

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

  Page(bool svg, int width, int height);
  /// Rings of one area (even-odd).
  void fill(const std::vector<Line> &rings, Colour ink);
  void stroke(const std::vector<Line> &lines, Colour ink, double width);
  /// From the left end of its base line.
  void text(const std::string &text, Oprj_Point at, double size, bool bold, Colour ink);
  /// The text in lines no wider than `width` where blanks allow it.
  std::vector<std::string> wrapped(const std::string &text, double size, bool bold, double width);
  /// The file.
  std::string finish();

 private:
  struct Destroy {
    void operator()(cairo_surface_t *surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t *cairo) const { cairo_destroy(cairo); }
  };
  void colour(Colour ink);
  void font(double size, bool bold);
  void path(const Line &line);

  bool svg_;
  std::unique_ptr<std::string> bytes_ = std::make_unique<std::string>();  // cairo keeps its address
  std::unique_ptr<cairo_surface_t, Destroy> surface_;
  std::unique_ptr<cairo_t, Destroy> cairo_;
};

}  // namespace program::draw

#endif
