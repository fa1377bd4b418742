// oprj grid: what grid files hold, their conversion, their comparison.
#include <oprj/grid_file.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "accuracy.h"
#include "commands.h"
#include "table.h"

namespace program {
namespace {

using OrvikDatum::GridFile;
using OrvikDatum::GridFormat;
using OrvikDatum::GridPlace;
using OrvikDatum::SubGrid;

constexpr double kMetresPerSecond = 6371008.8 * kDegree / 3600;  // of a mean sphere

GridFile::Ptr openGrid(const std::string &path) {
  Slot err;
  GridFile::Ptr file = GridFile::Open(path.c_str(), err.get());
  if (!file) throw Stop(kUnusable, err.text());
  return file;
}

/// How far a shift moves a point, or the height itself: metres.
double metresOf(const float shift[2], double lat, int32_t bands) {
  if (bands == 1) return shift[0];
  return kMetresPerSecond * std::hypot(shift[0] * std::cos(lat * kDegree), shift[1]);
}

/// Over the nodes of a sub-grid.
struct Sizes {
  double least = 0, mean = 0, most = 0;  ///< metres
  double accuracy = -1;                  ///< the worst that the nodes say, metres; -1: they do not
  int64_t nodes = 0, without = 0;        ///< all, and those that have no value
};

Sizes sizesOf(const GridFile &file, int32_t index) {
  const SubGrid &grid = file.GetSubGrids()[static_cast<size_t>(index)];
  Sizes sizes;
  for (int32_t row = 0; row < grid.rows; ++row) {
    const double lat = grid.south + row * grid.latStep;
    for (int32_t column = 0; column < grid.columns; ++column) {
      float node[4];
      if (!file.GetNode(index, column, row, node)) continue;
      const double size = metresOf(node, lat, file.GetBandCount());
      ++sizes.nodes;
      if (std::isnan(size)) {
        ++sizes.without;
        continue;
      }
      const auto good = static_cast<double>(sizes.nodes - sizes.without);
      sizes.least = good == 1 ? size : std::min(sizes.least, size);
      sizes.most = good == 1 ? size : std::max(sizes.most, size);
      sizes.mean += (size - sizes.mean) / good;
      sizes.accuracy = std::max({sizes.accuracy, double{node[2]}, double{node[3]}});
    }
  }
  return sizes;
}

/// Sub-grids in the order of a tree, each with its depth; a depth beyond what is sensible ends it.
void addBelow(const GridFile &file, int32_t parent, int depth,
              std::vector<std::pair<int32_t, int>> &order) {
  constexpr int kDeepest = 100;
  const auto &grids = file.GetSubGrids();
  for (size_t i = 0; i < grids.size() && depth < kDeepest; ++i) {
    if (grids[i].parent != parent) continue;
    order.emplace_back(static_cast<int32_t>(i), depth);
    addBelow(file, static_cast<int32_t>(i), depth + 1, order);
  }
}

Status info(const std::string &path, bool json, const Console &console) {
  constexpr int kMetreDigits = 3;
  const GridFile::Ptr file = openGrid(path);
  const Accuracies published = accuraciesBeside(path, console);
  const bool shifts = file->GetBandCount() == 2;
  std::vector<std::pair<int32_t, int>> order;
  addBelow(*file, -1, 0, order);
  Table table({"sub-grid", "parent", "west", "south", "east", "north", "lon step", "lat step",
               "columns", "rows", "least m", "mean m", "most m", "without", "accuracy"});
  if (!json)
    table.add({"sub-grid", "parent", "west", "south", "east", "north", "lon step", "lat step",
               "columns", "rows", "least m", "mean m", "most m", "without", "accuracy"});
  const auto &grids = file->GetSubGrids();
  for (const auto &[index, depth] : order) {
    const SubGrid &g = grids[static_cast<size_t>(index)];
    const Sizes sizes = sizesOf(*file, index);
    std::string accuracy = accuracyText(published, g.name);
    if (accuracy == "unknown" && sizes.accuracy >= 0)
      accuracy = "up to " + numberText(sizes.accuracy, kMetreDigits) + " m (nodes)";
    const auto degrees = [](double value) {
      constexpr int kDigits = 9;  // of bounds that were seconds or radians
      return Cell(std::stod(numberText(value, kDigits)));
    };
    const auto metres = [](double value) {
      return Cell(std::stod(numberText(value, kMetreDigits)));
    };
    const std::string name = g.name.empty() ? "-" : g.name;
    table.add({json ? g.name : std::string(2 * static_cast<size_t>(depth), ' ') + printable(name),
               g.parent < 0 ? (json ? "" : "-") : grids[static_cast<size_t>(g.parent)].name,
               degrees(g.west), degrees(g.south), degrees(g.east), degrees(g.north),
               degrees(g.lonStep), degrees(g.latStep), g.columns, g.rows, metres(sizes.least),
               metres(sizes.mean), metres(sizes.most), Cell(static_cast<double>(sizes.without)),
               accuracy});
  }
  if (!json) {
    std::printf("%s: %s, %s\n", printable(path).c_str(), GetGridFormatName(file->GetFormat()),
                shifts ? "shifts in longitude and latitude" : "one value (metres)");
    if (!file->GetSystemFrom().empty())
      std::printf("from \"%s\" to \"%s\"\n", printable(file->GetSystemFrom()).c_str(),
                  printable(file->GetSystemTo()).c_str());
  }
  table.print(json);
  return kGood;
}

// --- conversion ---

struct FormatName {
  const char *name, *endings;
  GridFormat format;
};
constexpr FormatName kFormatNames[] = {{"multi-grid", ".dat", GridFormat::MultiGrid},
                                       {"ntv2", ".gsb", GridFormat::NTv2},
                                       {"ctable2", ".ct2 .ctable2 .lla", GridFormat::CTable2},
                                       {"gtx", ".gtx", GridFormat::GTX},
                                       {"las", ".las .los", GridFormat::LasLos},
                                       {"geotiff", ".tif .tiff", GridFormat::GeoTiff}};

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const FormatName &format : kFormatNames) names.emplace_back(format.name);
  return names;
}

GridFormat formatOf(const std::string &asked, const std::string &path) {
  const size_t dot = path.rfind('.');
  const std::string ending = dot == path.npos ? "" : lower(path.substr(dot)) + " ";
  for (const FormatName &format : kFormatNames) {
    const std::string endings = std::string(format.endings) + " ";
    if (asked.empty() ? !ending.empty() && endings.find(ending) != endings.npos
                      : asked == format.name)
      return format.format;
  }
  throw Stop(kUsage, path + ": the name's ending says no format; --format does");
}

Status convert(const std::string &in, const std::string &out, const std::string &asked,
               const Console &console) {
  const GridFormat format = formatOf(asked, out);
  const GridFile::Ptr file = openGrid(in);
  int64_t without = 0;
  for (size_t i = 0; i < file->GetSubGrids().size(); ++i)
    without += sizesOf(*file, static_cast<int32_t>(i)).without;
  if (without > 0 && format != GridFormat::GTX && format != GridFormat::GeoTiff)
    console.warn(std::to_string(without) +
                 " nodes have no value, and the format has no number for "
                 "that: they are written as NaN");
  Slot err;
  if (!file->Write(out.c_str(), format, err.get())) {
    constexpr int32_t kCannotHold = 2;
    throw Stop(oerr_CodeGet(err.report()) == kCannotHold ? kUnusable : kInputOutput, err.text());
  }
  return kGood;
}

// --- comparison ---

/// What a file says of a place; false outside.
bool valueAt(const GridFile &file, double lon, double lat, double value[2]) {
  GridPlace p;
  if (!file.FindPlace(lon, lat, p)) return false;
  value[0] = value[1] = 0;
  for (const int32_t up : {0, 1}) {
    for (const int32_t right : {0, 1}) {
      const double part = (right ? p.u : 1 - p.u) * (up ? p.v : 1 - p.v);
      float node[4];
      // a node on the far side of a bound counts nothing, not even when it has no value
      if (part == 0 || !file.GetNode(p.subGrid, p.column + right, p.row + up, node)) continue;
      value[0] += part * node[0];
      value[1] += part * node[1];
    }
  }
  return true;
}

struct Difference {
  double lon, lat;
  double size;  ///< metres
};

Status check(const std::string &pathA, const std::string &pathB, double within, bool json) {
  const GridFile::Ptr a = openGrid(pathA), b = openGrid(pathB);
  if (a->GetBandCount() != b->GetBandCount())
    throw Stop(kUnusable, pathA + " and " + pathB + ": one holds shifts, the other heights");
  int64_t nodes = 0, outside = 0, inOne = 0, beyond = 0;
  Difference worst{0, 0, 0};
  double squares = 0;
  for (const SubGrid &g : a->GetSubGrids()) {
    for (int32_t row = 0; row < g.rows; ++row) {
      for (int32_t column = 0; column < g.columns; ++column) {
        // the bounds themselves, not what sums of steps make of them
        const double lon = column == g.columns - 1 ? g.east : g.west + column * g.lonStep;
        const double lat = row == g.rows - 1 ? g.north : g.south + row * g.latStep;
        double first[2], second[2];
        ++nodes;
        if (!valueAt(*a, lon, lat, first) || !valueAt(*b, lon, lat, second)) {
          ++outside;
          continue;
        }
        const float difference[2] = {static_cast<float>(first[0] - second[0]),
                                     static_cast<float>(first[1] - second[1])};
        const double size = std::fabs(metresOf(difference, lat, a->GetBandCount()));
        if (std::isnan(size)) {
          if (std::isnan(first[0] + first[1]) != std::isnan(second[0] + second[1])) ++inOne;
          continue;
        }
        squares += size * size;
        if (size > within) ++beyond;
        if (size > worst.size) worst = {lon, lat, size};
      }
    }
  }
  const auto compared = static_cast<double>(nodes - outside - inOne);
  const double mean = compared > 0 ? std::sqrt(squares / compared) : 0;
  const bool same = beyond == 0 && outside == 0 && inOne == 0;
  if (json) {
    std::printf(
        "{\"nodes\": %lld, \"outside\": %lld, \"value in one\": %lld, \"beyond\": %lld, "
        "\"within\": %s, \"rms\": %s, \"most\": %s, \"lon\": %s, \"lat\": %s}\n",
        static_cast<long long>(nodes), static_cast<long long>(outside),
        static_cast<long long>(inOne), static_cast<long long>(beyond), numberText(within).c_str(),
        numberText(mean).c_str(), numberText(worst.size).c_str(), numberText(worst.lon).c_str(),
        numberText(worst.lat).c_str());
  } else {
    std::printf("%lld nodes of %s: root mean square of the differences %.6f m, largest %.6f m",
                static_cast<long long>(nodes), printable(pathA).c_str(), mean, worst.size);
    if (worst.size > 0) std::printf(" at %.9g %.9g", worst.lon, worst.lat);
    std::printf("\n");
    const auto count = [](int64_t number, const std::string &what) {
      if (number) std::printf("%lld %s\n", static_cast<long long>(number), what.c_str());
    };
    count(beyond, "differ by more than " + numberText(within) + " m");
    count(outside, "lie outside of " + printable(pathB));
    count(inOne, "have a value in one of the files only");
  }
  return same ? kGood : kSomePointsFailed;
}

}  // namespace

void addGrid(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "grid",
      "Tell of a grid file (info FILE), convert one (convert IN OUT), or compare the shifts of two "
      "at the nodes of the first (check A B; exit status 1 when they differ)");
  struct Options {
    std::string what, format;
    std::vector<std::string> files;
    double within = 0.001;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  command->add_option("what", options->what, "What to do")
      ->required()
      ->check(CLI::IsMember({"info", "convert", "check"}));
  command->add_option("files", options->files, "Grid files; of a .las/.los pair either")
      ->required()
      ->expected(1, 2)
      ->type_name("FILE");
  command
      ->add_option("--format", options->format,
                   "What convert writes (default: by the ending of OUT: .dat, .gsb, .ct2, .gtx, "
                   ".las, .tif)")
      ->check(CLI::IsMember(formatNames()));
  command
      ->add_option("--within", options->within,
                   "How far shifts that check compares may differ, in metres (default: 0.001)")
      ->check(CLI::NonNegativeNumber)
      ->type_name("METRES");
  command->add_flag("--json", options->json, "info and check: as JSON");
  command->callback([options, &console, &action] {
    action = [options, &console] {
      const size_t wanted = options->what == "info" ? 1 : 2;
      if (options->files.size() != wanted)
        throw Stop(kUsage,
                   "grid " + options->what + " takes " + (wanted == 1 ? "one file" : "two files"));
      logTo(console);
      if (options->what == "info") return info(options->files[0], options->json, console);
      if (options->what == "convert")
        return convert(options->files[0], options->files[1], options->format, console);
      return check(options->files[0], options->files[1], options->within, options->json);
    };
  });
}

}  // namespace program
