/*
 * BCM VLAN API (the part the field processor shares).
 */
#ifndef BCM_VLAN_H
#define BCM_VLAN_H

#include <bcm/types.h>

#ifdef __cplusplus
extern "C" {
#endif

extern void bcm_vlan_action_set_t_init(bcm_vlan_action_set_t *action);

#ifdef __cplusplus
}
#endif

#endif /* BCM_VLAN_H */
