// Reference counting of the shared buffers: the process-wide lock byte
// DBuffer::refGuard and the count changes it guards, inline for the handle's
// copy, assignment and destruction. While the process has only its first
// thread no other thread can race a count, so counts change without the lock.
#ifndef D_STRING_DBUFCOUNT_P_HPP
#define D_STRING_DBUFCOUNT_P_HPP

#include "base/dcompiler_p.hpp"
#include "oss/doss.hpp"
#include "string/dbufkind_p.hpp"

#include "dbuffer.hpp"

namespace dinternal {

/// True while the process has never started a second thread. glibc clears
/// the flag in pthread_create before the new thread exists and never sets it
/// again (not after a join, not in a fork child), so a thread that reads
/// true is the only one and stays so until it starts another thread itself;
/// that start orders every plain count change before the new thread's work.
inline bool singleThreaded() {
#ifdef D_HAVE_SINGLE_THREADED
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

/// The count of a buffer and the lock that guards it.
struct BufferCount {
  /// Takes refGuard: an atomic exchange, and the waiting function of
  /// libzynosse when another thread holds it.
  static void lock() {
    if (atomicExchangeAcquire(&DBuffer::refGuard, 1) != 0)
      ossLockGetConflict(&DBuffer::refGuard);
  }
  /// Drops refGuard: a full fence, then a store of 0 (a release, which is
  /// what ThreadSanitizer sees of the pair).
  static void unlock() {
    fullFence();
    atomicStoreRelease(&DBuffer::refGuard, 0);
  }

  /// One more reference. The locked forms are out of line, so the
  /// single-threaded one needs no stack frame where it is inlined.
  static void raise(DBuffer& b) {
    if (singleThreaded())
      atomicStoreRelaxed(&b.refCount, b.refCount + 1);
    else
      raiseLocked(b);
  }

  /// One reference fewer; true when it was the last one, and the caller then
  /// deletes the buffer (outside the lock: nobody else can reach it).
  static bool drop(DBuffer& b) {
    if (!singleThreaded())
      return dropLocked(b);
    unsigned int const left = b.refCount - 1;
    atomicStoreRelaxed(&b.refCount, left);
    return left == 0;
  }

  /// raise() and drop() under refGuard (dbuffer0.cpp). The count stores are
  /// releases, so that useCount() reading 1 in the remaining holder's thread
  /// sees every read of the text made by the holders that let go.
  static void raiseLocked(DBuffer& b);
  static bool dropLocked(DBuffer& b);
  /// dropLocked(), then the deletion of the buffer when it was the last
  /// reference, after the lock is let go.
  static void releaseLocked(DBuffer* b);

  /// The copy-on-write rule: true when no other holder shares \p b, so its
  /// one holder may write the text in place. Read under the lock, which
  /// orders the write after everything a holder that has just let go did
  /// with the text.
  static bool unshared(DBuffer const& b) {
    if (singleThreaded())
      return b.refCount < 2;
    lock();
    unsigned int const count = b.refCount;
    unlock();
    return count < 2;
  }
};

/// Deletes \p b, whose last reference was just given up. The destructors of
/// the factory's two classes do nothing, so their storage goes straight back
/// to operator delete[]; any other class runs its virtual deleting
/// destructor.
inline void destroy(DBuffer* b) {
  if (factoryBuffer(*b))
    return ::operator delete[](static_cast<void*>(b));
  delete b;
}

/// Gives up one reference to \p b and deletes it when that was the last.
/// Both branches end in a tail call, so no stack frame is needed.
inline void release(DBuffer* b) {
  if (!singleThreaded())
    return BufferCount::releaseLocked(b);
  if (BufferCount::drop(*b))
    destroy(b);
}

} // namespace dinternal

#endif // D_STRING_DBUFCOUNT_P_HPP
