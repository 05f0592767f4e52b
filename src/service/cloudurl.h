// The cloud's endpoints and the URLs that lead there.
#pragma once

#include <string_view>

#include "http/frames.h"

inline constexpr char kAuthorizeEndpoint[] = "/eqpapi/EqpAuthorize";
inline constexpr char kSkipAddressEndpoint[] = "/eqpapi/EqpSkipAddress";
inline constexpr char kRecallCheckEndpoint[] = "/eqpapi/EqpDataIfRecall";
inline constexpr char kRealDataEndpoint[] = "/eqpapi/EqpUploadDataInfo";
inline constexpr char kAlarmDataEndpoint[] = "/eqpapi/EqpUploadAlarmDataInfo";
inline constexpr char kRecallDataEndpoint[] = "/eqpapi/EqpDataRecall";

// Fills what all requests have in common into a zeroed frame: the configured file type, the method,
// and the URL "http://host:port<prefix><endpoint>", cut at 127 characters.
void AddressFrame(ST_FRAME_MEMORY_UPLOAD& frame, std::string_view host, std::string_view endpoint);
void AddressFrame(ST_FRAME_FILE_UPLOAD& frame, std::string_view host, std::string_view endpoint);
