// oprj project: points from files or standard input to standard output or a file, streaming.
#include "project.h"

#include <exception>

#include "commands.h"
#include "shift.h"

namespace program {
namespace {

constexpr const char *kTextHelp =
    "A header that names the columns says where the coordinates are; else they are columns 1 and "
    "2, "
    "or those of\n"
    "--columns. The first line that can be read as a point settles what sets fields apart. Other "
    "columns are passed\n"
    "on; a line that cannot be read or projected keeps its place with nan. A field cannot hold a "
    "line "
    "break, even in\n"
    "quotes.\n";

struct Options {
  std::string from, to, columns, output, report;
  std::vector<std::string> files;
  bool csv = false, binary = false;
  LayoutWishes layout;
  NumberFormat format;
};

/// All inputs, one after the other.
void runJobs(const Options &options, const JobParts &parts, const std::vector<std::string> &files) {
  if (options.binary) {
    for (const std::string &file : files) runBinary(parts, file);
  } else {
    TextJob job(parts, options.layout, options.format);
    for (const std::string &file : files) job.run(file);
  }
}

Status run(Options &options, const Console &console) {
  options.layout.readColumns(options.columns);
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, options.from, console),
               to = readSystem(toolkit, options.to, console);
  if (options.format.dms && !to.inDegrees())
    throw Stop(kUsage, "--dms writes degrees: the output is in " + to.unit);
  requireShift(from, to);
  auto projector = std::make_unique<Projector>(toolkit, from, to, console);
  console.detail("axis order: longitude (easting) first; input in " + from.unit + ", output in " +
                 to.unit);

  const std::vector<std::string> files =
      options.files.empty() ? std::vector<std::string>{"-"} : options.files;
  checkStreams(files, options.output);
  Output output(options.output);
  Tally tally(console);
  const auto tellEnd = [&] {
    if (!shiftsBetween(from, to) && !sameDatum(from, to))
      console.warn(std::to_string(tally.points()) + " points were not shifted: the datum of the " +
                   (undefinedDatum(from) ? "input" : "output") + " system is undefined" +
                   (from.spheroid().a == to.spheroid().a && from.spheroid().b == to.spheroid().b
                        ? ""
                        : ", although the spheroids differ"));
    projector->warnOfFarPoints();
    tally.printSummary();
    if (options.report == "json") tally.printJson();
  };
  try {
    runJobs(options, {from, to, console, *projector, tally, output}, files);
    output.finish();
  } catch (...) {
    // What was done stays done, and is told; what ended it is told last.
    try {
      output.flush();
    } catch (const Stop &) {  // when writing itself failed, that is what is told
    }
    tellEnd();
    throw;
  }
  tellEnd();
  return tally.failed() > 0 ? kSomePointsFailed : kGood;
}

}  // namespace

void addProject(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("project", "Project points from one coordinate system to another");
  auto options = std::make_shared<Options>();
  command->add_option("--from", options->from, "Coordinate system of the input")
      ->required()
      ->type_name("CS");
  command->add_option("--to", options->to, "Coordinate system of the output")
      ->required()
      ->type_name("CS");
  CLI::Option *const binary =
      command->add_flag("--binary", options->binary, "Input and output are pairs of doubles");
  // What only text has.
  command->add_flag("--csv", options->csv, "Input is delimited text (the default)")
      ->excludes(binary);
  command
      ->add_option("--columns", options->columns, "Columns of x and y, by name or by number from 1")
      ->type_name("X,Y")
      ->excludes(binary);
  command->add_option("--header", options->layout.header, "Whether the first line is a header")
      ->check(CLI::IsMember({"auto", "yes", "no"}))
      ->excludes(binary);
  command->add_option("--delimiter", options->layout.delimiter, "What sets fields apart")
      ->check(CLI::IsMember({"auto", "comma", "semicolon", "tab", "blank"}))
      ->excludes(binary);
  command
      ->add_option("--digits", options->format.digits,
                   "Digits after the point (default: as many as needed)")
      ->check(CLI::Range(0, 17))
      ->excludes(binary);
  command->add_flag("--dms", options->format.dms, "Write geographic results as d:mm:ss.s")
      ->excludes(binary);
  command->add_option("-o,--output", options->output, "Write to this file")->type_name("OUT");
  command->add_option("--report", options->report, "Add a summary to standard error")
      ->check(CLI::IsMember({"json"}));
  command->add_option("files", options->files, "Input files; none or \"-\": standard input")
      ->type_name("FILE");
  command->footer(std::string(kTextHelp) + kSystemHelp);
  command->callback([options, &console, &action] {
    action = [options, &console] { return run(*options, console); };
  });
}

}  // namespace program
