#include "stage_filter.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace bcmsim::detail {
namespace {

void setBit(uint64_t* words, size_t bit) { words[bit / 64] |= uint64_t{1} << (bit % 64); }

}  // namespace

void StageFilter::build(const std::vector<const CompiledLookup*>& lookups) {
  words_ = (lookups.size() + 63) / 64;
  all_.assign(words_, 0);
  places_.clear();
  // Every place some group compares, and the groups comparing it with the values they let through.
  std::map<Place, std::vector<std::pair<size_t, const CompiledLookup::ValueBits*>>> compared;
  for (size_t group = 0; group < lookups.size(); ++group) {
    const CompiledLookup& lookup = *lookups[group];
    if (lookup.empty()) continue;
    setBit(all_.data(), group);
    for (size_t index = 0; index < lookup.bytes().size(); ++index) {
      const CompiledLookup::Byte& byte = lookup.bytes()[index];
      compared[{byte.slot, byte.word, byte.shift}].push_back({group, &lookup.values(index)});
    }
    if (const CompiledLookup::ValueBits* ports = lookup.ports()) {
      compared[{kPortSlot, 0, 0}].push_back({group, ports});
    }
  }
  rows_.assign(compared.size() * (kValues + 1) * words_, 0);
  for (auto& [key, groups] : compared) {
    Place& place = places_.emplace_back(key);
    place.first_row = (places_.size() - 1) * (kValues + 1);
    // A group that does not compare the place lets every value through.
    for (size_t value = 0; value <= kValues; ++value) std::copy_n(all_.data(), words_, row(place.first_row + value));
    for (const auto& [group, values] : groups) passes(place, *values, group);
    countPassing(place);
  }
  std::stable_sort(places_.begin(), places_.end(),
                   [](const Place& a, const Place& b) { return a.passing < b.passing; });
}

void StageFilter::passes(const Place& place, const CompiledLookup::ValueBits& values, size_t group) {
  for (size_t value = 0; value < kValues; ++value) {
    if (!((values[value / 64] >> (value % 64)) & 1)) {
      row(place.first_row + value)[group / 64] &= ~(uint64_t{1} << (group % 64));
    }
  }
}

void StageFilter::countPassing(Place& place) const {
  place.passing = 0;
  for (size_t value = 0; value < kValues; ++value) {
    uint64_t groups = 0;
    for (size_t word = 0; word < words_; ++word) {
      groups += static_cast<uint64_t>(__builtin_popcountll(row(place.first_row + value)[word]));
    }
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

bool StageFilter::candidates(PacketFields& fields, uint64_t* out) const {
  const size_t words = words_;
  std::copy(all_.begin(), all_.end(), out);
  for (const Place& place : places_) {
    const uint64_t* by = row(place.first_row + valueAt(place, fields));
    uint64_t any = 0;
    for (size_t word = 0; word < words; ++word) any |= out[word] &= by[word];
    if (!any) return false;
  }
  return std::any_of(out, out + words, [](uint64_t word) { return word != 0; });
}

}  // namespace bcmsim::detail
