#include "judge/gaps.h"
