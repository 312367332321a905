// Actions: what a filter entry does with a packet it matches. Immutable once built.
#pragma once

#include <list>
#include <memory>

#include <filters_common/typed_object.h>
#include <filters_common/types.h>
#include <limid/limid.h>

namespace FiltersCommon {

// An action of a type that carries no value, and the root of every action class.
class Action {
 public:
  using Root = Action;
  using Type = filtersAction_t;

  Action() = default;
  explicit Action(filtersAction_t type) : type_(type) {}
  virtual ~Action() = default;

  filtersAction_t getType() const { return type_; }
  virtual std::shared_ptr<const Action> clone() const { return std::make_shared<Action>(*this); }

 private:
  filtersAction_t type_ = FILTERS_ACTION_PERMIT;
};

class ActionPorts : public detail::WithValue<Action, std::list<limid_t>> {
 public:
  using WithValue::WithValue;
  const std::list<limid_t>& getPorts() const { return value(); }
};

template <class T>
using ActionValue = detail::WithValue<Action, T>;

template <class Derived, class Base, filtersAction_t Type>
using ActionOf = detail::Concrete<Derived, Base, Type>;

class ActionBlockEgressPorts final
    : public ActionOf<ActionBlockEgressPorts, ActionPorts, FILTERS_ACTION_BLOCK_EGRESS_PORTS> {
 public:
  using Concrete::Concrete;
};

class ActionCopyToCpuCancel final
    : public ActionOf<ActionCopyToCpuCancel, ActionValue<int>, FILTERS_ACTION_COPY_TO_CPU_CANCEL> {
 public:
  using Concrete::Concrete;
  int getCancelType() const { return value(); }  // 0: copies to the CPU, 1: switching to it
};

class ActionSetPcp final
    : public ActionOf<ActionSetPcp, ActionValue<unsigned char>, FILTERS_ACTION_SET_PCP> {
 public:
  using Concrete::Concrete;
  unsigned char getPcp() const { return value(); }
};

class ActionSetPcpAndQueue final : public ActionOf<ActionSetPcpAndQueue, ActionValue<unsigned char>,
                                                   FILTERS_ACTION_SET_PCP_AND_QUEUE> {
 public:
  using Concrete::Concrete;
  unsigned char getPcpAndQueue() const { return value(); }
};

class ActionSetInnerPcp final
    : public ActionOf<ActionSetInnerPcp, ActionValue<unsigned char>, FILTERS_ACTION_SET_INNER_PCP> {
 public:
  using Concrete::Concrete;
  unsigned char getInnerPcp() const { return value(); }
};

class ActionSetDSCP final
    : public ActionOf<ActionSetDSCP, ActionValue<unsigned char>, FILTERS_ACTION_SET_DSCP> {
 public:
  using Concrete::Concrete;
  unsigned char getDSCP() const { return value(); }
};

class ActionMapToCosQueue final : public ActionOf<ActionMapToCosQueue, ActionValue<unsigned char>,
                                                  FILTERS_ACTION_MAP_TO_COS_QUEUE> {
 public:
  using Concrete::Concrete;
  unsigned char getCosQueue() const { return value(); }
};

class ActionMapToCpuCosQueue final
    : public ActionOf<ActionMapToCpuCosQueue, ActionValue<unsigned char>,
                      FILTERS_ACTION_MAP_TO_CPU_COS_QUEUE> {
 public:
  using Concrete::Concrete;
  unsigned char getCpuCosQueue() const { return value(); }
};

class ActionRedirect final
    : public ActionOf<ActionRedirect, ActionValue<std::list<limid_t>>, FILTERS_ACTION_REDIRECT> {
 public:
  using Concrete::Concrete;
  const std::list<limid_t>& getRedirectPorts() const { return value(); }
};

class ActionReplaceDstMac final : public ActionOf<ActionReplaceDstMac, ActionValue<mac_address_t>,
                                                  FILTERS_ACTION_REPLACE_DST_MAC> {
 public:
  using Concrete::Concrete;
  const mac_address_t& getReplaceDstMac() const { return value(); }
};

class ActionReplaceSrcMac final : public ActionOf<ActionReplaceSrcMac, ActionValue<mac_address_t>,
                                                  FILTERS_ACTION_REPLACE_SRC_MAC> {
 public:
  using Concrete::Concrete;
  const mac_address_t& getReplaceSrcMac() const { return value(); }
};

class ActionL3Switch final
    : public ActionOf<ActionL3Switch, ActionValue<unsigned int>, FILTERS_ACTION_L3_SWITCH> {
 public:
  using Concrete::Concrete;
  unsigned int getL3DestinationId() const { return value(); }
};

// The VPN and access port whose MPLS port incoming packets are assigned to.
class MplsPortAction : public Action {
 public:
  explicit MplsPortAction(filtersAction_t type, limid_t vpn = limid_null,
                          limid_t access = limid_null)
      : Action(type), vpn_(vpn), access_(access) {}
  const limid_t& getVpnId() const { return vpn_; }
  const limid_t& getMplsAccessPort() const { return access_; }

 private:
  limid_t vpn_;
  limid_t access_;
};

class ActionMplsPortSet final
    : public ActionOf<ActionMplsPortSet, MplsPortAction, FILTERS_ACTION_MPLS_PORT_SET> {
 public:
  using Concrete::Concrete;
};

}  // namespace FiltersCommon
