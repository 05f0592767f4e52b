// Parts of the JSON document that have a file of their own.
#pragma once

#include "collect/facts.h"
#include "print/jsonwriter.h"

namespace status {

// The members "cloud" and "logs": what the logs tell.
void AddCloud(JsonWriter& json, const LogFacts& logs);
void AddLogs(JsonWriter& json, const LogFacts& logs);

}  // namespace status
