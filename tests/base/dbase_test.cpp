// Root classes and the message catalogue: version and texts, the catalogue
// name and its first use, filling in messages from the tests' own
// catalogue, damaged catalogue files and the search, and the out-of-memory
// handler.
#include "dbase.hpp"

#include "dexctrace.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

char const testCatalogue[] = ZYN_BASE_TEST_CATALOG;
char const missingText[] = "Unable to load text from message file.";
using Env = std::vector<std::pair<std::string, std::string>>;

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
// messageText reads; the substitution itself is checked against a model by
// fuzz/fuzz_catalog.cpp, these rows are about the values handed in and the
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
  };
  Case const cases[] = {
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

// A default text replaces only a text that was not loaded; copies keep
// the text (their own storage) and whether it was loaded.
TEST(DMessageText, DefaultsAndCopies) {
  std::pair<char const*, unsigned long> const missing[] = {
      {testCatalogue, 999},      // no such message
      {testCatalogue, 15},       // only in set 2
      {"/nonexistent/x.cat", 1}, // no catalogue
      {nullptr, 1}};             // no lookup at all
  for (auto const& c : missing) {
    DMessageText m(c.second, c.first, "x");
    EXPECT_STREQ(missingText, m.text()) << c.second;
    EXPECT_STREQ(missingText, m.setDefaultText(nullptr).text());
    EXPECT_STREQ("t", m.setDefaultText("t").text());
    EXPECT_STREQ("u", m.setDefaultText("u").text());
  }
  DMessageText const empty(10, testCatalogue); // found, even when empty
  EXPECT_STREQ("", DMessageText(empty).setDefaultText("t").text());
  DMessageText const found(2, testCatalogue, "a");
  DMessageText const notFound(999, testCatalogue);
  DMessageText copy(found);
  EXPECT_NE(found.text(), copy.text());
  EXPECT_STREQ("100%% a", copy.setDefaultText("t").text());
  copy = notFound;
  EXPECT_STREQ("t", copy.setDefaultText("t").text());
  EXPECT_STREQ(missingText, notFound.text());
  DMessageText& self = copy;
  copy = self;
  EXPECT_STREQ("t", copy.text());
  copy = found;
  EXPECT_STREQ("100%% a", copy.text());
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
  std::pair<char const*, std::string> const cases[] = {
      {"unset", "zorvanecl.cat"},
      {"", ""},
      {"/a/b.cat", "/a/b.cat"},
      {"keep", DBase::messageFile()}};
  for (auto const& c : cases) {
    dtest::ChildResult const child =
        dtest::runChild("FirstUse", {{"ZYN_FRESH_MSGFILE", c.first}});
    EXPECT_EQ(0, child.exitCode) << child.output;
    std::vector<std::string> const got =
        dtest::linesWith(child.output, "fresh: ");
    ASSERT_EQ(2u, got.size()) << child.output;
    EXPECT_EQ("[" + c.second + "] handler writer same", got[0]);
    EXPECT_TRUE(c.first != std::string("keep") || text1010 == got[1]);
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
  ASSERT_STRNE(missingText, text4.c_str());
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(16);
    std::string const big(64u << 20, 'x');
    dtest::failAllocationsFrom(4u << 20);
    try {
      char* volatile lost = new char[256u << 20];
      lost[0] = 1;
    } catch (DOutOfMemory const& e) {
      std::printf("child: %s %lu %d %lu %s\n", e.name(), e.errorId(),
                  e.isRecoverable() ? 1 : 0, e.textCount(), e.text(0));
    }
    for (std::string line : trace.lines) {
      std::replace(line.begin(), line.end(), '\n', '|');
      std::printf("child: %s\n", line.c_str());
    }
    std::printf("child: logged %d\n", trace.logged);
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
      } catch (DException const& e) {
        std::printf("child: %s\n", e.name());
      }
    std::printf("child: file %s, %lu text %s, handler %s\n",
                DBase::messageFile() == big ? "big" : "kept", kept.textCount(),
                kept.text(),
                std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                  : "other");
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::string got;
  for (std::string const& line : dtest::linesWith(child.output, "child: "))
    got += line + "|";
  EXPECT_EQ("DOutOfMemory 4 0 1 " + text4 +
                "|DOutOfMemory exception thrown.|   function: Unknown|"
                "   file: dbase|   line: 175|   Error Id is 4|"
                "   Error Code group is Zorvane Class Library|"
                "   Exception text is:|      " +
                text4 +
                "|logged 1|bad_alloc|bad_alloc|bad_alloc|bad_alloc|"
                "file kept, 1 text kept, handler library|",
            got);
}

namespace {

std::uint32_t wordOf(std::string const& bytes, std::size_t offset) {
  std::uint32_t word;
  std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

std::string withWord(std::string bytes, std::size_t offset,
                     std::uint32_t word) {
  std::memcpy(&bytes[offset], &word, sizeof word);
  return bytes;
}

// Message 1 ("Bad %1 at %2") of \p catalogue in a forked child, with \p env
// set and in \p cwd when given: its text, or how the child ended (a crash
// or hang ends only the child; the alarm is a watchdog).
std::string messageInChild(std::string const& catalogue, Env const& env,
                           std::string const& cwd) {
  dtest::ChildResult const child = dtest::runInChild([&] {
    ::alarm(60);
    for (auto const& e : env)
      setenv(e.first.c_str(), e.second.c_str(), 1);
    if (!cwd.empty() && ::chdir(cwd.c_str()) != 0)
      return 2;
    std::printf("child: %s\n",
                DMessageText(1, catalogue.c_str(), "x", "y").text());
    return 0;
  });
  std::vector<std::string> const lines =
      dtest::linesWith(child.output, "child: ");
  if (child.signal != 0 || child.exitCode != 0 || lines.size() != 1)
    return "signal " + std::to_string(child.signal) + " exit " +
           std::to_string(child.exitCode) + ": " + child.output;
  return lines[0];
}

} // namespace

// The C library's catopen and catgets trust the header (plane size 0
// divides by zero, a large size or depth reads past the file) and block on
// a FIFO: every such file, named or found by the search, gives the
// fallback text. In the search the first file that opens at all counts.
TEST(DMessageText, DamagedCataloguesAndTheSearch) {
  std::ifstream in(testCatalogue, std::ios::binary);
  std::string const good((std::istreambuf_iterator<char>(in)),
                         std::istreambuf_iterator<char>());
  ASSERT_GT(good.size(), 12u);
  std::uint32_t const planes = wordOf(good, 4) * wordOf(good, 8);
  std::size_t const pool = 12 + 24 * std::size_t{planes};
  ASSERT_LT(pool, good.size());
  // Set 1, message 1 in this machine's table (gencat stores sets one up).
  std::size_t entry = 0;
  std::size_t const table =
      __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 12 : 12 + 12 * planes;
  for (std::size_t e = table; e < table + 12u * planes; e += 12)
    if (wordOf(good, e) == 2 && wordOf(good, e + 4) == 1)
      entry = e;
  ASSERT_NE(0u, entry);
  std::string swapped = good;
  for (std::size_t at = 0; at < 12; at += 4)
    swapped = withWord(swapped, at, __builtin_bswap32(wordOf(good, at)));

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
  put("zero/" + name, withWord(good, 4, 0));
  std::filesystem::create_directories(d + "/dir/" + name);
  ASSERT_EQ(0, ::mkfifo((d + "/" + name).c_str(), 0600));
  auto nls = [](std::string const& value) -> Env {
    return {{"NLSPATH", value}, {"LANG", "de_DE.UTF-8"}};
  };
  std::string const found = "Bad x at y", none = missingText;
  struct Case {
    std::string catalogue, want;
    Env env = {};
    std::string cwd = {};
  };
  Case const cases[] = {
      {put("intact.cat", good), found},
      {put("swapped.cat", swapped), found},
      {d + "/zero/" + name, none},
      {put("huge.cat", withWord(good, 4, 0xFFFFFFFFu)), none},
      {put("big.cat", withWord(good, 4, 1u << 20)), none},
      {put("flat.cat", withWord(good, 8, 0)), none},
      {put("deep.cat", withWord(good, 8, 1u << 30)), none},
      {put("wrap.cat", withWord(withWord(good, 4, 1u << 16), 8, 1u << 16)),
       none}, // size x depth is 0 in 32 bits
      {put("magic.cat", withWord(good, 0, 0x12345678u)), none},
      {put("empty.cat", ""), none},
      {put("half.cat", good.substr(0, 6)), none},
      {put("header.cat", good.substr(0, 12)), none},
      {put("cut.cat", good.substr(0, pool - 4)), none},
      {put("nopool.cat", good.substr(0, pool)), none},
      {put("open.cat", good.substr(0, good.size() - 1)), none},
      {put("offset.cat",
           withWord(good, entry + 8,
                    static_cast<std::uint32_t>(good.size() - pool))),
       none},
      {d + "/dir/" + name, none},
      {d + "/" + name, none}, // a FIFO
      {"/dev/null", none},
      {name, found, nls(d + "/ok/%N")},
      {name, found, nls(d + "/none/%N:" + d + "/ok/%N")},
      {name, found, nls(d + "/%q/%N:" + d + "/ok/%N")}, // unknown variable
      {name, found, nls(d + "/%l/%t/%c/%N")},
      {name, found, nls(":"), d + "/ok"}, // empty element: the current dir
      {name, none, nls(d + "/zero/%N")},
      {name, none, nls(d + "/%N")}, // the FIFO
      {name, none, nls(d + "/dir/%N:" + d + "/ok/%N")},
  };
  for (auto const& c : cases)
    EXPECT_EQ(c.want, messageInChild(c.catalogue, c.env, c.cwd))
        << &c - cases << " " << c.catalogue;
  std::error_code ignored;
  std::filesystem::remove_all(d, ignored);
}
