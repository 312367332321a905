// A capture replayed through classification. Only counts are kept as it goes, and the first few
// packets that hit nothing: memory does not grow with the capture.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <bcmsim/classify.h>

#include "hits.h"
#include "scenario.h"

namespace filtersim {

constexpr size_t kMissesKept = 5;

using Colours = std::array<uint64_t, 3>;  // packets by bcmsim::Color

// Packets met by one hardware entry, and how its policers coloured them.
struct HwEntryHits {
  UserHit hit;
  uint64_t packets = 0;
  Colours coloured{};  // the entry's colour: the worse of its levels'
  std::array<Colours, bcmsim::kPolicerLevels> levels{};  // each level's policer's own
};

struct UserEntryHits {
  bcmsim::Stage stage;
  unsigned short group;
  unsigned int entry;
  uint64_t packets;
};

// The colours a policer marked, and the per-colour actions that fired, by the entry's colour, on
// the entries it meters.
struct PolicerColours {
  int id;
  std::set<int> levels;                     // 0, or 1 for a parent
  Colours packets{};                        // green, yellow, red, as this policer marked them
  std::map<std::string, uint64_t> actions;  // "RpDrop" -> packets
};

struct ReplayMiss {
  uint64_t number;  // from 1, in the capture
  bcmsim::Packet packet;
  std::vector<ExplainedGroup> explanation;
};

struct ReplaySummary {
  std::string capture;
  uint64_t packets = 0;
  std::map<std::string, uint64_t> verdicts;                    // by outcome
  std::vector<UserEntryHits> user_entries;                     // by stage, group, entry
  std::vector<HwEntryHits> hw_entries;                         // by hardware id
  std::map<unsigned short, std::optional<uint64_t>> counters;  // of the entries hit, at the end
  uint64_t missed = 0;                                         // packets that hit no entry
  std::vector<ReplayMiss> first_misses;                        // up to kMissesKept
  std::vector<PolicerColours> policers;
  std::optional<std::string>
      damage;                   // why the capture ended before its end, with the packets so far
  uint64_t backward_steps = 0;  // frames stamped earlier than the one before: no time passed
  uint64_t long_gaps = 0;       // frames stamped more than a second after the one before
  uint64_t short_records = 0;   // records whose wire length is below their captured length
  std::vector<std::string> warnings;  // what the three figures above mean for the replay
};

// The value of a counter the library knows, or nullopt.
using CounterReader = std::function<std::optional<uint64_t>(unsigned short)>;

// Counts what classified packets met.
class ReplayTally {
 public:
  explicit ReplayTally(const std::map<int, UserGroup>& groups) : groups_(groups) {}

  void count(const bcmsim::Packet& packet, const bcmsim::Classification& result);
  ReplaySummary summary(const CounterReader& read_counter) const;

 private:
  struct Tally {
    HwEntryHits hits;
    std::vector<std::pair<size_t, int>> policers;  // level and id
    std::array<std::vector<std::string>, 3> colour_actions;  // the entry's per-colour actions
  };

  Tally& tallyOf(const bcmsim::Hit& hit);

  const std::map<int, UserGroup>& groups_;
  uint64_t packets_ = 0;
  std::map<std::string, uint64_t> verdicts_;
  std::unordered_map<int, Tally> entries_;
  uint64_t missed_ = 0;
  std::vector<ReplayMiss> first_misses_;
};

// Reads every frame of the replay's captures, merged in timestamp order, into a copy of its
// capture's defaults (the ports and pipeline facts), classifies it and counts it. The packets
// arrive on a clock that runs by each frame's gap from the one before (a gap backwards is no
// time); it carries on from the previous replay of the process, whose last packet the first one
// follows by the first gap. A frame is metered and counted at its wire length, or its captured
// length when the record's wire length is less. A capture that cannot be read to its end gives
// the counts so far and the reason, as `damage`. With `threads` above one the packets are looked up
// on that many threads, and metered and counted in order: the summary is one thread's.
ReplaySummary replayCaptures(const ReplayCapture& replay, const std::map<int, UserGroup>& groups,
                             const CounterReader& read_counter, int threads = 1);

}  // namespace filtersim
