#include <gtest/gtest.h>

#include "console/web/guard.h"

namespace {

using console::RequestHead;

RequestHead Post() {
  return {.method = "POST",
          .target = "/api/faults/off",
          .host = "127.0.0.1:40123",
          .origin = "http://127.0.0.1:40123",
          .contentType = "application/json"};
}

int StatusOf(const RequestHead& head) {
  const auto refusal = console::Refuse(head);
  return refusal ? refusal->status : 0;
}

TEST(Guard, LetsThePageItselfPass) {
  EXPECT_EQ(StatusOf(Post()), 0);

  RequestHead other = Post();
  other.host = "localhost";
  other.origin = "http://localhost";
  other.contentType = "Application/JSON; charset=utf-8";
  EXPECT_EQ(StatusOf(other), 0);
}

TEST(Guard, LetsAProgramWithoutOriginPass) {
  RequestHead head = Post();
  head.origin.reset();

  EXPECT_EQ(StatusOf(head), 0);
}

TEST(Guard, RefusesAnotherHost) {
  for (const char* host :
       {"", "example.org", "127.0.0.1.example.org", "127.0.0.1:", "127.0.0.1:x", "localhost.",
        "127.0.0.1:401234", "[::1]", "127.0.0.2", "user@127.0.0.1"}) {
    RequestHead head = Post();
    head.host = host;
    head.origin.reset();

    EXPECT_EQ(StatusOf(head), 403) << host;
  }
}

TEST(Guard, RefusesAnotherOrigin) {
  for (const char* origin :
       {"", "null", "http://example.org", "http://127.0.0.1:40124", "https://127.0.0.1:40123",
        "http://localhost:40123", "http://127.0.0.1:40123/"}) {
    RequestHead head = Post();
    head.origin = origin;

    EXPECT_EQ(StatusOf(head), 403) << origin;
  }
}

TEST(Guard, RefusesAPostThatAFormCouldSend) {
  for (const char* type :
       {"", "text/plain", "application/x-www-form-urlencoded", "multipart/form-data; boundary=b",
        "application/jsonp", "text/plain; application/json"}) {
    RequestHead head = Post();
    head.contentType = type;

    EXPECT_EQ(StatusOf(head), 415) << type;
  }
}

TEST(Guard, RefusesOtherMethods) {
  for (const char* method : {"PUT", "DELETE", "PATCH", "OPTIONS", "CONNECT", "TRACE", "get"}) {
    RequestHead head = Post();
    head.method = method;

    EXPECT_EQ(StatusOf(head), 405) << method;
  }
}

TEST(Guard, RefusesALongTarget) {
  RequestHead head = Post();
  head.target = "/" + std::string(2048, 'x');

  EXPECT_EQ(StatusOf(head), 414);
}

}  // namespace
