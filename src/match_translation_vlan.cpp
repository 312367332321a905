// VLAN and PCP qualifiers, and the service VLAN class of the ingress interface. A set-valued match
// writes its smallest value: after expansion every hardware entry holds a set of one.
#include <hal_filters_ll/match_translation.h>

#include <hal_filters_ll/device_profile.h>

#include "match_setter.h"

namespace HalFiltersLL {
namespace {

using namespace FiltersCommon;

// The smallest value of a set-valued match, or -1 (and a log line) when the set is empty.
template <class Set>
int smallest(const Set& values, const char* match_name) {
  if (!values.empty()) return *values.begin();
  callbacks().log(kLogError, "Filters-ll-bcm: %s holds no value\n", match_name);
  return -1;
}

// One qualifier call with the smallest value of the match's set.
template <class M, class Values, class Qualify>
int qualifySmallest(const Match* match, int eid, const char* match_name, const char* cast_error,
                    Values values_of, Qualify qualify) {
  auto* typed = matchAs<M>(match, cast_error);
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  const int value = smallest(values_of(*typed), match_name);
  if (value < 0) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(qualify(bcmUnit(), eid, value), eid);
}

constexpr bcm_vlan_t kVlanIdMask = 0xFFF;
constexpr uint8 kPcpMask = 7;

auto vlanIds = [](const MatchVlanId& m) -> const auto& {
  return m.getVlanIds();
};
auto pcps = [](const MatchPcpSet& m) -> const auto& {
  return m.getPcps();
};

}  // namespace

int setBcmExternalVlanIdQualifier(const std::list<limid_t>&, filtersGroupStage_t,
                                  const Match* match, int eid) {
  return qualifySmallest<MatchExternalVlanId>(
      match, eid, "MatchExternalVlanId", "Filters-ll-bcm: MatchExternalVlanId casting error\n",
      vlanIds, [](int unit, int id, int vlan) {
        return bcm_field_qualify_OuterVlanId(unit, id, static_cast<bcm_vlan_t>(vlan), kVlanIdMask);
      });
}

int setBcmInnerVlanIdQualifier(const Match* match, int eid) {
  return qualifySmallest<MatchInternalVlanId>(
      match, eid, "MatchInternalVlanId", "Filters-ll-bcm: MatchInternalVlanId casting error\n",
      vlanIds, [](int unit, int id, int vlan) {
        return bcm_field_qualify_InnerVlanId(unit, id, static_cast<bcm_vlan_t>(vlan), kVlanIdMask);
      });
}

int setBcmPcpQualifier(const std::list<limid_t>&, filtersGroupStage_t stage, const Match* match,
                       int eid) {
  return qualifySmallest<MatchPcp>(
      match, eid, "MatchPcp", "Filters-ll-bcm: MatchPcp casting error\n", pcps,
      [stage](int unit, int id, int pcp) {
        return applyBcmQualifierOuterPcp(unit, id, stage, static_cast<unsigned char>(pcp),
                                         kPcpMask);
      });
}

int setBcmInnerPcpQualifier(const Match* match, int eid) {
  return qualifySmallest<MatchInternalPcp>(
      match, eid, "MatchInternalPcp", "Filters-ll-bcm: MatchInternalPcp casting error\n", pcps,
      [](int unit, int id, int pcp) {
        return bcm_field_qualify_InnerVlanPri(unit, id, static_cast<uint8>(pcp), kPcpMask);
      });
}

int xlateSvcVlanInfo(const vlan_info_t& model, hal_bd_vlan_info_t& bridge_domain) {
  static const std::map<svc_vlan_type_t, hal_bd_svc_vlan_type_t> kTypes = {
      {SVC_VLAN_TYPE_NONE, HAL_BD_SVC_VLAN_NONE},   {SVC_VLAN_TYPE_UNI, HAL_BD_SVC_VLAN_UNI},
      {SVC_VLAN_TYPE_NNI, HAL_BD_SVC_VLAN_NNI},     {SVC_VLAN_TYPE_E_LINE, HAL_BD_SVC_VLAN_E_LINE},
      {SVC_VLAN_TYPE_E_LAN, HAL_BD_SVC_VLAN_E_LAN},
  };
  auto type = kTypes.find(model.svc_vlan_type);
  if (type == kTypes.end()) {
    callbacks().log(kLogError, "Filters-ll-bcm: %s %d - Invalid Service VLAN Type %d\n",
                    "xlateSvcVlanInfo", 893, model.svc_vlan_type);
    return HAL_FILTERS_ERR_FAILED;
  }
  bridge_domain = hal_bd_vlan_info_t{type->second, 0};
  return HAL_FILTERS_OK;
}

int setBcmVlanInfoQualifier(const Match* match, int eid) {
  auto* typed = matchAs<MatchVlanInfo>(
      match, "Filters-ll-bcm: setBcmVlanInfoQualifier 930 - MatchVlanInfo casting error\n");
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  hal_bd_vlan_info_t bridge_domain;
  if (xlateSvcVlanInfo(typed->getVlanInfo(), bridge_domain) != HAL_FILTERS_OK) {
    callbacks().log(kLogError,
                    "Filters-ll-bcm: %s %d - Error Translating Filter Common VLAN Info to HAL BD "
                    "VLAN Info\n",
                    "setBcmVlanInfoQualifier", 940);
    return HAL_FILTERS_ERR_FAILED;
  }
  std::pair<unsigned int, unsigned int> vlan_class;
  if (GetVlanClassIdConfig(bridge_domain, vlan_class) != 0) {
    callbacks().log(kLogError, "Filters-ll-bcm: %s %d - Error to get VLAN Class ID Config\n",
                    "setBcmVlanInfoQualifier", 946);
    return HAL_FILTERS_ERR_FAILED;
  }
  callbacks().log(kLogInfo,
                  "Filters-ll-bcm: %s %d - Configuring Vlan Info qualifier. Data: %d Mask: %d",
                  "setBcmVlanInfoQualifier", 951, vlan_class.first, vlan_class.second);
  return qualifierResultToHalErr(
      bcm_field_qualify_InterfaceClassL2(bcmUnit(), eid, vlan_class.first, vlan_class.second), eid);
}

}  // namespace HalFiltersLL
