/*
 * BCM port API: per-port controls and the port configuration.
 */
#ifndef BCM_PORT_H
#define BCM_PORT_H

#include <bcm/types.h>

#define BCM_PIPES_MAX 8
#define BCM_PP_PIPES_MAX 8

typedef enum bcm_port_control_e {
    bcmPortControlFilterLookup = 16,
    bcmPortControlFilterIngress = 17,
    bcmPortControlFilterEgress = 18
} bcm_port_control_t;

/* The port sets of a unit, in the SDK's field order. */
typedef struct bcm_port_config_s {
    bcm_pbmp_t fe;
    bcm_pbmp_t ge;
    bcm_pbmp_t xe;
    bcm_pbmp_t ce;
    bcm_pbmp_t le;
    bcm_pbmp_t cc;
    bcm_pbmp_t cd;
    bcm_pbmp_t e;
    bcm_pbmp_t hg;
    bcm_pbmp_t sci;
    bcm_pbmp_t sfi;
    bcm_pbmp_t spi;
    bcm_pbmp_t spi_subport;
    bcm_pbmp_t port;
    bcm_pbmp_t cpu;
    bcm_pbmp_t all;
    bcm_pbmp_t stack_int;
    bcm_pbmp_t stack_ext;
    bcm_pbmp_t tdm;
    bcm_pbmp_t pon;
    bcm_pbmp_t llid;
    bcm_pbmp_t il;
    bcm_pbmp_t xl;
    bcm_pbmp_t rcy;
    bcm_pbmp_t sat;
    bcm_pbmp_t ipsec;
    bcm_pbmp_t per_pipe[BCM_PIPES_MAX];
    bcm_pbmp_t nif;
    bcm_pbmp_t control;
    bcm_pbmp_t eventor;
    bcm_pbmp_t olp;
    bcm_pbmp_t oamp;
    bcm_pbmp_t erp;
    bcm_pbmp_t roe;
    bcm_pbmp_t rcy_mirror;
    bcm_pbmp_t per_pp_pipe[BCM_PP_PIPES_MAX];
    bcm_pbmp_t stat;
    bcm_pbmp_t crps;
    bcm_pbmp_t lb;
} bcm_port_config_t;

#ifdef __cplusplus
extern "C" {
#endif

extern int bcm_port_control_set(int unit, bcm_port_t port, bcm_port_control_t type, int value);
extern int bcm_port_control_get(int unit, bcm_port_t port, bcm_port_control_t type, int *value);
extern void bcm_port_config_t_init(bcm_port_config_t *pconfig);
extern int bcm_port_config_get(int unit, bcm_port_config_t *config);

#ifdef __cplusplus
}
#endif

#endif /* BCM_PORT_H */
