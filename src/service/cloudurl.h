// The cloud's endpoints and the URLs that lead there.
#pragma once

#include "http/frames.h"

namespace cloud {

inline constexpr char kAuthorize[] = "/eqpapi/EqpAuthorize";
inline constexpr char kSkipAddress[] = "/eqpapi/EqpSkipAddress";
inline constexpr char kDataIfRecall[] = "/eqpapi/EqpDataIfRecall";
inline constexpr char kUploadRealData[] = "/eqpapi/EqpUploadDataInfo";
inline constexpr char kUploadAlarmData[] = "/eqpapi/EqpUploadAlarmDataInfo";
inline constexpr char kUploadRecallData[] = "/eqpapi/EqpDataRecall";

// Fills what the frames have in common: the URL "http://host:port<prefix><endpoint>", cut at 127
// characters, the configured file type and the method. The frame must be zeroed before.
void Address(ST_FRAME_MEMORY_UPLOAD* frame, const char* host, const char* endpoint);
void Address(ST_FRAME_FILE_UPLOAD* frame, const char* host, const char* endpoint);

}  // namespace cloud
