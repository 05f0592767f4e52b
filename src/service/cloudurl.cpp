#include "service/cloudurl.h"

#include "config/sysset.h"
#include "util/text.h"

namespace cloud {
namespace {

template <typename Frame>
void Fill(Frame* frame, const char* host, const char* endpoint) {
  const ST_CLOUDSERVER_CONFIG_ATTR* config = GetCSysSetInstance().GetCloudConfigAttr();
  util::CopyText(frame->fileType, config->filetype);
  util::CopyText(frame->method, "POST");
  util::PrintText(frame->url, sizeof(frame->url), "http://%s:%d%s%s", host, config->port,
                  config->Dir, endpoint);
}

}  // namespace

void Address(ST_FRAME_MEMORY_UPLOAD* frame, const char* host, const char* endpoint) {
  Fill(frame, host, endpoint);
}

void Address(ST_FRAME_FILE_UPLOAD* frame, const char* host, const char* endpoint) {
  Fill(frame, host, endpoint);
}

}  // namespace cloud
