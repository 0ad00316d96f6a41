// Compiler and C-library specifics of the library in one place: branch
// hints, bit and byte-order builtins, the 128-bit integer, atomic access to
// plain words, glibc's character-class table and its single-thread flag.
// Sources use these names, never the builtins, so a port touches this
// header only.
#ifndef D_BASE_DCOMPILER_P_HPP
#define D_BASE_DCOMPILER_P_HPP

#include <cctype>
#include <cstdint>

#if !defined(__GNUC__) && !defined(__clang__)
#error "libzyncmncoll needs GCC or Clang builtins (see dcompiler_p.hpp)"
#endif

/// Branch hints: the condition is rarely (or nearly always) true.
#define D_UNLIKELY(condition) __builtin_expect(!!(condition), 0)
#define D_LIKELY(condition) __builtin_expect(!!(condition), 1)

/// Keeps a cold function out of its callers, so they need no stack frame.
#define D_NOINLINE [[gnu::noinline]]

/// glibc's flag "the process never started a second thread" (glibc 2.32
/// and later): D_HAVE_SINGLE_THREADED is defined where it exists.
#if defined(__has_include)
#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define D_HAVE_SINGLE_THREADED 1
#endif
#endif

namespace dinternal {

/// Unsigned 128-bit integer (a GCC/Clang extension, hence __extension__
/// against -Wpedantic).
__extension__ typedef unsigned __int128 UInt128;

/// Index (0 = lowest) of the highest set bit of \p value; \p value != 0.
inline unsigned int highestBit(std::uint64_t value) {
  return 63u - static_cast<unsigned int>(__builtin_clzll(value));
}

/// True where the lowest byte of a word lies first in memory.
constexpr bool littleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

/// \p value with its bytes in the opposite order.
inline std::uint32_t byteSwap(std::uint32_t value) {
  return __builtin_bswap32(value);
}
inline std::uint64_t byteSwap(std::uint64_t value) {
  return __builtin_bswap64(value);
}

/// glibc's class table of the current locale, indexed by a byte as signed
/// char or EOF (-128 .. 255): what the <ctype.h> macros read, without a
/// call per byte. Bits are the _IS* values (_ISdigit, _ISxdigit ..).
inline unsigned short const* ctypeTable() {
  return *__ctype_b_loc();
}

/// Atomic access to a plain word that the public headers declare as such
/// (a count, a lock byte), with the named memory order.
template <class T, class V>
inline T atomicExchangeAcquire(T* word, V value) {
  return __atomic_exchange_n(word, static_cast<T>(value), __ATOMIC_ACQUIRE);
}
template <class T, class V>
inline T atomicExchangeSeqCst(T* word, V value) {
  return __atomic_exchange_n(word, static_cast<T>(value), __ATOMIC_SEQ_CST);
}
template <class T, class V>
inline void atomicStoreRelaxed(T* word, V value) {
  __atomic_store_n(word, static_cast<T>(value), __ATOMIC_RELAXED);
}
template <class T, class V>
inline void atomicStoreRelease(T* word, V value) {
  __atomic_store_n(word, static_cast<T>(value), __ATOMIC_RELEASE);
}

} // namespace dinternal

#endif // D_BASE_DCOMPILER_P_HPP
