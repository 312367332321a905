/*
 * Chip-level device information: one soc_control_t per attached unit.
 */
#ifndef SOC_DRV_H
#define SOC_DRV_H

#include <sal/types.h>
#include <shared/pbmp.h>

#define SOC_MAX_NUM_SWITCH_DEVICES 16
#define SOC_MAX_NUM_ETHER_DEVICES 2
#define SOC_MAX_NUM_DEVICES (SOC_MAX_NUM_SWITCH_DEVICES + SOC_MAX_NUM_ETHER_DEVICES)
/* The largest port count of the chips a default switch build supports. */
#define SOC_MAX_NUM_PORTS 267

typedef int soc_port_t;
typedef _shr_pbmp_t soc_pbmp_t;
typedef _shr_pbmp_t pbmp_t;

/* One class of ports: its members, and those forced off. */
typedef struct soc_ptype_s {
    int num;
    int min;
    int max;
    soc_port_t port[SOC_MAX_NUM_PORTS];
    pbmp_t bitmap;
    pbmp_t disabled_bitmap;
} soc_ptype_t;

/* The port classes of a unit (the SDK's record holds many more fields). */
typedef struct soc_info_s {
    soc_ptype_t ge;
    soc_ptype_t xe;
    soc_ptype_t ce;
    soc_ptype_t hg;
    soc_ptype_t ether;
    soc_ptype_t port;
    soc_ptype_t all;
    pbmp_t cmic_bitmap;
    pbmp_t lb_pbm;
} soc_info_t;

typedef struct soc_control_s {
    uint32 soc_flags;
    soc_info_t info;
} soc_control_t;

#ifdef __cplusplus
extern "C" {
#endif

extern soc_control_t *soc_control[SOC_MAX_NUM_DEVICES];

#ifdef __cplusplus
}
#endif

#define SOC_CONTROL(unit) (soc_control[unit])
#define SOC_INFO(unit) (SOC_CONTROL(unit)->info)
#define PBMP_ALL(unit) (SOC_INFO(unit).all.bitmap)
#define PBMP_PORT_ALL(unit) (SOC_INFO(unit).port.bitmap)
#define PBMP_E_ALL(unit) (SOC_INFO(unit).ether.bitmap)
#define PBMP_CMIC(unit) (SOC_INFO(unit).cmic_bitmap)
#define PBMP_LB(unit) (SOC_INFO(unit).lb_pbm)

#endif /* SOC_DRV_H */
