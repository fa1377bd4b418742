// External projections: the protocol byte for byte, children that behave in every bad way, plug-ins
// with faults, the pipeline around them.
#include <dlfcn.h>
#include <fcntl.h>
#include <oprj/external.h>
#include <proj.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>

#include "tests/objects_support.h"

namespace {

using namespace orvik::test;
using Points = std::vector<Oprj_Point>;

constexpr const char *kBin = OPRJ_BINARY_DIR "/bin", *kLib = OPRJ_BINARY_DIR "/lib";
const std::string kData = OPRJ_SOURCE_DIR "/data";
/// A report in 27 bytes, a list of it in 32.
#define REPORT "____1____3abc____2____4oops"
#define LIST REPORT "_____"

RecordPtr external(const char *name, int32_t entries = 8) {
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
testing::Environment *const kEncoded = testing::AddGlobalTestEnvironment(new Encoded);

/// The child that the tests bring: what it does, how long it is waited for, where it lies.
struct Child {
  explicit Child(const std::string &script, const char *seconds = "5",
                 const std::string &folder = kBin)
      : does("OPRJ_TEST_CHILD", script.c_str()),
        patience("ORVIK_EXTERNAL_TIMEOUT", seconds),
        path("ORVIK_PROJECTIONS_PATH", (kData + ";" + folder).c_str()) {}
  ScopedEnvironment does, patience, path;
};

ObjectPtr start(Slot &err, const RecordPtr &record = external("external_child")) {
  return ObjectPtr(oprj_ExternalInit(theToolkit(), record.get(), err));
}

std::string forward(const ObjectPtr &object, Points &points) {
  Slot err;
  object->fromLL(points.data(), object->parameters, points.data(),
                 static_cast<int32_t>(points.size()), err);
  return err.chain();
}

int openDescriptors() {
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

void waitForEnd() {
  siginfo_t told;
  EXPECT_TRUE(waitid(P_ALL, 0, &told, WEXITED | WNOWAIT) == 0 || errno == ECHILD);
}

constexpr const char *kForward = "oprj_ExternalFromLL: ";
const std::string kEcho = "read ok 0 * read all echo";

std::string initFailed(const std::string &why) {
  return std::string("oprj_ExternalInit: Initialization of external process ") + kBin +
         "/external_child failed (6) < initializeExternalExecutable: " + why;
}

TEST(ExternalWire, TheRecordIsSentAsDocumentedAndReadByTheKit) {
  const NothingLeft nothing;
  const TemporaryDirectory folder;
  std::filesystem::create_symlink(std::string(kBin) + "/external_child", folder.path() + "/echo");
  const std::string saved = folder.path() + "/init";
  const Child child("read save " + saved + " ok 0 read ok 0", "5", folder.path());
  const RecordPtr record = external("echo", 2);
  record->proExeName.count = 4;  // as records of the dictionary count it
  oprj_CharStrCreate("Echo", &record->proName, nullptr);
  record->proParams.data[0] = 0.9996;
  record->proParams.data[1] = -1.4;
  Slot err;
  ObjectPtr object = start(err, record);
  ASSERT_TRUE(object) << err.chain();
  object.reset();
  const std::string bytes = readFile(saved);
  std::string shown;
  for (const char c : bytes.substr(0, 83)) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned char>(c));
    shown += hex;
  }
  EXPECT_EQ(bytes.size(), 115u);
  EXPECT_EQ(shown,
            "0100000000000500000"
            "00e0000006563686f00050000001b0000004563686f0000000000"
            "020000002c000000789ca223b9fcef3f666666666666f6bf0100000044000000070000004c000000"
            "57475320383400");
  const auto *raw = reinterpret_cast<const uint8_t *>(bytes.data());
  Oprj_ExternalRecord read;
  ASSERT_EQ(oprj_ExternalRecordRead(raw, bytes.size(), &read), 1);
  EXPECT_TRUE(read.type == 1 && read.number == 0 && read.zone == 0 && read.count == 2);
  EXPECT_EQ(std::string(read.executable) + read.name + read.spheroid, "echoEchoWGS 84");
  EXPECT_TRUE(read.entries[0] == 0.9996 && read.entries[1] == -1.4);
  const Oprj_Spheroid &spheroid = *record->proSpheroid;
  EXPECT_TRUE(read.a == spheroid.a && read.b == spheroid.b && read.eSquared == spheroid.eSquared &&
              read.radius == spheroid.radius);
  oprj_ExternalRecordFree(&read);
  for (size_t size = 0; size < bytes.size();
       ++size)  // cut, and with each count and offset enlarged
    EXPECT_EQ(oprj_ExternalRecordRead(raw, size, &read), 0) << size;
  for (const size_t at : {6u, 10u, 19u, 23u, 36u, 40u, 60u, 64u, 68u, 72u}) {
    std::string damaged = bytes;
    damaged[at + 3] = '\x7f';
    EXPECT_EQ(oprj_ExternalRecordRead(reinterpret_cast<const uint8_t *>(damaged.data()),
                                      damaged.size(), &read),
              0)
        << at;
  }
}

TEST(ExternalPoints, PassBothWaysWhateverTheChildsRhythmAndStayNotNumbers) {
  const NothingLeft nothing;
  for (const char *script : {kEcho.c_str(), "read ok 0 * head all stream"}) {
    const Child child(script);
    Slot err;
    const ObjectPtr object = start(err);
    ASSERT_TRUE(object) << err.chain();
    for (const int32_t count : {1, 3, 200000}) {  // the last one fills the pipes several times
      Points in(static_cast<size_t>(count)), out(in);
      for (int32_t i = 0; i < count; ++i) in[static_cast<size_t>(i)] = {0.5 * i, -0.25 * i};
      in[0].y = std::nan("");
      object->fromLL(in.data(), object->parameters, out.data(), count, err);
      expectNoReport(err);
      Points inPlace = in;
      object->toLL(inPlace.data(), object->parameters, inPlace.data(), count, err);
      expectNoReport(err);
      in[0].x = in[0].y;
      for (const Points *got : {&out, &inPlace})
        EXPECT_TRUE(std::isnan((*got)[0].x) && std::isnan((*got)[0].y) &&
                    std::memcmp(got->data() + 1, in.data() + 1, (in.size() - 1) * 16) == 0)
            << script << ", " << count;
    }
  }
}

TEST(ExternalPoints, RefuseWhatCannotBeAsked) {
  const NothingLeft nothing;
  const Child child(kEcho);
  Slot err;
  const ObjectPtr object = start(err);
  ASSERT_TRUE(object);
  Oprj_Point point{};
  const double *block = object->parameters, other[4] = {};
  const struct {
    const Oprj_Point *in;
    const double *block;
    Oprj_Point *out;
    int32_t count;
    std::string refusal;
  } cases[] = {{&point, nullptr, &point, 1, "Invalid input parameters (1)"},
               {&point, other, &point, 1, "Invalid input parameters (1)"},
               {nullptr, block, &point, 1, "Invalid input geog points (2)"},
               {&point, block, nullptr, 1, "Invalid input geog points (3)"},
               {&point, block, &point, 0, "Bad point count (4)"},
               {&point, block, &point, -1, "Bad point count (4)"}};
  for (const auto &c : cases) {
    oprj_ExternalFromLL(c.in, c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_ExternalFromLL: " + c.refusal);
    oprj_ExternalToLL(c.in, c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_ExternalToLL: " + c.refusal);
    oprj_DLLFromLL(c.in, c.block == block ? other : c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_DLLFromLL: Invalid input parameters (1)");
  }
  const std::string names[] = {"oprj_ExternalCopyParameters: ", "oprj_DLLCopyParameters: "};
  for (const auto copy : {oprj_ExternalCopyParameters, oprj_DLLCopyParameters}) {
    const std::string &name = names[copy == oprj_DLLCopyParameters];
    expectRefusal(copy(nullptr, nullptr, err), err, name + "Invalid input parameters (1)");
    expectRefusal(copy(other, nullptr, err), err, name + "Bad interface alert; fix oprj (2)");
  }
  oprj_ExternalQuit(nullptr, err);
  EXPECT_EQ(err.chain(), "oprj_ExternalQuit: Invalid input parameters (1)");
}

// Copies share the child, threads take turns; the last one that goes ends it.
TEST(ExternalPoints, CopiesShareOneChild) {
  const NothingLeft nothing;
  const Child child("kit");
  Slot err;
  ObjectPtr first = start(err);
  ASSERT_TRUE(first) << err.chain();
  ObjectPtr second(oprj_ProjectionPre842Copy(first.get(), err));
  ASSERT_TRUE(second) << err.chain();
  inThreads(4, [&](size_t t) {
    for (int round = 0; round < 50; ++round) {
      Points points(500, Oprj_Point{100.0 * static_cast<double>(t), 0.25 * round});
      ASSERT_EQ(forward(t % 2 ? first : second, points), "");
      for (const Oprj_Point &p : points)
        ASSERT_TRUE(p.x == 100.0 * static_cast<double>(t) + 1 && p.y == 0.25 * round + 1);
    }
  });
  Points points(2);
  oprj_ExternalQuit(first.get(), err);
  expectNoReport(err);
  EXPECT_EQ(forward(first, points), "oprj_ExternalFromLL: Bad connection (5)");
  oprj_ExternalQuit(first.get(), err);
  expectNoReport(err);
  EXPECT_EQ(forward(second, points), "");
  // A copier that takes a block over ends the share of the one before, and may be the last.
  ObjectPtr other = start(err);
  ASSERT_TRUE(other);
  other->parameters = oprj_ExternalCopyParameters(second->parameters, other->parameters, err);
  ASSERT_TRUE(other->parameters);
  second.reset();
  points = {{1, 2}};
  EXPECT_EQ(forward(other, points), "");
  EXPECT_TRUE(points[0].x == 2 && points[0].y == 3);
}

/// What a child does and how the first call then fails, and the next; "many": it is asked with more
/// points than the pipes hold.
struct Misdeed {
  const char *script;
  std::string first, next;
  bool many = false;
};

TEST(ExternalChild, ThatMisbehavesIsToldOfAndLeavesNothing) {
  const std::string ended = "pipe read failed: End of file (7)", bad = "Bad connection (5)",
                    still = "pipe read failed: Connection timed out (7)",
                    gone = "pipe write failed: Broken pipe (6)",
                    init = "Error returned from OPRJ_X_INIT command (8) < abc: oops (1)",
                    refused = "Error returned from OPRJ_X_FROMLL command (8)",
                    said = refused + " < abc: oops (1)",
                    count = "Byte count of data returned is not ",
                    none = "No data returned from OPRJ_X_FROMLL command (9)", any = "pipe ";
  const Misdeed cases[] = {
      {"read exit", ended, ""},
      {"read put abc exit", ended, ""},
      {"read hang", still, ""},
      {"deaf read put abc pause", still, ""},
      {"read ok 4", count + "0 (9)", ""},
      {"read fail 1 32 put " LIST, init, ""},
      {"fail 9 32 put " LIST " exit", init, ""},
      {"read fail 1 0 put " LIST " hang", init, ""},
      {"read ok 0 exit", gone, bad},
      {"read ok 0 read hang", still, bad},
      {"read ok 0 read all zeros 40 hang", still, bad},
      {"read ok 0 read leave exit", still, bad},
      {"read ok 0 * read fail 2 32 put " LIST, said, said},
      {"read ok 0 * read fail 2 27 put " REPORT, said, said},
      {"read ok 0 * read fail 2 29 put " REPORT "__", said, said},
      {"read ok 0 * read fail 2 0 put " LIST, said, said},
      {"read ok 0 * read fail 2 0 put _____", refused, refused},
      {"read ok 0 * read fail 2 49 put " REPORT "___-3____0___+2____2hi", said + " < : hi (-3)",
       said + " < : hi (-3)"},
      {"read ok 0 read fail 2 0 put " REPORT " exit", said, gone},
      {"read ok 0 read fail 2 32 put ____1____3abc__x_2____4oops_____", refused, bad},
      {"read ok 0 read fail 2 32 put ____1___-3abc____2____4oops_____", refused, bad},
      {"read ok 0 read fail 2 32 put ____1____3abc____2_9999oops_____", refused, bad},
      {"read ok 0 read fail 2 59 put " LIST REPORT, said, bad},
      {"read ok 0 read fail 2 65537 put " LIST, refused, bad},
      {"read ok 0 read fail 2 0 put ____1____3ab exit", refused, bad},
      {"read ok 0 * read ok 0", none, none},
      {"read ok 0 read ok 47 zeros 47", count + "48 (10)", bad},
      {"read ok 0 read ok 64 zeros 64", count + "48 (10)", bad},
      {"read ok 0 read ok 4294967295", count + "48 (10)", bad},
      {"read ok 0 hang", still, bad, true},
      {"read ok 0 head fail 3 32 put " LIST " exit", said, bad, true},
      {"read ok 0 head fail 3 32 put " LIST " hang", said, bad, true},
      {"read ok 0 head ok 5 hang", count + "3200000 (10)", bad, true},
      // which of the two is told is the system's choice
      {"read ok 0 shut 0 hang", any, bad, true},
      {"read ok 0 head all zeros 4000 exit", any, bad, true}};
  for (const Misdeed &c : cases) {
    SCOPED_TRACE(c.script);
    const NothingLeft nothing;
    const bool keepsStill = c.first == still;
    const Child child(c.script, keepsStill ? "0.5" : "5");
    Slot err;
    const ObjectPtr object = start(err);
    if (c.next.empty()) {
      expectRefusal(object, err, initFailed(c.first));
      continue;
    }
    ASSERT_TRUE(object) << err.chain();
    Points points(c.many ? 200000 : 3);
    for (const std::string &why : {c.first, c.next}) {
      if (why == gone) waitForEnd();
      const std::string told = forward(object, points);
      EXPECT_EQ(why == any ? told.substr(0, 26) : told, kForward + why);
      points.resize(3);
    }
  }
}

TEST(ExternalChild, MayEndAtEveryByteOfItsAnswer) {
  const NothingLeft nothing;
  for (int bytes = 0; bytes < 8 + 48; ++bytes) {
    const Child child("read ok 0 read " + (bytes < 8 ? "zeros " + std::to_string(bytes)
                                                     : "all zeros " + std::to_string(bytes - 8)));
    Slot err;
    const ObjectPtr object = start(err);
    Points points(3);
    EXPECT_EQ(forward(object, points), "oprj_ExternalFromLL: pipe read failed: End of file (7)");
    EXPECT_EQ(forward(object, points), "oprj_ExternalFromLL: Bad connection (5)");
  }
  {
    const Child child("read ok 0 read all echo echo");  // one answer too many
    Slot err;
    const ObjectPtr object = start(err);
    Points points(3);
    EXPECT_EQ(forward(object, points), "");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(forward(object, points),
              "oprj_ExternalFromLL: pipe read failed: Data that was not asked for (7)");
  }
  const Child child(
      "read ok 0 read fail 1 0 put ____1____1a____2____1b * put ____1____1a____2____1b");
  Slot err;
  const ObjectPtr object = start(err);
  Points points(3);
  const std::string told = forward(object, points);  // a list without end
  EXPECT_EQ(std::count(told.begin(), told.end(), '<'), 64);
  EXPECT_EQ(forward(object, points), "oprj_ExternalFromLL: Bad connection (5)");
}

TEST(ExternalChild, IsToldToQuitAndHelpedAlong) {
  const struct {
    const char *script;
    std::string told;
    double seconds;  ///< that it takes, and less than a second more
  } cases[] = {{"read ok 0 read ok 0", "", 0},
               {"read ok 0 read ok 12 pause", "", 2},
               {"read ok 0 read fail 1 32 put " LIST,
                "Error returned from OPRJ_X_QUIT command (4) < abc: oops (1)", 0},
               {"read ok 0 read", "pipe read failed: End of file (3)", 0},
               {"read ok 0 exit", "pipe write failed: Broken pipe (2)", 0},
               {"deaf read ok 0 pause", "pipe read failed: Connection timed out (3)", 3}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.script);
    const NothingLeft nothing;
    const Child child(c.script, "0.5");
    Slot err;
    const ObjectPtr object = start(err);
    ASSERT_TRUE(object) << err.chain();
    if (c.told.find("Broken pipe") != c.told.npos) waitForEnd();
    const auto begin = std::chrono::steady_clock::now();
    oprj_ExternalQuit(object.get(), err);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(err.chain(), c.told.empty() ? "" : "oprj_ExternalQuit: " + c.told);
    EXPECT_TRUE(took.count() >= 0.99 * c.seconds && took.count() < c.seconds + 0.95)
        << took.count();
    Points points(1);
    EXPECT_EQ(forward(object, points), "oprj_ExternalFromLL: Bad connection (5)");
  }
}

// What the process does with its signals and its standard descriptors is not the library's affair.
TEST(ExternalChild, LeavesTheProcessAsItIs) {
  const NothingLeft nothing;
  const Child child(kEcho);
  for (int i = 0; i < 100; ++i) {
    Slot err;
    ASSERT_TRUE(start(err)) << err.chain();
  }
  const auto oldChild = signal(SIGCHLD, SIG_IGN);
  for (const char *script : {"read ok 0 exit", "read ok 0 hang"}) {
    const Child ending(script, "0.5");
    Slot err;
    const ObjectPtr object = start(err);
    ASSERT_TRUE(object) << err.chain();
    if (script[10] == 'e') waitForEnd();
    Points points(1);
    EXPECT_NE(forward(object, points), "");
  }
  signal(SIGCHLD, oldChild);
  sigset_t pipe, none, pending;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  // A signal that was pending before stays so.
  pthread_sigmask(SIG_BLOCK, &pipe, &none);
  raise(SIGPIPE);
  {
    const Child ending("read ok 0 exit");
    Slot err;
    const ObjectPtr object = start(err);
    waitForEnd();
    Points points(1);
    forward(object, points);
  }
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 1);
  int taken;
  EXPECT_EQ(sigwait(&pipe, &taken), 0);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
  // Without standard descriptors.
  const pid_t copy = fork();
  if (copy == 0) {
    for (const int descriptor : {0, 1, 2}) close(descriptor);
    Oerr_Report *report = nullptr;
    Oprj_MapProjection *object =
        oprj_ExternalInit(theToolkit(), external("external_child").get(), &report);
    Oprj_Point point{1, 2};
    if (object) object->fromLL(&point, object->parameters, &point, 1, &report);
    const bool good = object && !report && point.x == 1 && point.y == 2;
    oprj_ProjectionPre842Free(&object);
    _exit(good && fcntl(0, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0 ? 0 : 1);
  }
  int status = 1;
  EXPECT_EQ(waitpid(copy, &status, 0), copy);
  EXPECT_EQ(status, 0);
}

TEST(ExternalKit, TellsFailuresAndGoesOn) {
  const NothingLeft nothing;
  const Child child("kit");
  Slot err;
  expectRefusal(start(err, external("external_child", 7)), err,
                initFailed("Error returned from OPRJ_X_INIT command (8) < kit: 7 entries (99999)"));
  const ObjectPtr object = start(err);
  ASSERT_TRUE(object) << err.chain();
  Points points = {{1, 2}, {13, 4}};
  EXPECT_EQ(forward(object, points),
            "oprj_ExternalFromLL: Error returned from OPRJ_X_FROMLL command (8) < kit: number 2 is "
            "13 (-7)");
  points = {{1, 2}};
  EXPECT_EQ(forward(object, points), "");
  EXPECT_TRUE(points[0].x == 2 && points[0].y == 3);
}

TEST(ExternalSearch, FindsByNameAloneAndTellsWhatItDoesNotFind) {
  const NothingLeft nothing;
  const TemporaryDirectory folder;
  const std::string plain = folder.write("plain", "no program"), path = folder.path();
  folder.write("library.dll", "no library");
  folder.write("other.so", "no library");
  const Child child(kEcho, "5", path);
  const std::string here = "oprj_ExternalInit: ", longName(253, 'x');
  const auto nowhere = [&](const std::string &name) {
    return here + "Unable to find executable " + name + " or dll " + name + ".dll (8)";
  };
  const std::pair<std::string, std::string> cases[] = {
      {"", nowhere("")},
      {"missing", nowhere("missing")},
      {"./plain", nowhere("./plain")},
      {plain, nowhere(plain)},
      {"a\\plain", nowhere("a\\plain")},
      {"C:plain", nowhere("C:plain")},
      {longName, nowhere(longName)},
      {"plain", here + "Initialization of external process " + plain +
                    " failed (6) < initializeExternalExecutable: Error "
                    "executing external projection executable (2) < start: Permission denied (13)"},
      {"library", here + "Initialization of projection " + path +
                      "/library.dll failed (7) < initializeExternalDLL: DLL open "
                      "failed (1) < ProjectionInstanceOpen: Error returned from odll_Open (3) < "
                      "odll_Open: Cannot open the library " +
                      path + "/library.dll (3) < dlopen: " + path +
                      "/library.dll: file too short (1)"}};
  folder.write(longName + ".dll", "");
  Slot err;
  for (const auto &[name, chain] : cases)
    expectRefusal(start(err, external(name.c_str())), err, chain);
  expectRefusal(ObjectPtr(oprj_ExternalInit(theToolkit(), nullptr, err)), err,
                here + "Invalid projection parameters (1)");
  expectRefusal(ObjectPtr(oprj_ExternalInit(nullptr, external("plain").get(), err)), err,
                here + "Toolkit has not been initialized (2)");
  int32_t isPlugIn = -1;
  EXPECT_EQ(taken(oprj_ExternalFind(external("plain").get(), &isPlugIn, err)), plain);
  EXPECT_EQ(isPlugIn, 0);
  EXPECT_EQ(taken(oprj_ExternalFind(external("other").get(), &isPlugIn, err)), path + "/other.so");
  EXPECT_EQ(isPlugIn, 1);
  oprj_ExternalAllow(0);
  expectRefusal(start(err, external("plain")), err,
                here + "External projections are switched off: plain (9)");
  oprj_ExternalAllow(1);
}

// --- plug-ins ---

/// The plug-in of the tests, with a fault.
struct PlugIn : Child {
  explicit PlugIn(const char *fault)
      : Child("", "5", kLib), fails("OPRJ_TEST_PLUGIN", *fault ? fault : nullptr) {}
  ScopedEnvironment fails;
};
const std::string kPlugIn = std::string(kLib) + "/libprojection_plugin.so";

bool isLoaded() {
  void *handle = dlopen(kPlugIn.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle;
}

TEST(ExternalPlugIn, WithFaultsIsRefusedAndUnloaded) {
  const NothingLeft nothing;
  const std::string open = "DLL open failed (1) < ProjectionInstanceOpen: " + kPlugIn + " has ",
                    asked = " (version 1 is asked for) (7)",
                    made = "ProjectionInstanceInit failed (3)",
                    taken = "init failed for libprojection_plugin (4)",
                    thrown = " < plug-in: an exception was thrown: ";
  const std::pair<const char *, std::string> cases[] = {
      {"null", open + "no table of this version" + asked},
      {"version", open + "a table of another version" + asked},
      {"size", open + "a table that is too small" + asked},
      {"hole 0", open + "no name" + asked},
      {"hole 1", open + "no function create" + asked},
      {"hole 2", open + "no function init" + asked},
      {"hole 3", open + "no function fromLL" + asked},
      {"hole 4", open + "no function toLL" + asked},
      {"hole 5", open + "no function destroy" + asked},
      {"fails create", made},
      {"tells create", made + " < mine: create says so (17)"},
      {"throws create", made + thrown + "thrown by create (1)"},
      {"throws a number", made + thrown + "of an unknown type (1)"},
      {"fails init", taken},
      {"tells init", taken + " < mine: init says so (17)"},
      {"throws init", taken + thrown + "thrown by init (1)"},
  };
  Slot err;
  for (const auto &[fault, why] : cases) {
    const PlugIn plugIn(fault);
    expectRefusal(start(err, external("libprojection_plugin")), err,
                  "oprj_ExternalInit: Initialization of projection " + kPlugIn +
                      " failed (7) < initializeExternalDLL: " + why);
    EXPECT_FALSE(isLoaded()) << fault;
  }
  const PlugIn other("");
  expectFailure(start(err, external("libshift_plugin")), err, "oprj_ExternalInit: ");
  EXPECT_NE(err.chain().find("does not export oprj_ProjectionPlugInGet (6)"), std::string::npos);
}

TEST(ExternalPlugIn, ComputesFailsAndLeavesWithItsLastUser) {
  const NothingLeft nothing;
  {
    const PlugIn plugIn("");
    Slot err;
    ObjectPtr object = start(err, external("libprojection_plugin"));
    ASSERT_TRUE(object) << err.chain();
    ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err)),
        another = start(err, external("libprojection_plugin"));
    ASSERT_TRUE(copy && another) << err.chain();
    Points points = {{1, 2}, {std::nan(""), 3}}, back(2);
    EXPECT_EQ(forward(object, points), "");
    EXPECT_TRUE(points[0].x == 2 && points[0].y == 3 && std::isnan(points[1].x));
    copy->toLL(points.data(), copy->parameters, back.data(), 2, err);
    EXPECT_TRUE(back[0].x == 1 && back[0].y == 2);
    const std::string fails[] = {"fails", "tells", "throws"};
    const std::string causes[] = {"", " < mine: fromLL says so (17)",
                                  " < plug-in: an exception was thrown: thrown by fromLL (1)"};
    for (size_t i = 0; i < std::size(fails); ++i) {
      const PlugIn failing((fails[i] + " fromLL").c_str());
      EXPECT_EQ(forward(copy, points), "oprj_DLLFromLL: fromLL failed (6)" + causes[i]);
    }
    const PlugIn failing("fails toLL");
    copy->toLL(points.data(), copy->parameters, back.data(), 2, err);
    EXPECT_EQ(err.chain(), "oprj_DLLToLL: toLL failed (6)");
    oprj_DLLQuit(object.get(), err);
    oprj_DLLQuit(object.get(), err);
    expectNoReport(err);
    EXPECT_EQ(forward(object, points), "oprj_DLLFromLL: Bad DLL instance (5)");
    EXPECT_EQ(forward(copy, points), "");
    copy.reset();
    EXPECT_TRUE(isLoaded());
    const PlugIn late("throws destroy");
    another.reset();
    EXPECT_FALSE(isLoaded());
    inThreads(4, [](size_t) {
      for (int i = 0; i < 50; ++i) {
        Slot report;
        ASSERT_TRUE(start(report, external("libprojection_plugin")));
      }
    });
  }
}

TEST(External, EveryAllocationMayFail) {
  for (const char *name : {"external_child", "libprojection_plugin"}) {
    const NothingLeft nothing;
    const Child child(kEcho, "5", std::string(kBin) + ";" + kLib);
    const RecordPtr record = external(name);
    forEachAllocationFailure([&](auto err) {
      Points points(3, Oprj_Point{1, std::nan("")});
      ObjectPtr object(oprj_ExternalInit(theToolkit(), record.get(), err));
      if (!object) return false;
      ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err));
      if (copy) copy->fromLL(points.data(), copy->parameters, points.data(), 3, err);
      return copy && !*err;
    });
  }
}

// --- the samples ---

// The same projection in three ways, against PROJ.
TEST(ExternalSamples, AreTheNaturalEarthProjection) {
  constexpr double kTolerance = 1e-6;  // metres; radians times the radius
  constexpr double kRadius = 6378137;
  PJ *peer = proj_create(PJ_DEFAULT_CTX, "+proj=natearth +R=6378137 +lon_0=11.25 +x_0=500000");
  ASSERT_TRUE(peer);
  Points places, expected;
  for (double lat = -90; lat <= 90; lat += 7.5)
    for (double lon = -168; lon <= 190; lon += 17.9)
      places.push_back({lon * kDegree, lat * kDegree});
  for (const Oprj_Point &p : places) {
    const PJ_COORD sheet = proj_trans(peer, PJ_FWD, proj_coord(p.x, p.y, 0, 0));
    expected.push_back({sheet.xy.x, sheet.xy.y});
  }
  proj_destroy(peer);
  const NothingLeft nothing;
  const Child child(
      "", "20",
      std::string(kBin) + ";" + kLib + ";" OPRJ_SOURCE_DIR "/examples/external-projection");
  std::vector<std::string> samples = {"natural_earth", "natural_earth_plugin"};
  if (std::system("python3 -c '' 2> /dev/null") == 0) samples.push_back("natural_earth.py");
  else std::printf("natural_earth.py is left out: there is no python3\n");
  for (const std::string &name : samples) {
    SCOPED_TRACE(name);
    const RecordPtr record = external(name.c_str());
    record->proParams.data[4] = 11.25 * kDegree;
    record->proParams.data[6] = 500000;
    Slot err;
    const ObjectPtr object = start(err, record);
    ASSERT_TRUE(object) << err.chain();
    Points sheet = places, back(places.size());
    EXPECT_EQ(forward(object, sheet), "");
    object->toLL(sheet.data(), object->parameters, back.data(), static_cast<int32_t>(places.size()),
                 err);
    expectNoReport(err);
    for (size_t i = 0; i < places.size(); ++i) {
      EXPECT_NEAR(sheet[i].x, expected[i].x, kTolerance) << i;
      EXPECT_NEAR(sheet[i].y, expected[i].y, kTolerance) << i;
      EXPECT_NEAR(std::remainder(back[i].x - places[i].x, 360 * kDegree), 0, kTolerance / kRadius);
      EXPECT_NEAR(back[i].y, places[i].y, kTolerance / kRadius);
    }
    Points outside = {{0, 1.6}, {HUGE_VAL, 0}};
    EXPECT_EQ(forward(object, outside), "");
    EXPECT_TRUE(std::isnan(outside[0].x) && std::isnan(outside[0].y) && std::isnan(outside[1].x));
    outside[0] = {4e7, 0};
    object->toLL(outside.data(), object->parameters, outside.data(), 1, err);
    EXPECT_TRUE(std::isnan(outside[0].x) && !err.failed());
    expectFailure(start(err, external(name.c_str(), 5)), err, "oprj_ExternalInit: Initialization");
  }
}

// --- the pipeline ---

TEST(ExternalPipeline, PointsGoOnceAndFailuresAreOfTheCallOrOfThePoint) {
  const NothingLeft nothing;
  constexpr int32_t kCount = 5000;               // several tiles
  const Child child("read ok 0 read all echo");  // answers once
  Slot err;
  const RecordPtr record = external("external_child");
  Points in(kCount, Oprj_Point{0.25, 0.5}), out(kCount);
  {
    const PairPtr pair = makePair(geographic(), record);
    EXPECT_TRUE(oprj_ProjectPair(pair.get(), in.data(), out.data(), kCount, err)) << err.chain();
    EXPECT_EQ(std::memcmp(in.data(), out.data(), sizeof(Oprj_Point) * kCount), 0);
    EXPECT_FALSE(oprj_ProjectPair(pair.get(), in.data(), out.data(), kCount, err));
    EXPECT_NE(
        err.chain().find("nativeProjectionApply: fromLL failed (1) < oprj_ExternalFromLL: pipe"),
        std::string::npos)
        << err.chain();
  }
  const Child kit("kit");
  const PairPtr pair = makePair(geographic(), record);
  std::vector<Oprj_PointReason> reasons(kCount);
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.threads = 4;
  in[7].y = std::nan("");
  in[4321].x = HUGE_VAL - HUGE_VAL;
  EXPECT_EQ(
      oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons.data(), &options, kCount, err),
      kCount - 2);
  expectNoReport(err);
  EXPECT_TRUE(reasons[7] == OPRJ_POINT_NOT_A_NUMBER && reasons[4321] == OPRJ_POINT_NOT_A_NUMBER &&
              reasons[8] == OPRJ_POINT_GOOD && out[8].x == 1.25 && out[8].y == 1.5);
  in[9].x = 13;
  EXPECT_EQ(
      oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons.data(), &options, kCount, err),
      0);
  EXPECT_NE(err.chain().find("is 13 (-7)"), std::string::npos) << err.chain();
}

}  // namespace
