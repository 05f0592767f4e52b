// The data files: what the gateway has collected, as compact JSON, compressed on the SD card.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "packfile/records.h"
#include "records/recallorder.h"

// What it is for: builds, writes and compresses data files.
// Threads: each builder on its own worker; no data, no lock. The pauses block only the caller.
// Owns: nothing between calls.
class CPackFile {
 public:
  CPackFile() = default;
  CPackFile(const CPackFile&) = delete;
  CPackFile& operator=(const CPackFile&) = delete;

  // Packs the value of every configured point, but for channel 193, into one real-data file in
  // `dir`, stamped `when`. Appends the archive's full path to `files` and returns 0. When a
  // configured point has no value: an INFO line, no file, `files` unchanged, and 0 all the same.
  // -1 when the stamp cannot be formed, and after three failed compressions, with the text file
  // left in place; one that the card did not take whole counts as such a failure, and is removed. A
  // text file that cannot be opened ends the process. An archive of the same name stays until the
  // new one is whole.
  //
  // Takes at least 0.1 s a device, 0.5 s a channel and 1 s a compression, deliberately spread out.
  std::int32_t CreateRealDataJsonFile(Real_Data_Struct* values, const char* dir,
                                      std::vector<std::string>* files, std::time_t when);

  // Packs alarm events, in their order, into alarm-data files in `dir` of at most 20 events each,
  // named by the current time. Appends the full path of every archive to `files`. Returns 0,
  // always: a file that cannot be compressed in three attempts is missing from `files`, with its
  // text file left in place, and the events after it go into the next. A text file that cannot be
  // opened ends the process. Alarm worker.
  //
  // An event of an unknown point, of a type without a code or of a time that cannot be converted
  // takes over the point's name, the code or the time of the event before it in this call; before
  // the first there is none, and the text is empty. Takes at least 1.05 s a file.
  //
  // Where the card did not take the whole text, the events of that file are appended to `unwritten`
  // (which may be null): nobody else will hand them out again.
  std::int32_t CreateAlarmDataJsonFile(const Alarm_Data_Struct* events, const char* dir,
                                       std::vector<std::string>* files,
                                       Alarm_Data_Struct* unwritten = nullptr);
  // The alarm type code of an event, from the low bytes of its fields; lives for the whole run.
  // Empty where there is none. See AlarmCode for the table.
  const char* GetAlarmType(unsigned int dataId, unsigned char eventType, unsigned char upFlag);

  // Packs the minute values of every ordered point into one recall-data file in `dir`, named by the
  // current time: two calls within a second share their files. Stores the archive's full path in
  // `path` and returns 0; an empty one, with a WARN line and nothing written, when the document is
  // too large ever to be sent (see WriteRecallDocument). -1, with nothing written, when the name
  // cannot be formed, and after three failed compressions, with everything left on the card. A text
  // file that cannot be opened ends the process. Recall worker.
  std::int32_t CreateRecallDataJsonFile(const ST_CHECKCALL_ACK* request, const char* dir,
                                        std::string* path);

  // Runs a shell command and stores the first line of its output, at most n - 1 characters and
  // terminated, in `buf`, which must hold n + 1 bytes. 0; -1 when the command cannot be started.
  int executeCMD(const char* command, char* buf, int n);
  // Size in bytes, or 0 when the file cannot be examined.
  unsigned int get_file_size(const char* path);
  // The value of a point, or -1.0 when there is none.
  double GetPointValue(unsigned int dataId, std::map<unsigned int, double>* values);
};

// The one object of the process.
CPackFile& GetCPackFileInstance();
