// Operating-system services used by the string classes: the wait for the
// process-wide reference-count lock byte (libzynosse.so.1).
#ifndef D_OSS_DOSS_HPP
#define D_OSS_DOSS_HPP

#include "ddefs.hpp"

extern "C" {
/// Returns once the caller holds \p lock (set it from 0 to 1); called after
/// an atomic exchange found the byte taken.
D_EXPORT void ossLockGetConflict(char* lock);
}

#endif // D_OSS_DOSS_HPP
