// Maps that the program draws, of every projection of the gallery: lines are where the projection
// puts them and nowhere else, land and sea have their colours, and what cannot be drawn is told.
#include <cairo.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <unordered_map>

#include "apps/draw_trace.h"
#include "tests/program_support.h"

namespace {

using namespace orvik::test;

struct Point {
  double x, y;
};
using Line = std::vector<Point>;

struct Row {
  std::string system;
  bool whole;  ///< the map shows the whole globe
  std::string graticule = "";
};

/// The systems of the gallery, with few lines where much of the globe is shown, and other aspects
/// of some: over poles and the antimeridian, southern, two-point and orbit forms.
std::vector<Row> systems() {
  const std::set<std::string> near = {"1",  "2",  "9",  "20", "21", "22", "23",
                                      "25", "36", "54", "64", "65", "66"},
                              partial = {"4",  "5",  "6",  "10", "13", "14", "15", "26", "33",
                                         "50", "51", "53", "55", "63", "67", "68", "69"};
  const std::string sphere = "; spheroid=GRS 1980 Authalic Sphere", world = "--graticule 30";
  std::vector<Row> rows = {
      {"UTM; zone=1; datum=WGS 84", false},
      {"UTM; zone=60S; datum=WGS 84", false},
      {"State Plane; zone=5001; nad=83", false, "--graticule 2"},
      {"Lambert Conformal Conic; datum=WGS 84; lat_1=-20; lat_2=-40; lon_0=135; lat_0=-30", false,
       world},
      {"Lambert Conformal Conic; datum=WGS 84; lat_1=89; lat_2=88; lon_0=0", false, world},
      {"Polar Stereographic; datum=WGS 84; lon_0=100; lat_ts=-71", false, world},
      {"Polyconic; datum=WGS 84; lon_0=180; lat_0=0", true, world},
      {"Lambert Azimuthal Equal-area; lat_0=-90; lon_0=33" + sphere, true, world},
      {"Azimuthal Equidistant; lat_0=0; lon_0=180" + sphere, true, world},
      {"Orthographic; lat_0=0; lon_0=0" + sphere, false, world},
      {"Sinusoidal; a=1; b=1; lon_0=77; x_0=1e5", true, world},
      {"Oblique Mercator (Hotine); datum=WGS 84; k_0=1; lat_0=40; lon_1=-120; lat_1=30; lon_2=-60; "
       "lat_2=50",
       false},
      {"Hotine Oblique Mercator (azimuth, centre); datum=WGS 84; k_0=0.9999; azimuth=323.1301; "
       "lon_0=-133.6667; lat_0=57",
       false},
      {"SOM (generic); datum=WGS 84; p12=0; p3=99d; p4=-60d; p8=103; p10=1", false},
      {"Oblated Equal Area; p2=3; p3=2.5; lon_0=20; lat_0=30; p8=30d" + sphere, false, world},
  };
  std::istringstream script(readFile(OPRJ_SOURCE_DIR "/docs/gallery/make.sh"));
  for (std::string line; std::getline(script, line);) {
    const size_t bar = line.find('|');
    if (bar == 0 || bar == std::string::npos || line.find_first_not_of("0123456789") != bar)
      continue;
    const std::string number = line.substr(0, bar);
    const bool isNear = near.contains(number);
    rows.push_back(
        {line.substr(bar + 1), !isNear && !partial.contains(number), isNear ? "" : world});
  }
  EXPECT_EQ(rows.size(), 15u + 70u);
  return rows;
}

/// What -v tells of where the map stands on the page.
struct Placement {
  double west = 0, south = 0, east = 0, north = 0;  // the sheet
  double lonStep = 0, latStep = 0;                  // degrees
  double left = 0, top = 0, scale = 0;              // pixels
  Point onPage(Point sheet) const {
    return {left + (sheet.x - west) * scale, top + (north - sheet.y) * scale};
  }
  /// The box around two points reaches into the window.
  bool shows(Point a, Point b) const {
    return std::max(a.x, b.x) > west && std::min(a.x, b.x) < east && std::max(a.y, b.y) > south &&
           std::min(a.y, b.y) < north;
  }
};

/// True images of lines as short segments on the page, found by place.
class Truth {
 public:
  void add(Point a, Point b) {
    constexpr double kPage = 4000;  // pixels: nothing on a page is as long
    if (!(std::fabs(a.x - b.x) < kPage && std::fabs(a.y - b.y) < kPage)) return;
    const size_t index = segments_.size();
    segments_.push_back({a, b});
    for (int x = cell(std::min(a.x, b.x)); x <= cell(std::max(a.x, b.x)); ++x) {
      for (int y = cell(std::min(a.y, b.y)); y <= cell(std::max(a.y, b.y)); ++y)
        cells_[key(x, y)].push_back(index);
    }
  }
  /// To the nearest segment, as far as kCell pixels.
  double distance(Point p) const {
    double nearest = kCell;
    for (int x = cell(p.x) - 1; x <= cell(p.x) + 1; ++x) {
      for (int y = cell(p.y) - 1; y <= cell(p.y) + 1; ++y) {
        const auto found = cells_.find(key(x, y));
        if (found == cells_.end()) continue;
        for (const size_t index : found->second) nearest = std::min(nearest, to(index, p));
      }
    }
    return nearest;
  }
  const std::vector<std::pair<Point, Point>> &segments() const { return segments_; }

 private:
  static constexpr double kCell = 2;
  static int cell(double v) { return static_cast<int>(std::floor(v / kCell)); }
  static int64_t key(int x, int y) { return static_cast<int64_t>(x) * 1000003 + y; }
  double to(size_t index, Point p) const {
    const auto &[a, b] = segments_[index];
    const double x = b.x - a.x, y = b.y - a.y, square = x * x + y * y;
    const double part =
        square > 0 ? std::clamp(((p.x - a.x) * x + (p.y - a.y) * y) / square, 0.0, 1.0) : 0;
    const double dx = p.x - a.x - part * x, dy = p.y - a.y - part * y;
    return std::sqrt(dx * dx + dy * dy);
  }
  std::vector<std::pair<Point, Point>> segments_;
  std::unordered_map<int64_t, std::vector<size_t>> cells_;
};

class Draw : public ProgramTest {
 protected:
  /// What any drawing may take: 5 s of a processor and 200 MB.
#ifdef __SANITIZE_ADDRESS__  // takes terabytes of addresses, and several times as long
  static constexpr const char *kLimits = "prlimit --cpu=25";
#else
  static constexpr const char *kLimits = "prlimit --cpu=5 --data=200000000";
#endif

  Placement draw(const std::string &system, const std::string &options,
                 const std::string &picture) const {
    const Outcome outcome =
        run("-q -v draw '" + system + "' " + options + " -o " + path(picture), "", kLimits);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    Placement p;
    const size_t at = outcome.err.find("sheet from ");
    const std::string told = at == std::string::npos ? "" : outcome.err.substr(at);
    EXPECT_EQ(
        std::sscanf(told.c_str(),
                    "sheet from %lf, %lf to %lf, %lf; graticule every %lf by %lf degrees oprj: map "
                    "at %lf, %lf on the "
                    "page; pixels in a unit of the sheet: %lf",
                    &p.west, &p.south, &p.east, &p.north, &p.lonStep, &p.latStep, &p.left, &p.top,
                    &p.scale),
        9)
        << outcome.err;
    return p;
  }

  /// Degrees to the sheet, through the program's other command; NaN where the projection stops.
  Line project(const std::string &system, const Line &degrees) const {
    std::string datum;  // the same, so that nothing is shifted
    std::istringstream keys(system);
    for (std::string key; std::getline(keys, key, ';');) {
      for (const char *kept : {" datum=", " spheroid=", " nad=", " a=", " b="}) {
        if (key.starts_with(kept)) datum += ";" + key;
      }
    }
    const Outcome outcome = run("-q project --binary --from 'geographic" + datum + "' --to '" +
                                    system + "' -o " + path("sheet"),
                                std::string(reinterpret_cast<const char *>(degrees.data()),
                                            degrees.size() * sizeof(Point)));
    EXPECT_LE(outcome.status, 1) << outcome.err;
    const std::string bytes = readFile(path("sheet"));
    Line sheet(bytes.size() / sizeof(Point));
    std::memcpy(sheet.data(), bytes.data(), sheet.size() * sizeof(Point));
    EXPECT_EQ(sheet.size(), degrees.size());
    if (system.starts_with("Geographic")) {  // its sheet is in radians
      for (Point &p : sheet) p = {p.x * M_PI / 180, p.y * M_PI / 180};
    }
    return sheet;
  }

  /// The images of lines of close points.
  Truth images(const std::string &system, const std::vector<Line> &lines,
               const Placement &place) const {
    Line all;
    for (const Line &line : lines) all.insert(all.end(), line.begin(), line.end());
    Truth truth;
    const Line sheet = project(system, all);
    if (sheet.size() != all.size()) return truth;  // told already
    auto from = sheet.begin();
    for (const Line &line : lines) {
      const auto to = from + static_cast<std::ptrdiff_t>(line.size());
      addImage(Line(from, to), place, truth);
      from = to;
    }
    return truth;
  }

  /// Leaves out jumps: steps several times as long as both of their neighbours. There and where the
  /// projection stops, a line goes on for less than a step: as far as a step straight on.
  static void addImage(const Line &sheet, const Placement &place, Truth &truth) {
    constexpr double kJump = 4, kLeast = 0.05;  // pixels: a step as short is no jump
    Line page;
    for (const Point p : sheet) page.push_back(place.onPage(p));
    const auto step = [&](size_t i) {  // into point i; 0 where there is none
      if (i == 0 || i >= page.size()) return 0.0;
      const double dx = page[i].x - page[i - 1].x, dy = page[i].y - page[i - 1].y;
      const double length = std::sqrt(dx * dx + dy * dy);
      return std::isfinite(length) ? length : 0.0;
    };
    const auto goesOn = [&](size_t i) {
      const double length = step(i);
      return length > 0 && length <= std::max(kLeast, kJump * std::max(step(i - 1), step(i + 1)));
    };
    for (size_t i = 1; i < page.size(); ++i) {
      if (!place.shows(sheet[i - 1], sheet[i]) || !goesOn(i)) continue;
      const Point a = page[i - 1], b = page[i];
      truth.add(goesOn(i - 1) ? a : Point{2 * a.x - b.x, 2 * a.y - b.y},
                goesOn(i + 1) ? b : Point{2 * b.x - a.x, 2 * b.y - a.y});
    }
  }
};

/// The lines of the stroked paths in an SVG: graticule, coast, outline.
std::vector<std::vector<Line>> strokes(const std::string &svg) {
  std::vector<std::vector<Line>> paths;
  for (size_t at = 0; (at = svg.find("<path ", at)) != std::string::npos;) {
    const std::string tag = svg.substr(at, svg.find('>', at) - at);
    at += tag.size();
    if (tag.find("stroke:rgb") == std::string::npos) continue;
    EXPECT_TRUE(tag.find("transform") == std::string::npos ||
                tag.find("matrix(1,0,0,1,0,0)") != std::string::npos);
    std::istringstream data(tag.substr(tag.find(" d=\"") + 4));
    std::vector<Line> &lines = paths.emplace_back();
    for (std::string word; data >> word;) {
      Point p;
      if (word == "M") lines.emplace_back();
      if ((word == "M" || word == "L") && data >> p.x >> p.y) lines.back().push_back(p);
    }
  }
  return paths;
}

/// No vertex and no middle of a segment is farther than `tolerance` pixels from the truth.
void expectNoStrays(const std::vector<Line> &lines, const Truth &truth, double tolerance) {
  size_t points = 0, strays = 0;
  const auto look = [&](Point p) {
    ++points;
    strays += truth.distance(p) > tolerance;
  };
  for (const Line &line : lines) {
    for (size_t i = 0; i < line.size(); ++i) {
      look(line[i]);
      if (i > 0) look({(line[i].x + line[i - 1].x) / 2, (line[i].y + line[i - 1].y) / 2});
    }
  }
  EXPECT_GT(points, 20u);
  EXPECT_EQ(strays, 0u) << "of " << points;
}

/// The meridians and parallels at the multiples of steps, each a line with a point every 0.1
/// degrees.
std::vector<Line> graticule(double lonStep, double latStep) {
  constexpr double kFine = 0.1;
  // Closer and closer to the poles, where a map may bring its meridians together late.
  constexpr double kNearest = 1e-9, kNearer = 0.9;
  std::vector<double> latitudes;
  for (int k = -899; k <= 899; ++k) latitudes.push_back(k * kFine);
  for (double off = kFine * kNearer; off > kNearest; off *= kNearer) latitudes.push_back(90 - off);
  latitudes.push_back(90);
  for (const double lat : std::vector(latitudes))
    if (lat > 89.9) latitudes.push_back(-lat);
  std::sort(latitudes.begin(), latitudes.end());
  std::vector<Line> lines;
  const int east = static_cast<int>(180 / lonStep), north = static_cast<int>(89.999 / latStep);
  for (int i = -east; i <= east; ++i) {
    Line &line = lines.emplace_back();
    for (const double lat : latitudes) line.push_back({i * lonStep, lat});
  }
  for (int i = -north; i <= north; ++i) {
    Line &line = lines.emplace_back();
    for (int k = -1800; k <= 1800; ++k) line.push_back({k * kFine, i * latStep});
  }
  return lines;
}

// Each vertex of the drawn graticule, and the middle of each segment, lies on the image of a
// meridian or a parallel that is computed point by point. A line across a gap, a jump at the
// antimeridian, a chord through the far side or a line that misses its curve would stray;
// coastlines are drawn in the same way. The other way round, maps of the whole globe show all of
// the graticule.
TEST_F(Draw, LinesOfAllFamiliesAreWhereTheProjectionPutsThem) {
  constexpr double kTolerance = 0.5;  // pixels
  for (const Row &row : systems()) {
    SCOPED_TRACE(row.system);
    const Placement place = draw(row.system, "--width 800 --no-coast " + row.graticule, "map.svg");
    const auto paths = strokes(readFile(path("map.svg")));
    ASSERT_EQ(paths.size(), 2u);
    const Truth net = images(row.system, graticule(place.lonStep, place.latStep), place);
    expectNoStrays(paths[0], net, kTolerance);
    if (!row.whole) continue;
    Truth drawn;
    for (const auto &path : paths) {
      for (const Line &line : path) {
        for (size_t k = 1; k < line.size(); ++k) drawn.add(line[k - 1], line[k]);
      }
    }
    size_t missing = 0;
    for (const auto &[a, b] : net.segments()) missing += drawn.distance(a) > kTolerance + 0.25;
    EXPECT_LE(missing, net.segments().size() / 1000) << "of " << net.segments().size();
  }
}

/// A picture's pixels.
class Picture {
 public:
  explicit Picture(const std::string &path)
      : surface_(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {
    EXPECT_EQ(cairo_surface_status(surface_.get()), CAIRO_STATUS_SUCCESS) << path;
  }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }
  /// 's'ea, 'l'and, or '-' where paper or lines are.
  char at(Point p) const {
    const int x = static_cast<int>(p.x), y = static_cast<int>(p.y);
    if (x < 0 || y < 0 || x >= width() || y >= height()) return '-';
    const unsigned char *row = cairo_image_surface_get_data(surface_.get()) +
                               y * cairo_image_surface_get_stride(surface_.get());
    uint32_t pixel;
    std::memcpy(&pixel, row + 4 * x, sizeof pixel);
    switch (pixel & 0xFFFFFF) {
      case 0xE9F1F7:
        return 's';
      case 0xF4F0E6:
        return 'l';
      default:
        return '-';
    }
  }

 private:
  std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t *)> surface_;
};

// Places well inside of lands and seas, among them an inland sea and both poles, whose
// surroundings every cut of the globe must close rightly. None is on a multiple of 5 degrees.
TEST_F(Draw, LandAndSeaHaveTheirColours) {
  constexpr struct {
    double lon, lat;
    char kind;
  } kPlaces[] = {{14, 22, 'l'},      {13, 39.5, 's'},     {22, 6, 'l'},        {-57, -12, 'l'},
                 {-67, -33, 'l'},    {-103, 38, 'l'},     {-107, 56, 'l'},     {98, 64, 'l'},
                 {127, 62, 'l'},     {84, 33, 'l'},       {78, 22, 'l'},       {134, -24, 'l'},
                 {-42, 74, 'l'},     {173, 67, 'l'},      {-152, 66, 'l'},     {2, -88, 'l'},
                 {-101, -81, 'l'},   {101, -72, 'l'},     {51.4, 40.4, 's'},   {2, 88.5, 's'},
                 {-152, 11, 's'},    {-172, -41, 's'},    {172, 21, 's'},      {-37, 27, 's'},
                 {-18, -28, 's'},    {77, -22, 's'},      {-52, 57, 's'},      {-146, 47, 's'},
                 {-178, 57, 's'},    {-86, 59, 's'},      {-91, 24, 's'},      {-79.4, 27.3, 's'},
                 {-81.5, 27.7, 'l'}, {-83.7, 27, 's'},    {18, 3, 'l'},        {3, 1, 's'},
                 {127, 23, 's'},     {114, 1, 'l'},       {-176, 67.5, 'l'},   {175.7, -38.7, 'l'},
                 {177, -32, 's'},    {-130.5, 57.5, 'l'}, {-138.4, 56.5, 's'}, {19.3, 47.3, 'l'},
                 {19.3, 56.3, 's'}};
  Line degrees;
  for (const auto &place : kPlaces) degrees.push_back({place.lon, place.lat});
  for (const Row &row : systems()) {
    SCOPED_TRACE(row.system);
    const Placement place = draw(row.system, "--width 700", "map.png");
    const Picture picture(path("map.png"));
    EXPECT_EQ(picture.width(), 700);
    const Line sheet = project(row.system, degrees);
    int seen[2] = {0, 0};
    for (size_t i = 0; i < sheet.size(); ++i) {
      if (!place.shows(sheet[i], sheet[i])) continue;
      const char kind = picture.at(place.onPage(sheet[i]));
      if (kind == '-') continue;  // beyond the edge, or under a line
      EXPECT_EQ(kind, kPlaces[i].kind) << kPlaces[i].lon << " " << kPlaces[i].lat;
      ++seen[kind == 'l'];
    }
    EXPECT_GE(seen[0], 1) << "no place at sea was seen";
    EXPECT_GE(seen[1], 1) << "no place on land was seen";
  }
}

// The tables of domains keep lines away from most of what this is for: a sheet cut anywhere else is
// found by its tears and stops alone, and lines reach up to them.
TEST(DrawTrace, ALineBreaksWhereTheSheetTearsOrEnds) {
  using namespace program;
  using namespace program::draw;
  using program::draw::Line;
  Oint_Toolkit *toolkit = startLibrary(Console{});
  const auto traced = [&](const char *name, const Patch &patch, const Line &globe) {
    orvik::test::Slot slot;
    const OwnedRecord record(oprj_ProParametersCreateByName(toolkit, name, slot));
    oprj_DblArrayCreate(15, &record->proParams, slot);
    oprj_SpheroidByAxes(toolkit, 1, 1, record->proSpheroid, slot);
    Oprj_MapProjectionEx *made = nullptr;
    oprj_ProjectionInit(toolkit, record.get(), &made, slot);
    const Sheet sheet{OwnedHandle(made)};
    Tracer tracer(sheet, kEverything, 1e-4, kDegree);
    std::vector<Line> images;
    for (const Line &part : patch.parts(globe)) tracer.line(patch, part, images);
    return images;
  };
  const double pi = program::draw::kPi;
  // The whole globe as if Goode's map had no lobes: the parallel of 30 degrees south has four
  // parts.
  const Patch whole = Patch::rectangle(Frame::upright(0), {-pi, -pi / 2, pi, pi / 2});
  const auto lobes =
      traced("Interrupted Goode Homolosine", whole,
             densified({{-pi, -30 * kDegree}, {pi, -30 * kDegree}}, 3 * kDegree, 3 * kDegree));
  const double edges[] = {-180, -100, -20, 80, 180}, meridians[] = {-160, -60, 20, 140};
  ASSERT_EQ(lobes.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    const auto at = [&](double lon) {
      return (meridians[i] + (lon - meridians[i]) * std::cos(30 * kDegree)) * kDegree;
    };
    EXPECT_NEAR(lobes[i].front().x, at(edges[i]), 1e-8);
    EXPECT_NEAR(lobes[i].back().x, at(edges[i + 1]), 1e-8);
  }
  // The equator beyond the limb of an orthographic map: one part, from limb to limb.
  const auto disc = traced("Orthographic", whole, densified({{-pi, 0}, {pi, 0}}, 7 * kDegree, 1));
  ASSERT_EQ(disc.size(), 1u);
  EXPECT_NEAR(disc[0].front().x, -1, 1e-8);
  EXPECT_NEAR(disc[0].back().x, 1, 1e-8);
}

TEST_F(Draw, ObeysItsOptions) {
  const std::string system = "Mollweide; datum=WGS 84";
  const Placement plain = draw(system, "--width 300", "plain.svg");
  EXPECT_EQ(plain.lonStep, 15);
  EXPECT_EQ(draw(system, "--width 300 --graticule 30", "coarse.svg").latStep, 30);
  const std::string svg = readFile(path("plain.svg"));
  EXPECT_NE(svg.find("width=\"300px\""), std::string::npos);
  const auto all = strokes(svg), coarse = strokes(readFile(path("coarse.svg")));
  // Meridians from -165 to 165 and parallels from -75 to 75; those at +-180 are the outline.
  EXPECT_EQ(all[0].size(), 23u + 11u);
  EXPECT_EQ(coarse[0].size(), 11u + 5u);
  draw(system, "--width 300 --no-coast", "bare.svg");
  EXPECT_EQ(strokes(readFile(path("bare.svg"))).size() + 1, all.size());
  // The same arguments give the same bytes, a title other ones; the extension may be in capitals.
  draw(system, "--width 300", "again.SVG");
  EXPECT_EQ(readFile(path("again.SVG")), svg);
  draw(system, "--width 300 --title 'Über <&> 世'", "title.svg");
  EXPECT_NE(readFile(path("title.svg")), svg);
  const std::string parse =
      "python3 -c 'import sys, xml.dom.minidom as xml; xml.parse(sys.argv[1])' ";
  EXPECT_EQ(std::system((parse + path("title.svg")).c_str()), 0);
  draw(system, "--width 300 --title ''", "title.png");
  draw(system, "--width 300", "plain.png");
  EXPECT_LT(Picture(path("title.png")).height(), Picture(path("plain.png")).height());
}

TEST_F(Draw, TellsWhatCannotBeDone) {
  ASSERT_EQ(symlink("/dev/full", path("full.png").c_str()), 0);
  const struct {
    const char *arguments, *output;
    int status;
    const char *message;
  } cases[] = {
      {"Hammer; datum=WGS 84", "map.gif", 2, "must end in .svg or .png"},
      {"Hammer; datum=WGS 84", "svg", 2, "must end in .svg or .png"},
      {"Hammer; datum=WGS 84' --width '10", "map.svg", 2, "--width"},
      {"Hammer; datum=WGS 84' --width '1e9", "map.svg", 2, "--width"},
      {"Hammer; datum=WGS 84' --graticule '0", "map.svg", 2, "--graticule"},
      {"Hammer; datum=WGS 84' --graticule 'nan", "map.svg", 2, "--graticule"},
      {"Hammer; datum=WGS 84' --graticule 'x", "map.svg", 2, "--graticule"},
      {"Hammer; datum=WGS 84' --title 'a\xFF", "map.svg", 2, "UTF-8"},
      {"Hamer; datum=WGS 84", "map.svg", 3, "did you mean \"Hammer\""},
      {"Albers Conical Equal Area; datum=WGS 84; lat_1=30; lat_2=-30", "map.svg", 3,
       "Equal latitudes"},
      {"Hammer; datum=WGS 84", "nowhere/map.svg", 4, "No such file or directory"},
      {"Hammer; datum=WGS 84", "full.png", 4, "No space left on device"},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.arguments);
    const Outcome outcome = run(std::string("draw '") + row.arguments + "' -o " + path(row.output));
    EXPECT_EQ(outcome.status, row.status) << outcome.err;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::is_regular_file(path(row.output)));
  }
  EXPECT_EQ(run("draw 'Hammer; datum=WGS 84'").status, 2);
}

// A drawing costs what its picture shows, whatever the parameters, and what no picture can show is
// told.
TEST_F(Draw, CostsAreThoseOfAPicture) {
#ifdef __SANITIZE_ADDRESS__
  std::puts("memory is not limited: the address sanitizer is on");
#endif
  const std::string tiny = "less than a minute of arc", axes = "the map cannot be drawn: it is",
                    offset = "Improper parameter", intricate = "its lines bend or tear without end",
                    lines = "its lines are too many";
  const auto perspective = [](const std::string &h, const std::string &lat = "20") {
    return "General Vertical Near-side Perspective; spheroid=GRS 1980 Authalic Sphere; lon_0=-80; "
           "lat_0=" +
           lat + "; h=" + h;
  };
  struct Hostile {
    std::string arguments, message = {};
    int status = 3;
    const char *picture = "map.png";
  };
  const std::vector<Hostile> hostile = {
      {perspective("1000"), "", 0},
      {perspective("100", "28.4"), "", 0},
      {perspective("100", "90"), "", 0},
      {perspective("1", "-89.9999"), "", 0},
      {perspective("1e-3"), tiny},
      {perspective("1e-9"), tiny},
      {perspective("1e30"), "", 0},
      {"Mercator; datum=WGS 84; x_0=1e12", "", 0},
      {"Mercator; datum=WGS 84; x_0=1e15", offset},
      {"Sinusoidal; a=1e-120; b=1e-120", axes},
      {"Transverse Mercator; datum=WGS 84; k_0=1e-30", "", 0},
      {"Transverse Mercator; datum=WGS 84; k_0=1e-30; x_0=5e5", offset},
      {"Lambert Conformal Conic; datum=WGS 84; lat_1=30; lat_2=-29.9999999", "", 0},
      {"Albers Conical Equal Area; datum=WGS 84; lat_1=30; lat_2=-29.9999999", "", 0},
      {"Equidistant Conic; datum=WGS 84; lat_1=89.9999999; lat_2=89.9999999", "", 0},
      {"Lambert Conformal Conic (single standard parallel); datum=WGS 84; lat_0=1e-6", "", 0},
      {"Oblated Equal Area; spheroid=GRS 1980 Authalic Sphere; p2=1.33; p3=1e6", "", 0},
      {"Oblique Mercator (Hotine); a=6378137; b=1; azimuth=53; lat_0=4", intricate},
      {"Mollweide; datum=WGS 84' --graticule '0.1", lines, 2},
      {"Mollweide; datum=WGS 84' --width 10000 --graticule '0.5", "", 0, "map.svg"},
      {"Mollweide; datum=WGS 84' --width '10000", "too large", 2},
      {"Polar Stereographic; datum=WGS 84; lat_ts=71' --width 3700 --graticule '0.5", "", 0},
  };
  for (const Hostile &row : hostile) {
    SCOPED_TRACE(row.arguments);
    std::filesystem::remove(path(row.picture));
    const Outcome outcome =
        run("-q draw '" + row.arguments + "' -o " + path(row.picture), "", kLimits);
    EXPECT_EQ(outcome.status, row.status) << outcome.err;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    EXPECT_EQ(std::filesystem::exists(path(row.picture)), row.status == 0);
  }
}

// The coastlines lie beside the dictionary; a folder without them is filled in from the installed
// ones, but a damaged file is never passed over.
TEST_F(Draw, TellsWhereTheCoastlinesAreDamaged) {
  for (const char *name : {"mapprojections.dat", "sptable.tab", "spheroid.tab"})
    folder_.write(name, readFile(std::string(OPRJ_SOURCE_DIR "/data/") + name));
  const std::string environment = "ORVIK_PROJECTIONS_PATH=" + folder_.path();
  const std::string command = "-q draw 'Hammer; datum=WGS 84' --width 300 -o " + path("map.svg");
  EXPECT_EQ(run(command, "", environment).status, 0);
  const struct {
    const char *text, *message;
  } cases[] = {
      {"2\n1 2 3 4\n2\n1 2 3", "coastline-110m.txt:4: the file ends in the middle of a polyline"},
      {"# c\n2 # d\n1 2 3 x4\n", "coastline-110m.txt:3: not a number"},
      {"2\n1 2 3 90.5\n", "coastline-110m.txt:2: a coordinate out of range"},
      {"2\n1 2 nan 4\n", "coastline-110m.txt:2: "},
      {"1\n1 2\n", "coastline-110m.txt:1: not a number of points"},
      {"2.5\n1 2\n", "coastline-110m.txt:1: not a number of points"},
      {"-3\n", "coastline-110m.txt:1: not a number of points"},
      {"1e300\n", "coastline-110m.txt:1: not a number of points"},
  };
  for (const auto &row : cases) {
    folder_.write("coastline-110m.txt", row.text);
    const Outcome outcome = run(command, "", environment);
    EXPECT_EQ(outcome.status, 3) << row.text;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << row.text << outcome.err;
  }
  EXPECT_EQ(run(command + " --no-coast", "", environment).status, 0);
  folder_.write("coastline-110m.txt", "");
  EXPECT_EQ(run(command, "", environment).status, 0);
}

}  // namespace
