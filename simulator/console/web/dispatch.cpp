#include "console/web/dispatch.h"

#include <exception>

#include "console/web/httpstatus.h"

namespace console {

namespace {

Reply Run(const std::string& path, const Handler& handler, const Call& call) {
  try {
    return handler(call);
  } catch (const std::exception& error) {
    return ErrorReply(kFailed, path + " failed: " + error.what());
  } catch (...) {
    return ErrorReply(kFailed, path + " failed");
  }
}

// The reply where `handlers` has nothing for the path.
Reply Missing(const std::string& path, const std::map<std::string, Handler>& otherMethod) {
  if (otherMethod.contains(path)) return ErrorReply(kWrongMethod, path + " takes another method");
  return ErrorReply(kNotFound, "there is no " + path);
}

}  // namespace

Reply AnswerGet(const Router& router, const std::string& path,
                std::map<std::string, std::string> query) {
  const auto handler = router.Gets().find(path);
  if (handler == router.Gets().end()) return Missing(path, router.Posts());
  return Run(path, handler->second, {.query = std::move(query)});
}

Reply AnswerPost(const Router& router, const std::string& path, std::string_view body) {
  const auto handler = router.Posts().find(path);
  if (handler == router.Posts().end()) return Missing(path, router.Gets());
  if (body.size() > kLargestBodyBytes)
    return ErrorReply(kTooLarge, "the body has more than 64 KiB");
  rapidjson::Document document;
  // Without recursion: a body of opening brackets must not fill the stack.
  constexpr unsigned kStrict =
      rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  document.Parse<kStrict>(body.data(), body.size());
  if (document.HasParseError() || !document.IsObject()) {
    return ErrorReply(kBadRequest, "the body must be one JSON object");
  }
  return Run(path, handler->second, {.query = {}, .body = &document});
}

}  // namespace console
