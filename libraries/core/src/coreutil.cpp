#include "coreutil.h"
