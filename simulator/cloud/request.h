// Owns the record of one HTTP request, and the reading of its head and of its form.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cloud {

inline constexpr std::size_t kBodyLimitBytes = 1048576;  // a gateway's largest has some 42 KB

// One header line.
struct Header {
  std::string name;   // as sent
  std::string value;  // without the blanks around it
};

// One HTTP request.
struct Request {
  std::string method;           // empty when there is no well-formed request line
  std::string target;           // full path as sent, with the prefix and any query
  std::string version;          // "HTTP/1.1"
  std::vector<Header> headers;  // in order of arrival
  std::string body;             // every byte after the head, at most as many as Content-Length says

  // Values of all headers of that name, case-insensitively, in order of arrival.
  std::vector<std::string> Values(std::string_view name) const;
  // The one Content-Length, or nothing when it is missing, repeated or no number.
  std::optional<std::size_t> ContentLength() const;
};

// The one file that an upload's form carries.
struct FormFile {
  std::string field;        // name of the form field; empty when the part has none
  std::string fileName;     // empty when the part has none
  std::string contentType;  // empty when the part has none
  std::string content;
};

// Length of the head at the start of `received`, the empty line included; 0 while it is incomplete.
std::size_t HeadLength(std::string_view received);

// Takes a complete head apart. The fields of a malformed request line stay empty. A line without a
// colon becomes a header without a value.
Request ReadHead(std::string_view head);

// Reads a multipart body that consists of exactly one part under the gateway's boundary. Nothing
// when it is anything else.
std::optional<FormFile> ReadForm(std::string_view body);

}  // namespace cloud
