// The JSON bodies of the requests that the gateway posts on its own initiative.
#pragma once

// What it is for: builds request bodies. Threads: any; no data, no lock.
//
// The text is stored terminated and cut silently to `size` - 2 characters. The length of what was
// stored is returned: the body length of the request.
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
