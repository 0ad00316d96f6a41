#!/bin/sh
# Doxygen input filter (see Doxyfile): turns "/// @{" and "/// @}" lines into
# plain "//@{" / "//@}" markers, so that the "///" lines right after a group
# opener stay the comment of the first member instead of the group's.
exec sed -e 's|^\([[:space:]]*\)/// @\([{}]\)[[:space:]]*$|\1//@\2|' "$1"
