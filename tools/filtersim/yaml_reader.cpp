#include "yaml_reader.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <map>

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

}  // namespace

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
  if (!node.IsMap()) fail(node, std::string(what) + " must be a mapping");
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
  if (!node.IsSequence()) fail(node, std::string(what) + " must be a list");
}

YAML::Node YamlReader::need(const YAML::Node& map, const char* key) const {
  const YAML::Node value = map[key];
  if (!value) fail(map, std::string("missing '") + key + "'");
  return value;
}

std::string YamlReader::singleKey(const YAML::Node& node, const std::vector<std::string>& allowed,
                                  const char* what) const {
  if (!node.IsMap()) fail(node, std::string(what) + " must be a mapping");
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
  if (!node.IsScalar()) fail(node, std::string(what) + " must be a number");
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
  fail(node, std::string(what) + " must be true or false");
}

std::string YamlReader::text(const YAML::Node& node, const char* what) const {
  if (!node.IsScalar()) fail(node, std::string(what) + " must be a text");
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
                 (min <= max ? " (or a number)" : ""));
}

}  // namespace filtersim
