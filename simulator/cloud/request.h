// Owns the record of one HTTP request as it came over the wire, and the reading of its head.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cloud {

inline constexpr std::size_t kBodyLimitBytes = 1048576;  // a gateway's largest has some 42 KB

// What it is for: one header line.
struct Header {
  std::string name;   // as sent
  std::string value;  // without the blanks around it
};

// What it is for: one part of a multipart form.
struct FormPart {
  std::string name;         // form field
  std::string fileName;     // empty when the part names none
  std::string contentType;  // empty when the part names none
  std::string content;
};

// What it is for: one request, both as bytes and as understood.
struct Request {
  std::string head;             // request line and headers, every byte up to the empty line's end
  std::string method;           // empty when there is no well-formed request line
  std::string target;           // full path as sent, with the prefix and any query
  std::string version;          // "HTTP/1.1"
  std::vector<Header> headers;  // in order of arrival
  std::string body;             // every byte after the head, as many as Content-Length says
  std::vector<FormPart> parts;  // of a well-framed multipart body; otherwise empty
  bool framed = true;           // false when the HTTP library could not make sense of the request

  // Values of all headers of that name, case-insensitively, in order of arrival.
  std::vector<std::string> Values(std::string_view name) const;
  // The one Content-Length, or nothing when it is missing, repeated or no number.
  std::optional<std::size_t> ContentLength() const;
};

// Length of the head at the start of `received`, the empty line included; 0 while it is incomplete.
std::size_t HeadLength(std::string_view received);

// Takes a complete head apart. The fields of a malformed request line stay empty, a line without a
// colon becomes a header without a value.
Request ReadHead(std::string_view head);

}  // namespace cloud
