// Formatting-library support: makes DString, DDate and DTime formattable
// with {fmt} (when <fmt/format.h> is available) and with std::format (when
// the standard library has it). Header-only and opt-in: the umbrella header
// does not include it, and the library itself depends on neither.
//
//   #include <dformatter.hpp>
//   fmt::print("{:*^10}|{}\n", text, date);   // std::format alike
//
// A DString formats as all of its bytes, embedded NUL bytes included (the
// stream operator stops at the first NUL). It takes a string's format
// options: fill, alignment, width, precision and the type `s`. Width and
// precision count as the formatting library counts text: for UTF-8 text by
// code points, a wide East Asian character taking two columns; a byte that
// is not part of a valid UTF-8 sequence (Latin-1 text, bytes 0x80-0xFF)
// counts one. The count does not depend on the process locale, so text in
// another multibyte encoding (EUC-JP, GB18030) counts by those rules too.
//
// DDate and DTime format as their stream operators write them: the locale's
// date format (DDate::asString()) and time representation
// (DTime::asString("%X")), with the same string options; another
// layout is a matter of formatting asString(format).
//
// Define D_FORMATTER_NO_FMT to leave {fmt} out, D_FORMATTER_NO_STD to leave
// std::format out. D_FORMATTER_HAVE_FMT and D_FORMATTER_HAVE_STD_FORMAT are
// defined to 1 for the forms this header provides.
#ifndef D_DFORMATTER_HPP
#define D_DFORMATTER_HPP

#include "ddate.hpp"
#include "dstring.hpp"
#include "dtime.hpp"

#include <string_view>

namespace dinternal {
/// The text a value formats as.
inline DString const& formatText(DString const& text) {
  return text;
}
inline DString formatText(DDate const& date) {
  return date.asString();
}
inline DString formatText(DTime const& time) {
  return time.asString("%X");
}
} // namespace dinternal

#if !defined(D_FORMATTER_NO_FMT) && defined(__has_include)
#if __has_include(<fmt/format.h>)
#include <fmt/format.h>
#define D_FORMATTER_HAVE_FMT 1

namespace dinternal {
/// The {fmt} formatter of the library's value types: a string formatter
/// applied to the value's text.
template <typename T>
struct FmtFormatter : fmt::formatter<fmt::string_view> {
  template <typename FormatContext>
  auto format(T const& value, FormatContext& ctx) const -> decltype(ctx.out()) {
    DString const& text = formatText(value); // all bytes
    return fmt::formatter<fmt::string_view>::format(
        fmt::string_view(static_cast<char const*>(text), text.length()), ctx);
  }
};
} // namespace dinternal

/// DString with {fmt}: all bytes, a string's format options.
template <>
struct fmt::formatter<DString> : dinternal::FmtFormatter<DString> {};
/// DDate with {fmt}: the locale's date format.
template <>
struct fmt::formatter<DDate> : dinternal::FmtFormatter<DDate> {};
/// DTime with {fmt}: the locale's time representation.
template <>
struct fmt::formatter<DTime> : dinternal::FmtFormatter<DTime> {};
#endif
#endif

#if !defined(D_FORMATTER_NO_STD) && defined(__has_include)
#if __has_include(<version>)
#include <version>
#endif
#if defined(__cpp_lib_format)
#include <format>
#define D_FORMATTER_HAVE_STD_FORMAT 1

namespace dinternal {
/// The std::format formatter of the library's value types.
template <typename T>
struct StdFormatter : std::formatter<std::string_view, char> {
  template <typename FormatContext>
  auto format(T const& value, FormatContext& ctx) const -> decltype(ctx.out()) {
    DString const& text = formatText(value); // all bytes
    return std::formatter<std::string_view, char>::format(
        std::string_view(static_cast<char const*>(text), text.length()), ctx);
  }
};
} // namespace dinternal

/// DString with std::format: all bytes, a string's format options.
template <>
struct std::formatter<DString, char> : dinternal::StdFormatter<DString> {};
/// DDate with std::format: the locale's date format.
template <>
struct std::formatter<DDate, char> : dinternal::StdFormatter<DDate> {};
/// DTime with std::format: the locale's time representation.
template <>
struct std::formatter<DTime, char> : dinternal::StdFormatter<DTime> {};
#endif
#endif

#endif // D_DFORMATTER_HPP
