// The same records, seen by a C++ compiler.
#include "layout.c"
