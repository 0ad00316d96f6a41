// Umbrella header of libzyncmncoll: includes every public header, so
// `#include <zyncmncoll.hpp>` gives the whole library.
#ifndef D_ZYNCMNCOLL_HPP
#define D_ZYNCMNCOLL_HPP

#include "dbase.hpp"
#include "dbuffer.hpp"
#include "ddate.hpp"
#include "ddbcsb.hpp"
#include "ddefs.hpp"
#include "derrinfo.hpp"
#include "dexcept.hpp"
#include "dexctrace.hpp"
#include "dnlsutil.hpp"
#include "dstring.hpp"
#include "dtime.hpp"

#endif // D_ZYNCMNCOLL_HPP
