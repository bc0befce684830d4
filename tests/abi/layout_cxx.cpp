// Compiles the assertions of layout.c as C++.
#include "layout.c"
