// Turning the cloud's JSON answers into records.
#pragma once

#include "parsememory/answers.h"
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

 private:
  util::Mutex m_parseMutex;  // guards nothing of ours: serialises the parsing step
};

// The one object of the process.
CParseMemory& GetCParseMemoryInstance();
