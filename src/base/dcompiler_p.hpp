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

/// Binds a declaration to the symbol of the given (mangled) name.
#define D_SYMBOL_NAME(name) __asm__(name)

namespace dinternal {

/// Words from the start of a virtual-table symbol to the address its
/// objects' virtual-table pointers hold (Itanium C++ ABI: the offset to the
/// top and the type_info pointer come first).
constexpr unsigned int virtualTableAddressPoint = 2;

/// The number of set bits of \p value.
inline unsigned int bitCount(std::uint64_t value) {
  return static_cast<unsigned int>(__builtin_popcountll(value));
}

/// Index (0 = lowest) of the lowest set bit of \p value; \p value != 0.
inline unsigned int lowestBit(std::uint64_t value) {
  return static_cast<unsigned int>(__builtin_ctzll(value));
}

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
inline void atomicStoreRelaxed(T* word, V value) {
  __atomic_store_n(word, static_cast<T>(value), __ATOMIC_RELAXED);
}
template <class T, class V>
inline void atomicStoreRelease(T* word, V value) {
  __atomic_store_n(word, static_cast<T>(value), __ATOMIC_RELEASE);
}

/// A full memory fence: no load or store after it is done before every
/// load and store ahead of it. On x86-64 a locked no-op on the top of the
/// stack (the form GCC gives a sequentially consistent fence), written out
/// so that every compiler uses it: cheaper than mfence, and cheaper than
/// fencing with an exchange of the word about to be stored (the "count lock
/// cycle" benchmark).
inline void fullFence() {
#if defined(__x86_64__)
  __asm__ __volatile__("lock orq $0, (%%rsp)" ::: "memory", "cc");
#else
  __atomic_thread_fence(__ATOMIC_SEQ_CST);
#endif
}

/// Sixteen bytes as one value of the compilers' vector extension: the
/// element-wise operators (+, &, >>, comparisons) compile to SSE2 on x86-64
/// and to the target's own vector or plain instructions elsewhere.
typedef unsigned char Bytes16 __attribute__((vector_size(16)));
/// The same sixteen bytes read as signed: a comparison of elements that are
/// all below 0x80 is then one instruction (SSE2 has no unsigned one).
typedef signed char SignedBytes16 __attribute__((vector_size(16)));

/// Sixteen bytes loaded from or stored to memory of any alignment.
inline Bytes16 loadBytes16(void const* from) {
  Bytes16 v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
inline void storeBytes16(void* to, Bytes16 v) {
  __builtin_memcpy(to, &v, sizeof v);
}

/// Each element 0xFF where \p mask's is true (a comparison's result).
template <class Mask>
inline Bytes16 asBytes16(Mask mask) {
  return reinterpret_cast<Bytes16>(mask);
}

/// The bytes of \p a and \p b taken in turn: a0 b0 a1 b1 .. from the first
/// eight of each (interleaveLow) or from the last eight (interleaveHigh).
#if defined(__clang__) || __GNUC__ >= 12
inline Bytes16 interleaveLow(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21,
                                 6, 22, 7, 23);
}
inline Bytes16 interleaveHigh(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13,
                                 29, 14, 30, 15, 31);
}
#else
inline Bytes16 interleaveLow(Bytes16 a, Bytes16 b) {
  return __builtin_shuffle(
      a, b, Bytes16{0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23});
}
inline Bytes16 interleaveHigh(Bytes16 a, Bytes16 b) {
  return __builtin_shuffle(
      a, b,
      Bytes16{8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31});
}
#endif

} // namespace dinternal

#endif // D_BASE_DCOMPILER_P_HPP
