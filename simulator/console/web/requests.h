// What the server answers to each request.
#pragma once

#include <httplib.h>

#include <chrono>
#include <functional>
#include <string>

#include "console/web/eventhub.h"
#include "console/web/router.h"
#include "console/web/staticfiles.h"

namespace console {

// Answers with static files, the router's calls and the stream of events. Any thread may call;
// each request has one of its own.
class Requests {
 public:
  // Router, events and files must outlive the object.
  Requests(const Router& router, EventHub& events, const StaticFiles& files,
           std::chrono::milliseconds heartbeat)
      : m_router(router), m_events(events), m_files(files), m_heartbeat(heartbeat) {}

  // Answers all but a POST that may go on: false then, and its body is not read yet.
  bool Answer(const httplib::Request& request, httplib::Response& response);
  // Reads the body of such a POST, and answers.
  void AnswerPost(const httplib::Request& request, httplib::Response& response,
                  const httplib::ContentReader& read);

  // Called after each POST with a reply of 2xx. Set before the first request.
  std::function<void(const std::string& path, const std::string& body)> accepted{};

 private:
  void AnswerGet(const httplib::Request& request, httplib::Response& response);
  void OpenStream(httplib::Response& response);

  const Router& m_router;
  EventHub& m_events;
  const StaticFiles& m_files;
  const std::chrono::milliseconds m_heartbeat;
};

}  // namespace console
