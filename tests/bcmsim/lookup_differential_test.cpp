// The compiled lookup against the plain one: random groups of random entries, packets drawn to
// hit an entry, to miss it by one bit or one port, or at random; both lookups must give the same
// hits for every packet. FILTERS_LOOKUP_PACKETS sets how many packets (the soak sends millions).
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include <bcm/field.h>

#include <bcmsim/classify.h>
#include <bcmsim/device.h>
#include <bcmsim/json.h>

#include "support/sdk_builders.h"

namespace {

using bcmsim::Packet;
using Rng = std::mt19937_64;

uint32_t bits(Rng& rng, int width) {
  return static_cast<uint32_t>(rng()) & (width == 32 ? 0xffffffffu : (1u << width) - 1);
}

// A mask of the kinds entries use: a prefix, a few random bits, everything, or nothing.
uint32_t mask(Rng& rng, int width) {
  const uint32_t all = width == 32 ? 0xffffffffu : (1u << width) - 1;
  switch (rng() % 4) {
    case 0: {
      const int length = static_cast<int>(rng() % (width + 1));
      return length == 0 ? 0 : all & ~((uint32_t{1} << (width - length)) - 1) & all;
    }
    case 1:
      return bits(rng, width) & bits(rng, width);
    case 2:
      return all;
    default:
      return 0;
  }
}

// A value the mask lets `data` match: its masked bits, random elsewhere.
uint32_t matching(Rng& rng, uint32_t data, uint32_t mask, int width) {
  return (data & mask) | (bits(rng, width) & ~mask);
}

// One qualifier the test draws entries of: it qualifies the entry at random and sets the fields
// of a packet that matches what it drew.
struct Qualifier {
  const char* kind;  // "masked", "port bitmap", "IpType", "IpProtocolCommon"
  int qualifier;
  int (*qualify)(int entry, Rng& rng, Packet& witness);
};

const std::vector<Qualifier>& qualifiers() {
  static const std::vector<Qualifier> table = {
      {"masked", bcmFieldQualifySrcIp,
       [](int e, Rng& rng, Packet& p) {
         const uint32_t data = bits(rng, 32), m = mask(rng, 32);
         p.src_ip = matching(rng, data, m, 32);
         return bcm_field_qualify_SrcIp(0, e, data, m);
       }},
      {"masked", bcmFieldQualifyDstIp,
       [](int e, Rng& rng, Packet& p) {
         const uint32_t data = bits(rng, 32), m = mask(rng, 32);
         p.dst_ip = matching(rng, data, m, 32);
         return bcm_field_qualify_DstIp(0, e, data, m);
       }},
      {"masked", bcmFieldQualifyL4DstPort,
       [](int e, Rng& rng, Packet& p) {
         const uint32_t data = bits(rng, 16), m = mask(rng, 16);
         p.l4_dst_port = static_cast<uint16_t>(matching(rng, data, m, 16));
         return bcm_field_qualify_L4DstPort(0, e, static_cast<int>(data), static_cast<int>(m));
       }},
      {"masked", bcmFieldQualifyIpProtocol,
       [](int e, Rng& rng, Packet& p) {
         const uint32_t data = bits(rng, 8), m = mask(rng, 8);
         p.ip_protocol = static_cast<uint8_t>(matching(rng, data, m, 8));
         return bcm_field_qualify_IpProtocol(0, e, static_cast<uint8_t>(data),
                                             static_cast<uint8_t>(m));
       }},
      {"masked", bcmFieldQualifyOuterVlanId,
       [](int e, Rng& rng, Packet& p) {
         const uint32_t data = bits(rng, 12), m = mask(rng, 12);
         p.outer_vlan = static_cast<uint16_t>(matching(rng, data, m, 12));
         return bcm_field_qualify_OuterVlanId(0, e, static_cast<bcm_vlan_t>(data),
                                              static_cast<bcm_vlan_t>(m));
       }},
      {"masked", bcmFieldQualifyDstMac,
       [](int e, Rng& rng, Packet& p) {
         bcm_mac_t data, m;
         for (size_t k = 0; k < 6; ++k) {
           data[k] = static_cast<uint8_t>(bits(rng, 8));
           m[k] = static_cast<uint8_t>(k < 3 ? 0xff : mask(rng, 8));
           p.dst_mac[k] = static_cast<uint8_t>(matching(rng, data[k], m[k], 8));
         }
         return bcm_field_qualify_DstMac(0, e, data, m);
       }},
      {"masked", bcmFieldQualifyDstIp6,
       [](int e, Rng& rng, Packet& p) {
         bcm_ip6_t data, m;
         const int length = static_cast<int>(rng() % 129);
         for (int k = 0; k < 16; ++k) {
           data[k] = static_cast<uint8_t>(bits(rng, 8));
           const int left = std::max(0, std::min(8, length - 8 * k));
           m[k] = static_cast<uint8_t>(left == 0 ? 0 : 0xff << (8 - left));
           p.dst_ip6[static_cast<size_t>(k)] = static_cast<uint8_t>(matching(rng, data[k], m[k], 8));
         }
         return bcm_field_qualify_DstIp6(0, e, data, m);
       }},
      {"port bitmap", bcmFieldQualifyInPorts,
       [](int e, Rng& rng, Packet& p) {
         bcm_pbmp_t data, m;
         BCM_PBMP_CLEAR(data);
         BCM_PBMP_CLEAR(m);
         for (int port = 0; port < 40; ++port) {
           if (rng() % 2) BCM_PBMP_PORT_ADD(m, port);
           if (rng() % 3 == 0) BCM_PBMP_PORT_ADD(data, port);
         }
         p.in_port = static_cast<int>(rng() % 40);
         return bcm_field_qualify_InPorts(0, e, data, m);
       }},
      {"IpType", bcmFieldQualifyIpType,
       [](int e, Rng& rng, Packet& p) {
         static const std::pair<bcm_field_IpType_t, uint16_t> kTypes[] = {
             {bcmFieldIpTypeAny, 0x0800},   {bcmFieldIpTypeNonIp, 0x88b5},
             {bcmFieldIpTypeIpv4Any, 0x0800}, {bcmFieldIpTypeIpv6, 0x86dd},
             {bcmFieldIpTypeIp, 0x86dd},    {bcmFieldIpTypeArp, 0x0806}};
         const auto& [type, ether_type] = kTypes[rng() % std::size(kTypes)];
         p.ether_type = ether_type;
         return bcm_field_qualify_IpType(0, e, type);
       }},
      {"IpProtocolCommon", bcmFieldQualifyIpProtocolCommon,
       [](int e, Rng& rng, Packet& p) {
         static const std::pair<bcm_field_IpProtocolCommon_t, uint8_t> kProtocols[] = {
             {bcmFieldIpProtocolCommonTcp, 6}, {bcmFieldIpProtocolCommonUdp, 17},
             {bcmFieldIpProtocolCommonIcmp, 1}, {bcmFieldIpProtocolCommonTcpUdp, 17}};
         const auto& [protocol, number] = kProtocols[rng() % std::size(kProtocols)];
         p.ip_protocol = number;
         return bcm_field_qualify_IpProtocolCommon(0, e, protocol);
       }},
  };
  return table;
}

struct Entry {
  int id;
  std::vector<const Qualifier*> qualifiers;
  Packet witness;  // a packet it matches, unless its qualifiers contradict one another
};

// Random groups of random entries, installed at random priorities.
std::vector<Entry> installGroups(Rng& rng, int groups) {
  std::vector<Entry> entries;
  int next_entry = 1;
  for (int group = 1; group <= groups; ++group) {
    // Groups take turns at pre-ingress, which has no port bitmap, and at ingress, which has no
    // IP protocol class; three of them at most in the four slices of pre-ingress, one each.
    const bool pre_ingress = group % 2 == 1;
    const int unavailable = pre_ingress ? bcmFieldQualifyInPorts : bcmFieldQualifyIpProtocolCommon;
    std::vector<const Qualifier*> chosen;
    for (const Qualifier& q : qualifiers()) {
      if (q.qualifier != unavailable && rng() % 2) chosen.push_back(&q);
    }
    bcm_field_group_config_t config;
    bcm_field_group_config_t_init(&config);
    config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID;
    config.group = group;
    config.priority = static_cast<int>(rng() % 8);
    BCM_FIELD_QSET_ADD(config.qset,
                       pre_ingress ? bcmFieldQualifyStageLookup : bcmFieldQualifyStageIngress);
    for (const Qualifier* q : chosen) BCM_FIELD_QSET_ADD(config.qset, q->qualifier);
    EXPECT_EQ(bcm_field_group_config_create(0, &config), 0);
    // Half the groups are small: few values of each byte let one of their entries match, so
    // that a stage's filter passes over them for most packets.
    const int most = rng() % 2 ? 8 : pre_ingress ? 256 : 400;
    const int count = 1 + static_cast<int>(rng() % static_cast<unsigned>(most));
    for (int k = 0; k < count; ++k) {
      Entry entry{next_entry++, {}, {}};
      EXPECT_EQ(bcm_field_entry_create_id(0, group, entry.id), 0);
      for (const Qualifier* q : chosen) {
        if (rng() % 3 == 0) continue;
        EXPECT_EQ(q->qualify(entry.id, rng, entry.witness), 0) << q->kind;
        entry.qualifiers.push_back(q);
      }
      EXPECT_EQ(bcm_field_entry_prio_set(0, entry.id, static_cast<int>(rng() % 16)), 0);
      EXPECT_EQ(bcm_field_entry_install(0, entry.id), 0);
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

// One packet: an entry's witness, the same with one bit or the port changed, or noise.
Packet drawPacket(Rng& rng, const std::vector<Entry>& entries) {
  Packet packet = entries[rng() % entries.size()].witness;
  switch (rng() % 4) {
    case 0:
      packet.src_ip ^= uint32_t{1} << (rng() % 32);
      break;
    case 1:
      packet.l4_dst_port ^= static_cast<uint16_t>(1u << (rng() % 16));
      packet.in_port = static_cast<int>(rng() % 48);
      break;
    case 2:
      packet.src_ip = static_cast<uint32_t>(rng());
      packet.dst_ip = static_cast<uint32_t>(rng());
      packet.ip_protocol = static_cast<uint8_t>(rng());
      packet.ether_type = rng() % 2 ? 0x0800 : 0x86dd;
      break;
    default:
      break;  // the witness itself
  }
  return packet;
}

std::vector<std::pair<int, int>> hits(const Packet& packet, bcmsim::LookupMethod lookup) {
  bcmsim::set_lookup_method(lookup);
  std::vector<std::pair<int, int>> out;
  for (const bcmsim::Hit& hit : bcmsim::classify(packet).hits) out.push_back({hit.group, hit.entry});
  return out;
}

std::string packetText(const Packet& p) {
  std::ostringstream text;
  text << "in_port " << p.in_port << " ether_type " << std::hex << p.ether_type << " src_ip "
       << p.src_ip << " dst_ip " << p.dst_ip << " protocol " << int{p.ip_protocol} << " l4_dst "
       << p.l4_dst_port << " vlan " << (p.outer_vlan ? *p.outer_vlan : 0xffff) << std::dec;
  return text.str();
}

size_t packetsToSend() {
  const char* text = std::getenv("FILTERS_LOOKUP_PACKETS");
  return text ? std::strtoull(text, nullptr, 10) : 60000;
}

TEST(CompiledLookup, AgreesWithThePlainLookupOnEveryPacket) {
  const size_t total = packetsToSend();
  // A round of groups for every 3,000 packets, 20 at least.
  const size_t kRounds = std::max<size_t>(20, total / 3000);
  std::map<std::string, size_t> decided_by;  // packets whose hit holds a qualifier of each kind
  size_t groups = 0, entries_installed = 0, hitting = 0, mismatches = 0;
  for (size_t round = 0; round < kRounds; ++round) {
    Rng rng(round);
    bcmsim::reset();
    const int group_count = 1 + static_cast<int>(rng() % 6);
    std::vector<Entry> entries = installGroups(rng, group_count);
    groups += static_cast<size_t>(group_count);
    entries_installed += entries.size();
    std::map<int, const Entry*> by_id;
    for (const Entry& entry : entries) by_id[entry.id] = &entry;
    for (size_t k = 0; k < total / kRounds; ++k) {
      // Halfway, some entries go: each lookup is built again for what is left.
      if (k == total / kRounds / 2) {
        for (const Entry& entry : entries) {
          if (rng() % 4 == 0) {
            ASSERT_EQ(bcm_field_entry_remove(0, entry.id), 0);
          }
        }
      }
      const Packet packet = drawPacket(rng, entries);
      const auto plain = hits(packet, bcmsim::LookupMethod::Plain);
      const auto compiled = hits(packet, bcmsim::LookupMethod::Compiled);
      if (plain != compiled && ++mismatches <= 3) {
        ADD_FAILURE() << "round " << round << ", packet " << packetText(packet)
                      << ": the lookups differ\n"
                      << bcmsim::dump_json();
      }
      hitting += !plain.empty();
      for (const auto& [group, entry] : plain) {
        for (const Qualifier* q : by_id.at(entry)->qualifiers) ++decided_by[q->kind];
      }
    }
  }
  bcmsim::set_lookup_method(bcmsim::LookupMethod::Compiled);
  std::cout << "compiled lookup against plain: " << groups << " groups, " << entries_installed
            << " entries, " << total << " packets (" << hitting << " hitting), " << mismatches
            << " mismatches; hits decided by a qualifier of kind:";
  for (const auto& [kind, count] : decided_by) std::cout << " " << kind << " " << count << ";";
  std::cout << "\n";
  EXPECT_EQ(mismatches, 0u);
  for (const char* kind : {"masked", "port bitmap", "IpType", "IpProtocolCommon"}) {
    EXPECT_GT(decided_by[kind], total / 100) << kind << " decides too few hits to be tested";
  }
}

// A stage's filter covers its first 64 groups; the others are looked up for every packet. Each
// of 70 groups holds one entry for its own destination, and every group's packet hits it alone.
TEST(CompiledLookup, GroupsBeyondTheStageFilterAreLookedUp) {
  constexpr int kGroups = 70;
  bcmsim::Config config;
  config.slices[static_cast<size_t>(bcmsim::Stage::Ingress)] = bcmsim::Config::equal_slices(kGroups, 16);
  bcmsim::reset(config);
  for (int group = 1; group <= kGroups; ++group) {
    bcm_field_group_config_t group_config;
    bcm_field_group_config_t_init(&group_config);
    group_config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID;
    group_config.group = group;
    group_config.priority = group;
    BCM_FIELD_QSET_ADD(group_config.qset, bcmFieldQualifyStageIngress);
    BCM_FIELD_QSET_ADD(group_config.qset, bcmFieldQualifyDstIp);
    ASSERT_EQ(bcm_field_group_config_create(0, &group_config), 0) << group;
    ASSERT_EQ(bcm_field_entry_create_id(0, group, group), 0);
    ASSERT_EQ(bcm_field_qualify_DstIp(0, group, 0x0a000000u + static_cast<uint32_t>(group), ~0u), 0);
    ASSERT_EQ(bcm_field_entry_install(0, group), 0);
  }
  for (int group = 1; group <= kGroups; ++group) {
    Packet packet;
    packet.dst_ip = 0x0a000000u + static_cast<uint32_t>(group);
    const std::vector<std::pair<int, int>> expected{{group, group}};
    EXPECT_EQ(hits(packet, bcmsim::LookupMethod::Compiled), expected);
    EXPECT_EQ(hits(packet, bcmsim::LookupMethod::Plain), expected);
  }
  bcmsim::set_lookup_method(bcmsim::LookupMethod::Compiled);
  bcmsim::reset();
}

}  // namespace
