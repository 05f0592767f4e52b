// The cloud's answers as records. Every answer is a JSON object with "status" (0: success),
// "message", and, but for uploads, "data", an array of objects. The recall order has a header of
// its own, records/recallorder.h.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)

// Answer to a file upload.
struct ST_UPLOAD_FILE_ACK {
  char reserved[64];    // not filled
  char message[128];    // the cloud's text, at most 127 characters
  std::int32_t status;  // 0: accepted
};
static_assert(sizeof(ST_UPLOAD_FILE_ACK) == 196);
static_assert(offsetof(ST_UPLOAD_FILE_ACK, message) == 64);
static_assert(offsetof(ST_UPLOAD_FILE_ACK, status) == 192);

// Answer to the address check.
struct ST_SKIP_ADDRESS_ACK {
  char realIpAddress[65];  // host part of the last "realIpAddress", at most 63 characters
  std::int32_t status;     // not consulted
  char message[128];       // the cloud's text, at most 127 characters
};
static_assert(sizeof(ST_SKIP_ADDRESS_ACK) == 197);
static_assert(offsetof(ST_SKIP_ADDRESS_ACK, status) == 65);
static_assert(offsetof(ST_SKIP_ADDRESS_ACK, message) == 69);

#pragma pack(pop)

// Answer to the login.
struct ST_AUTH_ACK {
  std::int32_t seqStatus;  // of the last element of "data"; 0: authorised
  std::int32_t status;     // not consulted
  char message[128];       // the cloud's text, at most 127 characters
};
static_assert(sizeof(ST_AUTH_ACK) == 136);
static_assert(offsetof(ST_AUTH_ACK, status) == 4);
static_assert(offsetof(ST_AUTH_ACK, message) == 8);
