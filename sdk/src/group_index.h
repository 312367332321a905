// An index of a group's installed entries for classification: the entries bucketed by the value
// of one qualifier that most of them hold, so that a packet is tested only against the entries
// that can match it, in slot order.
#pragma once

#include <bitset>
#include <unordered_map>
#include <vector>

#include <bcmsim/classify.h>

namespace bcmsim::detail {

struct WordsHash {
  size_t operator()(const Words& words) const {
    size_t hash = 0;
    for (uint32_t word : words) hash = hash * 1000003u ^ word;
    return hash;
  }
};

class GroupIndex {
 public:
  // Rebuilds the index when the group changed since it was built (checked inline: it is checked
  // for every group a packet reaches).
  void refresh(const Group& group, const State& state) {
    if (!built_ || version_ != group.version) rebuild(group, state);
  }
  // The first installed entry, in slot order, whose qualifiers all match the packet.
  const Entry* first_match(const Group& group, const State& state, const Packet& packet) const;

 private:
  struct Bucket {
    Words mask;
    std::unordered_map<Words, std::vector<int>, WordsHash> slots;  // by data AND mask
    // Whether a key of `slots` has each value of its hash's low bits: most packets find no
    // entry in most groups, and this says so without the map's lookup.
    std::bitset<4096> hashed{};
  };

  static constexpr size_t kMaxMasks = 8;  // distinct masks of an indexed qualifier

  void rebuild(const Group& group, const State& state);

  uint64_t version_ = 0;
  bool built_ = false;
  int qualifier_ = -1;           // none: every slot is a candidate
  std::vector<Bucket> buckets_;  // one per distinct mask of the qualifier
  std::vector<int> others_;      // slots of entries without the qualifier
};

}  // namespace bcmsim::detail
