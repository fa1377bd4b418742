// The jobs of `oprj project`: points in, points out, those that fail told.
#ifndef OPRJ_APPS_PROJECT_H
#define OPRJ_APPS_PROJECT_H

#include "layout.h"
#include "project_part.h"
#include "project_points.h"
#include "project_streams.h"

namespace program {

/// How results are written as text.
struct NumberFormat {
  int digits = -1;  ///< behind the point; below 0: as many as needed
  bool dms = false;
};

/// What a job works with.
struct JobParts {
  const System &from, &to;
  const Console &console;
  const Projector &projector;
  Tally &tally;
  Output &output;
  bool swapIn = false, swapOut = false;  ///< latitude (northing) stands first
  int threads = 1;
  Part part;  ///< of the file
};

/// Lines in, lines out, through any number of files.
class TextJob {
 public:
  TextJob(const JobParts &parts, const LayoutWishes &wishes, NumberFormat format);
  ~TextJob();
  void run(const std::string &path);

 private:
  class Files;
  std::unique_ptr<Files> files_;
};

/// Pairs of doubles in the machine's byte order.
void runBinary(const JobParts &parts, const std::string &path);

}  // namespace program

#endif
