// A capture replayed through classification. Only counts are kept as it goes, and the first few
// packets that hit nothing: memory does not grow with the capture.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <bcmsim/classify.h>

#include "hits.h"

namespace filtersim {

constexpr size_t kMissesKept = 5;

// Packets met by one hardware entry, and how its policers coloured them.
struct HwEntryHits {
  UserHit hit;
  uint64_t packets = 0;
  std::array<uint64_t, 3> coloured{};  // by bcmsim::Color
};

struct UserEntryHits {
  bcmsim::Stage stage;
  unsigned short group;
  unsigned int entry;
  uint64_t packets;
};

// What a policer's colours were, and the per-colour actions of the entries it meters that fired.
struct PolicerColours {
  int id;
  std::array<uint64_t, 3> packets{};        // green, yellow, red
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
    std::vector<int> policers;
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

// Reads every frame of the capture at `path` into a copy of `defaults` (the in port and pipeline
// facts), classifies it and counts it. The packets arrive on a clock that runs by each frame's gap
// from the one before (a gap backwards is no time); it carries on from the previous replay of
// the process, whose last packet the first one follows by the capture's first gap. A frame is
// metered and counted at its wire length, or its captured length when the record's wire length
// is less. A capture that cannot be read to its end gives the counts so far and the reason, as
// `damage`.
ReplaySummary replayCapture(const std::string& path, const bcmsim::Packet& defaults,
                            const std::map<int, UserGroup>& groups,
                            const CounterReader& read_counter);

}  // namespace filtersim
