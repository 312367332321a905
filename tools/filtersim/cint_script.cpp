#include "cint_script.h"

#include <utility>
#include <vector>

#include "cint_function.h"
#include "cint_objects.h"

namespace filtersim {
namespace {

// After the script's name, at its top.
const char* const kHowToRun =
    R"( runs its last line, filtersim_run(0, 0): the scenario's programming
// on unit 0. It does not call, unless asked:
//   filtersim_startup(unit)   the switch-wide settings the filters library makes when it
//                             starts, for a switch where it has not run;
//   filtersim_expect_N(unit)  the reads of step N, for its expectations or to show the
//                             hardware (filtersim_run(unit, 1) makes them in their places);
//   filtersim_teardown(unit)  removes what the script made.
// Every call's result is printed with its step and checked against the scenario's
// run; each function returns the number of results that differed.
)";

// The end of filtersim_run and the line that runs it.
const char* const kRunEnd = R"C(
    printf("filtersim: %d results differed from the scenario's run%s\n", differences,
           reads ? "" : " (its reads for expectations left out)");
    return differences;
}

// cint runs the scenario's programming here. A C compiler reads the line as a
// declaration: the macro below is in a block only C reads.
/* /* */
#define filtersim_run(unit, reads) extern int filtersim_ran
// */
filtersim_run(0, 0);
)C";

// The script's lines only a C compiler reads, and the check of every call's result.
// cint nests comments and C does not, so C ends the block opened by "/* /* */" at its first
// "*/" and reads on, while cint stays in it until the "*/" after the "//" of the closing line.
const char* const kPrelude = R"(
/* /* */
#include <stdio.h>
#include <bcm/error.h>
#include <bcm/field.h>
#include <bcm/l3.h>
#include <bcm/policer.h>
#include <bcm/port.h>
#include <bcm/switch.h>
#include <bcm/vlan.h>
int filtersim_packet(int unit, const char *packet);
/* cint's COMPILER_64_SET takes the value's address. */
#undef COMPILER_64_SET
#define COMPILER_64_SET(dst, hi, lo) (*(dst) = ((uint64)(hi) << 32) | (uint64)(lo))
// */

int filtersim_check(char *where, char *call, int rv, int expected)
{
    if (rv == expected) {
        printf("%s: %s = %d\n", where, call, rv);
        return 0;
    }
    printf("%s: %s = %d (%s), the scenario's run had %d\n", where, call, rv, bcm_errmsg(rv),
           expected);
    return 1;
}
)";

// Set-up calls that change the whole switch rather than make objects: the filters library's
// start-up, which a switch running it has made already.
bool changesTheWholeSwitch(const bcmsim::Call& call) {
  return call.function == "bcm_port_control_set" || call.function == "bcm_switch_control_set";
}

// Steps that only read: a packet or a capture, with the counter reads of their expectations, a
// show, and a counter read.
bool onlyReads(const Step& step) {
  if (std::holds_alternative<SendPacket>(step.action) ||
      std::holds_alternative<ReplayCapture>(step.action) ||
      std::holds_alternative<Show>(step.action))
    return true;
  const auto* counter = std::get_if<CounterStep>(&step.action);
  return counter && !counter->clear;
}

// The library reads a counter only when asked for its value, never while it programs: in any
// step a counter read is one made for the step's expectations or its report.
bool readsForExpectations(const Step& step, const bcmsim::Call& call) {
  return onlyReads(step) || call.function == "bcm_field_stat_get";
}

class CintScript : public RunSink {
 public:
  CintScript(std::ostream& out, std::string file, StepRange range, PortMap ports,
             std::unique_ptr<RunSink> report)
      : out_(out),
        file_(std::move(file)),
        range_(range),
        ports_(std::move(ports)),
        report_(std::move(report)) {}

  void start(const RunResult& run) override {
    report_->start(run);
    writeHeader();
    if (range_.first > 1) return;
    ScriptFunction startup("start-up", objects_, ports_);
    ScriptFunction setup("set-up", objects_, ports_);
    for (const bcmsim::Call& call : run.setup_calls)
      (changesTheWholeSwitch(call) ? startup : setup).call(call);
    startup.write(out_, "filtersim_startup",
                  "Start-up: the switch-wide settings the filters library makes when it starts. "
                  "filtersim_run\n   does not call it.");
    writeFunction(setup, "filtersim_setup",
                  "Set-up: the objects the filters library's start-up and the scenario's switch "
                  "make, which\n   filtersim_run makes first",
                  false);
  }

  void fatal(size_t index, const std::string& line) override {
    report_->fatal(index, line);
    out_ << "\n/* The run ended here, in step " << index << ": " << line << " */\n";
    out_.flush();
  }

  void step(size_t index, const StepOutcome& outcome) override {
    report_->step(index, outcome);
    if (!range_.contains(index)) return;
    if (auto* capture = std::get_if<ReplayCapture>(&outcome.step->action)) {
      out_ << "\n/* Step " << index << ": the scenario replayed " << capture->paths()
           << " here. Its packets are not in the script: counters and meters differ by them. */\n";
    }
    const std::string where = "step " + std::to_string(index);
    ScriptFunction programming(where, objects_, ports_);
    ScriptFunction reads(where, objects_, ports_);
    // A packet step classifies before it reads any counter.
    if (auto* packet = std::get_if<SendPacket>(&outcome.step->action)) reads.packet(packet->packet);
    for (const bcmsim::Call& call : outcome.calls)
      (readsForExpectations(*outcome.step, call) ? reads : programming).call(call);
    const std::string title = "Step " + std::to_string(index) + ", line " +
                              std::to_string(outcome.step->line) + ": " + outcome.step->kind +
                              (outcome.description.empty() ? "" : ", " + outcome.description);
    writeFunction(programming, "filtersim_step_" + std::to_string(index), title, false);
    writeFunction(reads, "filtersim_expect_" + std::to_string(index),
                  title + ": its reads for expectations", true);
  }

  void finish(const RunResult& run) override {
    report_->finish(run);
    objects_.writeTeardown(out_);
    out_ << "\nint filtersim_run(int unit, int reads)\n{\n    int differences = 0;\n\n";
    for (const auto& [name, reads] : runs_) {
      out_ << "    " << (reads ? "if (reads) " : "") << "differences += " << name << "(unit);\n";
    }
    out_ << kRunEnd;
  }

 private:
  // A function filtersim_run calls (only when asked for reads, for `reads`), unless it is empty.
  void writeFunction(const ScriptFunction& function, const std::string& name,
                     const std::string& title, bool reads) {
    if (function.empty()) return;
    function.write(out_, name, title);
    runs_.push_back({name, reads});
  }

  void writeHeader() {
    out_ << "// The SDK calls filtersim made for " << file_ << ", as a cint script.\n"
         << "// cint " << scriptName()
         << kHowToRun;
    if (!ports_.empty()) out_ << "// Ports are the switch's, through the port map.\n";
    out_ << kPrelude;
  }

  std::string scriptName() const {
    const size_t slash = file_.find_last_of('/');
    std::string name = file_.substr(slash == std::string::npos ? 0 : slash + 1);
    return name.substr(0, name.find_last_of('.')) + ".c";
  }

  std::ostream& out_;
  std::string file_;
  StepRange range_;
  PortMap ports_;
  std::unique_ptr<RunSink> report_;
  ScriptObjects objects_;
  std::vector<std::pair<std::string, bool>> runs_;  // the functions filtersim_run calls; reads
};

}  // namespace

std::optional<StepRange> parseStepRange(const std::string& text) {
  const size_t dash = text.find('-');
  auto number = [](const std::string& digits) -> std::optional<size_t> {
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos ||
        digits.size() > 9)
      return std::nullopt;
    const size_t value = std::stoul(digits);
    return value == 0 ? std::nullopt : std::optional<size_t>(value);
  };
  auto first = number(text.substr(0, dash));
  auto last = dash == std::string::npos ? first : number(text.substr(dash + 1));
  if (!first || !last || *last < *first) return std::nullopt;
  return StepRange{*first, *last};
}

std::unique_ptr<RunSink> cintScript(std::ostream& out, const std::string& scenario_file,
                                    StepRange range, PortMap ports,
                                    std::unique_ptr<RunSink> report) {
  return std::make_unique<CintScript>(out, scenario_file, range, std::move(ports),
                                      std::move(report));
}

}  // namespace filtersim
