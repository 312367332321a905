// L3 interfaces and egress objects.
#include <cstring>

#include <bcm/error.h>
#include <bcm/l3.h>
#include <bcm/switch.h>

#include "c_flags.h"
#include "c_source.h"
#include "call_args.h"
#include "sdk_call.h"
#include "text.h"
#include "words.h"

namespace bcmsim::detail {
namespace {

// Egress objects are numbered from the SDK's egress index base.
constexpr bcm_if_t kEgressIdBase = 100000;

bool egress_mode_on(const Device& dev) {
  auto mode = dev.state.switch_controls.find(bcmSwitchL3EgressMode);
  return mode != dev.state.switch_controls.end() && mode->second == 1;
}

// An installed entry switching to the egress object holds a reference on its next hop.
bool used_by_installed_entry(const State& state, bcm_if_t egress) {
  for (const auto& [id, entry] : state.entries) {
    if (!entry.installed) continue;
    const ActionValue* l3_switch = entry.installed->action(bcmFieldActionL3Switch);
    if (l3_switch && static_cast<bcm_if_t>(l3_switch->param0) == egress) return true;
  }
  return false;
}

int create_intf(Device& dev, bcm_l3_intf_t* intf) {
  if (!intf) return refuse(Why::BadArgument, BCM_E_PARAM);
  auto& intfs = dev.state.l3_intfs;
  const bool replace = intf->l3a_flags & BCM_L3_REPLACE;
  bcm_if_t id = intf->l3a_intf_id;
  if (intf->l3a_flags & BCM_L3_WITH_ID) {
    if (id < 0) return refuse(Why::BadArgument, BCM_E_PARAM);
    if (intfs.count(id) && !replace) return refuse(Why::L3ObjectExists, BCM_E_EXISTS);
  } else {
    // Nothing looks interfaces up by MAC address and VLAN: the same pair twice is two interfaces.
    id = dev.intf_ids.take([&](int taken) { return intfs.count(taken) > 0; });
  }
  intf->l3a_intf_id = id;
  intfs[id] = *intf;
  return BCM_E_NONE;
}

int create_egress(Device& dev, uint32 flags, bcm_l3_egress_t* egress, bcm_if_t* if_id) {
  if (!egress_mode_on(dev)) return refuse(Why::L3EgressModeOff, BCM_E_DISABLED);
  if (!egress || !if_id) return refuse(Why::BadArgument, BCM_E_PARAM);
  auto& egresses = dev.state.l3_egresses;
  bcm_if_t id = *if_id;
  if (flags & BCM_L3_WITH_ID) {
    if (id < kEgressIdBase) return refuse(Why::BadArgument, BCM_E_PARAM);
    if (egresses.count(id) && !(flags & BCM_L3_REPLACE)) {
      return refuse(Why::L3ObjectExists, BCM_E_EXISTS);
    }
  } else {
    id = dev.egress_ids.take([&](int taken) { return egresses.count(taken) > 0; });
  }
  egresses[id] = {flags, *egress};
  *if_id = id;
  return BCM_E_NONE;
}

std::string intf_text(const bcm_l3_intf_t* intf) {
  if (!intf) return "NULL";
  return "{flags " + hex_text(intf->l3a_flags) + ", id " + std::to_string(intf->l3a_intf_id) +
         ", mac " + mac_text(mac_words(intf->l3a_mac_addr)) + ", vid " +
         std::to_string(intf->l3a_vid) + "}";
}

std::string egress_text(const bcm_l3_egress_t* egress) {
  if (!egress) return "NULL";
  return "{flags " + hex_text(egress->flags) + ", flags2 " + hex_text(egress->flags2) + ", intf " +
         std::to_string(egress->intf) + ", mac " + mac_text(mac_words(egress->mac_addr)) +
         ", port " + std::to_string(egress->port) + ", trunk " + std::to_string(egress->trunk) +
         "}";
}

// The interface a call creates or deletes. A creation without BCM_L3_WITH_ID leaves the id to
// the SDK, which writes it back.
LoggedArgs intf_args(int unit, const bcm_l3_intf_t* intf, bool deletes) {
  CSourceBuilder source;
  source.number(unit);
  if (!intf) return {std::to_string(unit) + ", NULL", source.literal("NULL").build()};
  const bcm_if_t id = intf->l3a_intf_id;
  const bool chosen = !deletes && !(intf->l3a_flags & BCM_L3_WITH_ID);
  CSourceBuilder::Fields fields{{"l3a_flags", c_l3_flags(intf->l3a_flags)}};
  if (deletes) fields.push_back({"l3a_intf_id", source.mark(Ref::L3Intf, id)});
  if (!deletes && !chosen) fields.push_back({"l3a_intf_id", std::to_string(id)});
  fields.push_back({"l3a_vid", std::to_string(intf->l3a_vid)});
  source.structure("bcm_l3_intf_t", "intf", fields);
  source.fill(c_mac_bytes("intf.l3a_mac_addr", mac_words(intf->l3a_mac_addr)));
  if (deletes) {
    source.removes(Ref::L3Intf, id);
  } else {
    source.makes(Ref::L3Intf, id, chosen, "intf.l3a_intf_id");
  }
  return {std::to_string(unit) + ", " + intf_text(intf), source.build()};
}

// What the call log keeps of an interface's creation or deletion.
auto keep_intf_args(int unit, const bcm_l3_intf_t* intf, bool deletes) {
  return [unit, kept_intf = kept(intf), deletes] {
    return intf_args(unit, address(kept_intf), deletes);
  };
}

LoggedArgs egress_args(int unit, uint32 flags, const bcm_l3_egress_t* egress, const bcm_if_t* if_id) {
  std::string text = std::to_string(unit) + ", " + hex_text(flags) + ", " + egress_text(egress) +
                     " -> " + (if_id ? std::to_string(*if_id) : "NULL");
  CSourceBuilder source;
  source.number(unit).literal(c_l3_flags(flags));
  if (!egress) return {std::move(text), source.literal("NULL").build()};
  const std::string intf = source.mark(Ref::L3Intf, egress->intf);
  const std::string port = source.mark(Ref::Port, egress->port);
  source.structure("bcm_l3_egress_t", "egress",
                   {{"flags", c_l3_flags(egress->flags)},
                    {"flags2", c_l3_flags2(egress->flags2)},
                    {"intf", intf},
                    {"port", port},
                    {"trunk", std::to_string(egress->trunk)}});
  source.fill(c_mac_bytes("egress.mac_addr", mac_words(egress->mac_addr)));
  if (!if_id) return {std::move(text), source.literal("NULL").build()};
  // With BCM_L3_WITH_ID the call takes the id, which is the caller's.
  const bool chosen = !(flags & BCM_L3_WITH_ID);
  source.output("bcm_if_t", "egress_id");
  if (!chosen) source.fill({"egress_id = " + std::to_string(*if_id) + ";"});
  return {std::move(text), source.makes(Ref::L3Egress, *if_id, chosen, "egress_id").build()};
}

}  // namespace
}  // namespace bcmsim::detail

using namespace bcmsim;
using namespace bcmsim::detail;

extern "C" {

void bcm_l3_intf_t_init(bcm_l3_intf_t* intf) {
  sdk_void_call(__func__, intf);
  if (intf) memset(intf, 0, sizeof(*intf));
}

int bcm_l3_intf_create(int unit, bcm_l3_intf_t* intf) {
  return sdk_call(
      __func__, unit, kNoEntry, [&] { return keep_intf_args(unit, intf, false); },
      [&](Device& dev) -> int { return create_intf(dev, intf); });
}

int bcm_l3_intf_delete(int unit, bcm_l3_intf_t* intf) {
  return sdk_call(
      __func__, unit, kNoEntry, [&] { return keep_intf_args(unit, intf, true); },
      [&](Device& dev) -> int {
        if (!intf) return refuse(Why::BadArgument, BCM_E_PARAM);
        if (!dev.state.l3_intfs.erase(intf->l3a_intf_id)) {
          return refuse(Why::L3ObjectUnknown, BCM_E_NOT_FOUND);
        }
        dev.intf_ids.release(intf->l3a_intf_id);
        return BCM_E_NONE;
      });
}

void bcm_l3_egress_t_init(bcm_l3_egress_t* egr) {
  sdk_void_call(__func__, egr);
  if (egr) memset(egr, 0, sizeof(*egr));
}

int bcm_l3_egress_create(int unit, uint32 flags, bcm_l3_egress_t* egr, bcm_if_t* if_id) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, flags, egress = kept(egr), id = kept(if_id)] {
          return egress_args(unit, flags, address(egress), address(id));
        };
      },
      [&](Device& dev) -> int { return create_egress(dev, flags, egr, if_id); });
}

int bcm_l3_egress_destroy(int unit, bcm_if_t intf) {
  return sdk_call(
      __func__, unit, kNoEntry,
      [&] {
        return [unit, intf] {
          return LoggedArgs{std::to_string(unit) + ", " + std::to_string(intf),
                            CSourceBuilder()
                                .number(unit)
                                .ref(Ref::L3Egress, intf)
                                .removes(Ref::L3Egress, intf)
                                .build()};
        };
      },
      [&](Device& dev) -> int {
        if (!egress_mode_on(dev)) return refuse(Why::L3EgressModeOff, BCM_E_DISABLED);
        if (intf < kEgressIdBase) return refuse(Why::BadArgument, BCM_E_PARAM);
        if (!dev.state.l3_egresses.count(intf)) return refuse(Why::L3ObjectUnknown, BCM_E_NOT_FOUND);
        if (used_by_installed_entry(dev.state, intf)) return refuse(Why::L3EgressBusy, BCM_E_BUSY);
        dev.state.l3_egresses.erase(intf);
        dev.egress_ids.release(intf);
        return BCM_E_NONE;
      });
}

}  // extern "C"
