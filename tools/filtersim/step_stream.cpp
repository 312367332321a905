#include "step_stream.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "chip_choice.h"
#include "scenario_loader.h"

namespace filtersim {
namespace {

struct Line {
  size_t offset;
  size_t length;  // without the newline
};

std::vector<Line> linesOf(const std::string& text) {
  std::vector<Line> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back({start, end - start});
    start = end + 1;
  }
  return lines;
}

size_t indentOf(std::string_view line) {
  return line.find_first_not_of(' ') == std::string_view::npos ? line.size()
                                                               : line.find_first_not_of(' ');
}

bool blankOrComment(std::string_view line) {
  const size_t first = line.find_first_not_of(" \r");
  return first == std::string_view::npos || line[first] == '#';
}

bool itemStart(std::string_view line, size_t indent) {
  const std::string_view rest = line.substr(indent);
  return rest == "-" || rest.rfind("- ", 0) == 0;
}

// The scenario with the items of its steps left out (their lines kept empty, so that every
// line keeps its number), and the items. Nullopt unless the steps are a plain block list: then
// the whole document is read at once.
struct Split {
  std::string header;
  std::vector<std::pair<Line, int>> items;  // text and first line
};

std::optional<Split> splitSteps(const std::string& text) {
  const std::vector<Line> lines = linesOf(text);
  auto view = [&](size_t k) { return std::string_view(text).substr(lines[k].offset, lines[k].length); };
  size_t steps = lines.size();
  for (size_t k = 0; k < lines.size(); ++k) {
    const std::string_view line = view(k);
    // Tabs, document markers, anchors and aliases: left to the YAML parser.
    if (line.find_first_of("\t&*") != std::string_view::npos || line.rfind("---", 0) == 0 ||
        line.rfind("...", 0) == 0) {
      return std::nullopt;
    }
    const std::string_view rest = line.substr(0, line.find('#'));
    if (steps == lines.size() && rest.substr(0, rest.find_last_not_of(" \r") + 1) == "steps:") {
      steps = k;
    }
  }
  if (steps == lines.size()) return std::nullopt;
  size_t first = steps + 1;
  while (first < lines.size() && blankOrComment(view(first))) ++first;
  Split split{text, {}};
  if (first == lines.size() || !itemStart(view(first), indentOf(view(first)))) return split;
  const size_t indent = indentOf(view(first));
  size_t start = first;
  size_t end = first + 1;
  for (; end < lines.size(); ++end) {
    const std::string_view line = view(end);
    if (blankOrComment(line) || indentOf(line) > indent) continue;
    if (indentOf(line) < indent || !itemStart(line, indent)) break;
    split.items.push_back({{lines[start].offset, lines[end].offset - lines[start].offset},
                           static_cast<int>(start) + 1});
    start = end;
  }
  const size_t block_end = end < lines.size() ? lines[end].offset : text.size();
  split.items.push_back(
      {{lines[start].offset, block_end - lines[start].offset}, static_cast<int>(start) + 1});
  const size_t block_start = lines[first].offset;
  split.header = text.substr(0, block_start) + std::string(end - first, '\n') +
                 text.substr(block_end);
  return split;
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \r\n") - first + 1);
}

bool plainName(std::string_view name) {
  if (name.empty()) return false;
  for (char c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  }
  return true;
}

// An item written on one line as "- kind: {key: value, ...}" with plain values, as a node, built
// without the YAML parser (which costs tens of microseconds an item); nullopt for anything else.
std::optional<YAML::Node> quickItem(std::string_view text) {
  text = trimmed(text);
  if (text.find('\n') != std::string_view::npos || text.rfind("- ", 0) != 0) return std::nullopt;
  text.remove_prefix(2);
  const size_t colon = text.find(": {");
  if (colon == std::string_view::npos || text.back() != '}') return std::nullopt;
  const std::string_view kind = text.substr(0, colon);
  const std::string_view inner = text.substr(colon + 3, text.size() - colon - 4);
  if (!plainName(kind) || inner.find_first_of("{}[]\"'#&*!|>%@`") != std::string_view::npos) {
    return std::nullopt;
  }
  YAML::Node values(YAML::NodeType::Map);
  std::vector<std::string_view> keys;
  size_t start = 0;
  while (!trimmed(inner).empty() && start <= inner.size()) {
    const size_t comma = std::min(inner.find(',', start), inner.size());
    const std::string_view pair = trimmed(inner.substr(start, comma - start));
    const size_t separator = pair.find(": ");
    if (separator == std::string_view::npos) return std::nullopt;
    const std::string_view key = trimmed(pair.substr(0, separator));
    const std::string_view value = trimmed(pair.substr(separator + 2));
    if (!plainName(key) || value.empty() || value.find(": ") != std::string_view::npos ||
        value.back() == ':' || value == "~" || value == "null" || value == "Null" ||
        value == "NULL" || std::find(keys.begin(), keys.end(), key) != keys.end()) {
      return std::nullopt;
    }
    keys.push_back(key);
    values.force_insert(std::string(key), std::string(value));
    start = comma + 1;
  }
  YAML::Node item(YAML::NodeType::Map);
  item.force_insert(std::string(kind), values);
  return item;
}

}  // namespace

ScenarioStream::ScenarioStream(std::string text, std::string name)
    : text_(std::move(text)), file_(std::move(name)),
      loader_(std::make_unique<ScenarioLoader>(file_)) {
  std::optional<Split> split = splitSteps(text_);
  if (!split) {
    Scenario whole = loader_->load(parseYaml(text_, file_, 1));
    setup_ = std::move(whole.setup);
    steps_ = std::move(whole.steps);
    return;
  }
  setup_ = loader_->loadHeader(parseYaml(split->header, file_, 1), !split->items.empty());
  for (const auto& [span, line] : split->items) items_.push_back({span.offset, span.length, line});
  for (const Item& item : items_) loadItem(item);  // every step is checked before any runs
}

ScenarioStream::~ScenarioStream() = default;
ScenarioStream::ScenarioStream(ScenarioStream&&) noexcept = default;
ScenarioStream& ScenarioStream::operator=(ScenarioStream&&) noexcept = default;

size_t ScenarioStream::size() const {
  return (items_.empty() ? steps_.size() : items_.size()) + appended_.size();
}

void ScenarioStream::appendReplay(const std::vector<CaptureOption>& captures) {
  appended_.push_back(loader_->loadCaptureOption(captures));
}

void ScenarioStream::refuseOwnGeometry(const std::string& purpose) const {
  if (setup_.geometry_line) {
    throw LoadError(file_, setup_.geometry_line, 1,
                    "the scenario sets its own device geometry, which a chip's replaces: drop "
                    "slices_per_stage and entries_per_slice " + purpose);
  }
}

void ScenarioStream::useChip(const std::string& name) {
  refuseOwnGeometry("to run it on " + name);
  if (std::optional<std::string> error = applyChip(name, setup_.device)) {
    throw LoadError(file_, 0, 0, *error);
  }
  setup_.chip = name;
}

void ScenarioStream::forEachStep(const std::function<void(const Step&)>& use) const {
  for (const Step& step : steps_) use(step);
  for (const Item& item : items_) use(loadItem(item));
  for (const Step& step : appended_) use(step);
}

Step ScenarioStream::loadItem(const Item& item) const {
  const std::string_view text = std::string_view(text_).substr(item.offset, item.length);
  if (std::optional<YAML::Node> quick = quickItem(text)) {
    try {
      Step step = loader_->loadStepItem(*quick, item.line, true);
      step.line = item.line;
      return step;
    } catch (const LoadError&) {
      // Read it again with the parser, whose marks place the error.
    }
  }
  const YAML::Node parsed = parseYaml(std::string(text), file_, item.line);
  return loader_->loadStepItem(parsed[0], item.line);
}

}  // namespace filtersim
