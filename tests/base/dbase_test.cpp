// The foundation: exceptions, error information, the throw helpers and the
// report each throw writes first; root classes, the message catalogue, its
// name and first use, the search for it, and the out-of-memory handler.
#include "base/dthrow_p.hpp"

#include "derrinfo.hpp"
#include "dexctrace.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
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

std::string joined(std::vector<std::string> const& lines) {
  std::string out;
  for (std::string const& line : lines)
    out += (&line == &lines[0] ? "" : "|") + line;
  return out;
}

// A program's own exception class whose name is ownName.
std::string ownName;
class NamedException : public DException {
public:
  using DException::DException;
  char const* name() const override { return ownName.c_str(); }
};

// The report of an exception, its writes joined by '|', logged once.
template <class E = DException>
std::string report(char const* text, unsigned long id,
                   std::vector<DExceptionLocation> const& locations = {},
                   char const* group = DException::baseLibrary,
                   std::vector<char const*> const& moreTexts = {}) {
  E e(text, id, DException::recoverable);
  for (char const* t : moreTexts)
    e.setText(t);
  e.setErrorCodeGroup(group);
  for (auto const& location : locations)
    e.addLocation(location);
  dtest::RecordingTrace trace;
  EXPECT_EQ(&e, &e.logExceptionData());
  EXPECT_EQ(1, trace.logged);
  return joined(trace.lines);
}

// Texts newest first, then the locations, with the nulls past the ends.
std::string state(DException const& e) {
  std::string out = std::to_string(e.textCount()) + ":";
  for (unsigned long i = 0; i < e.textCount(); ++i)
    out += std::string(i ? "," : "") + e.text(i);
  out += e.text(e.textCount()) == nullptr ? " locs" : " TEXT PAST END";
  for (unsigned long i = 0; i < e.locationCount(); ++i)
    out += std::string(" ") + e.locationAtIndex(i)->fileName() + ":" +
           std::to_string(e.locationAtIndex(i)->lineNumber());
  bool const nullsPast = e.locationAtIndex(e.locationCount()) == nullptr &&
                         e.locationAtIndex(~0ul) == nullptr;
  return out + (nullsPast ? "" : " LOCATION PAST END");
}

// A throw at "at" line 5: class, handler, id, severity, group, text, texts
// and locations; the report written first names the place and the text.
std::string thrown(std::function<void()> const& statement) {
  dtest::RecordingTrace trace;
  auto describe = [&trace](DException const& e, char const* handler) {
    if (e.text(0) == nullptr || trace.lines.size() != 5 || trace.logged != 1 ||
        trace.lines[0].find("file: at\n   line: 5") == std::string::npos ||
        trace.lines[4] != std::string("      ") + e.text(0))
      return "no text or report: " + joined(trace.lines);
    return std::string(e.name()) + " " + handler + " " +
           trace.lines[1].substr(9) + (e.isRecoverable() ? " R " : " U ") +
           trace.lines[2].substr(23) + " [" + e.text(0) + "] " +
           std::to_string(e.textCount()) + std::to_string(e.locationCount());
  };
  try {
    statement();
  } catch (DResourceExhausted const& e) {
    return describe(e, "DResourceExhausted");
  } catch (DException const& e) {
    return describe(e, "DException");
  }
  return trace.lines.empty() ? "returned" : "reported";
}

} // namespace

TEST(DExceptTrace, Reports) {
  std::string const group(1000, 'g'), text(5000, 't'), file(3000, 'f'),
      function(3000, 'u');
  ownName.assign(700, 'N');
  auto const at = [](std::string const& name, std::string const& function,
                     std::string const& file, std::string const& line) {
    return name + " exception thrown.\n   function: " + function +
           "\n   file: " + file + "\n   line: " + line;
  };
  std::string const xTail =
      "|   Error Id is 1|" + libGroup + "|   Exception text is:|      x";
  std::string const nowhere = " exception thrown.\n"
                              "   Location information is unavailable.";
  std::pair<std::string, std::string> const rows[] = {
      {report(nullptr, 0, {}, nullptr), // four leading blanks
       "\nDException" + nowhere + "|   Error Id is unavailable.|" +
           "    Error Code group is unavailable.|" +
           "   Exception text is unavailable."},
      {report<DDeviceError>("first", 5, {{"f", "fn", 1}},
                            DException::operatingSystem, {"second", "third"}),
       at("DDeviceError", "fn", "f", "1") + "|   Error Id is 5|" +
           "   Error Code group is Operating System|   Exception text is:|" +
           "      first|      second|      third"},
      // Line numbers as 32-bit signed values; no file name reports as "".
      {report("x", 1, {{"f", nullptr, 2147483648ul}}),
       at("DException", "Unknown", "f", "-2147483648") + xTail},
      {report("x", 1, {{nullptr, nullptr, 3}}),
       at("DException", "Unknown", "", "3") + xTail},
      // No line is ever cut, whichever part is the longest.
      {report(text.c_str(), 2, {{file.c_str(), function.c_str(), 4}},
              group.c_str()),
       at("DException", function, file, "4") + "|   Error Id is 2|" +
           "   Error Code group is " + group + "|   Exception text is:|      " +
           text},
      {report<NamedException>(nullptr, 0),
       "\n" + ownName + nowhere + "|   Error Id is unavailable.|" + libGroup +
           "|   Exception text is unavailable."},
  };
  for (auto const& r : rows)
    EXPECT_EQ(r.second, r.first) << &r - rows;
}

// Texts newest first, null ones ignored; the fifth location slot is always
// the latest; a copy owns its texts and locations.
TEST(DException, TextsLocationsAndCopies) {
  static char const* const files[] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6"};
  DException e("c", 0, DException::recoverable);
  e.setText("a").setText("b").setText(nullptr).appendText(nullptr);
  EXPECT_EQ("3:b,a,c locs", state(e));
  e.setText("").appendText("x").appendText("").appendText("yz");
  for (unsigned long i = 0; i < 5; ++i)
    e.addLocation(DExceptionLocation(files[i], "fn", i));
  EXPECT_EQ("4:xyz,b,a,c locs f0:0 f1:1 f2:2 f3:3 f4:4", state(e));
  e.addLocation(DExceptionLocation(files[5], nullptr, 5));
  EXPECT_EQ("4:xyz,b,a,c locs f0:0 f1:1 f2:2 f3:3 f5:5", state(e));
  DException copy(e.setErrorCodeGroup(DException::other));
  copy.appendText("!").setText("new").addLocation({files[6], nullptr, 6});
  EXPECT_EQ("4:xyz,b,a,c locs f0:0 f1:1 f2:2 f3:3 f5:5", state(e));
  EXPECT_EQ("5:new,xyz!,b,a,c locs f0:0 f1:1 f2:2 f3:3 f6:6", state(copy));
  EXPECT_EQ(DException::other, copy.errorCodeGroup());
  EXPECT_TRUE(copy.isRecoverable());
  DException none(nullptr, 0, DException::unrecoverable);
  EXPECT_EQ("0: locs", state(DException(none)));
  EXPECT_EQ("1:x locs", state(none.appendText("x")));
}

// Error information: id, availability, "prefix:text". The type selects the
// class thrown; outside the eight the helpers just return.
TEST(DThrowHelpers, ErrorInfoAndThrows) {
  std::string const text185 = DBase::messageText(185).text();
  std::string const text186 = DBase::messageText(186).text();
  ASSERT_NE(missingText, text186);
  ASSERT_EQ(-1, ::open("/nonexistent-dir/zyn-test", O_RDONLY));
  DCLibErrorInfo const open("open");
  ASSERT_EQ(-1, ::close(-1));
  DCLibErrorInfo const plain(nullptr), empty("");
  DSystemErrorInfo const sys(77, "p");
  DGUIErrorInfo const gui("x");
  std::string got,
      want = std::to_string(ENOENT) + " + open:" + std::strerror(ENOENT) + "|" +
             std::to_string(EBADF) + " + " + std::strerror(EBADF) + "|" +
             std::to_string(EBADF) + " + :" + std::strerror(EBADF) +
             "|77 + p:" + text186 + "|0 - x:" + text185 + "|";
  DBaseErrorInfo const* const infos[] = {&open, &plain, &empty, &sys, &gui};
  for (DBaseErrorInfo const* info : infos)
    got += std::to_string(info->errorId()) +
           (info->isAvailable() ? " + " : " - ") + info->text() +
           (static_cast<char const*>(*info) == info->text() ? "|" : "!");
  EXPECT_EQ(want, got);

  char const* const types[] = {"DAccessError DException",
                               "DDeviceError DException",
                               "DInvalidParameter DException",
                               "DInvalidRequest DException",
                               "DOutOfSystemResource DResourceExhausted",
                               "DOutOfWindowResource DResourceExhausted",
                               "DOutOfMemory DResourceExhausted",
                               "DResourceExhausted DResourceExhausted"};
  std::string const text1 = DBase::messageText(1, "boom").text();
  for (int i = 0; i < 10; ++i) {
    auto const type =
        static_cast<DBaseErrorInfo::ExceptionType>(i < 9 ? i : -1);
    auto const severity = i % 2 ? DBase::unrecoverable : DBase::recoverable;
    EXPECT_EQ(i >= 8 ? "returned"
                     : std::string(types[i]) + " Id is 1" +
                           (i % 2 ? " U " : " R ") + "Zorvane Class Library [" +
                           text1 + "] 11",
              thrown([&] {
                DExcept__throwLibraryError(1, {"at", nullptr, 5}, type,
                                           severity, "boom");
              }));
  }
  std::string const text1s = DBase::messageText(1, "s").text();
  DExceptionLocation const at("at", "fn", 5);
  auto const dev = DBaseErrorInfo::deviceError;
  auto const rec = DException::recoverable, unrec = DException::unrecoverable;
  char const* const cat = testCatalogue;
  std::string const ddevice = "DDeviceError DException Id is ";
  std::pair<std::function<void()>, std::string> const rows[] = {
      {[&] { sys.throwError(at, dev, rec, "Caller Group"); },
       ddevice + "77 R Caller Group [p:" + text186 + "]"},
      {[&] { DExcept__throwError(1, at, "x", "G", dev, rec, cat); },
       ddevice + "1 R G [Bad %1 at %2]"},
      {[&] { DExcept__throwError(5, at, "x", "G", dev, rec, nullptr); },
       ddevice + "5 R G [" + missingText + "]"},
      {[&] { DExcept__assertState("s", at); },
       "DInvalidRequest DException Id is 1 R Other Error Group [" + text1s +
           "]"},
      {[&] { DExcept__assertParameter("s", at); },
       "DInvalidParameter DException Id is 1 R Other Error Group [" + text1s +
           "]"},
      {[&] { DException::assertParameter("t", at); },
       "DAssertionFailure DException Id is unavailable. U Other Error Group "
       "[t]"},
      {[&] {
         ASSERT_EQ(-1, ::chdir("/nonexistent-dir/zyn-test"));
         DCLibErrorInfo::throwCLibError("chdir", at,
                                        DBaseErrorInfo::accessError, unrec);
       },
       "DAccessError DException Id is " + std::to_string(ENOENT) +
           " U Standard C Library [chdir:" + std::strerror(ENOENT) + "]"},
      {[&] {
         DSystemErrorInfo::throwSystemError(
             13, "p", at, DBaseErrorInfo::outOfSystemResource, unrec);
       },
       "DOutOfSystemResource DResourceExhausted Id is 13 U Operating System "
       "[p:" +
           text186 + "]"},
      {[&] { DGUIErrorInfo::throwGUIError("g", at, dev, rec); },
       ddevice + "unavailable. R Presentation System [g:" + text185 + "]"},
  };
  for (auto const& r : rows)
    EXPECT_EQ(r.second + " 11", thrown(r.first)) << &r - rows;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
namespace {
// Whether the new-handler was removed while each line was written.
class HandlerProbe : public DException::TraceFn {
public:
  void write(char const*) override {
    handlerSeen = handlerSeen || std::get_new_handler() != nullptr;
    ++writes;
  }
  void exceptionLogged() override { ++logged; }
  std::atomic<bool> handlerSeen{false};
  std::atomic<int> writes{0}, logged{0};
};
} // namespace
#pragma GCC diagnostic pop

// setTraceFunction hands back the previous writer. Throws on several
// threads overlap their suspensions of the new-handler: each line is written
// without it, and afterwards the library's handler is back.
TEST(DExceptTraceThread, WritersAndOverlappingThrowsKeepTheNewHandler) {
  ASSERT_EQ(&DKOVR_Init::newHandler, std::get_new_handler());
  (void)DBase::messageText(1); // fixes the catalogue name beforehand
  HandlerProbe probe, other;
  DException::TraceFn* const library = DException::setTraceFunction(probe);
  EXPECT_NE(nullptr, dynamic_cast<DKOVR_Init*>(library));
  EXPECT_EQ(&probe, DExceptStaticPtr::traceFunction());
  int lost = 0;
  for (int round = 0; round < 6; ++round) {
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
      workers.emplace_back([] {
        for (int i = 0; i < 200; ++i)
          try {
            DExcept__assertState("overlap", {"f", nullptr, 1});
          } catch (DInvalidRequest const&) {
          }
      });
    for (std::thread& w : workers)
      w.join();
    lost += std::get_new_handler() != &DKOVR_Init::newHandler;
    std::set_new_handler(&DKOVR_Init::newHandler);
  }
  EXPECT_EQ(&probe, DException::setTraceFunction(other));
  EXPECT_EQ(&other, DExceptStaticPtr::install(*library));
  EXPECT_EQ(6 * 4 * 200, probe.logged.load());
  EXPECT_EQ(5 * probe.logged.load(), probe.writes.load());
  EXPECT_FALSE(probe.handlerSeen.load());
  EXPECT_EQ(0, lost) << "rounds that lost the library's new-handler";
}

TEST(DBase, RootClassesAsText) {
  EXPECT_TRUE(DBase::version().major == 310 && DBase::version().minor == 1);
  std::ostringstream out;
  out << DBase() << '|' << DVBase() << '|'
      << static_cast<DVBase const&>(Described());
  EXPECT_EQ("DBase object|DVBase object|described", out.str());
}

// The name in force (kept on null, may be handed back in) is the one
// messageText reads. Substitution: fuzz/fuzz_catalog.cpp; these rows are
// about the values handed in and the line ends.
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
// once even when two threads throw first together (ThreadSanitizer would
// exit 66); the library's new-handler and writer are in place. Then the
// writers print each line with "%s\n" on standard error, and terminate()
// calls the terminate handler.
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
  std::fflush(stdout);
  writer->write("library %s");
  plain.write("base");
  DExceptTraceFn().write("default");
  std::set_terminate([] { std::_Exit(42); });
  DInvalidRequest("x", 1, DException::recoverable).terminate();
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
    EXPECT_EQ(42, child.exitCode);
    EXPECT_NE(std::string::npos,
              child.output.find("\nlibrary %s\nbase\ndefault\n"));
  }
}

// Running out of memory raises DOutOfMemory (message 4, dbase line 175).
// Texts and the catalogue name are allocated without the handler: there it
// is std::bad_alloc, and what was there is kept. Without a line buffer a
// report goes to standard error with the second set of texts, unlogged.
TEST(DKOVR_Init, OutOfMemory) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  std::string const text4 = DBase::messageText(4).text();
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(16);
    std::string const big(64u << 20, 'x'), name(8u << 20, 'B');
    ownName = name;
    DInvalidRequest e("small", 33, DException::recoverable);
    e.setText(name.c_str()).addLocation({"f", "fn", 4294967295ul});
    NamedException bare(nullptr, 0, DException::recoverable);
    bare.setErrorCodeGroup(nullptr);
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
    e.logExceptionData(); // the report buffer is not there
    bare.logExceptionData();
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
  EXPECT_NE(std::string::npos,
            child.output.find(
                "DInvalidRequest exception thrown.\n   function: fn\n"
                "   file: f\n   line: 4294967295.\n   Error ID is 33\n"
                " Error Code group is Zorvane Class Library\n"
                "   Exception text is:\n      small\n      " +
                std::string(8u << 20, 'B') + "\n\n" +
                std::string(8u << 20, 'B') +
                " exception thrown.\n   Location information is unavailable.\n"
                "   Error ID is unavailable.\n   Error Code group is "
                "unavailable.\n   Exception text is unavailable.\n"));
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
  // A crash or hang ends only the child; the alarm is a watchdog.
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
