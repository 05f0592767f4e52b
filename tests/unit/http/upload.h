// File uploads: the fixture and the file that goes out.
#pragma once

#include <gmock/gmock.h>

#include "curltap.h"
#include "exchange.h"

namespace test {

inline constexpr char kFile[] =
    "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";
inline constexpr char kName[] = "S20240307120000.tar.gz";
inline constexpr std::int32_t kUntouched = 7;      // what a success flag holds that nobody has set
inline constexpr std::size_t kFramingBytes = 205;  // what stands around that file's bytes

// The body that carries a file.
inline std::string Multipart(const std::string& name, const std::string& content) {
  return "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
         "Content-Disposition:form-data;name=\"licence\";filename=\"" +
         name +
         "\"\r\n"
         "Content-Type:application/octet-stream\r\n"
         "\r\n" +
         content + "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
}

// What it is for: uploads to a server of the test's own.
class Upload : public HttpTest {
 protected:
  ST_FRAME_FILE_UPLOAD Frame(const std::string& path = kFile) const {
    auto frame = FileFrame(m_server.Url("/eqpapi/EqpUploadDataInfo"), path);
    frame.successFlag = kUntouched;
    return frame;
  }
  static std::uint32_t Send(ST_FRAME_FILE_UPLOAD& frame) {
    return GetCHttpInstance().UploadFile(&frame);
  }
  void ExpectNothingSent() const {
    EXPECT_THAT(m_server.Requests(), ::testing::IsEmpty());
    EXPECT_THAT(Options(), ::testing::IsEmpty());
  }

  RawServer m_server;
};

}  // namespace test
