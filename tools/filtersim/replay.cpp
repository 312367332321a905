#include "replay.h"

#include <algorithm>
#include <tuple>

#include <bcmsim/device.h>
#include <bcmsim/explain.h>
#include <bcmsim/names.h>

#include "capture_reader.h"
#include "frame_parser.h"

namespace filtersim {
namespace {

// The colour a per-colour action applies to, by its SDK name's prefix.
std::optional<size_t> actionColour(const std::string& name) {
  static const char* const kPrefixes[] = {"Gp", "Yp", "Rp"};
  for (size_t colour = 0; colour < std::size(kPrefixes); ++colour) {
    if (name.rfind(kPrefixes[colour], 0) == 0) return colour;
  }
  return std::nullopt;
}

}  // namespace

ReplayTally::Tally& ReplayTally::tallyOf(const bcmsim::Hit& hit) {
  auto found = entries_.find(hit.entry);
  if (found != entries_.end()) return found->second;
  Tally& tally = entries_[hit.entry];
  tally.hits.hit = userHit(hit.stage, hit.group, hit.entry);
  const bcmsim::Entry* entry = bcmsim::state().entry(hit.entry);
  if (!entry || !entry->installed) return tally;
  for (const std::optional<int>& policer : entry->installed->policers) {
    if (policer) tally.policers.push_back(*policer);
  }
  for (const bcmsim::ActionValue& action : entry->installed->actions) {
    const std::string name = bcmsim::action_name(action.action);
    if (std::optional<size_t> colour = actionColour(name)) {
      tally.colour_actions[*colour].push_back(name);
    }
  }
  return tally;
}

void ReplayTally::count(const bcmsim::Packet& packet, const bcmsim::Classification& result) {
  ++packets_;
  ++verdicts_[result.verdict.outcome()];
  for (const bcmsim::Hit& hit : result.hits) {
    HwEntryHits& hits = tallyOf(hit).hits;
    ++hits.packets;
    if (hit.metered) ++hits.coloured[static_cast<size_t>(*hit.metered)];
  }
  if (!result.hits.empty()) return;
  ++missed_;
  if (first_misses_.size() == kMissesKept) return;
  ReplayMiss miss{packets_, packet, {}};
  for (const bcmsim::GroupExplanation& group : bcmsim::explain(packet)) {
    miss.explanation.push_back(explainedGroup(group, groups_));
  }
  first_misses_.push_back(std::move(miss));
}

ReplaySummary ReplayTally::summary(const CounterReader& read_counter) const {
  ReplaySummary out;
  out.packets = packets_;
  out.verdicts = verdicts_;
  out.missed = missed_;
  out.first_misses = first_misses_;
  std::map<std::tuple<bcmsim::Stage, unsigned short, unsigned int>, uint64_t> by_user;
  std::map<int, PolicerColours> policers;
  for (const auto& [id, tally] : entries_) {
    const HwEntryHits& hits = tally.hits;
    out.hw_entries.push_back(hits);
    if (hits.hit.entry) by_user[{hits.hit.stage, *hits.hit.group, *hits.hit.entry}] += hits.packets;
    for (unsigned short counter : userEntryCounters(id))
      out.counters[counter] = read_counter(counter);
    for (int policer : tally.policers) {
      PolicerColours& colours = policers[policer];
      colours.id = policer;
      for (size_t colour = 0; colour < colours.packets.size(); ++colour) {
        colours.packets[colour] += hits.coloured[colour];
        for (const std::string& action : tally.colour_actions[colour]) {
          colours.actions[action] += hits.coloured[colour];
        }
      }
    }
  }
  std::sort(
      out.hw_entries.begin(), out.hw_entries.end(),
      [](const HwEntryHits& a, const HwEntryHits& b) { return a.hit.hw_entry < b.hit.hw_entry; });
  for (const auto& [key, packets] : by_user) {
    out.user_entries.push_back({std::get<0>(key), std::get<1>(key), std::get<2>(key), packets});
  }
  for (const auto& [id, colours] : policers) out.policers.push_back(colours);
  return out;
}

ReplaySummary replayCapture(const std::string& path, const bcmsim::Packet& defaults,
                            const std::map<int, UserGroup>& groups,
                            const CounterReader& read_counter) {
  ReplayTally tally(groups);
  bcmsim::Packet base = defaults;
  // Header fields a frame does not hold whole stay zero.
  base.ether_type = 0;
  base.ttl = 0;
  uint64_t arrival = 0;
  std::optional<std::string> damage;
  try {
    CaptureReader capture(path);
    CapturedFrame frame{};
    while (capture.next(frame)) {
      bcmsim::Packet packet = base;
      parseFrame(frame.data, frame.captured, packet);
      packet.length = frame.length;
      arrival = std::max(arrival, frame.timestamp_ns);  // the meters need time to run forwards
      packet.arrival_ns = arrival;
      tally.count(packet, bcmsim::classify(packet));
    }
  } catch (const CaptureError& error) {
    damage = error.what();  // a capture changed or cut short since the scenario was loaded
  }
  ReplaySummary summary = tally.summary(read_counter);
  summary.capture = path;
  summary.damage = std::move(damage);
  return summary;
}

}  // namespace filtersim
