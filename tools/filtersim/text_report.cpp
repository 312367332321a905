// The text report: steps with their results and expectations, then the hardware.
#include <iomanip>
#include <sstream>

#include <bcmsim/device.h>
#include <bcmsim/names.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "report.h"

namespace filtersim {
namespace {

std::string bar(size_t used, size_t capacity) {
  constexpr size_t kWidth = 20;
  const size_t filled = capacity ? (used * kWidth + capacity - 1) / capacity : 0;
  return "[" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " +
         std::to_string(used) + "/" + std::to_string(capacity);
}

std::string hitText(const UserHit& hit) {
  std::string text =
      stageName(hit.stage) + " group " +
      (hit.group ? std::to_string(*hit.group) : "hw " + std::to_string(hit.hw_group));
  text +=
      " entry " + (hit.entry ? std::to_string(*hit.entry) : "hw " + std::to_string(hit.hw_entry));
  return text + " (hw " + std::to_string(hit.hw_entry) + ")";
}

void writeCalls(std::ostream& out, const std::vector<bcmsim::Call>& calls, const char* indent) {
  for (const bcmsim::Call& call : calls) out << indent << call.text() << "\n";
}

void writeStep(std::ostream& out, size_t index, const StepOutcome& step, bool trace) {
  std::string outcome =
      step.classification ? step.classification->verdict.text() : resultName(step.result);
  if (step.value) outcome += ", value " + std::to_string(*step.value);
  const Reason* refusal = firstSdkRefusal(step);
  if (step.result != 0 && refusal) outcome += ", first refused by " + refusal->text;
  out << std::setw(4) << index << "  " << step.description << ": " << outcome << "\n";
  for (const std::string& warning : step.warnings) out << "        warning: " << warning << "\n";
  for (const Reason& reason : step.reasons) {
    out << "        "
        << (reason.kind == Reason::kLog ? "log <" + std::to_string(reason.level) + "> "
                                        : std::string("SDK refused "))
        << reason.text << "\n";
  }
  for (const UserHit& hit : step.hits) out << "        hit " << hitText(hit) << "\n";
  for (const std::string& failure : step.failures) out << "        FAILED " << failure << "\n";
  if (step.checked > 0 && step.failures.empty()) {
    out << "        held " << step.checked << (step.checked == 1 ? " expectation" : " expectations")
        << "\n";
  }
  if (trace) writeCalls(out, step.calls, "        | ");
}

void writeView(std::ostream& out, const bcmsim::EntryView& view) {
  out << "        qualifiers:";
  for (const auto& q : view.qualifiers) {
    out << " " << bcmsim::qualifier_name(q.qualifier) << "=" << bcmsim::format_qualifier(q);
  }
  out << "\n        actions:";
  for (const auto& a : view.actions) {
    out << " " << bcmsim::action_name(a.action) << "(" << bcmsim::format_action(a) << ")";
  }
  out << "\n";
}

void writeGroups(std::ostream& out, const bcmsim::State& state) {
  out << "\nGroups\n";
  for (const auto& [id, group] : state.groups) {
    out << "  " << std::setw(3) << id << "  " << std::left << std::setw(12)
        << bcmsim::stage_name(group.stage) << std::right << " priority " << group.priority
        << ", mode " << bcmsim::group_mode_name(group.mode) << "  "
        << bar(group.entries.size(), group.slots.size()) << "\n       qualifiers:";
    for (int q : group.qualifiers()) out << " " << bcmsim::qualifier_name(q);
    out << "\n";
  }
}

void writeEntries(std::ostream& out, const bcmsim::State& state) {
  out << "\nEntries\n";
  for (int id : state.entry_ids()) {
    const bcmsim::Entry& entry = *state.entry(id);
    out << "  " << id << "  group " << entry.group << ", priority " << entry.priority << ", "
        << (entry.installed ? "installed" : "not installed");
    const bcmsim::EntryView& view = entry.installed ? *entry.installed : entry.staged;
    if (view.stat) out << ", stat " << *view.stat;
    for (int level = 0; level < bcmsim::kPolicerLevels; ++level) {
      if (view.policers[level])
        out << ", policer " << *view.policers[level] << " (level " << level << ")";
    }
    out << "\n";
    writeView(out, view);
  }
}

void writeCounters(std::ostream& out, const RunResult& run) {
  out << "\nCounters\n";
  HalFiltersLL::HalFiltersItf& filters = HalFiltersLL::HalFiltersBcm::getInstance();
  for (unsigned short id : run.counters) {
    unsigned long long value = 0;
    HalLogCapture quiet;  // an unknown counter is shown here, not logged
    out << "  " << std::setw(5) << id << "  "
        << (filters.getCounterValue(id, value) == 0 ? std::to_string(value) : "unknown") << "\n";
  }
}

void writePolicers(std::ostream& out, const bcmsim::State& state) {
  out << "\nPolicers\n";
  for (const auto& [id, policer] : state.policers) {
    const bcm_policer_config_t& c = policer.config;
    out << "  " << id << "  " << bcmsim::policer_mode_name(c.mode) << " cir " << c.ckbits_sec
        << " kbit/s burst " << c.ckbits_burst << " kbit, pir " << c.pkbits_sec << " kbit/s burst "
        << c.pkbits_burst << " kbit; attached:";
    for (const auto& [entry, level] : policer.attachments) out << " " << entry << "@" << level;
    out << "\n";
  }
}

void writeL3(std::ostream& out, const bcmsim::State& state) {
  out << "\nL3 objects\n";
  for (const auto& [id, intf] : state.l3_intfs) {
    out << "  interface " << id << "  vlan " << intf.l3a_vid << "\n";
  }
  for (const auto& [id, egress] : state.l3_egresses) {
    out << "  egress " << id << "  flags 0x" << std::hex << egress.egress.flags << std::dec
        << ", intf " << egress.egress.intf << ", port " << egress.egress.port
        << ((egress.egress.flags & BCM_L3_DST_DISCARD) ? " (discard)" : "") << "\n";
  }
}

}  // namespace

void writeTextReport(std::ostream& out, const Scenario& scenario, const RunResult& run,
                     const Sections& sections, bool trace) {
  out << "filtersim: " << scenario.file << "\n\nSteps\n";
  if (trace) writeCalls(out, run.setup_calls, "   set-up | ");
  for (size_t i = 0; i < run.steps.size(); ++i) writeStep(out, i + 1, run.steps[i], trace);
  const bcmsim::State& state = bcmsim::state();
  if (sections.groups) writeGroups(out, state);
  if (sections.entries) writeEntries(out, state);
  if (sections.counters) writeCounters(out, run);
  if (sections.policers) writePolicers(out, state);
  if (sections.l3) writeL3(out, state);
  if (sections.calls) {
    out << "\nSDK calls\n";
    writeCalls(out, run.setup_calls, "  ");
    for (const StepOutcome& step : run.steps) writeCalls(out, step.calls, "  ");
  }
  out << "\nTCAM moves: " << state.tcam_moves << "\n";
  out << "Expectations: " << run.checked - run.failed << " of " << run.checked << " held\n";
}

bool parseSections(const std::string& list, Sections& sections) {
  sections = Sections{false, false, false, false, false, false};
  std::istringstream names(list);
  std::string name;
  while (std::getline(names, name, ',')) {
    if (name == "all") {
      sections = Sections{true, true, true, true, true, true};
    } else if (name == "groups") {
      sections.groups = true;
    } else if (name == "entries") {
      sections.entries = true;
    } else if (name == "counters") {
      sections.counters = true;
    } else if (name == "policers") {
      sections.policers = true;
    } else if (name == "l3") {
      sections.l3 = true;
    } else if (name == "calls") {
      sections.calls = true;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace filtersim
