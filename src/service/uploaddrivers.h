// The drivers through which the workers pack data files and send them to the cloud.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "packfile/records.h"
#include "records/recallorder.h"

// Packs live values into a real-data file (CPackFile::CreateRealDataJsonFile, whose result is
// returned): the archive's full path is appended to `files`.
int CreateRealDataFile(Real_Data_Struct* values, const char* dir, std::vector<std::string>* files,
                       std::time_t when);

// Packs alarm events into as many alarm-data files as they need
// (CPackFile::CreateAlarmDataJsonFile): the archives' full paths are appended to `files`, the
// events that a full card kept out to `unwritten`, which may be null.
int CreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir,
                        std::vector<std::string>* files, Alarm_Data_Struct* unwritten = nullptr);
// Packs the history that the cloud ordered (CPackFile::CreateRecallDataJsonFile): the archive's
// full path is stored in `file`, an empty one when there is too much of it.
int CreateRecallDataFile(const ST_CHECKCALL_ACK* order, const char* dir, std::string* file);

// Send one packed file, given by its full path, to the address in use. 0 when the cloud accepted
// it, or it is not worth sending; -1 otherwise: the ledger row is to stay pending. The cloud's
// answer alone decides, not the transfer's own result. Real data only: a path without the
// configured file type in it is not sent and counts as accepted.
int UploadRealDataFile(const char* path);
int UploadAlarmDataFile(const char* path);
int UploadDemandRecall(const char* path);

// Copies the part of `path` after its last "/" into `out`, which must be large enough. Returns
// `out`.
char* getlastname(const char* path, char* out);

// The answer callback of file uploads, in libcurl's write-callback shape: sets the success flag at
// `successFlag` to 1 and returns 0 for a complete JSON answer whose "status" is 0; otherwise sets
// it to 0, or leaves it, and returns -1.
std::size_t OnUploadFileAnswer(char* text, std::size_t size, std::size_t count,
                               void* successFlag) noexcept;
