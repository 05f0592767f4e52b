// The JSON exchanges with the cloud.
#pragma once

#include <cstddef>

// The login, at the configured address. 0 when the cloud authorised the gateway, -1 otherwise.
int HTTP_POST_AUTHORIZE_INFO();

// The login with a line in the text log. 0 or -1. Upload worker, before its first upload.
int PrePost();

// The answer callback of the login, in libcurl's write-callback shape: sets the success flag at
// `successFlag` to 1 and returns 0 when the answer's "seqStatus" is 0; otherwise returns -1 and
// leaves the flag.
std::size_t OnAuthorizeAnswer(char* text, std::size_t size, std::size_t count,
                              void* successFlag) noexcept;
