// oprj project: points from files or standard input to standard output or a file, streaming.
#include "project.h"

#include "commands.h"
#include "shift.h"

namespace program {
namespace {

constexpr const char *kTextHelp =
    "A header that names the columns says where the coordinates are; else they are columns 1 and "
    "2, or those of\n"
    "--columns. Fields are set apart by tabs, semicolons or commas, or by blanks when a line has "
    "none of these; the\n"
    "first line that can be read as a point settles it, or a first line sep=;. Degrees may be "
    "written 77.5W, W77.5,\n"
    "77:30:00W, 77d30m0s, 77-30-00W, 77 30 00 W or with the signs for degree, minute and second. "
    "Other columns, blank\n"
    "lines and comments (#) are passed on; a line that cannot be read or projected keeps its place "
    "with nan. A field\n"
    "cannot hold a line break, even in quotes. Files packed by gzip are unpacked, UTF-16 becomes "
    "UTF-8.\n";

struct Options {
  std::string from, to, columns, output, report;
  std::vector<std::string> files;
  bool csv = false, binary = false, strict = false, inverse = false, swapIn = false,
       swapOut = false;
  int threads = 1;
  Part part;
  double verify = 0;  ///< metres; 0: not asked for
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

/// The name of the report is part of what is written there.
void writeReport(const std::string &path, const Tally &tally, const std::string &end,
                 Status status) {
  Output report(path);
  report.put(tally.report(end, status));
  report.finish();
}

/// What is told when all is done, or as much of it as could be.
void tellEnd(const System &from, const System &to, const Projector &projector, const Tally &tally,
             const Console &console) {
  const Told &sums = tally.sums();
  if (!shiftsBetween(from, to) && !sameDatum(from, to))
    console.warn(pointsThat(sums.points, "was", "were") + " not shifted: the datum of the " +
                 (undefinedDatum(from) ? "input" : "output") + " system is undefined" +
                 (from.spheroid().a == to.spheroid().a && from.spheroid().b == to.spheroid().b
                      ? ""
                      : ", although the spheroids differ"));
  if (sums.pointsInComments > 0)
    console.warn(std::to_string(sums.pointsInComments) +
                 " lines that start with # were passed on as comments, although they could be read "
                 "as points");
  if (sums.outsideGrid > 0)
    console.warn(pointsThat(sums.outsideGrid, "lies", "lie") +
                 " outside of the datum's grid, not shifted; --strict makes a failure of that");
  if (sums.outsideRegression > 0)
    console.warn(pointsThat(sums.outsideRegression, "lies", "lie") +
                 " outside of the area that the datum's regression is made for, where it can be "
                 "far off; --strict makes a failure of that");
  projector.warnOfFarPoints(sums.far);
  tally.printSummary();
}

Status run(Options &options, const Console &console) {
  options.layout.readColumns(options.columns);
  options.layout.swapped = options.swapIn;
  if (options.inverse) std::swap(options.from, options.to);
  if (!options.report.empty() && !options.report.ends_with(".json"))
    throw Stop(kUsage, "--report takes the name of a file that ends in .json, not \"" +
                           options.report + "\"");
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, options.from, console),
               to = readSystem(toolkit, options.to, console);
  if (options.format.dms && !to.inDegrees())
    throw Stop(kUsage, "--dms writes degrees: the output is in " + to.unit);
  requireShift(from, to);
  const Projector projector(toolkit, from, to, console, options.verify, options.strict);
  for (const std::string &caution : cautionsOf(toolkit, projector.pairs())) console.warn(caution);
  console.detail(std::string("axis order: longitude (easting) first") +
                 (options.swapIn ? ", in the input second" : "") +
                 (options.swapOut ? ", in the output second" : "") + "; input in " + from.unit +
                 ", output in " + to.unit);

  const std::vector<std::string> files =
      options.files.empty() ? std::vector<std::string>{"-"} : options.files;
  if (options.part && files.size() > 1) throw Stop(kUsage, "--part shares out one file");
  checkStreams(files, options.output, options.report);
  Output output(options.output);
  Tally tally(console);
  std::string end;
  Status status = kGood;
  try {
    runJobs(options,
            {from, to, console, projector, tally, output, options.swapIn, options.swapOut,
             options.threads, options.part},
            files);
    output.finish();
  } catch (const Stop &stop) {
    end = stop.what();  // told last, behind what was done
    status = stop.status;
  }
  tellEnd(from, to, projector, tally, console);
  if (end.empty() && tally.failed() > 0) status = kSomePointsFailed;
  if (!options.report.empty()) writeReport(options.report, tally, end, status);
  if (!end.empty()) throw Stop(status, end);
  return status;
}

}  // namespace

void fillVerify(std::vector<std::string> &arguments) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    double ignored;
    if (arguments[i] == "--verify" &&
        (i + 1 == arguments.size() || !ostr_ToDouble(arguments[i + 1].c_str(), &ignored)))
      arguments[i] = "--verify=0.001";
  }
}

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
  command
      ->add_option("--report", options->report, "Write all counts and reasons to this file (JSON)")
      ->type_name("FILE.json");
  command->add_flag("-I,--inverse", options->inverse, "Exchange the two coordinate systems");
  command->add_flag("--swap-in", options->swapIn, "Latitude (northing) stands first in the input");
  command->add_flag("--swap-out", options->swapOut,
                    "Latitude (northing) stands first in the output");
  command
      ->add_flag("--decimal-comma", options->layout.decimalComma,
                 "Numbers have a decimal comma, in the output too")
      ->excludes(binary);
  command
      ->add_option("--verify", options->verify,
                   "Project back too: points that return farther away fail (default: 0.001)")
      ->check([](const std::string &text) {
        double metres;
        return ostr_ToDouble(text.c_str(), &metres) && metres > 0 && std::isfinite(metres)
                   ? std::string()
                   : text + " is no distance in metres above 0";
      })
      ->type_name("[METRES]");
  command->add_flag("--strict", options->strict,
                    "Points fail that the datum shift's grid or regression does not cover");
  command
      ->add_option("--threads", options->threads,
                   "Project by so many threads, reading and writing meanwhile (default: 1)")
      ->check(CLI::Range(1, 256))
      ->type_name("N");
  command
      ->add_option_function<std::string>(
          "--part",
          [options](const std::string &text) {
            if (!readPart(text, &options->part))
              throw CLI::ValidationError("--part", text + " is no part I/N, with I from 1 to N");
          },
          "Project the I-th of N parts of a file, cut at line ends; outputs that are joined in "
          "order are those of the whole. Lines are told by their first byte, from 1")
      ->type_name("I/N");
  command->add_option("files", options->files, "Input files; none or \"-\": standard input")
      ->type_name("FILE");
  command->footer(std::string(kTextHelp) + kSystemHelp);
  command->callback([options, &console, &action] {
    action = [options, &console] { return run(*options, console); };
  });
}

}  // namespace program
