// The process-wide suspension of the new-handler around the allocation of
// exception and message texts.
#include "base/dnewhandler_p.hpp"

#include <mutex>

namespace {

// The handler is process state, but reports may be built on several
// threads at once. A per-scope save and restore would then let a later
// restore put back the null of an earlier suspension for good, so the
// scopes share one count: the handler is removed while any is open and
// the one saved by the first comes back when the last closes. std::mutex
// has a constexpr constructor, so all three are ready before any dynamic
// initialiser runs.
std::mutex suspensionLock;
unsigned long openSuspensions = 0;       // guarded by suspensionLock
std::new_handler savedHandler = nullptr; // guarded by suspensionLock

} // namespace

dinternal::NewHandlerSuspension::NewHandlerSuspension() noexcept {
  std::lock_guard<std::mutex> const hold(suspensionLock);
  if (openSuspensions++ == 0)
    savedHandler = std::set_new_handler(nullptr);
}

dinternal::NewHandlerSuspension::~NewHandlerSuspension() {
  std::lock_guard<std::mutex> const hold(suspensionLock);
  if (--openSuspensions == 0)
    std::set_new_handler(savedHandler);
}
