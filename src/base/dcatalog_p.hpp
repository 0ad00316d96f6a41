// Internal: finding the message catalogue and checking the file before
// catopen maps it. catopen trusts a catalogue's header (a damaged one
// crashes the process at its next message) and blocks on a FIFO, so the
// library resolves catopen's search itself and hands it only a file that
// passed the checks.
#ifndef D_BASE_DCATALOG_P_HPP
#define D_BASE_DCATALOG_P_HPP

#include <nl_types.h>

namespace dinternal {

/// Opens catalogue \p name as catopen(name, 0) would find it (a name with a
/// '/' is a path; otherwise NLSPATH, then the C library's own places), but
/// only when the file found is a sound catalogue. When that gives none and
/// \p isDefaultName, the catalogue installed with the library is opened.
/// Returns the handle, or (nl_catd)-1 (catgets finds nothing in it).
nl_catd openCatalogue(char const* name, bool isDefaultName);

} // namespace dinternal

#endif // D_BASE_DCATALOG_P_HPP
