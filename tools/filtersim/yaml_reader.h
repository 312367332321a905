// Reading YAML values with their place in the file: every error names file, line and column.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include <yaml-cpp/yaml.h>

namespace filtersim {

// An invalid scenario: "file:line:column: what is wrong".
class LoadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class YamlReader {
 public:
  explicit YamlReader(std::string file) : file_(std::move(file)) {}

  [[noreturn]] void fail(const YAML::Node& at, const std::string& what) const;
  [[noreturn]] void fail(const YAML::Mark& at, const std::string& what) const;

  // A mapping whose keys are all among `allowed`.
  void expectMap(const YAML::Node& node, std::initializer_list<const char*> allowed,
                 const char* what) const;
  void expectSequence(const YAML::Node& node, const char* what) const;
  // The key of a mapping item, which must be a plain value.
  std::string key(const YAML::Node& key) const;
  // The value of a key that must be there.
  YAML::Node need(const YAML::Node& map, const char* key) const;
  // A mapping with exactly one key (among `allowed`); returns that key.
  std::string singleKey(const YAML::Node& node, std::initializer_list<const char*> allowed,
                        const char* what) const;

  // Integers in decimal or 0x hexadecimal, within [min, max].
  int64_t integer(const YAML::Node& node, int64_t min, int64_t max, const char* what) const;
  bool boolean(const YAML::Node& node, const char* what) const;
  std::string text(const YAML::Node& node, const char* what) const;
  // One of `names` (its index), or an integer in [min, max] when `min` <= `max`.
  int named(const YAML::Node& node, std::initializer_list<const char*> names, const char* what,
            int64_t min = 1, int64_t max = 0) const;

  const std::string& file() const { return file_; }

 private:
  std::string file_;
};

}  // namespace filtersim
