// The JSON bodies of the requests that the gateway itself begins.
#pragma once

// Builds request bodies. It holds no data; any thread may call it.
//
// The body is stored in `buf`, terminated and cut silently to `size` - 2 characters. The result is
// the length of what was stored. A `size` below 2 stores nothing and gives 0.
class CPackMemory {
 public:
  CPackMemory() = default;
  CPackMemory(const CPackMemory&) = delete;
  CPackMemory& operator=(const CPackMemory&) = delete;

  // The login: {"sn":"…","applyType":0}
  int CreateAuthorizeMemory(char* buf, int size);
  // The recall check: {"sn":"…"}
  int CreateRecallMemory(char* buf, int size);
};

// The one object of the process.
CPackMemory& GetCPackMemoryInstance();
