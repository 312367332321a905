// Test packets sent through the device after a step, each checked against the model's own
// reading of the hardware entries it expects: which user entries of each stage may hit the
// packet, and what their hits do to it. The hits that agree count on the model's counters.
#pragma once

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "model.h"
#include "operations.h"

namespace robustness {

struct PacketFigures {
  int classified = 0;
  int hit = 0;     // hit at least one entry
  int missed = 0;  // hit no entry
};

// The user entry a hardware entry id belongs to, if any.
using OwnerOf = std::function<std::optional<Key>(int hw_eid)>;

// Draws `count` packets, about half aimed at a hardware entry of a live user entry and the rest
// one field away from one, classifies each on the device and compares the device's hits and
// verdict with the model's prediction. Each disagreement adds one text to `violations`.
PacketFigures check_packets(Model& model, const DeviceFacts& facts, std::mt19937_64& random,
                            int count, const OwnerOf& owner, std::vector<std::string>& violations);

}  // namespace robustness
