#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "console/web/dispatch.h"
#include "util/thread.h"

namespace {

using console::AnswerGet;
using console::AnswerPost;
using console::Call;
using console::Reply;
using ::testing::HasSubstr;

class Dispatch : public ::testing::Test {
 protected:
  Dispatch() {
    m_router.Get("/api/figure",
                 [](const Call& call) { return Reply{.body = call.Get("name", "none")}; });
    m_router.Post("/api/act", [this](const Call& call) {
      m_acted.append(call.body->HasMember("what") ? (*call.body)["what"].GetString() : "?");
      return Reply{};
    });
    m_router.Post("/api/bad",
                  [](const Call&) -> Reply { throw std::runtime_error("the card is gone"); });
    m_router.Post("/api/worse", [](const Call&) -> Reply { throw 3; });
  }

  console::Router m_router{};
  std::string m_acted{};
};

TEST(Replies, AreUtf8WhateverTheirTextsHold) {
  EXPECT_EQ(console::ErrorReply(500, "the card says \xff").body,
            "{\"error\":\"the card says \xEF\xBF\xBD\"}");
}

TEST_F(Dispatch, HandsTheQueryToTheHandler) {
  EXPECT_EQ(AnswerGet(m_router, "/api/figure", {{"name", "seven"}}).body, "seven");
}

TEST_F(Dispatch, HandsTheObjectToTheHandler) {
  EXPECT_EQ(AnswerPost(m_router, "/api/act", R"({"what":"kill"})").status, 200);

  EXPECT_EQ(m_acted, "kill");
}

TEST_F(Dispatch, RefusesWhatIsNoJsonObject) {
  for (const std::string body :
       {"", "null", "[]", "3", "{", "{} {}", "{\"a\":\"\xff\"}", "{'a':1}"}) {
    EXPECT_EQ(AnswerPost(m_router, "/api/act", body).status, 400) << body;
  }
  EXPECT_EQ(m_acted, "");
}

// On a thread with the stack of the service's threads.
TEST_F(Dispatch, ReadsManyBracketsWithALittleStack) {
  pthread_t thread{};
  int error = 0;
  const auto post = [](void* router) -> void* {
    const std::string body = "{\"a\":" + std::string(60000, '[');
    EXPECT_EQ(AnswerPost(*static_cast<console::Router*>(router), "/api/act", body).status, 400);
    return nullptr;
  };
  util::StartThread(&thread, util::DetachState::kJoinable, post, &m_router, &error);

  EXPECT_EQ(error, 0);
  pthread_join(thread, nullptr);
}

TEST_F(Dispatch, RefusesABodyAbove64KiB) {
  const std::string body = "{\"a\":\"" + std::string(console::kLargestBodyBytes - 8, 'x') + "\"}";

  EXPECT_EQ(AnswerPost(m_router, "/api/act", body).status, 200);
  EXPECT_EQ(AnswerPost(m_router, "/api/act", body + " ").status, 413);
}

TEST_F(Dispatch, DoesNotActByGet) {
  EXPECT_EQ(AnswerGet(m_router, "/api/act", {}).status, 405);
  EXPECT_EQ(AnswerGet(m_router, "/api/nothing", {}).status, 404);
  EXPECT_EQ(AnswerPost(m_router, "/api/figure", "{}").status, 405);
}

TEST_F(Dispatch, AnswersForAHandlerThatThrows) {
  const Reply bad = AnswerPost(m_router, "/api/bad", "{}");

  EXPECT_EQ(bad.status, 500);
  EXPECT_THAT(bad.body, HasSubstr("the card is gone"));
  EXPECT_EQ(AnswerPost(m_router, "/api/worse", "{}").status, 500);
}

}  // namespace
