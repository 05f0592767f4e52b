// The parser of the cloud's JSON answers.
#pragma once

#include <cstdint>
#include <string>

#include "parsememory/answers.h"
#include "records/recallorder.h"
#include "util/mutex.h"

// Turns each kind of answer into its record. Any thread may call it. A mutex covers only the
// parsing of the text; each call reads a document of its own.
//
// Common to all: `text` is read up to its terminating zero, `length` is not used. The result is 0,
// or -1 for a text that is no JSON (nothing is logged, the record stays untouched) or lacks a
// member. A member of the wrong type throws std::logic_error "rapidjson exception". After a failure
// the record holds what was read before it.
class CParseMemory {
 public:
  CParseMemory() = default;
  CParseMemory(const CParseMemory&) = delete;
  CParseMemory& operator=(const CParseMemory&) = delete;

  // Requires "status" and "message"; a missing one is not logged.
  int ParseUploadFileFromMemory(const char* text, int length, ST_UPLOAD_FILE_ACK* ack);
  // Requires "data", "status" and "message", and "seqStatus" in each element of "data"; a missing
  // one is logged with a WARN line. The seqStatus of the last element counts. An empty "data"
  // leaves it as the caller set it.
  int ParseAuthorizeInfoFromMemory(const char* text, int length, ST_AUTH_ACK* ack);
  // Requires "data", "status" and "message", and "realIpAddress" in each element of "data"; a
  // missing one is logged with a WARN line. Redirects data traffic at once to the part of each
  // address before its ":". So the last one wins, and after a faulty element those before it stay
  // in effect. An empty part changes nothing.
  int ParseSkipAddressFromMemory(const char* text, int length, ST_SKIP_ADDRESS_ACK* ack);
  // Looks for this gateway's order, the first element of "data" with the serial number `sn`. -1
  // also for a "status" other than 0. Without an order it returns 0 and leaves the record
  // untouched. Devices and points that lack a member are left out. Local times are rounded up to
  // whole minutes, deliberately never down.
  int ParseRecallFromMemory(const char* sn, const std::string* text, ST_CHECKCALL_ACK* ack);

  // Unix time of "YYYY-MM-DD hh:mm:ss", local time, as 32 bits.
  std::int32_t TimeString2Timet(const char* text);

 private:
  util::Mutex m_parseMutex;  // guards no data; one text is parsed at a time
};

// The one object of the process.
CParseMemory& GetCParseMemoryInstance();
