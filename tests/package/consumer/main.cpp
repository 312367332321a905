// Uses the installed SDK headers and the software device.
#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/device.h>

int main() {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  BCM_FIELD_QSET_ADD(config.qset, bcmFieldQualifyStageEgress);
  if (bcm_field_group_config_create(0, &config) != BCM_E_NONE) return 1;
  return bcmsim::state().groups.size() == 1 ? 0 : 1;
}
