#pragma once

// Included before anything else in the sources of the C interface, when the compiler hides all other names.
#pragma GCC visibility push(default)
#include "zkupdater.h"
#pragma GCC visibility pop
