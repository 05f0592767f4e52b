// The JSON exchanges with the cloud: login, address check, recall check.
#pragma once

#include <cstddef>
#include <string>

#include "records/recallorder.h"

// The login, at the configured address. 0 when the cloud authorised the gateway, -1 otherwise.
int HTTP_POST_AUTHORIZE_INFO();

// The login with a line in the text log. 0 or -1. The upload worker calls it before its first
// upload.
int PrePost();

// The address check, at the configured address. Its answer may redirect data traffic. 0 when the
// server answered with HTTP status 200 or 201, whatever the answer says; -1 otherwise.
int HTTP_POST_SKIP_ADDRESS_INFO();

// The address check of the heartbeat worker. Always 0: a failure is only logged.
int SyncHeartBeat();

// Asks the address in use whether history is ordered and fills the order for this gateway into
// `answer`, which the caller has cleared. 0; -1 without a usable answer. Recall worker.
int CheckDemandRecall(ST_CHECKCALL_ACK* answer);

// The answer callback of the login, in the shape of libcurl's write callbacks. When the answer's
// "seqStatus" is 0 it sets the success flag at `successFlag` to 1 and returns 0; otherwise it
// leaves the flag and returns -1.
std::size_t OnAuthorizeAnswer(char* text, std::size_t size, std::size_t count,
                              void* successFlag) noexcept;

// The answer callback of the address check, which redirects data traffic. It sets the flag and
// returns 0 for every answer that can be parsed.
std::size_t OnSkipAddressAnswer(char* text, std::size_t size, std::size_t count,
                                void* successFlag) noexcept;

// What a recall check has received so far.
struct CollectedAnswer {
  std::string text;
  int loggedPieces = 0;
};

// The answer callback of the recall check: appends a piece to the CollectedAnswer at `answer` and
// returns the number of its bytes. The first 64 pieces go to the text log. An answer of more than
// 512 KiB is dropped with a WARN line, and the transfer ends.
std::size_t OnRecallCheckAnswer(char* text, std::size_t size, std::size_t count,
                                void* answer) noexcept;
