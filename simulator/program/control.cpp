#include "program/control.h"

#include <stdexcept>

namespace program {

namespace {

std::string Carry(const rapidjson::Value& order, const ControlHandler& handler) {
  rapidjson::StringBuffer text;
  ControlWriter writer(text);
  writer.StartObject();
  writer.Key("ok");
  writer.Bool(true);
  handler(order, writer);
  writer.EndObject();
  return text.GetString();
}

const rapidjson::Value* Member(const rapidjson::Value& order, const char* name) {
  const auto member = order.FindMember(name);
  return member == order.MemberEnd() ? nullptr : &member->value;
}

[[noreturn]] void ThrowMissing(const char* name, const std::string& what) {
  throw std::invalid_argument("\"" + std::string(name) + "\" is not " + what);
}

}  // namespace

std::string ControlRefusal(const std::string& why) {
  rapidjson::StringBuffer text;
  ControlWriter writer(text);
  writer.StartObject();
  writer.Key("ok");
  writer.Bool(false);
  writer.Key("error");
  writer.String(why.data(), static_cast<rapidjson::SizeType>(why.size()));
  writer.EndObject();
  return text.GetString();
}

std::string ControlText(const rapidjson::Value& order, const char* name) {
  const rapidjson::Value* const member = Member(order, name);
  if (member == nullptr || !member->IsString()) ThrowMissing(name, "a text");
  return {member->GetString(), member->GetStringLength()};
}

std::string ControlText(const rapidjson::Value& order, const char* name,
                        const std::string& otherwise) {
  return Member(order, name) == nullptr ? otherwise : ControlText(order, name);
}

std::int64_t ControlNumber(const rapidjson::Value& order, const char* name, std::int64_t least,
                           std::int64_t most) {
  const rapidjson::Value* const member = Member(order, name);
  const bool fits = member != nullptr && member->IsInt64() && member->GetInt64() >= least &&
                    member->GetInt64() <= most;
  if (!fits) {
    ThrowMissing(name,
                 "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return member->GetInt64();
}

std::string ControlReply(std::string_view line, const ControlHandler& handler) {
  try {
    // Iterative, so that no depth of nesting exhausts the thread's stack.
    rapidjson::Document order;
    order.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
    if (order.HasParseError()) {
      return ControlRefusal("the line is not JSON from byte " +
                            std::to_string(order.GetErrorOffset()));
    }
    if (!order.IsObject()) return ControlRefusal("the line is not a JSON object");
    return Carry(order, handler);
  } catch (const std::exception& error) {
    return ControlRefusal(error.what());
  }
}

}  // namespace program
