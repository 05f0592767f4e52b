#include "print/terminal.h"
namespace status {}
