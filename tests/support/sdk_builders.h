// Short ways to put groups and entries on the device through the SDK API.
#pragma once

#include <initializer_list>

#include <bcm/field.h>

namespace test_support {

// Creates group `id` with the stage qualifier, the given qualifiers and actions.
inline int create_group(int id, bcm_field_qualify_t stage, std::initializer_list<int> qualifiers,
                        std::initializer_list<int> actions = {}, int priority = 0) {
  bcm_field_group_config_t config;
  bcm_field_group_config_t_init(&config);
  config.flags = BCM_FIELD_GROUP_CREATE_WITH_ID | BCM_FIELD_GROUP_CREATE_WITH_MODE;
  config.group = id;
  config.priority = priority;
  config.mode = bcmFieldGroupModeSingle;
  BCM_FIELD_QSET_ADD(config.qset, stage);
  for (int q : qualifiers) BCM_FIELD_QSET_ADD(config.qset, q);
  for (int a : actions) BCM_FIELD_ASET_ADD(config.aset, a);
  return bcm_field_group_config_create(0, &config);
}

inline bcm_pbmp_t pbmp_of(std::initializer_list<int> ports) {
  bcm_pbmp_t pbmp;
  BCM_PBMP_CLEAR(pbmp);
  for (int port : ports) BCM_PBMP_PORT_ADD(pbmp, port);
  return pbmp;
}

}  // namespace test_support
