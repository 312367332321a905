#include <hal_callbacks/hal_callbacks_itf.h>

#include <cstdarg>
#include <cstdio>

namespace {

void print_to_stderr(const HalCallbacksItf::Line& line) {
  const bool has_newline = !line.text.empty() && line.text.back() == '\n';
  if (line.code != 0) {
    std::fprintf(stderr, "<%d> [%d] %s%s", line.level, line.code, line.text.c_str(),
                 has_newline ? "" : "\n");
  } else {
    std::fprintf(stderr, "<%d> %s%s", line.level, line.text.c_str(), has_newline ? "" : "\n");
  }
}

__attribute__((format(printf, 1, 0))) std::string format_text(const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  char small[256];
  int length = std::vsnprintf(small, sizeof(small), format, copy);
  va_end(copy);
  if (length < 0) return format;
  if (static_cast<size_t>(length) < sizeof(small)) return std::string(small, length);
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, args);
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace

HalCallbacksItf::HalCallbacksItf() : sink_(print_to_stderr) {}

HalCallbacksItf& HalCallbacksItf::getInstance() {
  static HalCallbacksItf instance;
  return instance;
}

HalCallbacksItf::Sink HalCallbacksItf::setSink(Sink sink) {
  Sink previous = std::move(sink_);
  sink_ = sink ? std::move(sink) : print_to_stderr;
  return previous;
}

void HalCallbacksItf::emit(int level, int code, const char* format, va_list args) {
  if (level > level_) return;
  sink_(Line{level, code, format_text(format, args)});
}

void HalCallbacksItf::log(int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  emit(level, 0, format, args);
  va_end(args);
}

void HalCallbacksItf::error(int code, const char* format, ...) {
  va_list args;
  va_start(args, format);
  emit(kError, code, format, args);
  va_end(args);
}

HalLogCapture::HalLogCapture() : previous_level_(HalCallbacksItf::getInstance().level()) {
  HalCallbacksItf& callbacks = HalCallbacksItf::getInstance();
  callbacks.setLevel(HalCallbacksItf::kDebug);
  previous_sink_ =
      callbacks.setSink([this](const HalCallbacksItf::Line& line) { lines_.push_back(line); });
}

HalLogCapture::~HalLogCapture() {
  HalCallbacksItf& callbacks = HalCallbacksItf::getInstance();
  callbacks.setSink(std::move(previous_sink_));
  callbacks.setLevel(previous_level_);
}

std::vector<std::string> HalLogCapture::texts() const {
  std::vector<std::string> texts;
  for (const auto& line : lines_) texts.push_back(line.text);
  return texts;
}

std::vector<std::string> HalLogCapture::texts(int level) const {
  std::vector<std::string> texts;
  for (const auto& line : lines_) {
    if (line.level == level) texts.push_back(line.text);
  }
  return texts;
}

bool HalLogCapture::contains(const std::string& text) const {
  for (const auto& line : lines_) {
    if (line.text == text) return true;
  }
  return false;
}

bool HalLogCapture::contains(int level, const std::string& text) const {
  for (const auto& line : lines_) {
    if (line.level == level && line.text == text) return true;
  }
  return false;
}
