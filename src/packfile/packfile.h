// The data files: what the gateway has collected, as compact JSON, compressed on the SD card.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "packfile/records.h"
#include "records/recallorder.h"

// Builds, writes and compresses the data files. It holds nothing between calls and needs no lock:
// each builder runs on its own worker thread, which its pauses block.
//
// Common to the builders: a file has three attempts of compression. When all fail, its text file
// stays on the card; only a text that the card did not take whole is removed. A text file that
// cannot be opened ends the process. An archive of the same name stays until the new one is whole.
class CPackFile {
 public:
  CPackFile() = default;
  CPackFile(const CPackFile&) = delete;
  CPackFile& operator=(const CPackFile&) = delete;

  // Packs the value of every configured point, except those of channel 193, into one real-data file
  // in `dir`, stamped `when`. Appends the archive's full path to `files` and returns 0. When a
  // configured point has no value, it logs an INFO line, makes no file and returns 0 as well. -1
  // when the stamp cannot be formed and when the compression fails.
  //
  // Takes at least 0.1 s a device, 0.5 s a channel and 1 s a compression, to spread the load.
  std::int32_t CreateRealDataJsonFile(Real_Data_Struct* values, const char* dir,
                                      std::vector<std::string>* files, std::time_t when);

  // Packs alarm events, in their order, into alarm-data files in `dir` of at most 20 events each,
  // named by the current time. Appends the full path of every archive to `files`. Returns 0,
  // always: a file that cannot be compressed is missing from `files`, and the next events go into
  // the next file. See AlarmDocumentWriter for events of unknown points, types and times. Takes at
  // least 1.05 s a file.
  //
  // The events of a text that the card did not take whole are appended to `unwritten`, which may be
  // null: the event reader does not return them again.
  std::int32_t CreateAlarmDataJsonFile(const Alarm_Data_Struct* events, const char* dir,
                                       std::vector<std::string>* files,
                                       Alarm_Data_Struct* unwritten = nullptr);
  // The alarm type code of an event, from the low bytes of its fields, or an empty text: see
  // AlarmCode. The text lives for the whole run.
  const char* GetAlarmType(unsigned int dataId, unsigned char eventType, unsigned char upFlag);

  // Packs the minute values of every ordered point into one recall-data file in `dir`, named by the
  // current time: two calls within a second share their files. Stores the archive's full path in
  // `path` and returns 0. When the document is too large ever to be sent (see WriteRecallDocument),
  // it logs a WARN line, writes nothing, empties `path` and returns 0 as well. -1 when the name
  // cannot be formed, and when the compression fails: then the remains of the archive stay, too.
  std::int32_t CreateRecallDataJsonFile(const ST_CHECKCALL_ACK* request, const char* dir,
                                        std::string* path);

  // Runs a shell command and stores the first line of its output in `buf`, at most n - 1 characters
  // and terminated. `buf` must hold n + 1 bytes. 0; -1 when the command cannot be started.
  int executeCMD(const char* command, char* buf, int n);
  // Size in bytes, or 0 when the file cannot be examined.
  unsigned int get_file_size(const char* path);
  // The value of a point, or -1.0 when there is none.
  double GetPointValue(unsigned int dataId, std::map<unsigned int, double>* values);
};

// The one object of the process.
CPackFile& GetCPackFileInstance();
