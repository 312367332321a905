#include "runner.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>

#include <bcm/error.h>
#include <bcmsim/names.h>
#include <hal_callbacks/hal_callbacks_itf.h>
#include <hal_filters_ll/hal_filters_bcm.h>
#include <qarmw/fault.h>

#include "catalogue.h"
#include "switch_setup.h"

namespace filtersim {
namespace {

using namespace FiltersCommon;
using HalFiltersLL::HalFiltersItf;

std::optional<uint64_t> readCounter(HalFiltersItf& filters, unsigned short id) {
  unsigned long long value = 0;
  if (filters.getCounterValue(id, value) != 0) return std::nullopt;
  return value;
}

void collectCounters(const FiltersEntry& entry, std::set<unsigned short>& ids) {
  for (const auto& [id, counter] : entry.getCounters()) ids.insert(id);
}

class StepRunner {
 public:
  StepRunner(HalFiltersItf& filters, Platform& platform, RunResult& run, const RunOptions& options,
             StepOutcome& outcome)
      : filters_(filters), platform_(platform), run_(run), options_(options), out_(outcome) {}

  void operator()(const CreateGroup& step) {
    const FiltersGroup& g = step.group;
    out_.description = "create group " + userStageName(g.getStage()) + " " + std::to_string(g.getId()) +
                       " (type " + std::to_string(g.getType()) + ", priority " +
                       std::to_string(g.getPriority()) + ", " +
                       std::to_string(g.getEntries().size()) + " entries)";
    out_.result = filters_.createGroup(g);
    if (out_.result == 0) {
      const int hw_id = HalFiltersLL::HalFiltersBcm::getInstance().getHwGid(g.getStage(), g.getId());
      run_.groups[hw_id] = UserGroup{g.getStage(), g.getId(), g.getType()};
    }
    if (std::string warning = undescribedStageWarning(g.getType(), g.getStage()); !warning.empty()) {
      out_.warnings.push_back(std::move(warning));
    }
  }
  void operator()(const CreateEntry& step) {
    out_.description = std::string(step.update ? "update" : "create") + " entry " +
                       userStageName(step.stage) + " group " + std::to_string(step.group) + " entry " +
                       std::to_string(step.entry.getId());
    out_.result = step.update ? filters_.updateEntry(step.stage, step.group, step.entry)
                              : filters_.createEntry(step.stage, step.group, step.entry);
  }
  void operator()(const DeleteEntry& step) {
    out_.description = "delete entry " + userStageName(step.stage) + " group " +
                       std::to_string(step.group) + " entry " + std::to_string(step.entry);
    out_.result = filters_.deleteEntry(step.stage, step.group, step.entry);
  }
  void operator()(const CounterStep& step) {
    out_.description =
        std::string(step.clear ? "clear" : "read") + " counter " + std::to_string(step.counter);
    if (step.clear) {
      out_.result = filters_.clearCounterValue(step.counter);
      return;
    }
    unsigned long long value = 0;
    out_.result = filters_.getCounterValue(step.counter, value);
    if (out_.result == 0) out_.value = value;
  }
  void operator()(const LagMemberChange& step) {
    out_.description = (step.add ? "add " : "remove ") + limid_name(step.member) +
                       (step.add ? " to " : " from ") + limid_name(step.lag);
    out_.result = step.add ? platform_.lags->AddMember(step.lag, step.member)
                           : platform_.lags->RemoveMember(step.lag, step.member);
  }
  void operator()(const LagDestroy& step) {
    out_.description = "destroy " + limid_name(step.lag);
    out_.result = platform_.lags->DestroyLag(step.lag);
  }
  void operator()(const DestinationRemove& step) {
    out_.description = "remove destination " + std::to_string(step.destination);
    out_.result = removeDestination(step.destination, platform_);
  }
  void operator()(const ClearCache&) {
    out_.description = "clear cache";
    filters_.clearCache();
  }
  void operator()(const Show& step) {
    out_.description = "show";
    if (step.filter.user_entry) {
      const ShowFilter::UserEntry& e = *step.filter.user_entry;
      out_.description += " " + userStageName(e.stage) + " group " + std::to_string(e.group) +
                          " entry " + std::to_string(e.entry);
    } else if (step.filter.hw_entry) {
      out_.description += " hardware entry " + std::to_string(*step.filter.hw_entry);
    }
    out_.snapshot = takeSnapshot(step.filter, run_.groups);
  }
  void operator()(const SendPacket& step) {
    out_.description = "packet" + (step.name.empty() ? "" : " '" + step.name + "'");
    out_.explain_in_text = step.explain;
    // Explained before it is classified: classifying counts the packet.
    std::vector<bcmsim::GroupExplanation> why;
    if (options_.explain || step.explain) why = bcmsim::explain(step.packet);
    out_.classification = bcmsim::classify(step.packet);
    for (const bcmsim::GroupExplanation& group : why) {
      if (group.stage == bcmsim::Stage::Egress && out_.classification->verdict.drop) break;
      out_.explanation.push_back(explainedGroup(group, run_.groups));
    }
    for (const bcmsim::Hit& hit : out_.classification->hits) {
      out_.hits.push_back(userHit(hit.stage, hit.group, hit.entry));
    }
  }
  void operator()(const ReplayCapture& step) {
    out_.description = "packets from " + step.paths();
    if (!options_.replay) {
      out_.description += ", not replayed";
      return;
    }
    out_.replay = replayCaptures(
        step, run_.groups, [this](unsigned short id) { return readCounter(filters_, id); },
        options_.threads);
    out_.warnings.insert(out_.warnings.end(), out_.replay->warnings.begin(),
                         out_.replay->warnings.end());
    if (out_.replay->damage) {
      out_.failures.push_back("the capture could not be read to its end after " +
                              std::to_string(out_.replay->packets) +
                              " packets: " + *out_.replay->damage);
    }
  }

 private:
  HalFiltersItf& filters_;
  Platform& platform_;
  RunResult& run_;
  const RunOptions& options_;
  StepOutcome& out_;
};

template <class T>
void check(StepOutcome& out, const char* what, const T& expected, const T& actual) {
  ++out.checked;
  if (expected == actual) return;
  std::ostringstream text;
  text << std::boolalpha << what << ": expected " << expected << ", got " << actual;
  out.failures.push_back(text.str());
}

std::string hitsText(const std::vector<UserHit>& hits, bcmsim::Stage stage) {
  std::string text;
  for (const UserHit& hit : hits) {
    if (hit.stage != stage) continue;
    text +=
        (text.empty() ? "" : ", ") + (hit.entry ? "entry " + std::to_string(*hit.entry)
                                                : "hardware entry " + std::to_string(hit.hw_entry));
  }
  return text.empty() ? "none" : text;
}

// A field as the verdict left it: "unchanged", or what it became.
std::string changed(const bcmsim::Verdict& verdict, const std::string& field) {
  auto number = [](const std::optional<int>& value) {
    return value ? std::to_string(*value) : std::string("unchanged");
  };
  auto mac = [](const std::optional<bcmsim::Mac>& value) {
    return value ? std::string("a new MAC") : std::string("unchanged");
  };
  if (field == "pcp") return number(verdict.pcp);
  if (field == "inner_pcp") return number(verdict.inner_pcp);
  if (field == "dscp") return number(verdict.dscp);
  if (field == "internal_priority") return number(verdict.internal_priority);
  if (field == "cos_queue") return number(verdict.cos_queue);
  if (field == "vlan") return number(verdict.vlan);
  if (field == "src_mac") return mac(verdict.src_mac);
  return mac(verdict.dst_mac);
}

void checkPacket(const PacketExpectation& expect, HalFiltersItf& filters, StepOutcome& out) {
  const bcmsim::Verdict& verdict = out.classification->verdict;
  if (expect.outcome) check(out, "verdict", *expect.outcome, verdict.outcome());
  for (const auto& [stage, entry] : expect.hits) {
    ++out.checked;
    bool held = false;
    for (const UserHit& hit : out.hits) held |= hit.stage == stage && entry && hit.entry == entry;
    if (!entry) held = hitsText(out.hits, stage) == "none";
    if (!held) {
      out.failures.push_back(stageName(stage) + " hit: expected " +
                             (entry ? "entry " + std::to_string(*entry) : std::string("none")) +
                             ", got " + hitsText(out.hits, stage));
    }
  }
  for (const auto& [id, value] : expect.counters) {
    const std::optional<uint64_t> read = readCounter(filters, id);
    out.counters[id] = read;
    check(out, ("counter " + std::to_string(id)).c_str(), std::to_string(value),
          read ? std::to_string(*read) : std::string("unknown"));
  }
  if (expect.copy_to_cpu) check(out, "copy to CPU", *expect.copy_to_cpu, verdict.copy_to_cpu);
  if (expect.pcp)
    check(out, "pcp", std::to_string(*expect.pcp),
          verdict.pcp ? std::to_string(*verdict.pcp) : "unchanged");
  if (expect.dscp)
    check(out, "dscp", std::to_string(*expect.dscp),
          verdict.dscp ? std::to_string(*verdict.dscp) : "unchanged");
  for (const std::string& field : expect.unchanged) {
    check(out, field.c_str(), std::string("unchanged"), changed(verdict, field));
  }
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

void checkEntry(const HardwareExpectation::UserEntry& expect, StepOutcome& out) {
  const Snapshot shown = takeSnapshot({expect.key, std::nullopt}, {});
  const std::string name = userStageName(expect.key.stage) + " group " +
                           std::to_string(expect.key.group) + " entry " +
                           std::to_string(expect.key.entry);
  const std::vector<ShownHwEntry> none;
  const std::vector<ShownHwEntry>& hw =
      shown.user_entries.empty() ? none : shown.user_entries.front().hw;
  if (expect.hw_entries) {
    check(out, (name + " hardware entries").c_str(), *expect.hw_entries, hw.size());
  }
  for (const ShownHwEntry& entry : hw) {
    const std::string where = name + " hw " + std::to_string(entry.hw_id);
    for (const std::string& qualifier : expect.qualifiers) {
      check(out, (where + " qualifier").c_str(), qualifier,
            contains(entry.qualifiers, qualifier) ? qualifier : std::string("none like it"));
    }
    for (const std::string& action : expect.actions) {
      check(out, (where + " action").c_str(), action,
            contains(entry.actions, action) ? action : std::string("none like it"));
    }
  }
}

std::optional<size_t> groupUse(const Snapshot& shown, const HardwareExpectation::Group& group) {
  for (const ShownGroup& candidate : shown.groups) {
    if (candidate.user && candidate.user->stage == group.stage && candidate.user->id == group.id) {
      return candidate.used;
    }
  }
  return std::nullopt;
}

const ShownCounter* shownCounter(const Snapshot& shown, unsigned short id) {
  for (const ShownCounter& counter : shown.counters) {
    if (counter.id == id) return &counter;
  }
  return nullptr;
}

void checkHardware(const HardwareExpectation& expect, const RunResult& run, StepOutcome& out) {
  for (const auto& entry : expect.entries) checkEntry(entry, out);
  const Snapshot shown = takeSnapshot({}, run.groups);
  for (const auto& group : expect.groups) {
    const std::optional<size_t> used = groupUse(shown, group);
    check(out,
          (userStageName(group.stage) + " group " + std::to_string(group.id) + " entries").c_str(),
          std::to_string(group.used), used ? std::to_string(*used) : std::string("no group"));
  }
  for (const auto& counter : expect.counters) {
    const std::string name = "counter " + std::to_string(counter.id);
    const ShownCounter* found = shownCounter(shown, counter.id);
    check(out, (name + " type").c_str(), counter.type, found ? found->type : std::string("unknown"));
    if (counter.value) {
      check(out, name.c_str(), std::to_string(*counter.value),
            found && found->value ? std::to_string(*found->value) : std::string("unknown"));
    }
  }
}

void checkExpectations(const Expectation& expect, HalFiltersItf& filters, const RunResult& run,
                       StepOutcome& out) {
  if (expect.hardware) checkHardware(*expect.hardware, run, out);
  if (expect.result) check(out, "result", resultName(*expect.result), resultName(out.result));
  if (expect.value) {
    check(out, "value", std::to_string(*expect.value),
          out.value ? std::to_string(*out.value) : std::string("none"));
  }
  if (expect.packet) checkPacket(*expect.packet, filters, out);
}

std::string refusalText(const bcmsim::Call& call) {
  return call.function + "(" + call.args() + ") = " + bcmsim::error_name(call.rc) + " (" +
         bcm_errmsg(call.rc) + ")";
}

// Collects the library's log lines of the running step, keeping each one's place among the SDK
// calls, and still sends the lines up to the chosen level to standard error.
class StepLog {
 public:
  explicit StepLog(int stderr_level) : stderr_level_(stderr_level) {
    HalCallbacksItf& callbacks = HalCallbacksItf::getInstance();
    saved_level_ = callbacks.level();
    callbacks.setLevel(std::max(stderr_level, HalCallbacksItf::kWarning));
    to_stderr_ = callbacks.setSink([this](const HalCallbacksItf::Line& line) { take(line); });
  }
  ~StepLog() {
    HalCallbacksItf& callbacks = HalCallbacksItf::getInstance();
    callbacks.setSink(std::move(to_stderr_));
    callbacks.setLevel(saved_level_);
  }
  StepLog(const StepLog&) = delete;
  StepLog& operator=(const StepLog&) = delete;

  void start() { lines_.clear(); }
  // The step's log lines and failed SDK calls, in the order they happened.
  std::vector<Reason> reasons(const std::vector<bcmsim::Call>& calls) const {
    std::vector<Reason> merged;
    size_t line = 0;
    for (size_t call = 0; call <= calls.size(); ++call) {
      for (; line < lines_.size() && lines_[line].calls_before <= call; ++line) {
        merged.push_back(lines_[line].reason);
      }
      if (call < calls.size() && calls[call].rc < 0) {
        merged.push_back(Reason{Reason::kSdkRefusal, 0, refusalText(calls[call]),
                                calls[call].function, calls[call].rc, calls[call].rule});
      }
    }
    return merged;
  }

 private:
  struct Line {
    Reason reason;
    size_t calls_before;
  };

  void take(const HalCallbacksItf::Line& line) {
    if (line.level <= stderr_level_ && to_stderr_) to_stderr_(line);
    if (line.level > HalCallbacksItf::kWarning) return;
    std::string text = line.text;
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    lines_.push_back(
        {Reason{Reason::kLog, line.level, std::move(text), {}, 0, nullptr}, bcmsim::calls().size()});
  }

  int stderr_level_;
  int saved_level_ = 0;
  HalCallbacksItf::Sink to_stderr_;
  std::vector<Line> lines_;
};

// "step i of n" on standard error once a run has taken a second, rewritten in place.
class Progress {
 public:
  Progress(bool enabled, size_t total) : enabled_(enabled), total_(total) {}
  ~Progress() {
    if (shown_) std::fprintf(stderr, "\r%*s\r", 40, "");
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void step() {
    ++done_;
    if (!enabled_ || done_ % 256 != 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - start_ < std::chrono::seconds(1) || now - last_ < std::chrono::milliseconds(100)) {
      return;
    }
    last_ = now;
    shown_ = true;
    std::fprintf(stderr, "\rfiltersim: step %zu of %zu", done_, total_);
  }

 private:
  bool enabled_;
  size_t total_;
  size_t done_ = 0;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point last_{};
};

// The counters of a step's entries whose type the library cannot convert: "counter 3 (type 9) of
// entry 1".
std::string unsupportedCounters(const Step& step) {
  std::vector<const FiltersEntry*> entries;
  if (auto* group = std::get_if<CreateGroup>(&step.action)) {
    for (const auto& [id, entry] : group->group.getEntries()) entries.push_back(&entry);
  } else if (auto* create = std::get_if<CreateEntry>(&step.action)) {
    entries.push_back(&create->entry);
  }
  std::string text;
  for (const FiltersEntry* entry : entries) {
    for (const auto& [id, counter] : entry->getCounters()) {
      const int type = counter.getType();
      if (type >= COUNTER_TYPE_PACKETS && type <= COUNTER_TYPE_NOT_GREEN_BYTES) continue;
      text += (text.empty() ? "" : ", ") + ("counter " + std::to_string(id) + " (type " +
                                            std::to_string(type) + ") of entry " +
                                            std::to_string(entry->getId()));
    }
  }
  return text;
}

// While a run goes, the library's fatal path closes the sink's report with one line naming the
// step (and the counters it could not convert) before the library ends the program.
class FatalPath {
 public:
  FatalPath(RunSink& sink, const size_t& index, const Step* const& step) {
    qarmw::set_fault_handler([&sink, &index, &step](const qarmw::Fault& fault) {
      std::string line = "the library's fatal path in step " + std::to_string(index);
      if (step) {
        line += " (line " + std::to_string(step->line) + ", " + step->kind + ")";
        if (std::string counters = unsupportedCounters(*step); !counters.empty()) {
          line += ", " + counters;
        }
      }
      sink.fatal(index, line + ": " + fault.message);
    });
  }
  ~FatalPath() { qarmw::set_fault_handler(nullptr); }
  FatalPath(const FatalPath&) = delete;
  FatalPath& operator=(const FatalPath&) = delete;
};

}  // namespace

std::string ruleText(const Reason& refusal) {
  if (!refusal.rule) return "no rule named";
  return std::string(refusal.rule->words) + " (decided in " +
         refusal.rule->decided_in(refusal.function) + ")";
}

const Reason* firstSdkRefusal(const StepOutcome& step) {
  for (const Reason& reason : step.reasons) {
    if (reason.kind == Reason::kSdkRefusal) return &reason;
  }
  return nullptr;
}

const Reason* firstCause(const StepOutcome& step) {
  for (const Reason& reason : step.reasons) {
    if (reason.kind == Reason::kSdkRefusal || reason.level <= HalCallbacksItf::kError) {
      return &reason;
    }
  }
  return nullptr;
}

std::string stageName(bcmsim::Stage stage) {
  return bcmsim::stage_name(stage);
}

std::string resultName(int result) {
  switch (result) {
    case 0:
      return "ok";
    case -1:
      return "sdk-error (-1)";
    case -2:
      return "failed (-2)";
    case -3:
      return "no-resource (-3)";
    default:
      return std::to_string(result);
  }
}

RunResult runScenario(const ScenarioStream& scenario, const RunOptions& options, RunSink& sink) {
  RunResult run;
  Platform platform;
  StepLog log(options.log_level);
  // Always on: a step's failed calls are among its reasons.
  bcmsim::set_call_log(true);
  setUpInterfaces(scenario.setup(), platform);
  HalFiltersItf& filters = HalFiltersItf::getInstance(platform.lags, &platform.destinations);
  setUpDestinations(scenario.setup(), platform);
  if (options.trace) run.setup_calls = bcmsim::calls();
  sink.start(run);

  Progress progress(options.progress, scenario.size());
  size_t index = 0;
  const Step* running = nullptr;
  FatalPath fatal_path(sink, index, running);
  StepChecks checks;
  scenario.forEachStep([&](const Step& step) {
    progress.step();
    ++index;
    running = &step;
    StepOutcome outcome;
    outcome.step = &step;
    outcome.check_warnings = checks.before(step, run.groups);
    bcmsim::clear_calls();
    log.start();
    std::visit(StepRunner(filters, platform, run, options, outcome), step.action);
    checks.after(step, outcome.result);
    outcome.reasons = log.reasons(bcmsim::calls());
    // A capture passed over checks nothing of what its replay would give.
    if (options.replay || !std::holds_alternative<ReplayCapture>(step.action)) {
      checkExpectations(step.expect, filters, run, outcome);
    }
    if (options.trace) {
      outcome.calls = bcmsim::calls();
      run.step_calls.insert(run.step_calls.end(), outcome.calls.begin(), outcome.calls.end());
    }
    run.checked += outcome.checked;
    run.failed += static_cast<int>(outcome.failures.size());
    if (auto* group = std::get_if<CreateGroup>(&step.action)) {
      for (const auto& [id, entry] : group->group.getEntries())
        collectCounters(entry, run.counters);
    } else if (auto* entry = std::get_if<CreateEntry>(&step.action)) {
      collectCounters(entry->entry, run.counters);
    }
    sink.step(index, outcome);
  });
  bcmsim::set_call_log(false);
  sink.finish(run);
  return run;
}

}  // namespace filtersim
