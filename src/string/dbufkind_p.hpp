// Internal: answers about the kind of buffer the factory made (single-byte
// DBuffer or multibyte DDBCSBuffer) and about the codeset of the current
// locale, for the few string operations whose rule depends on them, so that
// they need not know the multibyte class.
#ifndef D_STRING_DBUFKIND_P_HPP
#define D_STRING_DBUFKIND_P_HPP

#include "base/dcompiler_p.hpp"

#include "dbuffer.hpp"

#include <cstring>

namespace dinternal {

/// The virtual tables of DBuffer and DDBCSBuffer, by their exported symbols.
extern void* const dbufferVirtualTable[] D_SYMBOL_NAME("_ZTV7DBuffer");
extern void* const ddbcsBufferVirtualTable[] D_SYMBOL_NAME("_ZTV11DDBCSBuffer");

/// The virtual-table pointer of \p b.
inline void const* virtualTableOf(DBuffer const& b) {
  void const* table;
  std::memcpy(&table, static_cast<void const*>(&b), sizeof table);
  return table;
}

/// True when \p b is exactly a DBuffer, not an object of a derived class:
/// then every virtual slot it answers through is the library's own, and a
/// caller may run the single-byte body directly instead of the virtual
/// calls. One comparison of the object's virtual-table pointer.
inline bool plainBuffer(DBuffer const& b) {
  return virtualTableOf(b) == &dbufferVirtualTable[virtualTableAddressPoint];
}

/// True when \p b is exactly a DDBCSBuffer, the class the factory makes in a
/// multibyte locale: its allocate() is the library's own and its
/// destructors, like DBuffer's, do nothing.
inline bool multibyteBuffer(DBuffer const& b) {
  return virtualTableOf(b) ==
         &ddbcsBufferVirtualTable[virtualTableAddressPoint];
}

/// True when \p b is exactly one of the factory's two classes, whose
/// destructors do nothing and whose compare() orders by memcmp while the
/// wide strategies are off.
inline bool factoryBuffer(DBuffer const& b) {
  return plainBuffer(b) || multibyteBuffer(b);
}

/// The multibyte codesets whose byte structure the library knows: where a
/// byte can stand inside a character.
enum class Codeset {
  other,
  utf8,    // later bytes 80..BF
  eucJp,   // later bytes A1..FE
  gb18030, // later bytes 30..39, 40..7E, 80..FE
};

/// The codeset of the current locale (LC_CTYPE).
Codeset currentCodeset();

/// The white-space test DString::strip() hands to \p b's strip(): the wide
/// classifier zyn_iswspace when the wide strategies are on
/// (DString::fgI18NState 1) and \p b is a multibyte buffer, whose strip()
/// then passes wide character values; isspace otherwise.
int (*stripSpaceTest(DBuffer const* b))(int);

/// DBuffer::upperCase() of a plain DBuffer that no other holder shares:
/// the letters are shifted in place and no count changes (the slot would
/// raise the count and its caller drop it again). False, with nothing done,
/// for any other buffer, which then goes through its upperCase() slot.
bool upperCaseInPlace(DBuffer& b);

} // namespace dinternal

#endif // D_STRING_DBUFKIND_P_HPP
