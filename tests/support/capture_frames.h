// Ethernet frames built field by field, and captures written through libpcap's dump functions,
// for tests and benchmarks of capture replay.
#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <pcap/pcap.h>

namespace capture_frames {

using Mac = std::array<uint8_t, 6>;
using Ipv6 = std::array<uint8_t, 16>;

constexpr uint8_t kIcmp = 1;
constexpr uint8_t kTcp = 6;
constexpr uint8_t kUdp = 17;
constexpr uint8_t kIcmpv6 = 58;
// 2001:db8::1, an address for documentation.
constexpr Ipv6 kDocumentationHost = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

class Frame {
 public:
  Frame& macs(const Mac& dst, const Mac& src) {
    dst_ = dst;
    src_ = src;
    return *this;
  }
  Frame& tag(uint16_t tpid, uint16_t vlan, uint8_t pcp) {
    tags_.push_back({tpid, static_cast<uint16_t>(pcp << 13 | vlan)});
    return *this;
  }
  Frame& etherType(uint16_t type) {
    type_ = type;
    return *this;
  }
  Frame& ipv4(uint32_t src, uint32_t dst, uint8_t protocol, uint8_t dscp = 0, uint8_t ttl = 64) {
    type_ = 0x0800;
    ip_ = {0x45, static_cast<uint8_t>(dscp << 2), 0, 0, 0, 0, 0, 0, ttl, protocol, 0, 0};
    put32(ip_, src);
    put32(ip_, dst);
    protocol_ = protocol;
    return *this;
  }
  Frame& ipv6(const Ipv6& dst, uint8_t next_header, uint8_t dscp = 0, uint8_t hop_limit = 64) {
    type_ = 0x86dd;
    const uint16_t first = static_cast<uint16_t>(0x6000 | dscp << 6);
    ip_ = {static_cast<uint8_t>(first >> 8),
           static_cast<uint8_t>(first),
           0,
           0,
           0,
           0,
           next_header,
           hop_limit};
    ip_.resize(24);  // the source address stays zero
    ip_.insert(ip_.end(), dst.begin(), dst.end());
    protocol_ = next_header;
    return *this;
  }
  // TCP or UDP ports (after an IP header), or the first bytes of another L4 header.
  Frame& l4(std::vector<uint8_t> header) {
    l4_ = std::move(header);
    return *this;
  }
  // Replaces byte `at` of the IP header, after the lengths are filled in (a version nibble, an
  // IPv4 total length).
  Frame& ipByte(size_t at, uint8_t value) {
    ip_bytes_.push_back({at, value});
    return *this;
  }
  Frame& ports(uint16_t src, uint16_t dst) {
    l4_ = {};
    put16(l4_, src);
    put16(l4_, dst);
    l4_.resize(protocol_ == kTcp ? 20 : 8);
    return *this;
  }

  std::vector<uint8_t> bytes() const {
    std::vector<uint8_t> out(dst_.begin(), dst_.end());
    out.insert(out.end(), src_.begin(), src_.end());
    for (const auto& [tpid, control] : tags_) {
      put16(out, tpid);
      put16(out, control);
    }
    put16(out, type_);
    std::vector<uint8_t> ip = ip_;
    // The IPv4 total length, or the IPv6 payload length.
    const size_t length_at = type_ == 0x0800 ? 2 : 4;
    const size_t length = type_ == 0x0800 ? ip.size() + l4_.size() : l4_.size();
    if (ip.size() > length_at + 1) {
      ip[length_at] = static_cast<uint8_t>(length >> 8);
      ip[length_at + 1] = static_cast<uint8_t>(length);
    }
    for (const auto& [at, value] : ip_bytes_) ip.at(at) = value;
    out.insert(out.end(), ip.begin(), ip.end());
    out.insert(out.end(), l4_.begin(), l4_.end());
    if (out.size() < 60) out.resize(60);  // padded to the minimum frame, without the FCS
    return out;
  }

 private:
  static void put16(std::vector<uint8_t>& out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
  }
  static void put32(std::vector<uint8_t>& out, uint32_t value) {
    put16(out, static_cast<uint16_t>(value >> 16));
    put16(out, static_cast<uint16_t>(value));
  }

  Mac dst_{2, 0, 0, 0, 0, 2};
  Mac src_{2, 0, 0, 0, 0, 1};
  std::vector<std::pair<uint16_t, uint16_t>> tags_;
  uint16_t type_ = 0x0800;
  uint8_t protocol_ = 0;
  std::vector<uint8_t> ip_;
  std::vector<uint8_t> l4_;
  std::vector<std::pair<size_t, uint8_t>> ip_bytes_;
};

// A capture file written frame by frame, with nanosecond timestamps.
class CaptureWriter {
 public:
  explicit CaptureWriter(const std::string& path, int link_type = DLT_EN10MB)
      : dead_(pcap_open_dead_with_tstamp_precision(link_type, 65535, PCAP_TSTAMP_PRECISION_NANO)),
        dump_(pcap_dump_open(dead_, path.c_str())) {
    if (!dump_) throw std::runtime_error(pcap_geterr(dead_));
  }
  ~CaptureWriter() {
    pcap_dump_close(dump_);
    pcap_close(dead_);
  }
  CaptureWriter(const CaptureWriter&) = delete;
  CaptureWriter& operator=(const CaptureWriter&) = delete;

  // The first `captured` bytes of `frame` (all by default), recorded as `length` bytes long on the
  // wire (its size by default, or 0 with `wire_zero`).
  void write(const std::vector<uint8_t>& frame, uint64_t time_ns, size_t captured = SIZE_MAX,
             uint32_t length = 0, bool wire_zero = false) {
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<time_t>(time_ns / 1000000000u);
    header.ts.tv_usec = static_cast<suseconds_t>(time_ns % 1000000000u);  // nanoseconds here
    header.caplen = static_cast<bpf_u_int32>(std::min(captured, frame.size()));
    header.len = length || wire_zero ? length : static_cast<bpf_u_int32>(frame.size());
    pcap_dump(reinterpret_cast<u_char*>(dump_), &header, frame.data());
  }

 private:
  pcap_t* dead_;
  pcap_dumper_t* dump_;
};

}  // namespace capture_frames
