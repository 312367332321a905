// Programs an ingress group with one entry that drops IPv4 traffic from 10.0.0.0/8 on ports 1
// to 4, installs it, and prints what the device holds.
#include <cstdio>

#include <bcm/error.h>
#include <bcm/field.h>

#include <bcmsim/json.h>

namespace {

int check(int rv, const char* what) {
  if (BCM_FAILURE(rv)) std::fprintf(stderr, "%s: %s\n", what, bcm_errmsg(rv));
  return rv;
}

}  // namespace

int main() {
  const int unit = 0;
  bcm_field_group_config_t group;
  bcm_field_group_config_t_init(&group);
  group.flags = BCM_FIELD_GROUP_CREATE_WITH_ID | BCM_FIELD_GROUP_CREATE_WITH_MODE;
  group.group = 16;
  group.priority = 15;
  group.mode = bcmFieldGroupModeSingle;
  BCM_FIELD_QSET_ADD(group.qset, bcmFieldQualifyStageIngress);
  BCM_FIELD_QSET_ADD(group.qset, bcmFieldQualifyInPorts);
  BCM_FIELD_QSET_ADD(group.qset, bcmFieldQualifyEtherType);
  BCM_FIELD_QSET_ADD(group.qset, bcmFieldQualifySrcIp);
  if (check(bcm_field_group_config_create(unit, &group), "group create")) return 1;

  const bcm_field_entry_t entry = 1048576;
  bcm_pbmp_t ports, all_ports;
  BCM_PBMP_CLEAR(ports);
  BCM_PBMP_CLEAR(all_ports);
  for (int port = 1; port <= 4; ++port) BCM_PBMP_PORT_ADD(ports, port);
  for (int port = 0; port <= 32; ++port) BCM_PBMP_PORT_ADD(all_ports, port);

  if (check(bcm_field_entry_create_id(unit, group.group, entry), "entry create") ||
      check(bcm_field_qualify_InPorts(unit, entry, ports, all_ports), "InPorts") ||
      check(bcm_field_qualify_EtherType(unit, entry, 0x0800, 0xffff), "EtherType") ||
      check(bcm_field_qualify_SrcIp(unit, entry, 0x0a000000, 0xff000000), "SrcIp") ||
      check(bcm_field_action_add(unit, entry, bcmFieldActionDrop, 0, 0), "Drop") ||
      check(bcm_field_entry_prio_set(unit, entry, 255), "priority") ||
      check(bcm_field_entry_install(unit, entry), "install")) {
    return 1;
  }
  std::fputs(bcmsim::dump_json().c_str(), stdout);
  return 0;
}
