// Readable names and values of the SDK numbers the device knows.
#pragma once

#include <string>

#include <bcmsim/state.h>

namespace bcmsim {

std::string qualifier_name(int qualifier);  // "SrcMac"; the number for an unknown qualifier
std::string action_name(int action);        // "Drop"
std::string stat_type_name(int type);       // "Packets"
std::string group_mode_name(int mode);      // "Single"
std::string policer_mode_name(int mode);    // "TrTcm"
std::string port_control_name(int type);    // "FilterIngress"
std::string switch_control_name(int type);  // "L3EgressMode"
std::string stage_name(Stage stage);        // "pre-ingress", "ingress", "egress"
std::string error_name(int rc);             // "BCM_E_RESOURCE"; the number when unknown

std::string format_qualifier(const QualifierValue& value);  // "00:11:22:33:44:55/ff:ff:ff:ff:ff:ff"
std::string format_action(const ActionValue& value);        // "param0 3, param1 0" and the like
std::string format_pbmp(const Words& bitmap);               // "1-3,7"

}  // namespace bcmsim
