// A data file on its way to an archive: its names, and the compression with the system's tar.
//
//   text file  <directory>/<prefix><stamp>.dat       one JSON document
//   archive    <directory>/<prefix><stamp>.tar.gz    holds the text file under its bare name
// Prefix "S" is real data, "T" alarm data, "R" recall data; the stamp is 14 digits of local time.
#pragma once

#include <ctime>

// The names of one data file and the command that compresses it; each cut silently at its size.
struct DataFileNames {
  char name[63];      // prefix and stamp
  char text[127];     // full path of the text file
  char archive[127];  // full path of the archive
  char command[255];  // leaves tar's exit status as its only line of output
};

// How the command tells tar's exit status. Recall data does without the blank, deliberately.
inline constexpr char kTellStatus[] = " echo $?";
inline constexpr char kTellRecallStatus[] = "echo $?";

// Forms the names of the file that is stamped `stamp`.
DataFileNames NameDataFile(char prefix, const char* directory, const std::tm& stamp,
                           const char* tellStatus = kTellStatus);

// Runs a shell command and stores the first line of its output, at most n - 1 characters and
// terminated, in `line`, which must hold n + 1 bytes. False when it cannot be started.
bool RunCommand(const char* command, char* line, int n);

// Told of every attempt in which the command could not be started or tar failed, with tar's exit
// status (0 when the command could not be started).
using AttemptFailed = void (*)(const char* archive, int status);

inline constexpr int kPackAttempts = 3;

// Compresses the text file, at most kPackAttempts times, each after a pause of 1 s. True when tar
// succeeded and left an archive that is not empty.
bool Compress(const DataFileNames& names, AttemptFailed attemptFailed);
