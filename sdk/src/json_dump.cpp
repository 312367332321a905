// The JSON dump of the whole device.
#include <bcmsim/json.h>

#include <bcmsim/device.h>
#include <bcmsim/names.h>

#include "json_writer.h"
#include "text.h"
#include "words.h"

namespace bcmsim {
namespace {

using detail::JsonWriter;

void write_view(JsonWriter& json, const EntryView& view) {
  json.begin_object().key("qualifiers").begin_array();
  for (const QualifierValue& q : view.qualifiers) {
    json.begin_object()
        .key("qualifier")
        .value(qualifier_name(q.qualifier))
        .key("value")
        .value(format_qualifier(q))
        .end_object();
  }
  json.end_array().key("actions").begin_array();
  for (const ActionValue& a : view.actions) {
    json.begin_object()
        .key("action")
        .value(action_name(a.action))
        .key("value")
        .value(format_action(a))
        .end_object();
  }
  json.end_array().key("stat");
  view.stat ? json.value(*view.stat) : json.null();
  json.key("policers").begin_array();
  for (const auto& policer : view.policers) policer ? json.value(*policer) : json.null();
  json.end_array().end_object();
}

void write_groups(JsonWriter& json, const State& state) {
  json.key("groups").begin_array();
  for (const auto& [id, group] : state.groups) {
    json.begin_object()
        .key("id")
        .value(id)
        .key("stage")
        .value(stage_name(group.stage))
        .key("priority")
        .value(group.priority)
        .key("mode")
        .value(group_mode_name(group.mode))
        .key("flags")
        .value(detail::hex_text(group.flags))
        .key("qset")
        .begin_array();
    for (int q : group.qualifiers()) json.value(qualifier_name(q));
    json.end_array().key("aset").begin_array();
    for (int a : group.actions()) json.value(action_name(a));
    json.end_array().key("entries").begin_array();
    for (int entry : group.entries) json.value(entry);
    json.end_array().end_object();
  }
  json.end_array();
}

void write_entries(JsonWriter& json, const State& state) {
  json.key("entries").begin_array();
  for (int id : state.entry_ids()) {
    const Entry& entry = *state.entry(id);
    json.begin_object()
        .key("id")
        .value(id)
        .key("group")
        .value(entry.group)
        .key("priority")
        .value(entry.priority)
        .key("staged");
    write_view(json, entry.staged);
    json.key("installed");
    if (entry.installed) {
      write_view(json, *entry.installed);
    } else {
      json.null();
    }
    json.end_object();
  }
  json.end_array();
}

void write_stats(JsonWriter& json, const State& state) {
  json.key("stats").begin_array();
  for (const auto& [id, stat] : state.stats) {
    json.begin_object().key("id").value(id).key("group").value(stat.group).key("values");
    json.begin_object();
    for (size_t i = 0; i < stat.types.size(); ++i) {
      json.key(stat_type_name(stat.types[i])).value(stat.values[i]);
    }
    json.end_object().key("entries").begin_array();
    for (int entry : stat.entries) json.value(entry);
    json.end_array().end_object();
  }
  json.end_array();
}

void write_policers(JsonWriter& json, const State& state) {
  json.key("policers").begin_array();
  for (const auto& [id, policer] : state.policers) {
    const bcm_policer_config_t& c = policer.config;
    json.begin_object()
        .key("id")
        .value(id)
        .key("mode")
        .value(policer_mode_name(c.mode))
        .key("flags")
        .value(detail::hex_text(c.flags))
        .key("ckbits_sec")
        .value(uint64_t{c.ckbits_sec})
        .key("ckbits_burst")
        .value(uint64_t{c.ckbits_burst})
        .key("pkbits_sec")
        .value(uint64_t{c.pkbits_sec})
        .key("pkbits_burst")
        .value(uint64_t{c.pkbits_burst})
        .key("attached")
        .begin_array();
    for (const auto& [entry, level] : policer.attachments) {
      json.begin_object().key("entry").value(entry).key("level").value(level).end_object();
    }
    json.end_array().end_object();
  }
  json.end_array();
}

void write_l3(JsonWriter& json, const State& state) {
  json.key("l3_intfs").begin_array();
  for (const auto& [id, intf] : state.l3_intfs) {
    json.begin_object()
        .key("id")
        .value(id)
        .key("mac")
        .value(detail::mac_text(detail::mac_words(intf.l3a_mac_addr)))
        .key("vlan")
        .value(int{intf.l3a_vid})
        .end_object();
  }
  json.end_array().key("l3_egress").begin_array();
  for (const auto& [id, object] : state.l3_egresses) {
    const bcm_l3_egress_t& e = object.egress;
    json.begin_object()
        .key("id")
        .value(id)
        .key("flags")
        .value(detail::hex_text(e.flags))
        .key("flags2")
        .value(detail::hex_text(e.flags2))
        .key("intf")
        .value(e.intf)
        .key("mac")
        .value(detail::mac_text(detail::mac_words(e.mac_addr)))
        .key("port")
        .value(e.port)
        .end_object();
  }
  json.end_array();
}

void write_controls(JsonWriter& json, const State& state) {
  json.key("port_controls").begin_array();
  for (const auto& [key, value] : state.port_controls) {
    json.begin_object()
        .key("port")
        .value(key.first)
        .key("control")
        .value(key.second)
        .key("value")
        .value(value)
        .end_object();
  }
  json.end_array().key("switch_controls").begin_array();
  for (const auto& [control, value] : state.switch_controls) {
    json.begin_object().key("control").value(control).key("value").value(value).end_object();
  }
  json.end_array();
}

}  // namespace

std::string dump_json() {
  const State& s = state();
  JsonWriter json;
  json.begin_object().key("unit").value(config().unit);
  write_groups(json, s);
  write_entries(json, s);
  write_stats(json, s);
  write_policers(json, s);
  write_l3(json, s);
  write_controls(json, s);
  json.end_object();
  return json.text() + "\n";
}

}  // namespace bcmsim
