// The request frames: what a caller hands to the HTTP client and reads the verdict from.
#pragma once

#include <cstddef>
#include <cstdint>

// libcurl's write-callback and read-callback signatures: `size` times `count` bytes at `data`. An
// answer callback that returns another number than that ends the transfer.
using AnswerCallback = std::size_t (*)(char* data, std::size_t size, std::size_t count,
                                       void* userdata);
using ReadCallback = std::size_t (*)(char* buffer, std::size_t size, std::size_t count,
                                     void* userdata);

// Both frames are zeroed before they are filled; texts are terminated.
#pragma pack(push, 1)

// A JSON POST from memory.
struct ST_FRAME_MEMORY_UPLOAD {
  char url[128];
  char fileType[16];              // configured data-file type; not read by the transport
  char method[16];                // "POST"; not read by the transport
  char body[20480];               // sent by length, not up to a terminator
  std::uint16_t bodyLength;       // bytes of `body` to send
  AnswerCallback answerCallback;  // null: libcurl writes the answer to standard output
  ReadCallback readCallback;      // set by no caller
  void* callbackData;             // for the answer callback of POST_MemoryData_WithExtraArgs
  std::int32_t successFlag;       // set to 1 by the answer callback of POST_MemoryData
};
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, fileType) == 128);
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, method) == 144);
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, body) == 160);
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, bodyLength) == 20640);
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, answerCallback) == 20642);
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, readCallback) == 20642 + sizeof(void*));
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, callbackData) == 20642 + 2 * sizeof(void*));
static_assert(offsetof(ST_FRAME_MEMORY_UPLOAD, successFlag) == 20642 + 3 * sizeof(void*));
static_assert(sizeof(ST_FRAME_MEMORY_UPLOAD) == 20646 + 3 * sizeof(void*));

// A multipart upload of one file.
struct ST_FRAME_FILE_UPLOAD {
  char url[128];
  char fileType[16];              // configured data-file type; not read by the transport
  char method[16];                // "POST"; not read by the transport
  char filePath[128];             // absolute path of the file
  AnswerCallback answerCallback;  // null: libcurl writes the answer to standard output
  ReadCallback readCallback;      // set by no caller
  void* reserved;                 // not read by the transport
  std::int32_t successFlag;  // set to 1 by the answer callback, or when a file is not worth sending
};
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, fileType) == 128);
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, method) == 144);
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, filePath) == 160);
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, answerCallback) == 288);
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, readCallback) == 288 + sizeof(void*));
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, reserved) == 288 + 2 * sizeof(void*));
static_assert(offsetof(ST_FRAME_FILE_UPLOAD, successFlag) == 288 + 3 * sizeof(void*));
static_assert(sizeof(ST_FRAME_FILE_UPLOAD) == 292 + 3 * sizeof(void*));

#pragma pack(pop)
