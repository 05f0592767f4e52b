// A data file on its way to an archive: its names, and the compression with the system's tar.
//
//   text file  <directory>/<prefix><stamp>.dat       one JSON document
//   archive    <directory>/<prefix><stamp>.tar.gz    holds the text file under its bare name
// Prefix "S" is real data, "T" alarm data, "R" recall data; the stamp is 14 digits of local time.
//
// An archive of that name may stand there already, recorded: after a restart within its minute the
// same stamp is packed again. Then the new one is made in a directory of its own, beside it, and
// takes the old one's place once it is whole:
//   <directory>/new/<prefix><stamp>.dat and .tar.gz
#pragma once

#include <ctime>
#include <fstream>
#include <string>

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

// Told of every attempt that failed, with tar's exit status: 0 when the command could not be
// started, the error number of the write when the text file is not whole.
using AttemptFailed = void (*)(const char* archive, int status);

inline constexpr int kPackAttempts = 3;

// One data file from its text to its archive. On the worker thread that packs it.
class DataFile {
 public:
  DataFile(char prefix, const char* directory, const std::tm& stamp,
           const char* tellStatus = kTellStatus);

  const DataFileNames& Names() const { return m_names; }
  // Opens the text file for the caller to write.
  std::ofstream OpenText();
  // The card has not taken the whole text. Every attempt to pack it fails, and it is removed.
  void SetWriteError(int errorNumber) { m_writeError = errorNumber; }
  bool IsTextWhole() const { return m_writeError == 0; }

  // Compresses the text file, at most kPackAttempts times, each after a pause of 1 s. True when tar
  // succeeded and left an archive that is not empty: then it is on the card itself, under its own
  // name, and the text file is gone. False leaves what there is of both.
  bool Pack(AttemptFailed attemptFailed);
  // After a failure: removes what there is of the archive, and leaves a whole text under its name.
  void RemoveRemains();

 private:
  // The archive is whole: brings it to the card under its name and drops the text. False, with
  // errno, when it cannot take its name.
  bool KeepArchive();
  // Whether the archive is made beside one of its name.
  bool IsBeside() const { return !m_beside.empty(); }

  std::string m_directory;
  const char* m_tellStatus;
  std::string m_beside;  // the directory beside, or empty
  DataFileNames m_names;
  DataFileNames m_work;  // m_names, or the same in the directory beside
  int m_writeError = 0;  // 0: the text file is whole
};
