/*
 * BCM policer API.
 */
#ifndef BCM_POLICER_H
#define BCM_POLICER_H

#include <bcm/types.h>

typedef enum bcm_policer_mode_e {
    bcmPolicerModeSrTcm = 0,
    bcmPolicerModeCommitted = 1,
    bcmPolicerModePeak = 2,
    bcmPolicerModeTrTcm = 3,
    bcmPolicerModeTrTcmDs = 4,
    bcmPolicerModeGreen = 5,
    bcmPolicerModePassThrough = 6,
    bcmPolicerModeSrTcmModified = 7,
    bcmPolicerModeCoupledTrTcmDs = 8,
    bcmPolicerModeCascade = 9,
    bcmPolicerModeCoupledCascade = 10,
    bcmPolicerModeSrTcmTsn = 11,
    bcmPolicerModeCount = 12
} bcm_policer_mode_t;

#define BCM_POLICER_WITH_ID 0x00000001
#define BCM_POLICER_REPLACE 0x00000002
#define BCM_POLICER_COLOR_BLIND 0x00000004
#define BCM_POLICER_DROP_RED 0x00000008
#define BCM_POLICER_MODE_BYTES 0x00000040
#define BCM_POLICER_MODE_PACKETS 0x00000080

/* A policer's configuration: rates in kbit/s, bursts in kbit. */
typedef struct bcm_policer_config_s {
    uint32 flags;
    bcm_policer_mode_t mode;
    uint32 ckbits_sec;
    uint32 cbits_sec_lower;
    uint32 max_ckbits_sec;
    uint32 max_cbits_sec_lower;
    uint32 ckbits_burst;
    uint32 cbits_burst_lower;
    uint32 pkbits_sec;
    uint32 pbits_sec_lower;
    uint32 max_pkbits_sec;
    uint32 max_pbits_sec_lower;
    uint32 pkbits_burst;
    uint32 pbits_burst_lower;
    uint32 kbits_current;
    uint32 bits_current_lower;
    uint32 action_id;
    uint32 sharing_mode;
    uint32 entropy_id;
    bcm_policer_pool_t pool_id;
    uint32 bucket_width;
    uint32 token_gran;
    uint32 bucket_init_val;
    uint32 bucket_rollover_val;
    bcm_core_t core_id;
    bcm_policer_t ncoflow_policer_id;
    bcm_policer_t npoflow_policer_id;
    uint32 actual_ckbits_sec;
    uint32 actual_cbits_sec_lower;
    uint32 actual_ckbits_burst;
    uint32 actual_cbits_burst_lower;
    uint32 actual_pkbits_sec;
    uint32 actual_pbits_sec_lower;
    uint32 actual_pkbits_burst;
    uint32 actual_pbits_burst_lower;
    uint32 average_pkt_size;
    int mark_drop_as_black;
    int color_resolve_profile;
} bcm_policer_config_t;

#ifdef __cplusplus
extern "C" {
#endif

extern void bcm_policer_config_t_init(bcm_policer_config_t *pol_cfg);
extern int bcm_policer_create(int unit, bcm_policer_config_t *pol_cfg, bcm_policer_t *policer_id);
extern int bcm_policer_destroy(int unit, bcm_policer_t policer_id);
extern int bcm_policer_set(int unit, bcm_policer_t policer_id, bcm_policer_config_t *pol_cfg);
extern int bcm_policer_get(int unit, bcm_policer_t policer_id, bcm_policer_config_t *pol_cfg);

#ifdef __cplusplus
}
#endif

#endif /* BCM_POLICER_H */
