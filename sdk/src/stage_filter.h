// Which groups of a stage a packet may hit, before any group's lookup runs. Every byte place that
// some group of the stage compares (a byte of a field, or the arrival port) has a table: per value
// of the byte, a bit per group, set when the group does not compare that byte or some entry of the
// group lets that value match. ANDing the rows the packet's bytes pick, most selective first,
// leaves the groups worth a lookup: most packets miss most groups, and the filter tells them apart
// in a few rows that stay in the cache. It covers the stage's first 64 groups by priority, a word
// of bits; a stage with more looks the others up for every packet.
#pragma once

#include <cstdint>
#include <tuple>
#include <vector>

#include "compiled_lookup.h"

namespace bcmsim::detail {

class StageFilter {
 public:
  static constexpr size_t kGroups = 64;

  // The groups' lookups, by group priority; bit N of the candidates is lookups[N].
  void build(const std::vector<const CompiledLookup*>& lookups);
  // A bit per group of the first kGroups that the packet may hit.
  uint64_t candidates(PacketFields& fields) const;

 private:
  static constexpr size_t kValues = CompiledLookup::kValues;
  static constexpr size_t kPortSlot = 64;  // beyond every field's slot

  struct Place {
    size_t slot;  // of the field, or kPortSlot
    int word;
    int shift;
    size_t first_row = 0;
    uint64_t passing = 0;  // groups its values let through, squared and summed over the values
    bool operator<(const Place& other) const {
      return std::tie(slot, word, shift) < std::tie(other.slot, other.word, other.shift);
    }
  };

  // The value a packet gives a place; kValues for a port beyond the bitmaps, which every group
  // lets through.
  static size_t valueAt(const Place& place, PacketFields& fields);
  // Clears the group's bit in the rows of the values it lets no entry match.
  void passes(const Place& place, const CompiledLookup::ValueBits& values, size_t group);
  void countPassing(Place& place) const;

  std::vector<Place> places_;
  std::vector<uint64_t> rows_;  // kValues + 1 rows per place, the last one of every group
  uint64_t all_ = 0;            // a bit per group that has entries
};

}  // namespace bcmsim::detail
