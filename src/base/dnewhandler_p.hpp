// Internal: the one guard that suspends the process new-handler while the
// library allocates exception and message texts. With the handler removed,
// a failed allocation raises std::bad_alloc (or yields null for the nothrow
// forms) instead of re-entering DKOVR_Init::newHandler, which would itself
// build an exception and so allocate again.
#ifndef D_BASE_DNEWHANDLER_P_HPP
#define D_BASE_DNEWHANDLER_P_HPP

#include <cstddef>
#include <cstring>
#include <new>

namespace dinternal {

/// Removes the new-handler for its scope and puts the saved one back on
/// every path out of it, exceptions included. Suspensions on several
/// threads overlap safely: one process-wide count, the first saves the
/// handler and the last puts it back (dnewhandler.cpp).
class NewHandlerSuspension {
public:
  NewHandlerSuspension() noexcept;
  ~NewHandlerSuspension();
  NewHandlerSuspension(NewHandlerSuspension const&) = delete;
  NewHandlerSuspension& operator=(NewHandlerSuspension const&) = delete;
};

/// new T[\p n] with the new-handler suspended; raises std::bad_alloc.
template <class T>
T* newArray(std::size_t n) {
  NewHandlerSuspension const suspended;
  return new T[n];
}

/// new (std::nothrow) T[\p n] with the new-handler suspended: null when the
/// memory is not there. For arrays whose failure only decides an answer
/// (a collation), which is no out-of-memory error.
template <class T>
T* tryNewArray(std::size_t n) noexcept {
  NewHandlerSuspension const suspended;
  return new (std::nothrow) T[n];
}

/// A new[] copy of the \p length bytes at \p text plus a NUL, allocated
/// with the new-handler suspended; raises std::bad_alloc on failure.
inline char* copyText(char const* text, std::size_t length) {
  char* copy = newArray<char>(length + 1);
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

/// As copyText, but null when the memory is not there (see tryNewArray).
inline char* tryCopyText(char const* text, std::size_t length) noexcept {
  char* copy = tryNewArray<char>(length + 1);
  if (copy != nullptr) {
    std::memcpy(copy, text, length);
    copy[length] = '\0';
  }
  return copy;
}

/// A new[] copy of the NUL-terminated \p text (see above).
inline char* copyText(char const* text) {
  return copyText(text, std::strlen(text));
}

} // namespace dinternal

#endif // D_BASE_DNEWHANDLER_P_HPP
