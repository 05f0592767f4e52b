#include "collect/archive.h"
