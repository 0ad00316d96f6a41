// Root classes and the message catalogue: version and texts, the catalogue
// name and its first use, messages from the tests' own catalogue, damaged
// catalogue files and the search, and the out-of-memory handler.
#include "dbase.hpp"

#include "dexctrace.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace {

char const testCatalogue[] = ZYN_BASE_TEST_CATALOG;
char const missingText[] = "Unable to load text from message file.";
std::string const libGroup = "   Error Code group is Zorvane Class Library";

class Described : public DVBase {
public:
  DString asString() const override { return DString("described"); }
};

} // namespace

TEST(DBase, VersionAndTexts) {
  EXPECT_EQ(310, DBase::version().major);
  EXPECT_EQ(1, DBase::version().minor);
  std::ostringstream out;
  out << DBase() << '|' << DVBase() << '|'
      << static_cast<DVBase const&>(Described());
  EXPECT_EQ("DBase object|DVBase object|described", out.str());
}

// The name in force (kept on null, may be handed back in) is the one
// messageText reads. The substitution itself is checked against a model by
// fuzz/fuzz_catalog.cpp; these rows are about the values handed in and the
// line ends of loaded texts.
TEST(DMessageText, NameInForceAndSubstitution) {
  std::string const before = DBase::messageFile();
  std::string const text4 = DBase::messageText(4).text();
  EXPECT_NE(missingText, text4);
  DBase::setMessageFile(nullptr);
  EXPECT_EQ(before, DBase::messageFile());
  DBase::setMessageFile(testCatalogue);
  DBase::setMessageFile(DBase::messageFile());
  EXPECT_STREQ(testCatalogue, DBase::messageFile());
  struct Case {
    unsigned long id;
    char const* values[9];
    char const* want;
  } const cases[] = {
      {1, {"x", nullptr, "z"}, "Bad x at %2"}, // counting stops at none
      {1, {nullptr, "y"}, "Bad %1 at %2"},
      {1, {"x", "\r\n"}, "Bad x at "}, // CR LF dropped after substitution
      {5, {}, "crlf"},
      {6, {}, "lf\n"},
      {7, {}, "cr\r"},
      {8, {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "123456789"},
      {11, {}, "twice\r\n"}, // only the last pair goes
      {12, {}, ""},
  };
  for (auto const& c : cases) {
    auto const* v = c.values;
    DMessageText const m = DBase::messageText(c.id, v[0], v[1], v[2], v[3],
                                              v[4], v[5], v[6], v[7], v[8]);
    EXPECT_STREQ(c.want, m.text()) << c.id;
    EXPECT_EQ(m.text(), static_cast<char const*>(m));
  }
  DBase::setMessageFile("/nonexistent/x.cat");
  EXPECT_STREQ(missingText, DBase::messageText(4).text());
  DBase::setMessageFile(before.c_str());
  EXPECT_EQ(text4, DBase::messageText(4).text());
}

// A fresh process: the name from the environment at the first use, made
// once even when two threads raise their first library exceptions together
// (under ThreadSanitizer the child reports a race, exit 66, otherwise); the
// library's new-handler and writer are in place.
DTEST_CHILD(FirstUse) {
  std::string const mode = std::getenv("ZYN_FRESH_MSGFILE");
  if (mode == "unset")
    unsetenv("KOVRA MSGFILE");
  else if (mode != "keep")
    setenv("KOVRA MSGFILE", mode.c_str(), 1);
  DString const first("made before the threads start");
  std::atomic<bool> go(false);
  std::string texts[2];
  auto raise = [&](int k) {
    while (!go.load())
      std::this_thread::yield();
    try {
      DString const tooLong(nullptr, 0xFFFFFFFFu, ' ');
    } catch (DException const& e) {
      texts[k] = e.text();
    }
  };
  std::thread a(raise, 0), b(raise, 1);
  go.store(true);
  a.join();
  b.join();
  DException::TraceFn plain;
  DException::TraceFn* const writer = DException::setTraceFunction(plain);
  std::printf("fresh: [%s] %s %s %s\nfresh: %s\n", DBase::messageFile(),
              std::get_new_handler() == &DKOVR_Init::newHandler ? "handler"
                                                                : "other",
              dynamic_cast<DKOVR_Init*>(writer) ? "writer" : "other",
              texts[0] == texts[1] ? "same" : "differ", texts[0].c_str());
}

TEST(DBaseThread, FirstUseInFreshProcess) {
  std::string const text1010 = DBase::messageText(1010).text();
  ASSERT_NE(missingText, text1010);
  std::pair<std::string, std::string> const cases[] = {
      {"unset", "zorvanecl.cat"}, {"", ""}, {"keep", DBase::messageFile()}};
  for (auto const& [mode, file] : cases) {
    dtest::ChildResult const child =
        dtest::runChild("FirstUse", {{"ZYN_FRESH_MSGFILE", mode}});
    std::vector<std::string> const got =
        dtest::linesWith(child.output, "fresh: ");
    ASSERT_EQ(2u, got.size()) << child.output;
    EXPECT_EQ("[" + file + "] handler writer same", got[0]);
    EXPECT_TRUE(mode != "keep" || text1010 == got[1]) << got[1];
  }
}

// Running out of memory anywhere raises DOutOfMemory with message 4,
// reported from file dbase, line 175. Message texts, the catalogue name and
// exception texts are allocated without the handler: there it is
// std::bad_alloc, and what was there is kept.
TEST(DKOVR_Init, OutOfMemory) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  std::string const text4 = DBase::messageText(4).text();
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(16);
    std::string const big(64u << 20, 'x');
    dtest::failAllocationsFrom(4u << 20);
    try {
      char* volatile lost = new char[256u << 20];
      lost[0] = 1;
    } catch (DOutOfMemory const& e) {
      std::printf("child: %s %lu %d %lu\n", e.name(), e.errorId(),
                  e.isRecoverable() ? 1 : 0, e.textCount());
    }
    for (std::string line : trace.lines) {
      std::replace(line.begin(), line.end(), '\n', '|');
      std::printf("child: %s\n", line.c_str());
    }
    DException kept("kept", 0, DException::recoverable);
    std::function<void()> const steps[] = {
        [&] { DMessageText const m(14, testCatalogue, big.c_str()); },
        [&] { DBase::setMessageFile(big.c_str()); },
        [&] { kept.setText(big.c_str()); },
        [&] { kept.appendText(big.c_str()); }};
    for (auto const& step : steps)
      try {
        step();
        std::printf("child: no exception\n");
      } catch (std::bad_alloc const&) {
        std::printf("child: bad_alloc\n");
      }
    std::printf("child: logged %d, file %s, %lu text %s, handler %s\n",
                trace.logged, DBase::messageFile() == big ? "big" : "kept",
                kept.textCount(), kept.text(),
                std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                  : "other");
    return 0;
  });
  std::string got;
  for (std::string const& line : dtest::linesWith(child.output, "child: "))
    got += line + "|";
  EXPECT_EQ(
      "DOutOfMemory 4 0 1|DOutOfMemory exception thrown.|"
      "   function: Unknown|   file: dbase|   line: 175|   Error Id is 4|" +
          libGroup + "|   Exception text is:|      " + text4 +
          "|bad_alloc|bad_alloc|bad_alloc|bad_alloc|"
          "logged 1, file kept, 1 text kept, handler library|",
      got);
}

// Damaged files: fuzz/fuzz_catfile.cpp. A catalogue found by the search
// counts only when sound, and the first file that opens at all (a FIFO
// would block catopen, a directory) ends the search.
TEST(DMessageText, CatalogueFilesAndTheSearch) {
  std::ifstream in(testCatalogue, std::ios::binary);
  std::string const good((std::istreambuf_iterator<char>(in)), {});
  std::string swapped = good, zero = good;
  for (std::size_t at = 0; at < 12; at += 4)
    std::reverse(swapped.begin() + at, swapped.begin() + at + 4);
  std::memset(&zero[4], 0, 4); // plane size 0
  char scratch[] = "/tmp/zyn-catalogue-XXXXXX";
  ASSERT_NE(nullptr, ::mkdtemp(scratch));
  std::string const d = scratch, name = "dbase_test.cat";
  auto put = [&d](std::string const& file, std::string const& bytes) {
    std::filesystem::create_directories(
        std::filesystem::path(d + "/" + file).parent_path());
    std::ofstream(d + "/" + file, std::ios::binary) << bytes;
    return d + "/" + file;
  };
  put("ok/" + name, good);
  put("de/DE/UTF-8/" + name, good);
  put("zero/" + name, zero);
  std::filesystem::create_directories(d + "/dir/" + name);
  ASSERT_EQ(0, ::mkfifo((d + "/" + name).c_str(), 0600));
  std::string const found = "Bad x at y", none = missingText;
  struct Case {
    std::string catalogue, want, nlspath = {}, cwd = {};
  } const cases[] = {
      {put("intact.cat", good), found},
      {put("swapped.cat", swapped), found},
      {d + "/zero/" + name, none},
      {put("cut.cat", good.substr(0, good.size() - 1)), none},
      {d + "/dir/" + name, none},
      {d + "/" + name, none}, // a FIFO
      {"/dev/null", none},
      {name, found, d + "/ok/%N"},
      {name, found, d + "/none/%N:" + d + "/ok/%N"},
      {name, found, d + "/%q/%N:" + d + "/ok/%N"}, // unknown variable
      {name, found, d + "/%l/%t/%c/%N"},
      {name, found, ":", d + "/ok"}, // empty element: the current dir
      {name, none, d + "/zero/%N"},
      {name, none, d + "/%N"}, // the FIFO
      {name, none, d + "/dir/%N:" + d + "/ok/%N"},
  };
  // Message 1 in a forked child (a crash or hang ends only the child; the
  // alarm is a watchdog).
  for (auto const& c : cases) {
    dtest::ChildResult const child = dtest::runInChild([&c] {
      ::alarm(60);
      setenv("NLSPATH", c.nlspath.c_str(), 1);
      setenv("LANG", "de_DE.UTF-8", 1);
      if (!c.cwd.empty() && ::chdir(c.cwd.c_str()) != 0)
        return 2;
      std::printf("child: %s\n",
                  DMessageText(1, c.catalogue.c_str(), "x", "y").text());
      return 0;
    });
    EXPECT_EQ(std::vector<std::string>{c.want},
              dtest::linesWith(child.output, "child: "))
        << &c - cases << " " << c.catalogue << child.signal << child.output;
  }
  std::error_code ignored;
  std::filesystem::remove_all(d, ignored);
}
