// Temporary placeholders for the single-byte search, editing and comparison
// slots, so the library links while they are being written. Removed by the
// change that implements them.
#include "dbuffer.hpp"

DStringTest::DStringTest(int (*fn)(int)) : kind(1), function(fn) {}
DStringTest::~DStringTest() = default;
int DStringTest::test(int c) const { return kind == 1 ? function(c) : 0; }

unsigned int DBuffer::compare(void const*, unsigned int) const { return 1; }
DBuffer* DBuffer::subString(unsigned int, unsigned int, char) const { return nullptr; }
DBuffer* DBuffer::subString(unsigned int) const { return nullptr; }
bool DBuffer::isAlphanumeric() const { return false; }
bool DBuffer::isAlphabetic() const { return false; }
bool DBuffer::isASCII() const { return false; }
bool DBuffer::isControl() const { return false; }
bool DBuffer::isDigits() const { return false; }
bool DBuffer::isGraphics() const { return false; }
bool DBuffer::isHexDigits() const { return false; }
bool DBuffer::isLowerCase() const { return false; }
bool DBuffer::isPrintable() const { return false; }
bool DBuffer::isPunctuation() const { return false; }
bool DBuffer::isUpperCase() const { return false; }
bool DBuffer::isWhiteSpace() const { return false; }
bool DBuffer::isMBCS() const { return false; }
bool DBuffer::isDBCS() const { return false; }
bool DBuffer::isSBCS() const { return false; }
bool DBuffer::isValidMBCS() const { return false; }
bool DBuffer::isValidDBCS() const { return false; }
bool DBuffer::includesMBCS() const { return false; }
bool DBuffer::includesDBCS() const { return false; }
bool DBuffer::includesSBCS() const { return false; }
unsigned int DBuffer::indexOf(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::indexOf(DStringTest const&, unsigned int) const { return 0; }
unsigned int DBuffer::indexOfAnyBut(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::indexOfAnyBut(DStringTest const&, unsigned int) const { return 0; }
unsigned int DBuffer::indexOfAnyOf(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::indexOfAnyOf(DStringTest const&, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOf(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOf(DStringTest const&, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOfAnyBut(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOfAnyBut(DStringTest const&, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOfAnyOf(char const*, unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::lastIndexOfAnyOf(DStringTest const&, unsigned int) const { return 0; }
DBuffer* DBuffer::center(unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::change(char const*, unsigned int, char const*, unsigned int, unsigned int, unsigned int) { addRef(); return this; }
DBuffer* DBuffer::copy(unsigned int) { addRef(); return this; }
DBuffer* DBuffer::insert(char const*, unsigned int, unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::leftJustify(unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::lowerCase() { addRef(); return this; }
DBuffer* DBuffer::overlayWith(char const*, unsigned int, unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::remove(unsigned int, unsigned int) { addRef(); return this; }
DBuffer* DBuffer::reverse() { addRef(); return this; }
DBuffer* DBuffer::rightJustify(unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::strip(char const*, unsigned int, DStringEnum::StripMode) { addRef(); return this; }
DBuffer* DBuffer::translate(char const*, unsigned int, char const*, unsigned int, char) { addRef(); return this; }
DBuffer* DBuffer::upperCase() { addRef(); return this; }
DBuffer* DBuffer::strip(DStringTest const&, DStringEnum::StripMode) { addRef(); return this; }
unsigned int DBuffer::startSearch(unsigned int, unsigned int) const { return 0; }
unsigned int DBuffer::startBackwardsSearch(unsigned int, unsigned int) const { return 0; }
