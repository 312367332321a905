// Runs a scenario's steps against the filters library on bcmsim and checks their expectations.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include <bcmsim/call_log.h>
#include <bcmsim/classify.h>
#include <bcmsim/explain.h>
#include <bcmsim/refusals.h>

#include "hits.h"
#include "replay.h"
#include "scenario.h"
#include "step_checks.h"
#include "step_stream.h"

namespace filtersim {

// Why a step went as it did: a library log line up to warnings, or an SDK call that failed, in
// the order they happened.
struct Reason {
  enum Kind { kLog, kSdkRefusal } kind;
  int level = 0;  // of a log line
  std::string text;
  // Of a refusal: the call, its code and the device's rule.
  std::string function;
  int rc = 0;
  const bcmsim::Rule* rule = nullptr;
};

// A refusal's rule in words and where the SDK decides it: "the stage has no such qualifier
// (decided in _field_group_add_initialize (field_common.c))".
std::string ruleText(const Reason& refusal);

struct StepOutcome {
  const Step* step = nullptr;
  std::string description;
  int result = 0;
  std::optional<uint64_t> value;  // a counter read
  std::optional<bcmsim::Classification> classification;
  std::vector<UserHit> hits;
  std::map<unsigned short, std::optional<uint64_t>> counters;  // read after a packet
  int checked = 0;                                             // expectations checked
  std::vector<std::string> failures;                           // expectations that did not hold
  std::vector<std::string> warnings;                           // what the step means, to heed
  std::vector<CheckWarning> check_warnings;                    // found before it ran
  std::vector<Reason> reasons;
  std::vector<bcmsim::Call> calls;                             // SDK calls of the step, when traced
  std::optional<Snapshot> snapshot;                            // a show step's view
  std::vector<ExplainedGroup> explanation;                     // a packet's, when asked for
  std::optional<ReplaySummary> replay;                         // a replayed capture's
  bool explain_in_text = false;
};

struct RunResult {
  std::vector<bcmsim::Call> setup_calls;
  std::vector<bcmsim::Call> step_calls;  // every step's, when traced
  std::set<unsigned short> counters;  // every counter id the scenario names
  std::map<int, UserGroup> groups;    // hardware group id -> the user group it was created for
  int checked = 0;
  int failed = 0;
};

struct RunOptions {
  bool trace = false;  // keep every SDK call of every step
  int log_level = 3;   // library log lines up to this level also go to standard error
  bool progress = false;  // after a second, show how far the run is on standard error
  bool explain = false;   // explain every packet (the JSON report always does)
  bool replay = true;     // replay captures; otherwise their steps are passed over
  int threads = 1;        // to look a capture's packets up on
};

// Where a run's outcomes go, as they come: the set-up, every step, then the end.
class RunSink {
 public:
  virtual ~RunSink() = default;
  virtual void start(const RunResult& run) = 0;
  virtual void step(size_t index, const StepOutcome& step) = 0;  // index from 1
  virtual void finish(const RunResult& run) = 0;
  // The library met its fatal path during step `index` and ends the program: the sink closes
  // what it writes, with `line` saying why.
  virtual void fatal(size_t /*index*/, const std::string& /*line*/) {}
};

// Runs every step once, in order, handing each outcome to `sink` and keeping none. One scenario
// per process: the filters instance lives for the whole process.
RunResult runScenario(const ScenarioStream& scenario, const RunOptions& options, RunSink& sink);

// The first SDK refusal among a step's reasons, or nullptr.
const Reason* firstSdkRefusal(const StepOutcome& step);
// What made a step fail: whichever came first of an SDK refusal and a library error line; the
// reasons after it (the undo's calls among them) only followed it. Null when there is neither.
const Reason* firstCause(const StepOutcome& step);

std::string stageName(bcmsim::Stage stage);
std::string resultName(int result);

}  // namespace filtersim
