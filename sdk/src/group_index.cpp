#include "group_index.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include <bcm/field.h>

#include "packet_match.h"

namespace bcmsim::detail {
namespace {

// Qualifiers whose match is not a masked comparison cannot be bucketed.
bool indexable(int qualifier) {
  return qualifier != bcmFieldQualifyInPorts && qualifier != bcmFieldQualifyIpType &&
         qualifier != bcmFieldQualifyIpProtocolCommon && packet_field(Packet{}, qualifier, nullptr);
}

Words masked(const Words& data, const Words& mask) {
  Words out;
  for (size_t w = 0; w < out.size(); ++w) out[w] = data[w] & mask[w];
  return out;
}

// The first of `slots` whose entry matches, or nullptr.
template <class Matches>
const Entry* first_matching(const std::vector<int>& slots, const Matches& matches) {
  for (int slot : slots) {
    if (const Entry* entry = matches(slot)) return entry;
  }
  return nullptr;
}

}  // namespace

void GroupIndex::rebuild(const Group& group, const State& state) {
  built_ = true;
  version_ = group.version;
  buckets_.clear();
  others_.clear();
  qualifier_ = -1;

  // The qualifier held by the most entries, with few distinct masks.
  std::map<int, std::pair<size_t, std::set<Words>>> held;
  for (const Group::Slot& slot : group.slots) {
    if (slot.free()) continue;
    for (const QualifierValue& q : state.entry(slot.entry)->installed->qualifiers) {
      if (!indexable(q.qualifier)) continue;
      auto& [count, masks] = held[q.qualifier];
      ++count;
      masks.insert(q.mask);
    }
  }
  size_t best = 0;
  for (const auto& [qualifier, use] : held) {
    if (use.second.size() <= kMaxMasks && use.first > best) {
      best = use.first;
      qualifier_ = qualifier;
    }
  }
  if (qualifier_ < 0) return;

  for (int slot = 0; slot < static_cast<int>(group.slots.size()); ++slot) {
    if (group.slots[slot].free()) continue;
    const QualifierValue* q =
        state.entry(group.slots[slot].entry)->installed->qualifier(qualifier_);
    if (!q) {
      others_.push_back(slot);
      continue;
    }
    auto bucket = std::find_if(buckets_.begin(), buckets_.end(),
                               [&](const Bucket& b) { return b.mask == q->mask; });
    if (bucket == buckets_.end()) bucket = buckets_.insert(buckets_.end(), Bucket{q->mask, {}});
    const Words key = masked(q->data, q->mask);
    bucket->slots[key].push_back(slot);
    bucket->hashed.set(WordsHash{}(key) % bucket->hashed.size());
  }
}

const Entry* GroupIndex::first_match(const Group& group, const State& state,
                                     const Packet& packet) const {
  auto matches = [&](int slot) -> const Entry* {
    const Entry* entry = state.entry(group.slots[slot].entry);
    for (const QualifierValue& q : entry->installed->qualifiers) {
      if (!qualifier_matches(packet, q)) return nullptr;
    }
    return entry;
  };
  if (qualifier_ < 0) {
    for (int slot = 0; slot < static_cast<int>(group.slots.size()); ++slot) {
      if (group.slots[slot].free()) continue;
      if (const Entry* entry = matches(slot)) return entry;
    }
    return nullptr;
  }
  // The candidates: the entries of every bucket whose value the packet's field has, and those
  // without the qualifier; tested in slot order. Each list is in slot order and no slot is in
  // two, so a single list is tested as it is.
  Words field;
  packet_field(packet, qualifier_, &field);
  std::array<const std::vector<int>*, kMaxMasks + 1> lists{};
  size_t count = 0;
  if (!others_.empty()) lists[count++] = &others_;
  for (const Bucket& bucket : buckets_) {
    const Words key = masked(field, bucket.mask);
    if (!bucket.hashed.test(WordsHash{}(key) % bucket.hashed.size())) continue;
    auto found = bucket.slots.find(key);
    if (found != bucket.slots.end()) lists[count++] = &found->second;
  }
  if (count == 1) return first_matching(*lists[0], matches);
  // Kept for its capacity, one per thread: lookups may run on several at once.
  thread_local std::vector<int> candidates;
  candidates.clear();
  for (size_t k = 0; k < count; ++k) {
    candidates.insert(candidates.end(), lists[k]->begin(), lists[k]->end());
  }
  std::sort(candidates.begin(), candidates.end());
  return first_matching(candidates, matches);
}

}  // namespace bcmsim::detail
