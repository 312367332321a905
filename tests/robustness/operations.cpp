#include "operations.h"

#include <algorithm>
#include <random>
#include <sstream>

#include <bcm/error.h>

namespace robustness {
namespace {

using namespace FiltersCommon;

// What an operation of each kind names, besides its fault.
enum Field { kSpec = 1, kKey = 2, kLag = 4, kMember = 8, kDestination = 16, kCounter = 32 };

struct KindInfo {
  const char* name;
  int weight;  // in the generated operations, out of 100
  int fields;
};

// Indexed by Operation::Kind.
constexpr KindInfo kKinds[] = {
    {"create the groups", 0, 0},
    {"create", 32, kSpec},
    {"update", 12, kSpec},
    {"delete", 18, kKey},
    {"add to", 12, kLag | kMember},
    {"remove from", 10, kLag | kMember},
    {"destroy", 4, kLag},
    {"create", 3, kLag},
    {"remove and re-add", 4, kDestination},
    {"read", 4, kCounter},
    {"clear the cache", 1, 0},
    {"destroy a hardware entry behind the library of", 0, kKey},
};

class Generator {
 public:
  explicit Generator(uint64_t seed) : random_(seed) {}

  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }
  template <class T>
  T number(int low, int high) {
    return static_cast<T>(pick(low, high));
  }
  template <class T>
  void maybe(std::optional<T>& field, double probability, int low, int high) {
    if (chance(probability)) field = number<T>(low, high);
  }

  EntrySpec entry() {
    EntrySpec spec;
    spec.stage = number<filtersGroupStage_t>(1, 3);
    const bool ingress = spec.stage == FILTERS_GROUP_STAGE_INGRESS;
    spec.id = number<unsigned>(0, kEntryIds - 1);
    spec.priority = number<unsigned short>(0, 20);
    // Few VLANs and nested source prefixes, so that entries of a stage overlap and their
    // priorities decide which one a packet hits.
    for (int vlan : distinct(pick(1, 2), 1, kVlans)) spec.vlans.insert(vlan);
    if (!ingress) {
      for (int pcp : distinct(pick(1, 2), 0, 7)) spec.pcps.insert(pcp);
    }
    // Up to two ports, and at most one LAG: LAG members are ports 9 to 13.
    for (int port : distinct(pick(0, 2), 1, 10)) spec.ports.push_back(limid_ethernet(port));
    if (chance(0.6)) spec.ports.push_back(limid_lag(number<unsigned>(1, 3)));
    if (ingress) {
      spec.all_but_cpu = chance(0.15);
      const int length = pick(8, 32);
      spec.src_ip_mask = length == 32 ? 0xffffffffu : ~(0xffffffffu >> length);
      spec.src_ip = (0x0a000000u | number<uint32_t>(0, 3) << 16 | number<uint32_t>(0, 3)) &
                    spec.src_ip_mask;
      maybe(spec.dscp, 0.4, 0, 63);
      maybe(spec.destination, 0.3, 1, 2);
      // The chip refuses a new destination MAC beside an L3 switch.
      if (!spec.destination) maybe(spec.new_dst_mac, 0.3, 1, 255);
    } else {
      maybe(spec.pcp, 0.4, 0, 7);
    }
    spec.drop = chance(0.4);
    spec.copy_to_cpu = spec.stage != FILTERS_GROUP_STAGE_EGRESS && chance(0.2);
    // Packets or bytes, else one of the colour counters, whose mixes a chip's counter modes
    // may not serve.
    for (unsigned k = 0, n = number<unsigned>(0, 2); k < n; ++k) {
      spec.counters.push_back(
          {counter_number(spec.stage, spec.id, k),
           chance(0.7)
               ? number<counter_type_t>(COUNTER_TYPE_PACKETS, COUNTER_TYPE_BYTES)
               : number<counter_type_t>(COUNTER_TYPE_RED_BYTES, COUNTER_TYPE_NOT_GREEN_BYTES)});
    }
    if (spec.stage != FILTERS_GROUP_STAGE_PRE_INGRESS && chance(0.4)) {
      // A policer serves one stage and one level on the chip: each stage has its own ids.
      const int base = ingress ? 0 : 20;
      spec.policer = number<unsigned>(base + 1, base + 3);
      maybe(spec.parent_policer, 0.5, base + 10, base + 11);
      // The chip refuses a colour's drop or DSCP beside the entry's own.
      spec.policer_drops_red = !spec.drop && chance(0.5);
      if (!spec.dscp) maybe(spec.policer_yellow_dscp, 0.5, 0, 63);
      maybe(spec.policer_green_pcp, 0.5, 0, 7);
    }
    return spec;
  }

  Operation operation() {
    int kind = 0;
    for (int roll = pick(0, 99); roll >= kKinds[kind].weight; ++kind) roll -= kKinds[kind].weight;
    Operation op = Operation(static_cast<Operation::Kind>(kind));
    const int fields = kKinds[op.kind].fields;
    if (fields & (kSpec | kKey)) op.entry = entry();
    if (fields & kLag) op.lag = number<unsigned>(1, 3);
    if (fields & kMember) op.member = number<unsigned>(9, 13);
    if (fields & kDestination) op.destination = number<unsigned>(1, 2);
    if (fields & kCounter) {
      op.counter = counter_number(number<filtersGroupStage_t>(1, 3),
                                  number<unsigned>(0, kEntryIds - 1), number<unsigned>(0, 3));
    }
    // Clearing the cache is not an SDK operation; a fault would hit the harness's own calls. A
    // fault hits one of the operation's SDK calls, whichever function it is, with any code.
    if (op.kind != Operation::kClearCache && chance(0.12)) {
      op.fault = bcmsim::Fault{bcmsim::kAnyCall, failure_codes()[number<size_t>(0, static_cast<int>(failure_codes().size()) - 1)],
                               pick(1, 40), std::nullopt, false};
    }
    op.recovery = number<Operation::Recovery>(0, 2);
    op.packet_seed = random_();
    return op;
  }

 private:
  std::vector<int> distinct(int count, int low, int high) {
    std::set<int> values;
    while (static_cast<int>(values.size()) < count) values.insert(pick(low, high));
    std::vector<int> shuffled(values.begin(), values.end());
    std::shuffle(shuffled.begin(), shuffled.end(), random_);
    return shuffled;
  }

  std::mt19937_64 random_;
};

}  // namespace

FiltersEntry EntrySpec::toEntry() const {
  FiltersEntry entry(id, priority);
  const std::list<limid_t> port_list(ports.begin(), ports.end());
  if (stage == FILTERS_GROUP_STAGE_EGRESS) {
    entry.setMatch(MatchEgressPorts(port_list));
  } else if (all_but_cpu) {
    entry.setMatch(MatchIngressPorts(std::list<limid_t>{}, std::list<port_type_t>{PORT_TYPE_CPU}));
  } else {
    entry.setMatch(MatchIngressPorts(port_list));
  }
  entry.setMatch(MatchExternalVlanId(vlans));
  if (!pcps.empty()) entry.setMatch(MatchPcp(pcps));
  if (stage == FILTERS_GROUP_STAGE_INGRESS) entry.setMatch(MatchSrcIPv4(src_ip, src_ip_mask));
  if (stage == FILTERS_GROUP_STAGE_PRE_INGRESS) {
    entry.setMatch(MatchSrcMac(mac_address_t{2, 0, 0, 0, 0, static_cast<unsigned char>(id)},
                               mac_address_t{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
  }
  if (drop) entry.setAction(Action(FILTERS_ACTION_DROP));
  if (dscp) entry.setAction(ActionSetDSCP(*dscp));
  if (pcp) entry.setAction(ActionSetPcp(*pcp));
  if (copy_to_cpu) entry.setAction(Action(FILTERS_ACTION_COPY_TO_CPU));
  if (destination) entry.setAction(ActionL3Switch(*destination));
  if (new_dst_mac) entry.setAction(ActionReplaceDstMac(mac_address_t{2, 0, 0, 0, 0, *new_dst_mac}));
  for (const auto& [counter, type] : counters) entry.addCounter(Counter(counter, type));
  if (!policer) return entry;
  using policer::Action;
  std::list<Action> colours;
  if (policer_drops_red) colours.emplace_back(policer::COLOR_RED, Action::TYPE_DROP);
  if (policer_yellow_dscp)
    colours.emplace_back(policer::COLOR_YELLOW, Action::TYPE_SET_DSCP, 0, *policer_yellow_dscp);
  if (policer_green_pcp)
    colours.emplace_back(policer::COLOR_GREEN, Action::TYPE_SET_PCP, *policer_green_pcp);
  const auto on = stage == FILTERS_GROUP_STAGE_EGRESS ? policer::Policer::STAGE_EGRESS
                                                      : policer::Policer::STAGE_INGRESS;
  entry.setPolicer(policer::Policer(*policer, on, policer::Mode::Flow(1000, 2000), colours));
  if (parent_policer) {
    entry.setPolicerParent(std::make_shared<policer::Policer>(
        *parent_policer, on, policer::Mode::Flow(5000, 8000), std::list<Action>{}));
  }
  return entry;
}

std::string EntrySpec::text() const {
  std::ostringstream out;
  out << "stage " << stage << " entry " << id << " prio " << priority << " ports";
  if (all_but_cpu) out << " all-but-cpu";
  for (const limid_t& port : ports) out << " " << limid_name(port);
  out << " vlans";
  for (unsigned short vlan : vlans) out << " " << vlan;
  if (!pcps.empty()) out << " pcps";
  for (unsigned char value : pcps) out << " " << int{value};
  if (drop) out << " drop";
  if (dscp) out << " dscp " << int{*dscp};
  if (pcp) out << " set-pcp " << int{*pcp};
  if (copy_to_cpu) out << " copy";
  if (destination) out << " l3-switch " << *destination;
  if (new_dst_mac) out << " dst-mac " << int{*new_dst_mac};
  for (const auto& [counter, type] : counters) out << " counter " << counter << "/" << type;
  if (policer) out << " policer " << *policer;
  if (parent_policer) out << " parent " << *parent_policer;
  return out.str();
}

std::string Operation::text() const {
  std::ostringstream out;
  const int fields = kKinds[kind].fields;
  out << kKinds[kind].name;
  for (const EntrySpec& spec : group_entries) out << "; with " << spec.text();
  if (fields & kSpec) out << " " << entry.text();
  if (fields & kKey) out << " " << entry.Key::text();
  if (fields & kMember) out << " eth" << member;
  if (fields & kLag) out << " lag" << lag;
  if (fields & kDestination) out << " destination " << destination;
  if (fields & kCounter) out << " counter " << counter;
  static const char* const kRecoveries[] = {"update what it reached", "delete what it reached",
                                            "the LAG's next event"};
  if (fault) {
    out << "  [fault: " << fault->function << " #" << fault->nth << " -> " << fault->rc
        << "; then " << kRecoveries[recovery] << "]";
  }
  return out.str();
}

const std::vector<int>& failure_codes() {
  static const std::vector<int> codes = [] {
    std::vector<int> all;
    for (int code = BCM_E_INTERNAL; code >= BCM_E_PARTIAL; --code) all.push_back(code);
    return all;
  }();
  return codes;
}

std::vector<Operation> generate(uint64_t seed, int steps) {
  Generator generator(seed);
  std::vector<Operation> operations = {Operation(Operation::kCreateGroups)};
  for (int step = 1; step < steps; ++step) operations.push_back(generator.operation());
  return operations;
}

}  // namespace robustness
