// Captured frames parse into the packet fields classification matches on, and a truncated frame
// gives what it holds without a read past its end.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame_parser.h"
#include "packet_fields.h"
#include "support/capture_frames.h"

namespace {

using capture_frames::Frame;
using capture_frames::kDocumentationHost;

constexpr size_t kWhole = SIZE_MAX;

struct Row {
  const char* name;
  std::vector<uint8_t> frame;
  size_t captured;                  // bytes given to the parser (kWhole: all)
  std::vector<std::string> fields;  // "name value" as the report writes them
  std::vector<std::string> absent;  // field names the packet must not have
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

std::vector<std::string> fieldsOf(const bcmsim::Packet& packet) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : filtersim::packetFields(packet))
    texts.push_back(name + " " + value);
  return texts;
}

class FrameParser : public ::testing::TestWithParam<Row> {};

TEST_P(FrameParser, GivesTheHeaderFields) {
  const Row& row = GetParam();
  // An exactly sized copy: a read past the captured bytes is a heap overflow under ASan.
  const size_t size = std::min(row.captured, row.frame.size());
  const std::vector<uint8_t> captured(row.frame.begin(),
                                      row.frame.begin() + static_cast<long>(size));
  bcmsim::Packet packet;
  packet.ether_type = 0;
  packet.ttl = 0;
  filtersim::parseFrame(captured.data(), captured.size(), packet);
  const std::vector<std::string> fields = fieldsOf(packet);
  for (const std::string& field : row.fields) {
    EXPECT_NE(std::find(fields.begin(), fields.end(), field), fields.end())
        << field << " not among " << ::testing::PrintToString(fields);
  }
  for (const std::string& name : row.absent) {
    for (const std::string& field : fields) EXPECT_NE(field.rfind(name + " ", 0), 0u) << field;
  }
}

std::vector<uint8_t> tcpOverIpv4() {
  return Frame().ipv4(0x0a000001, 0x0a000002, capture_frames::kTcp, 46, 63).ports(1234, 80).bytes();
}

std::vector<uint8_t> doubleTagged() {
  return Frame().tag(0x88a8, 100, 6).tag(0x8100, 200, 3).ipv4(1, 2, capture_frames::kTcp).ports(22, 23).bytes();
}

// UDP 5353 -> 53 over IPv4 from 0.0.0.1 to 0.0.0.2 whose total length says `total` bytes.
std::vector<uint8_t> udpTotalLength(uint16_t total) {
  return Frame()
      .ipv4(1, 2, capture_frames::kUdp)
      .ipByte(2, static_cast<uint8_t>(total >> 8))
      .ipByte(3, static_cast<uint8_t>(total))
      .ports(5353, 53)
      .bytes();
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, FrameParser,
    ::testing::Values(
        Row{"UntaggedTcp", tcpOverIpv4(), kWhole,
            {"dst_mac 02:00:00:00:00:02", "src_mac 02:00:00:00:00:01", "ether_type 0x0800", "src_ip 10.0.0.1",
             "dst_ip 10.0.0.2", "protocol 6", "dscp 46", "ttl 63", "src_port 1234", "dst_port 80"},
            {"vlan", "inner_vlan"}},
        Row{"CustomerTaggedUdp", Frame().tag(0x8100, 10, 5).ipv4(0xc0000201, 0xc0000202, capture_frames::kUdp).ports(5353, 53).bytes(), kWhole,
            {"vlan 10", "pcp 5", "ether_type 0x0800", "protocol 17", "src_port 5353", "dst_port 53"}, {"inner_vlan"}},
        Row{"DoubleTagged", doubleTagged(), kWhole,
            {"vlan 100", "pcp 6", "inner_vlan 200", "inner_pcp 3", "ether_type 0x0800", "src_port 22", "dst_port 23"}, {}},
        Row{"IcmpHasNoPorts", Frame().ipv4(1, 2, capture_frames::kIcmp).l4({8, 0, 0x12, 0x34}).bytes(), kWhole,
            {"protocol 1", "src_port 0", "dst_port 0"}, {}},
        Row{"Ipv6Udp", Frame().ipv6(kDocumentationHost, capture_frames::kUdp, 34, 5).ports(4000, 443).bytes(), kWhole,
            {"ether_type 0x86dd", "dst_ipv6 2001:db8::1", "protocol 17", "dscp 34", "ttl 5", "src_port 4000", "dst_port 443"},
            {"src_ip"}},
        Row{"Icmpv6", Frame().ipv6(kDocumentationHost, capture_frames::kIcmpv6).l4({128, 0, 0, 0}).bytes(), kWhole,
            {"protocol 58", "src_port 0", "dst_port 0"}, {}},
        Row{"CutInsideTheIpv4Header", tcpOverIpv4(), 14 + 14,
            {"ether_type 0x0800", "protocol 6", "ttl 63", "src_ip 0.0.0.0", "src_port 0"}, {}},
        Row{"CutInsideTheSourcePort", tcpOverIpv4(), 14 + 20 + 1, {"dst_ip 10.0.0.2", "src_port 0"}, {}},
        Row{"CutInsideATag", Frame().tag(0x8100, 10, 5).bytes(), 15, {"ether_type 0x8100"}, {"vlan", "src_ip"}},
        Row{"ShorterThanTheAddresses", tcpOverIpv4(), 8, {"src_mac 00:00:00:00:00:00"}, {"src_ip"}},
        // The total length ends the datagram: the bytes after it are padding, not ports.
        Row{"TotalLengthEndsBeforeThePorts", udpTotalLength(20), kWhole,
            {"dst_ip 0.0.0.2", "protocol 17", "src_port 0", "dst_port 0"}, {}},
        Row{"TotalLengthEndsAfterTheSourcePort", udpTotalLength(22), kWhole,
            {"src_port 5353", "dst_port 0"}, {}},
        Row{"TotalLengthPastTheCapture", udpTotalLength(1500), kWhole,
            {"src_port 5353", "dst_port 53"}, {}},
        // Another version than the Ethernet type's: nothing of L3 or L4 is read.
        Row{"Ipv4TypeVersion6", Frame().ipv4(1, 2, capture_frames::kUdp, 46, 63).ipByte(0, 0x65).ports(7, 8).bytes(), kWhole,
            {"ether_type 0x0800", "dst_ip 0.0.0.0", "protocol 0", "dscp 0", "ttl 0", "src_port 0", "dst_port 0"}, {}},
        Row{"Ipv6TypeVersion4", Frame().ipv6(kDocumentationHost, capture_frames::kUdp, 34).ipByte(0, 0x48).ports(7, 8).bytes(), kWhole,
            {"ether_type 0x86dd", "dst_ipv6 ::", "protocol 0", "dscp 0", "src_port 0"}, {}}));
// clang-format on

// The length metered and counted: the record's wire length, unless it is below the captured one.
TEST(FrameLength, IsTheWireLengthUnlessTheCapturedOneIsMore) {
  const struct {
    uint32_t wire;
    size_t captured;
    uint32_t length;
  } rows[] = {{1500, 60, 1500}, {64, 64, 64}, {0, 1000, 1000}, {60, 61, 61}, {65535, 0, 65535}};
  for (const auto& row : rows) {
    EXPECT_EQ(filtersim::frameLength(row.wire, row.captured), row.length)
        << row.wire << " on the wire, " << row.captured << " captured";
  }
}

// Every prefix of a frame with every header parses, and the whole frame gives the most fields.
TEST(FrameParserPrefixes, ParseWithinTheirBytes) {
  const std::vector<uint8_t> frame = Frame()
                                         .tag(0x88a8, 7, 1)
                                         .tag(0x8100, 8, 2)
                                         .ipv6(kDocumentationHost, capture_frames::kTcp)
                                         .ports(1, 2)
                                         .bytes();
  size_t most = 0;
  for (size_t size = 0; size <= frame.size(); ++size) {
    const std::vector<uint8_t> prefix(frame.begin(), frame.begin() + static_cast<long>(size));
    bcmsim::Packet packet;
    filtersim::parseFrame(prefix.data(), prefix.size(), packet);
    most = std::max(most, fieldsOf(packet).size());
  }
  bcmsim::Packet whole;
  filtersim::parseFrame(frame.data(), frame.size(), whole);
  EXPECT_EQ(fieldsOf(whole).size(), most);
  EXPECT_EQ(whole.l4_dst_port, 2);
}

}  // namespace
