// Turning the cloud's JSON answers into records.
#pragma once

#include <cstdint>
#include <string>

#include "parsememory/answers.h"
#include "records/recallorder.h"
#include "util/mutex.h"

// What it is for: one parser for each kind of answer.
// Threads: any; a mutex covers only the parsing into a document of the call's own.
// Owns: the mutex.
//
// Common to all: `text` is read up to its terminating zero, `length` is accepted and not used.
// Returns 0; -1 for text that is no JSON (silently, the record untouched) or lacks a member. A
// member of the wrong type throws std::logic_error "rapidjson exception". A failure part-way leaves
// in the record what was already written.
class CParseMemory {
 public:
  CParseMemory() = default;
  CParseMemory(const CParseMemory&) = delete;
  CParseMemory& operator=(const CParseMemory&) = delete;

  // Requires "status" and "message"; a missing one is not logged.
  int ParseUploadFileFromMemory(const char* text, int length, ST_UPLOAD_FILE_ACK* ack);
  // Requires "data", "status" and "message", and "seqStatus" in each element of "data"; a missing
  // one is logged with a WARN line. The last element's seqStatus counts; without elements it stays
  // as the caller set it.
  int ParseAuthorizeInfoFromMemory(const char* text, int length, ST_AUTH_ACK* ack);
  // Requires "data", "status" and "message", and "realIpAddress" in each element of "data"; a
  // missing one is logged with a WARN line. Redirects data traffic to the part of each address
  // before its ":" at once, so the last one wins, and those before a faulty element have taken
  // effect. Nothing before the ":" changes nothing.
  int ParseSkipAddressFromMemory(const char* text, int length, ST_SKIP_ADDRESS_ACK* ack);
  // Looks for this gateway's order, the first of "data" with the serial number `sn`. -1 also for a
  // "status" other than 0. Without an order 0, and the record untouched. Devices and points that
  // lack a member are left out. Local times are rounded up to whole minutes, deliberately never
  // down.
  int ParseRecallFromMemory(const char* sn, const std::string* text, ST_CHECKCALL_ACK* ack);

  // Unix time of "YYYY-MM-DD hh:mm:ss", local time, as 32 bits.
  std::int32_t TimeString2Timet(const char* text);

 private:
  util::Mutex m_parseMutex;  // guards nothing of ours: serialises the parsing step
};

// The one object of the process.
CParseMemory& GetCParseMemoryInstance();
