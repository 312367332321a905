// The JSON report: the same content as the text report, as one document.
#include <nlohmann/json.hpp>

#include <bcmsim/device.h>
#include <bcmsim/json.h>
#include <bcmsim/names.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "packet_fields.h"
#include "report.h"
#include "tcam_use.h"

namespace filtersim {
namespace {

using nlohmann::json;

json callsJson(const std::vector<bcmsim::Call>& calls) {
  json list = json::array();
  for (const bcmsim::Call& call : calls) {
    list.push_back({{"function", call.function}, {"args", call.args()}, {"rc", call.rc}});
  }
  return list;
}

json verdictJson(const bcmsim::Verdict& verdict) {
  json out = {{"outcome", verdict.outcome()},
              {"text", verdict.text()},
              {"copy_to_cpu", verdict.copy_to_cpu},
              {"redirect_ports", verdict.redirect_ports}};
  auto optional = [&](const char* key, const std::optional<int>& value) {
    if (value) out[key] = *value;
  };
  optional("l3_egress", verdict.l3_egress);
  optional("pcp", verdict.pcp);
  optional("inner_pcp", verdict.inner_pcp);
  optional("dscp", verdict.dscp);
  optional("internal_priority", verdict.internal_priority);
  optional("cos_queue", verdict.cos_queue);
  optional("cpu_cos_queue", verdict.cpu_cos_queue);
  optional("vlan", verdict.vlan);
  optional("mpls_port", verdict.mpls_port);
  return out;
}

json hwEntryJson(const ShownHwEntry& entry) {
  json out = {{"hw_entry", entry.hw_id},         {"installed", entry.installed},
              {"priority", entry.priority},      {"qualifiers", entry.qualifiers},
              {"actions", entry.actions},        {"policers", entry.policers}};
  if (entry.stat) out["stat"] = *entry.stat;
  return out;
}

json snapshotJson(const Snapshot& snapshot) {
  json groups = json::array();
  for (const ShownGroup& group : snapshot.groups) {
    json item = {{"hw_group", group.hw_id}, {"hw_stage", group.hw_stage},
                 {"priority", group.priority}, {"mode", group.mode},
                 {"used", group.used}, {"capacity", group.capacity},
                 {"qualifiers", group.qualifiers}};
    if (group.user) {
      item["stage"] = userStageName(group.user->stage);
      item["group"] = group.user->id;
      item["type"] = group.user->type;
    }
    groups.push_back(item);
  }
  json entries = json::array();
  for (const ShownUserEntry& user : snapshot.user_entries) {
    json hw = json::array();
    for (const ShownHwEntry& entry : user.hw) hw.push_back(hwEntryJson(entry));
    entries.push_back(
        {{"stage", user.stage}, {"group", user.group}, {"entry", user.entry}, {"hw", hw}});
  }
  json others = json::array();
  for (const ShownHwEntry& entry : snapshot.other_entries) others.push_back(hwEntryJson(entry));
  json counters = json::array();
  for (const ShownCounter& counter : snapshot.counters) {
    counters.push_back({{"id", counter.id},
                        {"type", counter.type},
                        {"value", counter.value ? json(*counter.value) : json(nullptr)},
                        {"named_by", counter.shared_by}});
  }
  json policers = json::array();
  for (const ShownPolicer& policer : snapshot.policers) {
    policers.push_back({{"id", policer.id},
                        {"description", policer.description},
                        {"metering", policer.metering}});
  }
  return {{"groups", groups},     {"user_entries", entries}, {"other_entries", others},
          {"counters", counters}, {"policers", policers}};
}

json explanationJson(const std::vector<ExplainedGroup>& explanation) {
  json groups = json::array();
  for (const ExplainedGroup& why : explanation) {
    json item = {{"stage", stageName(why.group.stage)},
                 {"hw_group", why.group.group},
                 {"priority", why.group.priority},
                 {"installed", why.group.installed},
                 {"overridden", why.group.overridden}};
    if (why.user_group) item["group"] = why.user_group->id;
    if (why.group.hit) {
      item["hit"] = {{"hw_entry", *why.group.hit}};
      if (why.hit_entry) item["hit"]["entry"] = *why.hit_entry;
    }
    json closest = json::array();
    for (size_t k = 0; k < why.group.closest.size(); ++k) {
      const bcmsim::NearMiss& miss = why.group.closest[k];
      json near = {{"hw_entry", miss.entry},          {"matched", miss.matched},
                   {"qualifiers", miss.total},        {"first_failed", miss.qualifier},
                   {"packet_value", miss.packet_value}, {"entry_value", miss.entry_value}};
      if (why.closest_entries[k]) near["entry"] = *why.closest_entries[k];
      closest.push_back(near);
    }
    item["closest"] = closest;
    groups.push_back(item);
  }
  return groups;
}

json hitJson(const UserHit& hit) {
  json item = {
      {"stage", stageName(hit.stage)}, {"hw_group", hit.hw_group}, {"hw_entry", hit.hw_entry}};
  if (hit.group) item["group"] = *hit.group;
  if (hit.entry) item["entry"] = *hit.entry;
  return item;
}

json coloursJson(const std::array<uint64_t, 3>& packets) {
  return {{"green", packets[0]}, {"yellow", packets[1]}, {"red", packets[2]}};
}

json replayJson(const ReplaySummary& replay) {
  json user_entries = json::array();
  for (const UserEntryHits& user : replay.user_entries) {
    user_entries.push_back({{"stage", stageName(user.stage)},
                            {"group", user.group},
                            {"entry", user.entry},
                            {"packets", user.packets}});
  }
  json hw_entries = json::array();
  for (const HwEntryHits& hw : replay.hw_entries) {
    json item = hitJson(hw.hit);
    item["packets"] = hw.packets;
    item["coloured"] = coloursJson(hw.coloured);
    item["levels_coloured"] = json::array();
    for (const Colours& level : hw.levels) item["levels_coloured"].push_back(coloursJson(level));
    hw_entries.push_back(item);
  }
  json counters = json::object();
  for (const auto& [id, value] : replay.counters) {
    counters[std::to_string(id)] = value ? json(*value) : json(nullptr);
  }
  json policers = json::array();
  for (const PolicerColours& policer : replay.policers) {
    policers.push_back({{"id", policer.id},
                        {"levels", policer.levels},
                        {"packets", coloursJson(policer.packets)},
                        {"actions", policer.actions}});
  }
  json misses = json::array();
  for (const ReplayMiss& miss : replay.first_misses) {
    json fields = json::object();
    for (const auto& [name, value] : packetFields(miss.packet)) fields[name] = value;
    misses.push_back({{"number", miss.number},
                      {"packet", fields},
                      {"explanation", explanationJson(miss.explanation)}});
  }
  return {{"capture", replay.capture},       {"packets", replay.packets},
          {"verdicts", replay.verdicts},     {"user_entries", user_entries},
          {"hw_entries", hw_entries},        {"counters", counters},
          {"policers", policers},            {"missed", replay.missed},
          {"first_misses", misses},          {"backward_steps", replay.backward_steps},
          {"long_gaps", replay.long_gaps},   {"short_records", replay.short_records}};
}

json checkWarningsJson(const std::string& file, const std::vector<CheckWarning>& warnings) {
  json out = json::array();
  for (const CheckWarning& warning : warnings) {
    out.push_back({{"file", file},
                   {"line", warning.place.line},
                   {"column", warning.place.column},
                   {"check", warning.check},
                   {"message", warning.text}});
  }
  return out;
}

json stepJson(const std::string& file, size_t index, const StepOutcome& step, bool trace) {
  json out = {{"index", index},
              {"kind", step.step->kind},
              {"line", step.step->line},
              {"description", step.description},
              {"result", step.result},
              {"result_name", resultName(step.result)},
              {"expectations", {{"checked", step.checked}, {"failed", step.failures}}}};
  if (step.value) out["value"] = *step.value;
  out["warnings"] = step.warnings;
  out["check_warnings"] = checkWarningsJson(file, step.check_warnings);
  json reasons = json::array();
  for (const Reason& reason : step.reasons) {
    json item = {{"kind", reason.kind == Reason::kLog ? "log" : "sdk_refusal"},
                 {"text", reason.text}};
    if (reason.kind == Reason::kLog) item["level"] = reason.level;
    if (reason.kind == Reason::kSdkRefusal) item["rule"] = ruleJson(reason);
    reasons.push_back(item);
  }
  out["reasons"] = reasons;
  if (const Reason* refusal = firstSdkRefusal(step); step.result != 0 && refusal) {
    out["first_refusal"] = refusal->text;
    out["first_refusal_rule"] = ruleJson(*refusal);
  }
  // The reasons after the cause only followed it.
  if (const Reason* cause = firstCause(step); step.result != 0 && cause) {
    const auto position = static_cast<size_t>(cause - step.reasons.data());
    out["cause"] = reasons[position];
    out["cause"]["index"] = position;
  }
  if (step.classification) {
    out["verdict"] = verdictJson(step.classification->verdict);
    json hits = json::array();
    for (const UserHit& hit : step.hits) hits.push_back(hitJson(hit));
    out["hits"] = hits;
    out["explanation"] = explanationJson(step.explanation);
  }
  if (step.replay) out["replay"] = replayJson(*step.replay);
  if (step.snapshot) out["show"] = snapshotJson(*step.snapshot);
  if (trace) out["calls"] = callsJson(step.calls);
  return out;
}

json counterJson(const RunResult& run) {
  json counters = json::object();
  HalFiltersLL::HalFiltersItf& filters = HalFiltersLL::HalFiltersBcm::getInstance();
  for (unsigned short id : run.counters) {
    unsigned long long value = 0;
    HalLogCapture quiet;
    counters[std::to_string(id)] =
        filters.getCounterValue(id, value) == 0 ? json(value) : json(nullptr);
  }
  return counters;
}

}  // namespace

json ruleJson(const Reason& refusal) {
  json out = {{"function", refusal.function}, {"code", bcmsim::error_name(refusal.rc)}};
  if (!refusal.rule) return out;
  out["rule"] = refusal.rule->id;
  out["words"] = refusal.rule->words;
  out["decided_in"] = refusal.rule->decided_in(refusal.function);
  out["chip_rule"] = refusal.rule->chip;
  return out;
}

json deviceJson() {
  const bcmsim::ChipProfile& chip = bcmsim::config().chip;
  return {{"chip", chip.name}, {"family", chip.family}, {"relaxations", chip.relaxations}};
}

void writeJsonError(std::ostream& out, const std::string& kind, const std::string& message,
                    const LoadError* where) {
  json error = {{"kind", kind}, {"message", message}};
  if (where) {
    error["file"] = where->file();
    error["line"] = where->line();
    error["column"] = where->column();
  }
  out << json{{"error", error}}.dump(2) << "\n";
}

namespace {

// The document is written as the run goes: its steps one by one, the rest at the end.
class JsonReport : public RunSink {
 public:
  JsonReport(std::ostream& out, std::string file, const Sections& sections, bool trace)
      : out_(out), file_(std::move(file)), sections_(sections), trace_(trace) {}

  void start(const RunResult&) override {
    out_ << "{\n\"scenario\": " << json(file_).dump() << ",\n\"device\": " << deviceJson().dump(2)
         << ",\n\"steps\": [";
  }
  void step(size_t index, const StepOutcome& step) override {
    out_ << (index == 1 ? "\n" : ",\n") << stepJson(file_, index, step, trace_).dump(2);
  }
  void finish(const RunResult& run) override {
    out_ << "\n]";
    const json rest = tail(run);
    for (const auto& [key, value] : rest.items()) {
      out_ << ",\n" << json(key).dump() << ": " << value.dump(2);
    }
    out_ << "\n}\n";
  }
  void fatal(size_t, const std::string& line) override {
    out_ << "\n],\n\"fatal\": " << json(line).dump() << "\n}\n";
    out_.flush();
  }

 private:
  json tail(const RunResult& run) const {
    const json device = json::parse(bcmsim::dump_json());
    json hardware = json::object();
    auto section = [&](bool shown, std::initializer_list<const char*> keys) {
      if (!shown) return;
      for (const char* key : keys) hardware[key] = device[key];
    };
    section(sections_.groups, {"groups"});
    section(sections_.entries, {"entries"});
    section(sections_.counters, {"stats"});
    section(sections_.policers, {"policers"});
    section(sections_.l3, {"l3_intfs", "l3_egress"});
    json out = {{"hardware", hardware},
                {"tcam", tcamJson(tcamInUse())},
                {"tcam_moves", bcmsim::state().tcam_moves},
                {"at_the_end", snapshotJson(takeSnapshot({}, run.groups))},
                {"summary",
                 {{"checked", run.checked},
                  {"held", run.checked - run.failed},
                  {"failed", run.failed}}}};
    if (sections_.counters) out["counters"] = counterJson(run);
    if (sections_.calls) {
      json calls = callsJson(run.setup_calls);
      for (const json& call : callsJson(run.step_calls)) calls.push_back(call);
      out["calls"] = calls;
    }
    return out;
  }

  std::ostream& out_;
  std::string file_;
  Sections sections_;
  bool trace_;
};

}  // namespace

std::unique_ptr<RunSink> jsonReport(std::ostream& out, const std::string& file,
                                    const Sections& sections, bool trace) {
  return std::make_unique<JsonReport>(out, file, sections, trace);
}

}  // namespace filtersim
