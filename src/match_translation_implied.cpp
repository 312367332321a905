// Qualifiers that L3 and L4 matches imply (EtherType, IP type, IP protocol), written only where
// nothing has been written yet: another match of the entry, or the user, may have set them.
#include <hal_filters_ll/match_translation.h>

#include "sdk_support.h"

namespace HalFiltersLL {

int setBcmEtherTypeQualifierSoft(unsigned short ether_type, int eid) {
  const int unit = bcmUnit();
  uint16 data = 0, mask = 0;
  int rv = bcm_field_qualify_EtherType_get(unit, eid, &data, &mask);
  if (rv != BCM_E_NONE) return qualifierResultToHalErr(rv, eid);
  if (data != 0 || mask != 0) return HAL_FILTERS_OK;
  return qualifierResultToHalErr(bcm_field_qualify_EtherType(unit, eid, ether_type, 0xFFFF), eid);
}

int setBcmIpTypeQualifierSoft(bcm_field_IpType_e ip_type, int eid) {
  const int unit = bcmUnit();
  bcm_field_IpType_t current = bcmFieldIpTypeAny;
  int rv = bcm_field_qualify_IpType_get(unit, eid, &current);
  if (rv != BCM_E_NONE) return qualifierResultToHalErr(rv, eid);
  if (current != bcmFieldIpTypeAny) return HAL_FILTERS_OK;
  return qualifierResultToHalErr(bcm_field_qualify_IpType(unit, eid, ip_type), eid);
}

int setBcmIpProtocolCommonQualifierSoft(bcm_field_IpProtocolCommon_e protocol, int eid,
                                        FiltersCommon::filtersGroupStage_t stage) {
  if (stage != FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS) return HAL_FILTERS_OK;
  const int unit = bcmUnit();
  // The SDK reads this qualifier back only once it is written: a successful read means it is set.
  bcm_field_IpProtocolCommon_t current;
  if (bcm_field_qualify_IpProtocolCommon_get(unit, eid, &current) == BCM_E_NONE) {
    return HAL_FILTERS_OK;
  }
  return qualifierResultToHalErr(bcm_field_qualify_IpProtocolCommon(unit, eid, protocol), eid);
}

}  // namespace HalFiltersLL
