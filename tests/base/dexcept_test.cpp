// Exception objects: class tree and names, locations and the fifth-slot
// rule, text lines, deep copies, group texts, assertParameter, terminate,
// and text allocation with the new-handler removed.
#include "dexcept.hpp"

#include "dbase.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstring>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

// Throws a default-built exception of class E and reports which of the
// given handlers caught it.
template <class E>
std::string caughtAs() {
  try {
    throw E("t", 7, DException::recoverable);
  } catch (DOutOfMemory const&) {
    return "DOutOfMemory";
  } catch (DOutOfSystemResource const&) {
    return "DOutOfSystemResource";
  } catch (DOutOfWindowResource const&) {
    return "DOutOfWindowResource";
  } catch (DResourceExhausted const&) {
    return "DResourceExhausted";
  } catch (DException const&) {
    return "DException";
  }
}

template <class E>
void checkClass(char const* name, char const* handler) {
  SCOPED_TRACE(name);
  E const e("text", 12, DException::recoverable);
  EXPECT_STREQ(name, e.name());
  EXPECT_STREQ(name, static_cast<DException const&>(e).name());
  EXPECT_EQ(handler, caughtAs<E>());
  E const copy(e);
  EXPECT_STREQ(name, copy.name());
  EXPECT_EQ(typeid(E), typeid(static_cast<DException const&>(copy)));
  EXPECT_EQ(12ul, copy.errorId());
  EXPECT_STREQ("text", copy.text());
}

} // namespace

TEST(DException, ClassTreeNamesAndHandlers) {
  checkClass<DException>("DException", "DException");
  checkClass<DResourceExhausted>("DResourceExhausted", "DResourceExhausted");
  checkClass<DOutOfMemory>("DOutOfMemory", "DOutOfMemory");
  checkClass<DOutOfSystemResource>("DOutOfSystemResource",
                                   "DOutOfSystemResource");
  checkClass<DOutOfWindowResource>("DOutOfWindowResource",
                                   "DOutOfWindowResource");
  checkClass<DInvalidRequest>("DInvalidRequest", "DException");
  checkClass<DInvalidParameter>("DInvalidParameter", "DException");
  checkClass<DDeviceError>("DDeviceError", "DException");
  checkClass<DAccessError>("DAccessError", "DException");
  checkClass<DAssertionFailure>("DAssertionFailure", "DException");
}

TEST(DException, ConstructorAndSetters) {
  DException e("abc", 1010, DException::recoverable);
  EXPECT_TRUE(e.isRecoverable());
  EXPECT_EQ(1010ul, e.errorId());
  EXPECT_STREQ("Zorvane Class Library", e.errorCodeGroup());
  EXPECT_EQ(0ul, e.locationCount());
  EXPECT_EQ(1ul, e.textCount());
  EXPECT_STREQ("abc", e.text(0));
  static char const group[] = "My Group";
  e.setSeverity(DException::unrecoverable)
      .setErrorId(42)
      .setErrorCodeGroup(group);
  EXPECT_FALSE(e.isRecoverable());
  EXPECT_EQ(42ul, e.errorId());
  EXPECT_EQ(group, e.errorCodeGroup()); // the pointer itself
  e.setSeverity(DException::recoverable);
  EXPECT_TRUE(e.isRecoverable());
  DException const none(nullptr, 0, DException::unrecoverable);
  EXPECT_FALSE(none.isRecoverable());
  EXPECT_EQ(0ul, none.textCount());
  EXPECT_EQ(nullptr, none.text(0));
}

TEST(DException, GroupTextsAndConstructorLiteral) {
  EXPECT_STREQ("Zorvane Class Library", DException::baseLibrary);
  EXPECT_STREQ("Standard C Library", DException::CLibrary);
  EXPECT_STREQ("Operating System", DException::operatingSystem);
  EXPECT_STREQ("Presentation System", DException::presentationSystem);
  EXPECT_STREQ("Other Error Group", DException::other);

  // The constructor uses its own literal, not the class variable.
  char const* const saved = DException::baseLibrary;
  DException::baseLibrary = "Changed";
  DException const e("x", 1, DException::recoverable);
  DException::baseLibrary = saved;
  EXPECT_STREQ("Zorvane Class Library", e.errorCodeGroup());
}

TEST(DException, LocationsKeepFirstFourAndLatest) {
  static char const* const files[] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6"};
  DException e("x", 0, DException::recoverable);
  for (unsigned long i = 0; i < 7; ++i) {
    DException& back = e.addLocation(DExceptionLocation(files[i], "fn", i));
    EXPECT_EQ(&e, &back);
    EXPECT_EQ(i < 5 ? i + 1 : 5ul, e.locationCount());
  }
  for (unsigned long i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    ASSERT_NE(nullptr, e.locationAtIndex(i));
    EXPECT_STREQ(files[i], e.locationAtIndex(i)->fileName());
    EXPECT_EQ(i, e.locationAtIndex(i)->lineNumber());
  }
  // The sixth replaced the fifth, and the seventh the sixth.
  EXPECT_STREQ("f6", e.locationAtIndex(4)->fileName());
  EXPECT_EQ(6ul, e.locationAtIndex(4)->lineNumber());
  EXPECT_EQ(nullptr, e.locationAtIndex(5));
  EXPECT_EQ(nullptr, e.locationAtIndex(~0ul));

  DException const fresh("x", 0, DException::recoverable);
  EXPECT_EQ(nullptr, fresh.locationAtIndex(0));
  DException partial("x", 0, DException::recoverable);
  partial.addLocation(DExceptionLocation("a", nullptr, 1));
  EXPECT_EQ(nullptr, partial.locationAtIndex(partial.locationCount()));
}

TEST(DExceptionLocation, Defaults) {
  DExceptionLocation const none;
  EXPECT_EQ(nullptr, none.fileName());
  EXPECT_STREQ("Unknown", none.functionName());
  EXPECT_EQ(0ul, none.lineNumber());
}

TEST(DException, TextLinesNewestFirst) {
  DException e("c", 0, DException::recoverable);
  DException& back = e.setText("a");
  EXPECT_EQ(&e, &back);
  e.setText("b");
  EXPECT_EQ(3ul, e.textCount());
  EXPECT_STREQ("b", e.text(0));
  EXPECT_STREQ("a", e.text(1));
  EXPECT_STREQ("c", e.text(2));
  EXPECT_EQ(nullptr, e.text(3));
  EXPECT_STREQ("b", e.text()); // the index defaults to the newest line

  e.setText(nullptr);
  e.appendText(nullptr);
  EXPECT_EQ(3ul, e.textCount());
  EXPECT_STREQ("b", e.text(0));

  // An empty text is still a line.
  e.setText("");
  EXPECT_EQ(4ul, e.textCount());
  EXPECT_STREQ("", e.text(0));
}

TEST(DException, AppendTextJoinsNewestLine) {
  DException empty(nullptr, 0, DException::recoverable);
  DException& back = empty.appendText("x");
  EXPECT_EQ(&empty, &back);
  EXPECT_EQ(1ul, empty.textCount());
  EXPECT_STREQ("x", empty.text(0));

  DException e("abc", 0, DException::recoverable);
  e.appendText("x");
  EXPECT_EQ(1ul, e.textCount());
  EXPECT_STREQ("abcx", e.text(0));

  e.setText("new");
  e.appendText("er");
  e.appendText("");
  EXPECT_EQ(2ul, e.textCount());
  EXPECT_STREQ("newer", e.text(0));
  EXPECT_STREQ("abcx", e.text(1));
}

TEST(DException, CopyOwnsItsTextsAndLocations) {
  DException source("one", 9, DException::recoverable);
  source.setText("two");
  source.setErrorCodeGroup(DException::other);
  source.addLocation(DExceptionLocation("f", "g", 3));
  source.addLocation(DExceptionLocation("h", nullptr, 4));

  DException copy(source);
  EXPECT_EQ(2ul, copy.textCount());
  EXPECT_NE(source.text(0), copy.text(0)); // own storage
  EXPECT_STREQ("two", copy.text(0));
  EXPECT_STREQ("one", copy.text(1));
  EXPECT_EQ(DException::other, copy.errorCodeGroup());
  EXPECT_EQ(9ul, copy.errorId());
  EXPECT_TRUE(copy.isRecoverable());
  ASSERT_EQ(2ul, copy.locationCount());
  EXPECT_STREQ("h", copy.locationAtIndex(1)->fileName());
  EXPECT_EQ(4ul, copy.locationAtIndex(1)->lineNumber());

  copy.appendText("!");
  copy.setText("three");
  copy.addLocation(DExceptionLocation("i", nullptr, 5));
  EXPECT_STREQ("two", source.text(0));
  EXPECT_STREQ("one", source.text(1));
  EXPECT_EQ(2ul, source.textCount());
  EXPECT_EQ(2ul, source.locationCount());
  EXPECT_STREQ("two!", copy.text(1));

  DException const emptyCopy(DException(nullptr, 0, DException::recoverable));
  EXPECT_EQ(0ul, emptyCopy.textCount());
}

// Logged once before the throw, with the caller's text and the group named
// by its own literal (the class variable `other` may point elsewhere).
TEST(DException, AssertParameterThrowsAssertionFailure) {
  dtest::RecordingTrace trace;
  char const* const saved = DException::other;
  DException::other = "Changed";
  bool thrown = false;
  try {
    DException::assertParameter("t", DExceptionLocation("file", "fn", 12));
  } catch (DAssertionFailure const& e) {
    thrown = !e.isRecoverable() && e.locationCount() == 1 && e.textCount() == 1;
    EXPECT_STREQ("Other Error Group", e.errorCodeGroup());
  }
  DException::other = saved;
  EXPECT_TRUE(thrown);
  EXPECT_EQ(1, trace.logged);
  std::vector<std::string> const want = {
      "DAssertionFailure exception thrown.\n   function: fn\n"
      "   file: file\n   line: 12",
      "   Error Id is unavailable.", "   Error Code group is Other Error Group",
      "   Exception text is:", "      t"};
  EXPECT_EQ(want, trace.lines);
}

TEST(DException, TerminateCallsTerminateHandler) {
  dtest::ChildResult const child = dtest::runInChild([] {
    std::set_terminate([] { std::_Exit(42); });
    DInvalidRequest e("x", 1, DException::recoverable);
    e.terminate();
    return 0;
  });
  EXPECT_EQ(42, child.exitCode) << child.output;
}

// Text storage is allocated with the new-handler removed: running out of
// memory while copying a text raises std::bad_alloc, not the library's
// DOutOfMemory, and leaves the text list as it was.
TEST(DException, TextAllocationBypassesNewHandler) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  dtest::ChildResult const child = dtest::runInChild([] {
    std::string const big(64u << 20, 'x');
    DException e("kept", 0, DException::recoverable);
    dtest::failAllocationsFrom(8u << 20);
    int result = 0;
    try {
      e.setText(big.c_str());
      result = 3;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    } catch (DException const& d) {
      std::printf("child: %s\n", d.name());
      result = 4;
    }
    try {
      e.appendText(big.c_str());
      result = 5;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    }
    std::printf("child: count %lu text %s\n", e.textCount(), e.text(0));
    // The library's handler is back in force afterwards.
    std::printf("child: handler %s\n",
                std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                  : "other");
    return result;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  auto const lines = dtest::linesWith(child.output, "child: ");
  std::vector<std::string> const want = {
      "bad_alloc", "bad_alloc", "count 1 text kept", "handler library"};
  EXPECT_EQ(want, lines);
}
