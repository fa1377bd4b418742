// oprj draw: a map of the globe in a coordinate system, as SVG or PNG.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "draw_coast.h"
#include "draw_domain.h"
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
};

// --- the map in sheet units ---

struct Map {
  Box window{};                 ///< what of the sheet is shown
  std::vector<Line> sea, land;  ///< rings
  std::vector<Line> graticule, coast, outline;
};

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
  if (!(east > west) || !(north > south))
    throw Stop(kUnusable, "the map has no extent: all points fall on one line");
  return {west, south, east, north};
}

/// Degrees between the lines of a graticule that suits the extent.
double graticuleFor(double extent) {
  for (const auto &[least, step] : {std::pair{80.0, 15.0}, {45.0, 10.0}, {20.0, 5.0}, {9.0, 2.0}}) {
    if (extent >= least) return step;
  }
  return 1;
}

/// Meridians and parallels at the multiples of `step` degrees, with points every `fine` radians.
std::vector<Line> graticuleLines(double step, double fine) {
  const auto reach = [step](double limit) {  // the last multiple within the limit
    return static_cast<int>(std::floor(limit / step + 1e-9));
  };
  std::vector<Line> lines;
  const int east = reach(180), north = reach(90);
  for (int i = -east; i <= east; ++i) {
    const double lon = i * step;
    if (lon <= -180 + 1e-9) continue;  // drawn as 180
    lines.push_back(densified({{lon * kDegree, -kPi / 2}, {lon * kDegree, kPi / 2}}, fine, fine));
  }
  for (int i = -north; i <= north; ++i) {
    const double lat = i * step * kDegree;
    if (std::fabs(lat) < kPi / 2 - 1e-9)
      lines.push_back(densified({{-kPi, lat}, {kPi, lat}}, fine, fine));
  }
  return lines;
}

Map mapOf(const Options &options, const System &system, Oint_Toolkit *toolkit,
          const Console &console) {
  constexpr double kCoarsest = 1 * kDegree;  // between points of a line on the globe
  constexpr double kTolerance = 0.05;        // of a pixel
  const Sheet sheet(toolkit, system.record.get());
  const std::vector<Patch> patches = domainOf(toolkit, *system.record, sheet);
  Map map;
  map.window = windowOf(patches, sheet);
  double extent = 0;
  for (const Patch &patch : patches) extent = std::max(extent, patch.extent());
  const double fine = std::min(kCoarsest, extent * kDegree / 60);
  const double pixel = std::max(map.window.width(), map.window.height()) / options.width;
  const Tracer tracer(sheet, map.window, kTolerance * pixel, fine);

  const auto drawn = [&](const Line &globe, std::vector<Line> &images) {
    for (const Patch &patch : patches) {
      for (const Line &part : patch.parts(globe)) tracer.line(patch, part, images);
    }
  };
  for (const Patch &patch : patches) {
    Line ring = tracer.ring(patch, patch.ring());
    if (ring.empty()) console.warn("the edge of the map is torn: the sea is not filled");
    else map.sea.push_back(std::move(ring));
    for (const Line &edge : patch.outline()) tracer.edge(patch, edge, map.outline);
  }
  const double step = options.graticule.value_or(graticuleFor(extent));
  for (const Line &line : graticuleLines(step, fine)) drawn(line, map.graticule);
  if (!options.noCoast) {
    const std::string file = referenceFile("coastline.txt");
    console.detail("coastlines from " + file);
    const Coast coast = readCoast(file);
    for (const Line &line : coast.lines) drawn(densified(line, fine, fine), map.coast);
    for (const Line &line : coast.rings) {
      const Line shore = densified(line, fine, fine);
      drawn(shore, map.coast);
      for (const Patch &patch : patches) {
        for (const Line &area : patch.areas(shore)) {
          Line ring = tracer.ring(patch, area);
          if (ring.empty()) console.warn("the sheet tears a coastline: its land is not filled");
          else map.land.push_back(std::move(ring));
        }
      }
    }
  }
  console.detail("sheet from " + numberText(map.window.west) + ", " + numberText(map.window.south) +
                 " to " + numberText(map.window.east) + ", " + numberText(map.window.north) +
                 "; graticule every " + numberText(step) + " degrees");
  return map;
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
void describeSlots(const Oprj_QueryEntry *list, const Oprj_DblArray &slots, std::string &text) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    const double value =
        entry->index >= 0 && entry->index < slots.count ? slots.data[entry->index] : 0;
    const std::string prompt = entry->prompt ? entry->prompt : "";
    switch (entry->kind) {
      case OPRJ_QUERY_CONDITION:
        for (const Oprj_CondQueryEntry *way = entry->conditionalList; way; way = way->next) {
          if (way->value != value) continue;
          if (!way->queryEntryList) text += " · " + prompt + " " + way->label;
          describeSlots(way->queryEntryList, slots, text);
        }
        break;
      case OPRJ_QUERY_ANGLE:
        text += " · " + prompt + " " + plainNumber(value / kDegree) + "°";
        break;
      case OPRJ_QUERY_DISTANCE:
        if (value != 0) text += " · " + prompt + " " + plainNumber(value) + " m";
        break;
      case OPRJ_QUERY_NUMBER:
      case OPRJ_QUERY_INTEGER:
        if (!prompt.starts_with("Reserved")) text += " · " + prompt + " " + plainNumber(value);
        break;
      default:
        break;
    }
  }
}

std::string parametersOf(const System &system, Oint_Toolkit *toolkit) {
  const Oprj_Spheroid &spheroid = system.spheroid();
  const std::string known = spheroid.sphereName.data ? spheroid.sphereName.data : "Unknown";
  std::string text = system.name() + (" (" + std::to_string(system.record->proNumber) + ")");
  if (known != "Unknown") text += " · spheroid " + known;
  else text += " · a " + plainNumber(spheroid.a) + " m · b " + plainNumber(spheroid.b) + " m";
  text += std::string(" · datum ") + system.datumName();
  Slot err;
  if (const Oprj_Query *query = oprj_QueryByExample(toolkit, system.record.get(), err.get()))
    describeSlots(query->proParamsQuerylist, system.record->proParams, text);
  return text;
}

// --- the picture ---

constexpr Colour kSea{0xE9F1F7}, kLand{0xF4F0E6}, kGraticule{0x9EB2C4}, kCoast{0x70787D},
    kOutline{0x405466}, kTitle{0x212B36}, kText{0x616E78};

/// Where title, text and map stand on the page, all from its width.
struct Layout {
  static constexpr double kTitleLeading = 1.3, kTextLeading = 1.4;  // of the size

  explicit Layout(int width, const Box &window, const std::string &title, const std::string &text)
      : margin(width * 0.035), titleSize(width * 0.03), textSize(width * 0.0165) {
    const auto measure = makePage(true, width, width);
    const double wide = width - 2 * margin;
    titleLines = measure->wrapped(title, titleSize, true, wide);
    textLines = measure->wrapped(text, textSize, false, wide);
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

std::string pictureOf(const Map &map, const Layout &layout, int width, bool svg) {
  const Box &window = map.window;
  const auto onPage = [&](std::vector<Line> lines) {
    for (Line &line : lines) {
      for (Oprj_Point &p : line)
        p = {layout.left + (p.x - window.west) * layout.scale,
             layout.top + (window.north - p.y) * layout.scale};
    }
    return lines;
  };
  const auto cutLines = [&](const std::vector<Line> &lines) {
    std::vector<Line> parts;
    for (const Line &line : lines) clipLine(line, window, parts);
    return onPage(std::move(parts));
  };
  const auto cutRings = [&](const std::vector<Line> &rings) {
    std::vector<Line> parts;
    for (const Line &ring : rings) parts.push_back(clipRing(ring, window));
    return onPage(std::move(parts));
  };

  const auto page = makePage(svg, width, layout.height);
  const double pen = std::max(0.5, width / 1000.0);
  page->fill(cutRings(map.sea), kSea);
  page->fill(cutRings(map.land), kLand);
  page->stroke(cutLines(map.graticule), kGraticule, 0.6 * pen);
  page->stroke(cutLines(map.coast), kCoast, 0.7 * pen);
  page->stroke(cutLines(map.outline), kOutline, 1.2 * pen);
  page->stroke(onPage(borderInside(window, map.sea)), kOutline, 1.2 * pen);

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

Status run(const Options &options, const Console &console) {
  const std::string name = lower(options.output);
  const bool svg = name.ends_with(".svg");
  if (!svg && !name.ends_with(".png"))
    throw Stop(kUsage, options.output + ": the file's name must end in .svg or .png");
  if (options.graticule && std::isnan(*options.graticule))  // no range refuses it
    throw Stop(kUsage, "--graticule: not a number");
  Oint_Toolkit *toolkit = startLibrary(console);
  const System system = readSystem(toolkit, options.system, console);
  const Map map = mapOf(options, system, toolkit, console);
  Slot err;
  const OwnedText description(oprj_ProjectionDescribe(toolkit, system.record.get(), err.get()));
  if (!description) throw Stop(kUnusable, err.text());
  const Layout layout(options.width, map.window, options.title.value_or(description.get()),
                      parametersOf(system, toolkit));
  if (layout.height > Page::kMostHeight)
    throw Stop(kUsage,
               "--width " + std::to_string(options.width) + ": the picture would be too high");
  console.detail("map at " + numberText(layout.left, 3) + ", " + numberText(layout.top, 3) +
                 " on the page; pixels in a unit of the sheet: " + numberText(layout.scale));
  writeFile(options.output, pictureOf(map, layout, options.width, svg));
  return kGood;
}

}  // namespace
}  // namespace draw

void addDraw(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "draw", "Draw a map: outline, graticule and coastlines in a coordinate system");
  auto options = std::make_shared<draw::Options>();
  command->add_option("system", options->system, "Coordinate system")->required()->type_name("CS");
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
  command->add_option("--title", options->title, "Title (default: the system's description)")
      ->type_name("TEXT");
  command->footer(kSystemHelp);
  command->callback([options, &console, &action] {
    action = [options, &console] { return draw::run(*options, console); };
  });
}

}  // namespace program
