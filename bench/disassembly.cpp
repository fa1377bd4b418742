// Divisions and roots counted in this program's own code (floors.h).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "floors.h"

namespace bench {

namespace {

/// The part of a line behind `before` and in front of `behind`; empty when they are not there.
std::string between(const std::string &line, const std::string &before, const std::string &behind) {
  size_t start = line.find(before);
  if (start == std::string::npos) return "";
  start += before.size();
  const size_t end = line.find(behind, start);
  return end == std::string::npos ? "" : line.substr(start, end - start);
}

}  // namespace

std::map<std::string, SlowOperations> slowOperations() {
  const std::string set = std::string("orvik::oprj::") +
                          orvik::oprj::instructionSetName(orvik::oprj::widestInstructionSet()) +
                          "::";
  const std::string command =
      "objdump -dC --no-show-raw-insn /proc/" + std::to_string(getpid()) + "/exe";
  const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
  std::map<std::string, SlowOperations> loops, doors;  // a loop by its family and direction
  std::map<std::string, std::string> loopOf;
  SlowOperations *loop = nullptr;
  std::string door;
  char buffer[4096];
  while (pipe && std::fgets(buffer, sizeof buffer, pipe.get())) {
    const std::string line = buffer;
    if (line[0] != ' ' && line.size() > 2 && line.compare(line.size() - 2, 2, ":\n") == 0) {
      const std::string family =
          between(line, set + "pointsInGroups<" + set + "Direction<" + set, ">, Oprj_Point>");
      loop = family.empty() || line.find(".cold]") != std::string::npos ? nullptr : &loops[family];
      door = between(line, "<orvik::oprj::", "Each(");
    } else if (loop) {
      constexpr double kVectors = 2;  // of Lanes
      if (line.find("\tvdivpd") != std::string::npos || line.find("\tdivpd") != std::string::npos)
        loop->divisions += 1 / kVectors;
      if (line.find("\tvsqrtpd") != std::string::npos || line.find("\tsqrtpd") != std::string::npos)
        loop->roots += 1 / kVectors;
    } else if (!door.empty()) {
      const std::string family = between(line, set + "projectPoints<" + set, ">(");
      if (!family.empty()) loopOf[door] = family;
    }
  }
  for (const auto &[name, family] : loopOf) doors[name] = loops[family];
  if (doors.empty()) {
    std::fprintf(stderr, "\"%s\" tells of no loops\n", command.c_str());
    std::exit(1);
  }
  return doors;
}

}  // namespace bench
