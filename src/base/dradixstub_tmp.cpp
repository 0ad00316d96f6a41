// Temporary placeholders for the radix conversions that DBase::asDebugInfo
// uses, so the library links until they land. Delete this file when the
// radix conversions are merged.
#include "dstring.hpp"

DString& DString::d2c() { return *this; }
DString& DString::c2x() { return *this; }
