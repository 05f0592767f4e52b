// The JSON exchanges with the cloud.
#pragma once

#include <cstddef>
#include <string>

#include "records/recallorder.h"

// The login, at the configured address. 0 when the cloud authorised the gateway, -1 otherwise.
int HTTP_POST_AUTHORIZE_INFO();

// The login with a line in the text log. 0 or -1. Upload worker, before its first upload.
int PrePost();

// The address check, at the configured address too: its answer may redirect data traffic. 0 when
// the server answered with HTTP status 200 or 201, whatever its answer; -1 otherwise.
int HTTP_POST_SKIP_ADDRESS_INFO();

// The address check, whose failure is only logged. 0, always. Heartbeat worker.
int SyncHeartBeat();

// Asks the address in use whether history is ordered, and fills in the order for this gateway,
// which the caller has cleared. 0; -1 when there was no answer or none that can be used. Recall
// worker.
int CheckDemandRecall(ST_CHECKCALL_ACK* answer);

// The answer callback of the login, in libcurl's write-callback shape: sets the success flag at
// `successFlag` to 1 and returns 0 when the answer's "seqStatus" is 0; otherwise returns -1 and
// leaves the flag.
std::size_t OnAuthorizeAnswer(char* text, std::size_t size, std::size_t count,
                              void* successFlag) noexcept;

// The same for the address check, whose answer redirects data traffic: 0 unless it cannot be used.
std::size_t OnSkipAddressAnswer(char* text, std::size_t size, std::size_t count,
                                void* successFlag) noexcept;

// What a recall check has received so far.
struct CollectedAnswer {
  std::string text;
  int loggedPieces = 0;
};

// The answer callback of the recall check: appends what was received to the CollectedAnswer at
// `answer`, as an answer may come in pieces, and returns the number of bytes. The text log tells
// the first 64 pieces. An answer of more than 512 KiB is given up, with a WARN line: the transfer
// ends, and nothing of it is left.
std::size_t OnRecallCheckAnswer(char* text, std::size_t size, std::size_t count,
                                void* answer) noexcept;
