/*
 * BCM spanning-tree group API: port STP states.
 */
#ifndef BCM_STG_H
#define BCM_STG_H

typedef enum bcm_stg_stp_e {
    BCM_STG_STP_DISABLE = 0,
    BCM_STG_STP_BLOCK = 1,
    BCM_STG_STP_LISTEN = 2,
    BCM_STG_STP_LEARN = 3,
    BCM_STG_STP_FORWARD = 4,
    BCM_STG_STP_COUNT = 5
} bcm_stg_stp_t;

#endif /* BCM_STG_H */
