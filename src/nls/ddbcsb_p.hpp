// Internal: a helper shared by the multibyte buffer's searches and
// edits (ddbcsearch.cpp, ddbcsedit.cpp). What a character is lives in
// nls/dmbchar_p.hpp.
#ifndef D_NLS_DDBCSB_P_HPP
#define D_NLS_DDBCSB_P_HPP

#include "dbuffer.hpp"

namespace dinternal {

/// The predicate's answer for a byte: signed char widened to int.
inline int byteArgument(char c) {
  return static_cast<signed char>(c);
}

} // namespace dinternal

#endif // D_NLS_DDBCSB_P_HPP
