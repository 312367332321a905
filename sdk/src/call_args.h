// What the call log keeps of a call's arguments, and their writing out when first read.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <bcmsim/call_log.h>

#include "c_source.h"

namespace bcmsim::detail {

// A call's arguments, written out as text and C source the first time either is read.
class CallArgs {
 public:
  virtual ~CallArgs() = default;
  const std::string& text() const { return written().text; }
  const CallSource& source() const { return written().source; }

 private:
  virtual LoggedArgs write() const = 0;
  const LoggedArgs& written() const {
    if (!written_) written_ = std::make_unique<const LoggedArgs>(write());
    return *written_;
  }
  // Behind a pointer, so that a call not yet read costs no more memory than its arguments.
  mutable std::unique_ptr<const LoggedArgs> written_;
};

// Arguments given as text alone are taken to be the C argument list as well.
inline LoggedArgs logged_args(std::string text) {
  CallSource source;
  source.args = text;
  return {std::move(text), std::move(source)};
}
inline LoggedArgs logged_args(LoggedArgs args) {
  return args;
}

// The arguments as `render()` writes them, text or LoggedArgs, from the copies it holds.
template <class Render>
class RenderedArgs final : public CallArgs {
 public:
  explicit RenderedArgs(Render render) : render_(std::move(render)) {}

 private:
  LoggedArgs write() const override { return logged_args(render_()); }
  Render render_;
};

// What an argument passed by address points at when the call is recorded, or nothing for NULL:
// a renderer keeps this, never the address, which may be gone when it runs.
template <class T>
std::optional<T> kept(const T* pointer) {
  return pointer ? std::optional<T>(*pointer) : std::nullopt;
}

// The address of a kept argument, NULL again when there was none.
template <class T>
const T* address(const std::optional<T>& kept) {
  return kept ? &*kept : nullptr;
}

}  // namespace bcmsim::detail
