// The drivers through which the workers pack data files and send them to the cloud.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "packfile/records.h"
#include "records/recallorder.h"

// Packs live values into a real-data file and appends the archive's full path to `files`. Returns
// the result of CPackFile::CreateRealDataJsonFile.
int CreateRealDataFile(Real_Data_Struct* values, const char* dir, std::vector<std::string>* files,
                       std::time_t when);

// Packs alarm events into as many alarm-data files as they need and appends the archives' full
// paths to `files`, and the events that a full card kept out to `unwritten`, which may be null.
// Returns the result of CPackFile::CreateAlarmDataJsonFile.
int CreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir,
                        std::vector<std::string>* files, Alarm_Data_Struct* unwritten = nullptr);

// Packs the history that the cloud ordered and stores the archive's full path in `file`, an empty
// one when there is too much history. Returns the result of CPackFile::CreateRecallDataJsonFile.
int CreateRecallDataFile(const ST_CHECKCALL_ACK* order, const char* dir, std::string* file);

// Send one packed file, given by its full path, to the address in use. 0 when the cloud accepted it
// or it is not worth sending; -1 otherwise: its ledger row stays pending. The cloud's answer alone
// decides, not the transfer's own result. Real data are not sent and count as accepted when the
// path does not contain the configured file type.
int UploadRealDataFile(const char* path);
int UploadAlarmDataFile(const char* path);
int UploadDemandRecall(const char* path);

// Copies the part of `path` after its last "/" into `out`, which must be large enough. Returns
// `out`.
char* getlastname(const char* path, char* out);

// The answer callback of file uploads, in the shape of libcurl's write callbacks. For one complete
// JSON answer whose "status" is 0 it sets the success flag at `successFlag` to 1 and returns 0. For
// any other it returns -1. It then sets the flag to 0 if the answer is one JSON document with a
// "status", and otherwise leaves the flag.
std::size_t OnUploadFileAnswer(char* text, std::size_t size, std::size_t count,
                               void* successFlag) noexcept;
