// The platform's logging interface. A line is formatted only when its level is kept.
#pragma once

#include <cstdarg>
#include <functional>
#include <string>
#include <vector>

class HalCallbacksItf {
 public:
  // Levels follow syslog: 3 error, 4 warning, 6 information, 7 debug.
  static constexpr int kError = 3;
  static constexpr int kWarning = 4;
  static constexpr int kInfo = 6;
  static constexpr int kDebug = 7;

  struct Line {
    int level;
    int code;  // the error code of error(); 0 for log()
    std::string text;
  };
  using Sink = std::function<void(const Line&)>;

  static HalCallbacksItf& getInstance();

  void log(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
  // An error with its code (an SDK return code, for instance), kept at the error level.
  void error(int code, const char* format, ...) __attribute__((format(printf, 3, 4)));

  // Lines above `level` are dropped before they are formatted.
  void setLevel(int level) { level_ = level; }
  int level() const { return level_; }
  // Replaces where kept lines go and returns the sink it replaced; an empty sink means
  // standard error.
  Sink setSink(Sink sink);

 private:
  HalCallbacksItf();
  __attribute__((format(printf, 4, 0))) void emit(int level, int code, const char* format,
                                                  va_list args);

  int level_ = kWarning;
  Sink sink_;
};

// Captures every line (at every level) while it lives; restores the previous sink and level.
class HalLogCapture {
 public:
  HalLogCapture();
  ~HalLogCapture();
  HalLogCapture(const HalLogCapture&) = delete;
  HalLogCapture& operator=(const HalLogCapture&) = delete;

  const std::vector<HalCallbacksItf::Line>& lines() const { return lines_; }
  std::vector<std::string> texts() const;           // the texts of all lines, in order
  std::vector<std::string> texts(int level) const;  // those of the lines at this level
  bool contains(const std::string& text) const;     // a line with exactly this text
  bool contains(int level, const std::string& text) const;  // ... at this level
  void clear() { lines_.clear(); }

 private:
  std::vector<HalCallbacksItf::Line> lines_;
  HalCallbacksItf::Sink previous_sink_;
  int previous_level_;
};
