// What the tests of external projections share: records, the children that they bring, and that
// nothing of these stays.
#ifndef OPRJ_TESTS_EXTERNAL_SUPPORT_H
#define OPRJ_TESTS_EXTERNAL_SUPPORT_H

#include <oprj/external.h>
#include <sys/wait.h>

#include "tests/objects_support.h"

namespace orvik::test {

using Points = std::vector<Oprj_Point>;

inline constexpr const char *kBin = OPRJ_BINARY_DIR "/bin", *kLib = OPRJ_BINARY_DIR "/lib";
inline const std::string kData = OPRJ_SOURCE_DIR "/data";
/// A report in 27 bytes, a list of it in 32.
#define REPORT "____1____3abc____2____4oops"
#define LIST REPORT "_____"

inline RecordPtr external(const char *name, int32_t entries = 8) {
  RecordPtr record = geographic();
  record->proType = OPRJ_EXTERNAL;
  EXPECT_TRUE(oprj_CharStrCreate(name, &record->proExeName, nullptr));
  EXPECT_TRUE(oprj_DblArrayCreate(entries, &record->proParams, nullptr));
  return record;
}

/// What the first encoding of a record makes for the life of the process is there before the tests.
class Encoded : public testing::Environment {
  void SetUp() override {
    const Oprj_InitData *data = oprj_InitDataGet(theToolkit(), nullptr);
    ASSERT_TRUE(data);
    ASSERT_GT(omif_ObjectSize(data->proParametersDesign, external("").get(), nullptr), 0);
  }
};
inline testing::Environment *const kEncoded = testing::AddGlobalTestEnvironment(new Encoded);

/// The child that the tests bring: what it does, how long it is waited for, where it lies.
struct Child {
  explicit Child(const std::string &script, const char *seconds = "5",
                 const std::string &folder = kBin)
      : does("OPRJ_TEST_CHILD", script.c_str()),
        patience("ORVIK_EXTERNAL_TIMEOUT", seconds),
        path("ORVIK_PROJECTIONS_PATH", (kData + ";" + folder).c_str()) {}
  ScopedEnvironment does, patience, path;
};

inline ObjectPtr start(Slot &err, const RecordPtr &record = external("external_child")) {
  return ObjectPtr(oprj_ExternalInit(theToolkit(), record.get(), err));
}

inline std::string forward(const ObjectPtr &object, Points &points) {
  Slot err;
  object->fromLL(points.data(), object->parameters, points.data(),
                 static_cast<int32_t>(points.size()), err);
  return err.chain();
}

inline int openDescriptors() {
  int count = 0;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
    count += !entry.path().empty();
  return count;
}

/// Nothing of a child stays: neither process nor descriptor nor memory.
class NothingLeft {
 public:
  ~NothingLeft() {
    int status;
    EXPECT_TRUE(waitpid(-1, &status, WNOHANG) < 0 && errno == ECHILD) << "a child is left";
    EXPECT_EQ(openDescriptors(), descriptors_);
  }

 private:
  const LeakCheck leaks_;
  const int descriptors_ = openDescriptors();
};

inline void waitForEnd() {
  siginfo_t told;
  EXPECT_TRUE(waitid(P_ALL, 0, &told, WEXITED | WNOWAIT) == 0 || errno == ECHILD);
}

inline constexpr const char *kForward = "oprj_ExternalFromLL: ";
inline const std::string kEcho = "read ok 0 * read all echo";

inline std::string initFailed(const std::string &why) {
  return std::string("oprj_ExternalInit: Initialization of external process ") + kBin +
         "/external_child failed (6) < initializeExternalExecutable: " + why;
}

}  // namespace orvik::test

#endif
