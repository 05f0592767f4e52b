// Owns the folder in which the cloud keeps what was uploaded:
//   FOLDER/realdata|alarmdata|calldata/NAME           what was accepted
//   FOLDER/refused/realdata|alarmdata|calldata/NAME   what was not
#pragma once

#include <string>

#include "cloud/journal.h"
#include "util/mutex.h"

namespace cloud {

// Keeps the bytes of uploaded archives. Every thread may call it.
class UploadStore {
 public:
  // Creates the folder and those inside it; an empty name keeps nothing. Throws
  // std::filesystem::filesystem_error when a folder cannot be made.
  explicit UploadStore(std::string folder);

  // Writes the exchange's archive under its file name, replaces one of the same name, and fills
  // `keptAs`. A name that is no bare file name is not kept. Throws Fault when it cannot be written.
  void Keep(bool accepted, Exchange* exchange);

 private:
  std::string m_folder;
  util::Mutex m_mutex;  // guards the files: one is written at a time
};

}  // namespace cloud
