#pragma once

#include <span>

#include "judge/codes.h"

namespace status {

std::span<const Code> ConfigCodes();

}  // namespace status
