// Field qualifiers: every qualify call writes data and mask to the entry's staged view.
#include <cctype>

#include <bcm/error.h>
#include <bcm/field.h>

#include "c_source.h"
#include "qualifier_kinds.h"
#include "sdk_call.h"
#include "text.h"
#include "words.h"

namespace bcmsim::detail {
namespace {

constexpr uint32_t kAllOnes = 0xffffffffu;

// Writes one qualifier, replacing an earlier value of the same qualifier.
void stage_qualifier(EntryView& view, const QualifierValue& value) {
  for (QualifierValue& q : view.qualifiers) {
    if (q.qualifier == value.qualifier) {
      q = value;
      return;
    }
  }
  view.qualifiers.push_back(value);
}

bool in_qset(const Device& dev, const Entry& entry, int qualifier) {
  return dev.state.groups.at(entry.group).has_qualifier(qualifier);
}

// The chip's answer to a qualifier outside the group's qualifier set.
int qset_miss(const Device& dev, const Entry& entry, int qualifier) {
  const StageRules& rules = stage_rules(dev, dev.state.groups.at(entry.group).stage);
  auto own = rules.qset_miss_by_qualifier.find(qualifier);
  return refuse(Why::QsetMiss,
                own == rules.qset_miss_by_qualifier.end() ? rules.qset_miss : own->second);
}

// The C name of an enumerated qualifier's value, e.g. "bcmFieldIpTypeIpv4Any".
std::string c_enum_value(const QualifierValue& value) {
  const char* prefix = value.qualifier == bcmFieldQualifyIpType ? "bcmFieldIpType"
                       : value.qualifier == bcmFieldQualifyIpProtocolCommon
                           ? "bcmFieldIpProtocolCommon"
                           : "bcmFieldForwardingType";
  const std::string name = format_qualifier_part(value.qualifier, value.data);
  return isdigit(static_cast<unsigned char>(name[0])) ? name : prefix + name;
}

// The data and mask arguments as the qualify function of the value's kind takes them.
CallSource qualify_source(int unit, int entry, const QualifierValue& value) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry);
  const uint32_t data = value.data[0];
  const uint32_t mask = value.mask[0];
  switch (qualifier_kind(value.qualifier)) {
    case QualifierKind::Decimal:
      source.number(data).hex(mask);
      break;
    case QualifierKind::Port:
      source.ref(Ref::Port, static_cast<int32_t>(data)).hex(mask);
      break;
    case QualifierKind::Mac:
      source.mac("mac_data", value.data).mac("mac_mask", value.mask);
      break;
    case QualifierKind::Ip6:
      source.ip6("ip6_data", value.data).ip6("ip6_mask", value.mask);
      break;
    case QualifierKind::Pbmp:
      source.pbmp("pbmp_data", value.data).pbmp("pbmp_mask", value.mask);
      break;
    case QualifierKind::ModPort:
      // The module, then the port.
      source.number(static_cast<int32_t>(data)).hex(mask);
      source.ref(Ref::Port, static_cast<int32_t>(value.data[1])).hex(value.mask[1]);
      break;
    case QualifierKind::Enum:
      source.literal(c_enum_value(value));
      break;
    case QualifierKind::Gport:
      source.hex(data);
      break;
    case QualifierKind::Hex:
    case QualifierKind::Ip4:
    case QualifierKind::Stage:
      source.hex(data).hex(mask);
      break;
  }
  return source.build();
}

LoggedArgs qualify_args(int unit, int entry, const QualifierValue& value) {
  std::string text = std::to_string(unit) + ", " + std::to_string(entry) + ", " +
                     format_qualifier_part(value.qualifier, value.data);
  QualifierKind kind = qualifier_kind(value.qualifier);
  if (kind != QualifierKind::Enum && kind != QualifierKind::Gport) {
    text += ", " + format_qualifier_part(value.qualifier, value.mask);
  }
  return {std::move(text), qualify_source(unit, entry, value)};
}

int qualify(const char* function, int unit, int entry, const QualifierValue& value) {
  return sdk_call(
      function, unit, entry,
      [&] { return [unit, entry, value] { return qualify_args(unit, entry, value); }; },
      [&](Device& dev) -> int {
        return with_entry(dev, entry, [&](Entry& e) -> int {
          if (!in_qset(dev, e, value.qualifier)) return qset_miss(dev, e, value.qualifier);
          stage_qualifier(e.staged, value);
          return BCM_E_NONE;
        });
      });
}

int qualify_scalar(const char* function, int unit, int entry, int qualifier, uint32_t data,
                   uint32_t mask) {
  return qualify(function, unit, entry, {qualifier, scalar_words(data), scalar_words(mask)});
}

// The outputs of a qualifier read, as C declares them: type and name.
using Outputs = std::vector<std::pair<const char*, const char*>>;

// A qualifier read's arguments, and the data it read.
LoggedArgs read_args(int unit, int entry, int qualifier, const Words& data,
                     const Outputs& outputs) {
  CSourceBuilder source;
  source.number(unit).ref(Ref::Entry, entry);
  for (const auto& [type, name] : outputs) source.output(type, name);
  return {std::to_string(unit) + ", " + std::to_string(entry) + " -> " +
              format_qualifier_part(qualifier, data),
          source.build()};
}

// Reads a staged qualifier: one outside the qualifier set is not found; one in it that was never
// written reads as zero data and mask, which no IpProtocolCommon value encodes.
int read_qualifier(const char* function, int unit, int entry, int qualifier, bool have_outputs,
                   QualifierValue* out, const Outputs& outputs) {
  return sdk_call(
      function, unit, entry,
      [&] {
        return [unit, entry, qualifier, data = out->data, outputs] {
          return read_args(unit, entry, qualifier, data, outputs);
        };
      },
      [&](Device& dev) -> int {
        if (!have_outputs) return refuse(Why::BadArgument, BCM_E_PARAM);
        return with_entry(dev, entry, [&](Entry& e) -> int {
          if (!in_qset(dev, e, qualifier)) return refuse(Why::QualifierReadMiss, BCM_E_NOT_FOUND);
          const QualifierValue* staged = e.staged.qualifier(qualifier);
          if (!staged && qualifier == bcmFieldQualifyIpProtocolCommon) {
            return refuse(Why::IpProtocolCommonUnset, BCM_E_INTERNAL);
          }
          *out = staged ? *staged : QualifierValue{qualifier, {}, {}};
          return BCM_E_NONE;
        });
      });
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

int bcm_field_qualify_SrcMac(int unit, bcm_field_entry_t entry, bcm_mac_t data, bcm_mac_t mask) {
  return qualify(__func__, unit, entry, {bcmFieldQualifySrcMac, mac_words(data), mac_words(mask)});
}

int bcm_field_qualify_DstMac(int unit, bcm_field_entry_t entry, bcm_mac_t data, bcm_mac_t mask) {
  return qualify(__func__, unit, entry, {bcmFieldQualifyDstMac, mac_words(data), mac_words(mask)});
}

int bcm_field_qualify_EtherType(int unit, bcm_field_entry_t entry, uint16 data, uint16 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyEtherType, data, mask);
}

int bcm_field_qualify_EtherType_get(int unit, bcm_field_entry_t entry, uint16* data, uint16* mask) {
  QualifierValue value;
  int rv = read_qualifier(__func__, unit, entry, bcmFieldQualifyEtherType, data && mask, &value,
                          {{"uint16", "ether_type_data"}, {"uint16", "ether_type_mask"}});
  if (rv == BCM_E_NONE) {
    *data = static_cast<uint16>(value.data[0]);
    *mask = static_cast<uint16>(value.mask[0]);
  }
  return rv;
}

int bcm_field_qualify_L4SrcPort(int unit, bcm_field_entry_t entry, bcm_l4_port_t data,
                                bcm_l4_port_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyL4SrcPort, data, mask);
}

int bcm_field_qualify_L4DstPort(int unit, bcm_field_entry_t entry, bcm_l4_port_t data,
                                bcm_l4_port_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyL4DstPort, data, mask);
}

int bcm_field_qualify_L2SrcStatic(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyL2SrcStatic, data, mask);
}

int bcm_field_qualify_VlanFormat(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyVlanFormat, data, mask);
}

int bcm_field_qualify_IpProtocol(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyIpProtocol, data, mask);
}

int bcm_field_qualify_MplsTerminated(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyMplsTerminated, data, mask);
}

int bcm_field_qualify_DSCP(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyDSCP, data, mask);
}

int bcm_field_qualify_IngressStpState(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyIngressStpState, data, mask);
}

int bcm_field_qualify_Ttl(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyTtl, data, mask);
}

int bcm_field_qualify_L3Routable(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyL3Routable, data, mask);
}

int bcm_field_qualify_Drop(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyDrop, data, mask);
}

int bcm_field_qualify_MyStationHit(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyMyStationHit, data, mask);
}

int bcm_field_qualify_IntPriority(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyIntPriority, data, mask);
}

int bcm_field_qualify_OuterVlanPri(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyOuterVlanPri, data, mask);
}

int bcm_field_qualify_InnerVlanPri(int unit, bcm_field_entry_t entry, uint8 data, uint8 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyInnerVlanPri, data, mask);
}

int bcm_field_qualify_SrcIp(int unit, bcm_field_entry_t entry, bcm_ip_t data, bcm_ip_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifySrcIp, data, mask);
}

int bcm_field_qualify_DstIp(int unit, bcm_field_entry_t entry, bcm_ip_t data, bcm_ip_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyDstIp, data, mask);
}

int bcm_field_qualify_DstIp6(int unit, bcm_field_entry_t entry, bcm_ip6_t data, bcm_ip6_t mask) {
  return qualify(__func__, unit, entry, {bcmFieldQualifyDstIp6, ip6_words(data), ip6_words(mask)});
}

int bcm_field_qualify_PacketRes(int unit, bcm_field_entry_t entry, uint32 data, uint32 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyPacketRes, data, mask);
}

int bcm_field_qualify_Vrf(int unit, bcm_field_entry_t entry, uint32 data, uint32 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyVrf, data, mask);
}

int bcm_field_qualify_InterfaceClassL2(int unit, bcm_field_entry_t entry, uint32 data,
                                       uint32 mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyInterfaceClassL2, data, mask);
}

int bcm_field_qualify_InPort(int unit, bcm_field_entry_t entry, bcm_port_t data, bcm_port_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyInPort, data, mask);
}

int bcm_field_qualify_OutPort(int unit, bcm_field_entry_t entry, bcm_port_t data, bcm_port_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyOutPort, data, mask);
}

int bcm_field_qualify_InPorts(int unit, bcm_field_entry_t entry, bcm_pbmp_t data, bcm_pbmp_t mask) {
  return qualify(__func__, unit, entry,
                 {bcmFieldQualifyInPorts, pbmp_words(data), pbmp_words(mask)});
}

int bcm_field_qualify_ForwardingType(int unit, bcm_field_entry_t entry,
                                     bcm_field_ForwardingType_t type) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyForwardingType, type, kAllOnes);
}

int bcm_field_qualify_SrcPort(int unit, bcm_field_entry_t entry, bcm_module_t data_modid,
                              bcm_module_t mask_modid, bcm_port_t data_port, bcm_port_t mask_port) {
  return qualify(__func__, unit, entry,
                 {bcmFieldQualifySrcPort, pair_words(data_modid, data_port),
                  pair_words(mask_modid, mask_port)});
}

int bcm_field_qualify_DstPort(int unit, bcm_field_entry_t entry, bcm_module_t data_modid,
                              bcm_module_t mask_modid, bcm_port_t data_port, bcm_port_t mask_port) {
  return qualify(__func__, unit, entry,
                 {bcmFieldQualifyDstPort, pair_words(data_modid, data_port),
                  pair_words(mask_modid, mask_port)});
}

int bcm_field_qualify_OuterVlanId(int unit, bcm_field_entry_t entry, bcm_vlan_t data,
                                  bcm_vlan_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyOuterVlanId, data, mask);
}

int bcm_field_qualify_InnerVlanId(int unit, bcm_field_entry_t entry, bcm_vlan_t data,
                                  bcm_vlan_t mask) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyInnerVlanId, data, mask);
}

int bcm_field_qualify_SrcGport(int unit, bcm_field_entry_t entry, bcm_gport_t port_id) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifySrcGport, port_id, kAllOnes);
}

int bcm_field_qualify_IpType(int unit, bcm_field_entry_t entry, bcm_field_IpType_t type) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyIpType, type, kAllOnes);
}

int bcm_field_qualify_IpType_get(int unit, bcm_field_entry_t entry, bcm_field_IpType_t* type) {
  QualifierValue value;
  int rv = read_qualifier(__func__, unit, entry, bcmFieldQualifyIpType, type != nullptr, &value,
                          {{"bcm_field_IpType_t", "ip_type"}});
  if (rv == BCM_E_NONE) *type = static_cast<bcm_field_IpType_t>(value.data[0]);
  return rv;
}

int bcm_field_qualify_IpProtocolCommon(int unit, bcm_field_entry_t entry,
                                       bcm_field_IpProtocolCommon_t protocol) {
  return qualify_scalar(__func__, unit, entry, bcmFieldQualifyIpProtocolCommon, protocol, kAllOnes);
}

int bcm_field_qualify_IpProtocolCommon_get(int unit, bcm_field_entry_t entry,
                                           bcm_field_IpProtocolCommon_t* protocol) {
  QualifierValue value;
  int rv = read_qualifier(__func__, unit, entry, bcmFieldQualifyIpProtocolCommon,
                          protocol != nullptr, &value,
                          {{"bcm_field_IpProtocolCommon_t", "ip_protocol_common"}});
  if (rv == BCM_E_NONE) *protocol = static_cast<bcm_field_IpProtocolCommon_t>(value.data[0]);
  return rv;
}

}  // extern "C"
