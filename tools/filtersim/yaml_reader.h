// Reading YAML values with their place in the file: every error names file, line and column.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include <yaml-cpp/yaml.h>

namespace filtersim {

// An invalid scenario: "file:line:column: what is wrong".
class LoadError : public std::runtime_error {
 public:
  LoadError(const std::string& file, int line, int column, const std::string& message)
      : std::runtime_error(file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                           message),
        file_(file),
        line_(line),
        column_(column),
        message_(message) {}

  const std::string& file() const { return file_; }
  int line() const { return line_; }
  int column() const { return column_; }
  const std::string& message() const { return message_; }

 private:
  [[noreturn]] void failUnknownKey(const YAML::Node& key, const std::string& known,
                                   const char* what) const;

  std::string file_;
  int line_;
  int column_;
  std::string message_;
};

// " (did you mean 'x'?)" for the known name closest to `name` when it is a likely typo, else "".
std::string didYouMean(const std::string& name, const std::vector<std::string>& known);

// What a node is, for messages: "a mapping", "a list", "empty" or its text in quotes (its first
// 37 characters and "..." when longer than 40).
std::string kindOf(const YAML::Node& node);

// What anchors and aliases may add to a document in all: each alias counts as the nodes and the
// text of what it stands for. Beyond them a few lines of aliases would stand for billions.
constexpr uint64_t kMaxAliasNodes = 100000;
constexpr uint64_t kMaxAliasBytes = uint64_t{1} << 20;

// The first document of `text`, which starts at `first_line` of `file`. A LoadError for a YAML
// syntax error, an alias inside the node it refers to, or aliases beyond the bounds above, found
// before any node is built.
YAML::Node parseYaml(const std::string& text, const std::string& file, int first_line);

class YamlReader {
 public:
  explicit YamlReader(std::string file) : file_(std::move(file)) {}

  [[noreturn]] void fail(const YAML::Node& at, const std::string& what) const;
  [[noreturn]] void fail(const YAML::Mark& at, const std::string& what) const;

  // A mapping whose keys are all among `allowed`; "<what> must be a mapping, not a list".
  void expectMap(const YAML::Node& node, std::initializer_list<const char*> allowed,
                 const char* what) const;
  void expectSequence(const YAML::Node& node, const char* what) const;
  // A mapping whose keys are read by the caller.
  void expectMap(const YAML::Node& node, const std::string& what) const;
  // The key of a mapping item, which must be a plain value.
  std::string key(const YAML::Node& key) const;
  // The value of a key that must be there.
  YAML::Node need(const YAML::Node& map, const char* key) const;
  // A mapping with exactly one key (among `allowed`); returns that key.
  std::string singleKey(const YAML::Node& node, const std::vector<std::string>& allowed,
                        const char* what) const;

  // Integers in decimal or 0x hexadecimal, within [min, max].
  int64_t integer(const YAML::Node& node, int64_t min, int64_t max, const char* what) const;
  bool boolean(const YAML::Node& node, const char* what) const;
  std::string text(const YAML::Node& node, const char* what) const;
  // A text that `parse` reads into an optional; "malformed <kind> '<text>'<hint>" when it cannot.
  template <class Parse>
  auto parsed(const YAML::Node& node, Parse parse, const char* what, const std::string& kind,
              const char* hint = "") const {
    auto value = parse(text(node, what));
    if (!value) fail(node, "malformed " + kind + " '" + node.Scalar() + "'" + hint);
    return *value;
  }
  // One of `names` (its index), or an integer in [min, max] when `min` <= `max`.
  int named(const YAML::Node& node, std::initializer_list<const char*> names, const char* what,
            int64_t min = 1, int64_t max = 0) const;

  // Every mapping under `node` has each key once.
  void refuseDuplicateKeys(const YAML::Node& node) const;

  const std::string& file() const { return file_; }
  // Where the text being read starts in the file: its marks are counted from there.
  void setFirstLine(int line) { first_line_ = line; }
  // The line in the file of a mark (from 1).
  int line(const YAML::Mark& mark) const { return mark.line + first_line_; }

 private:
  [[noreturn]] void failUnknownKey(const YAML::Node& key, const std::string& known,
                                   const char* what) const;

  std::string file_;
  int first_line_ = 1;
};

}  // namespace filtersim
