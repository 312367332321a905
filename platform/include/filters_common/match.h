// Matches: what a filter entry compares a packet with. Immutable once built.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <set>

#include <filters_common/typed_object.h>
#include <filters_common/types.h>
#include <limid/limid.h>

namespace FiltersCommon {

// A match of a type that carries no value, and the root of every match class.
class Match {
 public:
  using Root = Match;
  using Type = filtersMatch_t;

  Match() = default;
  explicit Match(filtersMatch_t type) : type_(type) {}
  virtual ~Match() = default;

  filtersMatch_t getType() const { return type_; }
  virtual std::shared_ptr<const Match> clone() const { return std::make_shared<Match>(*this); }

 private:
  filtersMatch_t type_ = FILTERS_MATCH_NONE;
};

// Family bases: the values and getters that several match types share.

class MatchPorts : public Match {
 public:
  explicit MatchPorts(filtersMatch_t type, std::list<limid_t> ports = {},
                      std::list<port_type_t> excluded_port_types = {})
      : Match(type), ports_(std::move(ports)), excluded_(std::move(excluded_port_types)) {}
  const std::list<limid_t>& getPorts() const { return ports_; }
  const std::list<port_type_t>& getExcludedPortTypes() const { return excluded_; }

 private:
  std::list<limid_t> ports_;
  std::list<port_type_t> excluded_;
};

class MatchVlanId : public detail::WithValue<Match, std::set<unsigned short>> {
 public:
  using WithValue::WithValue;
  const std::set<unsigned short>& getVlanIds() const { return value(); }
};

class MatchPcpSet : public detail::WithValue<Match, std::set<unsigned char>> {
 public:
  using WithValue::WithValue;
  MatchPcpSet(filtersMatch_t type, unsigned char pcp)
      : WithValue(type, std::set<unsigned char>{pcp}) {}
  const std::set<unsigned char>& getPcps() const { return value(); }
};

class MatchLimId : public detail::WithValue<Match, limid_t> {
 public:
  using WithValue::WithValue;
  const limid_t& getLimId() const { return value(); }
};

// A value with a mask.
template <class T>
class MaskedMatch : public Match {
 public:
  explicit MaskedMatch(filtersMatch_t type, T value = T{}, T mask = T{})
      : Match(type), value_(value), mask_(mask) {}

 protected:
  const T& value() const { return value_; }
  const T& mask() const { return mask_; }

 private:
  T value_;
  T mask_;
};

class MatchMac : public MaskedMatch<mac_address_t> {
 public:
  using MaskedMatch::MaskedMatch;
  const mac_address_t& getMac() const { return value(); }
  const mac_address_t& getMask() const { return mask(); }
};

class MatchIPv4 : public MaskedMatch<uint32_t> {
 public:
  using MaskedMatch::MaskedMatch;
  uint32_t getIPv4() const { return value(); }
  uint32_t getIPv4Mask() const { return mask(); }
};

class MatchIPv6 : public MaskedMatch<ipv6_address_t> {
 public:
  using MaskedMatch::MaskedMatch;
  const ipv6_address_t& getIPv6() const { return value(); }
  const ipv6_address_t& getIPv6Mask() const { return mask(); }
};

class MatchL4Port : public MaskedMatch<unsigned short> {
 public:
  using MaskedMatch::MaskedMatch;
  unsigned short getPort() const { return value(); }
  unsigned short getMask() const { return mask(); }
};

template <class T>
using MatchValue = detail::WithValue<Match, T>;

template <class Derived, class Base, filtersMatch_t Type>
using MatchOf = detail::Concrete<Derived, Base, Type>;

// The concrete match classes, one per match type that carries values.

class MatchIngressPorts final
    : public MatchOf<MatchIngressPorts, MatchPorts, FILTERS_MATCH_INGRESS_PORTS> {
 public:
  using Concrete::Concrete;
};

class MatchEgressPorts final
    : public MatchOf<MatchEgressPorts, MatchPorts, FILTERS_MATCH_EGRESS_PORTS> {
 public:
  using Concrete::Concrete;
};

class MatchExternalVlanId final
    : public MatchOf<MatchExternalVlanId, MatchVlanId, FILTERS_MATCH_EXTERNAL_VLAN_ID> {
 public:
  using Concrete::Concrete;
};

class MatchInternalVlanId final
    : public MatchOf<MatchInternalVlanId, MatchVlanId, FILTERS_MATCH_INTERNAL_VLAN_ID> {
 public:
  using Concrete::Concrete;
};

class MatchPcp final : public MatchOf<MatchPcp, MatchPcpSet, FILTERS_MATCH_PCP> {
 public:
  using Concrete::Concrete;
};

class MatchInternalPcp final
    : public MatchOf<MatchInternalPcp, MatchPcpSet, FILTERS_MATCH_INTERNAL_PCP> {
 public:
  using Concrete::Concrete;
};

class MatchSrcMac final : public MatchOf<MatchSrcMac, MatchMac, FILTERS_MATCH_SRC_MAC> {
 public:
  using Concrete::Concrete;
};

class MatchDstMac final : public MatchOf<MatchDstMac, MatchMac, FILTERS_MATCH_DST_MAC> {
 public:
  using Concrete::Concrete;
};

class MatchSrcIPv4 final : public MatchOf<MatchSrcIPv4, MatchIPv4, FILTERS_MATCH_SRC_IPV4> {
 public:
  using Concrete::Concrete;
};

class MatchDstIPv4 final : public MatchOf<MatchDstIPv4, MatchIPv4, FILTERS_MATCH_DST_IPV4> {
 public:
  using Concrete::Concrete;
};

class MatchDstIPv6 final : public MatchOf<MatchDstIPv6, MatchIPv6, FILTERS_MATCH_DST_IPV6> {
 public:
  using Concrete::Concrete;
};

class MatchDstL4Port final
    : public MatchOf<MatchDstL4Port, MatchL4Port, FILTERS_MATCH_DST_L4_PORT> {
 public:
  using Concrete::Concrete;
};

class MatchSrcL4Port final
    : public MatchOf<MatchSrcL4Port, MatchL4Port, FILTERS_MATCH_SRC_L4_PORT> {
 public:
  using Concrete::Concrete;
};

class MatchSrcPort final : public MatchOf<MatchSrcPort, MatchLimId, FILTERS_MATCH_SRC_PORT> {
 public:
  using Concrete::Concrete;
};

class MatchVirtualPort final
    : public MatchOf<MatchVirtualPort, MatchLimId, FILTERS_MATCH_VIRTUAL_PORT> {
 public:
  using Concrete::Concrete;
};

class MatchTPID final : public MatchOf<MatchTPID, MatchValue<unsigned short>, FILTERS_MATCH_TPID> {
 public:
  using Concrete::Concrete;
  unsigned short getTPID() const { return value(); }
};

class MatchL2SrcEntryType final : public MatchOf<MatchL2SrcEntryType, MatchValue<unsigned char>,
                                                 FILTERS_MATCH_L2_SRC_ENTRY_TYPE> {
 public:
  using Concrete::Concrete;
  unsigned char getL2SrcEntryType() const { return value(); }  // 1: a static entry
};

class MatchPacketRes final
    : public MatchOf<MatchPacketRes, MatchValue<en_Resolution>, FILTERS_MATCH_PACKET_RES> {
 public:
  using Concrete::Concrete;
  en_Resolution getPktRes() const { return value(); }
};

class MatchMplsTerm final
    : public MatchOf<MatchMplsTerm, MatchValue<unsigned char>, FILTERS_MATCH_MPLS_TERM> {
 public:
  using Concrete::Concrete;
  unsigned char getMplsTerm() const { return value(); }
};

class MatchToS final : public MatchOf<MatchToS, MatchValue<unsigned char>, FILTERS_MATCH_TOS> {
 public:
  using Concrete::Concrete;
  unsigned char getToS() const { return value(); }
};

class MatchIpProtocol final
    : public MatchOf<MatchIpProtocol, MatchValue<unsigned char>, FILTERS_MATCH_IP_PROTOCOL> {
 public:
  using Concrete::Concrete;
  unsigned char getIpProtocol() const { return value(); }
};

class MatchTTL final : public MatchOf<MatchTTL, MatchValue<unsigned char>, FILTERS_MATCH_TTL> {
 public:
  using Concrete::Concrete;
  unsigned char getTTL() const { return value(); }
};

class MatchIngressStpState final : public MatchOf<MatchIngressStpState, MatchValue<en_StpState>,
                                                  FILTERS_MATCH_INGRESS_STP_STATE> {
 public:
  using Concrete::Concrete;
  en_StpState getIngressStpState() const { return value(); }
};

class MatchVrfId final
    : public MatchOf<MatchVrfId, MatchValue<unsigned int>, FILTERS_MATCH_VRF_ID> {
 public:
  using Concrete::Concrete;
  unsigned int getVrfId() const { return value(); }
};

class MatchDrop final : public MatchOf<MatchDrop, MatchValue<unsigned char>, FILTERS_MATCH_DROP> {
 public:
  using Concrete::Concrete;
  unsigned char getDropFlag() const { return value(); }
};

class MatchMyStationHit final
    : public MatchOf<MatchMyStationHit, MatchValue<unsigned char>, FILTERS_MATCH_MY_STATION_HIT> {
 public:
  using Concrete::Concrete;
  unsigned char getHitFlag() const { return value(); }
};

class MatchForwardingType final : public MatchOf<MatchForwardingType, MatchValue<en_ForwardingType>,
                                                 FILTERS_MATCH_FORWARDING_TYPE> {
 public:
  using Concrete::Concrete;
  en_ForwardingType getForwardingType() const { return value(); }
};

class MatchVlanTagging final
    : public MatchOf<MatchVlanTagging, MatchValue<vlan_tagging_t>, FILTERS_MATCH_VLAN_TAGGING> {
 public:
  using Concrete::Concrete;
  vlan_tagging_t getTagging() const { return value(); }
};

class MatchVlanInfo final
    : public MatchOf<MatchVlanInfo, MatchValue<vlan_info_t>, FILTERS_MATCH_VLAN_INFO> {
 public:
  using Concrete::Concrete;
  const vlan_info_t& getVlanInfo() const { return value(); }
};

}  // namespace FiltersCommon
