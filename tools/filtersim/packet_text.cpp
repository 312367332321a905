#include "packet_text.h"

#include <cstdio>
#include <functional>
#include <sstream>
#include <vector>

namespace filtersim {
namespace {

using bcmsim::Packet;

struct Field {
  const char* name;
  std::function<std::string(const Packet&)> write;  // empty when the field has its default
  std::function<bool(Packet&, const std::string&)> read;
};

bool parseNumber(const std::string& text, uint64_t& value) {
  if (text.empty()) return false;
  size_t used = 0;
  try {
    value = std::stoull(text, &used, 0);
  } catch (const std::exception&) {
    return false;
  }
  return used == text.size();
}

template <class T>
std::string numberText(T value) {
  if constexpr (std::is_signed_v<T>) return std::to_string(static_cast<int64_t>(value));
  return std::to_string(static_cast<uint64_t>(value));
}

template <class T>
bool readNumber(const std::string& text, T& out) {
  if constexpr (std::is_signed_v<T>) {
    try {
      size_t used = 0;
      const long long value = std::stoll(text, &used, 0);
      out = static_cast<T>(value);
      return used == text.size();
    } catch (const std::exception&) {
      return false;
    }
  }
  uint64_t value = 0;
  if (!parseNumber(text, value)) return false;
  out = static_cast<T>(value);
  return true;
}

template <class T>
Field number(const char* name, T Packet::*member) {
  return {name,
          [member](const Packet& p) {
            return p.*member == Packet().*member ? std::string() : numberText(p.*member);
          },
          [member](Packet& p, const std::string& text) { return readNumber(text, p.*member); }};
}

template <class T>
Field optionalNumber(const char* name, std::optional<T> Packet::*member) {
  return {name,
          [member](const Packet& p) { return p.*member ? numberText(*(p.*member)) : std::string(); },
          [member](Packet& p, const std::string& text) {
            T value{};
            if (!readNumber(text, value)) return false;
            p.*member = value;
            return true;
          }};
}

Field flag(const char* name, bool Packet::*member) {
  return {name, [member](const Packet& p) { return p.*member ? std::string("1") : std::string(); },
          [member](Packet& p, const std::string& text) {
            p.*member = text == "1";
            return text == "1" || text == "0";
          }};
}

// Bytes as hexadecimal digits, e.g. a MAC address as "020000000001".
template <size_t N>
Field bytes(const char* name, std::array<uint8_t, N> Packet::*member) {
  return {name,
          [member](const Packet& p) {
            if (p.*member == std::array<uint8_t, N>{}) return std::string();
            std::string text;
            char digits[3];
            for (uint8_t byte : p.*member) {
              std::snprintf(digits, sizeof(digits), "%02x", byte);
              text += digits;
            }
            return text;
          },
          [member](Packet& p, const std::string& text) {
            if (text.size() != 2 * N) return false;
            for (size_t i = 0; i < N; ++i) {
              uint64_t byte = 0;
              if (!parseNumber("0x" + text.substr(2 * i, 2), byte)) return false;
              (p.*member)[i] = static_cast<uint8_t>(byte);
            }
            return true;
          }};
}

Field colour() {
  return {"color",
          [](const Packet& p) {
            return p.color == Packet().color ? std::string() : numberText(static_cast<int>(p.color));
          },
          [](Packet& p, const std::string& text) {
            int value = 0;
            if (!readNumber(text, value) || value < 0 || value > 2) return false;
            p.color = static_cast<bcmsim::Color>(value);
            return true;
          }};
}

const std::vector<Field>& fields() {
  static const std::vector<Field> kFields = {
      number("in_port", &Packet::in_port),
      number("src_module", &Packet::src_module),
      number("out_port", &Packet::out_port),
      bytes("src_mac", &Packet::src_mac),
      bytes("dst_mac", &Packet::dst_mac),
      optionalNumber("vlan", &Packet::outer_vlan),
      number("pcp", &Packet::outer_pcp),
      optionalNumber("inner_vlan", &Packet::inner_vlan),
      number("inner_pcp", &Packet::inner_pcp),
      number("ether_type", &Packet::ether_type),
      number("src_ip", &Packet::src_ip),
      number("dst_ip", &Packet::dst_ip),
      bytes("dst_ipv6", &Packet::dst_ip6),
      number("protocol", &Packet::ip_protocol),
      number("dscp", &Packet::dscp),
      number("ttl", &Packet::ttl),
      number("src_port", &Packet::l4_src_port),
      number("dst_port", &Packet::l4_dst_port),
      number("length", &Packet::length),
      number("packet_res", &Packet::packet_res),
      number("stp_state", &Packet::stp_state),
      number("forwarding_type", &Packet::forwarding_type),
      number("vrf", &Packet::vrf),
      flag("l3_routable", &Packet::l3_routable),
      flag("my_station_hit", &Packet::my_station_hit),
      flag("drop", &Packet::drop),
      flag("l2_src_static", &Packet::l2_src_static),
      flag("mpls_terminated", &Packet::mpls_terminated),
      number("interface_class", &Packet::interface_class),
      number("src_gport", &Packet::src_gport),
      optionalNumber("int_priority", &Packet::int_priority),
      colour(),
      optionalNumber("arrival_ns", &Packet::arrival_ns),
  };
  return kFields;
}

}  // namespace

std::string packetText(const Packet& packet) {
  std::string text;
  for (const Field& field : fields()) {
    const std::string value = field.write(packet);
    if (value.empty()) continue;
    text += (text.empty() ? "" : " ") + std::string(field.name) + "=" + value;
  }
  return text;
}

std::optional<Packet> parsePacketText(const std::string& text) {
  Packet packet;
  std::istringstream words(text);
  std::string word;
  while (words >> word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos) return std::nullopt;
    const std::string name = word.substr(0, equals);
    auto field = std::find_if(fields().begin(), fields().end(),
                              [&](const Field& f) { return name == f.name; });
    if (field == fields().end() || !field->read(packet, word.substr(equals + 1))) return std::nullopt;
  }
  return packet;
}

}  // namespace filtersim
