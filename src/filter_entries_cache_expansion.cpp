// Expansion of a user entry into single-valued hardware entries: one per port or LAG member, per
// VLAN id and per PCP value, in that order of match types.
#include <hal_filters_ll/filter_entries_cache.h>

#include <hal_bcm_common/hal_bcm_common.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

using namespace FiltersCommon;

// The two port matches: how to find each in an entry and how to build it.
struct PortMatchKind {
  const MatchPorts* (*find)(const FiltersEntry& entry);
  std::shared_ptr<const Match> (*make)(std::list<limid_t> ports, std::list<port_type_t> excluded);
};

template <class M, filtersMatch_t kType>
const PortMatchKind kPortMatch{
    [](const FiltersEntry& entry) -> const MatchPorts* { return entry.findMatch<M>(kType); },
    [](std::list<limid_t> ports, std::list<port_type_t> excluded) -> std::shared_ptr<const Match> {
      return std::make_shared<M>(std::move(ports), std::move(excluded));
    }};

// The kind of a port match type; null for a type that is not a port match.
const PortMatchKind* portMatchKind(filtersMatch_t type) {
  if (type == FILTERS_MATCH_INGRESS_PORTS) {
    return &kPortMatch<MatchIngressPorts, FILTERS_MATCH_INGRESS_PORTS>;
  }
  if (type == FILTERS_MATCH_EGRESS_PORTS) {
    return &kPortMatch<MatchEgressPorts, FILTERS_MATCH_EGRESS_PORTS>;
  }
  return nullptr;
}

const std::list<limid_t>& portsOf(const pool_entry& source, const PortMatchKind& kind) {
  static const std::list<limid_t> kNone;
  const MatchPorts* ports = kind.find(source.entry);
  return ports ? ports->getPorts() : kNone;
}

// The source's port match narrowed to one port, its excluded port types kept.
std::shared_ptr<const Match> narrowedPorts(const pool_entry& source, const PortMatchKind& kind,
                                           const limid_t& port) {
  std::list<port_type_t> excluded;
  if (const MatchPorts* ports = kind.find(source.entry)) excluded = ports->getExcludedPortTypes();
  return kind.make(std::list<limid_t>{port}, std::move(excluded));
}

// Pre-ingress and egress match one port per entry; ingress matches a bitmap.
bool matchesOnePortPerEntry(filtersGroupStage_t stage) {
  return stage == FILTERS_GROUP_STAGE_PRE_INGRESS || stage == FILTERS_GROUP_STAGE_EGRESS;
}

// Replaces the pool by the expansion of every source over the values of its match M (an entry
// without that match contributes nothing). The match for each value is built once and shared.
template <class M, class ValuesOf, class MatchFor>
void expandValues(std::vector<pool_entry>& pool, filtersMatch_t type, ValuesOf values_of,
                  MatchFor match_for) {
  std::vector<pool_entry> expanded;
  std::map<unsigned int, std::shared_ptr<const Match>> replacements;
  for (const pool_entry& source : pool) {
    const M* match = source.entry.findMatch<M>(type);
    if (!match) continue;
    for (auto value : values_of(*match)) {
      std::shared_ptr<const Match>& replacement = replacements[value];
      if (!replacement) replacement = match_for(value);
      pool_entry copy = source;
      copy.entry.setMatch(replacement);
      expanded.push_back(std::move(copy));
    }
  }
  pool = std::move(expanded);
}

}  // namespace

int FilterEntriesCache::ExpandFilterEntries(std::vector<pool_entry>& pool,
                                            filtersGroupStage_t stage, filtersMatch_t type) {
  switch (type) {
    case FILTERS_MATCH_INGRESS_PORTS:
    case FILTERS_MATCH_EGRESS_PORTS:
      return MatchPortsExpand(pool, stage, type);
    case FILTERS_MATCH_EXTERNAL_VLAN_ID:
      return MatchExternalVlanIdExpand(pool);
    case FILTERS_MATCH_INTERNAL_VLAN_ID:
      return MatchInternalVlanIdExpand(pool);
    case FILTERS_MATCH_PCP:
      return MatchExternalPcpExpand(pool);
    case FILTERS_MATCH_INTERNAL_PCP:
      return MatchInternalPcpExpand(pool);
    default:
      return 0;
  }
}

int FilterEntriesCache::MatchPortsExpand(std::vector<pool_entry>& pool, filtersGroupStage_t stage,
                                         filtersMatch_t type) {
  const PortMatchKind* kind = portMatchKind(type);
  if (!matchesOnePortPerEntry(stage) || pool.empty() || !kind) return 0;
  std::vector<pool_entry> expanded;
  for (const pool_entry& source : pool) {
    if (int rc = MatchPortsExpandList(source, portsOf(source, *kind), expanded, type); rc != 0) {
      return rc;
    }
  }
  pool = std::move(expanded);
  return 0;
}

int FilterEntriesCache::MatchPortsExpandList(const pool_entry& source,
                                             const std::list<limid_t>& ports,
                                             std::vector<pool_entry>& out, filtersMatch_t type) {
  if (ports.empty()) {
    out.push_back(source);
    return 0;
  }
  const PortMatchKind* kind = portMatchKind(type);
  for (const limid_t& port : ports) {
    if (limid_is_from_type(port, limid_type_lag)) {
      if (int rc = MatchPortsExpandLag(source, port, out, type); rc != 0) return rc;
      continue;
    }
    if (!kind) return HAL_FILTERS_ERR_FAILED;
    pool_entry copy = source;
    copy.entry.setMatch(narrowedPorts(source, *kind, port));
    out.push_back(std::move(copy));
  }
  return 0;
}

int FilterEntriesCache::MatchPortsExpandLag(const pool_entry& source, const limid_t& lag,
                                            std::vector<pool_entry>& out, filtersMatch_t type) {
  const std::set<limid_t>& members = HalBcmCommon::GetInstance().GetLagMembers(lag);
  if (members.empty()) {
    out.push_back(pool_entry::ofMemberlessLag(source, lag));
    return 0;
  }
  const PortMatchKind* kind = portMatchKind(type);
  if (!kind) return HAL_FILTERS_ERR_FAILED;
  for (const limid_t& member : members) {
    pool_entry copy = pool_entry::ofLagMember(source, lag, member);
    copy.entry.setMatch(narrowedPorts(source, *kind, member));
    out.push_back(std::move(copy));
  }
  return 0;
}

int FilterEntriesCache::MatchExternalVlanIdExpand(std::vector<pool_entry>& pool) {
  expandValues<MatchExternalVlanId>(
      pool, FILTERS_MATCH_EXTERNAL_VLAN_ID,
      [](const MatchVlanId& m) -> const auto& { return m.getVlanIds(); },
      [](unsigned short vlan) {
        return std::make_shared<MatchExternalVlanId>(std::set<unsigned short>{vlan});
      });
  return 0;
}

int FilterEntriesCache::MatchInternalVlanIdExpand(std::vector<pool_entry>& pool) {
  expandValues<MatchInternalVlanId>(
      pool, FILTERS_MATCH_INTERNAL_VLAN_ID,
      [](const MatchVlanId& m) -> const auto& { return m.getVlanIds(); },
      [](unsigned short vlan) {
        return std::make_shared<MatchInternalVlanId>(std::set<unsigned short>{vlan});
      });
  return 0;
}

int FilterEntriesCache::MatchExternalPcpExpand(std::vector<pool_entry>& pool) {
  expandValues<MatchPcp>(
      pool, FILTERS_MATCH_PCP, [](const MatchPcpSet& m) -> const auto& { return m.getPcps(); },
      [](unsigned char pcp) { return std::make_shared<MatchPcp>(pcp); });
  return 0;
}

int FilterEntriesCache::MatchInternalPcpExpand(std::vector<pool_entry>& pool) {
  expandValues<MatchInternalPcp>(
      pool, FILTERS_MATCH_INTERNAL_PCP,
      [](const MatchPcpSet& m) -> const auto& { return m.getPcps(); },
      [](unsigned char pcp) { return std::make_shared<MatchInternalPcp>(pcp); });
  return 0;
}

void FilterEntriesCache::ConsolidateEntryInformation(std::vector<pool_entry>& pool, int base) {
  for (size_t k = 0; k < pool.size(); ++k) {
    pool_entry& hw_entry = pool[k];
    hw_entry.entry.setId(static_cast<unsigned int>(base + static_cast<int>(k)));
    if (!hw_entry.from_lag) continue;
    MemberEntries& members = lag_entries_[hw_entry.lag][base];
    if (hw_entry.lag_member != limid_null) {
      members[hw_entry.lag_member].push_back(static_cast<int>(hw_entry.entry.getId()));
    }
  }
}

}  // namespace HalFiltersLL
