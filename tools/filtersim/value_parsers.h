// Addresses and masked values written as text in scenarios.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace filtersim {

using MacAddress = std::array<unsigned char, 6>;
using Ipv6Address = std::array<unsigned char, 16>;

template <class T>
struct Masked {
  T value;
  T mask;
};

// "00:11:22:33:44:55"
std::optional<MacAddress> parseMac(const std::string& text);
// "00:11:22:33:44:55" (all ones mask) or "00:11:22:33:44:55/ff:ff:ff:00:00:00"
std::optional<Masked<MacAddress>> parseMaskedMac(const std::string& text);
// "10.0.0.1" (host order)
std::optional<uint32_t> parseIpv4(const std::string& text);
// "10.0.0.0/8", "10.0.0.0/255.0.0.0" or "10.0.0.1" (all ones mask)
std::optional<Masked<uint32_t>> parseIpv4Prefix(const std::string& text);
// "2001:db8::1" or "2001:db8::/32"
std::optional<Masked<Ipv6Address>> parseIpv6Prefix(const std::string& text);
std::optional<Ipv6Address> parseIpv6(const std::string& text);
// "80" (mask 0xffff) or "1024/0xfc00"
std::optional<Masked<uint16_t>> parseMaskedPort(const std::string& text);
// "icmp", "igmp", "tcp", "udp" or "icmpv6" as its IP protocol number; nullopt for other texts.
std::optional<uint8_t> ipProtocolOfName(const std::string& name);

}  // namespace filtersim
