// Ingress port bitmaps: per ingress hardware entry, the ports it names and the bitmap to program
// (those ports and the current members of its LAGs, or all ports less excluded kinds).
#include <hal_filters_ll/filter_entries_cache.h>

#include <hal_bcm_common/hal_bcm_common.h>

#include "hal_id_lookup.h"
#include "port_bitmap.h"
#include "sdk_support.h"

namespace HalFiltersLL {

using FiltersCommon::port_type_t;

int getAllPortsBmp(int unit, _shr_pbmp& pbmp) {
  std::memset(&pbmp, 0, sizeof(pbmp));
  bcm_port_config_t config;
  std::memset(&config, 0, sizeof(config));
  if (bcm_port_config_get(unit, &config) != BCM_E_NONE) {
    callbacks().log(kLogError, "Port config: error getting port configuration\n");
    return HAL_FILTERS_ERR_FAILED;
  }
  for (int word = 0; word < _SHR_PBMP_WORD_MAX; ++word) {
    pbmp.pbits[word] = config.port.pbits[word] | config.cpu.pbits[word];
    pbmp.pbits[word] &= ~SOC_INFO(unit).all.disabled_bitmap.pbits[word];
    pbmp.pbits[word] |= SOC_INFO(unit).lb_pbm.pbits[word];
  }
  return HAL_FILTERS_OK;
}

int GetPortGport(const limid_t& port, bcm_gport_t& gport) {
  const auto found = lookUpHalId([&] { return HalBcmCommon::GetInstance().GetGport(port); },
                                 [&](const char*) {
                                   char name[64];
                                   callbacks().log(kLogError, "Error retrieving gport for %s",
                                                   limid_to_intfname(port, name, sizeof(name)));
                                 });
  if (!found) return -1;
  gport = *found;
  return 0;
}

int GetExclusionListPbmp(const std::list<port_type_t>& types, ingress_pbmp_info_t& info) {
  const int unit = bcmUnit();
  _shr_pbmp all;
  if (getAllPortsBmp(unit, all) != HAL_FILTERS_OK) {
    callbacks().log(kLogError, "Error retrieving all ports bitmap");
    return HAL_FILTERS_ERR_FAILED;
  }
  bcm_port_config_t config;
  std::memset(&config, 0, sizeof(config));
  if (bcm_port_config_get(unit, &config) != BCM_E_NONE) {
    callbacks().log(kLogError, "Port config: error getting port configuration");
    return HAL_FILTERS_ERR_FAILED;
  }
  for (port_type_t type : types) {
    if (type != FiltersCommon::PORT_TYPE_CPU) {
      callbacks().log(kLogError, "Unsupported port type %d in exclusion list", type);
      return HAL_FILTERS_ERR_FAILED;
    }
    BCM_PBMP_REMOVE(all, config.cpu);
  }
  info.ports_pbmp = all;
  info.pbmp = all;
  return HAL_FILTERS_OK;
}

int FilterEntriesCache::UpdateIngressEntryInformation(const FiltersCommon::MatchIngressPorts& match,
                                                      int eid) {
  if (match.getExcludedPortTypes().empty()) {
    return UpdatePortListEntryInformation(match.getPorts(), eid);
  }
  return UpdateExclusionListEntryInformation(match.getExcludedPortTypes(), eid);
}

int FilterEntriesCache::UpdatePortListEntryInformation(const std::list<limid_t>& ports, int eid) {
  ingress_pbmp_info_t info;
  BCM_PBMP_CLEAR(info.ports_pbmp);
  BCM_PBMP_CLEAR(info.pbmp);
  std::set<limid_t> lags;
  char name[64];
  for (const limid_t& port : ports) {
    if (!limid_is_from_type(port, limid_type_lag)) {
      bcm_gport_t gport;
      if (GetPortGport(port, gport) != 0) {
        callbacks().log(kLogError, "Error adding port %s to entry %d port bitmap",
                        limid_to_intfname(port, name, sizeof(name)), eid);
        return HAL_FILTERS_ERR_FAILED;
      }
      addLocalPort(info.ports_pbmp, gport);
      addLocalPort(info.pbmp, gport);
      continue;
    }
    for (const limid_t& member : HalBcmCommon::GetInstance().GetLagMembers(port)) {
      bcm_gport_t gport;
      if (GetPortGport(member, gport) != 0) {
        callbacks().log(kLogError, "Error adding LAG %s to entry %d port bitmap",
                        limid_to_intfname(port, name, sizeof(name)), eid);
        return HAL_FILTERS_ERR_FAILED;
      }
      addLocalPort(info.pbmp, gport);
    }
    lags.insert(port);
  }
  ingress_pbmp_.emplace(eid, info);  // an existing record for the id is kept
  for (const limid_t& lag : lags) lag_pbmp_entries_[lag].insert(eid);
  return HAL_FILTERS_OK;
}

int FilterEntriesCache::UpdateExclusionListEntryInformation(const std::list<port_type_t>& types,
                                                            int eid) {
  ingress_pbmp_info_t info;
  if (GetExclusionListPbmp(types, info) != HAL_FILTERS_OK) {
    // Reported in the log only: the missing record fails the qualifier later.
    callbacks().log(kLogError, "Error assigning exclusion list to port bitmap for entry %d", eid);
    return HAL_FILTERS_OK;
  }
  ingress_pbmp_.emplace(eid, info);
  return HAL_FILTERS_OK;
}

int FilterEntriesCache::GetIngressEntryPbmp(int eid, _shr_pbmp& pbmp) const {
  auto record = ingress_pbmp_.find(eid);
  if (record == ingress_pbmp_.end()) {
    callbacks().log(kLogError, "Entry %d does not exist on the ingress port bitmap cache", eid);
    return HAL_FILTERS_ERR_FAILED;
  }
  pbmp = record->second.pbmp;
  return HAL_FILTERS_OK;
}

std::set<limid_t> FilterEntriesCache::BitmapEntryLags(int eid) const {
  std::set<limid_t> lags;
  for (const auto& [lag, ids] : lag_pbmp_entries_) {
    if (ids.count(eid)) lags.insert(lag);
  }
  return lags;
}

void FilterEntriesCache::RestrictBitmapEntryLags(int eid, const std::set<limid_t>& lags) {
  for (auto lag = lag_pbmp_entries_.begin(); lag != lag_pbmp_entries_.end();) {
    if (!lags.count(lag->first)) lag->second.erase(eid);
    lag = lag->second.empty() ? lag_pbmp_entries_.erase(lag) : std::next(lag);
  }
}

}  // namespace HalFiltersLL
