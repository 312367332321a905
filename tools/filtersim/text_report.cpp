// The text report: steps with their results and expectations, then the hardware.
#include <iomanip>
#include <sstream>

#include <bcmsim/device.h>
#include <bcmsim/names.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/hal_filters_bcm.h>

#include "chip_choice.h"
#include "packet_fields.h"
#include "report.h"
#include "tcam_use.h"

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

void writeSnapshot(std::ostream& out, const Snapshot& snapshot, const Sections& sections,
                   const std::string& indent);

std::string groupName(const ExplainedGroup& why) {
  std::string name = stageName(why.group.stage) + " ";
  name += why.user_group ? "group " + std::to_string(why.user_group->id)
                         : "hw group " + std::to_string(why.group.group);
  return name + " (priority " + std::to_string(why.group.priority) + ")";
}

std::string entryName(std::optional<unsigned int> user_entry, int hw_entry) {
  return (user_entry ? "entry " + std::to_string(*user_entry) + " " : std::string()) + "(hw " +
         std::to_string(hw_entry) + ")";
}

void writeExplanation(std::ostream& out, const std::vector<ExplainedGroup>& explanation,
                      const std::string& indent) {
  for (const ExplainedGroup& why : explanation) {
    out << indent << "why: " << groupName(why) << ": ";
    if (why.group.hit) {
      out << "hit " << entryName(why.hit_entry, *why.group.hit) << "\n";
    } else if (why.group.installed == 0) {
      out << "no installed entry\n";
    } else {
      out << "no hit among " << why.group.installed << " installed; closest:\n";
    }
    for (size_t k = 0; k < why.group.closest.size(); ++k) {
      const bcmsim::NearMiss& miss = why.group.closest[k];
      out << indent << "       " << entryName(why.closest_entries[k], miss.entry) << ", "
          << miss.matched << " of " << miss.total << " qualifiers; first failed " << miss.qualifier
          << ": packet " << miss.packet_value << ", entry " << miss.entry_value << "\n";
    }
    for (const std::string& action : why.group.overridden) {
      out << indent << "       overridden " << action << "\n";
    }
  }
}

std::string userEntryName(bcmsim::Stage stage, unsigned short group, unsigned int entry) {
  return stageName(stage) + " group " + std::to_string(group) + " entry " + std::to_string(entry);
}

void writeReplay(std::ostream& out, const ReplaySummary& replay) {
  out << "        verdicts:";
  const char* separator = " ";
  for (const auto& [outcome, packets] : replay.verdicts) {
    out << separator << outcome << " " << packets;
    separator = ", ";
  }
  out << "\n";
  for (const UserEntryHits& user : replay.user_entries) {
    out << "        hit " << userEntryName(user.stage, user.group, user.entry) << ": "
        << user.packets << " packets\n";
  }
  for (const HwEntryHits& hw : replay.hw_entries) {
    out << "        by hardware entry " << hitText(hw.hit) << ": " << hw.packets << " packets\n";
  }
  for (const auto& [id, value] : replay.counters) {
    out << "        counter " << id << ": " << (value ? std::to_string(*value) : "unknown") << "\n";
  }
  for (const PolicerColours& policer : replay.policers) {
    std::string levels;
    for (int level : policer.levels) {
      levels += (levels.empty() ? "" : " and ") + std::string(level == 0 ? "level 0" : "parent");
    }
    out << "        policer " << policer.id << " (" << levels << ") marked green "
        << policer.packets[0] << ", yellow " << policer.packets[1] << ", red "
        << policer.packets[2];
    if (!policer.actions.empty()) out << "; by the entries' colours";
    for (const auto& [action, packets] : policer.actions) out << ", " << action << " " << packets;
    out << "\n";
  }
  out << "        hit nothing: " << replay.missed << " packets"
      << (replay.first_misses.empty() ? "" : "; the first:") << "\n";
  for (const ReplayMiss& miss : replay.first_misses) {
    out << "          packet " << miss.number << ":";
    for (const auto& [name, value] : packetFields(miss.packet)) out << " " << name << " " << value;
    out << "\n";
    writeExplanation(out, miss.explanation, "            ");
  }
}

void writeStep(std::ostream& out, const std::string& file, size_t index, const StepOutcome& step,
               bool trace) {
  // Found before the step ran, so written before what it gave, as a compiler would.
  for (const CheckWarning& warning : step.check_warnings) {
    out << file << ":" << warning.place.line << ":" << warning.place.column
        << ": warning: " << warning.text << " [" << warning.check << "]\n";
  }
  std::string outcome =
      step.classification ? step.classification->verdict.text() : resultName(step.result);
  if (step.replay) outcome = std::to_string(step.replay->packets) + " packets";
  if (step.value) outcome += ", value " + std::to_string(*step.value);
  const Reason* cause = step.result != 0 ? firstCause(step) : nullptr;
  if (cause && cause->kind == Reason::kSdkRefusal) {
    outcome += ", first refused by " + cause->text + ": " + ruleText(*cause);
  } else if (cause) {
    outcome += ", first error: " + cause->text;
  }
  out << std::setw(4) << index << "  " << step.description << ": " << outcome << "\n";
  for (const std::string& warning : step.warnings) out << "        warning: " << warning << "\n";
  // What followed the cause is set apart from it: the undo's calls are never the cause.
  const char* label = "";
  for (const Reason& reason : step.reasons) {
    if (&reason == cause) {
      label = "cause: ";
    } else if (cause && &reason > cause) {
      label = "then: ";
    }
    if (reason.kind == Reason::kLog) {
      out << "        " << label << "log <" << reason.level << "> " << reason.text << "\n";
    } else {
      out << "        " << label << "SDK refused " << reason.text
          << "\n          rule: " << ruleText(reason) << "\n";
    }
  }
  for (const UserHit& hit : step.hits) out << "        hit " << hitText(hit) << "\n";
  writeExplanation(out, step.explanation, "        ");
  if (step.replay) writeReplay(out, *step.replay);
  for (const std::string& failure : step.failures) out << "        FAILED " << failure << "\n";
  if (step.checked > 0 && step.failures.empty()) {
    out << "        held " << step.checked << (step.checked == 1 ? " expectation" : " expectations")
        << "\n";
  }
  if (step.snapshot) writeSnapshot(out, *step.snapshot, Sections{}, "        ");
  if (trace) writeCalls(out, step.calls, "        | ");
}

std::string list(const std::vector<std::string>& items, const char* none = "-") {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : " ") + item;
  return text.empty() ? none : text;
}

// A section's title: under a step, indented; at the end, after a blank line.
void heading(std::ostream& out, const std::string& indent, const char* title) {
  out << (indent.empty() ? "\n" : indent) << title << "\n";
}

void writeHwEntry(std::ostream& out, const ShownHwEntry& entry, const std::string& indent) {
  out << indent << "hw " << entry.hw_id << "  priority " << entry.priority << ", "
      << (entry.installed ? "installed" : "not installed");
  if (entry.stat) out << ", stat " << *entry.stat;
  for (const std::string& policer : entry.policers) out << ", policer " << policer;
  out << "\n" << indent << "  qualifiers: " << list(entry.qualifiers) << "\n"
      << indent << "  actions: " << list(entry.actions) << "\n";
}

void writeGroups(std::ostream& out, const Snapshot& snapshot, const std::string& indent) {
  heading(out, indent, "Groups");
  for (const ShownGroup& group : snapshot.groups) {
    out << indent << "  ";
    if (group.user) {
      out << userStageName(group.user->stage) << " group " << group.user->id << " (type "
          << group.user->type << ")";
    } else {
      out << "no user group";
    }
    out << "  hw " << group.hw_id << " " << group.hw_stage << ", priority " << group.priority
        << ", mode " << group.mode << "  " << bar(group.used, group.capacity) << "\n"
        << indent << "    qualifiers: " << list(group.qualifiers) << "\n";
  }
}

void writeEntries(std::ostream& out, const Snapshot& snapshot, const std::string& indent) {
  heading(out, indent, "Entries");
  for (const ShownUserEntry& user : snapshot.user_entries) {
    out << indent << "  " << user.stage << " group " << user.group << " entry " << user.entry
        << "  (" << user.hw.size() << (user.hw.size() == 1 ? " hardware entry)" : " hardware entries)")
        << "\n";
    for (const ShownHwEntry& entry : user.hw) writeHwEntry(out, entry, indent + "    ");
  }
  if (!snapshot.other_entries.empty()) out << indent << "  in no user entry\n";
  for (const ShownHwEntry& entry : snapshot.other_entries) writeHwEntry(out, entry, indent + "    ");
}

void writeCounters(std::ostream& out, const Snapshot& snapshot, const std::string& indent) {
  heading(out, indent, "Counters");
  for (const ShownCounter& counter : snapshot.counters) {
    out << indent << "  " << std::setw(5) << counter.id << "  " << std::left << std::setw(14)
        << counter.type << std::right << " "
        << (counter.value ? std::to_string(*counter.value) : "unknown") << "  named by: ";
    for (size_t k = 0; k < counter.shared_by.size(); ++k) {
      out << (k ? "; " : "") << counter.shared_by[k];
    }
    out << "\n";
  }
}

void writePolicers(std::ostream& out, const Snapshot& snapshot, const std::string& indent) {
  heading(out, indent, "Policers");
  for (const ShownPolicer& policer : snapshot.policers) {
    out << indent << "  " << policer.id << "  " << policer.description << "\n";
    for (const std::string& user : policer.metering) out << indent << "    meters " << user << "\n";
  }
}

void writeSnapshot(std::ostream& out, const Snapshot& snapshot, const Sections& sections,
                   const std::string& indent) {
  const bool everything = !snapshot.groups.empty() || !snapshot.counters.empty() ||
                          !snapshot.policers.empty();
  if (sections.groups && everything) writeGroups(out, snapshot, indent);
  if (sections.entries) writeEntries(out, snapshot, indent);
  if (sections.counters && everything) writeCounters(out, snapshot, indent);
  if (sections.policers && everything) writePolicers(out, snapshot, indent);
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

class TextReport : public RunSink {
 public:
  TextReport(std::ostream& out, std::string file, const Sections& sections, bool trace)
      : out_(out), file_(std::move(file)), sections_(sections), trace_(trace) {}

  void start(const RunResult& run) override {
    out_ << "filtersim: " << file_ << "\n";
    for (const std::string& line : deviceLines(bcmsim::config())) out_ << line << "\n";
    out_ << "\nSteps\n";
    if (trace_) writeCalls(out_, run.setup_calls, "   set-up | ");
  }
  void step(size_t index, const StepOutcome& step) override {
    writeStep(out_, file_, index, step, trace_);
  }
  void finish(const RunResult& run) override {
    const bcmsim::State& state = bcmsim::state();
    const Sections& shown = sections_;
    if (shown.groups || shown.entries || shown.counters || shown.policers || shown.l3) {
      out_ << "\nHardware at the end\n";
      writeSnapshot(out_, takeSnapshot({}, run.groups), sections_, "");
    }
    if (sections_.l3) writeL3(out_, state);
    if (sections_.calls) {
      out_ << "\nSDK calls\n";
      writeCalls(out_, run.setup_calls, "  ");
      writeCalls(out_, run.step_calls, "  ");
    }
    out_ << "\nTCAM in use:";
    const TcamUse used = tcamInUse(), total = tcamTotal();
    for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
      out_ << (stage ? "; " : " ")
           << tcamStageText(static_cast<bcmsim::Stage>(stage), used[stage], total[stage]);
    }
    out_ << "\nTCAM moves: " << state.tcam_moves << "\n";
    out_ << "Expectations: " << run.checked - run.failed << " of " << run.checked << " held\n";
  }
  void fatal(size_t, const std::string& line) override {
    out_ << "\nFATAL " << line << "\n";
    out_.flush();
  }

 private:
  std::ostream& out_;
  std::string file_;
  Sections sections_;
  bool trace_;
};

}  // namespace

std::unique_ptr<RunSink> textReport(std::ostream& out, const std::string& file,
                                    const Sections& sections, bool trace) {
  return std::make_unique<TextReport>(out, file, sections, trace);
}

bool parseSections(const std::string& list, Sections& sections) {
  sections = Sections{false, false, false, false, false, false};
  std::istringstream names(list);
  std::string name;
  while (std::getline(names, name, ',')) {
    if (name == "all") {
      sections = Sections{true, true, true, true, true, true};
    } else if (name == "none") {
      sections = Sections{false, false, false, false, false, false};
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
