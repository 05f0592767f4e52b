#include "packfile/packfile.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include "config/channelset.h"
#include "config/snset.h"
#include "log/log.h"
#include "packfile/archive.h"
#include "packfile/realdatadocument.h"
#include "util/directory.h"
#include "util/json.h"
#include "util/text.h"
#include "util/timetext.h"

// A text file that cannot be opened stops the process in every build type.
#undef NDEBUG
#include <cassert>

namespace {

constexpr std::size_t kTimeMarkBytes = 23;

struct PipeCloser {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<std::FILE, PipeCloser>;

}  // namespace

std::int32_t CPackFile::CreateRealDataJsonFile(Real_Data_Struct* values, const char* dir,
                                               std::vector<std::string>* files, std::time_t when) {
  const auto stamp = util::LocalTime(when);
  if (!stamp) return -1;
  char timeMark[kTimeMarkBytes];
  util::CopyText(timeMark, util::TimeMark(*stamp));
  const DataFileNames names = NameDataFile('S', dir, *stamp);

  MAP_GROUP_ATTR* catalogue = nullptr;
  GetCChannelSetInstance().GetAttr(&catalogue);
  rapidjson::StringBuffer text;
  const RealDataHeader header{.serial = GetCsnSetInstance().GetSn(), .timeMark = timeMark};
  if (const auto missing = WriteRealDataDocument(header, *catalogue, *values, text)) {
    log_Text(INFO, "CreateRealDataJsonFile %s Error, can't find id: %08x", names.text, *missing);
    return 0;
  }

  std::ofstream ofs(names.text, std::ios::trunc);
  assert(ofs.is_open());
  ofs.write(text.GetString(), static_cast<std::streamsize>(text.GetSize()));
  ofs.close();

  const bool packed = Compress(names, [](const char* archive, int status) {
    log_Text(WARN, "CreateRealDataJsonFile %s failed,errno %d", archive, status);
  });
  if (!packed) {
    if (access(names.archive, F_OK) == 0) std::remove(names.archive);
    log_Text(WARN, "try %d times,but CreateRealDataJsonFile %s failed", kPackAttempts,
             names.archive);
    return -1;
  }
  std::remove(names.text);
  files->emplace_back(names.archive);
  log_Text(INFO, "CreateRealDataJsonFile %s Success", names.archive);
  return 0;
}

int CPackFile::executeCMD(const char* command, char* buf, int n) {
  std::memset(buf, 0, static_cast<std::size_t>(n));
  const Pipe stream(popen(command, "r"));
  if (!stream) return -1;
  // Without any output the buffer stays empty, and reads as status 0.
  [[maybe_unused]] const char* line = std::fgets(buf, n, stream.get());
  buf[n] = '\0';
  return 0;
}

unsigned int CPackFile::get_file_size(const char* path) {
  return static_cast<unsigned int>(util::FileSize(path));
}

double CPackFile::GetPointValue(unsigned int dataId, std::map<unsigned int, double>* values) {
  const auto found = values->find(dataId);
  return found == values->end() ? -1.0 : found->second;
}

CPackFile& GetCPackFileInstance() {
  static CPackFile instance;
  return instance;
}
