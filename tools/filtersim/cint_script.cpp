#include "cint_script.h"

#include <algorithm>
#include <vector>

#include <bcmsim/device.h>

#include "packet_text.h"

namespace filtersim {
namespace {

// The script's opening: how to run it, what it assumes, and the lines only a C compiler reads.
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

int filtersim_check_id(char *where, char *name, int id, int expected)
{
    if (id == expected) return 0;
    printf("%s: %s %d, the scenario's run had %d; later calls use %d\n", where, name, id,
           expected, expected);
    return 1;
}
)";

// The call's arguments with the unit replaced by the script's `unit` parameter.
std::string argumentsForUnit(const std::string& args) {
  const std::string unit = std::to_string(bcmsim::config().unit);
  const size_t end = args.find(',');
  const std::string first = args.substr(0, end);
  if (first != unit) return args;
  return "unit" + (end == std::string::npos ? "" : args.substr(end));
}

void addOnce(std::vector<std::string>& list, const std::string& item) {
  if (std::find(list.begin(), list.end(), item) == list.end()) list.push_back(item);
}

// One function of the script: its declarations, then its statements.
class ScriptFunction {
 public:
  explicit ScriptFunction(std::string where) : where_(std::move(where)) {}

  void call(const bcmsim::Call& call) {
    const bcmsim::CallSource& source = call.source;
    if (source.initialiser) return;  // written with the structure it fills
    has_calls_ = true;
    for (const std::string& variable : source.variables) addOnce(variables_, variable);
    for (const std::string& input : source.inputs) statements_.push_back(input);
    statements_.push_back("rv = " + call.function + "(" + argumentsForUnit(source.args) + ");");
    statements_.push_back("differences += filtersim_check(\"" + where_ + "\", \"" +
                          call.function + "\", rv, " + std::to_string(call.rc) + ");");
    if (call.rc != 0) return;
    for (const bcmsim::CallSource::Output& output : source.outputs) {
      statements_.push_back("differences += filtersim_check_id(\"" + where_ + "\", \"" +
                            output.variable + "\", " + output.variable + ", " + output.value +
                            ");");
    }
  }

  // A packet the C harness classifies; cint reads it as a comment (see the prelude).
  void packet(const bcmsim::Packet& packet) {
    statements_.push_back("/* /* */");
    statements_.push_back("filtersim_packet(unit, \"" + packetText(packet) + "\");");
    statements_.push_back("// */");
  }

  bool empty() const { return statements_.empty(); }

  void write(std::ostream& out, const std::string& name, const std::string& title) const {
    out << "\n/* " << title << " */\nint " << name << "(int unit)\n{\n";
    if (has_calls_) out << "    int rv;\n";
    out << "    int differences = 0;\n";
    for (const std::string& variable : variables_) out << "    " << variable << ";\n";
    out << "\n";
    for (const std::string& statement : statements_) out << "    " << statement << "\n";
    out << "    return differences;\n}\n";
  }

 private:
  std::string where_;
  std::vector<std::string> variables_;
  std::vector<std::string> statements_;
  bool has_calls_ = false;
};

class CintScript : public RunSink {
 public:
  CintScript(std::ostream& out, std::string file, StepRange range, std::unique_ptr<RunSink> report)
      : out_(out), file_(std::move(file)), range_(range), report_(std::move(report)) {}

  void start(const RunResult& run) override {
    report_->start(run);
    out_ << "// The SDK calls filtersim made for " << file_ << ", as a cint script.\n"
         << "// Run it in the diag shell of a switch on unit 0 whose field processor holds none\n"
         << "// of this yet: cint " << scriptName() << "\n"
         << "// Every call's result is printed with its step and checked against the scenario's\n"
         << "// run; filtersim_run returns the number of results and ids that differed.\n"
         << kPrelude;
    if (range_.first > 1) return;
    ScriptFunction startup("start-up");
    for (const bcmsim::Call& call : run.setup_calls) startup.call(call);
    startup.write(out_, "filtersim_startup", "Start-up: what the switch set-up asked of the SDK");
    functions_.push_back("filtersim_startup");
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
    ScriptFunction function(where);
    // A packet step classifies before it reads any counter.
    if (auto* packet = std::get_if<SendPacket>(&outcome.step->action)) function.packet(packet->packet);
    for (const bcmsim::Call& call : outcome.calls) function.call(call);
    if (function.empty()) return;
    const std::string name = "filtersim_step_" + std::to_string(index);
    function.write(out_, name,
                   "Step " + std::to_string(index) + ", line " + std::to_string(outcome.step->line) +
                       ": " + outcome.step->kind +
                       (outcome.description.empty() ? "" : ", " + outcome.description));
    functions_.push_back(name);
  }

  void finish(const RunResult& run) override {
    report_->finish(run);
    out_ << "\nint filtersim_run(int unit)\n{\n    int differences = 0;\n\n";
    for (const std::string& name : functions_) out_ << "    differences += " << name << "(unit);\n";
    out_ << "    printf(\"filtersim: %d results differed from the scenario's run\\n\", differences);\n"
         << "    return differences;\n}\n\n"
         << "// cint runs the script here. A C compiler reads the line as a declaration: the macro\n"
         << "// below is in a block only C reads.\n"
         << "/* /* */\n#define filtersim_run(unit) extern int filtersim_ran\n// */\n"
         << "filtersim_run(0);\n";
  }

 private:
  std::string scriptName() const {
    const size_t slash = file_.find_last_of('/');
    std::string name = file_.substr(slash == std::string::npos ? 0 : slash + 1);
    return name.substr(0, name.find_last_of('.')) + ".c";
  }

  std::ostream& out_;
  std::string file_;
  StepRange range_;
  std::unique_ptr<RunSink> report_;
  std::vector<std::string> functions_;
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
                                    StepRange range, std::unique_ptr<RunSink> report) {
  return std::make_unique<CintScript>(out, scenario_file, range, std::move(report));
}

}  // namespace filtersim
