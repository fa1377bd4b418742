// GeoTIFF in the manner of PROJ's "Geodetic TIFF grids" [PROJ-GTG]: an image is a sub-grid, its
// samples are shifts, accuracies or heights, and items of its metadata say which.
//
//   TYPE                HORIZONTAL_OFFSET, VERTICAL_OFFSET_...
//   grid_name, parent_grid_name
//   DESCRIPTION of a sample: latitude_offset, longitude_offset, ..._accuracy, geoid_undulation, ...
//   UNITTYPE, positive_value (east, west), SCALE, OFFSET of a sample
//
// Without descriptions the first sample is the shift in latitude and the second that in longitude;
// a lone one is taken as it stands. Places come from pixel scale and tie point, or from a matrix.
#include <oprj/odll.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/tiff_module.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

using Library = toolkit::Owner<Odll_Library, odll_Close>;

bool recognise(const Fields &file) {
  using namespace std::literals;
  // Both byte orders, of TIFF and of BigTIFF.
  return file.startsWith("II*\0"sv) || file.startsWith("MM\0*"sv) || file.startsWith("II+\0"sv) ||
         file.startsWith("MM\0+"sv);
}

/// The module; it stays loaded when the library is closed.
const TiffModule *openModule(Library &library, ErrorScope &e) {
  library.reset(odll_Open(kTiffModule, e.cause()));
  const void *table = library ? odll_FindIfPresent(library.get(), kTiffModuleTable) : nullptr;
  if (!table) e.fail(kGridMeaning, "The module that reads TIFF files cannot be loaded");
  return static_cast<const TiffModule *>(table);
}

/// The items of an image's metadata, by name and sample (-1: of the image).
class Metadata {
 public:
  explicit Metadata(std::string_view xml) {
    constexpr std::string_view kItem = "<Item", kEnd = "</Item>";
    for (size_t at = 0; (at = xml.find(kItem, at)) != xml.npos;) {
      const size_t open = xml.find('>', at), close = xml.find(kEnd, at);
      if (open == xml.npos || close == xml.npos || close < open) break;
      const std::string_view head = xml.substr(at, open - at);
      const std::string sample = attribute(head, "sample");
      constexpr int kMostDigits = 4;
      const bool numbered =
          !sample.empty() && sample.size() <= kMostDigits &&
          std::all_of(sample.begin(), sample.end(), [](char c) { return c >= '0' && c <= '9'; });
      items_[{attribute(head, "name"), numbered ? std::stoi(sample) : -1}] =
          plain(xml.substr(open + 1, close - open - 1));
      at = close + kEnd.size();
    }
  }
  std::string of(const char *name, int sample = -1) const {
    const auto found = items_.find({name, sample});
    return found == items_.end() ? std::string() : found->second;
  }
  double number(const char *name, int sample, double without) const {
    const std::string text = of(name, sample);
    return text.empty() ? without : std::strtod(text.c_str(), nullptr);
  }

 private:
  static std::string attribute(std::string_view head, const char *name) {
    const std::string key = std::string(" ") + name + "=\"";
    const size_t from = head.find(key);
    if (from == head.npos) return {};
    const size_t to = head.find('"', from + key.size());
    return plain(head.substr(from + key.size(), to - from - key.size()));
  }
  static std::string plain(std::string_view text) {
    constexpr struct {
      std::string_view escape;
      char character;
    } kEscapes[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}};
    std::string result;
    while (!text.empty()) {
      const auto *escape =
          std::find_if(std::begin(kEscapes), std::end(kEscapes),
                       [&](const auto &candidate) { return text.starts_with(candidate.escape); });
      const bool found = escape != std::end(kEscapes);
      result += found ? escape->character : text.front();
      text.remove_prefix(found ? escape->escape.size() : 1);
    }
    return result;
  }

  std::map<std::pair<std::string, int>, std::string> items_;
};

/// Keys of the GeoKey directory: records of key, place, count, value behind one of version and
/// count.
std::optional<uint16_t> geoKey(const TiffImage &image, uint16_t key) {
  for (size_t at = 4; at + 3 < image.geoKeys.size(); at += 4)
    if (image.geoKeys[at] == key && image.geoKeys[at + 1] == 0) return image.geoKeys[at + 3];
  return {};
}
constexpr uint16_t kModelType = 1024, kGeographicModel = 2, kRasterType = 1025, kPixelIsPoint = 2,
                   kGeographicType = 2048, kWgs84 = 4326;

/// Of the node in the upper left; steps to the right and downwards.
struct Places {
  double x = 0, y = 0, xStep = 0, yStep = 0;
};

bool readPlaces(const TiffImage &image, Places &places, ErrorScope &e) {
  if (const auto model = geoKey(image, kModelType); model && *model != kGeographicModel)
    return e.fail(kGridMeaning, "Its places are not longitudes and latitudes");
  if (image.matrix.size() >= 8) {
    const std::vector<double> &m = image.matrix;
    if (m[1] != 0 || m[4] != 0) return e.fail(kGridMeaning, "The grid is turned");
    places = {m[3], m[7], m[0], m[5]};
  } else if (image.pixelScale.size() >= 2 && image.tiePoints.size() >= 6) {
    const std::vector<double> &t = image.tiePoints;
    places = {0, 0, image.pixelScale[0], -image.pixelScale[1]};
    places.x = t[3] - t[0] * places.xStep;
    places.y = t[4] - t[1] * places.yStep;
  } else {
    return e.fail(kGridBounds, "It does not say where the grid lies");
  }
  if (geoKey(image, kRasterType).value_or(1) != kPixelIsPoint) {  // else corners of pixels
    places.x += places.xStep / 2;
    places.y += places.yStep / 2;
  }
  return true;
}

/// What the samples are: index of the shifts in longitude and latitude and of their accuracies, or
/// of the metres; -1: none.
struct Samples {
  int index[4] = {-1, -1, -1, -1};
  bool metres = false;
};

bool readSamples(const TiffImage &image, const Metadata &data, Samples &samples, ErrorScope &e) {
  constexpr const char *kShifts[] = {"longitude_offset", "latitude_offset",
                                     "longitude_offset_accuracy", "latitude_offset_accuracy"};
  constexpr const char *kMetres[] = {"geoid_undulation", "vertical_offset", "hydroid_height",
                                     "ellipsoidal_height_offset"};
  bool described = false;
  int metres = -1;
  for (int i = 0; i < image.samples; ++i) {
    const std::string text = data.of("DESCRIPTION", i);
    described = described || !text.empty();
    for (int k = 0; k < 4; ++k) {
      if (text == kShifts[k] && samples.index[k] < 0) samples.index[k] = i;
      if (text == kMetres[k] && metres < 0) metres = i;
    }
  }
  if (!described && image.samples >= 2) {
    samples.index[0] = 1;
    samples.index[1] = 0;
  } else if (samples.index[0] < 0 || samples.index[1] < 0) {
    samples.metres = true;
    samples.index[0] = described ? metres : 0;
    samples.index[1] = samples.index[2] = samples.index[3] = -1;
    if (samples.index[0] < 0)
      return e.fail(kGridMeaning,
                    "Its samples are neither shifts in longitude and latitude nor "
                    "heights");
  }
  return true;
}

/// Arc-seconds (or metres) in a sample's unit; 0: not known.
double unitOf(const Metadata &data, int sample, bool metres) {
  const std::string unit = data.of("UNITTYPE", sample);
  if (metres) return unit.empty() || unit == "metre" || unit == "meter" || unit == "m" ? 1 : 0;
  return unit.empty() || unit == "arc-second" ? 1
         : unit == "degree"                   ? kSecondsPerDegree
         : unit == "radian"                   ? kSecondsPerRadian
                                              : 0;
}

bool addImage(TiffImage &image, const std::string &firstType, GridContent &content,
              std::vector<std::string> &parents, ErrorScope &e) {
  const Metadata data(image.metadata);
  const std::string ownType = data.of("TYPE"), &type = ownType.empty() ? firstType : ownType;
  if (!type.empty() && type != "HORIZONTAL_OFFSET" && !type.starts_with("VERTICAL_OFFSET"))
    return e.fail(kGridMeaning, "Its type is \"%s\"", type.c_str());
  Places places;
  Samples samples;
  if (!readPlaces(image, places, e) || !readSamples(image, data, samples, e)) return false;
  const int bands = samples.metres ? 1 : 2;
  if (!content.subGrids.empty() && content.bands != bands)
    return e.fail(kGridMeaning, "Some of its images are shifts and some are heights");
  content.bands = bands;

  const size_t plane = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
  const float noValue = image.noValue.empty() ? std::numeric_limits<float>::quiet_NaN()
                                              : std::strtof(image.noValue.c_str(), nullptr);
  std::vector<float> values = std::move(image.values);
  NodeNumbers numbers;
  // Northwards and eastwards from the south-western node, whichever way the image runs.
  const bool fromTop = places.yStep<0, fromLeft = places.xStep> 0;
  constexpr auto kNumber = static_cast<int64_t>(sizeof(float));
  numbers.columnStep = fromLeft ? kNumber : -kNumber;
  numbers.rowStep = (fromTop ? -kNumber : kNumber) * image.width;
  const size_t southWest = (fromTop ? plane - static_cast<size_t>(image.width) : 0) +
                           (fromLeft ? 0 : static_cast<size_t>(image.width) - 1);
  for (int k = 0; k < 4; ++k) {
    const int sample = samples.index[k];
    if (sample < 0) continue;
    const double unit = unitOf(data, sample, samples.metres || k >= 2);
    if (unit == 0 && k < 2)
      return e.fail(kGridMeaning, "The unit of a sample is \"%s\"",
                    data.of("UNITTYPE", sample).c_str());
    if (unit == 0) continue;  // of an accuracy: not known then
    const std::string positive = k == 0 && bands == 2 ? data.of("positive_value", sample) : "";
    if (!positive.empty() && positive != "east" && positive != "west")
      return e.fail(kGridMeaning, "Its longitudes are positive towards \"%s\"", positive.c_str());
    float *const first = values.data() + plane * static_cast<size_t>(sample);
    const double scale = data.number("SCALE", sample, 1), offset = data.number("OFFSET", sample, 0);
    std::transform(first, first + plane, first, [&](float value) {
      if (value == noValue) return std::numeric_limits<float>::quiet_NaN();
      return static_cast<float>(offset + scale * value);
    });
    numbers.first[k] = reinterpret_cast<const unsigned char *>(first + southWest);
    numbers.factor[k] = positive == "west" ? -unit : unit;
  }
  Grid grid{data.of("grid_name"),
            -1,
            0,
            0,
            0,
            0,
            std::fabs(places.xStep),
            std::fabs(places.yStep),
            image.width,
            image.height,
            false};
  grid.west = places.x + (fromLeft ? 0 : (image.width - 1) * places.xStep);
  grid.east = grid.west + (image.width - 1) * grid.lonStep;
  grid.south = places.y + (fromTop ? (image.height - 1) * places.yStep : 0);
  grid.north = grid.south + (image.height - 1) * grid.latStep;
  parents.push_back(data.of("parent_grid_name"));
  content.decoded.push_back(std::move(values));
  return content.add(std::move(grid), numbers, e);
}

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  Library library;
  const TiffModule *module = openModule(library, e);
  if (!module) return false;
  std::string reason, type;
  std::vector<std::string> parents;
  const bool good = module->read(file.at(0), file.size(), reason, [&](TiffImage &image) {
    if (content.subGrids.empty()) type = Metadata(image.metadata).of("TYPE");
    return addImage(image, type, content, parents, e);
  });
  if (!good) return e.failed() ? false : bool(e.fail(kGridCut, "%s", reason.c_str()));
  return content.setParents(parents, "", e);
}

std::string item(const char *name, const std::string &value, int sample = -1) {
  std::string escaped;
  for (const char c : value)
    escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
  std::string role = name;
  std::transform(role.begin(), role.end(), role.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
  });
  const std::string of =
      sample < 0 ? "" : " sample=\"" + std::to_string(sample) + "\" role=\"" + role + "\"";
  return std::string("  <Item name=\"") + name + "\"" + of + ">" + escaped + "</Item>\n";
}

TiffImage imageOf(const GridContent &content, size_t index, const std::string &name,
                  const std::string &parent) {
  const Grid &grid = content.subGrids[index];
  const NodeNumbers &numbers = content.nodes[index];
  struct Sample {
    int band;
    const char *description, *unit;
  };
  std::vector<Sample> samples;
  if (content.bands == 1) samples = {{0, "geoid_undulation", "metre"}};
  else samples = {{1, "latitude_offset", "arc-second"}, {0, "longitude_offset", "arc-second"}};
  if (content.bands == 2 && numbers.first[2] && numbers.first[3])
    samples.insert(samples.end(), {{3, "latitude_offset_accuracy", "metre"},
                                   {2, "longitude_offset_accuracy", "metre"}});
  TiffImage image;
  image.width = grid.columns;
  image.height = grid.rows;
  image.samples = static_cast<int32_t>(samples.size());
  image.pixelScale = {grid.lonStep, grid.latStep, 0};
  image.tiePoints = {0, 0, 0, grid.west, grid.north, 0};
  image.geoKeys = {1,
                   1,
                   0,
                   3,
                   kModelType,
                   0,
                   1,
                   kGeographicModel,
                   kRasterType,
                   0,
                   1,
                   kPixelIsPoint,
                   kGeographicType,
                   0,
                   1,
                   kWgs84};
  image.metadata = "<GDALMetadata>\n" +
                   item("TYPE", content.bands == 1 ? "VERTICAL_OFFSET_GEOGRAPHIC_TO_VERTICAL"
                                                   : "HORIZONTAL_OFFSET") +
                   item("grid_name", name) +
                   (parent.empty() ? "" : item("parent_grid_name", parent));
  const size_t plane = static_cast<size_t>(grid.columns) * static_cast<size_t>(grid.rows);
  image.values.resize(plane * samples.size());
  for (int32_t row = 0; row < grid.rows; ++row) {
    for (int32_t column = 0; column < grid.columns; ++column) {
      float node[4];
      content.node(static_cast<int32_t>(index), column, row, node);
      float *at = image.values.data() +
                  static_cast<size_t>(grid.rows - 1 - row) * static_cast<size_t>(grid.columns) +
                  static_cast<size_t>(column);
      for (size_t s = 0; s < samples.size(); ++s) at[plane * s] = node[samples[s].band];
    }
  }
  for (int s = 0; s < image.samples; ++s) {
    const Sample &sample = samples[static_cast<size_t>(s)];
    image.metadata += item("DESCRIPTION", sample.description, s) + item("UNITTYPE", sample.unit, s);
    if (content.bands == 2 && sample.band == 0)
      image.metadata +=
          "  <Item name=\"positive_value\" sample=\"" + std::to_string(s) + "\">east</Item>\n";
  }
  image.metadata += "</GDALMetadata>";
  return image;
}

bool write(const GridContent &content, GridOutput &output, ErrorScope &e) {
  Library library;
  const TiffModule *module = openModule(library, e);
  if (!module) return false;
  // Readers take the first at the top that contains a point, as in a multi-grid file.
  const auto names = distinctNames(content, 64);
  toolkit::HeapVector<int32_t> parents;
  for (const Grid &grid : content.subGrids) parents.push_back(grid.parent);
  const auto order = parentsFirst(parents);
  std::string bytes, reason;
  size_t done = 0;
  const bool good = module->write(bytes, reason, [&](TiffImage &image) {
    if (done == order.size()) return false;
    const auto index = static_cast<size_t>(order[done++]);
    const int32_t parent = parents[index];
    image =
        imageOf(content, index, names[index], parent < 0 ? "" : names[static_cast<size_t>(parent)]);
    return true;
  });
  if (!good) return e.fail(kGridCounts, "%s", reason.c_str());
  output.bytes(bytes.data(), bytes.size());
  return true;
}

}  // namespace

const GridFormatRow geoTiffFormat = {GridFormat::GeoTiff, "GeoTIFF", recognise, read, write};

}  // namespace orvik::oprj
