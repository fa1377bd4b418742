#include "names.h"

namespace program {

std::string withNearest(const std::string &message, std::string_view query,
                        const std::vector<std::string> &names) {
  const std::string near = nearest(query, names);
  return near.empty() ? message : message + " (did you mean " + near + "?)";
}

}  // namespace program
