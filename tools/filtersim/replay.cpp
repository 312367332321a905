#include "replay.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <queue>
#include <thread>
#include <cstdint>
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
  for (size_t level = 0; level < entry->installed->policers.size(); ++level) {
    const std::optional<int>& policer = entry->installed->policers[level];
    if (policer) tally.policers.emplace_back(level, *policer);
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
    for (size_t level = 0; level < hit.levels.size(); ++level) {
      if (hit.levels[level]) ++hits.levels[level][static_cast<size_t>(*hit.levels[level])];
    }
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
    for (const auto& [level, policer] : tally.policers) {
      PolicerColours& colours = policers[policer];
      colours.id = policer;
      colours.levels.insert(static_cast<int>(level));
      for (size_t colour = 0; colour < colours.packets.size(); ++colour) {
        colours.packets[colour] += hits.levels[level][colour];
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

namespace {

constexpr uint64_t kSecondNs = 1000000000;

// The meters' time across every replay of the process: meters only see differences, so one clock
// serves however many steps (and devices) there are.
class ReplayClock {
 public:
  // The first packet of a replay: at its own stamp on the first replay, otherwise `first_gap`
  // after the last packet of the replay before.
  uint64_t start(uint64_t stamp, uint64_t first_gap) {
    now_ = now_ ? plus(*now_, first_gap) : stamp;
    return *now_;
  }
  uint64_t advance(uint64_t gap) {
    now_ = plus(*now_, gap);
    return *now_;
  }

 private:
  static uint64_t plus(uint64_t now, uint64_t gap) {
    return gap > UINT64_MAX - now ? UINT64_MAX : now + gap;
  }

  std::optional<uint64_t> now_;
};

ReplayClock& replayClock() {
  static ReplayClock clock;
  return clock;
}

// What one replay met of odd stamps and lengths.
struct Oddities {
  uint64_t backward = 0;
  uint64_t long_gaps = 0;
  uint64_t short_records = 0;

  // The time from a frame stamped `before` to the next, stamped `after`.
  uint64_t gap(uint64_t before, uint64_t after) {
    if (after < before) {
      ++backward;
      return 0;
    }
    if (after - before > kSecondNs) ++long_gaps;
    return after - before;
  }
  // The frame's length for meters and counters.
  uint32_t length(const CapturedFrame& frame) {
    if (frame.length < frame.captured) ++short_records;
    return frameLength(frame.length, frame.captured);
  }
};

std::vector<std::string> warningsOf(const Oddities& odd) {
  std::vector<std::string> warnings;
  if (odd.backward) {
    warnings.push_back(std::to_string(odd.backward) +
                       " frames are stamped earlier than the frame before: each arrived with no "
                       "time passed");
  }
  if (odd.long_gaps) {
    warnings.push_back(std::to_string(odd.long_gaps) +
                       " frames are stamped more than a second after the frame before: the "
                       "policers' buckets refilled over the gap");
  }
  if (odd.short_records) {
    warnings.push_back(std::to_string(odd.short_records) +
                       " records give a wire length below their captured length: counted at "
                       "the captured length");
  }
  return warnings;
}

// The frames of several captures in timestamp order; frames stamped alike in the order the
// captures are given.
class MergedCaptures {
 public:
  explicit MergedCaptures(const std::vector<CaptureSource>& sources) : sources_(sources) {
    readers_.reserve(sources.size());
    frames_.resize(sources.size());
    for (size_t index = 0; index < sources.size(); ++index) {
      readers_.push_back(std::make_unique<CaptureReader>(sources[index].path));
      advance(index);
    }
  }

  // The next frame and the capture it comes from; false when every capture has ended.
  bool next(CapturedFrame& frame, const CaptureSource*& source) {
    if (last_) advance(*last_);
    if (waiting_.empty()) return false;
    const size_t index = waiting_.top().second;
    waiting_.pop();
    frame = frames_[index];
    source = &sources_[index];
    last_ = index;
    return true;
  }

 private:
  // Reads the capture's next frame, which waits its turn; the frame before it is done with.
  void advance(size_t index) {
    if (readers_[index]->next(frames_[index])) waiting_.push({frames_[index].timestamp_ns, index});
  }

  using Waiting = std::pair<uint64_t, size_t>;  // a frame's stamp and its capture
  const std::vector<CaptureSource>& sources_;
  std::vector<std::unique_ptr<CaptureReader>> readers_;
  std::vector<CapturedFrame> frames_;
  std::priority_queue<Waiting, std::vector<Waiting>, std::greater<Waiting>> waiting_;
  std::optional<size_t> last_;
};

// Classifies and counts the replay's packets in arrival order. With several threads the packets
// go in batches: while the other threads start looking a batch up, this one meters, applies and
// counts the batch before, in order, then helps with the lookups; so that every meter and counter
// ends as with one thread.
class Classifier {
 public:
  Classifier(ReplayTally& tally, int threads) : tally_(tally), threads_(threads) {}
  ~Classifier() { finishLookups(); }

  void send(const bcmsim::Packet& packet) {
    if (threads_ == 1) {
      tally_.count(packet, bcmsim::classify(packet));
      return;
    }
    filling().packets.push_back(packet);
    if (filling().packets.size() == kBatch) pass();
  }

  // Applies every packet sent.
  void flush() {
    if (threads_ == 1) return;
    pass();
    pass();
  }

 private:
  static constexpr size_t kBatch = 16384;
  static constexpr size_t kChunk = 256;  // packets a thread takes at a time

  struct Batch {
    std::vector<bcmsim::Packet> packets;
    std::vector<bcmsim::Matches> matches;
    std::atomic<size_t> next{0};  // the first packet no thread has taken
  };

  Batch& filling() { return batches_[filling_]; }

  // The filled batch is looked up; the batch looked up before it is applied meanwhile, and is
  // filled next.
  void pass() {
    Batch& filled = filling();
    startLookups(filled);
    Batch& looked_up = batches_[1 - filling_];
    for (size_t k = 0; k < looked_up.packets.size(); ++k) {
      tally_.count(looked_up.packets[k], bcmsim::apply(looked_up.packets[k], looked_up.matches[k]));
    }
    looked_up.packets.clear();
    lookUp(filled);
    finishLookups();
    filling_ = 1 - filling_;
  }

  void startLookups(Batch& batch) {
    bcmsim::prepare_lookups();
    batch.matches.resize(batch.packets.size());
    batch.next = 0;
    for (int helper = 1; helper < threads_; ++helper) {
      lookups_.emplace_back([&batch] { lookUp(batch); });
    }
  }

  // Takes chunks of the batch until none is left.
  static void lookUp(Batch& batch) {
    for (size_t first; (first = batch.next.fetch_add(kChunk)) < batch.packets.size();) {
      for (size_t k = first; k < std::min(first + kChunk, batch.packets.size()); ++k) {
        bcmsim::match(batch.packets[k], batch.matches[k]);
      }
    }
  }

  void finishLookups() {
    for (std::thread& lookup : lookups_) lookup.join();
    lookups_.clear();
  }

  ReplayTally& tally_;
  int threads_;
  std::array<Batch, 2> batches_;
  size_t filling_ = 0;  // the batch packets are sent to; the other waits to be applied
  std::vector<std::thread> lookups_;
};

}  // namespace

ReplaySummary replayCaptures(const ReplayCapture& replay, const std::map<int, UserGroup>& groups,
                             const CounterReader& read_counter, int threads) {
  ReplayTally tally(groups);
  Classifier classifier(tally, threads);
  ReplayClock& clock = replayClock();
  Oddities odd;
  const auto send = [&](bcmsim::Packet& packet, uint64_t arrival) {
    packet.arrival_ns = arrival;
    classifier.send(packet);
  };
  // The first packet waits for the second: the gap between them places it after the replay
  // before.
  std::optional<bcmsim::Packet> first;
  std::optional<uint64_t> first_stamp;
  uint64_t previous_stamp = 0;
  std::optional<std::string> damage;
  try {
    MergedCaptures captures(replay.sources);
    CapturedFrame frame{};
    const CaptureSource* source = nullptr;
    while (captures.next(frame, source)) {
      bcmsim::Packet packet = source->defaults;
      // Header fields a frame does not hold whole stay zero.
      packet.ether_type = 0;
      packet.ttl = 0;
      parseFrame(frame.data, frame.captured, packet);
      packet.length = odd.length(frame);
      if (!first_stamp) {
        first = std::move(packet);
        first_stamp = previous_stamp = frame.timestamp_ns;
        continue;
      }
      const uint64_t gap = odd.gap(previous_stamp, frame.timestamp_ns);
      previous_stamp = frame.timestamp_ns;
      if (first) {
        send(*first, clock.start(*first_stamp, gap));
        first.reset();
      }
      send(packet, clock.advance(gap));
    }
  } catch (const CaptureError& error) {
    damage = error.what();  // a capture changed or cut short since the scenario was loaded
  }
  if (first) send(*first, clock.start(*first_stamp, 0));  // the captures' only packet
  classifier.flush();
  ReplaySummary summary = tally.summary(read_counter);
  summary.capture = replay.paths();
  summary.damage = std::move(damage);
  summary.backward_steps = odd.backward;
  summary.long_gaps = odd.long_gaps;
  summary.short_records = odd.short_records;
  summary.warnings = warningsOf(odd);
  return summary;
}

}  // namespace filtersim
