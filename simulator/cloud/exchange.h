// Owns the record of one exchange: what the gateway sent and what the cloud made of it.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

#include "cloud/answers.h"
#include "cloud/endpoints.h"
#include "cloud/request.h"

namespace cloud {

// What it is for: one line of the cloud's journal, with everything that belongs to it. What a
// faulty request did not get as far as stays empty.
struct Exchange {
  std::time_t time = 0;              // when the request was complete, or given up
  std::optional<Endpoint> endpoint;  // nothing when no endpoint is meant
  Request request;
  std::string fileName;      // uploads: as in the form
  std::string archive;       // uploads: the file's bytes
  std::string memberName;    // uploads: the archive's member
  std::string document;      // the JSON text: an upload's member, or the body
  std::string serialNumber;  // as in the document
  std::size_t devices = 0;   // different ones in the document
  std::size_t points = 0;    // in the document
  std::string fault;         // what is wrong with the request; empty when nothing is
  bool accepted = false;     // answered as done
  std::string verdict;  // for people: "accepted", "faulty: …", "refused", "answered HTTP 500", …
  std::string keptAs;   // uploads: path of the kept copy; empty when none was kept
  Answer answer;        // what was sent, or would have been
};

// The line for people, without a line end; control characters are shown as "?":
// "10:00:05 realdata S20240301100000.tar.gz 2154 bytes, 12 devices, 400 points: accepted".
std::string ToLine(const Exchange& exchange);

}  // namespace cloud
