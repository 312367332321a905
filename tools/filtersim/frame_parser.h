// Reads a captured Ethernet frame's headers into a test packet.
#pragma once

#include <cstddef>
#include <cstdint>

#include <bcmsim/classify.h>

namespace filtersim {

// Sets the header fields of `packet` from the first `captured` bytes of `frame`: the MAC
// addresses; an outer and an inner 802.1Q (0x8100) or 802.1ad (0x88a8) tag (VLAN id and PCP);
// the Ethernet type after the tags; IPv4 addresses, protocol, DSCP and TTL; the IPv6 destination
// address, next header, DSCP and hop limit; TCP and UDP ports (ICMP and ICMPv6: the protocol
// alone). An IP header of another version than its Ethernet type's gives no IP fields; the IPv4
// total length bounds the datagram (no L4 port is read from the padding after it). A truncated
// or malformed frame gives the fields it holds in full and leaves the others as they were;
// nothing past `captured` is read. Pipeline facts and the length are left to the caller.
void parseFrame(const uint8_t* frame, size_t captured, bcmsim::Packet& packet);

// A captured frame's length for meters and byte counters: its length on the wire as the record
// gives it, or the captured length when the record says less (it cannot be right).
uint32_t frameLength(uint32_t wire, size_t captured);

}  // namespace filtersim
