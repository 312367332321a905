#include "yaml_reader.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <sstream>

#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

namespace filtersim {
namespace {

template <class Names>
std::string list(const Names& names) {
  std::string text;
  for (const auto& name : names) text += std::string(text.empty() ? "" : ", ") + name;
  return text;
}

size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// Sizes what each node of a document stands for, aliases counted as what they refer to, from the
// parser's events: nothing is built, so a few lines standing for billions of nodes cost nothing.
class AliasBounds : public YAML::EventHandler {
 public:
  AliasBounds(const std::string& file, int first_line) : file_(file), first_line_(first_line) {}

  void OnDocumentStart(const YAML::Mark&) override {}
  void OnDocumentEnd() override {}
  void OnAnchor(const YAML::Mark&, const std::string& name) override { anchor_name_ = name; }
  void OnNull(const YAML::Mark&, YAML::anchor_t anchor) override { leaf(anchor, 0); }
  void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t anchor,
                const std::string& value) override {
    leaf(anchor, value.size());
  }
  void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    open(anchor);
  }
  void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value) override {
    open(anchor);
  }
  void OnSequenceEnd() override { close(); }
  void OnMapEnd() override { close(); }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
    const std::string name = "*" + (anchor < names_.size() ? names_[anchor] : std::string());
    const Size* size = anchor < sizes_.size() ? &sizes_[anchor] : nullptr;
    if (!size || !size->complete) {
      fail(mark, "alias " + name + " is inside the node it refers to; a value cannot hold itself");
    }
    added_.nodes += size->nodes;
    added_.bytes += size->bytes;
    if (added_.nodes > kMaxAliasNodes || added_.bytes > kMaxAliasBytes) {
      fail(mark, "alias " + name + " stands for " + std::to_string(size->nodes) + " nodes and " +
                     std::to_string(size->bytes) + " bytes of text; the aliases of a scenario " +
                     "may add at most " + std::to_string(kMaxAliasNodes) + " nodes and " +
                     std::to_string(kMaxAliasBytes >> 20) +
                     " MiB of text in all: share smaller values or write them out");
    }
    add(*size);
  }

 private:
  struct Size {
    uint64_t nodes = 0;
    uint64_t bytes = 0;
    bool complete = false;
  };
  struct Open {
    YAML::anchor_t anchor;
    Size size;
  };

  [[noreturn]] void fail(const YAML::Mark& mark, const std::string& what) const {
    throw LoadError(file_, mark.line + first_line_, mark.column + 1, what);
  }
  // An anchored node's size, complete once its end is seen.
  Size& anchored(YAML::anchor_t anchor) {
    if (sizes_.size() <= anchor) {
      sizes_.resize(anchor + 1);
      names_.resize(anchor + 1);
    }
    names_[anchor] = anchor_name_;
    return sizes_[anchor];
  }
  void add(const Size& size) {
    if (open_.empty()) return;
    open_.back().size.nodes += size.nodes;
    open_.back().size.bytes += size.bytes;
  }
  void leaf(YAML::anchor_t anchor, size_t bytes) {
    const Size size{1, bytes, true};
    if (anchor) anchored(anchor) = size;
    add(size);
  }
  void open(YAML::anchor_t anchor) {
    if (anchor) anchored(anchor) = Size{};
    open_.push_back({anchor, Size{1, 0, false}});
  }
  void close() {
    Open done = open_.back();
    open_.pop_back();
    done.size.complete = true;
    if (done.anchor) sizes_[done.anchor] = done.size;
    add(done.size);
  }

  const std::string& file_;
  int first_line_;
  std::string anchor_name_;
  std::vector<Size> sizes_;         // by anchor
  std::vector<std::string> names_;  // by anchor
  std::vector<Open> open_;
  Size added_;  // by aliases, in all
};

}  // namespace

std::string kindOf(const YAML::Node& node) {
  switch (node.Type()) {
    case YAML::NodeType::Map:
      return "a mapping";
    case YAML::NodeType::Sequence:
      return "a list";
    case YAML::NodeType::Scalar:  // a long text cut short: the place says where the rest is
      return "'" +
             (node.Scalar().size() > 40 ? node.Scalar().substr(0, 37) + "..." : node.Scalar()) +
             "'";
    default:
      return "empty";
  }
}

YAML::Node parseYaml(const std::string& text, const std::string& file, int first_line) {
  try {
    // Without an alias there is nothing to bound, and no second reading to pay for.
    if (text.find('*') != std::string::npos) {
      std::istringstream in(text);
      YAML::Parser parser(in);
      AliasBounds bounds(file, first_line);
      parser.HandleNextDocument(bounds);
    }
    return YAML::Load(text);
  } catch (const YAML::DeepRecursion& error) {
    // yaml-cpp's own words for it are "bad file".
    throw LoadError(file, error.mark.line + first_line, error.mark.column + 1,
                    "the values nest too deeply for the YAML parser; give a flatter scenario");
  } catch (const YAML::ParserException& error) {
    throw LoadError(file, error.mark.line + first_line, error.mark.column + 1, error.msg);
  }
}

std::string didYouMean(const std::string& name, const std::vector<std::string>& known) {
  const std::string* best = nullptr;
  size_t best_distance = 0;
  for (const std::string& candidate : known) {
    const size_t distance = editDistance(name, candidate);
    if (!best || distance < best_distance) {
      best = &candidate;
      best_distance = distance;
    }
  }
  // A typo changes a few characters, never most of a short name.
  if (!best || best_distance == 0 || best_distance > 2 || best_distance * 2 > name.size()) {
    return "";
  }
  return " (did you mean '" + *best + "'?)";
}

void YamlReader::refuseDuplicateKeys(const YAML::Node& node) const {
  if (node.IsSequence()) {
    for (const YAML::Node& item : node) refuseDuplicateKeys(item);
    return;
  }
  if (!node.IsMap()) return;
  std::map<std::string, YAML::Mark> seen;
  for (const auto& item : node) {
    if (item.first.IsScalar()) {
      auto [first, inserted] = seen.emplace(item.first.Scalar(), item.first.Mark());
      if (!inserted) {
        fail(item.first, "duplicate key '" + item.first.Scalar() + "' (first at line " +
                             std::to_string(line(first->second)) + "); give each key once");
      }
    }
    refuseDuplicateKeys(item.second);
  }
}

void YamlReader::fail(const YAML::Mark& at, const std::string& what) const {
  throw LoadError(file_, line(at), at.column + 1, what);
}

void YamlReader::fail(const YAML::Node& at, const std::string& what) const {
  fail(at.Mark(), what);
}

void YamlReader::expectMap(const YAML::Node& node, std::initializer_list<const char*> allowed,
                           const char* what) const {
  expectMap(node, what);
  for (const auto& item : node) {
    const std::string name = key(item.first);
    bool known = false;
    for (const char* allowed_name : allowed) known |= name == allowed_name;
    if (!known) failUnknownKey(item.first, list(allowed), what);
  }
}

void YamlReader::failUnknownKey(const YAML::Node& key, const std::string& known,
                                const char* what) const {
  fail(key, "unknown key '" + key.Scalar() + "' in " + what + " (known: " + known + ")");
}

std::string YamlReader::key(const YAML::Node& key) const {
  if (!key.IsScalar()) fail(key, "a key must be a plain value");
  return key.Scalar();
}

void YamlReader::expectSequence(const YAML::Node& node, const char* what) const {
  if (!node.IsSequence()) fail(node, std::string(what) + " must be a list, not " + kindOf(node));
}

void YamlReader::expectMap(const YAML::Node& node, const std::string& what) const {
  if (!node.IsMap()) fail(node, what + " must be a mapping, not " + kindOf(node));
}

YAML::Node YamlReader::need(const YAML::Node& map, const char* key) const {
  const YAML::Node value = map[key];
  if (!value) fail(map, std::string("missing '") + key + "'");
  return value;
}

std::string YamlReader::singleKey(const YAML::Node& node, const std::vector<std::string>& allowed,
                                  const char* what) const {
  expectMap(node, what);
  for (const auto& item : node) {
    if (std::find(allowed.begin(), allowed.end(), key(item.first)) == allowed.end()) {
      failUnknownKey(item.first, list(allowed), what);
    }
  }
  if (node.size() != 1) fail(node, std::string(what) + " must have exactly one key");
  return key(node.begin()->first);
}

int64_t YamlReader::integer(const YAML::Node& node, int64_t min, int64_t max,
                            const char* what) const {
  if (!node.IsScalar()) fail(node, std::string(what) + " must be a number, not " + kindOf(node));
  const std::string value = node.Scalar();
  errno = 0;
  char* end = nullptr;
  const long long number = std::strtoll(value.c_str(), &end, 0);
  if (value.empty() || *end != '\0' || errno == ERANGE) {
    fail(node, std::string(what) + " must be a number, not '" + value + "'");
  }
  if (number < min || number > max) {
    fail(node, std::string(what) + " " + value + " is out of range (" + std::to_string(min) +
                   " to " + std::to_string(max) + ")");
  }
  return number;
}

bool YamlReader::boolean(const YAML::Node& node, const char* what) const {
  if (node.IsScalar()) {
    const std::string value = node.Scalar();
    if (value == "true" || value == "yes") return true;
    if (value == "false" || value == "no") return false;
  }
  fail(node, std::string(what) + " must be true or false, not " + kindOf(node));
}

std::string YamlReader::text(const YAML::Node& node, const char* what) const {
  if (!node.IsScalar()) fail(node, std::string(what) + " must be a text, not " + kindOf(node));
  return node.Scalar();
}

int YamlReader::named(const YAML::Node& node, std::initializer_list<const char*> names,
                      const char* what, int64_t min, int64_t max) const {
  if (node.IsScalar()) {
    int index = 0;
    for (const char* name : names) {
      if (node.Scalar() == name) return index;
      ++index;
    }
    if (min <= max && !node.Scalar().empty() &&
        (std::isdigit(static_cast<unsigned char>(node.Scalar()[0])) || node.Scalar()[0] == '-')) {
      return static_cast<int>(integer(node, min, max, what));
    }
  }
  fail(node, std::string(what) + " must be one of: " + list(names) +
                 (min <= max ? " (or a number)" : "") +
                 (node.IsScalar() ? "" : ", not " + kindOf(node)));
}

}  // namespace filtersim
