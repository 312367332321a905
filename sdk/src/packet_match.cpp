#include "packet_match.h"

#include <bcm/field.h>

#include "words.h"

namespace bcmsim::detail {
namespace {

bool masked_equal(const Words& field, const QualifierValue& q) {
  for (size_t w = 0; w < field.size(); ++w) {
    if ((field[w] & q.mask[w]) != (q.data[w] & q.mask[w])) return false;
  }
  return true;
}

bool bit(const Words& bitmap, int port) {
  return port >= 0 && port < 256 && ((bitmap[port / 32] >> (port % 32)) & 1);
}

bool ip_type_matches(const Packet& p, uint32_t type) {
  switch (type) {
    case bcmFieldIpTypeAny:
      return true;
    case bcmFieldIpTypeNonIp:
      return !p.is_ipv4() && !p.is_ipv6();
    case bcmFieldIpTypeIpv4Any:
      return p.is_ipv4();
    case bcmFieldIpTypeIpv6:
      return p.is_ipv6();
    case bcmFieldIpTypeIp:
      return p.is_ipv4() || p.is_ipv6();
    case bcmFieldIpTypeArp:
      return p.ether_type == 0x0806;
    default:
      return false;
  }
}

bool ip_protocol_common_matches(const Packet& p, uint32_t protocol) {
  if (!p.is_ipv4() && !p.is_ipv6()) return false;
  switch (protocol) {
    case bcmFieldIpProtocolCommonTcp:
      return p.ip_protocol == 6;
    case bcmFieldIpProtocolCommonUdp:
      return p.ip_protocol == 17;
    case bcmFieldIpProtocolCommonIgmp:
      return p.ip_protocol == 2;
    case bcmFieldIpProtocolCommonIcmp:
      return p.ip_protocol == 1;
    case bcmFieldIpProtocolCommonIp6Icmp:
      return p.ip_protocol == 58;
    case bcmFieldIpProtocolCommonIp6HopByHop:
      return p.ip_protocol == 0 && p.is_ipv6();
    case bcmFieldIpProtocolCommonIpInIp:
      return p.ip_protocol == 4;
    case bcmFieldIpProtocolCommonTcpUdp:
      return p.ip_protocol == 6 || p.ip_protocol == 17;
    default:
      return false;
  }
}

// Sets a field of one or two words. Written in place: a field built aside and copied stalls the
// loads that follow, and every lookup reads its fields.
void put(Words* field, uint32_t first, uint32_t second = 0) {
  field->fill(0);
  (*field)[0] = first;
  (*field)[1] = second;
}

}  // namespace

bool packet_field(const Packet& p, int qualifier, Words* out) {
  const bool ip = p.is_ipv4() || p.is_ipv6();
  Words unused;
  Words* field = out ? out : &unused;
  switch (qualifier) {
    case bcmFieldQualifyDstIp6:
      *field = p.is_ipv6() ? ip6_words(p.dst_ip6.data()) : Words{};
      return true;
    case bcmFieldQualifySrcMac:
      *field = mac_words(p.src_mac.data());
      return true;
    case bcmFieldQualifyDstMac:
      *field = mac_words(p.dst_mac.data());
      return true;
    case bcmFieldQualifySrcIp:
      put(field, p.is_ipv4() ? p.src_ip : 0);
      return true;
    case bcmFieldQualifyDstIp:
      put(field, p.is_ipv4() ? p.dst_ip : 0);
      return true;
    case bcmFieldQualifyInPort:
      put(field, static_cast<uint32_t>(p.in_port));
      return true;
    case bcmFieldQualifyDrop:
      put(field, p.drop);
      return true;
    case bcmFieldQualifyOuterVlanId:
      put(field, p.outer_vlan.value_or(0));
      return true;
    case bcmFieldQualifyOuterVlanPri:
      put(field, p.outer_vlan ? p.outer_pcp : 0);
      return true;
    case bcmFieldQualifyInnerVlanId:
      put(field, p.inner_vlan.value_or(0));
      return true;
    case bcmFieldQualifyInnerVlanPri:
      put(field, p.inner_vlan ? p.inner_pcp : 0);
      return true;
    case bcmFieldQualifyL4SrcPort:
      put(field, p.l4_src_port);
      return true;
    case bcmFieldQualifyL4DstPort:
      put(field, p.l4_dst_port);
      return true;
    case bcmFieldQualifyEtherType:
      put(field, p.ether_type);
      return true;
    case bcmFieldQualifyIpProtocol:
      put(field, ip ? p.ip_protocol : 0);
      return true;
    case bcmFieldQualifyDSCP:
      put(field, ip ? p.dscp : 0);
      return true;
    case bcmFieldQualifyTtl:
      put(field, ip ? p.ttl : 0);
      return true;
    case bcmFieldQualifySrcPort:
      put(field, static_cast<uint32_t>(p.src_module), static_cast<uint32_t>(p.in_port));
      return true;
    case bcmFieldQualifyDstPort:
      put(field, 0, static_cast<uint32_t>(p.out_port));
      return true;
    case bcmFieldQualifyPacketRes:
      put(field, p.packet_res);
      return true;
    case bcmFieldQualifyForwardingType:
      put(field, p.forwarding_type);
      return true;
    case bcmFieldQualifyInterfaceClassL2:
      put(field, p.interface_class);
      return true;
    case bcmFieldQualifyL3Routable:
      put(field, p.l3_routable);
      return true;
    case bcmFieldQualifyVrf:
      put(field, p.vrf);
      return true;
    case bcmFieldQualifyOutPort:
      put(field, static_cast<uint32_t>(p.out_port));
      return true;
    case bcmFieldQualifyVlanFormat:
      put(field, (p.outer_vlan ? BCM_FIELD_VLAN_FORMAT_OUTER_TAGGED : 0) |
                            (p.inner_vlan ? BCM_FIELD_VLAN_FORMAT_INNER_TAGGED : 0));
      return true;
    case bcmFieldQualifyMplsTerminated:
      put(field, p.mpls_terminated);
      return true;
    case bcmFieldQualifyIngressStpState:
      put(field, p.stp_state);
      return true;
    case bcmFieldQualifyL2SrcStatic:
      put(field, p.l2_src_static);
      return true;
    case bcmFieldQualifyIntPriority:
      put(field, p.int_priority.value_or(p.outer_vlan ? p.outer_pcp : 0));
      return true;
    case bcmFieldQualifyMyStationHit:
      put(field, p.my_station_hit);
      return true;
    case bcmFieldQualifySrcGport:
      put(field, static_cast<uint32_t>(p.src_gport));
      return true;
    default:
      return false;
  }
}

bool qualifier_matches(const Packet& packet, const QualifierValue& q) {
  switch (q.qualifier) {
    case bcmFieldQualifyInPorts:
      return !bit(q.mask, packet.in_port) || bit(q.data, packet.in_port);
    case bcmFieldQualifyIpType:
      return ip_type_matches(packet, q.data[0]);
    case bcmFieldQualifyIpProtocolCommon:
      return ip_protocol_common_matches(packet, q.data[0]);
    default:
      break;
  }
  Words field;
  return packet_field(packet, q.qualifier, &field) && masked_equal(field, q);
}

}  // namespace bcmsim::detail
