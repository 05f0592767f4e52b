// RapidJSON with an assertion that throws std::logic_error instead of ending the process. Every
// source includes RapidJSON through this header, so that all see the same assertion.
#pragma once

#include <stdexcept>

#ifdef RAPIDJSON_ASSERT
#error "util/json.h must be included before RapidJSON"
#endif
#define RAPIDJSON_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : throw std::logic_error("rapidjson exception"))

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
