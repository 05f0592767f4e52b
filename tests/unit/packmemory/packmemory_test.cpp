// The bodies of the requests that the gateway itself begins.
#include "packmemory/packmemory.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

#include "config/snset.h"
#include "support/files.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

constexpr std::size_t kBodyArea = 20480;  // what a request frame offers
constexpr char kUntouched = '#';

// `written` stands between the quotation marks in the identity file.
void LoadSerial(const std::string& written) {
  test::WriteFile(paths::kIdentityFile,
                  "<snConfig><model model=\"Ostra-7K\"/><sn sn=\"" + written + "\"/></snConfig>");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
}

struct Request {
  const char* name;
  int (CPackMemory::*build)(char* buf, int size);
  std::string end;  // of the body, after the serial number
};

class RequestBody : public test::GatewayTest, public ::testing::WithParamInterface<Request> {
 protected:
  // Builds a body in `size` bytes of a larger area and returns its length.
  int Build(int size) {
    m_area.fill(kUntouched);
    return (GetCPackMemoryInstance().*GetParam().build)(m_area.data(), size);
  }

  std::array<char, kBodyArea> m_area{};
};

INSTANTIATE_TEST_SUITE_P(Requests, RequestBody,
                         ::testing::Values(Request{"Authorize", &CPackMemory::CreateAuthorizeMemory,
                                                   R"(,"applyType":0})"},
                                           Request{"RecallCheck", &CPackMemory::CreateRecallMemory,
                                                   "}"}),
                         [](const auto& test) { return test.param.name; });

TEST_P(RequestBody, HoldsTheSerialNumberByTheRulesOfJson) {
  struct Row {
    const char* written;
    const char* json;
  };
  for (const auto& [written, json] :
       {Row{"S1", "S1"}, Row{"", ""}, Row{"A&quot;\\B", R"(A\"\\B)"},
        Row{"&#9;&#10;&#13;", R"(\t\n\r)"}, Row{"%s%n/\177", "%s%n/\177"},
        Row{"网关一号", "网关一号"},
        // 18 bytes are kept of a serial number, which may end within a character.
        Row{"1网关一号网关", "1网关一号网\xe5\x85"}}) {
    LoadSerial(written);

    const int length = Build(kBodyArea);

    const std::string body = std::string(R"({"sn":")") + json + "\"" + GetParam().end;
    EXPECT_STREQ(m_area.data(), body.c_str());
    EXPECT_EQ(length, static_cast<int>(body.size()));
    EXPECT_EQ(m_area.at(body.size() + 1), kUntouched);
  }
}

TEST_P(RequestBody, IsCutTwoCharactersBelowTheSize) {
  LoadSerial("BR20240307000042");
  const std::string whole = R"({"sn":"BR20240307000042")" + GetParam().end;
  const int length = static_cast<int>(whole.size());

  for (const int size : {length + 3, length + 2, length + 1, 10, 3, 2}) {
    const std::string stored = whole.substr(0, static_cast<std::size_t>(size) - 2);

    EXPECT_EQ(Build(size), static_cast<int>(stored.size())) << size;
    EXPECT_EQ(m_area.data(), stored) << size;
    EXPECT_EQ(m_area.at(stored.size() + 1), kUntouched) << size;
  }
}

TEST_P(RequestBody, LeavesAUselessBufferAlone) {
  LoadSerial("S1");

  for (const int size : {1, 0, -1}) {
    EXPECT_EQ(Build(size), 0) << size;
    EXPECT_EQ(m_area.front(), kUntouched) << size;
  }
}

}  // namespace
