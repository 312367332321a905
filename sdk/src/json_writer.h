// A small streaming JSON writer with two-space indentation.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bcmsim::detail {

class JsonWriter {
 public:
  JsonWriter& begin_object();
  JsonWriter& end_object();
  JsonWriter& begin_array();
  JsonWriter& end_array();
  JsonWriter& key(const std::string& name);
  JsonWriter& value(const std::string& text);
  JsonWriter& value(const char* text) { return value(std::string(text)); }
  JsonWriter& value(int64_t number);
  JsonWriter& value(uint64_t number);
  JsonWriter& value(int number) { return value(static_cast<int64_t>(number)); }
  JsonWriter& value(bool flag);
  JsonWriter& null();
  const std::string& text() const { return out_; }

 private:
  void before_value();
  void open(char bracket);
  void close(char bracket);
  void newline();

  std::string out_;
  std::vector<bool> has_items_;  // per open container
  bool after_key_ = false;
};

}  // namespace bcmsim::detail
