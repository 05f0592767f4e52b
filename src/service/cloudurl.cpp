#include "service/cloudurl.h"

#include <string>

#include "config/sysset.h"
#include "util/text.h"

namespace {

template <typename Frame>
void Fill(Frame& frame, std::string_view host, std::string_view endpoint) {
  const ST_CLOUDSERVER_CONFIG_ATTR& config = *GetCSysSetInstance().GetCloudConfigAttr();
  util::CopyText(frame.fileType, config.filetype);
  util::CopyText(frame.method, "POST");
  std::string url = "http://";
  url.append(host).append(":").append(std::to_string(config.port));
  url.append(config.Dir).append(endpoint);
  util::CopyText(frame.url, url);
}

}  // namespace

void AddressFrame(ST_FRAME_MEMORY_UPLOAD& frame, std::string_view host, std::string_view endpoint) {
  Fill(frame, host, endpoint);
}

void AddressFrame(ST_FRAME_FILE_UPLOAD& frame, std::string_view host, std::string_view endpoint) {
  Fill(frame, host, endpoint);
}
