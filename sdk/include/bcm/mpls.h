/*
 * BCM MPLS API: the label action an L3 egress object refers to.
 */
#ifndef BCM_MPLS_H
#define BCM_MPLS_H

#include <bcm/types.h>

typedef enum bcm_mpls_egress_action_e {
    BCM_MPLS_EGRESS_ACTION_SWAP = 0,
    BCM_MPLS_EGRESS_ACTION_PHP = 1,
    BCM_MPLS_EGRESS_ACTION_PUSH = 2,
    BCM_MPLS_EGRESS_ACTION_NOP = 3,
    BCM_MPLS_EGRESS_ACTION_SWAP_OR_PUSH = 4
} bcm_mpls_egress_action_t;

#endif /* BCM_MPLS_H */
