#include "stage_filter.h"

#include <algorithm>
#include <map>

namespace bcmsim::detail {

void StageFilter::build(const std::vector<const CompiledLookup*>& lookups) {
  all_ = 0;
  places_.clear();
  // Every place some group compares, and the groups comparing it with the values they let through.
  std::map<Place, std::vector<std::pair<size_t, const CompiledLookup::ValueBits*>>> compared;
  for (size_t group = 0; group < std::min(lookups.size(), kGroups); ++group) {
    const CompiledLookup& lookup = *lookups[group];
    if (lookup.empty()) continue;
    all_ |= uint64_t{1} << group;
    for (size_t index = 0; index < lookup.bytes().size(); ++index) {
      const CompiledLookup::Byte& byte = lookup.bytes()[index];
      compared[{byte.slot, byte.word, byte.shift}].push_back({group, &lookup.values(index)});
    }
    if (const CompiledLookup::ValueBits* ports = lookup.ports()) {
      compared[{kPortSlot, 0, 0}].push_back({group, ports});
    }
  }
  // A group that does not compare a place lets every value through.
  rows_.assign(compared.size() * (kValues + 1), all_);
  for (auto& [key, groups] : compared) {
    Place& place = places_.emplace_back(key);
    place.first_row = (places_.size() - 1) * (kValues + 1);
    for (const auto& [group, values] : groups) passes(place, *values, group);
    countPassing(place);
  }
  std::stable_sort(places_.begin(), places_.end(),
                   [](const Place& a, const Place& b) { return a.passing < b.passing; });
}

void StageFilter::passes(const Place& place, const CompiledLookup::ValueBits& values, size_t group) {
  for (size_t value = 0; value < kValues; ++value) {
    if (!((values[value / 64] >> (value % 64)) & 1)) rows_[place.first_row + value] &= ~(uint64_t{1} << group);
  }
}

void StageFilter::countPassing(Place& place) const {
  place.passing = 0;
  for (size_t value = 0; value < kValues; ++value) {
    const auto groups = static_cast<uint64_t>(__builtin_popcountll(rows_[place.first_row + value]));
    place.passing += groups * groups;
  }
}

inline size_t StageFilter::valueAt(const Place& place, PacketFields& fields) {
  if (place.slot == kPortSlot) {
    const int port = fields.packet().in_port;
    return port >= 0 && port < static_cast<int>(kValues) ? static_cast<size_t>(port) : kValues;
  }
  return (fields.field(place.slot)[static_cast<size_t>(place.word)] >> place.shift) & 0xff;
}

uint64_t StageFilter::candidates(PacketFields& fields) const {
  uint64_t left = all_;
  for (auto place = places_.begin(); place != places_.end() && left; ++place) {
    left &= rows_[place->first_row + valueAt(*place, fields)];
  }
  return left;
}

}  // namespace bcmsim::detail
