#include "cloud/uploadstore.h"

#include <filesystem>
#include <fstream>
#include <mutex>
#include <utility>

#include "cloud/fault.h"

namespace cloud {

namespace {

constexpr char kRefusedFolder[] = "refused";

bool IsBareName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

bool Write(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
  file.close();
  return file.good();
}

}  // namespace

UploadStore::UploadStore(std::string folder) : m_folder(std::move(folder)) {
  if (m_folder.empty()) return;
  for (const EndpointFacts& facts : kEndpointFacts) {
    if (!facts.IsUpload()) continue;
    std::filesystem::create_directories(m_folder + "/" + facts.name);
    std::filesystem::create_directories(m_folder + "/" + kRefusedFolder + "/" + facts.name);
  }
}

void UploadStore::Keep(bool accepted, Exchange* exchange) {
  if (m_folder.empty() || !exchange->endpoint || !IsBareName(exchange->fileName)) return;
  std::string folder = m_folder + "/";
  if (!accepted) folder += std::string(kRefusedFolder) + "/";
  folder += Facts(*exchange->endpoint).name;
  const std::string path = folder + "/" + exchange->fileName;
  const std::string unfinished = path + ".part";  // others see whole files only

  const std::lock_guard lock(m_mutex);
  std::error_code error;
  if (Write(unfinished, exchange->archive)) std::filesystem::rename(unfinished, path, error);
  if (error || !std::filesystem::is_regular_file(path, error)) {
    throw Fault("the cloud cannot keep " + path);
  }
  exchange->keptAs = path;
}

}  // namespace cloud
