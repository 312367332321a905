// libFuzzer target: any bytes, as a capture, are replayed on a small programmed device (an entry
// per stage, one metered by a policer): parsed, classified, metered and counted. The capture
// either replays (to its end, or to its damage with the reason) or is refused with a LoadError;
// any other exception, a crash or a sanitizer report is a finding.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "runner.h"
#include "scenario_loader.h"
#include "step_stream.h"

namespace {

constexpr char kScenario[] = R"(switch: {ports: 8}
steps:
  - create_group:
      stage: pre-ingress
      id: 1
      priority: 0
      type: 6
      entries:
        - {id: 10, priority: 1, match: {outer_vlan: 100, inner_vlan: 200}, actions: [{set_pcp: 3}]}
  - create_group:
      stage: ingress
      id: 2
      priority: 4
      type: 3
      entries:
        - id: 1
          match: {ip_protocol: udp}
          counters: [{id: 1, type: packets}, {id: 2, type: bytes}]
          policer:
            id: 100
            stage: ingress
            mode: {type: tr-tcm, cir: 8, cbs: 1000, pir: 16, pbs: 2000}
            actions: [{color: red, drop: true}, {color: yellow, set_dscp: 8}]
        - {id: 2, priority: 2, match: {ip_protocol: tcp, dst_l4_port: 80}, actions: [drop]}
  - create_group:
      stage: ingress
      id: 3
      priority: 3
      type: 8
      entries:
        - {id: 20, priority: 1, match: {dst_ipv6: "2001:db8::/32"}, actions: [copy_to_cpu]}
  - packets: {pcap: capture.pcap}
)";

class NoSink : public filtersim::RunSink {
 public:
  void start(const filtersim::RunResult&) override {}
  void step(size_t, const filtersim::StepOutcome&) override {}
  void finish(const filtersim::RunResult&) override {}
};

// A folder of this process's own for the capture and the scenario beside it, removed at exit.
class Folder {
 public:
  Folder() : path_((std::filesystem::temp_directory_path() / "capture_fuzzer-XXXXXX").string()) {
    if (!::mkdtemp(path_.data())) std::abort();
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

const std::string& folder() {
  static const Folder instance;
  return instance.path();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string capture = folder() + "/capture.pcap";
  FILE* file = std::fopen(capture.c_str(), "wb");
  if (!file) std::abort();
  if (size && std::fwrite(data, 1, size, file) != size) std::abort();
  std::fclose(file);
  try {
    const filtersim::ScenarioStream scenario(kScenario, folder() + "/fuzz.yaml");
    NoSink sink;
    filtersim::runScenario(scenario, {}, sink);
  } catch (const filtersim::LoadError&) {
    // refused: not a capture, or not Ethernet
  }
  return 0;
}
