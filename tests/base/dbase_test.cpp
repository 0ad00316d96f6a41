// Root classes and the message catalogue: version, asString and debug
// texts, the catalogue name and its first use, loading and filling in
// messages from the tests' own catalogue, and the out-of-memory handler.
#include "dbase.hpp"

#include "dexctrace.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <nl_types.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

char const testCatalogue[] = ZYN_BASE_TEST_CATALOG;
char const missingText[] = "Unable to load text from message file.";

// Points the library at another catalogue for one scope.
class MessageFileScope {
public:
  explicit MessageFileScope(char const* name) : saved(DBase::messageFile()) {
    DBase::setMessageFile(name);
  }
  ~MessageFileScope() { DBase::setMessageFile(saved.c_str()); }

private:
  std::string saved;
};

class Described : public DVBase {
public:
  DString asString() const override { return DString("described"); }
};

} // namespace

TEST(DBase, VersionAndTexts) {
  DBase::Version const v = DBase::version();
  EXPECT_EQ(310, v.major);
  EXPECT_EQ(1, v.minor);

  DBase const base;
  DVBase const vbase;
  EXPECT_STREQ("DBase object", base.asString());
  EXPECT_STREQ("DVBase object", vbase.asString());

  std::ostringstream out;
  Described const described;
  out << base << '|' << vbase << '|' << static_cast<DVBase const&>(described);
  EXPECT_EQ("DBase object|DVBase object|described", out.str());
}

// The address as the shortest big-endian bytes in upper-case hexadecimal.
TEST(DBase, DebugInfoShowsAddressInHex) {
  DString probe("65535");
  probe.d2c();
  if (dtest::bytes(probe) != "\xFF\xFF")
    GTEST_SKIP() << "the radix conversions are not in this build yet";
  auto hexOf = [](void const* p) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%lX",
                  reinterpret_cast<unsigned long>(p));
    std::string hex = digits;
    return hex.size() % 2 == 1 ? "0" + hex : hex;
  };
  DBase const base;
  DVBase const vbase;
  EXPECT_EQ("DBase(@" + hexOf(&base) + ")", dtest::bytes(base.asDebugInfo()));
  EXPECT_EQ("DVBase(@" + hexOf(&vbase) + ")",
            dtest::bytes(vbase.asDebugInfo()));
}

TEST(DBaseMessageFile, SetAndKeep) {
  std::string const before = DBase::messageFile();
  DBase::setMessageFile(nullptr);
  EXPECT_EQ(before, DBase::messageFile());
  {
    MessageFileScope const scope(testCatalogue);
    EXPECT_STREQ(testCatalogue, DBase::messageFile());
    // The name in force may be handed back in.
    DBase::setMessageFile(DBase::messageFile());
    EXPECT_STREQ(testCatalogue, DBase::messageFile());
    EXPECT_STREQ("Bad x at %2",
                 DBase::messageText(1, "x", nullptr, "z").text());
  }
  EXPECT_EQ(before, DBase::messageFile());
  EXPECT_STRNE(missingText, DBase::messageText(4).text());
}

// The state the library is in at its first use, in a fresh process.
DTEST_CHILD(FirstUse) {
  std::string const mode = std::getenv("ZYN_FRESH_MSGFILE");
  if (mode == "unset")
    unsetenv("KOVRA MSGFILE");
  else
    setenv("KOVRA MSGFILE", mode.c_str(), 1);
  std::printf("fresh: file [%s]\n", DBase::messageFile());
  std::printf("fresh: handler %s\n",
              std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                : "other");
  // The first program writer replaces the library's own.
  DException::TraceFn plain;
  DException::TraceFn* const first = DException::setTraceFunction(plain);
  std::printf("fresh: writer was %s\n",
              dynamic_cast<DKOVR_Init*>(first) != nullptr ? "library"
                                                          : "other");
  DException::setTraceFunction(*first);
}

TEST(DBaseMessageFile, FirstUseInFreshProcess) {
  struct Case {
    char const* mode;
    char const* file;
  };
  Case const cases[] = {{"unset", "zorvanecl.cat"},
                        {"", ""},
                        {"/some/where.cat", "/some/where.cat"}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.mode);
    dtest::ChildResult const child =
        dtest::runChild("FirstUse", {{"ZYN_FRESH_MSGFILE", c.mode}});
    EXPECT_EQ(0, child.exitCode) << child.output;
    std::vector<std::string> const want = {std::string("file [") + c.file + "]",
                                           "handler library",
                                           "writer was library"};
    EXPECT_EQ(want, dtest::linesWith(child.output, "fresh: "));
  }
}

TEST(DMessageText, Substitution) {
  struct Case {
    unsigned long id;
    char const* values[9];
    char const* want;
  };
  Case const cases[] = {
      {1, {"x", nullptr, "z"}, "Bad x at %2"}, // counting stops at none
      {1, {"x", "y"}, "Bad x at y"},
      {1, {nullptr, "y"}, "Bad %1 at %2"},
      {1, {"%2", "X"}, "Bad %2 at X"}, // substituted text is not rescanned
      {1, {"x", "\r\n"}, "Bad x at "}, // CR LF dropped after substitution
      {2, {"a"}, "100%% a"},           // "%%" is kept whole
      {3, {"a", "b", "c"}, "a2"},      // placeholders are one digit
      {4, {"a"}, "%0 %a 50% and %"},
      {5, {}, "crlf"},
      {6, {}, "lf\n"},
      {7, {}, "cr\r"},
      {8, {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "123456789"},
      {8, {"1", "2", "3"}, "123%4%5%6%7%8%9"},
      {9, {"a"}, "%9 then a"},
      {10, {"a"}, ""},
      {11, {}, "twice\r\n"}, // only the last pair goes
      {12, {}, ""},
      {13, {"a"}, "%%1 %%a"},
      {14, {"a"}, "a and a"},
      {14, {""}, " and "},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.id << " -> " << c.want);
    auto const* v = c.values;
    DMessageText const m(c.id, testCatalogue, v[0], v[1], v[2], v[3], v[4],
                         v[5], v[6], v[7], v[8]);
    EXPECT_STREQ(c.want, m.text());
    EXPECT_EQ(m.text(), static_cast<char const*>(m));
  }
}

TEST(DMessageText, MissingTextsAndDefaults) {
  struct Case {
    char const* catalogue;
    unsigned long id;
  };
  Case const cases[] = {{testCatalogue, 999},      // no such message
                        {testCatalogue, 15},       // only in set 2
                        {"/nonexistent/x.cat", 1}, // no catalogue
                        {nullptr, 1}};             // no lookup at all
  for (auto const& c : cases) {
    SCOPED_TRACE(c.id);
    DMessageText m(c.id, c.catalogue, "x");
    EXPECT_STREQ(missingText, m.text());
    m.setDefaultText(nullptr);
    EXPECT_STREQ(missingText, m.text());
    DMessageText& back = m.setDefaultText("t");
    EXPECT_EQ(&m, &back);
    EXPECT_STREQ("t", m.text());
    m.setDefaultText("u");
    EXPECT_STREQ("u", m.text());
  }
  // A found text, even an empty one, is never replaced.
  for (unsigned long id : {6ul, 10ul}) {
    DMessageText m(id, testCatalogue);
    std::string const found = m.text();
    m.setDefaultText("t");
    EXPECT_EQ(found, m.text());
  }
}

TEST(DMessageText, CopiesKeepTextAndLoadedFlag) {
  DMessageText const found(2, testCatalogue, "a");
  DMessageText const missing(999, testCatalogue);

  DMessageText copy(found);
  EXPECT_STREQ("100%% a", copy.text());
  EXPECT_NE(found.text(), copy.text());
  copy.setDefaultText("t"); // still marked as loaded
  EXPECT_STREQ("100%% a", copy.text());

  copy = missing;
  EXPECT_STREQ(missingText, copy.text());
  copy.setDefaultText("t"); // now marked as not loaded
  EXPECT_STREQ("t", copy.text());
  EXPECT_STREQ(missingText, missing.text());

  DMessageText& self = copy;
  copy = self;
  EXPECT_STREQ("t", copy.text());
  copy = found;
  EXPECT_STREQ("100%% a", copy.text());
}

TEST(DBaseMessageFile, MessageTextUsesNameInForce) {
  DMessageText const before = DBase::messageText(14, "a");
  {
    MessageFileScope const scope(testCatalogue);
    EXPECT_STREQ("a and a", DBase::messageText(14, "a").text());
    EXPECT_STREQ("123456789", DBase::messageText(8, "1", "2", "3", "4", "5",
                                                 "6", "7", "8", "9")
                                  .text());
    DBase::setMessageFile("/nonexistent/x.cat");
    EXPECT_STREQ(missingText, DBase::messageText(14, "a").text());
  }
  EXPECT_STREQ(before.text(), DBase::messageText(14, "a").text());
}

// Running out of memory anywhere raises DOutOfMemory with message 4,
// reported from file dbase, line 175.
TEST(DKOVR_Init, OutOfMemoryThrowsDOutOfMemory) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  std::string const text4 = DBase::messageText(4).text();
  ASSERT_STRNE(missingText, text4.c_str());
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(16);
    if (std::get_new_handler() != &DKOVR_Init::newHandler)
      return 3;
    dtest::failAllocationsFrom(4u << 20);
    try {
      char* volatile lost = new char[256u << 20];
      lost[0] = 1;
      return 4;
    } catch (DOutOfMemory const& e) {
      std::printf("child: caught %s id %lu recoverable %d texts %lu\n",
                  e.name(), e.errorId(), e.isRecoverable() ? 1 : 0,
                  e.textCount());
      std::printf("child: text %s\n", e.text(0));
    }
    for (auto const& line : trace.lines) {
      std::istringstream parts(line);
      for (std::string part; std::getline(parts, part);)
        std::printf("child: trace %s\n", part.c_str());
    }
    std::printf("child: logged %d\n", trace.logged);
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const want = {
      "caught DOutOfMemory id 4 recoverable 0 texts 1",
      "text " + text4,
      "trace DOutOfMemory exception thrown.",
      "trace    function: Unknown",
      "trace    file: dbase",
      "trace    line: 175",
      "trace    Error Id is 4",
      "trace    Error Code group is Zorvane Class Library",
      "trace    Exception text is:",
      "trace       " + text4,
      "logged 1"};
  EXPECT_EQ(want, dtest::linesWith(child.output, "child: "));
}

// Message texts are allocated with the new-handler removed: running out of
// memory while filling one in raises std::bad_alloc, never DOutOfMemory
// (whose own text would be loaded the same way).
TEST(DMessageText, AllocationBypassesNewHandler) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  dtest::ChildResult const child = dtest::runInChild([] {
    std::string const big(64u << 20, 'x');
    dtest::failAllocationsFrom(8u << 20);
    try {
      DMessageText const m(14, testCatalogue, big.c_str());
      return 3;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    } catch (DException const& e) {
      std::printf("child: %s\n", e.name());
    }
    try {
      DBase::setMessageFile(big.c_str());
      return 4;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    } catch (DException const& e) {
      std::printf("child: %s\n", e.name());
    }
    std::printf("child: file %s\n",
                DBase::messageFile() == big ? "big" : "kept");
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const want = {"bad_alloc", "bad_alloc", "file kept"};
  EXPECT_EQ(want, dtest::linesWith(child.output, "child: "));
}

// Two threads raise a fresh process's first library exceptions at once, so
// both make the first use of the catalogue name.
DTEST_CHILD(TwoThreadsRaiseFirst) {
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
  std::thread a(raise, 0);
  std::thread b(raise, 1);
  go.store(true);
  a.join();
  b.join();
  std::printf("fresh: file [%s]\nfresh: %s\nfresh: %s\n", DBase::messageFile(),
              texts[0].c_str(), texts[1].c_str());
}

// Fails under ThreadSanitizer (the child reports the race and exits 66)
// when the first use of the name is not made once.
TEST(DBaseThread, FirstUseFromTwoThreads) {
  std::string const text1010 = DBase::messageText(1010).text();
  ASSERT_STRNE(missingText, text1010.c_str());
  dtest::ChildResult const child = dtest::runChild("TwoThreadsRaiseFirst", {});
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const want = {
      std::string("file [") + DBase::messageFile() + "]", text1010, text1010};
  EXPECT_EQ(want, dtest::linesWith(child.output, "fresh: "));
}

namespace {

std::string fileBytes(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in),
                     std::istreambuf_iterator<char>());
}

// A scratch directory, removed with everything in it.
class ScratchDir {
public:
  ScratchDir() {
    char name[] = "/tmp/zyn-catalogue-XXXXXX";
    if (::mkdtemp(name) != nullptr)
      path = name;
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  ScratchDir(ScratchDir const&) = delete;
  ScratchDir& operator=(ScratchDir const&) = delete;
  // Writes \p bytes to \p name below the directory (parents made).
  std::string put(std::string const& name, std::string const& bytes) const {
    std::string const full = path + "/" + name;
    std::filesystem::create_directories(
        std::filesystem::path(full).parent_path());
    std::ofstream(full, std::ios::binary) << bytes;
    return full;
  }
  std::string path;
};

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

// Message 1 ("Bad %1 at %2") of \p catalogue in a forked child, with
// \p env set and in \p cwd when given: its text, or how the child ended (a
// crash or hang ends only the child; the alarm is a watchdog). With
// \p alsoRaw, the C library's own catopen(name, 0) is asked too and
// " (raw found)" or " (raw none)" appended.
std::string
messageInChild(std::string const& catalogue,
               std::vector<std::pair<std::string, std::string>> const& env,
               std::string const& cwd, bool alsoRaw) {
  dtest::ChildResult const child = dtest::runInChild([&] {
    ::alarm(60);
    for (auto const& e : env)
      setenv(e.first.c_str(), e.second.c_str(), 1);
    if (!cwd.empty() && ::chdir(cwd.c_str()) != 0)
      return 2;
    DMessageText const m(1, catalogue.c_str(), "x", "y");
    std::printf("child: %s", m.text());
    if (alsoRaw) {
      nl_catd const raw = catopen(catalogue.c_str(), 0);
      std::printf(" (raw %s)",
                  catgets(raw, 1, 1, nullptr) != nullptr ? "found" : "none");
      catclose(raw);
    }
    std::printf("\n");
    return 0;
  });
  if (child.signal != 0)
    return "signal " + std::to_string(child.signal);
  std::vector<std::string> const lines =
      dtest::linesWith(child.output, "child: ");
  if (child.exitCode != 0 || lines.size() != 1)
    return "exit " + std::to_string(child.exitCode) + ": " + child.output;
  return lines[0];
}

} // namespace

// catopen and catgets trust the header (plane size 0 divides by zero, a
// large plane size or depth reads past the mapped file) and catopen blocks
// on a FIFO: every such file, named or found by the search, gives the
// fallback text in a process that keeps running.
TEST(DMessageText, DamagedCataloguesGiveFallbackText) {
  std::string const good = fileBytes(testCatalogue);
  ASSERT_GT(good.size(), 12u);
  std::uint32_t const planeSize = wordOf(good, 4);
  std::uint32_t const planeDepth = wordOf(good, 8);
  std::size_t const pool = 12 + 24 * std::size_t{planeSize} * planeDepth;
  ASSERT_LT(pool, good.size());
  // The entry of set 1, message 1 in the table in this machine's order
  // (gencat stores set numbers one up).
  std::size_t entry = 0;
  std::size_t const table = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
                                ? 12
                                : 12 + 12 * std::size_t{planeSize} * planeDepth;
  for (std::size_t e = table; e < table + 12u * planeSize * planeDepth; e += 12)
    if (wordOf(good, e) == 2 && wordOf(good, e + 4) == 1)
      entry = e;
  ASSERT_NE(0u, entry);
  std::string swappedHeader = good;
  for (std::size_t at = 0; at < 12; at += 4)
    swappedHeader =
        withWord(swappedHeader, at, __builtin_bswap32(wordOf(good, at)));

  ScratchDir const dir;
  ASSERT_FALSE(dir.path.empty());
  std::string const found = "Bad x at y";
  std::string const name = "dbase_test.cat";
  dir.put("ok/" + name, good);
  dir.put("de/DE/UTF-8/" + name, good);
  dir.put("zero/" + name, withWord(good, 4, 0));
  std::filesystem::create_directories(dir.path + "/dir/" + name);
  std::filesystem::create_directories(dir.path + "/fifo");
  ASSERT_EQ(0, ::mkfifo((dir.path + "/fifo/" + name).c_str(), 0600));

  struct Case {
    char const* what;
    std::string catalogue;
    std::string want;
    std::vector<std::pair<std::string, std::string>> env = {};
    std::string cwd = {};
    bool raw = false; // also ask catopen itself (file sound or absent)
  };
  std::string const d = dir.path;
  auto nls = [](std::string const& value)
      -> std::vector<std::pair<std::string, std::string>> {
    return {{"NLSPATH", value}, {"LANG", "de_DE.UTF-8"}};
  };
  Case const cases[] = {
      {"intact copy", dir.put("intact.cat", good), found},
      {"header in the other byte order", dir.put("swapped.cat", swappedHeader),
       found},
      {"plane size 0", d + "/zero/" + name, missingText},
      {"plane size 0xFFFFFFFF",
       dir.put("huge.cat", withWord(good, 4, 0xFFFFFFFFu)), missingText},
      {"plane size 2^20", dir.put("big.cat", withWord(good, 4, 1u << 20)),
       missingText},
      {"plane depth 0", dir.put("flat.cat", withWord(good, 8, 0)), missingText},
      {"plane depth 2^30", dir.put("deep.cat", withWord(good, 8, 1u << 30)),
       missingText},
      {"plane size x depth wraps to 0 in 32 bits",
       dir.put("wrap.cat", withWord(withWord(good, 4, 1u << 16), 8, 1u << 16)),
       missingText},
      {"bad magic", dir.put("magic.cat", withWord(good, 0, 0x12345678u)),
       missingText},
      {"empty file", dir.put("empty.cat", ""), missingText},
      {"half a header", dir.put("half.cat", good.substr(0, 6)), missingText},
      {"header only", dir.put("header.cat", good.substr(0, 12)), missingText},
      {"tables cut short", dir.put("cut.cat", good.substr(0, pool - 4)),
       missingText},
      {"no string pool", dir.put("nopool.cat", good.substr(0, pool)),
       missingText},
      {"last string unterminated",
       dir.put("open.cat", good.substr(0, good.size() - 1)), missingText},
      {"string offset past the pool",
       dir.put("offset.cat",
               withWord(good, entry + 8,
                        static_cast<std::uint32_t>(good.size() - pool))),
       missingText},
      {"directory", d + "/dir/" + name, missingText},
      {"FIFO", d + "/fifo/" + name, missingText},
      {"character device", "/dev/null", missingText},
      // The search: the file found is checked, and the first one that
      // opens at all counts, as in the C library.
      {"search finds a sound file", name, found, nls(d + "/ok/%N"), "", true},
      {"search passes a missing file", name, found,
       nls(d + "/none/%N:" + d + "/ok/%N"), "", true},
      {"search skips an unknown variable", name, found,
       nls(d + "/%q/%N:" + d + "/ok/%N"), "", true},
      {"search with language, territory, codeset", name, found,
       nls(d + "/%l/%t/%c/%N"), "", true},
      {"search: empty element is the name in the current directory", name,
       found, nls(":"), d + "/ok", true},
      {"search finds plane size 0", name, missingText, nls(d + "/zero/%N")},
      {"search finds a FIFO", name, missingText, nls(d + "/fifo/%N")},
      {"search stops at a directory", name, missingText,
       nls(d + "/dir/%N:" + d + "/ok/%N"), "", true},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.want, messageInChild(c.catalogue, c.env, c.cwd, false));
  }
  // Where the file is sound or absent, the C library's own search agrees.
  for (auto const& c : cases) {
    if (!c.raw)
      continue;
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.want + (c.want == found ? " (raw found)" : " (raw none)"),
              messageInChild(c.catalogue, c.env, c.cwd, true));
  }
}
