#include "group_index.h"

#include <algorithm>
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

constexpr size_t kMaxMasks = 8;

}  // namespace

void GroupIndex::refresh(const Group& group, const State& state) {
  if (built_ && version_ == group.version) return;
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
    bucket->slots[masked(q->data, q->mask)].push_back(slot);
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
  // without the qualifier; tested in slot order.
  Words field;
  packet_field(packet, qualifier_, &field);
  std::vector<int> candidates = others_;
  for (const Bucket& bucket : buckets_) {
    auto found = bucket.slots.find(masked(field, bucket.mask));
    if (found != bucket.slots.end()) {
      candidates.insert(candidates.end(), found->second.begin(), found->second.end());
    }
  }
  std::sort(candidates.begin(), candidates.end());
  for (int slot : candidates) {
    if (const Entry* entry = matches(slot)) return entry;
  }
  return nullptr;
}

}  // namespace bcmsim::detail
