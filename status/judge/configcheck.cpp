#include "judge/configcheck.h"
