// The HTTP client: JSON requests from memory, data files as a multipart form. It knows nothing of
// the cloud's JSON; an answer callback in the request frame judges the answer.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "http/frames.h"
#include "util/mutex.h"

inline constexpr off_t kFileLimitBytes = 40960;  // files of this size and more are not sent

// Every exchange with the cloud, over libcurl's easy interface. Any thread may call it, several at
// the same time: each call has an easy handle of its own. It holds libcurl's global state and never
// retries.
//
// Results are 0 for success and -1, as an unsigned number, for failure. An answer with more than
// 64 KiB of headers and trailers is broken off there, with a WARN line; the HTTP status decides the
// result, as for every transfer that breaks off.
class CHttp {
 public:
  CHttp();
  ~CHttp();
  CHttp(const CHttp&) = delete;
  CHttp& operator=(const CHttp&) = delete;

  // Posts the frame's body; the whole transfer may last 30 s. 0 when the server answered with HTTP
  // status 200 or 201, whatever the answer callback made of it; -1, with a WARN line, otherwise.
  // The answer callback receives the address of the frame's success flag.
  std::uint32_t POST_MemoryData(ST_FRAME_MEMORY_UPLOAD* frame);
  // The same, but the answer callback receives the frame's callback data.
  std::uint32_t POST_MemoryData_WithExtraArgs(ST_FRAME_MEMORY_UPLOAD* frame);

  // Sends a file of 1 to 40,959 bytes as the form field "licence"; the whole transfer may last
  // 90 s. A missing, empty or larger file is judged sent: success flag 1, result 0, a WARN line
  // (two for a larger one). Otherwise 0 for status 200 or 201, and -1 for any other status and for
  // a file that cannot be opened for reading and writing, or not be read. Callers go by the success
  // flag, not by this result.
  std::uint32_t UploadFile(ST_FRAME_FILE_UPLOAD* frame);

  // Reads up to `max` bytes of a file into `buf`, without a terminator. Returns their number; -1
  // for a null path or, with a WARN line, a file that cannot be opened for reading and writing.
  std::int32_t ReadJsonDataFile(const char* path, char* buf, int max);
  // Size in bytes, or 0 when the file cannot be examined.
  std::int32_t get_file_size(const char* path);

 private:
  util::Mutex m_mutex;  // taken by no operation
};

// The one object of the process; the first call initialises libcurl.
CHttp& GetCHttpInstance();
