// Packet classification: what the installed field entries do with a test packet.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <bcmsim/state.h>

namespace bcmsim {

enum class Color { Green, Yellow, Red };

// How classification finds a group's entry for a packet: by the group's compiled tables (the
// default), or by the plain search that tests entries one by one, which they are checked against.
enum class LookupMethod { Compiled, Plain };
void set_lookup_method(LookupMethod method);

using Mac = std::array<uint8_t, 6>;

// A test packet: its headers and what the switching pipeline decided before the field processor
// saw it. IP type, VLAN format and internal priority are derived from the headers unless given.
struct Packet {
  int in_port = 1;  // local port it arrives on
  int src_module = 0;
  int out_port = -1;  // port the switching logic sends it to (-1: none yet)
  Mac src_mac{};
  Mac dst_mac{};
  std::optional<uint16_t> outer_vlan;  // tagged when set
  uint8_t outer_pcp = 0;
  std::optional<uint16_t> inner_vlan;
  uint8_t inner_pcp = 0;
  uint16_t ether_type = 0x0800;
  uint32_t src_ip = 0;
  uint32_t dst_ip = 0;
  std::array<uint8_t, 16> dst_ip6{};
  uint8_t ip_protocol = 0;
  uint8_t dscp = 0;
  uint8_t ttl = 64;
  uint16_t l4_src_port = 0;
  uint16_t l4_dst_port = 0;
  uint32_t length = 64;  // bytes, for byte counters

  // Pipeline facts no header carries.
  uint32_t packet_res = 0;
  uint8_t stp_state = 4;  // BCM_STG_STP_FORWARD
  uint32_t forwarding_type = 0;
  uint32_t vrf = 0;
  bool l3_routable = false;
  bool my_station_hit = false;
  bool drop = false;
  bool l2_src_static = false;
  bool mpls_terminated = false;
  uint32_t interface_class = 0;
  int src_gport = 0;                    // the virtual port it arrives on
  std::optional<uint8_t> int_priority;  // default: the outer PCP
  Color color = Color::Green;           // the meter's colour, when not metered
  // When set, the packet arrives at this time (nanoseconds from a fixed origin, never decreasing
  // from one packet to the next) and the policers of the entries it hits meter it: the colour
  // they give replaces `color` for that entry's per-colour actions and statistics.
  std::optional<uint64_t> arrival_ns;

  bool is_ipv4() const { return ether_type == 0x0800; }
  bool is_ipv6() const { return ether_type == 0x86DD; }
};

// The entry a packet hit in one group.
struct Hit {
  Stage stage;
  int group;
  int entry;
  std::optional<Color> metered;  // the colour the entry's policers gave a metered packet
  std::array<std::optional<Color>, kPolicerLevels> levels{};  // each level's policer's own
};

struct Verdict {
  bool drop = false;
  bool copy_to_cpu = false;
  std::vector<int> redirect_ports;  // in order
  Words blocked_ports{};            // egress ports masked off
  std::optional<int> l3_egress;     // egress object the packet is switched to
  std::optional<int> pcp;
  std::optional<int> inner_pcp;
  std::optional<int> dscp;
  std::optional<int> internal_priority;
  std::optional<int> cos_queue;
  std::optional<int> cpu_cos_queue;
  std::optional<Mac> src_mac;
  std::optional<Mac> dst_mac;
  std::optional<int> vlan;
  std::optional<int> mpls_port;

  // "dropped", "redirected", "l3-switched" or "forwarded".
  std::string outcome() const;
  // The outcome and every change, e.g. "forwarded, copy to CPU, pcp 5".
  std::string text() const;
};

struct Classification {
  std::vector<Hit> hits;  // by stage, then group priority (highest first)
  Verdict verdict;
};

// The entry each group finds for a packet, before any meter, action or counter: per stage, by
// group priority (highest first).
struct GroupMatch {
  const Group* group;
  const Entry* entry;
  // The statistics object the entry's hardware counts for, when the lookup knows it (the
  // compiled one does); apply() finds it otherwise.
  Stat* counter = nullptr;
};
struct Matches {
  std::array<std::vector<GroupMatch>, kStageCount> stages;
};

// Walks the stages in order (pre-ingress, ingress, then egress unless the packet is dropped by
// then). In every group the installed entry of highest priority whose qualifiers all match hits;
// across groups of a stage the group of higher priority wins a conflict. The packet is counted
// on the statistics of every entry it hits. The same as match() then apply().
Classification classify(const Packet& packet);

// Builds the lookup of every group changed since it was last built. While no SDK call changes
// the device after it, match() may run on several threads at once, and beside one thread's
// apply(): the meters and counters apply() changes are nothing match() reads.
void prepare_lookups();
// Bytes the compiled lookups built so far take.
size_t compiled_lookup_bytes();
// Looks the packet up in every group of every stage, into `matches` (whose room is kept);
// changes nothing. The lookups must be prepared.
void match(const Packet& packet, Matches& matches);
// Meters, applies and counts what match() found, stage by stage, as classify() does: packets
// applied in the order they arrive.
Classification apply(const Packet& packet, const Matches& matches);

}  // namespace bcmsim
