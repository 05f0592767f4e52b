// Owns the HTTP side of one connection: the HTTP library reads the request and writes the answer.
#pragma once

#include <functional>

#include "cloud/answers.h"
#include "cloud/connection.h"
#include "cloud/request.h"
#include "cloud/stopsignal.h"

namespace cloud {

// What it is for: deciding the answer to a request. Called once a connection that sent anything;
// the request may be cut short or malformed.
using Responder = std::function<Answer(const Request&)>;

// Lets the HTTP library make its tables, which it does on first use, behind guards that the thread
// sanitizer cannot see in a library that it did not build. To be called before threads converse;
// the work is done once a process.
void PrepareLibrary();

// Serves one exchange on the connection and ends the connection. A stall ends, without an answer,
// as soon as `stop` is raised.
void Converse(Connection* connection, const StopSignal& stop, const Responder& respond);

}  // namespace cloud
