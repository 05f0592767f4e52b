// The log API: every part of the service reports through it. A call formats its message and
// queues it; a thread of each store writes the queue to disk every 5 seconds.
#pragma once

// The levels, by the numbers that callers pass. Not in order of severity.
enum LogLevel : int {
  SEND = 0,
  RECV = 1,
  DEBUG = 2,  // echoed to standard error while debugging, never stored
  INFO = 3,
  WARN = 4,
  ERROR = 5,
  FATAL = 6,
};

// The level as the stores write it; "UNKNOWN" for a number outside the list.
const char* LogLevelToString(int level);

// Sets the debug switch (0 off; otherwise every message is echoed to standard error) and creates
// both stores. Called once, first thing in the process. Returns 1.
unsigned int log_init(int debug);

// Reports to the text log, which keeps at most 2,046 characters of the message. Any thread may call
// it; it may wait while a batch is being written. Returns 1, always.
__attribute__((format(printf, 2, 3))) unsigned int log_Text(int level, const char* format, ...);

// Reports to the log database, which keeps at most 254 characters of the message. A message that
// contains a double quote is lost when the database is written. Otherwise the same as log_Text.
__attribute__((format(printf, 2, 3))) unsigned int log_DB(int level, const char* format, ...);
