// Uses the installed SDK headers, the software device and the platform libraries.
#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/device.h>
#include <filters_common/filters_common.h>
#include <limid/limid.h>

int main() {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageEgress);
  if (bcm_field_group_config_create(0, &config) != BCM_E_NONE) return 1;
  FiltersCommon::FiltersEntry entry(1, 0);
  entry.setMatch(FiltersCommon::MatchEgressPorts(std::list<limid_t>{limid_ethernet(3)}));
  return bcmsim::state().groups.size() == 1 && entry.getMatches().size() == 1 ? 0 : 1;
}
