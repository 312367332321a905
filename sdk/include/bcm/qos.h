/*
 * BCM QoS API: the QoS models an L3 interface or egress object refers to.
 */
#ifndef BCM_QOS_H
#define BCM_QOS_H

#include <bcm/types.h>

typedef enum bcm_qos_ingress_model_type_e {
    bcmQosIngressModelInvalid = 0,
    bcmQosIngressModelShortpipe = 1,
    bcmQosIngressModelPipe = 2,
    bcmQosIngressModelUniform = 3,
    bcmQosIngressModelStuck = 4
} bcm_qos_ingress_model_type_t;

typedef enum bcm_qos_ingress_ecn_model_type_e {
    bcmQosIngressEcnModelInvalid = 0,
    bcmQosIngressEcnModelEligible = 1
} bcm_qos_ingress_ecn_model_type_t;

typedef struct bcm_qos_ingress_model_s {
    bcm_qos_ingress_model_type_t ingress_phb;
    bcm_qos_ingress_model_type_t ingress_remark;
    bcm_qos_ingress_model_type_t ingress_ttl;
    bcm_qos_ingress_ecn_model_type_t ingress_ecn;
} bcm_qos_ingress_model_t;

typedef enum bcm_qos_egress_model_type_e {
    bcmQosEgressModelUniform = 0,
    bcmQosEgressModelPipeNextNameSpace = 1,
    bcmQosEgressModelPipeMyNameSpace = 2,
    bcmQosEgressModelInitial = 3
} bcm_qos_egress_model_type_t;

typedef enum bcm_qos_egress_ecn_model_type_e {
    bcmQosEgressEcnModelInvalid = 0,
    bcmQosEgressEcnModelEligible = 1
} bcm_qos_egress_ecn_model_type_t;

typedef struct bcm_qos_egress_model_s {
    bcm_qos_egress_model_type_t egress_qos;
    bcm_qos_egress_model_type_t egress_ttl;
    bcm_qos_egress_ecn_model_type_t egress_ecn;
} bcm_qos_egress_model_t;

#endif /* BCM_QOS_H */
