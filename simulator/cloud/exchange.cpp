#include "cloud/exchange.h"

#include <algorithm>

#include "util/timetext.h"

namespace cloud {

namespace {

std::string Clock(std::time_t when) {
  const auto time = util::LocalTime(when);
  return time ? util::ClockText(*time) : "--:--:--";
}

std::string WhatArrived(const Exchange& exchange) {
  if (!exchange.endpoint) return exchange.request.method + " " + exchange.request.target;
  const EndpointFacts& facts = Facts(*exchange.endpoint);
  std::string text = facts.name;
  if (!facts.IsUpload()) {
    return exchange.serialNumber.empty() ? text : text + " sn " + exchange.serialNumber;
  }
  if (!exchange.fileName.empty()) text += " " + exchange.fileName;
  text += " " + std::to_string(exchange.archive.size()) + " bytes";
  text += ", " + std::to_string(exchange.devices) + " devices";
  text += ", " + std::to_string(exchange.points) + " points";
  return exchange.recall ? text + ", order " + std::to_string(exchange.recall->id) : text;
}

}  // namespace

std::string ToLine(const Exchange& exchange) {
  std::string line = Clock(exchange.time) + " ";
  if (exchange.onSecondAddress) line += "at " + exchange.address + " ";
  line += WhatArrived(exchange) + ": " + exchange.verdict;
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

}  // namespace cloud
