// Owns the record of one exchange: what the gateway sent and what the cloud made of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "cloud/answers.h"
#include "cloud/documents.h"
#include "cloud/endpoints.h"
#include "cloud/request.h"

namespace cloud {

// What it is for: one line of the cloud's journal, with everything that belongs to it. What a
// faulty request did not get as far as stays empty.
struct Exchange {
  std::time_t time = 0;              // when the request was complete, or given up
  std::optional<Endpoint> endpoint;  // nothing when no endpoint is meant
  std::string address;               // the loopback address that it came in on
  bool onSecondAddress = false;      // that is Settings::secondAddress
  Request request;
  std::string fileName;              // uploads: as in the form
  std::string archive;               // uploads: the file's bytes
  std::string memberName;            // uploads: the archive's member
  std::string document;              // the JSON text: an upload's member, or the body
  std::string serialNumber;          // as in the document
  std::size_t devices = 0;           // different ones in the document
  std::size_t points = 0;            // in the document
  std::optional<RecallData> recall;  // uploads of recall data: what the document says
  std::vector<std::int32_t> orders;  // recall checks: the "id" of every order in the answer
  std::string redirect;              // address checks: the "realIpAddress" in the answer
  std::string fault;                 // what is wrong with the request; empty when nothing is
  bool accepted = false;             // answered as done
  std::string verdict;  // for people: "accepted", "faulty: …", "refused", "answered HTTP 500", …
  std::string keptAs;   // uploads: path of the kept copy; empty when none was kept
  Answer answer;        // what was sent, or would have been
};

// The line for people, without a line end; control characters are shown as "?":
// "10:00:05 realdata S20240301100000.tar.gz 2154 bytes, 12 devices, 400 points: accepted". On the
// second address "at 127.0.0.2" follows the time.
std::string ToLine(const Exchange& exchange);

}  // namespace cloud
