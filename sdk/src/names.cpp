#include <bcmsim/names.h>

#include <iterator>
#include <map>

#include <bcm/field.h>
#include <bcm/policer.h>
#include <bcm/port.h>
#include <bcm/switch.h>

#include "qualifier_kinds.h"
#include "text.h"

namespace bcmsim {
namespace {

using detail::hex_text;
using detail::ip4_text;
using detail::ip6_text;
using detail::mac_text;
using detail::QualifierKind;

struct QualifierInfo {
  const char* name;
  QualifierKind kind;
};

const std::map<int, QualifierInfo>& qualifier_table() {
  static const std::map<int, QualifierInfo> table{
      {bcmFieldQualifyDstIp6, {"DstIp6", QualifierKind::Ip6}},
      {bcmFieldQualifySrcMac, {"SrcMac", QualifierKind::Mac}},
      {bcmFieldQualifyDstMac, {"DstMac", QualifierKind::Mac}},
      {bcmFieldQualifySrcIp, {"SrcIp", QualifierKind::Ip4}},
      {bcmFieldQualifyDstIp, {"DstIp", QualifierKind::Ip4}},
      {bcmFieldQualifyInPort, {"InPort", QualifierKind::Port}},
      {bcmFieldQualifyInPorts, {"InPorts", QualifierKind::Pbmp}},
      {bcmFieldQualifyDrop, {"Drop", QualifierKind::Decimal}},
      {bcmFieldQualifyOuterVlanId, {"OuterVlanId", QualifierKind::Decimal}},
      {bcmFieldQualifyOuterVlanPri, {"OuterVlanPri", QualifierKind::Decimal}},
      {bcmFieldQualifyInnerVlanId, {"InnerVlanId", QualifierKind::Decimal}},
      {bcmFieldQualifyInnerVlanPri, {"InnerVlanPri", QualifierKind::Decimal}},
      {bcmFieldQualifyL4SrcPort, {"L4SrcPort", QualifierKind::Decimal}},
      {bcmFieldQualifyL4DstPort, {"L4DstPort", QualifierKind::Decimal}},
      {bcmFieldQualifyEtherType, {"EtherType", QualifierKind::Hex}},
      {bcmFieldQualifyIpProtocol, {"IpProtocol", QualifierKind::Decimal}},
      {bcmFieldQualifyDSCP, {"DSCP", QualifierKind::Decimal}},
      {bcmFieldQualifyTtl, {"Ttl", QualifierKind::Decimal}},
      {bcmFieldQualifySrcPort, {"SrcPort", QualifierKind::ModPort}},
      {bcmFieldQualifyDstPort, {"DstPort", QualifierKind::ModPort}},
      {bcmFieldQualifyPacketRes, {"PacketRes", QualifierKind::Decimal}},
      {bcmFieldQualifyIpProtocolCommon, {"IpProtocolCommon", QualifierKind::Enum}},
      {bcmFieldQualifyIpType, {"IpType", QualifierKind::Enum}},
      {bcmFieldQualifyForwardingType, {"ForwardingType", QualifierKind::Enum}},
      {bcmFieldQualifyStage, {"Stage", QualifierKind::Stage}},
      {bcmFieldQualifyStageIngress, {"StageIngress", QualifierKind::Stage}},
      {bcmFieldQualifyStageIngressSecurity, {"StageIngressSecurity", QualifierKind::Stage}},
      {bcmFieldQualifyStageIngressQoS, {"StageIngressQoS", QualifierKind::Stage}},
      {bcmFieldQualifyStageLookup, {"StageLookup", QualifierKind::Stage}},
      {bcmFieldQualifyStageEgress, {"StageEgress", QualifierKind::Stage}},
      {bcmFieldQualifyStageEgressSecurity, {"StageEgressSecurity", QualifierKind::Stage}},
      {bcmFieldQualifyStageExternal, {"StageExternal", QualifierKind::Stage}},
      {bcmFieldQualifyInterfaceClassL2, {"InterfaceClassL2", QualifierKind::Hex}},
      {bcmFieldQualifyL3Routable, {"L3Routable", QualifierKind::Decimal}},
      {bcmFieldQualifyVrf, {"Vrf", QualifierKind::Decimal}},
      {bcmFieldQualifyOutPort, {"OutPort", QualifierKind::Port}},
      {bcmFieldQualifyVlanFormat, {"VlanFormat", QualifierKind::Decimal}},
      {bcmFieldQualifyMplsTerminated, {"MplsTerminated", QualifierKind::Decimal}},
      {bcmFieldQualifyIngressStpState, {"IngressStpState", QualifierKind::Decimal}},
      {bcmFieldQualifyL2SrcStatic, {"L2SrcStatic", QualifierKind::Decimal}},
      {bcmFieldQualifyIntPriority, {"IntPriority", QualifierKind::Decimal}},
      {bcmFieldQualifyMyStationHit, {"MyStationHit", QualifierKind::Decimal}},
      {bcmFieldQualifySrcGport, {"SrcGport", QualifierKind::Gport}},
  };
  return table;
}

const std::map<int, const char*>& action_table() {
  static const std::map<int, const char*> table{
      {bcmFieldActionCosQNew, "CosQNew"},
      {bcmFieldActionCosQCpuNew, "CosQCpuNew"},
      {bcmFieldActionVlanCosQNew, "VlanCosQNew"},
      {bcmFieldActionPrioPktAndIntCopy, "PrioPktAndIntCopy"},
      {bcmFieldActionPrioPktAndIntNew, "PrioPktAndIntNew"},
      {bcmFieldActionPrioPktAndIntTos, "PrioPktAndIntTos"},
      {bcmFieldActionPrioPktAndIntCancel, "PrioPktAndIntCancel"},
      {bcmFieldActionPrioPktCopy, "PrioPktCopy"},
      {bcmFieldActionPrioPktNew, "PrioPktNew"},
      {bcmFieldActionPrioPktTos, "PrioPktTos"},
      {bcmFieldActionPrioPktCancel, "PrioPktCancel"},
      {bcmFieldActionPrioIntCopy, "PrioIntCopy"},
      {bcmFieldActionPrioIntNew, "PrioIntNew"},
      {bcmFieldActionPrioIntTos, "PrioIntTos"},
      {bcmFieldActionPrioIntCancel, "PrioIntCancel"},
      {bcmFieldActionDscpNew, "DscpNew"},
      {bcmFieldActionDscpCancel, "DscpCancel"},
      {bcmFieldActionCopyToCpu, "CopyToCpu"},
      {bcmFieldActionCopyToCpuCancel, "CopyToCpuCancel"},
      {bcmFieldActionSwitchToCpuCancel, "SwitchToCpuCancel"},
      {bcmFieldActionRedirect, "Redirect"},
      {bcmFieldActionRedirectTrunk, "RedirectTrunk"},
      {bcmFieldActionRedirectCancel, "RedirectCancel"},
      {bcmFieldActionRedirectPbmp, "RedirectPbmp"},
      {bcmFieldActionEgressMask, "EgressMask"},
      {bcmFieldActionEgressPortsAdd, "EgressPortsAdd"},
      {bcmFieldActionDrop, "Drop"},
      {bcmFieldActionDropCancel, "DropCancel"},
      {bcmFieldActionL3Switch, "L3Switch"},
      {bcmFieldActionL3SwitchCancel, "L3SwitchCancel"},
      {bcmFieldActionRpDrop, "RpDrop"},
      {bcmFieldActionRpDropCancel, "RpDropCancel"},
      {bcmFieldActionRpDscpNew, "RpDscpNew"},
      {bcmFieldActionRpOuterVlanPrioNew, "RpOuterVlanPrioNew"},
      {bcmFieldActionRpPrioPktNew, "RpPrioPktNew"},
      {bcmFieldActionRpPrioIntNew, "RpPrioIntNew"},
      {bcmFieldActionYpDrop, "YpDrop"},
      {bcmFieldActionYpDropCancel, "YpDropCancel"},
      {bcmFieldActionYpDscpNew, "YpDscpNew"},
      {bcmFieldActionYpOuterVlanPrioNew, "YpOuterVlanPrioNew"},
      {bcmFieldActionYpPrioPktNew, "YpPrioPktNew"},
      {bcmFieldActionYpPrioIntNew, "YpPrioIntNew"},
      {bcmFieldActionInnerVlanPrioNew, "InnerVlanPrioNew"},
      {bcmFieldActionGpDrop, "GpDrop"},
      {bcmFieldActionGpDropCancel, "GpDropCancel"},
      {bcmFieldActionGpDscpNew, "GpDscpNew"},
      {bcmFieldActionGpOuterVlanPrioNew, "GpOuterVlanPrioNew"},
      {bcmFieldActionGpPrioPktNew, "GpPrioPktNew"},
      {bcmFieldActionGpPrioIntNew, "GpPrioIntNew"},
      {bcmFieldActionIncomingMplsPortSet, "IncomingMplsPortSet"},
      {bcmFieldActionSrcMacNew, "SrcMacNew"},
      {bcmFieldActionDstMacNew, "DstMacNew"},
      {bcmFieldActionOuterVlanCopyInner, "OuterVlanCopyInner"},
      {bcmFieldActionOuterVlanPrioCopyInner, "OuterVlanPrioCopyInner"},
      {bcmFieldActionOuterVlanCfiCopyInner, "OuterVlanCfiCopyInner"},
      {bcmFieldActionInnerVlanCopyOuter, "InnerVlanCopyOuter"},
      {bcmFieldActionInnerVlanPrioCopyOuter, "InnerVlanPrioCopyOuter"},
      {bcmFieldActionChangeL2Fields, "ChangeL2Fields"},
  };
  return table;
}

template <class Table>
std::string name_or_number(const Table& table, int value) {
  auto it = table.find(value);
  return it == table.end() ? std::to_string(value) : std::string(it->second);
}

std::string enum_text(int qualifier, uint32_t value) {
  static const std::map<int, const char*> ip_types{{0, "Any"},   {1, "NonIp"}, {5, "Ipv4Any"},
                                                   {10, "Ipv6"}, {11, "Ip"},   {12, "Arp"}};
  static const std::map<int, const char*> protocols{
      {0, "Tcp"},         {1, "Udp"},    {2, "Igmp"},   {3, "Icmp"},   {4, "Ip6Icmp"},
      {5, "Ip6HopByHop"}, {6, "IpInIp"}, {7, "TcpUdp"}, {8, "Unknown"}};
  static const std::map<int, const char*> forwarding{
      {0, "Any"},   {1, "L2"},          {2, "L3"},       {3, "L2Shared"}, {4, "L2Independent"},
      {5, "L2Vpn"}, {6, "L2VpnDirect"}, {7, "L3Direct"}, {8, "Ip4Ucast"}};
  switch (qualifier) {
    case bcmFieldQualifyIpType:
      return name_or_number(ip_types, static_cast<int>(value));
    case bcmFieldQualifyIpProtocolCommon:
      return name_or_number(protocols, static_cast<int>(value));
    default:
      return name_or_number(forwarding, static_cast<int>(value));
  }
}

}  // namespace

namespace detail {

QualifierKind qualifier_kind(int qualifier) {
  auto it = qualifier_table().find(qualifier);
  return it == qualifier_table().end() ? QualifierKind::Hex : it->second.kind;
}

std::string format_qualifier_part(int qualifier, const Words& w) {
  switch (qualifier_kind(qualifier)) {
    case QualifierKind::Decimal:
      return std::to_string(w[0]);
    case QualifierKind::Port:
      return std::to_string(static_cast<int32_t>(w[0]));
    case QualifierKind::Mac:
      return mac_text(w);
    case QualifierKind::Ip4:
      return ip4_text(w[0]);
    case QualifierKind::Ip6:
      return ip6_text(w);
    case QualifierKind::Pbmp:
      return "{" + format_pbmp(w) + "}";
    case QualifierKind::ModPort:
      return std::to_string(static_cast<int32_t>(w[0])) + ", " +
             std::to_string(static_cast<int32_t>(w[1]));
    case QualifierKind::Enum:
      return enum_text(qualifier, w[0]);
    case QualifierKind::Hex:
    case QualifierKind::Gport:
    case QualifierKind::Stage:
      break;
  }
  return hex_text(w[0]);
}

}  // namespace detail

std::string qualifier_name(int qualifier) {
  auto it = qualifier_table().find(qualifier);
  return it == qualifier_table().end() ? std::to_string(qualifier) : it->second.name;
}

std::string action_name(int action) {
  return name_or_number(action_table(), action);
}

std::string stat_type_name(int type) {
  static const std::map<int, const char*> names{
      {0, "Bytes"},           {1, "Packets"},         {2, "GreenBytes"},
      {3, "GreenPackets"},    {4, "YellowBytes"},     {5, "YellowPackets"},
      {6, "RedBytes"},        {7, "RedPackets"},      {8, "NotGreenBytes"},
      {9, "NotGreenPackets"}, {10, "NotYellowBytes"}, {11, "NotYellowPackets"},
      {12, "NotRedBytes"},    {13, "NotRedPackets"}};
  return name_or_number(names, type);
}

std::string group_mode_name(int mode) {
  static const std::map<int, const char*> names{
      {0, "Single"},     {1, "Double"},          {2, "Triple"},           {3, "Quad"},
      {4, "Auto"},       {5, "Direct"},          {6, "DirectExtraction"}, {7, "Hashing"},
      {8, "ExactMatch"}, {9, "IntraSliceDouble"}};
  return name_or_number(names, mode);
}

std::string policer_mode_name(int mode) {
  static const std::map<int, const char*> names{
      {0, "SrTcm"},       {1, "Committed"},       {2, "Peak"},
      {3, "TrTcm"},       {4, "TrTcmDs"},         {5, "Green"},
      {6, "PassThrough"}, {7, "SrTcmModified"},   {8, "CoupledTrTcmDs"},
      {9, "Cascade"},     {10, "CoupledCascade"}, {11, "SrTcmTsn"}};
  return name_or_number(names, mode);
}

std::string port_control_name(int type) {
  static const std::map<int, const char*> names{{bcmPortControlFilterLookup, "FilterLookup"},
                                                {bcmPortControlFilterIngress, "FilterIngress"},
                                                {bcmPortControlFilterEgress, "FilterEgress"}};
  return name_or_number(names, type);
}

std::string switch_control_name(int type) {
  static const std::map<int, const char*> names{{bcmSwitchL3EgressMode, "L3EgressMode"}};
  return name_or_number(names, type);
}

std::string stage_name(Stage stage) {
  switch (stage) {
    case Stage::PreIngress:
      return "pre-ingress";
    case Stage::Ingress:
      return "ingress";
    case Stage::Egress:
      return "egress";
  }
  return "?";
}

std::string format_pbmp(const Words& bitmap) {
  std::string text;
  auto member = [&](int port) { return (bitmap[port / 32] >> (port % 32)) & 1; };
  const int ports = static_cast<int>(bitmap.size()) * 32;
  for (int port = 0; port < ports; ++port) {
    if (!member(port)) continue;
    int last = port;
    while (last + 1 < ports && member(last + 1)) ++last;
    if (!text.empty()) text += ",";
    text += std::to_string(port);
    if (last > port) text += (last == port + 1 ? "," : "-") + std::to_string(last);
    port = last;
  }
  return text;
}

std::string format_qualifier(const QualifierValue& value) {
  std::string data = detail::format_qualifier_part(value.qualifier, value.data);
  switch (detail::qualifier_kind(value.qualifier)) {
    case QualifierKind::Enum:
    case QualifierKind::Gport:
    case QualifierKind::Stage:
      return data;
    case QualifierKind::ModPort:
      return "module " + std::to_string(static_cast<int32_t>(value.data[0])) + "/" +
             hex_text(value.mask[0]) + ", port " +
             std::to_string(static_cast<int32_t>(value.data[1])) + "/" + hex_text(value.mask[1]);
    case QualifierKind::Decimal:
    case QualifierKind::Port:
      return data + "/" + hex_text(value.mask[0]);
    default:
      return data + "/" + detail::format_qualifier_part(value.qualifier, value.mask);
  }
}

std::string format_action(const ActionValue& value) {
  switch (value.form) {
    case ActionForm::Mac:
      return mac_text(value.words);
    case ActionForm::Ports:
      return "{" + format_pbmp(value.words) + "}";
    case ActionForm::Params:
      break;
  }
  return std::to_string(value.param0) + ", " + std::to_string(value.param1);
}

std::string error_name(int rc) {
  static const char* const kNames[] = {
      "BCM_E_NONE",     "BCM_E_INTERNAL", "BCM_E_MEMORY", "BCM_E_UNIT",       "BCM_E_PARAM",
      "BCM_E_EMPTY",    "BCM_E_FULL",     "BCM_E_NOT_FOUND", "BCM_E_EXISTS", "BCM_E_TIMEOUT",
      "BCM_E_BUSY",     "BCM_E_FAIL",     "BCM_E_DISABLED", "BCM_E_BADID",     "BCM_E_RESOURCE",
      "BCM_E_CONFIG",   "BCM_E_UNAVAIL",  "BCM_E_INIT",   "BCM_E_PORT",       "BCM_E_IO",
      "BCM_E_ACCESS",   "BCM_E_NO_HANDLER", "BCM_E_PARTIAL"};
  const int index = -rc;
  if (index < 0 || index >= static_cast<int>(std::size(kNames))) return std::to_string(rc);
  return kNames[index];
}

}  // namespace bcmsim
