#include <limid/limid.h>

#include <cstdio>
#include <cstring>

namespace {

struct TypeName {
  limid_type_t type;
  const char* prefix;
};

constexpr TypeName kTypeNames[] = {{limid_type_ethernet, "eth"},
                                   {limid_type_lag, "lag"},
                                   {limid_type_vpn, "vpn"},
                                   {limid_type_vpn_access, "vport"}};

const char* prefix_of(limid_type_t type) {
  for (const TypeName& name : kTypeNames) {
    if (name.type == type) return name.prefix;
  }
  return nullptr;
}

// Parses a whole decimal number; no sign, no trailing text.
std::optional<unsigned> parse_number(const std::string& text) {
  if (text.empty() || text.size() > 8) return std::nullopt;
  unsigned value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  return value;
}

std::optional<limid_t> parse_cpuport(const std::string& rest) {
  unsigned parts[4] = {1, 1, 0, 1};
  int count = 0;
  size_t start = 0;
  while (count < 4) {
    size_t slash = rest.find('/', start);
    auto value =
        parse_number(rest.substr(start, slash == std::string::npos ? slash : slash - start));
    if (!value) return std::nullopt;
    parts[count++] = *value;
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  if (count == 1) return limid_cpuport_from_components(1, 1, parts[0], 1);
  if (count != 4 || parts[0] > 15 || parts[1] > 15 || parts[2] > 255 || parts[3] > 255) {
    return std::nullopt;
  }
  return limid_cpuport_from_components(parts[0], parts[1], parts[2], parts[3]);
}

}  // namespace

limid_t limid_from_type(limid_type_t type, unsigned number) {
  return limid_t{{type, static_cast<uint8_t>(number >> 16), static_cast<uint8_t>(number >> 8),
                  static_cast<uint8_t>(number)}};
}

limid_t limid_ethernet(unsigned port) {
  return limid_from_type(limid_type_ethernet, port);
}
limid_t limid_lag(unsigned lag) {
  return limid_from_type(limid_type_lag, lag);
}
limid_t limid_vpn(unsigned vpn) {
  return limid_from_type(limid_type_vpn, vpn);
}
limid_t limid_vpn_access(unsigned access) {
  return limid_from_type(limid_type_vpn_access, access);
}

limid_t limid_cpuport_from_components(unsigned chassis, unsigned slot, unsigned unit,
                                      unsigned port) {
  return limid_t{{limid_type_cpuport, static_cast<uint8_t>(((chassis & 0xf) << 4) | (slot & 0xf)),
                  static_cast<uint8_t>(unit), static_cast<uint8_t>(port)}};
}

limid_type_t limid_type(const limid_t& limid) {
  return static_cast<limid_type_t>(limid.bytes[0]);
}

unsigned limid_number(const limid_t& limid) {
  return (unsigned{limid.bytes[1]} << 16) | (unsigned{limid.bytes[2]} << 8) | limid.bytes[3];
}

int limid_is_from_type(const limid_t& limid, limid_type_t type) {
  return limid_type(limid) == type;
}

int limid_is_from_type_ethernet(const limid_t& limid) {
  return limid_is_from_type(limid, limid_type_ethernet);
}

char* limid_to_intfname(const limid_t& limid, char* buffer, size_t size) {
  if (!buffer || size == 0) return buffer;
  const limid_type_t type = limid_type(limid);
  if (limid == limid_null) {
    std::snprintf(buffer, size, "none");
  } else if (type == limid_type_cpuport) {
    const unsigned chassis = limid.bytes[1] >> 4, slot = limid.bytes[1] & 0xf;
    const unsigned unit = limid.bytes[2], port = limid.bytes[3];
    if (chassis == 1 && slot == 1 && port == 1) {
      std::snprintf(buffer, size, "cpu%u", unit);
    } else {
      std::snprintf(buffer, size, "cpu%u/%u/%u/%u", chassis, slot, unit, port);
    }
  } else if (const char* prefix = prefix_of(type)) {
    std::snprintf(buffer, size, "%s%u", prefix, limid_number(limid));
  } else {
    std::snprintf(buffer, size, "limid-%02x%02x%02x%02x", limid.bytes[0], limid.bytes[1],
                  limid.bytes[2], limid.bytes[3]);
  }
  return buffer;
}

std::string limid_name(const limid_t& limid) {
  char buffer[64];
  return limid_to_intfname(limid, buffer, sizeof(buffer));
}

std::optional<limid_t> limid_from_intfname(const std::string& name) {
  if (name == "none") return limid_null;
  if (name.compare(0, 3, "cpu") == 0) return parse_cpuport(name.substr(3));
  for (const TypeName& type_name : kTypeNames) {
    const size_t length = std::strlen(type_name.prefix);
    if (name.compare(0, length, type_name.prefix) != 0) continue;
    auto number = parse_number(name.substr(length));
    if (number && *number < (1u << 24)) return limid_from_type(type_name.type, *number);
  }
  return std::nullopt;
}
