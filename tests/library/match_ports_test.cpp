// Port qualifiers on every stage, their failures, and gports that are not local ports.
#include <gtest/gtest.h>

#include <hal_filters_ll/match_translation.h>

#include "support/device_views.h"
#include "support/match_fixture.h"
#include "support/model_builders.h"
#include "support/sdk_builders.h"

namespace {

using namespace FiltersCommon;
using test_support::ports;
using test_support::qualifiers_of;

constexpr auto kPre = FILTERS_GROUP_STAGE_PRE_INGRESS;
constexpr auto kIn = FILTERS_GROUP_STAGE_INGRESS;
constexpr auto kEg = FILTERS_GROUP_STAGE_EGRESS;

class PortQualifiers : public test_support::MatchFixture {
 protected:
  void SetUp() override {
    MatchFixture::SetUp();
    createStageGroups({bcmFieldQualifyInPort, bcmFieldQualifyInPorts, bcmFieldQualifySrcPort,
                       bcmFieldQualifyOutPort, bcmFieldQualifySrcGport});
    bcm_gport_t remote;
    BCM_GPORT_MODPORT_SET(remote, 1, 40);
    HalBcmCommon::GetInstance().SetGport(limid_ethernet(40), remote);
    HalBcmCommon::GetInstance().SetServicePortGport(limid_vpn_access(2), 0x04000007);
    test_support::make_lag(*lags, 1, {4, 5});
  }

  int translate(filtersGroupStage_t stage, const Match& match) {
    return MatchFixture::translate(stage, match, ++eid);
  }

  int eid = 1000;
};

using Row = test_support::MatchRow;

class PortQualifierTable : public PortQualifiers, public ::testing::WithParamInterface<Row> {};

TEST_P(PortQualifierTable, WritesItsQualifierOrFailsWithItsLine) {
  EXPECT_EQ(translate(GetParam().stage, *GetParam().match), GetParam().result);
  EXPECT_EQ(qualifiers_of(eid), GetParam().qualifiers);
  EXPECT_EQ(log.texts(), GetParam().lines);
  // A failure is logged as an error.
  if (GetParam().result != 0) {
    EXPECT_EQ(log.texts(HalCallbacksItf::kError), GetParam().lines);
  }
}

std::shared_ptr<const Match> ingress(std::list<limid_t> list,
                                     std::list<port_type_t> excluded = {}) {
  return std::make_shared<MatchIngressPorts>(std::move(list), std::move(excluded));
}

std::shared_ptr<const Match> egress(std::list<limid_t> list) {
  return std::make_shared<MatchEgressPorts>(std::move(list));
}

const limid_t eth3 = limid_ethernet(3), eth9 = limid_ethernet(9), eth40 = limid_ethernet(40),
              eth50 = limid_ethernet(50), lag1 = limid_lag(1);

INSTANTIATE_TEST_SUITE_P(
    Table, PortQualifierTable,
    ::testing::Values(
        Row{"IngressBitmapWithLagMembers",
            kIn,
            ingress({eth3, lag1}),
            0,
            {"InPorts={3-5}/{0-32}"},
            {}},
        Row{"IngressAllButCpu",
            kIn,
            ingress({}, {PORT_TYPE_CPU}),
            0,
            {"InPorts={1-32}/{0-32}"},
            {}},
        Row{"IngressUnknownPort",
            kIn,
            ingress({eth50}),
            -2,
            {},
            {"Error retrieving gport for eth50",
             "Error adding port eth50 to entry 1001 port bitmap"}},
        Row{"PreIngressOnePort", kPre, ingress({eth9}), 0, {"InPort=9/0xffff"}, {}},
        Row{"PreIngressLagAsItStands", kPre, ingress({lag1}), 0, {"InPort=-1/0xffff"}, {}},
        Row{"PreIngressNoPort",
            kPre,
            ingress({}),
            -2,
            {},
            {"Filters-ll-bcm: too much interfaces on pre-ingress match\n"}},
        Row{"PreIngressExclusions",
            kPre,
            ingress({eth9}, {PORT_TYPE_CPU}),
            -2,
            {},
            {"Filters-ll-bcm: match by excluded port types is not supported at pre-ingress "
             "stage\n"}},
        Row{"PreIngressUnknownPort",
            kPre,
            ingress({eth50}),
            -2,
            {},
            {"Filters-ll-bcm: failed to get BCM ports (pre-ingress) - HAL ID not found\n"}},
        Row{"EgressStageInPort", kEg, ingress({eth9}), 0, {"InPort=9/0xffff"}, {}},
        Row{"EgressStageRemotePort", kEg, ingress({eth40}), 0, {"InPort=-1/0xffff"}, {}},
        Row{"EgressStageTwoPorts",
            kEg,
            ingress({eth9, eth3}),
            -2,
            {},
            {"Filters-ll-bcm: too much interfaces on egress match\n"}},
        Row{"EgressStageExclusions",
            kEg,
            ingress({}, {PORT_TYPE_CPU}),
            -2,
            {},
            {"Filters-ll-bcm: match by excluded port types is not supported at egress stage\n"}},
        Row{"EgressStageUnknownPort",
            kEg,
            ingress({eth50}),
            -2,
            {},
            {"Filters-ll-bcm: failed to get BCM ports (egress) - HAL ID not found\n"}},
        Row{"UnsupportedStage",
            FILTERS_GROUP_STAGE_NONE,
            ingress({eth9}),
            -2,
            {},
            {"Filters-ll-bcm: match ingress ports on unsupported stage\n"}},
        Row{"OutPort", kEg, egress({eth9}), 0, {"OutPort=9/0xff"}, {}},
        Row{"OutPortRemote", kEg, egress({eth40}), 0, {"OutPort=-1/0xff"}, {}},
        Row{"OutPortNone", kEg, egress({}), 0, {}, {}},
        Row{"OutPortLag", kEg, egress({lag1}), 0, {}, {}},
        Row{"OutPortTwo",
            kEg,
            egress({eth9, eth3}),
            -2,
            {},
            {"Filters-ll-bcm: too much interfaces for the same egress hardware filter entry\n"}},
        Row{"OutPortUnknown",
            kEg,
            egress({eth50}),
            -2,
            {},
            {"Filters-ll-bcm: failed to convert port to gport (egress) - HAL ID not found\n"}},
        Row{"SrcPortRemote",
            kIn,
            std::make_shared<MatchSrcPort>(eth40),
            0,
            {"SrcPort=module 0/0x0, port -1/0xffffffff"},
            {}},
        Row{"SrcPortUnknown",
            kIn,
            std::make_shared<MatchSrcPort>(eth50),
            -2,
            {},
            {"Filters-ll-bcm: failed to get BCM port for 'eth50' - HAL ID not found\n"}},
        Row{"VirtualPortFoundAsServicePort",
            kIn,
            std::make_shared<MatchVirtualPort>(limid_vpn_access(2)),
            0,
            {"InPorts={7}/{0-32}"},
            {}},
        Row{"VirtualPortUnknown",
            kIn,
            std::make_shared<MatchVirtualPort>(limid_vpn_access(3)),
            -2,
            {},
            {"Filters-ll-bcm: Virtual Port not found\n"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(PortQualifiers, InPortsIsRewrittenFromTheCacheWhichPassesItsOwnCode) {
  ASSERT_EQ(bcm_field_entry_create_id(0, 16, 1500), 0);
  log.clear();
  EXPECT_EQ(HalFiltersLL::ConfigureInPortsMatch(1500), -2);
  EXPECT_EQ(log.texts(),
            std::vector<std::string>{"Entry 1500 does not exist on the ingress port bitmap cache"});
  ASSERT_EQ(HalFiltersLL::filters_cache_.UpdatePortListEntryInformation(ports({lag1}), 1500), 0);
  EXPECT_EQ(HalFiltersLL::ConfigureInPortsMatch(1500), 0);
  EXPECT_EQ(qualifiers_of(1500), std::vector<std::string>{"InPorts={4,5}/{0-32}"});
}

}  // namespace
