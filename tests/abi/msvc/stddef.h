#include "std.h"
