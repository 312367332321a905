#include "value_parsers.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <map>

namespace filtersim {
namespace {

// Splits "value/mask" at the slash; the mask part is empty when there is none.
std::pair<std::string, std::string> splitMask(const std::string& text) {
  const size_t slash = text.find('/');
  if (slash == std::string::npos) return {text, ""};
  return {text.substr(0, slash), text.substr(slash + 1)};
}

std::optional<unsigned long> parseUnsigned(const std::string& text, unsigned long max) {
  if (text.empty()) return std::nullopt;
  char* end = nullptr;
  const unsigned long value = std::strtoul(text.c_str(), &end, 0);
  if (*end != '\0' || text[0] == '-' || value > max) return std::nullopt;
  return value;
}

}  // namespace

std::optional<MacAddress> parseMac(const std::string& text) {
  MacAddress mac;
  unsigned int bytes[6];
  char extra;
  if (std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &bytes[0], &bytes[1], &bytes[2],
                  &bytes[3], &bytes[4], &bytes[5], &extra) != 6 ||
      text.size() != 17) {
    return std::nullopt;
  }
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<unsigned char>(bytes[i]);
  return mac;
}

std::optional<Masked<MacAddress>> parseMaskedMac(const std::string& text) {
  const auto [value, mask] = splitMask(text);
  auto mac = parseMac(value);
  if (!mac) return std::nullopt;
  if (mask.empty()) return Masked<MacAddress>{*mac, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
  auto mac_mask = parseMac(mask);
  if (!mac_mask) return std::nullopt;
  return Masked<MacAddress>{*mac, *mac_mask};
}

std::optional<uint32_t> parseIpv4(const std::string& text) {
  in_addr address;
  if (inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::optional<Masked<uint32_t>> parseIpv4Prefix(const std::string& text) {
  const auto [value, mask] = splitMask(text);
  auto address = parseIpv4(value);
  if (!address) return std::nullopt;
  if (mask.empty()) return Masked<uint32_t>{*address, 0xffffffffu};
  if (mask.find('.') != std::string::npos) {
    auto dotted = parseIpv4(mask);
    if (!dotted) return std::nullopt;
    return Masked<uint32_t>{*address, *dotted};
  }
  auto length = parseUnsigned(mask, 32);
  if (!length) return std::nullopt;
  const uint32_t bits = *length == 0 ? 0 : 0xffffffffu << (32 - *length);
  return Masked<uint32_t>{*address, bits};
}

std::optional<Ipv6Address> parseIpv6(const std::string& text) {
  Ipv6Address address;
  if (inet_pton(AF_INET6, text.c_str(), address.data()) != 1) return std::nullopt;
  return address;
}

std::optional<Masked<Ipv6Address>> parseIpv6Prefix(const std::string& text) {
  const auto [value, mask] = splitMask(text);
  auto address = parseIpv6(value);
  if (!address) return std::nullopt;
  unsigned long length = 128;
  if (!mask.empty()) {
    auto parsed = parseUnsigned(mask, 128);
    if (!parsed) return std::nullopt;
    length = *parsed;
  }
  Ipv6Address bits{};
  for (unsigned long bit = 0; bit < length; ++bit) bits[bit / 8] |= 0x80 >> (bit % 8);
  return Masked<Ipv6Address>{*address, bits};
}

std::optional<Masked<uint16_t>> parseMaskedPort(const std::string& text) {
  const auto [value, mask] = splitMask(text);
  auto port = parseUnsigned(value, 0xffff);
  if (!port) return std::nullopt;
  unsigned long port_mask = 0xffff;
  if (!mask.empty()) {
    auto parsed = parseUnsigned(mask, 0xffff);
    if (!parsed) return std::nullopt;
    port_mask = *parsed;
  }
  return Masked<uint16_t>{static_cast<uint16_t>(*port), static_cast<uint16_t>(port_mask)};
}

std::optional<uint8_t> ipProtocolOfName(const std::string& name) {
  static const std::map<std::string, uint8_t> kProtocols = {
      {"icmp", 1}, {"igmp", 2}, {"tcp", 6}, {"udp", 17}, {"icmpv6", 58}};
  auto named = kProtocols.find(name);
  if (named == kProtocols.end()) return std::nullopt;
  return named->second;
}

}  // namespace filtersim
