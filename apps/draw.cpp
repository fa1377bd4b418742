// oprj draw: a map of the globe in a coordinate system, as SVG or PNG.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sstream>

#include "commands.h"
#include "draw_coast.h"
#include "draw_domain.h"
#include "draw_overlay.h"
#include "draw_page.h"
#include "draw_trace.h"
#include "system.h"

namespace program {
namespace draw {
namespace {

struct Options {
  std::string system, output;
  std::optional<std::string> title;
  int width = 1000;
  std::optional<double> graticule;  // degrees; else by the size of what is shown
  bool noCoast = false;
  std::vector<double> area;  // west, south, east, north: degrees
  std::string grid;
  std::vector<std::string> shift;
};

// --- what of the sheet is shown ---

/// The range of the points that leaves out `tail` of the weight at either end.
std::pair<double, double> middleRange(std::vector<std::pair<double, double>> &weighted,
                                      double tail) {
  std::sort(weighted.begin(), weighted.end());
  double total = 0;
  for (const auto &[value, weight] : weighted) total += weight;
  std::pair<double, double> range{weighted.front().first, weighted.back().first};
  double sum = 0;
  for (const auto &[value, weight] : weighted) {
    if (sum <= total * tail) range.first = value;
    sum += weight;
    if (sum <= total * (1 - tail)) range.second = value;
  }
  return range;
}

/// The part of the sheet to show: all of it, unless a small part of the globe takes up most of the
/// room, as near the points that conics and others blow up.
Box windowOf(const std::vector<Patch> &patches, const Sheet &sheet) {
  constexpr int kSteps = 120;        // samples across a patch
  constexpr int kEdgeSteps = 1000;   // samples along an edge
  constexpr double kTail = 0.01;     // of the area shown, at each side
  constexpr double kGenerous = 0.4;  // of the middle's width, added at each side
  constexpr double kMargin = 1e-3;   // of the width, where nothing is cut off
  std::vector<std::pair<double, double>> x, y;
  for (const Patch &patch : patches) {
    const Box box = patch.bounds();
    for (int i = 0; i <= kSteps; ++i) {
      for (int j = 0; j <= kSteps; ++j) {
        const Oprj_Point grid{box.west + box.width() * i / kSteps,
                              box.south + box.height() * j / kSteps};
        const auto image = sheet.project(patch.place(grid));
        if (!image) continue;
        const double weight = patch.weight(grid);
        x.emplace_back(image->x, weight);
        y.emplace_back(image->y, weight);
      }
    }
    // Outlines reach farther than what lies between the samples.
    for (const Line &edge : patch.outline()) {
      for (int i = 0; i <= kEdgeSteps; ++i) {
        const auto image =
            sheet.project(patch.place(between(edge.front(), edge.back(), 1.0 * i / kEdgeSteps)));
        if (!image) continue;
        x.emplace_back(image->x, 0);
        y.emplace_back(image->y, 0);
      }
    }
  }
  if (x.empty()) throw Stop(kUnusable, "no point of what the map would show can be projected");
  const auto cut = [&](std::vector<std::pair<double, double>> &values) {
    const auto [low, high] = middleRange(values, kTail);
    const double least = values.front().first, most = values.back().first;
    const double margin = kMargin * (most - least), generous = kGenerous * (high - low);
    return std::pair{std::max(least - margin, low - generous),
                     std::min(most + margin, high + generous)};
  };
  const auto [west, east] = cut(x);
  const auto [south, north] = cut(y);
  return {west, south, east, north};
}

/// Throws Stop where a picture of the window would show nothing.
void checkWindow(const Box &window, double pixel) {
  constexpr double kLeast = 1e-100, kMost = 1e100;  // squares of lengths stay within range
  if (!(std::min(window.width(), window.height()) >= pixel))
    throw Stop(kUnusable, "the map has no extent: all points fall on one line");
  if (!(pixel > kLeast && pixel < kMost))
    throw Stop(kUnusable, "the map cannot be drawn: it is " + numberText(window.width()) + " wide");
}

/// Degrees between the lines of a graticule that suits the extent.
double graticuleFor(double extent) {
  if (extent >= 80) return 15;
  if (extent >= 45) return 10;
  const double decade = std::pow(10, std::floor(std::log10(extent / 2)));
  const double part = extent / 2 / decade;  // 1 to 10
  return decade * (part >= 4.5 ? 2 : part >= 2.25 ? 1 : 0.5);
}

/// A map of a system, layer by layer: lines and rings in sheet units, cut to the window.
class Map {
 public:
  /// `area`: what to show, longitudes and latitudes in radians; else all that the system does.
  Map(const Options &options, const System &system, std::optional<Box> area, Oint_Toolkit *toolkit,
      const Console &console);

  const Box &window() const { return window_; }
  /// The edges as rings, not cut.
  std::vector<Line> edges();
  std::vector<Line> outline();
  std::vector<Line> graticule();
  std::vector<Line> coast(const std::vector<Line> &shores);
  std::vector<Line> land(const std::vector<Line> &shores);
  /// A line of the globe.
  std::vector<Line> line(const Line &globe);
  const Sheet &sheet() const { return sheet_; }
  /// What the maps of this scale are drawn with; nothing when the user wants none.
  Coast coastlines() const;

 private:
  void trace(const Patch &patch, const Line &globe, std::vector<Line> &visible);
  std::vector<Line> graticuleLines(const Box &range) const;

  const Options &options_;
  const Console &console_;
  Sheet sheet_;
  std::vector<Patch> patches_;
  Box window_;
  double extent_ = 0, span_ = 0;                // degrees: the smaller and the greatest
  double fine_ = 0;                             // radians between points of a line on the globe
  double meridianStep_ = 0, parallelStep_ = 0;  // degrees
  std::optional<Tracer> tracer_;
};

/// A rectangle of longitudes and latitudes (radians) alone.
std::vector<Patch> patchOf(const Box &area, const Sheet &sheet) {
  const double middle = (area.west + area.east) / 2;
  std::vector<Patch> patches{Patch::rectangle(
      Frame::upright(middle), {area.west - middle, area.south, area.east - middle, area.north})};
  patches.front().settle(sheet);
  return patches;
}

Map::Map(const Options &options, const System &system, std::optional<Box> area,
         Oint_Toolkit *toolkit, const Console &console)
    : options_(options),
      console_(console),
      sheet_(requireProjection(toolkit, system, console)),
      patches_(area ? patchOf(*area, sheet_) : domainOf(toolkit, *system.record, sheet_)),
      window_(windowOf(patches_, sheet_)) {
  constexpr double kCoarsest = 1 * kDegree, kMostSteps = 4000, kSteps = 60;
  constexpr double kTolerance = 0.05;        // of a pixel
  constexpr double kLeastExtent = 1.0 / 60;  // degrees: a limb is found to 1e-10 in its cosine
  double middling = 0, widest = 0;           // degrees of latitude and of longitude
  for (const Patch &patch : patches_) {
    const Box range = patch.reach().range();
    const double nearest = std::clamp(0.0, range.south, range.north);  // latitude to the equator
    extent_ = std::max(extent_, patch.extent());
    middling = std::max(middling, patch.middlingExtent());
    widest = std::max(widest, patch.middlingExtent() / std::max(std::cos(nearest), 1e-6));
    span_ = std::max(span_, 2 * patch.reach().radius / kDegree);
  }
  if (extent_ < kLeastExtent)
    throw Stop(kUnusable, "the map would show less than a minute of arc of the globe");
  fine_ = std::clamp(extent_ * kDegree / kSteps, span_ * kDegree / kMostSteps, kCoarsest);
  meridianStep_ = options.graticule.value_or(graticuleFor(widest));
  parallelStep_ = options.graticule.value_or(graticuleFor(middling));
  const double pixel = std::max(window_.width(), window_.height()) / options.width;
  checkWindow(window_, pixel);
  tracer_.emplace(sheet_, window_, kTolerance * pixel, fine_);
  console.detail("sheet from " + numberText(window_.west) + ", " + numberText(window_.south) +
                 " to " + numberText(window_.east) + ", " + numberText(window_.north) +
                 "; graticule every " + numberText(meridianStep_) + " by " +
                 numberText(parallelStep_) + " degrees");
}

void Map::trace(const Patch &patch, const Line &globe, std::vector<Line> &visible) {
  std::vector<Line> images;
  for (const Line &part : patch.parts(patch.sampled(globe, fine_)))
    tracer_->line(patch, part, images);
  for (const Line &image : images) clipLine(image, window_, visible);
}

std::vector<Line> Map::edges() {
  std::vector<Line> rings;
  for (const Patch &patch : patches_) {
    Line ring = tracer_->ring(patch, patch.ring());
    if (ring.empty()) console_.warn("the edge of the map is torn: the sea is not filled");
    else rings.push_back(std::move(ring));
  }
  return rings;
}

std::vector<Line> Map::outline() {
  std::vector<Line> images, visible;
  for (const Patch &patch : patches_) {
    for (const Line &edge : patch.outline()) tracer_->edge(patch, edge, images);
  }
  for (const Line &image : images) clipLine(image, window_, visible);
  return visible;
}

/// The meridians and parallels that come into a range of longitudes and latitudes.
std::vector<Line> Map::graticuleLines(const Box &range) const {
  constexpr double kHair = 1e-9;  // steps: multiples of one may miss the range's end by rounding
  // Lines of a kind: so many leave 2 pixels between them, were they spread over the page; an image
  // of more takes seconds.
  constexpr double kMostLines = 750;
  const double most = std::min(kMostLines, options_.width / 2.0);
  const auto multiples = [&](double from, double to, double step, const auto &add) {
    const double first = std::ceil(from / step - kHair), last = std::floor(to / step + kHair);
    if (last - first > most)
      throw Stop(kUsage, "--graticule " + numberText(step) +
                             ": its lines are too many for a width of " +
                             std::to_string(options_.width) + " pixels");
    for (double i = first; i <= last; ++i) add(i * step * kDegree);
  };
  std::vector<Line> lines;
  const auto meridian = [&](double lon) {
    if (lon > -kPi + kHair) lines.push_back({{lon, -kPi / 2}, {lon, kPi / 2}});  // else it is 180
  };
  const auto parallel = [&](double lat) {
    if (std::fabs(lat) < kPi / 2 - kHair) lines.push_back({{-kPi, lat}, {kPi, lat}});
  };
  const double west = range.west / kDegree, east = range.east / kDegree;
  if (east - west >= 360) {
    multiples(-180, 180, meridianStep_, meridian);
  } else {
    for (const double turn : {-360.0, 0.0, 360.0}) {
      multiples(std::max(-180.0, west + turn), std::min(180.0, east + turn), meridianStep_,
                meridian);
    }
  }
  multiples(range.south / kDegree, range.north / kDegree, parallelStep_, parallel);
  return lines;
}

std::vector<Line> Map::graticule() {
  std::vector<Line> visible;
  for (const Patch &patch : patches_) {
    for (const Line &line : graticuleLines(patch.reach().range())) trace(patch, line, visible);
  }
  return visible;
}

Coast Map::coastlines() const {
  constexpr double kSmallScale = 0.2;  // degrees in a pixel
  if (options_.noCoast) return {};
  const std::string file = referenceFile(
      span_ / options_.width > kSmallScale ? "coastline-110m.txt" : "coastline-50m.txt");
  console_.detail("coastlines from " + file);
  return readCoast(file);
}

std::vector<Line> Map::coast(const std::vector<Line> &shores) {
  std::vector<Line> visible;
  for (const Patch &patch : patches_) {
    for (const Line &shore : shores) trace(patch, shore, visible);
  }
  return visible;
}

std::vector<Line> Map::land(const std::vector<Line> &shores) {
  std::vector<Line> rings;
  for (const Patch &patch : patches_) {
    for (const Line &shore : shores) {
      for (const Line &area : patch.areas(patch.sampled(shore, fine_))) {
        const Line ring = tracer_->ring(patch, area);
        if (ring.empty()) console_.warn("the sheet tears a coastline: its land is not filled");
        else rings.push_back(clipRing(ring, window_));
      }
    }
  }
  return rings;
}

std::vector<Line> Map::line(const Line &globe) {
  std::vector<Line> visible;
  for (const Patch &patch : patches_) trace(patch, globe, visible);
  return visible;
}

// --- what stands above it ---

/// Without the last digits that an angle gets from being turned into radians and back.
std::string plainNumber(double value) {
  constexpr double kSmall = 1e-6;
  if (value != 0 && std::fabs(value) < kSmall) return numberText(value);
  std::string text = numberText(value, 9);
  text.resize(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text == "-0" ? "0" : text;
}

/// The answers to the questions that apply, but for distances of 0.
void describeSlots(const Oprj_QueryEntry *list, const Oprj_DblArray &slots,
                   std::vector<std::string> &answers) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    const double value =
        entry->index >= 0 && entry->index < slots.count ? slots.data[entry->index] : 0;
    const std::string prompt = entry->prompt ? entry->prompt : "";
    switch (entry->kind) {
      case OPRJ_QUERY_CONDITION:
        for (const Oprj_CondQueryEntry *way = entry->conditionalList; way; way = way->next) {
          if (way->value != value) continue;
          if (!way->queryEntryList) answers.push_back(prompt + " " + way->label);
          describeSlots(way->queryEntryList, slots, answers);
        }
        break;
      case OPRJ_QUERY_ANGLE:
        answers.push_back(prompt + " " + plainNumber(value / kDegree) + "°");
        break;
      case OPRJ_QUERY_DISTANCE:
        if (value != 0) answers.push_back(prompt + " " + plainNumber(value) + " m");
        break;
      case OPRJ_QUERY_NUMBER:
      case OPRJ_QUERY_INTEGER:
        if (!prompt.starts_with("Reserved")) answers.push_back(prompt + " " + plainNumber(value));
        break;
      default:
        break;
    }
  }
}

std::vector<std::string> parametersOf(const System &system, Oint_Toolkit *toolkit) {
  const Oprj_Spheroid &spheroid = system.spheroid();
  const std::string known = spheroid.sphereName.data ? spheroid.sphereName.data : "Unknown";
  const OwnedEngineSystem engine = engineSystemOf(*system.record);
  std::vector<std::string> answers{
      engine && oawp_PE_pe_projcs_p(engine.get())
          ? oawp_PE_pe_projection_name(oawp_PE_pe_projcs_projection(engine.get()))
          : system.name() + (" (" + std::to_string(system.record->proNumber) + ")")};
  if (known != "Unknown") {
    answers.push_back("spheroid " + known);
  } else {
    answers.push_back("a " + plainNumber(spheroid.a) + " m");
    answers.push_back("b " + plainNumber(spheroid.b) + " m");
  }
  if (const std::string datum = system.datumName(); datum != "Undefined")
    answers.push_back("datum " + datum);
  Slot err;
  if (const Oprj_Query *query = oprj_QueryByExample(toolkit, system.record.get(), err.get()))
    describeSlots(query->proParamsQuerylist, system.record->proParams, answers);
  return answers;
}

/// The system's description; of a State Plane zone, which has only a number there, its name too.
std::string titleOf(const System &system, Oint_Toolkit *toolkit) {
  constexpr int32_t kStatePlane = 2;
  const Oprj_ProParameters &record = *system.record;
  if (record.proNumber == kStatePlane) {
    const int32_t nad = record.proParams.data[0] == 1 ? 1 : 2;
    for (const auto *zone = referenceData(toolkit).statePlaneTable; zone; zone = zone->next) {
      if (zone->nadCode == nad &&
          (zone->zoneNumber == record.proZone || zone->fipsCode == record.proZone))
        return std::string("State Plane, ") + zone->stateName + " " + zone->zoneName + " (" +
               std::to_string(zone->zoneNumber) + ")";
    }
  }
  Slot err;
  const OwnedText description(oprj_ProjectionDescribe(toolkit, &record, err.get()));
  if (!description) throw Stop(kUnusable, err.text());
  return description.get();
}

/// The words of a text.
std::vector<std::string> wordsOf(const std::string &text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// --- the picture ---

constexpr Colour kSea{0xE9F1F7}, kLand{0xF4F0E6}, kGraticule{0x9EB2C4}, kCoast{0x70787D},
    kOutline{0x405466}, kTitle{0x212B36}, kText{0x616E78}, kOverlay{0xB0392B};

/// Where title, text and map stand on the page, all from its width.
struct Layout {
  static constexpr double kTitleLeading = 1.3, kTextLeading = 1.4;  // of the size

  explicit Layout(int width, const Box &window, const std::string &title,
                  const std::vector<std::string> &text)
      : margin(width * 0.035), titleSize(width * 0.03), textSize(width * 0.0165) {
    const auto measure = makePage(true, width, width);
    const double wide = width - 2 * margin;
    titleLines = measure->wrapped(wordsOf(title), " ", titleSize, true, wide);
    textLines = measure->wrapped(text, " · ", textSize, false, wide);
    top = margin + kTitleLeading * titleSize * static_cast<double>(titleLines.size()) +
          kTextLeading * textSize * static_cast<double>(textLines.size()) + 0.5 * margin;
    constexpr double kTallest = 1.25;  // of the width
    scale = std::min(wide / window.width(), kTallest * width / window.height());
    left = (width - scale * window.width()) / 2;
    height = static_cast<int>(std::ceil(top + scale * window.height() + margin));
  }

  double margin, titleSize, textSize, top = 0, left = 0, scale = 1;
  std::vector<std::string> titleLines, textLines;
  int height = 0;
};

/// What is drawn above the map.
struct Overlay {
  std::vector<Extent> extents;
  std::vector<Arrow> arrows;
  double longest = 0;  ///< arrow, sheet units
  std::vector<std::string> text;
};
constexpr int kArrowsAcross = 36;

Overlay overlayOf(Map &map, const std::optional<Extents> &extents,
                  const std::optional<Shifts> &shifts) {
  Overlay overlay;
  if (extents) {
    overlay.extents = extents->rings;
    overlay.text.push_back(extents->text);
  }
  if (!shifts) return overlay;
  const Sheet &sheet = map.sheet();
  overlay.arrows = arrowsOf(
      *shifts, map.window(), kArrowsAcross, [&](Oprj_Point p) { return sheet.project(p); },
      [&](Oprj_Point p) { return sheet.unproject(p); });
  if (overlay.arrows.empty()) throw Stop(kUnusable, "no place on the map is shifted");
  const auto [least, most] =
      std::minmax_element(overlay.arrows.begin(), overlay.arrows.end(),
                          [](const Arrow &a, const Arrow &b) { return a.metres < b.metres; });
  overlay.longest = 0.95 * map.window().width() / kArrowsAcross / std::max(most->metres, 1e-9);
  overlay.text.push_back(shifts->title() + ": " + numberText(least->metres, 2) + " to " +
                         numberText(most->metres, 2) + " m; the longest arrow is " +
                         numberText(most->metres, 2) + " m");
  return overlay;
}

std::string pictureOf(Map &map, const Layout &layout, const Overlay &overlay, int width, bool svg) {
  const Box &window = map.window();
  const auto onPage = [&](std::vector<Line> lines) {
    for (Line &line : lines) {
      for (Oprj_Point &p : line)
        p = {layout.left + (p.x - window.west) * layout.scale,
             layout.top + (window.north - p.y) * layout.scale};
    }
    return lines;
  };
  const auto page = makePage(svg, width, layout.height);
  const double pen = std::max(0.5, width / 1000.0);
  const std::vector<Line> edges = map.edges();
  std::vector<Line> sea;
  for (const Line &edge : edges) sea.push_back(clipRing(edge, window));
  page->fill(onPage(std::move(sea)), kSea);
  const Coast coast = map.coastlines();
  page->fill(onPage(map.land(coast.rings)), kLand);
  page->stroke(onPage(map.graticule()), kGraticule, 0.6 * pen);
  std::vector<Line> shores = map.coast(coast.rings);
  for (Line &open : map.coast(coast.lines)) shores.push_back(std::move(open));
  page->stroke(onPage(std::move(shores)), kCoast, 0.7 * pen);
  for (const Extent &extent : overlay.extents)
    page->stroke(onPage(map.line(extent.ring)), kOverlay, 1.2 * pen);
  for (const Extent &extent : overlay.extents) {  // names where they have room, in the upper left
    const double size = 0.012 * width, wide = 0.62 * size * static_cast<double>(extent.name.size());
    const auto west = map.sheet().project(extent.ring[3]),
               east = map.sheet().project(extent.ring[2]);
    if (extent.name.empty() || !west || !east || !map.window().holds(*west)) continue;
    const Line corners = onPage({Line{*west, *east}}).front();
    if (corners[1].x - corners[0].x < wide) continue;
    page->text(extent.name, {corners[0].x + 0.3 * size, corners[0].y + 1.1 * size}, size, false,
               kOverlay);
  }
  for (const Arrow &arrow : overlay.arrows)
    page->stroke(onPage(strokesOf(arrow, arrow.metres * overlay.longest)), kOverlay, 0.8 * pen);
  page->stroke(onPage(map.outline()), kOutline, 1.2 * pen);
  page->stroke(onPage(borderInside(window, edges)), kOutline, 1.2 * pen);

  double y = layout.margin;
  const auto write = [&](const std::vector<std::string> &lines, double size, double leading,
                         bool bold, Colour ink) {
    for (const std::string &line : lines) {
      page->text(line, {layout.margin, y + size}, size, bold, ink);
      y += leading * size;
    }
  };
  write(layout.titleLines, layout.titleSize, Layout::kTitleLeading, true, kTitle);
  write(layout.textLines, layout.textSize, Layout::kTextLeading, false, kText);
  return page->finish();
}

void writeFile(const std::string &path, const std::string &bytes) {
  const auto fail = [&](const char *what) {
    throw Stop(kInputOutput, std::string(what) + " " + path + ": " + std::strerror(errno));
  };
  std::FILE *file = std::fopen(path.c_str(), "wb");
  if (!file) fail("cannot open");
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  const int reason = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = reason;
  if (!written || !closed) fail("cannot write to");
}

/// What to show: what is asked for, else a little more than what the overlay covers.
std::optional<Box> areaOf(const Options &options, const std::optional<Extents> &extents,
                          const std::optional<Shifts> &shifts) {
  if (!options.area.empty()) {
    const std::vector<double> &a = options.area;
    const double east = a[2] > a[0] ? a[2] : a[2] + 360;  // across the antimeridian
    if (!(std::fabs(a[0]) <= 360 && east - a[0] <= 360 && a[1] < a[3] && a[1] >= -90 && a[3] <= 90))
      throw Stop(kUsage, "--area takes west, south, east and north in degrees");
    return Box{a[0] * kDegree, a[1] * kDegree, east * kDegree, a[3] * kDegree};
  }
  if (!extents && !shifts) return {};
  constexpr double kMargin = 0.05;  // of the size
  const Box box = extents ? extents->around : shifts->area();
  const double x = std::min(kMargin * box.width(), kPi - box.width() / 2);
  const double y = kMargin * box.height();
  return Box{box.west - x, std::max(box.south - y, -kPi / 2), box.east + x,
             std::min(box.north + y, kPi / 2)};
}

Status run(const Options &options, const Console &console) {
  const std::string name = lower(options.output);
  const bool svg = name.ends_with(".svg");
  if (!svg && !name.ends_with(".png"))
    throw Stop(kUsage, options.output + ": the file's name must end in .svg or .png");
  if (options.graticule && std::isnan(*options.graticule))  // no range refuses it
    throw Stop(kUsage, "--graticule: not a number");
  Oint_Toolkit *toolkit = startLibrary(console);
  std::optional<Extents> extents;
  if (!options.grid.empty()) extents = extentsOf(options.grid);
  std::optional<Shifts> shifts;
  if (!options.shift.empty()) shifts.emplace(toolkit, options.shift[0], options.shift[1], console);
  if (options.system.empty() && !extents && !shifts)
    throw Stop(kUsage, "a coordinate system is missing; `oprj draw --help` tells more");
  const System system = readSystem(
      toolkit, options.system.empty() ? "geographic; datum=WGS 84" : options.system, console);
  Map map(options, system, areaOf(options, extents, shifts), toolkit, console);
  const Overlay overlay = overlayOf(map, extents, shifts);
  std::vector<std::string> text = parametersOf(system, toolkit);
  text.insert(text.end(), overlay.text.begin(), overlay.text.end());
  const Layout layout(options.width, map.window(),
                      options.title ? *options.title
                      : shifts      ? shifts->title()
                                    : titleOf(system, toolkit),
                      text);
  if (layout.height > Page::kMostHeight ||
      (!svg && int64_t{layout.height} * options.width > Page::kMostPixels))
    throw Stop(kUsage, "--width " + std::to_string(options.width) + ": the picture would be too " +
                           (svg ? "high" : "large (an SVG can be larger)"));
  console.detail("map at " + numberText(layout.left, 3) + ", " + numberText(layout.top, 3) +
                 " on the page; pixels in a unit of the sheet: " + numberText(layout.scale));
  writeFile(options.output, pictureOf(map, layout, overlay, options.width, svg));
  return kGood;
}

}  // namespace
}  // namespace draw

void addDraw(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand("draw",
                                         "Draw a map: outline, graticule and coastlines in a "
                                         "coordinate system, extents of grids, shifts");
  auto options = std::make_shared<draw::Options>();
  command
      ->add_option("system", options->system,
                   "Coordinate system (with --grid and --shift it may be left out: geographic)")
      ->type_name("CS");
  command
      ->add_option("-o,--output", options->output,
                   "Picture to write: its name ends in .svg or .png")
      ->required()
      ->type_name("OUT");
  command->add_option("--width", options->width, "Width in pixels (default: 1000)")
      ->check(CLI::Range(200, 10000));
  command
      ->add_option("--graticule", options->graticule,
                   "Degrees between meridians and parallels (default: 15, less on maps of a small "
                   "part of the globe)")
      ->check(CLI::Range(0.1, 90.0));
  command->add_flag("--no-coast", options->noCoast, "No coastlines");
  command
      ->add_option("--area", options->area,
                   "Show these longitudes and latitudes only, in degrees (default: all that the "
                   "system does, or what --grid and --shift cover)")
      ->expected(4)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("W,S,E,N");
  command->add_option("--grid", options->grid, "Draw the extents of a grid file's sub-grids")
      ->type_name("FILE");
  command
      ->add_option("--shift", options->shift,
                   "Draw arrows for the shift from one datum to another (names, or coordinate "
                   "systems)")
      ->expected(2)
      ->allow_extra_args(false)
      ->type_name("FROM TO");
  command->add_option("--title", options->title, "Title (default: the system's description)")
      ->type_name("TEXT");
  command->footer(kSystemHelp);
  command->callback([options, &console, &action] {
    action = [options, &console] { return draw::run(*options, console); };
  });
}

}  // namespace program
