// TEMPORARY: single-byte stand-ins for the multibyte search and editing
// overrides, so that DDBCSBuffer links before ddbcsearch.cpp and
// ddbcsedit.cpp land. Delete this file when they do.
#include "ddbcsb.hpp"

unsigned int DDBCSBuffer::startSearch(unsigned int start,
                                      unsigned int patternLength) const {
  return DBuffer::startSearch(start, patternLength);
}
unsigned int
DDBCSBuffer::startBackwardsSearch(unsigned int start,
                                  unsigned int patternLength) const {
  return DBuffer::startBackwardsSearch(start, patternLength);
}
unsigned int DDBCSBuffer::indexOf(char const* pattern, unsigned int length,
                                  unsigned int start) const {
  return DBuffer::indexOf(pattern, length, start);
}
unsigned int DDBCSBuffer::indexOf(DStringTest const& test,
                                  unsigned int start) const {
  return DBuffer::indexOf(test, start);
}
unsigned int DDBCSBuffer::indexOfAnyBut(char const* set, unsigned int length,
                                        unsigned int start) const {
  return DBuffer::indexOfAnyBut(set, length, start);
}
unsigned int DDBCSBuffer::indexOfAnyBut(DStringTest const& test,
                                        unsigned int start) const {
  return DBuffer::indexOfAnyBut(test, start);
}
unsigned int DDBCSBuffer::indexOfAnyOf(char const* set, unsigned int length,
                                       unsigned int start) const {
  return DBuffer::indexOfAnyOf(set, length, start);
}
unsigned int DDBCSBuffer::indexOfAnyOf(DStringTest const& test,
                                       unsigned int start) const {
  return DBuffer::indexOfAnyOf(test, start);
}
unsigned int DDBCSBuffer::lastIndexOf(char const* pattern, unsigned int length,
                                      unsigned int start) const {
  return DBuffer::lastIndexOf(pattern, length, start);
}
unsigned int DDBCSBuffer::lastIndexOf(DStringTest const& test,
                                      unsigned int start) const {
  return DBuffer::lastIndexOf(test, start);
}
unsigned int DDBCSBuffer::lastIndexOfAnyBut(char const* set,
                                            unsigned int length,
                                            unsigned int start) const {
  return DBuffer::lastIndexOfAnyBut(set, length, start);
}
unsigned int DDBCSBuffer::lastIndexOfAnyBut(DStringTest const& test,
                                            unsigned int start) const {
  return DBuffer::lastIndexOfAnyBut(test, start);
}
unsigned int DDBCSBuffer::lastIndexOfAnyOf(char const* set, unsigned int length,
                                           unsigned int start) const {
  return DBuffer::lastIndexOfAnyOf(set, length, start);
}
unsigned int DDBCSBuffer::lastIndexOfAnyOf(DStringTest const& test,
                                           unsigned int start) const {
  return DBuffer::lastIndexOfAnyOf(test, start);
}
DBuffer* DDBCSBuffer::subString(unsigned int start, unsigned int count,
                                char pad) const {
  return DBuffer::subString(start, count, pad);
}
DBuffer* DDBCSBuffer::subString(unsigned int start) const {
  return DBuffer::subString(start);
}
DBuffer* DDBCSBuffer::center(unsigned int width, char pad) {
  return DBuffer::center(width, pad);
}
DBuffer* DDBCSBuffer::change(char const* pattern, unsigned int patternLength,
                             char const* replacement,
                             unsigned int replacementLength, unsigned int start,
                             unsigned int count) {
  return DBuffer::change(pattern, patternLength, replacement, replacementLength,
                         start, count);
}
DBuffer* DDBCSBuffer::insert(char const* data, unsigned int length,
                             unsigned int position, char pad) {
  return DBuffer::insert(data, length, position, pad);
}
DBuffer* DDBCSBuffer::leftJustify(unsigned int width, char pad) {
  return DBuffer::leftJustify(width, pad);
}
DBuffer* DDBCSBuffer::lowerCase() {
  return DBuffer::lowerCase();
}
DBuffer* DDBCSBuffer::overlayWith(char const* data, unsigned int length,
                                  unsigned int position, char pad) {
  return DBuffer::overlayWith(data, length, position, pad);
}
DBuffer* DDBCSBuffer::remove(unsigned int start, unsigned int count) {
  return DBuffer::remove(start, count);
}
DBuffer* DDBCSBuffer::reverse() {
  return DBuffer::reverse();
}
DBuffer* DDBCSBuffer::rightJustify(unsigned int width, char pad) {
  return DBuffer::rightJustify(width, pad);
}
DBuffer* DDBCSBuffer::strip(char const* set, unsigned int length,
                            DStringEnum::StripMode mode) {
  return DBuffer::strip(set, length, mode);
}
DBuffer* DDBCSBuffer::strip(DStringTest const& test,
                            DStringEnum::StripMode mode) {
  return DBuffer::strip(test, mode);
}
DBuffer* DDBCSBuffer::translate(char const* from, unsigned int fromLength,
                                char const* to, unsigned int toLength,
                                char pad) {
  return DBuffer::translate(from, fromLength, to, toLength, pad);
}
DBuffer* DDBCSBuffer::upperCase() {
  return DBuffer::upperCase();
}
