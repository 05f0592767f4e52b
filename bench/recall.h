// A recall of points of one device: the order, its history on the card, and the floors of both
// steps.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "datasource/demandhistory.h"
#include "floortext.h"
#include "records/recallorder.h"

// Some points of one device, whole days each. The last minute is that of `kRecallEnd`.
struct Recall {
  Recall(std::size_t pointCount, std::size_t days);

  std::size_t Values() const { return points * minutes; }

  std::size_t points;
  std::size_t minutes;  // of each point
  ST_CHECKCALL_ACK order;
};

// The history of a recall, a series for each point in the order's order.
using RecallSeries = std::vector<std::vector<ST_SINGLE_POINT_VALUE>>;

// Puts the history of a recall of up to 20 points and 3 days on the card, once in a process.
void MakeRecallHistory();

// Reads the series of the order with one connection and one prepared statement.
void ReadRecallBare(const Recall& recall, RecallSeries& series);
// Writes the document of the order.
void WriteRecallFloor(const Recall& recall, const RecallSeries& series, FloorText& text);
