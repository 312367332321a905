#include "chip_check.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>

#include <sys/wait.h>
#include <unistd.h>

#include <bcm/error.h>
#include <bcmsim/chips.h>
#include <bcmsim/names.h>

#include "chip_choice.h"
#include "report.h"
#include "tcam_use.h"

namespace filtersim {
namespace {

using json = nlohmann::json;

bool expectedToFail(const StepOutcome& step) {
  return step.step->expect.result && *step.step->expect.result == step.result;
}

void writeAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    done += static_cast<size_t>(written);
  }
}

// Keeps what the matrix shows of one chip's run.
class ChipRunSink : public RunSink {
 public:
  explicit ChipRunSink(int fd) : fd_(fd) {}

  void start(const RunResult&) override {}
  // The library ends the child: what the run got to is sent as it stands.
  void fatal(size_t, const std::string& line) override {
    json run = result();
    run["finished"] = false;
    run["runs"] = false;
    run["error"] = line;
    writeAll(fd_, run.dump());
  }
  void step(size_t index, const StepOutcome& step) override {
    const auto use = tcamInUse();
    for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
      peak_[stage].rows = std::max(peak_[stage].rows, use[stage].rows);
      peak_[stage].slices = std::max(peak_[stage].slices, use[stage].slices);
    }
    if (step.result == 0) return;
    const bool expected = expectedToFail(step);
    failed_.push_back({{"step", index},
                       {"line", step.step->line},
                       {"kind", step.step->kind},
                       {"description", step.description},
                       {"result", resultName(step.result)},
                       {"expected", expected}});
    const Reason* refusal = firstSdkRefusal(step);
    if (!expected && refusal && first_refusal_.is_null()) {
      first_refusal_ = ruleJson(*refusal);
      first_refusal_["step"] = index;
      first_refusal_["kind"] = step.step->kind;
      first_refusal_["line"] = step.step->line;
    }
    unexpected_ += !expected;
  }
  void finish(const RunResult& run) override {
    checked_ = run.checked;
    failed_expectations_ = run.failed;
  }

  json result() const {
    const bcmsim::Config& device = bcmsim::config();
    const TcamUse total = tcamTotal();
    json tcam = json::array();
    for (int stage = 0; stage < bcmsim::kStageCount; ++stage) {
      tcam.push_back({{"stage", bcmsim::stage_name(static_cast<bcmsim::Stage>(stage))},
                      {"peak_entries", peak_[stage].rows},
                      {"entries", total[stage].rows},
                      {"peak_slices", peak_[stage].slices},
                      {"slices", total[stage].slices}});
    }
    return {{"chip", device.chip.name},
            {"family", device.chip.family},
            {"finished", true},
            {"runs", unexpected_ == 0 && failed_expectations_ == 0},
            {"failed_steps", failed_},
            {"first_refusal", first_refusal_},
            {"tcam", tcam},
            {"expectations", {{"checked", checked_}, {"held", checked_ - failed_expectations_}}}};
  }

 private:
  int fd_;
  std::array<StageUse, bcmsim::kStageCount> peak_{};
  json failed_ = json::array();
  json first_refusal_;
  int unexpected_ = 0;
  int checked_ = 0;
  int failed_expectations_ = 0;
};

std::string readAll(int fd) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t got = read(fd, buffer, sizeof(buffer));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return text;
    text.append(buffer, static_cast<size_t>(got));
  }
}

// In the child: the run on one chip, written to `fd` as one JSON document.
[[noreturn]] void runInChild(ScenarioStream& scenario, const std::string& chip, int fd) {
  scenario.useChip(chip);
  ChipRunSink sink(fd);
  RunOptions options;
  options.log_level = -1;  // the parent shows the matrix alone
  options.replay = false;
  runScenario(scenario, options, sink);
  writeAll(fd, sink.result().dump());
  _exit(0);
}

std::string endText(int status) {
  if (WIFSIGNALED(status)) return "ended by signal " + std::to_string(WTERMSIG(status));
  return "exited with status " + std::to_string(WEXITSTATUS(status)) + " before its end";
}

json runOnChip(ScenarioStream& scenario, const std::string& chip) {
  auto unfinished = [&chip](const std::string& error) {
    return json{{"chip", chip},
                {"family", bcmsim::chip_config(chip)->chip.family},
                {"finished", false},
                {"runs", false},
                {"error", error}};
  };
  int fds[2];
  if (pipe(fds) != 0) return unfinished("no pipe");
  std::cout.flush();
  std::cerr.flush();
  const pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    runInChild(scenario, chip, fds[1]);
  }
  close(fds[1]);
  if (child < 0) {
    close(fds[0]);
    return unfinished("no child process");
  }
  const std::string text = readAll(fds[0]);
  close(fds[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  // A child the library's fatal path ended sends what its run got to.
  json run = json::parse(text, nullptr, false);
  return run.is_discarded() ? unfinished("the run " + endText(status)) : run;
}

std::string failedStepsText(const json& run) {
  if (!run["finished"].get<bool>()) return run["error"].get<std::string>();
  std::string text;
  for (const json& step : run["failed_steps"]) {
    text += (text.empty() ? "" : ", ") + std::to_string(step["step"].get<int>()) +
            (step["expected"].get<bool>() ? " (expected)" : "");
  }
  return text.empty() ? "none" : text;
}

std::string refusalText(const json& refusal) {
  if (refusal.is_null()) return "-";
  std::string text = "step " + std::to_string(refusal["step"].get<int>()) + ", " +
                     refusal["function"].get<std::string>() + ": " +
                     refusal["code"].get<std::string>();
  if (!refusal.contains("words")) return text;
  return text + ", " + refusal["words"].get<std::string>() + " (decided in " +
         refusal["decided_in"].get<std::string>() + ")";
}

std::string tcamText(const json& run) {
  std::string text;
  for (const json& use : run["tcam"]) {
    text += (text.empty() ? "" : "; ") + use["stage"].get<std::string>() + " " +
            std::to_string(use["peak_entries"].get<int>()) +
            " of " + std::to_string(use["entries"].get<int>()) + " (" +
            std::to_string(use["peak_slices"].get<int>()) + " of " +
            std::to_string(use["slices"].get<int>()) + " slices)";
  }
  return text;
}

}  // namespace

json checkChips(ScenarioStream& scenario) {
  scenario.refuseOwnGeometry("to check it on the named chips");
  json chips = json::array();
  bool every = true;
  for (const std::string& chip : bcmsim::chip_names()) {
    chips.push_back(runOnChip(scenario, chip));
    every = every && chips.back()["runs"].get<bool>();
  }
  return {{"scenario", scenario.file()}, {"chips", chips}, {"runs_on_every_chip", every}};
}

void writeChipMatrix(std::ostream& out, const json& check) {
  out << "filtersim: " << check["scenario"].get<std::string>()
      << " on every named chip (captures are not replayed)\n\n"
      << "| chip | runs it | steps failed | first refusal | TCAM peak: entries of the stage's "
         "total | expectations held |\n|---|---|---|---|---|---|\n";
  for (const json& run : check["chips"]) {
    const bool finished = run["finished"].get<bool>();
    out << "| " << run["chip"].get<std::string>() << " (" << run["family"].get<std::string>()
        << ") | " << (run["runs"].get<bool>() ? "yes" : "no") << " | " << failedStepsText(run)
        << " | " << (finished ? refusalText(run["first_refusal"]) : "-") << " | "
        << (finished ? tcamText(run) : "-") << " | "
        << (finished ? std::to_string(run["expectations"]["held"].get<int>()) + " of " +
                           std::to_string(run["expectations"]["checked"].get<int>())
                     : "-")
        << " |\n";
  }
  out << "\n"
      << (check["runs_on_every_chip"].get<bool>() ? "Every named chip runs it."
                                                  : "Not every named chip runs it.")
      << "\n";
}

}  // namespace filtersim
