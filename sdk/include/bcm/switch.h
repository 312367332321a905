/*
 * BCM switch API: device-wide controls.
 */
#ifndef BCM_SWITCH_H
#define BCM_SWITCH_H

#include <bcm/types.h>

typedef enum bcm_switch_control_e {
    bcmSwitchL3EgressMode = 230
} bcm_switch_control_t;

#ifdef __cplusplus
extern "C" {
#endif

extern int bcm_switch_control_set(int unit, bcm_switch_control_t type, int arg);
extern int bcm_switch_control_get(int unit, bcm_switch_control_t type, int *arg);

#ifdef __cplusplus
}
#endif

#endif /* BCM_SWITCH_H */
