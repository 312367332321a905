// A policer's token-bucket meter: the colour it gives each packet by its arrival time.
#pragma once

#include <cstdint>

#include <bcm/policer.h>

#include <bcmsim/classify.h>

namespace bcmsim::detail {

// Two buckets, committed and excess (the peak bucket of a two-rate meter), which start full and
// fill with the time between packets. Tokens are counted exactly, in millionths of a bit (in
// billionths of a packet when the policer meters packets), so that a rate in kbit/s (packets/s)
// is also the number of tokens a nanosecond earns.
class Meter {
 public:
  explicit Meter(const bcm_policer_config_t& config);

  // The colour of a packet of `bytes` arriving at `arrival_ns` in colour `incoming`; the buckets
  // pay for it.
  Color meter(uint64_t arrival_ns, uint32_t bytes, Color incoming);

  struct Bucket {
    uint64_t rate = 0;  // tokens per nanosecond
    uint64_t size = 0;
    uint64_t level = 0;

    uint64_t room() const { return size - level; }
    bool take(uint64_t tokens);  // false, and nothing taken, when the bucket holds too few
  };
  struct Buckets {
    Bucket committed;
    Bucket excess;
  };
  // A mode's colour rule: the colour of a packet costing `cost` tokens, taken from the buckets.
  using Rule = Color (*)(Buckets&, uint64_t cost, Color incoming);

 private:
  void refill(uint64_t arrival_ns);

  Buckets buckets_;
  Rule rule_;
  bool colour_aware_;
  bool spills_;      // what the full committed bucket earns goes to the excess bucket
  bool per_packet_;  // a packet costs one packet's tokens whatever its length
  bool started_ = false;
  uint64_t last_ns_ = 0;
};

// The colour of an entry metered by a policer and its parent (level 1): the worse of the two.
inline Color worse(Color a, Color b) {
  return a > b ? a : b;
}

}  // namespace bcmsim::detail
