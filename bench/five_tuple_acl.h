// A five-tuple ACL, seeded: source and destination prefixes of every length, TCP, UDP or any
// protocol, and L4 port ranges expanded into value/mask pairs, programmed through the library as
// group type 3 at ingress, in 16 groups of 256 entries; and traffic drawn from its rules.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include <filters_common/filters_common.h>

namespace bench_support {

struct AclRule {
  uint32_t src;
  uint32_t src_mask;
  uint32_t dst;
  uint32_t dst_mask;
  uint8_t protocol;  // 0: any
  uint16_t src_port;
  uint16_t src_port_mask;
  uint16_t dst_port;
  uint16_t dst_port_mask;
};

constexpr int kAclGroups = 16;
constexpr int kAclEntriesPerGroup = 256;

inline uint32_t prefixMask(int length) {
  return length == 0 ? 0 : ~uint32_t{0} << (32 - length);
}

// The value/mask pairs that cover [first, last] exactly, largest blocks first.
inline std::vector<std::pair<uint16_t, uint16_t>> portRange(uint32_t first, uint32_t last) {
  std::vector<std::pair<uint16_t, uint16_t>> pairs;
  while (first <= last) {
    uint32_t size = 1;
    while ((first & (size * 2 - 1)) == 0 && first + size * 2 - 1 <= last && size < 65536) size *= 2;
    pairs.push_back({static_cast<uint16_t>(first), static_cast<uint16_t>(~(size - 1) & 0xffff)});
    first += size;
  }
  return pairs;
}

// One rule's port ranges: any port, one port, or a range of up to a thousand.
inline std::vector<std::pair<uint16_t, uint16_t>> drawPorts(std::mt19937_64& rng) {
  switch (rng() % 3) {
    case 0:
      return {{0, 0}};
    case 1:
      return {{static_cast<uint16_t>(rng()), 0xffff}};
    default: {
      const uint32_t first = static_cast<uint32_t>(rng() % 60000);
      return portRange(first, first + static_cast<uint32_t>(rng() % 1000));
    }
  }
}

// The rules in the order of the groups' entries, each group's highest priority first.
inline std::vector<AclRule> fiveTupleRules(uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<AclRule> rules;
  const size_t wanted = size_t{kAclGroups} * kAclEntriesPerGroup;
  while (rules.size() < wanted) {
    const uint32_t src_mask = prefixMask(static_cast<int>(rng() % 33));
    const uint32_t dst_mask = prefixMask(static_cast<int>(rng() % 33));
    const uint32_t src = static_cast<uint32_t>(rng()) & src_mask;
    const uint32_t dst = static_cast<uint32_t>(rng()) & dst_mask;
    static const uint8_t kProtocols[] = {0, 6, 17};
    const uint8_t protocol = kProtocols[rng() % 3];
    const auto src_ports = protocol ? drawPorts(rng) : std::vector<std::pair<uint16_t, uint16_t>>{{0, 0}};
    const auto dst_ports = protocol ? drawPorts(rng) : std::vector<std::pair<uint16_t, uint16_t>>{{0, 0}};
    for (const auto& [sport, smask] : src_ports) {
      for (const auto& [dport, dmask] : dst_ports) {
        if (rules.size() == wanted) break;
        rules.push_back({src, src_mask, dst, dst_mask, protocol, sport, smask, dport, dmask});
      }
    }
  }
  return rules;
}

inline std::vector<FiltersCommon::FiltersGroup> fiveTupleAcl(const std::vector<AclRule>& rules) {
  using namespace FiltersCommon;
  std::vector<FiltersGroup> groups;
  for (int id = 0; id < kAclGroups; ++id) {
    FiltersGroup group(FILTERS_GROUP_STAGE_INGRESS, static_cast<unsigned short>(id),
                       static_cast<unsigned short>(id), 3);
    for (int k = 0; k < kAclEntriesPerGroup; ++k) {
      const AclRule& rule = rules[static_cast<size_t>(id * kAclEntriesPerGroup + k)];
      FiltersEntry entry(static_cast<unsigned int>(k), static_cast<unsigned short>(kAclEntriesPerGroup - 1 - k));
      if (rule.src_mask) entry.setMatch(MatchSrcIPv4(rule.src, rule.src_mask));
      if (rule.dst_mask) entry.setMatch(MatchDstIPv4(rule.dst, rule.dst_mask));
      if (rule.protocol) entry.setMatch(MatchIpProtocol(rule.protocol));
      if (rule.src_port_mask) entry.setMatch(MatchSrcL4Port(rule.src_port, rule.src_port_mask));
      if (rule.dst_port_mask) entry.setMatch(MatchDstL4Port(rule.dst_port, rule.dst_port_mask));
      entry.setAction(Action(k % 2 ? FILTERS_ACTION_DROP : FILTERS_ACTION_COPY_TO_CPU));
      group.addEntry(entry);
    }
    groups.push_back(group);
  }
  return groups;
}

}  // namespace bench_support
