// Internal: answers about the kind of buffer the factory made (single-byte
// DBuffer or multibyte DDBCSBuffer), for the few string operations whose
// rule depends on it, so that they need not know the multibyte class.
#ifndef D_STRING_DBUFKIND_P_HPP
#define D_STRING_DBUFKIND_P_HPP

#include "dbuffer.hpp"

namespace dinternal {

/// The white-space test DString::strip() hands to \p b's strip(): the wide
/// classifier zyn_iswspace when the wide strategies are on
/// (DString::fgI18NState 1) and \p b is a multibyte buffer, whose strip()
/// then passes wide character values; isspace otherwise.
int (*stripSpaceTest(DBuffer const* b))(int);

} // namespace dinternal

#endif // D_STRING_DBUFKIND_P_HPP
