// Match translation: every match type on every stage it takes, its qualifiers, its failures
// and what it implies.
#include <gtest/gtest.h>

#include <hal_filters_ll/match_translation.h>

#include "support/device_views.h"
#include "support/filters_fixture.h"
#include "support/model_builders.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;
using test_support::ports;
using test_support::qualifiers_of;

// Every qualifier the library writes.
const std::initializer_list<int> kEveryQualifier = {
    bcmFieldQualifyDstIp6,          bcmFieldQualifySrcMac,        bcmFieldQualifyDstMac,
    bcmFieldQualifySrcIp,           bcmFieldQualifyDstIp,         bcmFieldQualifyInPort,
    bcmFieldQualifyInPorts,         bcmFieldQualifyDrop,          bcmFieldQualifyOuterVlanId,
    bcmFieldQualifyOuterVlanPri,    bcmFieldQualifyInnerVlanId,   bcmFieldQualifyInnerVlanPri,
    bcmFieldQualifyL4SrcPort,       bcmFieldQualifyL4DstPort,     bcmFieldQualifyEtherType,
    bcmFieldQualifyIpProtocol,      bcmFieldQualifyDSCP,          bcmFieldQualifyTtl,
    bcmFieldQualifySrcPort,         bcmFieldQualifyDstPort,       bcmFieldQualifyPacketRes,
    bcmFieldQualifyIpProtocolCommon, bcmFieldQualifyIpType,       bcmFieldQualifyForwardingType,
    bcmFieldQualifyInterfaceClassL2, bcmFieldQualifyL3Routable,   bcmFieldQualifyVrf,
    bcmFieldQualifyOutPort,         bcmFieldQualifyVlanFormat,    bcmFieldQualifyMplsTerminated,
    bcmFieldQualifyIngressStpState, bcmFieldQualifyL2SrcStatic,   bcmFieldQualifyIntPriority,
    bcmFieldQualifyMyStationHit,    bcmFieldQualifySrcGport};

// A group of the stage holding every qualifier that the stage has.
int createGroupOfEveryQualifier(int id, bcmsim::Stage stage) {
  static const bcm_field_qualify_t kStageQualifier[] = {
      bcmFieldQualifyStageLookup, bcmFieldQualifyStageIngress, bcmFieldQualifyStageEgress};
  const int index = static_cast<int>(stage);
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID;
  config.group = id;
  BCM_FIELD_QSET_ADD(config.qset, kStageQualifier[index]);
  for (int qualifier : kEveryQualifier) {
    if (bcmsim::config().chip.stages[index].qualifiers.count(qualifier)) {
      BCM_FIELD_QSET_ADD(config.qset, qualifier);
    }
  }
  return bcm_field_group_config_create(0, &config);
}

class MatchTranslation : public test_support::FiltersTest {
 protected:
  void SetUp() override {
    FiltersTest::SetUp();
    ASSERT_EQ(createGroupOfEveryQualifier(0, bcmsim::Stage::PreIngress), 0);
    ASSERT_EQ(createGroupOfEveryQualifier(16, bcmsim::Stage::Ingress), 0);
    ASSERT_EQ(createGroupOfEveryQualifier(32, bcmsim::Stage::Egress), 0);
    HalBcmCommon& common = HalBcmCommon::GetInstance();
    common.SetVirtualPortGport(limid_vpn_access(1), 0x30000011);
    common.SetServicePortGport(limid_vpn_access(2), 0x04000007);
    common.SetVlanClass(HAL_BD_SVC_VLAN_E_LINE, 0x40, 0xf0);
    common.SetVlanClass(HAL_BD_SVC_VLAN_E_LAN, 0x80, 0xf0);
    bcm_gport_t remote;
    BCM_GPORT_MODPORT_SET(remote, 1, 40);
    common.SetGport(limid_ethernet(40), remote);
    test_support::make_lag(*lags, 1, {4, 5});
  }

  // Creates hardware entry `eid` in the group of `stage` and translates one match onto it.
  int translate(filtersGroupStage_t stage, const Match& match, int eid = 1000) {
    const int group = stage == FILTERS_GROUP_STAGE_PRE_INGRESS ? 0
                      : stage == FILTERS_GROUP_STAGE_EGRESS    ? 32
                                                               : 16;
    EXPECT_EQ(bcm_field_entry_create_id(0, group, eid), 0);
    log.clear();
    return filters->createBcmMatch({}, stage, &match, eid);
  }
};

struct Row {
  const char* name;
  filtersGroupStage_t stage;
  std::shared_ptr<const Match> match;
  int result;
  std::vector<std::string> qualifiers;  // as the device's view writes them
  std::vector<std::string> lines;       // the log lines
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class EveryMatchType : public MatchTranslation, public ::testing::WithParamInterface<Row> {};

TEST_P(EveryMatchType, WritesItsQualifiersOrFailsWithItsLines) {
  const Row& row = GetParam();
  EXPECT_EQ(translate(row.stage, *row.match), row.result);
  EXPECT_EQ(qualifiers_of(1000), row.qualifiers);
  EXPECT_EQ(log.texts(), row.lines);
  // A failure is logged as an error.
  if (row.result != 0) {
    EXPECT_EQ(log.texts(HalCallbacksItf::kError), row.lines);
  }
}

template <class M, class... Args>
std::shared_ptr<const Match> make(Args&&... args) {
  return std::make_shared<M>(std::forward<Args>(args)...);
}

std::shared_ptr<const Match> plain(int type) {
  return std::make_shared<Match>(static_cast<filtersMatch_t>(type));
}

constexpr auto kPre = FILTERS_GROUP_STAGE_PRE_INGRESS;
constexpr auto kIn = FILTERS_GROUP_STAGE_INGRESS;
constexpr auto kEg = FILTERS_GROUP_STAGE_EGRESS;
const mac_address_t kMac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const mac_address_t kMask{0xff, 0xff, 0xff, 0xff, 0xff, 0x00};
using Bytes = unsigned char;
using Vlans = std::set<unsigned short>;
using Pcps = std::set<unsigned char>;

const ipv6_address_t kIpv6{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
const ipv6_address_t kIpv6Mask{0xff, 0xff, 0xff, 0xff};

std::shared_ptr<const Match> l4(filtersMatch_t type, unsigned short port, unsigned short mask) {
  if (type == FILTERS_MATCH_DST_L4_PORT) return make<MatchDstL4Port>(port, mask);
  return make<MatchSrcL4Port>(port, mask);
}

std::shared_ptr<const Match> vlanInfo(int type) {
  return make<MatchVlanInfo>(vlan_info_t{static_cast<svc_vlan_type_t>(type), 0});
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Table, EveryMatchType,
    ::testing::Values(
        Row{"T00None", kIn, plain(0), 0, {}, {}},
        Row{"T01IngressPorts", kIn, make<MatchIngressPorts>(ports({limid_ethernet(1), limid_ethernet(2)})), 0, {"InPorts={1,2}/{0-32}"}, {}},
        Row{"T02ExternalVlanSmallest", kIn, make<MatchExternalVlanId>(Vlans{300, 20}), 0, {"OuterVlanId=20/0xfff"}, {}},
        Row{"T03Tpid", kIn, make<MatchTPID>(static_cast<unsigned short>(0x8100)), 0, {"EtherType=0x8100/0xffff"}, {}},
        Row{"T04DstMac", kIn, make<MatchDstMac>(kMac, kMask), 0, {"DstMac=00:11:22:33:44:55/ff:ff:ff:ff:ff:00"}, {}},
        Row{"T05DstL4PortPreIngress", kPre, l4(FILTERS_MATCH_DST_L4_PORT, 80, 0xffff), 0, {"IpType=Ip", "IpProtocolCommon=TcpUdp", "L4DstPort=80/0xffff"}, {}},
        Row{"T05DstL4PortIngress", kIn, l4(FILTERS_MATCH_DST_L4_PORT, 80, 0xffff), 0, {"IpType=Ip", "L4DstPort=80/0xffff"}, {}},
        Row{"T06SrcL4PortEgress", kEg, l4(FILTERS_MATCH_SRC_L4_PORT, 1024, 0xfc00), 0, {"IpType=Ip", "L4SrcPort=1024/0xfc00"}, {}},
        Row{"T07SrcMac", kIn, make<MatchSrcMac>(kMac, kMask), 0, {"SrcMac=00:11:22:33:44:55/ff:ff:ff:ff:ff:00"}, {}},
        Row{"T08L2SrcStatic", kIn, make<MatchL2SrcEntryType>(Bytes{1}), 0, {"L2SrcStatic=1/0xff"}, {}},
        Row{"T08L2SrcDynamic", kIn, make<MatchL2SrcEntryType>(Bytes{2}), 0, {"L2SrcStatic=0/0xff"}, {}},
        Row{"T09SrcIpv4", kIn, make<MatchSrcIPv4>(0x0a000000u, 0xff000000u), 0, {"EtherType=0x800/0xffff", "SrcIp=10.0.0.0/255.0.0.0"}, {}},
        Row{"T10DstIpv4", kIn, make<MatchDstIPv4>(0xc0a80101u, 0xffffffffu), 0, {"EtherType=0x800/0xffff", "DstIp=192.168.1.1/255.255.255.255"}, {}},
        Row{"T11InternalVlanSmallest", kIn, make<MatchInternalVlanId>(Vlans{7, 5}), 0, {"InnerVlanId=5/0xfff"}, {}},
        Row{"T12PcpPreIngress", kPre, make<MatchPcp>(Pcps{6, 3}), 0, {"OuterVlanPri=3/0x7"}, {}},
        Row{"T12PcpIngress", kIn, make<MatchPcp>(Pcps{6, 3}), 0, {"IntPriority=3/0x7"}, {}},
        Row{"T12PcpEgress", kEg, make<MatchPcp>(Bytes{2}), 0, {"IntPriority=2/0x7"}, {}},
        Row{"T13InternalPcp", kIn, make<MatchInternalPcp>(Pcps{4}), 0, {"InnerVlanPri=4/0x7"}, {}},
        Row{"T14Unsupported", kIn, plain(14), -2, {}, {}},
        Row{"T15DstIpv6", kIn, make<MatchDstIPv6>(kIpv6, kIpv6Mask), 0, {"EtherType=0x86dd/0xffff", "DstIp6=2001:db8::1/ffff:ffff::"}, {}},
        Row{"T16Untagged", kPre, make<MatchVlanTagging>(VLAN_UNTAGGED), 0, {"VlanFormat=0/0x1"}, {}},
        Row{"T16Tagged", kPre, make<MatchVlanTagging>(VLAN_TAGGED), 0, {"VlanFormat=1/0x1"}, {}},
        Row{"T16BadTagging", kPre, make<MatchVlanTagging>(static_cast<vlan_tagging_t>(2)), -2, {},
            {"Filters-ll-bcm: MatchVlanTagging: Invalid vlan_tagging_t option: 2\n"}},
        Row{"T17IpProtocol", kIn, make<MatchIpProtocol>(Bytes{6}), 0, {"IpType=Ip", "IpProtocol=6/0xff"}, {}},
        Row{"T18PacketRes", kIn, make<MatchPacketRes>(RESOLUTION_L3_UNICAST_KNOWN), 0, {"PacketRes=10/0xffffffff"}, {}},
        Row{"T18LastPacketRes", kIn, make<MatchPacketRes>(static_cast<en_Resolution>(29)), 0, {"PacketRes=29/0xffffffff"}, {}},
        Row{"T18BadPacketRes", kIn, make<MatchPacketRes>(static_cast<en_Resolution>(30)), -2, {},
            {"Filters-ll-bcm: MatchPacketRes: Invalid en_Resolution option\n"}},
        Row{"T19MplsTerm", kIn, make<MatchMplsTerm>(Bytes{1}), 0, {"MplsTerminated=1/0x1"}, {}},
        Row{"T20ToS", kIn, make<MatchToS>(Bytes{46}), 0, {"IpType=Ip", "DSCP=46/0xff"}, {}},
        Row{"T21VirtualPort", kIn, make<MatchVirtualPort>(limid_vpn_access(1)), 0, {"SrcGport=0x30000011"}, {}},
        Row{"T22EgressPort", kEg, make<MatchEgressPorts>(ports({limid_ethernet(5)})), 0, {"OutPort=5/0xff"}, {}},
        Row{"T23StpLearning", kIn, make<MatchIngressStpState>(STP_STATE_LEARNING), 0, {"IngressStpState=3/0xff"}, {}},
        Row{"T23BadStp", kIn, make<MatchIngressStpState>(static_cast<en_StpState>(3)), -2, {},
            {"Filters-ll-bcm: MatchIngressStpState: Invalid en_StpState option\n"}},
        Row{"T24VlanInfoELineLooksUpItsCrossedType", kIn, vlanInfo(SVC_VLAN_TYPE_E_LINE), 0, {"InterfaceClassL2=0x40/0xf0"},
            {"Filters-ll-bcm: setBcmVlanInfoQualifier 951 - Configuring Vlan Info qualifier. Data: 64 Mask: 240"}},
        Row{"T24VlanInfoELan", kIn, vlanInfo(SVC_VLAN_TYPE_E_LAN), 0, {"InterfaceClassL2=0x80/0xf0"},
            {"Filters-ll-bcm: setBcmVlanInfoQualifier 951 - Configuring Vlan Info qualifier. Data: 128 Mask: 240"}},
        Row{"T24VlanInfoBadType", kIn, vlanInfo(5), -2, {},
            {"Filters-ll-bcm: xlateSvcVlanInfo 893 - Invalid Service VLAN Type 5\n",
             "Filters-ll-bcm: setBcmVlanInfoQualifier 940 - Error Translating Filter Common VLAN Info to HAL BD VLAN Info\n"}},
        Row{"T24VlanInfoWithoutClass", kIn, vlanInfo(SVC_VLAN_TYPE_UNI), -2, {},
            {"Filters-ll-bcm: setBcmVlanInfoQualifier 946 - Error to get VLAN Class ID Config\n"}},
        Row{"T25SrcPort", kIn, make<MatchSrcPort>(limid_ethernet(3)), 0, {"SrcPort=module 0/0x0, port 3/0xffffffff"}, {}},
        Row{"T26Ttl", kIn, make<MatchTTL>(Bytes{64}), 0, {"IpType=Ip", "Ttl=64/0xff"}, {}},
        Row{"T27VrfAfterL3Routable", kIn, make<MatchVrfId>(5u), 0, {"L3Routable=1/0xff", "Vrf=5/0xffff"}, {}},
        Row{"T28Drop", kIn, make<MatchDrop>(Bytes{1}), 0, {"Drop=1/0xff"}, {}},
        Row{"T29MyStationHit", kIn, make<MatchMyStationHit>(Bytes{1}), 0, {"MyStationHit=1/0x1"}, {}},
        Row{"T30CpuPort", kPre, plain(30), 0, {"InPort=0/0xff"}, {}},
        Row{"T31ForwardingPointToPoint", kIn, make<MatchForwardingType>(FORWARDING_TYPE_L2_VPN_POINT_TO_POINT), 0, {"ForwardingType=L2VpnDirect"}, {}},
        Row{"T31ForwardingMultipoint", kIn, make<MatchForwardingType>(FORWARDING_TYPE_L2_VPN_MULTIPOINT), 0, {"ForwardingType=L2Vpn"}, {}},
        Row{"T32DestCpuPort", kIn, plain(32), 0, {"DstPort=module 0/0x0, port 0/0xff"}, {}},
        Row{"T33CpuInjected", kIn, plain(33), -2, {}, {"FILTERS_MATCH_CPU_INJECTED_PACKETS match type is not implemented"}},
        Row{"T34DstL4PortRange", kIn, plain(34), -2, {}, {"FILTERS_MATCH_DST_L4_PORT_RANGE match type is not implemented"}},
        Row{"T35End", kIn, plain(35), -2, {}, {"FILTERS_MATCH_END is invalid match type"}},
        Row{"T36AboveTheEnd", kIn, plain(36), 0, {}, {}}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

std::shared_ptr<const Match> ingress(std::list<limid_t> list,
                                     std::list<port_type_t> excluded = {}) {
  return std::make_shared<MatchIngressPorts>(std::move(list), std::move(excluded));
}

std::shared_ptr<const Match> egress(std::list<limid_t> list) {
  return std::make_shared<MatchEgressPorts>(std::move(list));
}

const limid_t eth3 = limid_ethernet(3), eth9 = limid_ethernet(9), eth40 = limid_ethernet(40),
              eth50 = limid_ethernet(50), lag1 = limid_lag(1);

// Port matches on every stage; eth40 is a remote port, eth50 has no gport, lag1 holds eth4 and
// eth5.
// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Ports, EveryMatchType,
    ::testing::Values(
        Row{"IngressBitmapWithLagMembers", kIn, ingress({eth3, lag1}), 0, {"InPorts={3-5}/{0-32}"}, {}},
        Row{"IngressAllButCpu", kIn, ingress({}, {PORT_TYPE_CPU}), 0, {"InPorts={1-32}/{0-32}"}, {}},
        Row{"IngressUnknownPort", kIn, ingress({eth50}), -2, {},
            {"Error retrieving gport for eth50", "Error adding port eth50 to entry 1000 port bitmap"}},
        Row{"PreIngressOnePort", kPre, ingress({eth9}), 0, {"InPort=9/0xffff"}, {}},
        Row{"PreIngressLagAsItStands", kPre, ingress({lag1}), 0, {"InPort=-1/0xffff"}, {}},
        Row{"PreIngressNoPort", kPre, ingress({}), -2, {}, {"Filters-ll-bcm: too much interfaces on pre-ingress match\n"}},
        Row{"PreIngressExclusions", kPre, ingress({eth9}, {PORT_TYPE_CPU}), -2, {},
            {"Filters-ll-bcm: match by excluded port types is not supported at pre-ingress stage\n"}},
        Row{"PreIngressUnknownPort", kPre, ingress({eth50}), -2, {},
            {"Filters-ll-bcm: failed to get BCM ports (pre-ingress) - HAL ID not found\n"}},
        Row{"EgressStageInPort", kEg, ingress({eth9}), 0, {"InPort=9/0xffff"}, {}},
        Row{"EgressStageRemotePort", kEg, ingress({eth40}), 0, {"InPort=-1/0xffff"}, {}},
        Row{"EgressStageTwoPorts", kEg, ingress({eth9, eth3}), -2, {}, {"Filters-ll-bcm: too much interfaces on egress match\n"}},
        Row{"EgressStageExclusions", kEg, ingress({}, {PORT_TYPE_CPU}), -2, {},
            {"Filters-ll-bcm: match by excluded port types is not supported at egress stage\n"}},
        Row{"EgressStageUnknownPort", kEg, ingress({eth50}), -2, {},
            {"Filters-ll-bcm: failed to get BCM ports (egress) - HAL ID not found\n"}},
        Row{"UnsupportedStage", FILTERS_GROUP_STAGE_NONE, ingress({eth9}), -2, {},
            {"Filters-ll-bcm: match ingress ports on unsupported stage\n"}},
        Row{"OutPort", kEg, egress({eth9}), 0, {"OutPort=9/0xff"}, {}},
        Row{"OutPortRemote", kEg, egress({eth40}), 0, {"OutPort=-1/0xff"}, {}},
        Row{"OutPortNone", kEg, egress({}), 0, {}, {}},
        Row{"OutPortLag", kEg, egress({lag1}), 0, {}, {}},
        Row{"OutPortTwo", kEg, egress({eth9, eth3}), -2, {},
            {"Filters-ll-bcm: too much interfaces for the same egress hardware filter entry\n"}},
        Row{"OutPortUnknown", kEg, egress({eth50}), -2, {},
            {"Filters-ll-bcm: failed to convert port to gport (egress) - HAL ID not found\n"}},
        Row{"SrcPortRemote", kIn, std::make_shared<MatchSrcPort>(eth40), 0, {"SrcPort=module 0/0x0, port -1/0xffffffff"}, {}},
        Row{"SrcPortUnknown", kIn, std::make_shared<MatchSrcPort>(eth50), -2, {},
            {"Filters-ll-bcm: failed to get BCM port for 'eth50' - HAL ID not found\n"}},
        Row{"VirtualPortFoundAsServicePort", kIn, std::make_shared<MatchVirtualPort>(limid_vpn_access(2)), 0, {"InPorts={7}/{0-32}"}, {}},
        Row{"VirtualPortUnknown", kIn, std::make_shared<MatchVirtualPort>(limid_vpn_access(3)), -2, {},
            {"Filters-ll-bcm: Virtual Port not found\n"}}),
    [](const auto& test) { return std::string(test.param.name); });
// clang-format on

TEST_F(MatchTranslation, InPortsIsRewrittenFromTheCacheWhichPassesItsOwnCode) {
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1500), 0);
  log.clear();
  EXPECT_EQ(HalFiltersLL::ConfigureInPortsMatch(1500), -2);
  EXPECT_EQ(log.texts(),
            std::vector<std::string>{"Entry 1500 does not exist on the ingress port bitmap cache"});
  ASSERT_EQ(HalFiltersLL::filters_cache_.UpdatePortListEntryInformation(ports({lag1}), 1500), 0);
  EXPECT_EQ(HalFiltersLL::ConfigureInPortsMatch(1500), 0);
  EXPECT_EQ(qualifiers_of(1500), std::vector<std::string>{"InPorts={4,5}/{0-32}"});
}

TEST_F(MatchTranslation, AMatchOfTheWrongClassLogsItsCastingError) {
  const std::map<int, std::string> cast_errors = {
      {3, "MatchTPID casting error\n"},
      {4, "MatchDstMac casting error\n"},
      {5, "MatchDstL4Port casting error\n"},
      {6, "MatchSrcL4Port casting error\n"},
      {7, "MatchSrcMac casting error\n"},
      {8, "MatchL2SrcEntryType casting error\n"},
      {9, "MatchSrcIPv4 casting error\n"},
      {10, "MatchDstIPv4 casting error\n"},
      {2, "MatchExternalVlanId casting error\n"},
      {11, "MatchInternalVlanId casting error\n"},
      {12, "MatchPcp casting error\n"},
      {13, "MatchInternalPcp casting error\n"},
      {15, "MatchDstIPv6 casting error"},
      {16, "MatchVlanTagging casting error\n"},
      {17, "MatchIpProtocol casting error\n"},
      {18, "MatchPacketRes casting error\n"},
      {19, "MatchMplsTerm casting error\n"},
      {20, "MatchToS casting error\n"},
      {21, "MatchVirtualPort casting error\n"},
      {22, "MatchEgressPorts casting error\n"},
      {23, "MatchIngressStpState casting error\n"},
      {24, "setBcmVlanInfoQualifier 930 - MatchVlanInfo casting error\n"},
      {25, "MatchSrcPort casting error\n"},
      {26, "MatchTTL casting error\n"},
      {27, "MatchVrfId casting error\n"},
      {28, "MatchDrop casting error\n"},
      {29, "MatchMyStationHit casting error\n"},
      {31, "MatchForwardingType casting error\n"},
      {1, "MatchIngressPorts casting error at ingress stage\n"},
  };
  int eid = 2000;
  for (const auto& [type, error] : cast_errors) {
    SCOPED_TRACE(type);
    EXPECT_EQ(translate(kIn, Match(static_cast<filtersMatch_t>(type)), ++eid), -2);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"Filters-ll-bcm: " + error});
    EXPECT_TRUE(qualifiers_of(eid).empty());
  }
  EXPECT_EQ(translate(kIn, MatchSrcMac(kMac, kMask), ++eid), 0) << "the right class passes";
}

TEST_F(MatchTranslation, AWrongClassForATypeIsRefusedEvenWhenItIsAMatchClass) {
  // A destination MAC stored under the EtherType type.
  class Mislabelled : public MatchMac {
   public:
    Mislabelled() : MatchMac(FILTERS_MATCH_TPID) {}
  };
  EXPECT_EQ(translate(kIn, Mislabelled()), -2);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"Filters-ll-bcm: MatchTPID casting error\n"});
}

TEST_F(MatchTranslation, ImpliedQualifiersAreWrittenOnce) {
  ASSERT_EQ(translate(kPre, MatchDstL4Port(static_cast<unsigned short>(53),
                                           static_cast<unsigned short>(0xffff))),
            0);
  bcmsim::set_call_log(true);
  EXPECT_EQ(filters->createBcmMatch(
                {}, kPre,
                MatchSrcL4Port(static_cast<unsigned short>(53), static_cast<unsigned short>(0xffff))
                    .clone()
                    .get(),
                1000),
            0);
  EXPECT_EQ(bcmsim::call_names(),
            (std::vector<std::string>{"bcm_field_qualify_IpType_get",
                                      "bcm_field_qualify_IpProtocolCommon_get",
                                      "bcm_field_qualify_L4SrcPort"}));
  EXPECT_EQ(qualifiers_of(1000),
            (std::vector<std::string>{"IpType=Ip", "IpProtocolCommon=TcpUdp", "L4DstPort=53/0xffff",
                                      "L4SrcPort=53/0xffff"}));
}

TEST_F(MatchTranslation, AValueTheUserWroteIsKept) {
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1000), 0);
  ASSERT_EQ(bcm_field_qualify_IpType(0, 1000, bcmFieldIpTypeIpv6), 0);
  ASSERT_EQ(bcm_field_qualify_EtherType(0, 1000, 0x86dd, 0xffff), 0);
  EXPECT_EQ(filters->createBcmMatch({}, kIn, MatchTTL(Bytes{1}).clone().get(), 1000), 0);
  EXPECT_EQ(filters->createBcmMatch({}, kIn, MatchSrcIPv4(1u, ~0u).clone().get(), 1000), 0);
  EXPECT_EQ(qualifiers_of(1000),
            (std::vector<std::string>{"IpType=Ipv6", "EtherType=0x86dd/0xffff", "Ttl=1/0xff",
                                      "SrcIp=0.0.0.1/255.255.255.255"}));
}

TEST_F(MatchTranslation, AnIpv4MatchNeedsEtherTypeInTheGroup) {
  ASSERT_EQ(test_support::create_group(17, bcmFieldQualifyStageIngress, {bcmFieldQualifySrcIp}), 0);
  ASSERT_EQ(bcm_field_entry_create_id(0, 17, 3000), 0);
  EXPECT_EQ(filters->createBcmMatch({}, kIn, MatchSrcIPv4(1u, ~0u).clone().get(), 3000), -2);
  EXPECT_EQ(log.texts(HalCallbacksItf::kError),
            std::vector<std::string>{
                "Couldn't apply match to BCM entry id 3000, qualifier not in group's Qset"});
  EXPECT_TRUE(qualifiers_of(3000).empty()) << "the address is not written either";
}

TEST_F(MatchTranslation, SdkResultsBecomeTheLibrarysWithTheirLine) {
  const std::pair<int, const char*> rows[] = {
      {BCM_E_NOT_FOUND, "Couldn't apply match to BCM entry id 7, qualifier not in group's Qset"},
      {BCM_E_PARAM, "Couldn't apply match to BCM entry id 7, qualifier not in group's Qset"},
      {BCM_E_FULL, "Couldn't apply match to BCM entry id 7, BCM error no -6"},
      {1, "Couldn't apply match to BCM entry id 7, BCM error no 1"},
  };
  for (const auto& [rv, line] : rows) {
    log.clear();
    EXPECT_EQ(HalFiltersLL::qualifierResultToHalErr(rv, 7), -2);
    EXPECT_EQ(log.texts(), std::vector<std::string>{line});
  }
  EXPECT_EQ(HalFiltersLL::qualifierResultToHalErr(0, 7), 0);
}

TEST_F(MatchTranslation, AFailingL3RoutableNeverReachesTheVrf) {
  ASSERT_EQ(test_support::create_group(17, bcmFieldQualifyStageIngress, {bcmFieldQualifyVrf}), 0);
  ASSERT_EQ(bcm_field_entry_create_id(0, 17, 3000), 0);
  EXPECT_EQ(filters->createBcmMatch({}, kIn, MatchVrfId(4u).clone().get(), 3000), -2);
  EXPECT_TRUE(qualifiers_of(3000).empty());
}

TEST(MatchTranslationDeathTest, ANullMatchRaisesTheSdkAssertion) {
  test_support::TestableFilters filters(nullptr, nullptr);
  EXPECT_DEATH(filters.createBcmMatch({}, kIn, nullptr, 1),
               "match != nullptr.*hal_filters_bcm:1235");
}

}  // namespace
