// Expansion of a user entry into single-valued hardware entries: one per port or LAG member, per
// VLAN id and per PCP value, in that order of match types.
#include <hal_filters_ll/filter_entries_cache.h>

#include <hal_bcm_common/hal_bcm_common.h>

#include "sdk_support.h"

namespace HalFiltersLL {
namespace {

using namespace FiltersCommon;

const std::list<limid_t>& portsOf(const pool_entry& source, filtersMatch_t type) {
  static const std::list<limid_t> kNone;
  const MatchPorts* ports =
      type == FILTERS_MATCH_INGRESS_PORTS
          ? static_cast<const MatchPorts*>(source.entry.findMatch<MatchIngressPorts>(type))
          : source.entry.findMatch<MatchEgressPorts>(type);
  return ports ? ports->getPorts() : kNone;
}

// The source's port match narrowed to one port (its excluded port types kept); null for a type
// that is not a port match.
std::shared_ptr<const Match> narrowedPorts(const pool_entry& source, filtersMatch_t type,
                                           const limid_t& port) {
  std::list<port_type_t> excluded;
  if (auto* ports = source.entry.findMatch<MatchPorts>(type)) {
    excluded = ports->getExcludedPortTypes();
  }
  if (type == FILTERS_MATCH_INGRESS_PORTS) {
    return std::make_shared<MatchIngressPorts>(std::list<limid_t>{port}, std::move(excluded));
  }
  if (type == FILTERS_MATCH_EGRESS_PORTS) {
    return std::make_shared<MatchEgressPorts>(std::list<limid_t>{port}, std::move(excluded));
  }
  return nullptr;
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
  // Only pre-ingress (1) and egress (3) match one port per entry; ingress matches a bitmap.
  if ((stage & ~2) != 1 || pool.empty()) return 0;
  std::vector<pool_entry> expanded;
  for (const pool_entry& source : pool) {
    if (int rc = MatchPortsExpandList(source, portsOf(source, type), expanded, type); rc != 0) {
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
  for (const limid_t& port : ports) {
    if (limid_is_from_type(port, limid_type_lag)) {
      if (int rc = MatchPortsExpandLag(source, port, out, type); rc != 0) return rc;
      continue;
    }
    std::shared_ptr<const Match> narrowed = narrowedPorts(source, type, port);
    if (!narrowed) return HAL_FILTERS_ERR_FAILED;
    pool_entry copy = source;
    copy.entry.setMatch(std::move(narrowed));
    out.push_back(std::move(copy));
  }
  return 0;
}

int FilterEntriesCache::MatchPortsExpandLag(const pool_entry& source, const limid_t& lag,
                                            std::vector<pool_entry>& out, filtersMatch_t type) {
  const std::set<limid_t>& members = HalBcmCommon::GetInstance().GetLagMembers(lag);
  if (members.empty()) {
    // Keeps the LAG's place in the pool until it gains a member; never written to hardware.
    out.push_back(pool_entry{false, source.entry, true, lag, limid_null});
    return 0;
  }
  for (const limid_t& member : members) {
    std::shared_ptr<const Match> narrowed = narrowedPorts(source, type, member);
    if (!narrowed) return HAL_FILTERS_ERR_FAILED;
    pool_entry copy{source.installable, source.entry, true, lag, member};
    copy.entry.setMatch(std::move(narrowed));
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
