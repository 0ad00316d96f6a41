// The text forms of the root classes (asString, asDebugInfo and the stream
// operators): they return DString, so they live with the string family and
// the base family stays free of string headers.
#include "dbase.hpp"
#include "dstring.hpp"

#include <cstring>
#include <ostream>

// "<prefix>" + the address as hexadecimal digits + ")": the address as a
// decimal DString, turned into its shortest big-endian bytes by d2c and
// those into upper-case hexadecimal by c2x.
static DString debugInfo(char const* prefix, void const* address) {
  DString hex(reinterpret_cast<unsigned long>(address));
  hex.d2c().c2x();
  return DString(prefix, static_cast<unsigned int>(std::strlen(prefix)),
                 static_cast<char const*>(hex), hex.length(), ")", 1);
}

DString DBase::asString() const {
  return DString("DBase object");
}

DString DBase::asDebugInfo() const {
  return debugInfo("DBase(@", this);
}

std::ostream& operator<<(std::ostream& os, DBase const& object) {
  return os << object.asString();
}

DString DVBase::asString() const {
  return DString("DVBase object");
}

DString DVBase::asDebugInfo() const {
  return debugInfo("DVBase(@", this);
}

std::ostream& operator<<(std::ostream& os, DVBase const& object) {
  return os << object.asString();
}
