// RapidJSON as the service uses it: its assertion throws instead of ending the process. Every use
// of RapidJSON goes through this header, so that no source sees it with another assertion.
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
