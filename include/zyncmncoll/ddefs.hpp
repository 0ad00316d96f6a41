// Build-wide definitions shared by every public header of the library:
// the export macro that marks the public binary interface. Everything not
// marked D_EXPORT stays inside libzyncmncoll.so.1.
#ifndef D_BASE_DDEFS_HPP
/// \file
#define D_BASE_DDEFS_HPP

#if defined(__GNUC__) || defined(__clang__)
/// Marks a class or function as part of the library's binary interface.
#define D_EXPORT __attribute__((visibility("default")))
#else
#define D_EXPORT
#endif

#endif // D_BASE_DDEFS_HPP
