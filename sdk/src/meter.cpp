// Token-bucket meters: how each policer mode fills its buckets and colours a packet.
#include "meter.h"

#include <algorithm>
#include <iterator>

namespace bcmsim::detail {
namespace {

// A burst of one kbit (one packet) in tokens; also the nanoseconds in a second, which makes a rate
// per second the tokens earned per nanosecond.
constexpr uint64_t kTokensPerBurstUnit = 1'000'000'000;
constexpr uint64_t kTokensPerByte = kTokensPerBurstUnit / 1000 * 8;

// The tokens `rate` earns in `ns`, or `cap` if that is less; never overflows.
uint64_t earned(uint64_t rate, uint64_t ns, uint64_t cap) {
  if (rate == 0) return 0;
  return ns > cap / rate ? cap : rate * ns;
}

// RFC 2697 and RFC 4115: green from the committed bucket, else yellow from the excess one. In
// colour-aware mode a yellow packet may only be yellow, a red one only red.
Color committed_then_excess(Meter::Buckets& buckets, uint64_t cost, Color incoming) {
  if (incoming == Color::Green && buckets.committed.take(cost)) return Color::Green;
  if (incoming != Color::Red && buckets.excess.take(cost)) return Color::Yellow;
  return Color::Red;
}

// RFC 2698: red unless the peak bucket holds the packet; green only when the committed bucket
// holds it too. A coloured packet pays in the buckets of its colour and better.
Color peak_then_committed(Meter::Buckets& buckets, uint64_t cost, Color incoming) {
  Meter::Bucket& peak = buckets.excess;
  if (incoming == Color::Red || !peak.take(cost)) return Color::Red;
  return incoming == Color::Green && buckets.committed.take(cost) ? Color::Green : Color::Yellow;
}

// The modes outside the table do not meter: the packet keeps the colour it came in.
Color keep_colour(Meter::Buckets&, uint64_t, Color incoming) {
  return incoming;
}

struct ModeRule {
  bcm_policer_mode_t mode;
  Meter::Rule rule;
  bool excess_bucket;  // pkbits_burst sizes an excess bucket (else it holds nothing)
  bool excess_rate;    // the excess bucket fills at pkbits_sec (else by the committed spill)
  bool colour_aware;   // honours the incoming colour unless the policer is colour blind
};

constexpr ModeRule kModes[] = {
    {bcmPolicerModeSrTcm, committed_then_excess, true, false, true},
    {bcmPolicerModeTrTcm, peak_then_committed, true, true, true},
    {bcmPolicerModeTrTcmDs, committed_then_excess, true, true, true},
    // One rate, one bucket: green or red, whatever the incoming colour.
    {bcmPolicerModeCommitted, committed_then_excess, false, false, false},
};

ModeRule rule_of(bcm_policer_mode_t mode) {
  auto found = std::find_if(std::begin(kModes), std::end(kModes),
                            [&](const ModeRule& rule) { return rule.mode == mode; });
  return found != std::end(kModes) ? *found : ModeRule{mode, keep_colour, false, false, true};
}

Meter::Bucket full_bucket(uint32_t rate, uint32_t burst) {
  const uint64_t size = burst * kTokensPerBurstUnit;
  return {rate, size, size};
}

}  // namespace

bool Meter::Bucket::take(uint64_t tokens) {
  if (level < tokens) return false;
  level -= tokens;
  return true;
}

Meter::Meter(const bcm_policer_config_t& config) {
  const ModeRule mode = rule_of(config.mode);
  buckets_.committed = full_bucket(config.ckbits_sec, config.ckbits_burst);
  buckets_.excess = full_bucket(mode.excess_rate ? config.pkbits_sec : 0,
                                mode.excess_bucket ? config.pkbits_burst : 0);
  rule_ = mode.rule;
  colour_aware_ = mode.colour_aware && !(config.flags & BCM_POLICER_COLOR_BLIND);
  spills_ = !mode.excess_rate;
  per_packet_ = config.flags & BCM_POLICER_MODE_PACKETS;
}

void Meter::refill(uint64_t arrival_ns) {
  const uint64_t elapsed = started_ && arrival_ns > last_ns_ ? arrival_ns - last_ns_ : 0;
  started_ = true;
  last_ns_ = std::max(last_ns_, arrival_ns);
  Bucket& committed = buckets_.committed;
  Bucket& excess = buckets_.excess;
  const uint64_t spill_room = spills_ ? excess.room() : 0;
  const uint64_t earned_committed = earned(committed.rate, elapsed, committed.room() + spill_room);
  const uint64_t kept = std::min(earned_committed, committed.room());
  committed.level += kept;
  excess.level += earned_committed - kept;
  excess.level += earned(excess.rate, elapsed, excess.room());
}

Color Meter::meter(uint64_t arrival_ns, uint32_t bytes, Color incoming) {
  refill(arrival_ns);
  const uint64_t cost = per_packet_ ? kTokensPerBurstUnit : bytes * kTokensPerByte;
  return rule_(buckets_, cost, colour_aware_ ? incoming : Color::Green);
}

}  // namespace bcmsim::detail
