// One data file from its text to its archive: its names, and the compression with the system's tar.
//
//   text file  <directory>/<prefix><stamp>.dat       one JSON document
//   archive    <directory>/<prefix><stamp>.tar.gz    holds the text file under its bare name
// Prefix "S" is real data, "T" alarm data, "R" recall data; the stamp is 14 digits of local time.
//
// After a restart within the same minute a stamp is packed twice, and the archive of the first time
// may be recorded already. It stays until the second one is whole. The second one is made in a
// directory of its own and then renamed:
//   <directory>/new/<prefix><stamp>.dat and .tar.gz
#pragma once

#include <ctime>
#include <fstream>
#include <string>

// The names of one data file and the command that compresses it. Each is cut silently at its size.
struct DataFileNames {
  char name[63];      // prefix and stamp
  char text[127];     // full path of the text file
  char archive[127];  // full path of the archive
  char command[255];  // its only line of output is tar's exit status
};

// The end of the command, which prints tar's exit status. Recall data does without the blank,
// deliberately.
inline constexpr char kTellStatus[] = " echo $?";
inline constexpr char kTellRecallStatus[] = "echo $?";

DataFileNames NameDataFile(char prefix, const std::string& directory, const std::tm& stamp,
                           const char* tellStatus = kTellStatus);

// Runs a shell command and stores the first line of its output in `line`, at most n - 1 characters
// and terminated. `line` must hold n + 1 bytes. False when the command cannot be started.
bool RunCommand(const char* command, char* line, int n);

// Called for every attempt that failed. `status` is tar's exit status, 0 when the command could not
// be started, or the error number when the text could not be written or the archive not renamed.
using ReportFailedAttempt = void (*)(const char* archive, int status);

inline constexpr int kPackAttempts = 3;

// One data file on its way to the card. It belongs to the worker thread that packs it.
class DataFile {
 public:
  DataFile(char prefix, const std::string& directory, const std::tm& stamp,
           const char* tellStatus = kTellStatus);

  const DataFileNames& Names() const { return m_names; }
  // Opens the text file for the caller to write.
  std::ofstream OpenText();
  // To be called when the card has not taken the whole text. Every attempt to pack it then fails
  // with this error number.
  void SetWriteError(int errorNumber) { m_writeError = errorNumber; }
  bool IsTextWhole() const { return m_writeError == 0; }

  // Compresses the text file in at most kPackAttempts attempts, each after a pause of 1 s. An
  // attempt succeeds when tar does and leaves an archive that is not empty. Then the text file is
  // removed, and the archive and its directory are synchronised to the card. After the last failure
  // a text that is not whole is removed; everything else stays as it is.
  bool Pack(ReportFailedAttempt reportFailedAttempt);
  // After a failure: removes the remains of the archive. A whole text stays, under its own name.
  void RemoveRemains();

 private:
  // Gives the whole archive its name, removes the text and synchronises both. False, with errno,
  // when the archive cannot be renamed.
  bool KeepArchive();
  bool HasOwnDirectory() const { return !m_ownDirectory.empty(); }

  std::string m_directory;
  const char* m_tellStatus;
  std::string m_ownDirectory;  // <directory>/new, or empty
  DataFileNames m_names;
  DataFileNames m_work;  // m_names, or the same names in m_ownDirectory
  int m_writeError = 0;  // 0: the text file is whole
};
