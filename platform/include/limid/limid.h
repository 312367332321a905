// Logical interface ids: four bytes, the first naming the interface type, the other three its
// number (most significant first), so that bytewise order is type order, then number order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

struct limid_t {
  uint8_t bytes[4];
};

enum limid_type_t : uint8_t {
  limid_type_none = 0,
  limid_type_ethernet = 1,
  limid_type_lag = 2,
  limid_type_cpuport = 3,
  limid_type_vpn = 4,
  limid_type_vpn_access = 5,  // a VPN access (virtual) port
};

// The all-zero id: no interface.
constexpr limid_t limid_null{};

inline bool operator<(const limid_t& a, const limid_t& b) {
  return std::memcmp(a.bytes, b.bytes, sizeof(a.bytes)) < 0;
}
inline bool operator==(const limid_t& a, const limid_t& b) {
  return std::memcmp(a.bytes, b.bytes, sizeof(a.bytes)) == 0;
}
inline bool operator!=(const limid_t& a, const limid_t& b) { return !(a == b); }

limid_t limid_from_type(limid_type_t type, unsigned number);  // number below 2^24
limid_t limid_ethernet(unsigned port);
limid_t limid_lag(unsigned lag);
limid_t limid_vpn(unsigned vpn);
limid_t limid_vpn_access(unsigned access);
// A CPU port: chassis and slot (four bits each), unit and port on that unit.
limid_t limid_cpuport_from_components(unsigned chassis, unsigned slot, unsigned unit,
                                      unsigned port);

limid_type_t limid_type(const limid_t& limid);
unsigned limid_number(const limid_t& limid);
int limid_is_from_type(const limid_t& limid, limid_type_t type);
int limid_is_from_type_ethernet(const limid_t& limid);

// Names: "eth5", "lag2", "vpn3", "vport7", "cpu0" (chassis 1, slot 1, port 1 of unit 0; other
// CPU ports read "cpu<chassis>/<slot>/<unit>/<port>"), "none" for the null id.
char* limid_to_intfname(const limid_t& limid, char* buffer, size_t size);
std::string limid_name(const limid_t& limid);
std::optional<limid_t> limid_from_intfname(const std::string& name);
