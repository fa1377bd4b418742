// External projections whose programs behave in every bad way.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>

#include "tests/external_support.h"

namespace {

using namespace orvik::test;

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

}  // namespace
