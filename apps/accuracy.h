// The published accuracies of a grid file's sub-grids: NAME.info beside NAME.dat.
#ifndef OPRJ_APPS_ACCURACY_H
#define OPRJ_APPS_ACCURACY_H

#include <map>

#include "program.h"

namespace program {

struct Accuracy {
  double metres;
  std::string source;
};
/// By the names of sub-grids.
using Accuracies = std::map<std::string, Accuracy>;

/// Those that lie beside a grid file; none without such a file. Lines that cannot be read are
/// warned of.
Accuracies accuraciesBeside(const std::string &gridPath, const Console &console);

/// "0.15 m (SOURCE)"; "unknown" for a sub-grid that is not listed.
std::string accuracyText(const Accuracies &accuracies, const std::string &subGrid);
/// "0.05 to 2 m", of all of them; "unknown" for none.
std::string accuracyText(const Accuracies &accuracies);

/// What the tables quote of the accuracy of a datum's parameters, "sigma 5 5 6 m (TR 8350.2
/// NAS-C)": standard deviations of the three translations; or "1 m (AREA)". Empty when they quote
/// nothing.
std::string publishedAccuracy(const std::string &datumName);

/// The file that a datum's grid name means: along ORVIK_DATUMS_PATH. Empty when there is none.
std::string gridPathOf(const char *gridName);

}  // namespace program

#endif
