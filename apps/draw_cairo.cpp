// The module that draws with cairo: SVG and PNG surfaces.
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>

#include "draw_page.h"
#include "program.h"

namespace program::draw {
namespace {

constexpr Colour kPaper{0xFFFFFF};

cairo_status_t append(void *bytes, const unsigned char *data, unsigned int length) {
  static_cast<std::string *>(bytes)->append(reinterpret_cast<const char *>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

void check(cairo_status_t status) {
  if (status == CAIRO_STATUS_INVALID_STRING)
    throw Stop(kUsage, "the title or a name of the system is not UTF-8 text");
  if (status != CAIRO_STATUS_SUCCESS)
    throw Stop(kInputOutput, std::string("cannot draw: ") + cairo_status_to_string(status));
}

class CairoPage final : public Page {
 public:
  CairoPage(bool svg, int width, int height);
  void fill(const std::vector<Line> &rings, Colour ink) override;
  void stroke(const std::vector<Line> &lines, Colour ink, double width) override;
  void text(const std::string &text, Oprj_Point at, double size, bool bold, Colour ink) override;
  std::vector<std::string> wrapped(const std::vector<std::string> &pieces,
                                   const std::string &separator, double size, bool bold,
                                   double width) override;
  std::string finish() override;

 private:
  struct Destroy {
    void operator()(cairo_surface_t *surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t *cairo) const { cairo_destroy(cairo); }
  };
  void colour(Colour ink);
  void font(double size, bool bold);
  double widthOf(const std::string &text);
  void path(const Line &line);

  bool svg_;
  std::unique_ptr<std::string> bytes_ = std::make_unique<std::string>();  // cairo keeps its address
  std::unique_ptr<cairo_surface_t, Destroy> surface_;
  std::unique_ptr<cairo_t, Destroy> cairo_;
};

CairoPage::CairoPage(bool svg, int width, int height) : svg_(svg) {
  if (svg) {
    surface_.reset(cairo_svg_surface_create_for_stream(append, bytes_.get(), width, height));
    cairo_svg_surface_set_document_unit(surface_.get(), CAIRO_SVG_UNIT_PX);
  } else {
    surface_.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  }
  cairo_.reset(cairo_create(surface_.get()));
  check(cairo_status(cairo_.get()));
  colour(kPaper);
  cairo_paint(cairo_.get());
  cairo_set_line_join(cairo_.get(), CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cairo_.get(), CAIRO_LINE_CAP_ROUND);
  cairo_set_fill_rule(cairo_.get(), CAIRO_FILL_RULE_EVEN_ODD);
}

void CairoPage::fill(const std::vector<Line> &rings, Colour ink) {
  for (const Line &ring : rings) {
    path(ring);
    cairo_close_path(cairo_.get());
  }
  colour(ink);
  cairo_fill(cairo_.get());
}

void CairoPage::stroke(const std::vector<Line> &lines, Colour ink, double width) {
  // An image's stroke is held as a whole, as an area with its outline: many lines take several.
  constexpr size_t kMostPoints = 5'000;
  colour(ink);
  cairo_set_line_width(cairo_.get(), width);
  size_t points = 0;
  for (const Line &line : lines) {
    path(line);
    points += line.size();
    if (svg_ || points < kMostPoints) continue;
    cairo_stroke(cairo_.get());
    points = 0;
  }
  cairo_stroke(cairo_.get());
}

void CairoPage::text(const std::string &text, Oprj_Point at, double size, bool bold, Colour ink) {
  font(size, bold);
  colour(ink);
  cairo_move_to(cairo_.get(), at.x, at.y);
  cairo_show_text(cairo_.get(), text.c_str());
}

double CairoPage::widthOf(const std::string &text) {
  cairo_text_extents_t extents;
  cairo_text_extents(cairo_.get(), text.c_str(), &extents);
  check(cairo_status(cairo_.get()));
  return extents.x_advance;
}

std::vector<std::string> CairoPage::wrapped(const std::vector<std::string> &pieces,
                                            const std::string &separator, double size, bool bold,
                                            double width) {
  font(size, bold);
  const auto filled = [&](double most) {
    std::vector<std::string> lines;
    for (const std::string &piece : pieces) {
      if (!lines.empty() && widthOf(lines.back() + separator + piece) <= most)
        lines.back() += separator + piece;
      else lines.push_back(piece);
    }
    return lines;
  };
  std::vector<std::string> lines = filled(width);
  if (lines.size() < 2) return lines;
  constexpr int kTries = 8;  // halvings between widths that need more lines and that do not
  double tooNarrow = width / 4;
  for (int i = 0; i < kTries; ++i) {
    const double middle = (tooNarrow + width) / 2;
    std::vector<std::string> narrower = filled(middle);
    if (narrower.size() > lines.size()) {
      tooNarrow = middle;
    } else {
      width = middle;
      lines = std::move(narrower);
    }
  }
  return lines;
}

std::string CairoPage::finish() {
  check(cairo_status(cairo_.get()));
  cairo_surface_flush(surface_.get());
  if (!svg_) check(cairo_surface_write_to_png_stream(surface_.get(), append, bytes_.get()));
  cairo_surface_finish(surface_.get());
  check(cairo_surface_status(surface_.get()));
  return std::move(*bytes_);
}

void CairoPage::colour(Colour ink) {
  const auto part = [ink](int shift) {
    return (static_cast<uint32_t>(ink) >> shift & 0xFF) / 255.0;
  };
  cairo_set_source_rgb(cairo_.get(), part(16), part(8), part(0));
}

void CairoPage::font(double size, bool bold) {
  cairo_select_font_face(cairo_.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo_.get(), size);
}

void CairoPage::path(const Line &line) {
  // Points nearer to the one before than this are left out, and coordinates of an SVG are rounded
  // to parts of a pixel: both keep the file small.
  constexpr double kNear = 0.4, kParts = 8;
  Oprj_Point last{};
  for (size_t i = 0; i < line.size(); ++i) {
    if (i > 0 && i + 1 < line.size() && distance(line[i], last) < kNear) continue;
    last = line[i];
    const double x = svg_ ? std::round(last.x * kParts) / kParts : last.x;
    const double y = svg_ ? std::round(last.y * kParts) / kParts : last.y;
    if (i == 0) cairo_move_to(cairo_.get(), x, y);
    else cairo_line_to(cairo_.get(), x, y);
  }
}

}  // namespace
}  // namespace program::draw

extern "C" [[gnu::visibility("default")]] program::draw::PageMaker oprj_PageMake;
program::draw::Page *oprj_PageMake(bool svg, int width, int height) {
  return new program::draw::CairoPage(svg, width, height);
}
