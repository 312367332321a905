// How the SDK hands out the ids of a kind: the lowest free one, or the one after the last given.
#pragma once

#include <algorithm>

namespace bcmsim::detail {

// The lowest free id from the first one. A hint below which every id is taken makes that cost
// in proportion to the ids taken since, not to every id in use.
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

// The first free id after the last one given, going round from `end` back to `first`: a freed
// id is not given again until the ids have gone round.
class NextFreeId {
 public:
  NextFreeId(int first, int end) : first_(first), end_(end), last_(first - 1) {}

  template <class Taken>
  int take(Taken&& taken) {
    do {
      if (++last_ == end_) last_ = first_;
    } while (taken(last_));
    return last_;
  }
  void reset() { last_ = first_ - 1; }

 private:
  int first_;
  int end_;
  int last_;
};

}  // namespace bcmsim::detail
