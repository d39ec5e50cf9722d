// xcb's header of the keyboard extension, which was not made for C++.
#pragma once

#define explicit isExplicit
#include <xcb/xkb.h>
#undef explicit
