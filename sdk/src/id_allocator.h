// The SDK hands out the lowest free id of a kind; a hint below which every id is taken makes
// that cost in proportion to the ids taken since, not to every id in use.
#pragma once

#include <algorithm>

namespace bcmsim::detail {

class LowestFreeId {
 public:
  explicit LowestFreeId(int first) : first_(first), hint_(first) {}

  // The lowest id from the first one that `taken(id)` says is free.
  template <class Taken>
  int take(Taken&& taken) {
    int id = hint_;
    while (taken(id)) ++id;
    hint_ = id + 1;
    return id;
  }
  void release(int id) { hint_ = std::max(first_, std::min(hint_, id)); }
  void reset() { hint_ = first_; }

 private:
  int first_;
  int hint_;
};

}  // namespace bcmsim::detail
