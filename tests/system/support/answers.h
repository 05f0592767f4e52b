// What a cloud answers: the bodies of the common cases.
#pragma once

namespace test {

inline constexpr char kLoginGranted[] = R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})";
inline constexpr char kLoginRefused[] = R"({"status":0,"message":"no","data":[{"seqStatus":1}]})";
inline constexpr char kNoRedirect[] = R"({"status":0,"message":"ok","data":[]})";
inline constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
inline constexpr char kRefused[] = R"({"status":1,"message":"no"})";

}  // namespace test
