#include "frame_parser.h"

#include <algorithm>

namespace filtersim {
namespace {

constexpr uint16_t kCustomerTag = 0x8100;
constexpr uint16_t kServiceTag = 0x88a8;
constexpr uint16_t kIpv4 = 0x0800;
constexpr uint16_t kIpv6 = 0x86dd;
constexpr uint8_t kTcp = 6;
constexpr uint8_t kUdp = 17;
constexpr size_t kIpv4MinHeader = 20;
constexpr size_t kIpv6Header = 40;

// The captured bytes of one header and what follows it; every read is checked against them.
struct Bytes {
  const uint8_t* data;
  size_t size;

  bool has(size_t at, size_t count) const { return at <= size && count <= size - at; }
  uint8_t u8(size_t at) const { return data[at]; }
  uint16_t be16(size_t at) const { return static_cast<uint16_t>(data[at] << 8 | data[at + 1]); }
  uint32_t be32(size_t at) const { return uint32_t{be16(at)} << 16 | be16(at + 2); }
  Bytes from(size_t at) const { return at <= size ? Bytes{data + at, size - at} : Bytes{data, 0}; }
  Bytes upTo(size_t end) const { return Bytes{data, std::min(size, end)}; }
};

void parseL4(Bytes l4, uint8_t protocol, bcmsim::Packet& packet) {
  if (protocol != kTcp && protocol != kUdp) return;
  if (l4.has(0, 2)) packet.l4_src_port = l4.be16(0);
  if (l4.has(2, 2)) packet.l4_dst_port = l4.be16(2);
}

// Whether the header's version nibble is `version`: a parser goes no further into another one.
bool versionIs(Bytes ip, unsigned version) {
  return ip.has(0, 1) && ip.u8(0) >> 4 == version;
}

void parseIpv4(Bytes ip, bcmsim::Packet& packet) {
  if (!versionIs(ip, 4)) return;
  if (ip.has(1, 1)) packet.dscp = static_cast<uint8_t>(ip.u8(1) >> 2);
  if (ip.has(8, 1)) packet.ttl = ip.u8(8);
  if (ip.has(9, 1)) packet.ip_protocol = ip.u8(9);
  if (ip.has(12, 4)) packet.src_ip = ip.be32(12);
  if (ip.has(16, 4)) packet.dst_ip = ip.be32(16);
  if (!ip.has(0, kIpv4MinHeader)) return;
  const size_t header = size_t{ip.u8(0) & 0x0fu} * 4;
  const bool later_fragment = (ip.be16(6) & 0x1fff) != 0;  // no L4 header in it
  // The datagram ends at its total length: what follows is the frame's padding.
  const Bytes datagram = ip.upTo(ip.be16(2));
  if (header >= kIpv4MinHeader && !later_fragment) {
    parseL4(datagram.from(header), packet.ip_protocol, packet);
  }
}

void parseIpv6(Bytes ip, bcmsim::Packet& packet) {
  if (!versionIs(ip, 6)) return;
  if (ip.has(0, 2)) packet.dscp = static_cast<uint8_t>((ip.be16(0) >> 6) & 0x3f);
  if (ip.has(6, 1)) packet.ip_protocol = ip.u8(6);
  if (ip.has(7, 1)) packet.ttl = ip.u8(7);
  if (ip.has(24, 16)) std::copy_n(ip.data + 24, 16, packet.dst_ip6.begin());
  if (ip.has(0, kIpv6Header)) parseL4(ip.from(kIpv6Header), packet.ip_protocol, packet);
}

bool isTag(uint16_t type) {
  return type == kCustomerTag || type == kServiceTag;
}

}  // namespace

void parseFrame(const uint8_t* frame, size_t captured, bcmsim::Packet& packet) {
  const Bytes bytes{frame, captured};
  if (bytes.has(0, 6)) std::copy_n(frame, 6, packet.dst_mac.begin());
  if (bytes.has(6, 6)) std::copy_n(frame + 6, 6, packet.src_mac.begin());
  size_t at = 12;
  if (!bytes.has(at, 2)) return;
  uint16_t type = bytes.be16(at);
  std::optional<uint16_t>* vlans[] = {&packet.outer_vlan, &packet.inner_vlan};
  uint8_t* pcps[] = {&packet.outer_pcp, &packet.inner_pcp};
  for (size_t tag = 0; tag < 2 && isTag(type) && bytes.has(at, 6); ++tag) {
    const uint16_t control = bytes.be16(at + 2);
    *vlans[tag] = static_cast<uint16_t>(control & 0x0fff);
    *pcps[tag] = static_cast<uint8_t>(control >> 13);
    at += 4;
    type = bytes.be16(at);
  }
  packet.ether_type = type;
  at += 2;
  if (type == kIpv4) parseIpv4(bytes.from(at), packet);
  if (type == kIpv6) parseIpv6(bytes.from(at), packet);
}

uint32_t frameLength(uint32_t wire, size_t captured) {
  return wire >= captured ? wire : static_cast<uint32_t>(std::min<size_t>(captured, UINT32_MAX));
}

}  // namespace filtersim
